#include <algorithm>
#include <random>

#include "platform/text/collation.h"
#include "platform/text/surrogates_internal.h"
#include "platform/text/utf.h"
#include "platform/text/utf8_character_internal.h"
#include "platform/zorplatform/ini_text_internal.h"

namespace zorplatform::ini {
namespace {

constexpr std::size_t kChunkUnits = 16 * 1024;

void AppendUtf8(std::u16string_view units, std::string& text) {
  const std::size_t before = text.size();
  text.resize(before + utf::Utf8Length(units));
  utf::Utf16ToUtf8(units, text.data() + before);
}

// The three bytes that UTF-8 would have for a surrogate.
void AppendSurrogate(char16_t unit, std::string& text) {
  text.push_back('\xED');
  text.push_back(static_cast<char>(0x80 | (unit >> 6 & 0x3F)));
  text.push_back(static_cast<char>(0x80 | (unit & 0x3F)));
}

void AppendInner(std::u16string_view units, std::string& text) {
  std::size_t begin = 0;
  for (std::size_t i = 0; i < units.size(); ++i) {
    if (!utf::IsSurrogate(units[i])) continue;
    if (utf::IsPairAt(units, i)) {
      ++i;
      continue;
    }
    AppendUtf8(units.substr(begin, i - begin), text);
    AppendSurrogate(units[i], text);
    begin = i + 1;
  }
  AppendUtf8(units.substr(begin), text);
}

char16_t UnitAt(const char* at, bool bigEndian) {
  const auto first = static_cast<unsigned char>(at[0]), second = static_cast<unsigned char>(at[1]);
  return static_cast<char16_t>(bigEndian ? first << 8 | second : second << 8 | first);
}

// The place of the next encoded surrogate, or the end of the text.
std::size_t FindSurrogate(std::string_view text, std::size_t from) {
  for (std::size_t at = text.find('\xED', from); at != kNowhere; at = text.find('\xED', at + 1)) {
    if (at + 2 < text.size() && static_cast<unsigned char>(text[at + 1]) >= 0xA0) return at;
  }
  return text.size();
}

char16_t SurrogateAt(std::string_view text, std::size_t at) {
  return static_cast<char16_t>(0xD000 | (text[at + 1] & 0x3F) << 6 | (text[at + 2] & 0x3F));
}

// Controls, and the separators that some readers take for a line break.
constexpr bool IsControl(char16_t unit) {
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x2028 || unit == 0x2029;
}

void AppendEscaped(char16_t unit, std::string& line) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  switch (unit) {
    case u'\n': line += "\\n"; break;
    case u'\r': line += "\\r"; break;
    case u'\t': line += "\\t"; break;
    case u'\0': line += "\\0"; break;
    case u'\\': line += "\\\\"; break;
    case u'"': line += "\\\""; break;
    default:
      line += "\\u";
      for (int shift = 12; shift >= 0; shift -= 4) line += kDigits[unit >> shift & 0xF];
  }
}

// The value of four hexadecimal digits, -1 when they are not.
int HexUnit(std::string_view digits) {
  if (digits.size() < 4) return -1;
  int value = 0;
  for (const char digit : digits.substr(0, 4)) {
    const char lower = static_cast<char>(digit | 0x20);
    if (digit >= '0' && digit <= '9') {
      value = value << 4 | (digit - '0');
    } else if (lower >= 'a' && lower <= 'f') {
      value = value << 4 | (lower - 'a' + 10);
    } else {
      return -1;
    }
  }
  return value;
}

// The unit that the escape behind a "\" means, and how many bytes it has; 0 bytes when it is none.
std::size_t ReadEscape(std::string_view escape, char16_t& unit) {
  constexpr std::string_view kLetters = "\\\"nrt0";
  constexpr std::u16string_view kUnits = {u"\\\"\n\r\t\0", 6};
  if (escape.empty()) return 0;
  if (const std::size_t at = kLetters.find(escape[0]); at != kNowhere) {
    unit = kUnits[at];
    return 1;
  }
  const int value = escape[0] == 'u' ? HexUnit(escape.substr(1)) : -1;
  if (value < 0) return 0;
  unit = static_cast<char16_t>(value);
  return 5;
}

}  // namespace

// --- encodings ------------------------------------------------------------------------------------------------------

encoding_t EncodingOf(std::string_view bytes) noexcept {
  for (const encoding_t encoding : {encoding_t::kUtf8Marked, encoding_t::kUtf16Le, encoding_t::kUtf16Be}) {
    if (bytes.starts_with(MarkOf(encoding))) return encoding;
  }
  return encoding_t::kUtf8;
}

