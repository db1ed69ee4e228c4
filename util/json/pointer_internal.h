// Steps of a pointer, for patches. Not installed.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "util/json/object.h"

namespace zorutil::json {

/// "0", or digits that do not begin with 0.
std::optional<std::size_t> ParseIndex(std::u16string_view token);

/// The first member of exactly that name, or the end.
member_list_t::iterator FindExactly(member_list_t& members, const CString& name);

}  // namespace zorutil::json
