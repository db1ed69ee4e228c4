// The scaling of one tag: from the raw range of the device to the scaled range shown to clients, and back.
//
//   CScaling flow;
//   flow.SetScalingType(CScaling::SQUARE_ROOT);        // a differential-pressure transmitter
//   flow.SetRawHigh(27648);
//   flow.SetScaledHigh(120);                           // m3/h
//   CVariant value = CVariant::FromInt16(6912);
//   flow.DoScaling(value);                             // VT_R8 60
//
// A plain value. One thread at a time changes it; any number may scale with it at once. All arithmetic is in double
// precision and in the order given here, with the same bits on every machine (but for the sign of a NaN). Scaling does
// not check the settings (see IsValid): it computes what they give.
#pragma once

#include <bit>
#include <concepts>
#include <cstdint>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "platform/ole/ole_types.h"
#include "util/values/data_type.h"

class CFile;
class CStructuredDoc;
class CVariant;
namespace scaling_kernels {
struct step_t;
}

class ZORUTIL_API CScaling {
 public:
  /// Stored in project files: the numbers never change.
  enum SCALINGTYPE : std::int32_t { NONE, LINEAR, SQUARE_ROOT };
  /// The verdict on the settings.
  enum SCALINGRESULT : std::int32_t {
    VALID,
    INVALID_RAW_TYPE,
    INVALID_SCALED_TYPE,
    INVALID_RAW_RANGE,
    INVALID_SCALED_RANGE,
  };

  // --- settings: each setter returns 1 when the value changed, else 0 --------------------------------------------

  /// NONE at first.
  SCALINGTYPE GetScalingType() const { return type_; }
  int SetScalingType(SCALINGTYPE type) { return Set(type_, type); }
  /// The type that DoScaling gives.
  DATATYPE GetScaledDataType() const { return scaledDataType_; }
  int SetScaledDataType(DATATYPE type) { return Set(scaledDataType_, type); }
  /// The ends of the raw range, in the device's units; 0 and 1000 at first. Any number is taken: see IsValid.
  /// @{
  double GetRawLow() const { return rawLow_; }
  int SetRawLow(double value) { return Set(rawLow_, value); }
  double GetRawHigh() const { return rawHigh_; }
  int SetRawHigh(double value) { return Set(rawHigh_, value); }
  /// @}
  /// The ends of the scaled range, in the units that clients see; 0 and 1000 at first.
  /// @{
  double GetScaledLow() const { return scaledLow_; }
  int SetScaledLow(double value) { return Set(scaledLow_, value); }
  double GetScaledHigh() const { return scaledHigh_; }
  int SetScaledHigh(double value) { return Set(scaledHigh_, value); }
  /// @}
  /// Clamping holds the raw value inside the raw range before scaling, the scaled one inside the scaled range before
  /// reverse scaling. It works for scaling type NONE too.
  /// @{
  bool GetClampLow() const { return clampLow_; }
  int SetClampLow(bool clamp) { return Set(clampLow_, clamp); }
  bool GetClampHigh() const { return clampHigh_; }
  int SetClampHigh(bool clamp) { return Set(clampHigh_, clamp); }
  /// @}
  /// Negation comes last in both directions, so the reverse does not undo it under a range that is not symmetric.
  bool GetNegateValue() const { return negate_; }
  int SetNegateValue(bool negate) { return Set(negate_, negate); }
  /// A text for people, such as "m3/h"; empty at first. It plays no part in scaling.
  const CString& GetUnits() const { return units_; }
  int SetUnits(const CString& units) { return Set(units_, units); }

  bool operator==(const CScaling&) const = default;

  // --- checking --------------------------------------------------------------------------------------------------

