// Whole-array loops over plain numbers: each gives what converting, scaling or comparing element by element through
// a CVariant gives, in one pass that the compiler vectorises. Versions for the baseline and for AVX2 are chosen once
// at run time; both give the same bits.
#pragma once

#include <cstddef>

#include "platform/ole/ole_types.h"

namespace array_kernels {

/// Whether Convert takes the pair of types.
bool CanConvert(VARTYPE from, VARTYPE to) noexcept;

/// Converts `count` numbers: S_OK, or DISP_E_OVERFLOW with `out` unspecified.
HRESULT Convert(VARTYPE from, VARTYPE to, const void* in, std::size_t count, void* out) noexcept;

/// Whether AnyPasses takes the element type.
bool CanCompare(VARTYPE element) noexcept;

/// True when some |b[i] - a[i]|, taken as doubles, passes the deadband: is greater, or, when `equalPasses`, differs
/// from it by less than the double epsilon.
bool AnyPasses(VARTYPE element, const void* a, const void* b, std::size_t count, double deadband,
               bool equalPasses) noexcept;

}  // namespace array_kernels
