// A time interval as people configure it: a count and a unit, such as 5 minutes.
//
//   CResolutionRate scan;                                        // 1 second
//   if (scan.SetResolutionRate(500, CResolutionRate::MILLISECONDS)) {
//     timer.Start(scan.GetRateInMilliseconds());                 // 500
//   }
//
// A plain value: copy it freely; one thread at a time may change it, any number may read it.
#pragma once

#include <cstdint>

#include "platform/export.h"

class CFile;
class CStructuredDoc;

class ZORUTIL_API CResolutionRate {
 public:
  /// Stored in project files: the numbers never change, a new unit takes the next one.
  enum _tagRESOLUTION : std::int32_t { NONE = -1, MILLISECONDS, SECONDS, MINUTES, HOURS, DAYS };

  /// Takes the interval unless it is longer than 2^32 - 1 milliseconds or has no unit.
  /// Returns 1 if it was taken, 0 if the old interval stands.
  int SetResolutionRate(std::uint64_t rate, _tagRESOLUTION resolution);
  /// Returns 1.
  int GetResolutionRate(std::uint32_t& rate, _tagRESOLUTION& resolution) const;

  /// 0 means a rate of 0, an interval that does not fit 32 bits, or no unit.
  std::uint32_t GetRateInMilliseconds() const { return GetRateInMilliseconds(rate_, resolution_); }
  static std::uint32_t GetRateInMilliseconds(std::uint64_t rate, _tagRESOLUTION resolution);

  /// "milliseconds" to "days"; null for anything else.
  static const char16_t* TextFromResolution(_tagRESOLUTION resolution);
  /// Letter case aside; NONE for any other text and for null.
  static _tagRESOLUTION ResolutionFromText(const char16_t* text);

  bool operator==(const CResolutionRate&) const = default;

  /// Little-endian: version (2 bytes, 1), rate (4), resolution (4). Both return 1. Load takes any version and throws
  /// zorplatform::CException -3 at the end of the file; the interval is then as it was.
  int Load(CFile* file);
  int Save(CFile* file) const;

  /// One child of `parent` in the namespace `path`, named after the unit, which holds the rate: <minutes>5</minutes>.
  /// Load also takes the older form of two, "Rate" and "Resolution", and of several units the smallest. Both return 1,
  /// or 0 when there is no unit or the write fails, when neither form is present, the unit is not known or the interval
  /// does not fit 32 bits; the interval is then as it was.
  int Load(CStructuredDoc* document, void* parent, const char16_t* path);
  int Save(CStructuredDoc* document, void* parent, const char16_t* path) const;

 private:
  std::uint32_t rate_ = 1;
  _tagRESOLUTION resolution_ = SECONDS;
};
