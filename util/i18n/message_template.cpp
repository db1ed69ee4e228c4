#include "util/i18n/message_template.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "platform/ole/variant_conversion.h"
#include "platform/text/ascii_internal.h"
#include "platform/text/surrogates_internal.h"
#include "platform/zorplatform/exception.h"

namespace i18n {

namespace {

struct conversion_t {
  std::size_t length = 0;  // of the whole, with its %
  unsigned position = 0;   // 0: the next in order
  bool left = false, plus = false, blank = false, alternate = false, zeros = false;
  unsigned width = 0;
  int precision = -1;  // -1: none given
  char letter = '\0';
};

// Decimal digits at `at`, which moves behind them; saturates.
unsigned TakeNumber(std::u16string_view text, std::size_t& at) {
  constexpr unsigned kLargest = 1'000'000;
  unsigned number = 0;
  for (; at < text.size() && ascii::IsDigit(text[at]); ++at) {
    number = std::min(kLargest, number * 10 + static_cast<unsigned>(text[at] - u'0'));
  }
  return number;
}

bool TakeFlag(char16_t unit, conversion_t& out) {
  switch (unit) {
    case u'-': return out.left = true;
    case u'+': return out.plus = true;
    case u' ': return out.blank = true;
    case u'#': return out.alternate = true;
    case u'0': return out.zeros = true;
    default: return false;
  }
}

void SkipLength(std::u16string_view text, std::size_t& at) {
  constexpr std::u16string_view kLengths[] = {u"I64", u"I32", u"hh", u"ll", u"h", u"l", u"L",
                                              u"j",   u"z",   u"t",  u"q",  u"w", u"I"};
  for (const std::u16string_view length : kLengths) {
    if (text.substr(at).starts_with(length)) {
      at += length.size();
      return;
    }
  }
}

// The conversion that begins with the % at the start of `text`; false if none does.
bool TakeConversion(std::u16string_view text, conversion_t& out) {
  out = {};
  std::size_t at = 1;
  std::size_t behindDigits = at;
  const unsigned position = TakeNumber(text, behindDigits);
  if (behindDigits > at && behindDigits < text.size() && text[behindDigits] == u'$') {
    if (position == 0) return false;
    out.position = position;
    at = behindDigits + 1;
  }
  while (at < text.size() && TakeFlag(text[at], out)) ++at;
  out.width = std::min(TakeNumber(text, at), kMaxTemplateWidth);
  if (at < text.size() && text[at] == u'.') {
    ++at;
    out.precision = static_cast<int>(std::min(TakeNumber(text, at), kMaxTemplateWidth));
  }
  SkipLength(text, at);
  constexpr std::u16string_view kLetters = u"diuoxXfFeEgGaAcCsSp";
  if (at >= text.size() || kLetters.find(text[at]) == std::u16string_view::npos) return false;
  out.letter = static_cast<char>(text[at]);
  out.length = at + 1;
  return true;
}

char KindOf(char letter) {
  switch (letter) {
    case 'd':
    case 'i':
    case 'u':
    case 'o':
    case 'x':
    case 'X': return 'd';
    case 'c':
    case 'C': return 'c';
    case 's':
    case 'S': return 's';
    case 'p': return 'p';
    default: return 'f';
  }
}

// Calls `literal` with each run of plain text and `conversion` with each conversion whose position is settled.
template <class Literal, class Conversion>
void Walk(std::u16string_view text, Literal literal, Conversion conversion) {
  unsigned next = 0;
  conversion_t found;
  while (!text.empty()) {
    const std::size_t percent = std::min(text.find(u'%'), text.size());
    if (percent != 0) literal(text.substr(0, percent));
    text.remove_prefix(percent);
    if (text.empty()) return;
    if (text.starts_with(u"%%")) {
      literal(text.substr(0, 1));
      text.remove_prefix(2);
    } else if (TakeConversion(text, found)) {
      if (found.position == 0) found.position = ++next;
      conversion(found);
      text.remove_prefix(found.length);
    } else {
      literal(text.substr(0, 1));
      text.remove_prefix(1);
    }
  }
}

// ---- arguments as numbers

struct integer_t {
  bool negative = false;
  std::uint64_t magnitude = 0;
  unsigned bits = 64;

