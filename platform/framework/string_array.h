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
  /// The strings in the order given.
  CStringArray(std::initializer_list<CString> strings) : strings_(strings) {}

  /// How many strings there are, under both of the family's names.
  /// @{
  int GetSize() const noexcept { return static_cast<int>(strings_.size()); }
  int GetCount() const noexcept { return GetSize(); }
  /// @}
  /// Whether there are none.
  bool IsEmpty() const noexcept { return strings_.empty(); }
  /// `index` lies in 0 to GetSize() - 1; valid until the list is changed.
  /// @{
  const CString& GetAt(int index) const;
  const CString& operator[](int index) const { return GetAt(index); }
  /// @}

  /// Returns the index of the new string.
  int Add(CString text);
  /// `index` lies in 0 to GetSize() - 1.
  void SetAt(int index, CString text);
  /// The string that stood at `index`, and those behind it, move up; GetSize() is the end.
  void InsertAt(int index, CString text);
  /// Removes `count` strings from `index` on, which must be there.
  void RemoveAt(int index, int count = 1);
  /// Leaves no string.
  void RemoveAll() noexcept { strings_.clear(); }
  /// Cuts, or adds empty strings. A negative size throws CInvalidArgException.
  void SetSize(int size);

  /// In order; valid until the list is changed.
  /// @{
  auto begin() const noexcept { return strings_.begin(); }
  auto end() const noexcept { return strings_.end(); }
  /// @}
  bool operator==(const CStringArray&) const = default;

 private:
  std::vector<CString> strings_;
};
