// Records that come to tables, go to others, change their names and leave: all at once, or not at all.
//
//   CTableChanges changes;
//   changes.Lock(tags);                            // downwards, as table_obj.h says
//   changes.Remove(old);
//   changes.Place(*valve, &tags, u"V12");          // new, of another table, or only of another name
//   if (const auto* refused = changes.Make([] { return true; })) ...        // as it was
//
// First the whole is tried with nobody hearing of it. Then the hooks OnRecordRemove are called, then it is done, then
// the hooks OnRecordInsert are called. What ends it halfway is taken back, which needs no memory; hooks that were
// called are told by their counterparts.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "platform/framework/cstring.h"
#include "util/objects/object_ref.h"
#include "util/objects/table.h"
#include "util/objects/table_obj.h"

namespace zorutil {

class CTableChanges {
 public:
  CTableChanges() = default;
  CTableChanges(const CTableChanges&) = delete;
  CTableChanges& operator=(const CTableChanges&) = delete;
  /// Gives the locks back, and deletes what was removed.
  ~CTableChanges();

  /// Holds the table's lock to the end of this. std::bad_alloc takes none.
  void Lock(CTable& table);

  /// Each record is named once. The tables that it leaves and comes to are locked.
  void Remove(CTableObj& record) { Add(record, nullptr, CString()); }
  /// Records that come to one table come in the order of these calls. With a null table an object in no table gets the
  /// name. A new object stays its maker's until Make succeeds.
  void Place(CTableObj& record, CTable* table, const CString& name) { Add(record, table, name); }

  /// Null when all came about. Otherwise the record that its table does not take, or that left it by a hook. `finish`,
  /// called when all is done, may throw as hooks may; what is thrown passes through. After all but success everything
  /// is as it was.
  const CTableObj* Make(const std::function<void()>& finish);

  /// CTableObj::SetDescription without a modified mark; one that changes or takes back a text needs no memory.
  static void SetDescription(CTableObj& object, const CString& text) {
    const CTableObj::untracked_t untracked(object);
    object.SetDescriptionText(text);
  }

 private:
  struct entry_t {
    CTableObj* record;
    CTable* from;
    CTable* to;
    CString name;  // the other one: the new name before it is placed, the old one after
    unsigned fromIndex = 0, toIndex = 0;
    unsigned moves = 0, count = 0;  // of `from`, before the hooks OnRecordInsert ran
    std::int32_t references = 0;    // that `from` has to give back
    bool isTold = false;            // OnRecordRemove was called
    bool isStirred = false;         // hooks changed `from` since, so `fromIndex` says nothing
  };
  class room_t;

  void Add(CTableObj& record, CTable* to, const CString& name);
  const CTableObj* TakeAndPut(bool isReal);
  void TakeBack(bool isReal) noexcept;
  void TellRemoved();
  void TellInserted();
  static unsigned PlaceOf(const CTable& table, unsigned hint, const CTableObj* record);

  std::vector<CTable*> locked_;
  std::vector<entry_t> entries_;
  std::vector<owned_obj_ptr> removed_;
  std::size_t taken_ = 0, put_ = 0;  // entries that are out of their tables, and in the new ones
  std::size_t inserted_ = 0;         // entries whose OnRecordInsert was called
  bool hooksRan_ = false;            // OnRecordInsert of at least one
  bool isMade_ = false;
};

}  // namespace zorutil