  // The same bits without sign.
  std::uint64_t Unsigned() const {
    const std::uint64_t value = negative ? 0 - magnitude : magnitude;
    return bits == 64 ? value : value & ((std::uint64_t{1} << bits) - 1);
  }
};

bool Take(std::int64_t value, unsigned bits, integer_t& out) {
  const auto magnitude = static_cast<std::uint64_t>(value);
  out = {value < 0, value < 0 ? 0 - magnitude : magnitude, bits};
  return true;
}

bool TakeUnsigned(std::uint64_t value, unsigned bits, integer_t& out) {
  out = {false, value, bits};
  return true;
}

bool TakeReal(double value, integer_t& out) {
  const double rounded = std::nearbyint(value);
  if (rounded >= -0x1p63 && rounded < 0x1p63) return Take(static_cast<std::int64_t>(rounded), 64, out);
  return rounded >= 0 && rounded < 0x1p64 && TakeUnsigned(static_cast<std::uint64_t>(rounded), 64, out);
}

// Types that are numbers only by the rules of conversion.
bool IsConverted(VARTYPE vt) { return vt == VT_BSTR || vt == VT_CY || vt == VT_DECIMAL; }

bool ToInteger(const CVariant& value, integer_t& out) {
  switch (value.vt) {
    case VT_I1: return Take(value.cVal, 8, out);
    case VT_UI1: return TakeUnsigned(value.bVal, 8, out);
    case VT_I2: return Take(value.iVal, 16, out);
    case VT_UI2: return TakeUnsigned(value.uiVal, 16, out);
    case VT_I4:
    case VT_INT: return Take(value.lVal, 32, out);
    case VT_UI4:
    case VT_UINT: return TakeUnsigned(value.ulVal, 32, out);
    case VT_I8: return Take(value.llVal, 64, out);
    case VT_UI8: return TakeUnsigned(value.ullVal, 64, out);
    case VT_ERROR: return Take(value.scode, 32, out);
    case VT_BOOL: return TakeUnsigned(value.boolVal != 0, 8, out);
    case VT_R4:
    case VT_R8: return TakeReal(value.GetAsDouble(), out);
    default: break;
  }
  if (!IsConverted(value.vt)) return false;
  tagVARIANT converted{};
  if (VariantChangeTypeEx(&converted, &value, 0, 0, VT_I8) >= 0) return Take(converted.llVal, 64, out);
  return VariantChangeTypeEx(&converted, &value, 0, 0, VT_UI8) >= 0 && TakeUnsigned(converted.ullVal, 64, out);
}

bool ToReal(const CVariant& value, double& out) {
  if (value.vt == VT_R4 || value.vt == VT_R8) {
    out = value.GetAsDouble();
    return true;
  }
  if (IsConverted(value.vt)) {
    tagVARIANT converted{};
    if (VariantChangeTypeEx(&converted, &value, 0, 0, VT_R8) < 0) return false;
    out = converted.dblVal;
    return true;
  }
  integer_t integer;
  if (!ToInteger(value, integer)) return false;
  out = static_cast<double>(integer.magnitude);
  if (integer.negative) out = -out;
  return true;
}

// ---- what is shown

class CExpansion {
 public:
  explicit CExpansion(std::size_t room) { text_.Reserve(static_cast<int>(std::min<std::size_t>(room, 1 << 20))); }

  void Put(std::u16string_view text) { text_.Append(text); }
  void Put(const conversion_t& how, const CVariant& value);
  CString Release() { return std::move(text_); }

