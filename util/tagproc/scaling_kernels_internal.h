// The scaling formulas over runs of doubles, for the baseline and for AVX2, chosen once at run time; the bits are the
// same in both.
#pragma once

#include <cstddef>

namespace scaling_kernels {

/// One direction of a scaling: the clamp of the value that comes in, the ranges it goes between, the negation at the
/// end. A bound that does not clamp is an infinity.
struct step_t {
  enum formula_t { COPY, LINEAR_FORWARD, ROOT_FORWARD, LINEAR_REVERSE, ROOT_REVERSE } formula = COPY;
  double lowest;
  double highest;
  double fromLow, fromHigh;
  double toLow, toHigh;
  bool negate;
};

/// Applies the step to each value in place.
void Apply(const step_t& step, double* values, std::size_t count) noexcept;

}  // namespace scaling_kernels
