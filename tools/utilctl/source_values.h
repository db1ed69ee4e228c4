// The values of definitions as a person writes them in JSON: true and false, numbers, text, "06:30:00" for a time of
// day, "2026-01-31" for a date, "2026-01-31 06:30:00" for a date and time, "0x1F" for a hexadecimal number, "0o17" for
// an octal one, base64 for a blob. A value that none of these gives is an object of its type and its text, or of its
// bytes: {"type": "I2", "value": "7"}, {"binary": "CwD/fw=="}.
#pragma once

#include <memory>
#include <string>

#include "util/json/value.h"
#include "util/properties/property_types.h"
#include "util/values/variant.h"

namespace utilctl {

/// What the value is to a property of the type: a value, or one of its limits, which for texts are lengths.
enum class value_use_t { value, limit };

/// False, with the cause, for a value that the type does not take. `type` TYPE_NONE: any value, as JSON has it.
bool ValueFromJson(const std::shared_ptr<zorutil::json::IValue>& json, zorutil::properties::property_type_t type,
                   value_use_t use, CVariant& value, std::string& cause);
/// What ValueFromJson reads as exactly this value.
std::shared_ptr<zorutil::json::IValue> ValueToJson(const CVariant& value, zorutil::properties::property_type_t type,
                                                   value_use_t use);

}  // namespace utilctl
