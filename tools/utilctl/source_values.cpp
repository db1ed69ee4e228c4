#include "tools/utilctl/source_values.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <exception>
#include <optional>
#include <span>
#include <vector>

#include "platform/framework/string_array.h"
#include "platform/zorplatform/growable_buffer.h"
#include "platform/zorplatform/time_stamp.h"
#include "tools/utilctl/report.h"
#include "tools/utilctl/vartype_names.h"
#include "util/json/json_text.h"
#include "util/json/object.h"
#include "util/serialization/stream_serializers.h"
#include "util/values/base64.h"
#include "util/values/safe_array.h"
#include "util/values/variant_compare.h"
#include "util/values/variant_helpers.h"

namespace utilctl {

namespace json = zorutil::json;
using namespace zorutil::properties;
using json_ptr_t = std::shared_ptr<json::IValue>;
using zorplatform::CTimeStamp;

namespace {

constexpr std::int64_t kMsPerSecond = 1000;
constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr std::int64_t kOleDayOf1970 = 25'569;

std::string BytesOf(const CVariant& value) {
  zorutil::memory_serializer_t out;
  zorutil::Serialize(value, out);
  const auto content = out.GetContent();
  return {reinterpret_cast<const char*>(content.data()), content.size()};
}

CString Base64(const void* bytes, std::size_t count) {
  CString text;
  zorutil::base64_encode(static_cast<const unsigned char*>(bytes), static_cast<unsigned>(count), text);
  return text;
}

// Whole base64 only: what the decoder skips would be lost in silence.
bool FromBase64(const CString& text, std::string& bytes) {
  zorplatform::CGrowableBuffer buffer;
  zorutil::base64_decode(text, buffer);
  bytes.assign(reinterpret_cast<const char*>(buffer.GetData()), buffer.GetSize());
  return Base64(bytes.data(), bytes.size()) == text;
}

std::optional<std::int64_t> SecondsFromText(const CString& text, property_type_t type) {
  CTimeStamp time;
  CString whole = text;
  if (type == TYPE_TIME_OF_DAY) whole = u"1899-12-30 " + text;
  if (type == TYPE_DATE) whole = text + u" 00:00:00";
  if (!CTimeStamp::FromString(whole, time)) return std::nullopt;
  const std::int64_t seconds = time.GetMilliseconds() / kMsPerSecond;
  if (type == TYPE_DATE) return seconds / kSecondsPerDay;
  return type == TYPE_DATE_AND_TIME ? seconds - kOleDayOf1970 * kSecondsPerDay : seconds;
}

std::optional<CString> TextFromSeconds(std::int64_t count, property_type_t type) {
  if (type == TYPE_TIME_OF_DAY) return CTimeStamp::FromMilliseconds(count * kMsPerSecond).ToString().Mid(11, 8);
  if (type == TYPE_DATE) return CTimeStamp::FromMilliseconds(count * kSecondsPerDay * kMsPerSecond).ToString().Left(10);
  if (type != TYPE_DATE_AND_TIME) return std::nullopt;
  return CTimeStamp::FromMilliseconds((kOleDayOf1970 * kSecondsPerDay + count) * kMsPerSecond).ToString().Left(19);
}

std::optional<std::uint32_t> NumberFromText(const CString& text, property_type_t type) {
  const std::string digits = text.ToUtf8();
  const bool isHex = type == TYPE_HEX;
  if (digits.size() < 3 || !digits.starts_with(isHex ? "0x" : "0o")) return std::nullopt;
  std::uint32_t number = 0;
  const char* const end = digits.data() + digits.size();
  const auto got = std::from_chars(digits.data() + 2, end, number, isHex ? 16 : 8);
  if (got.ec != std::errc() || got.ptr != end) return std::nullopt;
  return number;
}

bool ObjectValue(const json::object_t& object, CVariant& value, std::string& cause) {
  const json::member_t* const binary = object.FindMember(u"binary");
  const json::member_t* const type = object.FindMember(u"type");
  const json::member_t* const text = object.FindMember(u"value");
  const auto textOf = [](const json::member_t& member) {
    const auto* scalar = dynamic_cast<const json::scalar_t*>(member.value.get());
    return scalar == nullptr ? CString() : scalar->value.ToString();
  };
  if (binary != nullptr && object.members.size() == 1) {
    std::string bytes;
    cause = "the bytes are no value";
    if (!FromBase64(textOf(*binary), bytes)) return false;
    try {
      zorutil::memory_serializer_t in(std::as_bytes(std::span(bytes)));
      zorutil::Deserialize(value, in);
      return true;
    } catch (const std::exception&) {
      return false;
    }
  }
  cause = "expected {\"type\": ..., \"value\": ...} or {\"binary\": ...}";
  if (type == nullptr || text == nullptr || object.members.size() != 2) return false;
  const auto vartype = VartypeFromName(textOf(*type).ToUtf8());
  cause = "the value is not of the type \"" + textOf(*type).ToUtf8() + "\"";
  value = textOf(*text);
  return vartype && value.ConvertType(*vartype, CVariant::CONVERT_OR_CLEAR);
}

bool TextArray(const json::array_t& array, CVariant& value, std::string& cause) {
  CStringArray texts;
  for (const json_ptr_t& each : array.elements) {
    const auto* scalar = dynamic_cast<const json::scalar_t*>(each.get());
    if (scalar == nullptr || !scalar->IsString()) {
      cause = "expected an array of texts";
      return false;
    }
    texts.Add(CString(scalar->value.GetStringView()));
  }
  value.Clear();
  variant_helpers::Set(value, texts);
  return true;
}

const char* ExpectedForm(property_type_t type, value_use_t use) {
  if (use == value_use_t::limit && IsStringProperty(type)) return "a whole number (of characters)";
  if (IsBooleanProperty(type)) return "true or false";
  if (type == TYPE_STRING_ARRAY) return "an array of texts";
  if (IsBlobProperty(type)) return "a text in base64";
  if (IsStringProperty(type)) return "a text";
  if (type == TYPE_HEX) return "a whole number that is not negative, or a text such as \"0x1F\"";
  if (type == TYPE_OCTAL) return "a whole number that is not negative, or a text such as \"0o17\"";
  if (type == TYPE_TIME_OF_DAY) return "a time such as \"06:30:00\"";
  if (type == TYPE_DATE) return "a date such as \"2026-01-31\"";
  if (type == TYPE_DATE_AND_TIME) return "a date and time such as \"2026-01-31 06:30:00\"";
  if (IsFloatingPointProperty(type)) return "a number";
  if (type == TYPE_SIGNED_INTEGER || IsEnumProperty(type)) return "a whole number";
  return "a whole number that is not negative";
}

bool ScalarValue(const CVariant& given, property_type_t type, VARTYPE expected, CVariant& value) {
  const bool isText = given.vt == VT_BSTR;
  if (isText && IsTimeBasedProperty(type)) {
    const auto seconds = SecondsFromText(CString(given.GetStringView()), type);
    if (!seconds) return false;
    value = CVariant::FromInt64(*seconds);
    return value.ConvertType(expected, CVariant::CONVERT_OR_CLEAR);
  }
  if (isText && (type == TYPE_HEX || type == TYPE_OCTAL)) {
    const auto number = NumberFromText(CString(given.GetStringView()), type);
    if (number) value = CVariant::FromUInt(*number);
    return number.has_value();
  }
  if (isText && expected == (VT_ARRAY | VT_UI1)) {
    std::string bytes;
    if (!FromBase64(CString(given.GetStringView()), bytes)) return false;
    value = CVariant(static_cast<unsigned>(bytes.size()), VT_UI1, bytes.data());
    return true;
  }
  // Text is never taken for a number or a truth value, nor the other way round: what is meant is to be seen.
  if (isText != (expected == VT_BSTR) || (given.vt == VT_BOOL) != (expected == VT_BOOL)) return false;
  value = given;
  if (!value.ConvertType(expected, CVariant::CONVERT_OR_CLEAR)) return false;
  return expected == VT_R4 || expected == given.vt || CVariantCompare::Values(value, given, CVariantCompare::EQUAL);
}

json_ptr_t MakeScalar(CVariant value) { return std::make_shared<json::scalar_t>(std::move(value)); }

// The form that a person would write, if there is one.
json_ptr_t PlainJson(const CVariant& value, property_type_t type) {
  if (value.vt == (VT_ARRAY | VT_BSTR)) {
    json::array_t texts;
    CStringArray list;
    value.GetStringArray(list);
    for (int i = 0; i < static_cast<int>(list.GetSize()); ++i) texts.elements.push_back(MakeScalar(list.GetAt(i)));
    return std::make_shared<json::array_t>(std::move(texts));
  }
  if (value.vt == (VT_ARRAY | VT_UI1)) {
    const auto bytes = value.AsSpan<const std::uint8_t>();
    return MakeScalar(Base64(bytes.data(), bytes.size()));
  }
  if (value.vt == VT_I4 && IsTimeBasedProperty(type)) return MakeScalar(*TextFromSeconds(value.lVal, type));
  CVariant number = value;
  if (value.vt == VT_R4) number.ConvertType(VT_R8, CVariant::CONVERT_OR_KEEP);
  // A real that is whole is written as people write it, without ".0".
  if (number.vt == VT_R8 && number.dblVal >= -1e9 && number.dblVal <= 1e9 &&
      number.dblVal == std::trunc(number.dblVal)) {
    number.ConvertType(VT_I4, CVariant::CONVERT_OR_KEEP);
  }
  return MakeScalar(std::move(number));
}

}  // namespace

bool ValueFromJson(const json_ptr_t& given, property_type_t type, value_use_t use, CVariant& value,
                   std::string& cause) {
  if (const auto* object = dynamic_cast<const json::object_t*>(given.get())) return ObjectValue(*object, value, cause);
  if (const auto* array = dynamic_cast<const json::array_t*>(given.get())) {
    if ((type == TYPE_STRING_ARRAY && use == value_use_t::value) || type == TYPE_NONE) {
      return TextArray(*array, value, cause);
    }
    cause = std::string("expected ") + ExpectedForm(type, use);
    return false;
  }
  const auto* scalar = dynamic_cast<const json::scalar_t*>(given.get());
  const CVariant plain = scalar == nullptr ? CVariant() : scalar->value;
  if (type == TYPE_NONE || plain.IsEmpty()) {
    value = plain;
    return true;
  }
  const bool isLength = use == value_use_t::limit && IsStringProperty(type);
  if (ScalarValue(plain, isLength ? TYPE_SIGNED_INTEGER : type,
                  isLength ? static_cast<VARTYPE>(VT_INT) : ExpectedVartype(type), value)) {
    return true;
  }
  cause = std::string("expected ") + ExpectedForm(type, use);
  return false;
}

json_ptr_t ValueToJson(const CVariant& value, property_type_t type, value_use_t use) {
  const std::string bytes = BytesOf(value);
  const auto reads = [&](const json_ptr_t& form) {
    // Through the text, which knows fewer types than a node does.
    json_ptr_t read;
    CVariant back;
    std::string cause;
    return !json::ReadText(json::WriteText(*form), read) && ValueFromJson(read, type, use, back, cause) &&
           BytesOf(back) == bytes;
  };
  if (const json_ptr_t plain = PlainJson(value, type); reads(plain)) return plain;
  json::object_t typed;
  AddMember(typed, u"type", CVariant(NameOfVartype(value.vt)));
  AddMember(typed, u"value", CVariant(value.ToString()));
  if (const json_ptr_t form = std::make_shared<json::object_t>(std::move(typed)); reads(form)) return form;
  json::object_t binary;
  AddMember(binary, u"binary", CVariant(Base64(bytes.data(), bytes.size())));
  return std::make_shared<json::object_t>(std::move(binary));
}

}  // namespace utilctl
