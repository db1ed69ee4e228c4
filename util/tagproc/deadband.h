// The deadband of one tag: how far a value must move before it is reported again.
//
//   CDeadband deadband;
//   deadband.SetDeadbandType(CDeadband::PERCENT);
//   deadband.SetHighRange(200.0);
//   deadband.SetDeadband(2.5);                                // percent of the span 0 to 200: 5
//   if (deadband.DeadbandPassed(lastReported, value)) Report(value);
//
// A plain value. One thread at a time changes it; any number may ask DeadbandPassed at once.
#pragma once

#include <cstdint>

#include "platform/export.h"
#include "util/values/variant_compare.h"

class CFile;
class CStructuredDoc;

class ZORUTIL_API CDeadband {
 public:
  /// Stored in project files: the numbers never change.
  enum deadband_t : std::int32_t { NONE, ABSOLUTE, PERCENT };

  // Each setter returns 1 when the stored value changed, else 0. A number within the double epsilon (2.2e-16) of the
  // stored one is no change and is not stored. A NaN is stored and counts as a change.
  /// A deadband_t; any other number is stored, and its threshold is 0.
  int SetDeadbandType(int type);
  /// In the tag's unit for ABSOLUTE, in percent of the span for PERCENT.
  int SetDeadband(double deadband) { return Set(deadband_, deadband); }
  /// The ends of the span that PERCENT is a part of, in the tag's unit; both 0 at first.
  /// @{
  int SetHighRange(double highRange) { return Set(highRange_, highRange); }
  int SetLowRange(double lowRange) { return Set(lowRange_, lowRange); }
  /// @}

  /// NONE at first.
  deadband_t GetDeadbandType() const { return type_; }
  /// 0 at first; see SetDeadband.
  double GetDeadband() const { return deadband_; }
  /// The ends of the span; see SetHighRange.
  /// @{
  double GetHighRange() const { return highRange_; }
  double GetLowRange() const { return lowRange_; }
  /// @}
  /// Whether there is one at all, whatever its width.
  bool IsDeadband() const { return type_ != NONE; }

  /// The distance in the tag's unit from which on a change passes: 0 for NONE, the deadband for ABSOLUTE, that
  /// percentage of high range - low range for PERCENT.
  double GetThreshold() const {
    switch (type_) {
      case ABSOLUTE: return deadband_;
      case PERCENT: return (highRange_ - lowRange_) * (deadband_ / 100.0);
      default: return 0;
    }
  }

  /// Whether the step from `a` to `b` is at least the threshold (within the double epsilon). Below a threshold of the
  /// double epsilon, between values of two types, and of types that know no deadband (64-bit integers, text, dates,
  /// truth values), every difference passes. See CVariantCompare::IsValueChanged.
  bool DeadbandPassed(const CVariant& a, const CVariant& b) const {
    return CVariantCompare::IsValueChanged(a, b, GetThreshold(), CVariantCompare::EQUAL_IS_CHANGED);
  }

  /// "None", "Absolute", "Percent"; null for anything else.
  static const char16_t* ToString(deadband_t type);
  /// Letter case aside; NONE for any other text and for null.
  static deadband_t FromString(const char16_t* text);

  /// Equal types, and numbers that differ by no more than the double epsilon.
  friend bool operator==(const CDeadband& a, const CDeadband& b) {
    return a.type_ == b.type_ && IsSame(a.deadband_, b.deadband_) && IsSame(a.highRange_, b.highRange_) &&
           IsSame(a.lowRange_, b.lowRange_);
  }

  /// Little-endian: version (2 bytes, 0), type (4), deadband, high range, low range (8 each). Both return 1. Load takes
  /// any version and throws zorplatform::CException -3 at the end of the file; the settings are then as they were.
  int Load(CFile* file);
  int Save(CFile* file) const;

  /// Children of `parent` in the namespace `path`: "DeadbandType" (the text of ToString), "Deadband", "HighRange",
  /// "LowRange". Save returns 0 at the first write that fails, else 1. Load leaves what is absent as it was. It returns
  /// 0 when the low range then lies above the high one: the values stay, and the document's last error is the message
  /// IDS_LOW_RANGE_ABOVE_HIGH.
  int Load(CStructuredDoc* document, void* parent, const char16_t* path);
  int Save(CStructuredDoc* document, void* parent, const char16_t* path) const;

 private:
  static bool IsSame(double a, double b);
  static int Set(double& field, double value);

  deadband_t type_ = NONE;
  double deadband_ = 0;
  double highRange_ = 0;
  double lowRange_ = 0;
};
