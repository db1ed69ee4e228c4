// What the number of a type says, beyond what stands in a table.
#pragma once

#include <cstdint>

#include "platform/ole/ole_types.h"

namespace vartype {

/// The type of an array's elements; that of a scalar is its own.
constexpr VARTYPE ElementOf(VARTYPE vt) noexcept { return static_cast<VARTYPE>(vt & ~VT_ARRAY); }

/// Arrays of more rows or columns are converted by no rule.
inline constexpr std::uint32_t kMaxConvertedExtent = 65535;

}  // namespace vartype
