// UTF-16 to UTF-8 of any mixture of characters, where the processor can close the gaps between bytes itself.
#pragma once

#include <cstddef>

namespace utf {

/// What ConvertSpreadBlocks needs is there. Constant for the process.
bool CanSpread() noexcept;

/// Below so many units there is nothing to gain: their bytes would be read before the wide stores are through.
constexpr std::ptrdiff_t kSpreadUnits = 64;

/// Converts blocks of 16 units, until one is all ASCII or has a surrogate, or fewer than kSpreadUnits are left; `at`
/// and `out` go along. `out` has room for the bytes of all units up to `end`.
void ConvertSpreadBlocks(const char16_t*& at, const char16_t* end, char*& out) noexcept;

}  // namespace utf
