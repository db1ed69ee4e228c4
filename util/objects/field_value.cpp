#include "util/objects/field_value.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/text/collation.h"
#include "platform/text/number_text.h"
#include "platform/text/real_chars.h"
#include "platform/zorplatform/exception.h"
#include "platform/zorplatform/growable_buffer.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_ids.h"
#include "util/objects/type_description.h"
#include "util/properties/password.h"
#include "util/serialization/primitives_internal.h"
#include "util/serialization/stream_serializers.h"
#include "util/serialization/string_serialization.h"
#include "util/values/base64.h"

namespace zorutil {

namespace {

using enum field_kind_t;
using enum field_result_t;

template <class T>
constexpr std::int64_t kLowest = static_cast<std::int64_t>(std::numeric_limits<T>::min());
template <class T>
constexpr std::int64_t kHighest = static_cast<std::int64_t>(std::numeric_limits<T>::max());

struct kind_row_t {
  std::size_t width;
  std::int64_t lowest;   // of the integers
  std::int64_t highest;  // of UINT64 as its bits
  VARTYPE vartype;       // of a value whose property type has no other
};
// By field_kind_t.
constexpr kind_row_t kKinds[] = {
    {1, 0, 1, VT_BOOL},
    {1, kLowest<std::int8_t>, kHighest<std::int8_t>, VT_INT},
    {1, 0, kHighest<std::uint8_t>, VT_UINT},
    {2, kLowest<std::int16_t>, kHighest<std::int16_t>, VT_INT},
    {2, 0, kHighest<std::uint16_t>, VT_UINT},
    {4, kLowest<std::int32_t>, kHighest<std::int32_t>, VT_INT},
    {4, 0, kHighest<std::uint32_t>, VT_UINT},
    {8, kLowest<std::int64_t>, kHighest<std::int64_t>, VT_I8},
    {8, 0, -1, VT_UI8},
    {4, 0, 0, VT_R4},
    {8, 0, 0, VT_R8},
    {0, 0, 0, VT_BSTR},
    {0, 0, 0, VT_BSTR},
    {0, 0, 0, VT_EMPTY},
};
static_assert(std::size(kKinds) == static_cast<std::size_t>(VALUE) + 1);

const kind_row_t& RowOf(field_kind_t kind) { return kKinds[static_cast<std::size_t>(kind)]; }
bool IsReal(field_kind_t kind) { return kind == REAL4 || kind == REAL8; }

// An integer of up to 64 bits, of either sign.
struct integer_t {
  std::int64_t bits;
  bool isHuge;  // above the signed range: an unsigned number in its bits
};

field_result_t TakeInteger(field_kind_t kind, integer_t from, field_value_t& out) {
  const kind_row_t& row = RowOf(kind);
  const bool fits = kind == UINT64 ? from.isHuge || from.bits >= 0
                                   : !from.isHuge && from.bits >= row.lowest && from.bits <= row.highest;
  if (!fits) return OUT_OF_RANGE;
  out.integer = from.bits;
  return TAKEN;
}

field_result_t TakeReal(field_kind_t kind, double from, field_value_t& out) {
  if (std::isnan(from)) {
    out.real = std::numeric_limits<double>::quiet_NaN();
    return TAKEN;
  }
  if (kind == REAL4) {
    const double rounded = static_cast<double>(static_cast<float>(from));
    if (std::isinf(rounded) && !std::isinf(from)) return OUT_OF_RANGE;
    from = rounded;
  }
  out.real = from;
  return TAKEN;
}

// The integer that a real stands for; nothing when it has a fraction, or is not within 64 bits.
std::optional<integer_t> IntegerOf(double from) {
  constexpr double kTwo63 = 9223372036854775808.0;
  if (!(from >= -kTwo63 && from < 2 * kTwo63) || from != std::trunc(from)) return std::nullopt;
  if (from < kTwo63) return integer_t{static_cast<std::int64_t>(from), false};
  return integer_t{static_cast<std::int64_t>(static_cast<std::uint64_t>(from)), true};
}

field_result_t TakeRealAsInteger(field_kind_t kind, double from, field_value_t& out) {
  const auto integer = IntegerOf(from);
  if (integer) return TakeInteger(kind, *integer, out);
  return std::isfinite(from) && from == std::trunc(from) ? OUT_OF_RANGE : WRONG_TYPE;
}

std::u16string_view Trimmed(std::u16string_view text) {
  while (!text.empty() && collation::IsSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && collation::IsSpace(text.back())) text.remove_suffix(1);
  return text;
}

bool IsAscii(std::u16string_view text, std::string_view ascii) {
  return std::equal(text.begin(), text.end(), ascii.begin(), ascii.end(),
                    [](char16_t a, char b) { return a == static_cast<char16_t>(b); });
}

// --- numbers from text -----------------------------------------------------------------------------------------------

constexpr std::size_t kNumberChars = 128;

// The text in one byte a character; empty when it is none, or no number that short.
std::string_view Narrow(std::u16string_view text, char (&out)[kNumberChars]) {
  if (text.size() > kNumberChars) return {};
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] > 0x7F) return {};
    out[i] = static_cast<char>(text[i]);
  }
  return {out, text.size()};
}

