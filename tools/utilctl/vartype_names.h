// The names of value types on the command line and in definition sources.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/ole/ole_types.h"

namespace utilctl {

/// By a VARTYPE's name ("I4" or "VT_I4"), or that of a data type ("Long", "Float Array"), letter case aside.
std::optional<VARTYPE> VartypeFromName(std::string_view name);
/// "I4", and "I4 Array"; the number of a type without name.
std::string NameOfVartype(VARTYPE type);
/// Those that a user can name, for the completion and messages.
std::vector<std::string> GetVartypeNames();

}  // namespace utilctl
