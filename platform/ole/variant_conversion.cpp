#include "platform/ole/variant_conversion.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <tuple>
#include <type_traits>
#include <utility>

#include "platform/ole/date.h"
#include "platform/ole/decimal.h"
#include "platform/ole/string.h"
#include "platform/ole/text_to_number_internal.h"
#include "platform/text/ascii_internal.h"
#include "platform/text/number_text.h"

namespace {

constexpr int kFloatDigits = std::numeric_limits<float>::digits10 + 1;  // 7, as OLE writes a float
constexpr int kDoubleDigits = std::numeric_limits<double>::digits10;    // 15
constexpr std::int64_t kCurrencyUnit = 10000;

// What a conversion gives: a status, and the 8 bytes of the new value when that is S_OK. It travels in two
// registers; DECIMAL, the one wider value, has a path of its own.
struct outcome_t {
  HRESULT status;
  std::uint64_t bits;
};

template <class Field>
outcome_t Done(Field value) {
  static_assert(sizeof(Field) <= sizeof(std::uint64_t));
  outcome_t outcome{S_OK, 0};
  std::memcpy(&outcome.bits, &value, sizeof value);
  return outcome;
}

outcome_t Failed(HRESULT status) { return {status, 0}; }

outcome_t Truth(bool value) { return Done(value ? VARIANT_TRUE : VARIANT_FALSE); }

[[gnu::noinline]] outcome_t Text(const char* text, std::size_t length) {
  const BSTR result = SysAllocStringLen(nullptr, static_cast<std::uint32_t>(length));
  if (result == nullptr) return Failed(E_OUTOFMEMORY);
  std::copy(text, text + length, result);
  return Done(result);
}

bool IsKnown(VARTYPE vt) { return vt <= VT_UINT && vt != 15; }

// The targets that no value reaches, and those that keep nothing of it: VT_EMPTY and VT_NULL take any value that
// converts at all.
outcome_t WithoutValue(VARTYPE target) {
  if (target == VT_EMPTY || target == VT_NULL) return Done(std::uint64_t{0});
  return Failed(IsKnown(target) || (target & VT_ARRAY) != 0 ? DISP_E_TYPEMISMATCH : DISP_E_BADVARTYPE);
}

// ---- Integers

template <class Field, class Integer>
outcome_t Fit(Integer value) {
  return std::in_range<Field>(value) ? Done(static_cast<Field>(value)) : Failed(DISP_E_OVERFLOW);
}

// Calls `convert` with a zero of the C++ type that an integer target holds. What is no integer keeps nothing.
template <class Converter>
outcome_t ForInteger(VARTYPE target, Converter convert) {
  switch (target) {
    case VT_I1: return convert(std::int8_t{});
    case VT_UI1: return convert(std::uint8_t{});
    case VT_I2: return convert(std::int16_t{});
    case VT_UI2: return convert(std::uint16_t{});
    case VT_I4:
    case VT_INT: return convert(std::int32_t{});
    case VT_UI4:
    case VT_UINT: return convert(std::uint32_t{});
    case VT_I8: return convert(std::int64_t{});
    case VT_UI8: return convert(std::uint64_t{});
    default: return WithoutValue(target);
  }
}

// The last whole amount below the largest currency is refused although it would fit: the limit is exclusive.
template <class Integer>
outcome_t IntegerToCurrency(Integer value) {
  constexpr std::int64_t kLimit = std::numeric_limits<std::int64_t>::max() / kCurrencyUnit;
  if (std::cmp_less_equal(value, -kLimit) || std::cmp_greater_equal(value, kLimit)) return Failed(DISP_E_OVERFLOW);
  return Done(static_cast<std::int64_t>(value) * kCurrencyUnit);
}

template <class Integer>
outcome_t IntegerToDate(Integer value) {
  if (std::cmp_less(value, ole_date::kMinDay) || std::cmp_greater(value, ole_date::kMaxDay)) {
    return Failed(DISP_E_OVERFLOW);
  }
  return Done(static_cast<DATE>(value));
}

template <class Integer>
[[gnu::noinline]] outcome_t IntegerToText(Integer value) {
  char text[number_text::kMaxChars];
  return Text(text, number_text::FormatInteger(value, text));
}

template <class Integer>
outcome_t FromInteger(Integer value, VARTYPE target) {
  switch (target) {
    case VT_R4: return Done(static_cast<float>(value));
    case VT_R8: return Done(static_cast<double>(value));
    case VT_BOOL: return Truth(value != 0);
    case VT_CY: return IntegerToCurrency(value);
    case VT_DATE: return IntegerToDate(value);
    case VT_BSTR: return IntegerToText(value);
    default: return ForInteger(target, [value](auto zero) { return Fit<decltype(zero)>(value); });
  }
}

// A boolean is a 16-bit integer, except that the narrow and the unsigned integers take its bits: true, all bits
// set, is the largest value of every unsigned type.
outcome_t FromBool(VARIANT_BOOL value, VARTYPE target) {
  switch (target) {
    case VT_I1: return Done(static_cast<std::int8_t>(value));
    case VT_UI1: return Done(static_cast<std::uint8_t>(value));
    case VT_UI2: return Done(static_cast<std::uint16_t>(value));
    case VT_UI4:
    case VT_UINT: return Done(static_cast<std::uint32_t>(value));
    case VT_UI8: return Done(static_cast<std::uint64_t>(value));
    default: return FromInteger(std::int64_t{value}, target);
  }
}

// ---- Reals

constexpr double kTwoTo63 = 9223372036854775808.0;

// A 64-bit integer ends one double early: the largest double below 2^63 is no VT_I8 any more.
template <class Field>
outcome_t RealToInteger(double value) {
  constexpr double kLargestBelow = kTwoTo63 - 1024;
  if (value >= -kTwoTo63 && value < kLargestBelow) return Fit<Field>(std::int64_t{std::llrint(value)});
  if constexpr (std::is_same_v<Field, std::uint64_t>) {
    if (value >= kLargestBelow && value < 2 * kTwoTo63) return Done(static_cast<Field>(value));  // whole already
  }
  return Failed(DISP_E_OVERFLOW);
}

outcome_t RealToFloat(double value) {
  if (std::fabs(value) > std::numeric_limits<float>::max()) return Failed(DISP_E_OVERFLOW);
  return Done(static_cast<float>(value));
}

outcome_t RealToCurrency(double value) {
  const double scaled = value * static_cast<double>(kCurrencyUnit);
  if (!(scaled >= -kTwoTo63 && scaled < kTwoTo63)) return Failed(DISP_E_OVERFLOW);
  return Done(std::int64_t{std::llrint(scaled)});
}

// Zero is written without its sign.
[[gnu::noinline]] outcome_t RealToText(double value, int digits) {
  char text[number_text::kMaxChars];
  return Text(text, number_text::FormatGeneral(value == 0 ? 0 : value, digits, text));
}

// Only a double is checked against the calendar; a float goes into a date as it is, unless it is NaN.
bool MayBeDate(double value, int digits) {
  if (digits == kFloatDigits) return !std::isnan(value);
  return value > static_cast<double>(ole_date::kMinDay - 1) && value < static_cast<double>(ole_date::kMaxDay + 1);
}

// `digits` tells a float (7) from a double (15).
outcome_t FromReal(double value, int digits, VARTYPE target) {
  switch (target) {
    case VT_R4: return RealToFloat(value);
    case VT_R8: return Done(value);
    case VT_BOOL: return Truth(value != 0);
    case VT_CY: return RealToCurrency(value);
    case VT_DATE: return MayBeDate(value, digits) ? Done(value) : Failed(DISP_E_OVERFLOW);
    case VT_BSTR: return RealToText(value, digits);
    default: return ForInteger(target, [value](auto zero) { return RealToInteger<decltype(zero)>(value); });
  }
}

// A date converts as the double it is; only its text is its own.
[[gnu::noinline]] outcome_t FromDate(DATE value, VARTYPE target) {
  if (target != VT_BSTR) return FromReal(value, kDoubleDigits, target);
  char text[number_text::kMaxChars];
  const std::size_t length = ole_date::Format(value, text);
  return length == 0 ? Failed(E_INVALIDARG) : Text(text, length);
}

// ---- Fixed-point numbers

[[gnu::noinline]] outcome_t DecimalToText(const DECIMAL& value) {
  char text[number_text::kMaxChars];
  return Text(text, ole_decimal::Format(value, text));
}

// Half to even, but the halves of negative amounts go away from zero on the way to VT_I8.
template <class Field>
outcome_t CurrencyToInteger(CY value) {
  constexpr bool kHalfDown = std::is_same_v<Field, std::int64_t>;
  const std::int64_t whole = value.int64 / kCurrencyUnit;
  const std::int64_t twice = value.int64 % kCurrencyUnit * 2;
  if (twice > kCurrencyUnit || (twice == kCurrencyUnit && whole % 2 != 0)) return Fit<Field>(whole + 1);
  if (twice < -kCurrencyUnit || (twice == -kCurrencyUnit && (kHalfDown || whole % 2 != 0))) {
    return Fit<Field>(whole - 1);
  }
  return Fit<Field>(whole);
}

// Reals and dates from a currency are not checked against any range.
outcome_t FromCurrency(CY value, VARTYPE target) {
  const double real = static_cast<double>(value.int64) / static_cast<double>(kCurrencyUnit);
  switch (target) {
    case VT_R4: return Done(static_cast<float>(real));
    case VT_R8:
    case VT_DATE: return Done(real);
    case VT_BOOL: return Truth(value.int64 != 0);
    case VT_BSTR: return DecimalToText(ole_decimal::FromCurrency(value));
    default: return ForInteger(target, [value](auto zero) { return CurrencyToInteger<decltype(zero)>(value); });
  }
}

template <class Field>
outcome_t DecimalToInteger(const DECIMAL& value) {
  if constexpr (std::is_signed_v<Field>) {
    std::int64_t whole = 0;
    return ole_decimal::ToInt64(value, whole) == S_OK ? Fit<Field>(whole) : Failed(DISP_E_OVERFLOW);
  } else {
    std::uint64_t whole = 0;
    return ole_decimal::ToUInt64(value, whole) == S_OK ? Fit<Field>(whole) : Failed(DISP_E_OVERFLOW);
  }
}

[[gnu::noinline]] outcome_t FromDecimal(const DECIMAL& value, VARTYPE target) {
  switch (target) {
    case VT_R4: return Done(static_cast<float>(ole_decimal::ToDouble(value)));
    case VT_R8:
    case VT_DATE: return Done(ole_decimal::ToDouble(value));
    case VT_BOOL: return Truth(!ole_decimal::IsZero(value));
    case VT_BSTR: return DecimalToText(value);
    case VT_CY: {
      CY currency{};
      const HRESULT status = ole_decimal::ToCurrency(value, currency);
      return {status, static_cast<std::uint64_t>(currency.int64)};
    }
    default: return ForInteger(target, [&value](auto zero) { return DecimalToInteger<decltype(zero)>(value); });
  }
}

// ---- Texts

bool EqualsNoCase(std::u16string_view text, std::u16string_view lowerCase) {
  return std::equal(text.begin(), text.end(), lowerCase.begin(), lowerCase.end(),
                    [](char16_t a, char16_t b) { return ascii::ToLower(a) == b; });
}

// The words, as people and as programs write them, or a number.
outcome_t TextToBool(std::u16string_view text) {
  if (EqualsNoCase(text, u"true") || EqualsNoCase(text, u"#true#")) return Truth(true);
  if (EqualsNoCase(text, u"false") || EqualsNoCase(text, u"#false#")) return Truth(false);
  double number = 0;
  const HRESULT status = text_to_number::ToDouble(text, number);
  return status == S_OK ? Truth(number != 0) : Failed(status);
}

template <class Field>
outcome_t TextToInteger(std::u16string_view text) {
  bool negative = false;
  std::uint64_t magnitude = 0;
  const HRESULT status = text_to_number::ToInteger(text, negative, magnitude);
  if (status != S_OK) return Failed(status);
  if (!negative) return Fit<Field>(magnitude);
  constexpr std::uint64_t kMax = std::uint64_t{1} << 63;
  return magnitude > kMax ? Failed(DISP_E_OVERFLOW) : Fit<Field>(static_cast<std::int64_t>(0 - magnitude));
}

template <class Field, HRESULT Read(std::u16string_view, Field&) noexcept>
outcome_t TextTo(std::u16string_view text) {
  Field value{};
  const HRESULT status = Read(text, value);
  return status == S_OK ? Done(value) : Failed(status);
}

[[gnu::noinline]] outcome_t FromText(std::u16string_view text, VARTYPE target) {
  switch (target) {
    case VT_R4: return TextTo<float, text_to_number::ToFloat>(text);
    case VT_R8: return TextTo<double, text_to_number::ToDouble>(text);
    case VT_CY: return TextTo<CY, text_to_number::ToCurrency>(text);
    case VT_BOOL: return TextToBool(text);
    case VT_DATE: {
      DATE date = 0;
      return ole_date::Parse(text, date) ? Done(date) : Failed(DISP_E_TYPEMISMATCH);
    }
    default: return ForInteger(target, [text](auto zero) { return TextToInteger<decltype(zero)>(text); });
  }
}

// ---- The table of sources

// Every target but VT_DECIMAL; source and target differ.
outcome_t Convert(const tagVARIANT& source, VARTYPE target) {
  switch (source.vt) {
    case VT_EMPTY: return target == VT_BSTR ? Text("", 0) : FromInteger(std::int64_t{0}, target);
    case VT_I1: return FromInteger(std::int64_t{source.cVal}, target);
    case VT_I2: return FromInteger(std::int64_t{source.iVal}, target);
    case VT_I4:
    case VT_INT: return FromInteger(std::int64_t{source.lVal}, target);
    case VT_I8: return FromInteger(source.llVal, target);
    case VT_UI1: return FromInteger(std::int64_t{source.bVal}, target);
    case VT_UI2: return FromInteger(std::int64_t{source.uiVal}, target);
    case VT_UI4:
    case VT_UINT: return FromInteger(std::int64_t{source.ulVal}, target);
    case VT_UI8: return FromInteger(source.ullVal, target);
    case VT_R4: return FromReal(double{source.fltVal}, kFloatDigits, target);
    case VT_R8: return FromReal(source.dblVal, kDoubleDigits, target);
    case VT_DATE: return FromDate(source.date, target);
    case VT_BOOL: return FromBool(source.boolVal, target);
    case VT_CY: return FromCurrency(source.cyVal, target);
    case VT_DECIMAL: return FromDecimal(GetDecimal(source), target);
    case VT_BSTR: return FromText(SysStringView(source.bstrVal), target);
    default: return Failed(IsKnown(target) ? DISP_E_TYPEMISMATCH : DISP_E_BADVARTYPE);
  }
}

// Of a boolean only its truth arrives: 0 or 1.
[[gnu::noinline]] HRESULT ConvertToDecimal(const tagVARIANT& source, DECIMAL& out) {
  switch (source.vt) {
    case VT_DECIMAL: out = GetDecimal(source); return S_OK;
    case VT_BOOL: out = ole_decimal::FromInt64(source.boolVal != 0 ? 1 : 0); return S_OK;
    case VT_UI8: out = ole_decimal::FromUInt64(source.ullVal); return S_OK;
    case VT_CY: out = ole_decimal::FromCurrency(source.cyVal); return S_OK;
    case VT_R4: return ole_decimal::FromDouble(double{source.fltVal}, kFloatDigits, out);
    case VT_R8: return ole_decimal::FromDouble(source.dblVal, kDoubleDigits, out);
    case VT_DATE: return ole_decimal::FromDouble(source.date, kDoubleDigits, out);
    case VT_BSTR: return text_to_number::ToDecimal(SysStringView(source.bstrVal), out);
    default: {
      const outcome_t whole = Convert(source, VT_I8);  // VT_EMPTY and the other integers
      if (whole.status == S_OK) out = ole_decimal::FromInt64(static_cast<std::int64_t>(whole.bits));
      return whole.status;
    }
  }
}

// A value of its own type: the bits, or a new string. OLE's one difference to a copy: a null string becomes an
// empty one.
outcome_t ConvertToItself(const tagVARIANT& source) {
  if (source.vt != VT_BSTR) return Done(source.ullVal);
  const BSTR copy =
      SysAllocStringByteLen(reinterpret_cast<const char*>(source.bstrVal), SysStringByteLen(source.bstrVal));
  return copy == nullptr ? Failed(E_OUTOFMEMORY) : Done(copy);
}

bool IsArray(VARTYPE vt) { return (vt & VT_ARRAY) != 0; }

void FreeOwned(tagVARIANT& value) {
  if (value.vt == VT_BSTR) SysFreeString(value.bstrVal);
}

// The type and the reserved words go in as one store: a reader that loads more than the type at once would have to
// wait for several.
void Assign(tagVARIANT& value, VARTYPE vt, std::uint64_t bits) {
  const std::uint64_t head = std::endian::native == std::endian::little ? vt : std::uint64_t{vt} << 48;
  static_assert(offsetof(tagVARIANT, ullVal) == sizeof head);
  std::memcpy(static_cast<void*>(&value), &head, sizeof head);
  value.ullVal = bits;
}

// ---- The pairs of plain numbers, which every poll converts: one jump to a function without a stack frame

using numbers_t = std::tuple<std::int8_t, std::uint8_t, std::int16_t, std::uint16_t, std::int32_t, std::uint32_t,
                             std::int64_t, std::uint64_t, float, double>;
constexpr std::size_t kNumbers = std::tuple_size_v<numbers_t>;

// Where a VARTYPE stands among them; kNumbers for the others.
constexpr std::array<std::uint8_t, VT_UINT + 1> kNumberOf = [] {
  std::array<std::uint8_t, VT_UINT + 1> numbers{};
  numbers.fill(kNumbers);
  std::uint8_t next = 0;
  for (const VARTYPE vt : {VT_I1, VT_UI1, VT_I2, VT_UI2, VT_I4, VT_UI4, VT_I8, VT_UI8, VT_R4, VT_R8}) {
    numbers[vt] = next++;
  }
  numbers[VT_INT] = numbers[VT_I4];
  numbers[VT_UINT] = numbers[VT_UI4];
  return numbers;
}();

template <class From, class To>
outcome_t ConvertNumber(From value) {
  if constexpr (std::is_same_v<From, To> || (std::is_integral_v<From> && std::is_floating_point_v<To>)) {
    return Done(static_cast<To>(value));
  } else if constexpr (std::is_integral_v<From>) {
    return Fit<To>(value);
  } else if constexpr (std::is_integral_v<To>) {
    return RealToInteger<To>(value);
  } else {
    return std::is_same_v<To, float> ? RealToFloat(value) : Done(double{value});
  }
}

using change_number_t = HRESULT (*)(tagVARIANT&, const tagVARIANT&, VARTYPE);

template <std::size_t Pair>
HRESULT ChangeNumber(tagVARIANT& destination, const tagVARIANT& source, VARTYPE target) {
  using from_t = std::tuple_element_t<Pair / kNumbers, numbers_t>;
  using to_t = std::tuple_element_t<Pair % kNumbers, numbers_t>;
  from_t value;
  std::memcpy(&value, &source.ullVal, sizeof value);
  const outcome_t outcome = ConvertNumber<from_t, to_t>(value);
  if (outcome.status == S_OK) Assign(destination, target, outcome.bits);
  return outcome.status;
}

constexpr auto kChangeNumber = []<std::size_t... Pairs>(std::index_sequence<Pairs...>) {
  return std::array<change_number_t, sizeof...(Pairs)>{ChangeNumber<Pairs>...};
}
(std::make_index_sequence<kNumbers * kNumbers>());

[[gnu::noinline]] HRESULT ChangeAny(tagVARIANT& destination, const tagVARIANT& source, VARTYPE target) {
  if (IsArray(source.vt) || IsArray(target) || IsArray(destination.vt)) return DISP_E_TYPEMISMATCH;
  if (target == VT_DECIMAL) {
    DECIMAL decimal{};
    const HRESULT status = ConvertToDecimal(source, decimal);
    if (status != S_OK) return status;
    FreeOwned(destination);
    SetDecimal(destination, decimal);
    return S_OK;
  }
  const outcome_t outcome = source.vt == target ? ConvertToItself(source) : Convert(source, target);
  if (outcome.status != S_OK) return outcome.status;
  FreeOwned(destination);
  Assign(destination, target, outcome.bits);
  return S_OK;
}

}  // namespace

HRESULT VariantClear(tagVARIANT* value) noexcept {
  if (IsArray(value->vt)) return DISP_E_BADVARTYPE;
  FreeOwned(*value);
  *value = tagVARIANT{};
  return S_OK;
}

HRESULT VariantChangeTypeEx(tagVARIANT* destination, const tagVARIANT* source, LCID /*lcid*/, std::uint16_t /*flags*/,
                            VARTYPE target) noexcept {
  const std::size_t from = source->vt;
  if (from < kNumberOf.size() && target < kNumberOf.size() && destination->vt < kNumberOf.size() &&
      destination->vt != VT_BSTR) {
    const std::size_t row = kNumberOf[from], column = kNumberOf[target];
    if (row != kNumbers && column != kNumbers) {
      return kChangeNumber[row * kNumbers + column](*destination, *source, target);
    }
  }
  return ChangeAny(*destination, *source, target);
}
