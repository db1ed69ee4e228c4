#include "platform/framework/cstring.h"

#include <algorithm>
#include <cassert>
#include <functional>
#include <new>
#include <ostream>
#include <stdexcept>

#include "platform/text/collation.h"
#include "platform/text/decimal_digits_internal.h"
#include "platform/text/utf.h"

namespace {

using traits_t = std::char_traits<char16_t>;

// A text made from more UTF-8 than this does not keep the room it was converted in, when a good part stayed unused.
constexpr std::size_t kShortUtf8 = 64;

// Blocks of the system's allocator have 16n + 8 usable bytes; what a smaller request leaves over becomes capacity.
constexpr std::size_t BlockBytes(std::size_t bytes) { return (bytes + 7) / 16 * 16 + 8; }

bool Overlaps(std::u16string_view whole, std::u16string_view part) noexcept {
  const std::less<const char16_t*> before;
  return before(part.data(), whole.data() + whole.size() + 1) && before(whole.data(), part.data() + part.size());
}

// Applies a mapping of units to the text; a text that it does not change stays shared.
template <class Map>
void MapUnits(CString& text, Map map) {
  const std::u16string_view view = text.View();
  const auto changes = [&](char16_t unit) { return map(unit) != unit; };
  const auto first = std::find_if(view.begin(), view.end(), changes);
  if (first == view.end()) return;
  const auto from = first - view.begin();
  const int length = text.GetLength();
  char16_t* const units = text.GetBuffer(length);
  std::transform(units + from, units + length, units + from, map);
  text.ReleaseBuffer(length);
}

}  // namespace

CString::CString(std::u16string_view text) {
  if (text.empty()) return;
  text_ = Allocate(text.size());
  traits_t::copy(text_, text.data(), text.size());
  SetLength(text.size());
}

CString::CString(std::wstring_view text) {
  if constexpr (sizeof(wchar_t) == sizeof(char16_t)) {
    Assign({reinterpret_cast<const char16_t*>(text.data()), text.size()});
  } else {
    Assign(utf::ToUtf16(text));
  }
}

// Delegates, so that the text is freed when the second allocation fails.
CString::CString(std::string_view utf8) : CString() {
  if (utf8.empty()) return;
  if (utf8.size() > kMaxLength) {
    Assign(utf::ToUtf16(utf8));
    return;
  }
  text_ = Allocate(utf::MaxUtf16Units(utf8.size()));
  const std::size_t length = utf::Utf8ToUtf16(utf8, text_);
  SetLength(length);
  if (utf8.size() > kShortUtf8 && length < utf8.size() - utf8.size() / 4) *this = CString(View());
}

CString::CString(char16_t unit, int count) {
  if (count <= 0) return;
  text_ = Allocate(Size(count));
  traits_t::assign(text_, Size(count), unit);
  SetLength(Size(count));
}

CString& CString::operator=(std::string_view utf8) {
  if (!IsOwn() || utf::MaxUtf16Units(utf8.size()) > Size(GetCapacity())) return *this = CString(utf8);
  SetLength(utf::Utf8ToUtf16(utf8, text_));
  return *this;
}

CString& CString::Assign(std::u16string_view text) {
  if (!IsOwn() || text.size() > Size(GetCapacity())) return *this = CString(text);
  traits_t::move(text_, text.data(), text.size());
  SetLength(text.size());
  return *this;
}

CString& CString::AssignAscii(std::string_view ascii) {
  if (!IsOwn() || ascii.size() > Size(GetCapacity())) Adopt(Allocate(ascii.size()), 0);
  utf::WidenAscii(ascii, text_);
  SetLength(ascii.size());
  return *this;
}

CString& CString::AssignInteger(bool negative, std::uint64_t magnitude) {
  const std::size_t length = number_text::CountDigits(magnitude) + (negative ? 1 : 0);
  if (!IsOwn() || length > Size(GetCapacity())) Adopt(Allocate(length), 0);
  text_[0] = u'-';  // the first digit of a positive number takes its place
  number_text::WriteDigits(magnitude, text_ + length);
  SetLength(length);
  return *this;
}

std::string CString::ToUtf8() const { return utf::ToUtf8(View()); }

CString CString::Left(int count) const { return Mid(0, count); }

CString CString::Right(int count) const {
  const int length = GetLength();
  return Mid(length - std::clamp(count, 0, length));
}

CString CString::Mid(int first) const { return Mid(first, GetLength()); }

