#include "util/tagproc/scaling.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

#include "util/docs/structured_doc.h"
#include "util/i18n/language.h"
#include "util/i18n/localized_resource.h"
#include "util/i18n/message_ids.h"
#include "util/serialization/primitives_internal.h"
#include "util/serialization/stream_serializers.h"
#include "util/serialization/string_serialization.h"
#include "util/tagproc/scaling_kernels_internal.h"
#include "util/values/array_kernels_internal.h"
#include "util/values/enum_text_internal.h"
#include "util/values/safe_array_internal.h"
#include "util/values/variant.h"
#include "util/values/vartype_internal.h"

using scaling_kernels::step_t;
using zorutil::primitives::ReadLittle;
using zorutil::primitives::WriteLittle;

namespace {

constexpr unsigned kNameIds[] = {i18n::IDS_SCALING_NONE, i18n::IDS_SCALING_LINEAR, i18n::IDS_SCALING_SQUARE_ROOT};
constexpr std::size_t kTypes = std::size(kNameIds);
static_assert(kTypes == CScaling::SQUARE_ROOT + 1);

struct names_t {
  explicit names_t(unsigned short languageId) {
    for (std::size_t i = 0; i < kTypes; ++i) texts[i] = i18n::CLocalizedResource(kNameIds[i]).GetText(languageId);
  }
  CString texts[kTypes];
};

const names_t& DisplayNames() {
  static const names_t names(i18n::GetProductLanguageId());
  return names;
}

const names_t& EnglishNames() {
  static const names_t names(i18n::kLanguageEnglish);
  return names;
}

constexpr std::uint16_t kVersion = 2;
constexpr std::uint16_t kUnitsSince = 1;
constexpr std::uint16_t kNegateSince = 2;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

bool IsBetween(DATATYPE basic, DATATYPE first, DATATYPE last) { return basic >= first && basic <= last; }

// Whether converting to double, scaling and converting to `to` can go through whole-array loops with the result that
// the three steps one after another have.
bool CanScaleInOnePass(const CVariant& value, VARTYPE from, VARTYPE to) {
  const CSafeArray* const array = value.GetArray();
  if (array == nullptr || array->GetVarType() != from || !array->HoldsItsType()) return false;
  const bool converts = from != VT_R8 || to != VT_R8;
  if (converts && std::max(array->GetNumRows(), array->GetNumCols()) > vartype::kMaxConvertedExtent) return false;
  return array_kernels::CanConvert(from, VT_R8) && array_kernels::CanConvert(VT_R8, to);
}

// Block by block, so that the doubles in between stay in the nearest cache.
HRESULT ScaleInOnePass(const step_t& step, CVariant& value, VARTYPE from, VARTYPE to) {
  constexpr std::size_t kBlock = 1024;
  const CSafeArray& source = *value.GetArray();
  const std::size_t count = source.GetNumElements();
  if (from == VT_R8 && to == VT_R8) {
    scaling_kernels::Apply(step, static_cast<double*>(source.pvData), count);
    return S_OK;
  }
  array_owner_t made = safe_array_access_t::Make(source.GetNumRows(), source.GetNumCols(), to, false);
  const char* in = static_cast<const char*>(source.pvData);
  char* out = static_cast<char*>(made->pvData);
  double buffer[kBlock];
  for (std::size_t done = 0; done < count; done += kBlock) {
    const std::size_t now = std::min(kBlock, count - done);
    double* const block = to == VT_R8 ? reinterpret_cast<double*>(out) : buffer;
    array_kernels::Convert(from, VT_R8, in, now, block);
    scaling_kernels::Apply(step, block, now);
    if (to != VT_R8 && array_kernels::Convert(VT_R8, to, block, now, out) < 0) return DISP_E_OVERFLOW;
    in += now * source.cbElements;
    out += now * made->cbElements;
  }
  tagVARIANT result{};
  result.vt = static_cast<VARTYPE>(to | VT_ARRAY);
  result.parray = made.release();
  value.AttachData(result);
  return S_OK;
}

// Converts to double, applies the step, converts to `target`. A failure leaves the value empty.
HRESULT Scale(const step_t& step, CVariant& value, VARTYPE target) {
  if (!value.IsArray()) {
    HRESULT result = value.ConvertTypeEx(VT_R8, 0, false);
    if (result < 0) return result;
    scaling_kernels::Apply(step, &value.dblVal, 1);
    return value.ConvertTypeEx(target, 0, false);
  }
  const VARTYPE from = vartype::ElementOf(value.vt);
  const VARTYPE to = vartype::ElementOf(target);
  if (CanScaleInOnePass(value, from, to)) {
    const HRESULT result = ScaleInOnePass(step, value, from, to);
    if (result < 0) value.Clear();
    return result;
  }
  HRESULT result = value.ConvertTypeEx(VT_R8 | VT_ARRAY, 0, false);
  if (result < 0) return result;
  const std::span<double> elements = value.AsSpan<double>();
  scaling_kernels::Apply(step, elements.data(), elements.size());
  return value.ConvertTypeEx(target, 0, false);
}

}  // namespace