  /// Scaled types: "Char" to "Double". Raw types: all but "Default", "String", "Boolean" and the 64-bit integers.
  /// @{
  static bool IsScalingTypeSupported(DATATYPE scaled);
  static bool IsRawTypeSupported(DATATYPE raw);
  /// @}
  /// Whether the settings fit the raw type; the verdict (the first failure) through `result` unless that is null.
  bool IsValid(DATATYPE rawType, SCALINGRESULT* result) const;
  /// A plain int is taken as a VARTYPE.
  bool IsValid(VARTYPE rawType, SCALINGRESULT* result) const;

  // --- scaling ---------------------------------------------------------------------------------------------------

  /// Raw to scaled, in place; arrays element by element. The result has the scaled data type (its array form for an
  /// array). False, and an empty value, when the value is no number or the result does not fit that type.
  ///
  /// x is clamped; linear: (scaledHigh - scaledLow) / (rawHigh - rawLow) * (x - rawLow) + scaledLow; square root:
  /// sqrt((x - rawLow) / (rawHigh - rawLow)) * (scaledHigh - scaledLow) + scaledLow, a NaN below rawLow; negated.
  bool DoScaling(CVariant& value) const;

  /// Scaled to raw, in place, giving the raw type. DISP_E_TYPEMISMATCH, and the value as it was, for a raw type that
  /// cannot be scaled or when only one of value and raw type is an array; the HRESULT of a failed conversion, and an
  /// empty value.
  ///
  /// y is clamped; linear: (y - scaledLow) / (scaledHigh - scaledLow) * (rawHigh - rawLow) + rawLow; square root:
  /// (rawHigh - rawLow) * r * r + rawLow with r = (y - scaledLow) / (scaledHigh - scaledLow); negated.
  HRESULT ReverseScaling(CVariant& value, DATATYPE rawType) const;

  // --- names and files -------------------------------------------------------------------------------------------

  /// The display name in the language that was the product's at the first call of either function; an empty text for
  /// any other number. Never null.
  static const char16_t* TextFromType(SCALINGTYPE type);
  /// Letter case aside; NONE for any other text and for null. English names are taken in every language, so that a
  /// document written on an English system loads everywhere.
  static SCALINGTYPE TypeFromText(const char16_t* text);

  /// Little-endian: version (2 bytes, 2), type (4), scaled data type (4), raw low, raw high, scaled low, scaled high (8
  /// each), clamp low, clamp high (1 each), from version 1 on the units (the binary form of CString), from version 2 on
  /// negate (1). Both return 1. An older file leaves the later settings as they were. Load throws
  /// zorplatform::CException -3 at the end of the file, -1 for corrupt units; all settings are then as they were.
  int Load(CFile* file);
  int Save(CFile* file) const;

  /// Children of `parent` in the namespace `path`: "Type" (the display name), "RawLow", "RawHigh", "ScaledDataType"
  /// (the name of CDataType), "ScaledLow", "ScaledHigh", "ClampLow", "ClampHigh", "Units", "NegateValue". Save returns
  /// 0 at the first write that fails, else 1. Load sets what is absent to its default, the type to NONE, and returns 1;
  /// a type that is there and is NONE, or no type at all, sets NONE, leaves the rest as it was and returns 0.
  int Load(CStructuredDoc* document, void* parent, const char16_t* path);
  int Save(CStructuredDoc* document, void* parent, const char16_t* path) const;

 private:
  template <class T>
  static int Set(T& field, const T& value) {
    bool changed = !(field == value);
    if constexpr (std::same_as<T, double>) {
      changed = std::bit_cast<std::uint64_t>(field) != std::bit_cast<std::uint64_t>(value);
    }
    field = value;
    return changed ? 1 : 0;
  }
  scaling_kernels::step_t MakeStep(bool isForward) const;

  SCALINGTYPE type_ = NONE;
  DATATYPE scaledDataType_ = DT_DOUBLE;
  double rawLow_ = 0;
  double rawHigh_ = 1000;
  double scaledLow_ = 0;
  double scaledHigh_ = 1000;
  bool clampLow_ = false;
  bool clampHigh_ = false;
  bool negate_ = false;
  CString units_;
};