CString CString::Mid(int first, int count) const {
  const std::u16string_view text = View();
  const std::u16string_view part = text.substr(std::min(Size(first), text.size())).substr(0, Size(count));
  return part.size() == text.size() ? *this : CString(part);
}

int CString::Find(char16_t unit, int start) const noexcept { return static_cast<int>(View().find(unit, Size(start))); }

int CString::Find(std::u16string_view part, int start) const noexcept {
  return static_cast<int>(View().find(part, Size(start)));
}

int CString::ReverseFind(char16_t unit) const noexcept { return static_cast<int>(View().rfind(unit)); }

int CString::FindOneOf(std::u16string_view units) const noexcept {
  return static_cast<int>(View().find_first_of(units));
}

void CString::SetAt(int index, char16_t unit) {
  assert(index >= 0 && index < GetLength());
  MakeOwn(Size(GetLength()));
  text_[index] = unit;
}

CString& CString::Append(std::u16string_view text) {
  const std::size_t length = Size(GetLength());
  const std::size_t total = length + text.size();
  if (IsOwn() && total <= Size(GetCapacity())) {
    traits_t::move(text_ + length, text.data(), text.size());
    SetLength(total);
  } else if (!text.empty()) {
    Splice(length, 0, text);
  }
  return *this;
}

CString& CString::AppendAscii(std::string_view ascii) {
  const std::size_t length = Size(GetLength());
  const std::size_t total = length + ascii.size();
  if (ascii.empty()) return *this;
  MakeOwn(total);
  utf::WidenAscii(ascii, text_ + length);
  SetLength(total);
  return *this;
}

int CString::Insert(int index, std::u16string_view text) {
  if (!text.empty()) Splice(std::min(Size(index), Size(GetLength())), 0, text);
  return GetLength();
}

int CString::Delete(int index, int count) {
  const std::size_t length = Size(GetLength());
  const std::size_t at = std::min(Size(index), length);
  const std::size_t removed = std::min(Size(count), length - at);
  if (removed != 0) Splice(at, removed, {});
  return static_cast<int>(removed);
}

int CString::Remove(char16_t unit) {
  if (Find(unit) < 0) return 0;
  const std::size_t length = Size(GetLength());
  MakeOwn(length);
  char16_t* const end = std::remove(text_, text_ + length, unit);
  SetLength(static_cast<std::size_t>(end - text_));
  return static_cast<int>(length) - GetLength();
}

int CString::Replace(char16_t from, char16_t to) {
  const std::u16string_view text = View();
  const auto found = static_cast<int>(std::count(text.begin(), text.end(), from));
  if (found != 0 && from != to) MapUnits(*this, [=](char16_t unit) { return unit == from ? to : unit; });
  return found;
}

int CString::Replace(std::u16string_view from, std::u16string_view to) {
  const std::u16string_view text = View();
  if (from.empty() || text.size() < from.size()) return 0;
  if (to.size() > kMaxLength) throw std::length_error("CString: longer than 2^30 units");
  std::size_t found = 0;
  for (std::size_t at = 0; (at = text.find(from, at)) != text.npos; at += from.size()) ++found;
  if (found == 0) return 0;

  const std::size_t length = text.size() - found * from.size() + found * to.size();
  char16_t* const result = Allocate(length);
  char16_t* out = result;
  const auto write = [&out](std::u16string_view part) {
    traits_t::copy(out, part.data(), part.size());
    out += part.size();
  };
  std::size_t rest = 0;
  for (std::size_t at = 0; (at = text.find(from, rest)) != text.npos; rest = at + from.size()) {
    write(text.substr(rest, at - rest));
    write(to);
  }
  write(text.substr(rest));
  Adopt(result, length);
  return static_cast<int>(found);
}

CString& CString::Trim() { return TrimRight().TrimLeft(); }

CString& CString::TrimLeft() {
  const std::u16string_view text = View();
  const auto first = std::find_if_not(text.begin(), text.end(), collation::IsSpace);
  Delete(0, static_cast<int>(first - text.begin()));
  return *this;
}

CString& CString::TrimRight() {
  const std::u16string_view text = View();
  const auto last = std::find_if_not(text.rbegin(), text.rend(), collation::IsSpace);
  const auto blanks = static_cast<int>(last - text.rbegin());
  Delete(GetLength() - blanks, blanks);
  return *this;
}

CString& CString::MakeUpper() {
  MapUnits(*this, collation::ToUpper);
  return *this;
}

CString& CString::MakeLower() {
  MapUnits(*this, collation::ToLower);
  return *this;
}