bool CScaling::IsScalingTypeSupported(DATATYPE scaled) {
  return IsBetween(CDataType::MakeBasicType(scaled), DT_CHAR, DT_DOUBLE);
}

bool CScaling::IsRawTypeSupported(DATATYPE raw) {
  const DATATYPE basic = CDataType::MakeBasicType(raw);
  return basic != DT_DEFAULT && basic != DT_STRING && basic != DT_BOOLEAN && !CDataType::Is64BitIntegerType(basic);
}

bool CScaling::IsValid(DATATYPE rawType, SCALINGRESULT* result) const {
  const auto verdict = [&]() -> SCALINGRESULT {
    if (type_ == NONE) return VALID;
    if (!IsRawTypeSupported(rawType)) return INVALID_RAW_TYPE;
    if (rawLow_ >= rawHigh_ || rawLow_ < CDataType::MinVal(rawType) || rawHigh_ > CDataType::MaxVal(rawType)) {
      return INVALID_RAW_RANGE;
    }
    if (scaledLow_ >= scaledHigh_) return INVALID_SCALED_RANGE;
    if (!IsScalingTypeSupported(scaledDataType_)) return INVALID_SCALED_TYPE;
    if (scaledLow_ < CDataType::MinVal(scaledDataType_) || scaledHigh_ > CDataType::MaxVal(scaledDataType_)) {
      return INVALID_SCALED_RANGE;
    }
    return VALID;
  }();
  if (result != nullptr) *result = verdict;
  return verdict == VALID;
}

bool CScaling::IsValid(VARTYPE rawType, SCALINGRESULT* result) const {
  return IsValid(CVariant::ConvertVarType(rawType), result);
}

scaling_kernels::step_t CScaling::MakeStep(bool isForward) const {
  auto formula = step_t::COPY;
  if (type_ == LINEAR) formula = isForward ? step_t::LINEAR_FORWARD : step_t::LINEAR_REVERSE;
  if (type_ == SQUARE_ROOT) formula = isForward ? step_t::ROOT_FORWARD : step_t::ROOT_REVERSE;
  step_t step{formula, -kInfinity, kInfinity, rawLow_, rawHigh_, scaledLow_, scaledHigh_, negate_};
  if (!isForward) {
    std::swap(step.fromLow, step.toLow);
    std::swap(step.fromHigh, step.toHigh);
  }
  if (clampLow_) step.lowest = step.fromLow;
  if (clampHigh_) step.highest = step.fromHigh;
  return step;
}

bool CScaling::DoScaling(CVariant& value) const {
  const VARTYPE target = CVariant::ConvertDataType(scaledDataType_);
  return Scale(MakeStep(true), value, static_cast<VARTYPE>(value.IsArray() ? target | VT_ARRAY : target)) >= 0;
}

HRESULT CScaling::ReverseScaling(CVariant& value, DATATYPE rawType) const {
  const VARTYPE target = CVariant::ConvertDataType(rawType);
  if (!IsRawTypeSupported(rawType) || value.IsArray() != ((target & VT_ARRAY) != 0)) return DISP_E_TYPEMISMATCH;
  return Scale(MakeStep(false), value, target);
}