field_result_t IntegerFromText(field_kind_t kind, std::u16string_view text, field_value_t& out) {
  char memory[kNumberChars];
  std::string_view digits = Narrow(text, memory);
  if (digits.starts_with('+')) digits.remove_prefix(1);
  if (digits.empty()) return WRONG_TYPE;
  const char* const end = digits.data() + digits.size();
  const auto ended = [&](const std::from_chars_result& read) { return read.ptr == end; };
  if (digits.front() != '-') {
    std::uint64_t value = 0;
    const auto read = std::from_chars(digits.data(), end, value);
    if (!ended(read) || read.ec == std::errc::invalid_argument) return WRONG_TYPE;
    if (read.ec != std::errc()) return OUT_OF_RANGE;
    return TakeInteger(kind, {static_cast<std::int64_t>(value), value > INT64_MAX}, out);
  }
  std::int64_t value = 0;
  const auto read = std::from_chars(digits.data(), end, value);
  if (!ended(read) || read.ec == std::errc::invalid_argument) return WRONG_TYPE;
  if (read.ec != std::errc()) return OUT_OF_RANGE;
  return TakeInteger(kind, {value, false}, out);
}

field_result_t RealFromText(field_kind_t kind, std::u16string_view text, field_value_t& out) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  if (text.empty()) return WRONG_TYPE;
  if (IsAscii(text, "NaN")) return TakeReal(kind, std::numeric_limits<double>::quiet_NaN(), out);
  if (IsAscii(text, "INF")) return TakeReal(kind, kInfinity, out);
  if (IsAscii(text, "-INF")) return TakeReal(kind, -kInfinity, out);
  if (kind == REAL4) {
    // At once, for rounding twice may give a neighbour.
    char memory[kNumberChars];
    const std::string_view digits = Narrow(text, memory);
    float value = 0;
    const auto read = real_chars::FromChars(digits.data(), digits.data() + digits.size(), value);
    if (!digits.empty() && read.ec == std::errc() && read.ptr == digits.data() + digits.size() &&
        digits.front() != 'i' && digits.front() != 'n' && std::isfinite(value)) {
      out.real = static_cast<double>(value);
      return TAKEN;
    }
  }
  const auto read = number_text::ParseDoublePrefix(text);
  if (read.length != text.size()) return WRONG_TYPE;
  return read.overflow ? OUT_OF_RANGE : TakeReal(kind, read.value, out);
}

field_result_t BoolFromText(std::u16string_view text, field_value_t& out) {
  const bool isTrue = IsAscii(text, "true") || IsAscii(text, "1");
  if (!isTrue && !IsAscii(text, "false") && !IsAscii(text, "0")) return WRONG_TYPE;
  out.integer = isTrue ? 1 : 0;
  return TAKEN;
}

// --- passwords -------------------------------------------------------------------------------------------------------