 private:
  void PutSome(char16_t unit, std::size_t count) {
    constexpr std::size_t kRun = 64;
    char16_t run[kRun];
    std::fill_n(run, std::min(count, kRun), unit);
    for (; count > 0; count -= std::min(count, kRun)) text_.Append({run, std::min(count, kRun)});
  }
  void PutPadded(const conversion_t& how, std::u16string_view text) {
    const std::size_t padding = how.width > text.size() ? how.width - text.size() : 0;
    if (!how.left) PutSome(u' ', padding);
    text_.Append(text);
    if (how.left) PutSome(u' ', padding);
  }
  // Sign or base, zeros, digits, in the width.
  void PutNumber(const conversion_t& how, std::string_view prefix, std::size_t zeros, std::string_view digits,
                 bool mayFill) {
    const std::size_t length = prefix.size() + zeros + digits.size();
    std::size_t padding = how.width > length ? how.width - length : 0;
    if (how.zeros && !how.left && mayFill) zeros += std::exchange(padding, 0);
    if (!how.left) PutSome(u' ', padding);
    text_.AppendAscii(prefix);
    PutSome(u'0', zeros);
    text_.AppendAscii(digits);
    if (how.left) PutSome(u' ', padding);
  }
  static std::string_view SignOf(const conversion_t& how, bool negative) {
    return negative ? "-" : how.plus ? "+" : how.blank ? " " : "";
  }
  void PutInteger(const conversion_t& how, const integer_t& value);
  void PutReal(const conversion_t& how, double value);
  void PutCharacter(const conversion_t& how, const integer_t& value);
  void PutText(const conversion_t& how, const CVariant& value);