const char16_t* CScaling::TextFromType(SCALINGTYPE type) {
  return type >= NONE && type <= SQUARE_ROOT ? DisplayNames().texts[type].GetString() : u"";
}

CScaling::SCALINGTYPE CScaling::TypeFromText(const char16_t* text) {
  int type = enum_text::IndexOf(DisplayNames().texts, text, &CString::GetString);
  if (type < 0) type = enum_text::IndexOf(EnglishNames().texts, text, &CString::GetString);
  return static_cast<SCALINGTYPE>(std::max(type, int{NONE}));
}

int CScaling::Load(CFile* file) {
  zorutil::file_serializer_t in(file);
  CScaling read(*this);
  const auto version = ReadLittle<std::uint16_t>(in);
  read.type_ = ReadLittle<SCALINGTYPE>(in);
  read.scaledDataType_ = ReadLittle<DATATYPE>(in);
  for (double* const field : {&read.rawLow_, &read.rawHigh_, &read.scaledLow_, &read.scaledHigh_}) {
    *field = ReadLittle<double>(in);
  }
  read.clampLow_ = ReadLittle<std::uint8_t>(in) != 0;
  read.clampHigh_ = ReadLittle<std::uint8_t>(in) != 0;
  if (version >= kUnitsSince) zorutil::Deserialize(read.units_, in);
  if (version >= kNegateSince) read.negate_ = ReadLittle<std::uint8_t>(in) != 0;
  *this = std::move(read);
  return 1;
}

int CScaling::Save(CFile* file) const {
  zorutil::file_serializer_t out(file);
  WriteLittle(out, kVersion);
  WriteLittle(out, type_);
  WriteLittle(out, scaledDataType_);
  for (const double field : {rawLow_, rawHigh_, scaledLow_, scaledHigh_}) WriteLittle(out, field);
  WriteLittle<std::uint8_t>(out, clampLow_);
  WriteLittle<std::uint8_t>(out, clampHigh_);
  zorutil::Serialize(units_, out);
  WriteLittle<std::uint8_t>(out, negate_);
  return 1;
}

int CScaling::Load(CStructuredDoc* document, void* parent, const char16_t* path) {
  CString text;
  if (document->ReadElement(parent, path, u"Type", true, text) == nullptr) {
    type_ = NONE;
  } else if ((type_ = TypeFromText(text)) == NONE) {
    return 0;
  }
  CScaling read;
  read.type_ = type_;
  document->ReadElement(parent, path, u"RawLow", true, read.rawLow_);
  document->ReadElement(parent, path, u"RawHigh", true, read.rawHigh_);
  CString dataType;
  document->ReadElement(parent, path, u"ScaledDataType", true, dataType);
  const DATATYPE scaled = CDataType::TypeFromText(dataType);
  if (scaled != DT_DEFAULT) read.scaledDataType_ = scaled;
  document->ReadElement(parent, path, u"ScaledLow", true, read.scaledLow_);
  document->ReadElement(parent, path, u"ScaledHigh", true, read.scaledHigh_);
  document->ReadElement(parent, path, u"ClampLow", true, read.clampLow_);
  document->ReadElement(parent, path, u"ClampHigh", true, read.clampHigh_);
  document->ReadElement(parent, path, u"Units", true, read.units_);
  document->ReadElement(parent, path, u"NegateValue", true, read.negate_);
  *this = std::move(read);
  return 1;
}

int CScaling::Save(CStructuredDoc* document, void* parent, const char16_t* path) const {
  const auto write = [&](const char16_t* name, const auto& value) {
    return document->WriteElement(parent, path, name, true, value) != nullptr;
  };
  return write(u"Type", TextFromType(type_)) && write(u"RawLow", rawLow_) && write(u"RawHigh", rawHigh_) &&
         write(u"ScaledDataType", CDataType::TextFromType(scaledDataType_)) && write(u"ScaledLow", scaledLow_) &&
         write(u"ScaledHigh", scaledHigh_) && write(u"ClampLow", clampLow_) && write(u"ClampHigh", clampHigh_) &&
         write(u"Units", units_) && write(u"NegateValue", negate_);
}