// Encrypted, but for what is already, by whatever key.
CString StoredPassword(const CString& text) {
  const std::u16string_view view = text.View();
  if (view.empty() || view.starts_with(u"$zpw$") || view.starts_with(u"$zpo$")) return text;
  return properties::EncryptPassword(text);
}

// --- variants as text ------------------------------------------------------------------------------------------------

struct variant_name_t {
  VARTYPE type;
  field_kind_t kind;  // as which the value is printed
  std::string_view name;
};
constexpr variant_name_t kVariantNames[] = {
    {VT_I1, INT8, "I1"},     {VT_UI1, UINT8, "UI1"},  {VT_I2, INT16, "I2"},       {VT_UI2, UINT16, "UI2"},
    {VT_I4, INT32, "I4"},    {VT_UI4, UINT32, "UI4"}, {VT_INT, INT32, "INT"},     {VT_UINT, UINT32, "UINT"},
    {VT_I8, INT64, "I8"},    {VT_UI8, UINT64, "UI8"}, {VT_R4, REAL4, "R4"},       {VT_R8, REAL8, "R8"},
    {VT_BOOL, BOOL, "BOOL"}, {VT_BSTR, TEXT, "BSTR"}, {VT_EMPTY, VALUE, "EMPTY"},
};
constexpr std::string_view kRecordName = "RECORD";  // of every other type: its binary form in base64

void PlainToText(field_kind_t kind, const field_value_t& value, CString& out);
field_result_t PlainFromText(field_kind_t kind, std::u16string_view text, field_value_t& out);
void PlainFromVariant(const CVariant& from, field_value_t& out);

void VariantToText(const CVariant& value, CString& out) {
  const auto* const row =
      std::find_if(std::begin(kVariantNames), std::end(kVariantNames), [&](auto& r) { return r.type == value.vt; });
  const bool isNaN = (value.vt == VT_R8 && std::isnan(value.dblVal)) || (value.vt == VT_R4 && std::isnan(value.fltVal));
  const bool isOddBool = value.vt == VT_BOOL && value.boolVal != VARIANT_TRUE && value.boolVal != VARIANT_FALSE;
  CString text;
  if (row == std::end(kVariantNames) || isNaN || isOddBool) {
    memory_serializer_t bytes;
    Serialize(value, bytes);
    const auto content = bytes.GetContent();
    base64_encode(reinterpret_cast<const unsigned char*>(content.data()), static_cast<unsigned>(content.size()), text);
    out.Assign({});
    out.AppendAscii(kRecordName).Append(u":").Append(text);
    return;
  }
  if (row->kind != VALUE) {
    field_value_t plain;
    PlainFromVariant(value, plain);
    PlainToText(row->kind, plain, text);
  }
  out.Assign({});
  out.AppendAscii(row->name).Append(u":").Append(text);
}

CVariant ToVariant(VARTYPE type, field_kind_t kind, const field_value_t& value) {
  switch (kind) {
    case BOOL: return CVariant::FromBool(value.integer != 0);
    case REAL4: return CVariant::FromFloat(static_cast<float>(value.real));
    case REAL8: return CVariant::FromDouble(value.real);
    case TEXT:
    case PASSWORD: return CVariant::FromString(value.text.View());
    case VALUE: return value.value;
    default: break;
  }
  CVariant result = kind == UINT64 ? CVariant::FromUInt64(static_cast<std::uint64_t>(value.integer))
                                   : CVariant::FromInt64(value.integer);
  // What the type cannot hold keeps the width that can.
  if (!result.ConvertType(type, CVariant::CONVERT_OR_KEEP))
    result.ConvertType(RowOf(kind).vartype, CVariant::CONVERT_OR_KEEP);
  return result;
}

