// A table that keeps its records in the order in which they were inserted, and may hold several of one name.
//
//   CUnorderedTable steps(kStep, true, 16);
//   steps.Insert(step);                       // always at the end
//
// Everything else is as table.h says. FindRecord gives the first record of a name, and looks at one after the other,
// but for loads, which have an index of the names while they last: a record whose name is there already is renamed
// then. A record that is renamed goes to the end.
#pragma once

#include <memory>

#include "platform/export.h"
#include "util/objects/table.h"

class ZORUTIL_API CUnorderedTable : public CTable {
 public:
  /// The same as of CTable.
  CUnorderedTable(short type, bool trackMods, unsigned growthIncrement);
  ~CUnorderedTable() override;
  /// Names are compared in the family's order; OnCompare is not asked.
  CTableObj* FindRecord(const char16_t* name, unsigned* index = nullptr) const override;

 protected:
  unsigned FindInsertPos(const CTableObj* object) const override;

 private:
  class CNameIndex;
  void OnLoadEnd() noexcept override;
  CTableObj* FindWhileLoading(std::u16string_view name) const;

  mutable std::unique_ptr<CNameIndex> index_;  // while loading
};