  CString text_;
};

void CExpansion::PutInteger(const conversion_t& how, const integer_t& value) {
  char digits[24];
  const bool isSigned = how.letter == 'd' || how.letter == 'i';
  const int base = how.letter == 'o' ? 8 : how.letter == 'x' || how.letter == 'X' || how.letter == 'p' ? 16 : 10;
  const std::uint64_t number = isSigned ? value.magnitude : value.Unsigned();
  std::size_t length =
      static_cast<std::size_t>(std::to_chars(digits, digits + sizeof digits, number, base).ptr - digits);
  if (how.letter == 'X' || how.letter == 'p') {
    std::transform(digits, digits + length, digits, [](char c) { return c >= 'a' ? static_cast<char>(c - 32) : c; });
  }
  // No digits at all for a zero without precision, as printf has it.
  if (number == 0 && how.precision == 0) length = 0;
  std::size_t least = how.precision > 0 ? static_cast<std::size_t>(how.precision) : 0;
  if (how.letter == 'p') least = value.bits / 4;
  if (how.letter == 'o' && how.alternate && (length == 0 || digits[0] != '0')) least = std::max(least, length + 1);
  std::string_view prefix = isSigned ? SignOf(how, value.negative) : std::string_view();
  if (how.alternate && number != 0 && how.letter == 'x') prefix = "0x";
  if (how.alternate && number != 0 && how.letter == 'X') prefix = "0X";
  PutNumber(how, prefix, least > length ? least - length : 0, {digits, length}, how.precision < 0);
}

// Room for the digits of the largest number and of the largest precision, a point and an exponent.
using real_text_t = char[kMaxTemplateWidth + 336];

std::size_t FormatReal(real_text_t& out, double value, std::chars_format form, int precision) {
  char* const end = out + sizeof out - 1;  // one is left for a point
  const auto result =
      precision < 0 ? std::to_chars(out, end, value, form) : std::to_chars(out, end, value, form, precision);
  return static_cast<std::size_t>(result.ptr - out);
}

// %#g: as %g decides between its two forms, with the zeros that it leaves off.
std::size_t FormatGeneralWhole(real_text_t& out, double value, int precision) {
  const int digits = std::max(precision, 1);
  const std::size_t length = FormatReal(out, value, std::chars_format::scientific, digits - 1);
  const std::string_view text(out, length);
  const std::size_t e = text.find('e');
  int exponent = 0;
  std::from_chars(out + e + 2, out + length, exponent);
  if (out[e + 1] == '-') exponent = -exponent;
  if (exponent < -4 || exponent >= digits) return length;
  return FormatReal(out, value, std::chars_format::fixed, digits - 1 - exponent);
}

void CExpansion::PutReal(const conversion_t& how, double value) {
  real_text_t text;
  std::size_t length = 0;
  const double magnitude = std::fabs(value);
  const bool isFinite = std::isfinite(value);
  const char form = static_cast<char>(how.letter | 0x20);
  const int precision = how.precision < 0 ? 6 : how.precision;
  std::string prefix(SignOf(how, std::signbit(value)));
  if (!isFinite) {
    length = 3;
    std::memcpy(text, std::isnan(value) ? "nan" : "inf", length);
  } else if (form == 'f') {
    length = FormatReal(text, magnitude, std::chars_format::fixed, precision);
  } else if (form == 'e') {
    length = FormatReal(text, magnitude, std::chars_format::scientific, precision);
  } else if (form == 'a') {
    prefix += "0x";
    length = FormatReal(text, magnitude, std::chars_format::hex, how.precision);
  } else if (how.alternate) {
    length = FormatGeneralWhole(text, magnitude, precision);
  } else {
    length = FormatReal(text, magnitude, std::chars_format::general, precision);
  }
  if (how.alternate && isFinite && std::string_view(text, length).find('.') == std::string_view::npos) {
    char* const exponent = std::find(text, text + length, form == 'a' ? 'p' : 'e');
    std::memmove(exponent + 1, exponent, static_cast<std::size_t>(text + length - exponent));
    *exponent = '.';
    ++length;
  }
  if (how.letter < 'a') {
    const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; };
    std::transform(text, text + length, text, upper);
    std::transform(prefix.begin(), prefix.end(), prefix.begin(), upper);
  }
  PutNumber(how, prefix, 0, {text, length}, isFinite);
}

// What is no character becomes U+FFFD; the NUL, which would end the text for some readers, nothing.
void CExpansion::PutCharacter(const conversion_t& how, const integer_t& value) {
  char16_t units[2];
  std::size_t length = 1;
  const std::uint64_t point = value.magnitude;
  if (value.negative || point > 0x10FFFF || (point & 0xFFFFF800) == 0xD800) {
    units[0] = u'\uFFFD';
  } else if (point > 0xFFFF) {
    units[0] = static_cast<char16_t>(0xD7C0 + (point >> 10));
    units[1] = static_cast<char16_t>(0xDC00 | (point & 0x3FF));
    length = 2;
  } else {
    units[0] = static_cast<char16_t>(point);
    length = point != 0 ? 1 : 0;
  }
  PutPadded(how, {units, length});
}

void CExpansion::PutText(const conversion_t& how, const CVariant& value) {
  CString made;
  std::u16string_view text;
  if (value.vt == VT_BSTR) {
    text = value.GetStringView();
  } else if ((value.vt & VT_BYREF) == 0) {
    made = value.ToString();
    text = made;
  }
  const char kind = KindOf(how.letter);
  if (kind == 's' && how.precision >= 0)
    text = utf::CutBetweenCharacters(text, static_cast<std::size_t>(how.precision));
  if (kind == 'c' && value.vt == VT_BSTR && !text.empty()) {
    text = text.substr(0, utf::IsPairAt(text, 0) ? 2 : 1);
  }
  PutPadded(how, text);
}

void CExpansion::Put(const conversion_t& how, const CVariant& value) {
  integer_t integer;
  double real = 0;
  switch (KindOf(how.letter)) {
    case 'd':
    case 'p':
      if (ToInteger(value, integer)) return PutInteger(how, integer);
      break;
    case 'c':
      if (value.vt != VT_BSTR && ToInteger(value, integer)) return PutCharacter(how, integer);
      break;
    case 'f':
      if (ToReal(value, real)) return PutReal(how, real);
      break;
    default: break;
  }
  PutText(how, value);
}

}  // namespace

CString ExpandTemplate(std::u16string_view text, std::span<const CVariant> arguments) {
  CExpansion expansion(text.size() + 16 * arguments.size());
  Walk(
      text, [&](std::u16string_view literal) { expansion.Put(literal); },
      [&](const conversion_t& how) {
        if (how.position > arguments.size()) {
          zorplatform::CException::Throw(zorplatform::CException::kEndOfStream,
                                         "a message template asks for argument " + std::to_string(how.position) +
                                             " of " + std::to_string(arguments.size()));
        }
        expansion.Put(how, arguments[how.position - 1]);
      });
  return expansion.Release();
}

std::vector<template_argument_t> GetTemplateArguments(std::u16string_view text) {
  std::vector<template_argument_t> found;
  Walk(
      text, [](std::u16string_view) {},
      [&](const conversion_t& how) {
        found.push_back({how.position, KindOf(how.letter)});
      });
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace i18n