field_result_t VariantFromText(std::u16string_view text, CVariant& out) {
  const std::size_t colon = text.find(u':');
  if (colon == std::u16string_view::npos) return WRONG_TYPE;
  const std::u16string_view name = text.substr(0, colon), rest = text.substr(colon + 1);
  if (IsAscii(name, kRecordName)) {
    zorplatform::CGrowableBuffer bytes;
    base64_decode(CString(rest), bytes);
    try {
      memory_serializer_t in(std::span(reinterpret_cast<const std::byte*>(bytes.GetData()), bytes.GetSize()));
      CVariant value;
      Deserialize(value, in);
      std::byte more;
      if (in.Peek(&more, 1)) return WRONG_TYPE;
      out = std::move(value);
      return TAKEN;
    } catch (const zorplatform::CException&) {
      return WRONG_TYPE;
    }
  }
  const auto* const row =
      std::find_if(std::begin(kVariantNames), std::end(kVariantNames), [&](auto& r) { return IsAscii(name, r.name); });
  if (row == std::end(kVariantNames)) return WRONG_TYPE;
  if (row->kind == VALUE) {
    if (!rest.empty()) return WRONG_TYPE;
    out = CVariant();
    return TAKEN;
  }
  field_value_t plain;
  const field_result_t result = PlainFromText(row->kind, rest, plain);
  if (result == TAKEN) out = ToVariant(row->type, row->kind, plain);
  return result;
}

// --- all kinds -------------------------------------------------------------------------------------------------------

// Of the types in kVariantNames.
void PlainFromVariant(const CVariant& from, field_value_t& out) {
  switch (from.vt) {
    case VT_I1: out.integer = from.cVal; break;
    case VT_UI1: out.integer = from.bVal; break;
    case VT_I2: out.integer = from.iVal; break;
    case VT_UI2: out.integer = from.uiVal; break;
    case VT_I4:
    case VT_INT: out.integer = from.lVal; break;
    case VT_UI4:
    case VT_UINT: out.integer = from.ulVal; break;
    case VT_I8:
    case VT_UI8: out.integer = from.llVal; break;
    case VT_BOOL: out.integer = from.boolVal != VARIANT_FALSE; break;
    case VT_R4: out.real = static_cast<double>(from.fltVal); break;
    case VT_R8: out.real = from.dblVal; break;
    default: out.text = from.GetStringView(); break;
  }
}

void PlainToText(field_kind_t kind, const field_value_t& value, CString& out) {
  char text[number_text::kMaxChars];
  std::size_t size = 0;
  const auto put = [&](const std::to_chars_result& written) { size = static_cast<std::size_t>(written.ptr - text); };
  switch (kind) {
    case BOOL: out = value.integer != 0 ? u"true" : u"false"; return;
    case TEXT:
    case PASSWORD: out = value.text; return;
    case VALUE: return VariantToText(value.value, out);
    case UINT64: put(std::to_chars(text, std::end(text), static_cast<std::uint64_t>(value.integer))); break;
    case REAL4:
    case REAL8:
      if (!std::isfinite(value.real)) {
        out = std::isnan(value.real) ? u"NaN" : value.real > 0 ? u"INF" : u"-INF";
        return;
      }
      put(kind == REAL4 ? std::to_chars(text, std::end(text), static_cast<float>(value.real))
                        : std::to_chars(text, std::end(text), value.real));
      break;
    default: put(std::to_chars(text, std::end(text), value.integer)); break;
  }
  out.Assign({});
  out.AppendAscii({text, size});
}

field_result_t PlainFromText(field_kind_t kind, std::u16string_view text, field_value_t& out) {
  switch (kind) {
    case BOOL: return BoolFromText(Trimmed(text), out);
    case REAL4:
    case REAL8: return RealFromText(kind, Trimmed(text), out);
    case TEXT: out.text = text; return TAKEN;
    case PASSWORD: out.text = StoredPassword(CString(text)); return TAKEN;
    case VALUE: return VariantFromText(text, out.value);
    default: return IntegerFromText(kind, Trimmed(text), out);
  }
}

bool IsIntegerType(VARTYPE type) {
  switch (type) {
    case VT_I1:
    case VT_UI1:
    case VT_I2:
    case VT_UI2:
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_I8:
    case VT_UI8: return true;
    default: return false;
  }
}

