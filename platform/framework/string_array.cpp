#include "platform/framework/string_array.h"

#include <string>

#include "platform/framework/invalid_arg.h"

namespace {

// Refuses a value outside 0 to `last`.
std::size_t Checked(int value, std::size_t last, const char* what) {
  if (value >= 0 && static_cast<std::size_t>(value) <= last) return static_cast<std::size_t>(value);
  throw CInvalidArgException("CStringArray: " + std::string(what) + " " + std::to_string(value) + " is outside 0 to " +
                             std::to_string(last));
}

std::size_t CheckedIndex(int index, std::size_t size) {
  if (size == 0) throw CInvalidArgException("CStringArray: index " + std::to_string(index) + " of an empty list");
  return Checked(index, size - 1, "index");
}

}  // namespace

CInvalidArgException::~CInvalidArgException() = default;

const CString& CStringArray::GetAt(int index) const { return strings_[CheckedIndex(index, strings_.size())]; }

int CStringArray::Add(CString text) {
  strings_.push_back(std::move(text));
  return GetSize() - 1;
}

void CStringArray::SetAt(int index, CString text) { strings_[CheckedIndex(index, strings_.size())] = std::move(text); }

void CStringArray::InsertAt(int index, CString text) {
  const auto at = static_cast<std::ptrdiff_t>(Checked(index, strings_.size(), "place"));
  strings_.insert(strings_.begin() + at, std::move(text));
}

void CStringArray::RemoveAt(int index, int count) {
  const std::size_t first = Checked(index, strings_.size(), "place");
  const std::size_t removed = Checked(count, strings_.size() - first, "count");
  const auto from = strings_.begin() + static_cast<std::ptrdiff_t>(first);
  strings_.erase(from, from + static_cast<std::ptrdiff_t>(removed));
}

void CStringArray::SetSize(int size) {
  if (size < 0) throw CInvalidArgException("CStringArray: negative size " + std::to_string(size));
  strings_.resize(static_cast<std::size_t>(size));
}
