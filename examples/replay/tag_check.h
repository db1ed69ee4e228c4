// What every tag list asks of its tags, in whatever form it is written.
//
//   CheckTag(tag, [&](tag_field_t field, std::string_view text) { log.Add(fileName, PlaceOf(field), text); });
//
// No state; any number of threads.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "examples/replay/tag_list.h"

namespace replay {

enum tag_field_t {
  NAME,
  UNIT,
  RAW_TYPE,
  SCALING_TYPE,
  RAW_LOW,
  RAW_HIGH,
  SCALED_TYPE,
  SCALED_LOW,
  SCALED_HIGH,
  CLAMP_LOW,
  CLAMP_HIGH,
  NEGATE,
  DEADBAND_TYPE,
  DEADBAND,
  DEADBAND_LOW,
  DEADBAND_HIGH,
  TAG_FIELDS
};

// The type of that name, letter case aside. False, and `type` as it was, for any other text; raw types are scalar.
bool ReadRawType(const CString& text, DATATYPE& type);
bool ReadScalingType(const CString& text, CScaling::SCALINGTYPE& type);
bool ReadDeadbandType(const CString& text, CDeadband::deadband_t& type);

// What those take, for a message: "one of None, Absolute, Percent".
std::string ExpectedRawTypes();
std::string ExpectedScalingTypes();
std::string ExpectedDeadbandTypes();

/// Reports what makes scaling or deadband impossible: the field at fault, and what was expected. Texts that the library
/// has itself are in the product's language.
void CheckTag(const tag_t& tag, const std::function<void(tag_field_t field, std::string_view text)>& complain);

}  // namespace replay