double RealOf(const CVariant& from) { return from.vt == VT_R4 ? static_cast<double>(from.fltVal) : from.dblVal; }

}  // namespace

CVariant FieldToVariant(const field_t& field, const field_value_t& value) {
  VARTYPE type = properties::ExpectedVartype(field.type);
  if (type == VT_EMPTY) type = RowOf(field.kind).vartype;
  return ToVariant(type, field.kind, value);
}

field_result_t FieldFromVariant(const field_t& field, const CVariant& from, field_value_t& out) {
  if (field.kind == VALUE) {
    out.value = from;
    return TAKEN;
  }
  const bool isInteger = IsIntegerType(from.vt);
  const bool isReal = from.vt == VT_R4 || from.vt == VT_R8;
  if (field.kind == TEXT || field.kind == PASSWORD) {
    if (from.vt != VT_BSTR && !isInteger && !isReal) return WRONG_TYPE;
    const CString text = from.vt == VT_BSTR ? CString(from.GetStringView()) : from.ToString();
    out.text = field.kind == PASSWORD ? StoredPassword(text) : text;
    return TAKEN;
  }
  if (from.vt == VT_BSTR) return PlainFromText(field.kind, from.GetStringView(), out);
  if (from.vt == VT_BOOL) {
    if (field.kind != BOOL) return WRONG_TYPE;
    out.integer = from.boolVal != VARIANT_FALSE;
    return TAKEN;
  }
  if (isReal) {
    return IsReal(field.kind) ? TakeReal(field.kind, RealOf(from), out)
                              : TakeRealAsInteger(field.kind, RealOf(from), out);
  }
  if (!isInteger) return WRONG_TYPE;
  field_value_t number;
  PlainFromVariant(from, number);
  const integer_t integer{number.integer, from.vt == VT_UI8 && number.integer < 0};
  if (!IsReal(field.kind)) return TakeInteger(field.kind, integer, out);
  return TakeReal(field.kind,
                  integer.isHuge ? static_cast<double>(static_cast<std::uint64_t>(integer.bits))
                                 : static_cast<double>(integer.bits),
                  out);
}

void FieldToText(const field_t& field, const field_value_t& value, CString& out) {
  PlainToText(field.kind, value, out);
}

field_result_t FieldFromText(const field_t& field, const CString& text, field_value_t& out) {
  if (field.kind != TEXT) return PlainFromText(field.kind, text.View(), out);
  out.text = text;
  return TAKEN;
}

bool AreSame(const field_t& field, const field_value_t& a, const field_value_t& b) {
  switch (field.kind) {
    case REAL4:
    case REAL8:
      return std::bit_cast<std::uint64_t>(a.real) == std::bit_cast<std::uint64_t>(b.real) ||
             (std::isnan(a.real) && std::isnan(b.real));
    case TEXT:
    case PASSWORD: return a.text == b.text;
    case VALUE: break;
    default: return a.integer == b.integer;
  }
  if (a.value.vt != b.value.vt) return false;
  switch (a.value.vt) {
    case VT_EMPTY: return true;
    case VT_BSTR: return a.value.GetStringView() == b.value.GetStringView();
    case VT_R8:
    case VT_I8:
    case VT_UI8: return a.value.llVal == b.value.llVal;
    default: break;
  }
  CString textOfA, textOfB;
  FieldToText(field, a, textOfA);
  FieldToText(field, b, textOfB);
  return textOfA == textOfB;
}

std::unique_ptr<i18n::ILocalizedMessage> MakeFieldMessage(const field_t& field, field_result_t result) {
  const CVariant name(field.name);
  switch (result) {
    case OUT_OF_RANGE: break;
    case REFUSED: return i18n::MakeLocalizedMessage(i18n::IDS_SETTING_REFUSED, {name});
    default: return i18n::MakeLocalizedMessage(i18n::IDS_SETTING_TYPE, {name});
  }
  const kind_row_t& row = RowOf(field.kind);
  field_value_t low, high;
  low.integer = row.lowest, high.integer = row.highest;
  constexpr auto kHighestReal = static_cast<double>(std::numeric_limits<float>::max());
  if (IsReal(field.kind)) {
    high.real = field.kind == REAL4 ? kHighestReal : std::numeric_limits<double>::max();
    low.real = -high.real;
  }
  CString lowText, highText;
  PlainToText(field.kind, low, lowText);
  PlainToText(field.kind, high, highText);
  return i18n::MakeLocalizedMessage(i18n::IDS_SETTING_RANGE, {name, CVariant(lowText), CVariant(highText)});
}

