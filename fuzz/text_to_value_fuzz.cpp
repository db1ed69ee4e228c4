// Any text into every type and back: the conversions of values, the plain readings of CBstr and the typed assignment
// agree where they promise the same, and base64 gives back what it was given.
#include <cmath>
#include <cstring>
#include <string>
#include <string_view>

#include "fuzz/value_fuzz_internal.h"
#include "util/values/base64.h"
#include "util/values/bstr.h"
#include "util/values/safe_array.h"
#include "util/values/variant.h"
#include "util/values/variant_helpers.h"

using namespace value_fuzz;

namespace {

bool SameValue(const CVariant& a, const CVariant& b) { return a == b || (a.vt == b.vt && a.vt == VT_DECIMAL); }

// A number's text, converted back, is the number; for reals when the text has all digits.
void CheckBack(const CVariant& number) {
  CVariant text(number);
  Require(text.ConvertType(VT_BSTR, CVariant::CONVERT_OR_KEEP));
  CVariant back(text);
  const bool isReal = number.vt == VT_R4 || number.vt == VT_R8 || number.vt == VT_DATE;
  if (!back.ConvertType(number.vt, CVariant::CONVERT_OR_KEEP)) {
    Require(isReal);  // rounding to fewer digits may step over the largest value; years of dates read as other forms
    return;
  }
  Require(isReal || SameValue(back, number));
}

// One element through an array gives what it gives alone.
void CheckArray(const CVariant& text, VARTYPE target, const CVariant& alone, bool converts) {
  CVariant array;
  array.CreateStringArray(2);
  array.GetArray()->SetText(0, text.GetStringView());
  array.GetArray()->SetText(1, text.GetStringView());
  const CVariant before(array);
  Require(array.ConvertType(static_cast<VARTYPE>(target | VT_ARRAY), CVariant::CONVERT_OR_KEEP) == converts);
  if (!converts) return Require(array == before);
  CVariant element;
  Require(array.GetArray()->GetElement(1, element) && Write(element) == Write(alone));
}

template <class T>
void CheckReading(const CBstr& text, CVariant zero) {
  variant_helpers::Set(zero, text.View());
  const T field = static_cast<T>(text);
  Require(std::memcmp(static_cast<const void*>(zero), &field, sizeof field) == 0);
  if constexpr (!std::is_floating_point_v<T>) Require(static_cast<T>(CBstr(field)) == field);
}

void CheckBase64(std::u16string_view text) {
  zorplatform::CGrowableBuffer bytes, again;
  Require(zorutil::base64_decode(CString(text), bytes) && bytes.GetSize() <= text.size() / 4 * 3 + 2);
  CString encoded;
  Require(zorutil::base64_encode(bytes.GetData(), static_cast<unsigned>(bytes.GetSize()), encoded));
  Require(zorutil::base64_decode(encoded, again) && again.GetSize() == bytes.GetSize());
  Require(bytes.IsEmpty() || std::memcmp(again.GetData(), bytes.GetData(), bytes.GetSize()) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const CBstr text(std::string_view(reinterpret_cast<const char*>(data), size));
  const CVariant source(text.View());
  for (const VARTYPE target : {VT_I1, VT_UI1, VT_I2, VT_UI2, VT_I4, VT_UI4, VT_INT, VT_UINT, VT_I8, VT_UI8, VT_BOOL,
                               VT_R4, VT_R8, VT_CY, VT_DATE, VT_DECIMAL}) {
    CVariant value(source);
    const bool converts = value.ConvertType(target, CVariant::CONVERT_OR_KEEP);
    Require(converts ? value.vt == target : value == source);
    if (converts) CheckBack(value);
    CheckArray(source, target, value, converts);
  }
  CheckReading<std::int8_t>(text, CVariant::FromInt8(0));
  CheckReading<std::uint8_t>(text, CVariant::FromUInt8(0));
  CheckReading<std::int16_t>(text, CVariant::FromInt16(0));
  CheckReading<std::uint16_t>(text, CVariant::FromUInt16(0));
  CheckReading<std::int32_t>(text, CVariant::FromInt32(0));
  CheckReading<std::uint32_t>(text, CVariant::FromUInt32(0));
  CheckReading<std::int64_t>(text, CVariant::FromInt64(0));
  CheckReading<std::uint64_t>(text, CVariant::FromUInt64(0));
  CheckReading<float>(text, CVariant::FromFloat(0));
  CheckReading<double>(text, CVariant::FromDouble(0));
  Require(source.GetAsDouble() == static_cast<double>(text) && !std::isnan(source.GetAsDouble()));
  Require(static_cast<bool>(source) == static_cast<bool>(text));
  CheckBase64(text.View());
  return 0;
}