std::string FromUtf16(std::string_view bytes, bool bigEndian) {
  std::string text;
  text.reserve(bytes.size() / 2);
  std::u16string units;
  for (std::size_t at = 0; at < bytes.size();) {
    std::size_t count = std::min((bytes.size() - at) / 2, kChunkUnits);
    units.resize(count);
    for (std::size_t i = 0; i < count; ++i) units[i] = UnitAt(bytes.data() + at + 2 * i, bigEndian);
    // A pair stays together.
    if (count > 1 && utf::IsHighSurrogate(units.back()) && at + 2 * count < bytes.size()) units.resize(--count);
    AppendInner(units, text);
    at += 2 * count;
  }
  return text;
}

void AppendUtf16(std::string_view text, bool bigEndian, std::string& bytes) {
  std::u16string units(text.size(), u'\0');
  units.resize(ToUnits(text, surrogates_t::kKept, units.data()));
  std::size_t at = bytes.size();
  bytes.resize(at + 2 * units.size());
  for (const char16_t unit : units) {
    const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
    bytes[at++] = bigEndian ? high : low;
    bytes[at++] = bigEndian ? low : high;
  }
}

std::size_t ToUnits(std::string_view text, surrogates_t surrogates, char16_t* out) noexcept {
  if (surrogates == surrogates_t::kMalformed) return utf::Utf8ToUtf16(text, out);
  std::size_t count = 0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = FindSurrogate(text, at);
    count += utf::Utf8ToUtf16(text.substr(at, end - at), out + count);
    if (end == text.size()) break;
    out[count++] = surrogates == surrogates_t::kKept ? SurrogateAt(text, end) : u'\uFFFD';
    at = end + 3;
  }
  return count;
}

std::size_t FindMalformed(std::string_view text) noexcept {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t size = utf::CharacterSize(text, at);
    if (size == 0) return at;
    at += size;
  }
  return kNowhere;
}

// --- values ---------------------------------------------------------------------------------------------------------

bool NeedsQuotes(std::u16string_view value) noexcept {
  if (value.empty()) return false;
  if (value.front() == u'"' || value.front() == u' ' || value.back() == u' ') return true;
  return std::any_of(value.begin(), value.end(), IsControl) || utf::HasUnpairedSurrogate(value);
}

void AppendValue(std::u16string_view value, std::string& line) {
  if (!NeedsQuotes(value)) return AppendUtf8(value, line);
  line += '"';
  std::size_t begin = 0;
  for (std::size_t i = 0; i < value.size(); ++i) {
    if (utf::IsPairAt(value, i)) {
      ++i;
      continue;
    }
    if (value[i] != u'\\' && value[i] != u'"' && !IsControl(value[i]) && !utf::IsSurrogate(value[i])) continue;
    AppendUtf8(value.substr(begin, i - begin), line);
    AppendEscaped(value[i], line);
    begin = i + 1;
  }
  AppendUtf8(value.substr(begin), line);
  line += '"';
}

std::size_t FindClosingQuote(std::string_view value) noexcept {
  std::size_t at = value.find_first_of("\\\"", 1);
  while (at != kNowhere && value[at] == '\\') at = value.find_first_of("\\\"", at + 2);
  return at;
}

std::size_t Unescape(std::string_view inner, surrogates_t surrogates, char16_t* out) noexcept {
  std::size_t count = 0;
  while (!inner.empty()) {
    const std::size_t plain = std::min(inner.find('\\'), inner.size());
    count += ToUnits(inner.substr(0, plain), surrogates, out + count);
    inner.remove_prefix(plain);
    if (inner.empty()) break;
    char16_t unit = u'\\';
    inner.remove_prefix(1 + ReadEscape(inner.substr(1), unit));
    out[count++] = unit;
  }
  return count;
}

// --- names ----------------------------------------------------------------------------------------------------------

std::string FoldName(std::u16string_view name) {
  std::u16string folded(name);
  for (char16_t& unit : folded) unit = collation::ToLower(unit);
  return utf::ToUtf8(folded);
}

std::string FoldName(std::string_view text, surrogates_t surrogates) {
  std::u16string units(text.size(), u'\0');
  units.resize(ToUnits(text, surrogates, units.data()));
  return FoldName(units);
}

CNameHash::CNameHash() {
  static const std::uint64_t seeds[] = {std::uint64_t{std::random_device()()} << 32 | std::random_device()(),
                                        std::uint64_t{std::random_device()()} << 32 | std::random_device()()};
  first_ = seeds[0];
  second_ = seeds[1];
}

}  // namespace zorplatform::ini