CString UnitsToBase64(const CString& text) {
  memory_serializer_t bytes;
  primitives::WriteUnits(bytes, text.View());
  const auto content = bytes.GetContent();
  CString base64;
  base64_encode(reinterpret_cast<const unsigned char*>(content.data()), static_cast<unsigned>(content.size()), base64);
  return base64;
}

bool UnitsFromBase64(const CString& base64, CString& text) {
  zorplatform::CGrowableBuffer bytes;
  base64_decode(base64, bytes);
  std::u16string units(bytes.GetSize() / sizeof(char16_t), u'\0');
  if (bytes.GetSize() % sizeof(char16_t) != 0) return false;
  if (!units.empty()) std::memcpy(units.data(), bytes.GetData(), bytes.GetSize());
  primitives::SwapElements(units.data(), units.size(), sizeof(char16_t));
  const CString decoded(units);
  if (UnitsToBase64(decoded) != base64) return false;  // rubbish behind it, or in between
  text = decoded;
  return true;
}

std::size_t FieldWidth(field_kind_t kind) noexcept { return RowOf(kind).width; }

void PackField(field_kind_t kind, const field_value_t& value, std::uint8_t* out) noexcept {
  std::uint64_t bits = static_cast<std::uint64_t>(value.integer);
  // Of numbers that are none there is one, for texts know no other.
  const double real = std::isnan(value.real) ? std::numeric_limits<double>::quiet_NaN() : value.real;
  if (kind == REAL4) bits = std::bit_cast<std::uint32_t>(static_cast<float>(real));
  if (kind == REAL8) bits = std::bit_cast<std::uint64_t>(real);
  primitives::SwapOnBigEndian(bits);
  const auto bytes = std::bit_cast<std::array<std::uint8_t, 8>>(bits);
  for (std::size_t i = 0; i < RowOf(kind).width; ++i) out[i] = bytes[i];
}

void UnpackField(field_kind_t kind, const std::uint8_t* bytes, field_value_t& out) noexcept {
  const auto take = [&]<class T>(T value) {
    std::memcpy(&value, bytes, sizeof value);
    primitives::SwapOnBigEndian(value);
    return value;
  };
  switch (kind) {
    case BOOL: out.integer = *bytes != 0; break;
    case INT8: out.integer = take(std::int8_t{}); break;
    case UINT8: out.integer = *bytes; break;
    case INT16: out.integer = take(std::int16_t{}); break;
    case UINT16: out.integer = take(std::uint16_t{}); break;
    case INT32: out.integer = take(std::int32_t{}); break;
    case UINT32: out.integer = take(std::uint32_t{}); break;
    case INT64:
    case UINT64: out.integer = take(std::int64_t{}); break;
    case REAL4: TakeReal(kind, static_cast<double>(std::bit_cast<float>(take(std::uint32_t{}))), out); break;
    case REAL8: TakeReal(kind, std::bit_cast<double>(take(std::uint64_t{})), out); break;
    default: break;
  }
}

void WriteField(field_kind_t kind, const field_value_t& value, ISerializer& out) {
  if (kind == VALUE) {
    Serialize(value.value, out);
  } else {
    Serialize(value.text, out);
  }
}

void ReadField(field_kind_t kind, ISerializer& in, field_value_t& out) {
  if (kind == VALUE) {
    Deserialize(out.value, in);
    return;
  }
  out.text = CString();  // not into memory that another object shares
  Deserialize(out.text, in);
  if (kind == PASSWORD) out.text = StoredPassword(out.text);
}

}  // namespace zorutil
