// An ordered list of wide strings, as the family's interfaces pass them.
#pragma once

#include <initializer_list>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"

/// A value; one thread at a time changes it. An index outside the list throws CInvalidArgException.
class ZORPLATFORM_API CStringArray {
 public:
  CStringArray() = default;
  CStringArray(std::initializer_list<CString> strings) : strings_(strings) {}

  int GetSize() const noexcept { return static_cast<int>(strings_.size()); }
  int GetCount() const noexcept { return GetSize(); }
  bool IsEmpty() const noexcept { return strings_.empty(); }
  const CString& GetAt(int index) const;
  const CString& operator[](int index) const { return GetAt(index); }

  /// Returns the index of the new string.
  int Add(CString text);
  void SetAt(int index, CString text);
  void InsertAt(int index, CString text);
  void RemoveAt(int index, int count = 1);
  void RemoveAll() noexcept { strings_.clear(); }
  /// New strings are empty. A negative size throws CInvalidArgException.
  void SetSize(int size);

  auto begin() const noexcept { return strings_.begin(); }
  auto end() const noexcept { return strings_.end(); }
  bool operator==(const CStringArray&) const = default;

 private:
  std::vector<CString> strings_;
};
