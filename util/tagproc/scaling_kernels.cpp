#include "util/tagproc/scaling_kernels_internal.h"

#include <bit>
#include <cmath>
#include <cstdint>

#include "util/values/simd_internal.h"

namespace scaling_kernels {

namespace {

constexpr std::uint64_t kSignBit = std::uint64_t{1} << 63;

// Every formula in the order it is given, with what does not depend on the value taken out of the loop: that changes
// no bit, because nothing is reassociated.
template <step_t::formula_t kFormula>
ZOR_INLINE void Loop(const step_t& step, double* __restrict values, std::size_t count) {
  const double lowest = step.lowest;
  const double highest = step.highest;
  const double fromLow = step.fromLow;
  const double fromSpan = step.fromHigh - step.fromLow;
  const double toLow = step.toLow;
  const double toSpan = step.toHigh - step.toLow;
  const double ratio = toSpan / fromSpan;
  const std::uint64_t flip = step.negate ? kSignBit : 0;
  for (std::size_t i = 0; i < count; ++i) {
    double x = values[i];
    x = x < lowest ? lowest : x;
    x = x > highest ? highest : x;
    if constexpr (kFormula == step_t::LINEAR_FORWARD) x = ratio * (x - fromLow) + toLow;
    if constexpr (kFormula == step_t::ROOT_FORWARD) x = std::sqrt((x - fromLow) / fromSpan) * toSpan + toLow;
    if constexpr (kFormula == step_t::LINEAR_REVERSE) x = (x - fromLow) / fromSpan * toSpan + toLow;
    if constexpr (kFormula == step_t::ROOT_REVERSE) {
      const double r = (x - fromLow) / fromSpan;
      x = toSpan * (r * r) + toLow;
    }
    values[i] = std::bit_cast<double>(std::bit_cast<std::uint64_t>(x) ^ flip);
  }
}

ZOR_INLINE void Dispatch(const step_t& step, double* values, std::size_t count) {
  switch (step.formula) {
    case step_t::COPY: return Loop<step_t::COPY>(step, values, count);
    case step_t::LINEAR_FORWARD: return Loop<step_t::LINEAR_FORWARD>(step, values, count);
    case step_t::ROOT_FORWARD: return Loop<step_t::ROOT_FORWARD>(step, values, count);
    case step_t::LINEAR_REVERSE: return Loop<step_t::LINEAR_REVERSE>(step, values, count);
    case step_t::ROOT_REVERSE: return Loop<step_t::ROOT_REVERSE>(step, values, count);
  }
}

void ApplyBaseline(const step_t& step, double* values, std::size_t count) { Dispatch(step, values, count); }
ZOR_AVX2 void ApplyAvx2(const step_t& step, double* values, std::size_t count) { Dispatch(step, values, count); }

}  // namespace

void Apply(const step_t& step, double* values, std::size_t count) noexcept {
  constexpr std::size_t kWorthwhile = 8;
  if (count >= kWorthwhile && simd::HasAvx2()) return ApplyAvx2(step, values, count);
  ApplyBaseline(step, values, count);
}

}  // namespace scaling_kernels
