// The two texts of a reading: its time and its raw value.
//
//   std::int64_t ms = 0;
//   ParseTime("2026-03-12T05:00:00.250Z", ms);               // milliseconds since 1970, UTC
//   CVariant raw;
//   ParseRaw("27648", DT_SHORT, raw);                        // VT_I2 27648
//
// Straight from the text, without allocation but for text values. Any number of threads.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "util/values/data_type.h"
#include "util/values/variant.h"

namespace readings {

/// ISO 8601: date and time separated by "T" or a blank; seconds and up to 9 decimals of them (cut to milliseconds)
/// may be missing; "Z" or an offset (+hh:mm) may stand behind, without one the time is UTC. Years 100 to 9999.
/// False, and `ms` untouched, for anything else. `ms`: milliseconds since 1970-01-01, UTC.
bool ParseTime(std::string_view text, std::int64_t& ms);

/// "2026-03-12 05:00:00.250" of a time that ParseTime gives.
std::string TimeText(std::int64_t ms);

enum class raw_verdict_t { taken, wrongKind, outOfRange };

/// Reads a value of a raw type, which is scalar and not "Default". Whole numbers take no decimals; a value beyond
/// the type's range is outOfRange, never its nearest; reals know no infinity, NaN or hexadecimal; truth is 0, 1,
/// true or false; "BCD" and "LBCD" are written as the decimal number they show; a date as ParseTime reads it. Unless
/// taken, `value` is untouched.
raw_verdict_t ParseRaw(std::string_view text, DATATYPE type, CVariant& value);

/// What ParseRaw takes for the type, for a message: "a whole number from -32768 to 32767".
std::string ExpectedRaw(DATATYPE type);

}  // namespace readings