void CString::Reserve(int length) {
  if (length > 0) MakeOwn(std::max(Size(length), Size(GetLength())));
}

char16_t* CString::GetBuffer(int length) {
  MakeOwn(std::max(Size(length), Size(GetLength())));
  return text_;
}

void CString::ReleaseBuffer(int length) {
  if (text_ == nullptr) return;
  const std::size_t capacity = Size(GetCapacity());
  if (length >= 0) return SetLength(std::min(Size(length), capacity));
  const char16_t* const nul = traits_t::find(text_, capacity, u'\0');
  SetLength(nul == nullptr ? capacity : static_cast<std::size_t>(nul - text_));
}

CString CString::Tokenize(std::u16string_view delimiters, int& start) const {
  const std::u16string_view text = View();
  const std::size_t first = start < 0 ? text.npos : text.find_first_not_of(delimiters, Size(start));
  if (first == text.npos) {
    start = -1;
    return {};
  }
  const std::size_t end = std::min(text.find_first_of(delimiters, first), text.size());
  start = static_cast<int>(end);
  return CString(text.substr(first, end - first));
}

bool CString::EqualsUtf8(std::string_view utf8) const {
  const std::u16string_view text = View();
  if (!utf::IsAscii(utf8)) return text == CString(utf8).View();
  return std::equal(text.begin(), text.end(), utf8.begin(), utf8.end(),
                    [](char16_t unit, char byte) { return unit == static_cast<unsigned char>(byte); });
}

// --- memory ------------------------------------------------------------------------------------------------------

// A new block with an empty text and one owner.
char16_t* CString::Allocate(std::size_t capacity) {
  if (capacity > kMaxLength) throw std::length_error("CString: longer than 2^30 units");
  const std::size_t bytes = BlockBytes(sizeof(header_t) + sizeof(char16_t) * (capacity + 1));
  const std::size_t units = (bytes - sizeof(header_t)) / sizeof(char16_t) - 1;
  const auto usable = static_cast<std::int32_t>(std::min<std::size_t>(units, kMaxLength));
  auto* const header = new (::operator new(bytes)) header_t{{1}, 0, usable, 0};
  auto* const text = reinterpret_cast<char16_t*>(header + 1);
  text[0] = u'\0';
  return text;
}

void CString::Free(header_t* header) noexcept { ::operator delete(header); }

// What to allocate for a text that has grown to `length`: half as much again as there was, so that appending unit by
// unit costs a constant time each.
std::size_t CString::GrownCapacity(std::size_t length) const noexcept {
  const std::size_t capacity = Size(GetCapacity());
  return std::max(length, std::min<std::size_t>(capacity + capacity / 2, kMaxLength));
}

// Makes the text unshared, with room for `capacity` units, which is at least its length.
void CString::MakeOwn(std::size_t capacity) {
  if (IsOwn() && capacity <= Size(GetCapacity())) return;
  const std::size_t length = Size(GetLength());
  char16_t* const room = Allocate(capacity > length ? GrownCapacity(capacity) : capacity);
  traits_t::copy(room, GetString(), length);
  Adopt(room, length);
}

// Gives the present text up for another one.
void CString::Adopt(char16_t* text, std::size_t length) noexcept {
  Release();
  text_ = text;
  SetLength(length);
}

// Puts `text` in the place of `removed` units. The text may lie in this string: it is then built in new memory, while
// the old still stands.
void CString::Splice(std::size_t at, std::size_t removed, std::u16string_view text) {
  const std::u16string_view old = View();
  const std::size_t total = old.size() - removed + text.size();
  const std::u16string_view tail = old.substr(at + removed);
  if (total == 0) return Empty();
  if (IsOwn() && total <= Size(GetCapacity()) && !Overlaps(old, text)) {
    traits_t::move(text_ + at + text.size(), tail.data(), tail.size());
    traits_t::copy(text_ + at, text.data(), text.size());
    return SetLength(total);
  }
  char16_t* const result = Allocate(total > old.size() ? GrownCapacity(total) : total);
  traits_t::copy(result, old.data(), at);
  traits_t::copy(result + at, text.data(), text.size());
  traits_t::copy(result + at + text.size(), tail.data(), tail.size());
  Adopt(result, total);
}

// --- free functions ----------------------------------------------------------------------------------------------

std::ostream& operator<<(std::ostream& out, const CString& text) { return out << text.ToUtf8(); }

void PrintTo(const CString& text, std::ostream* out) { *out << '"' << text.ToUtf8() << '"'; }
