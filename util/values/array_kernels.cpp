#include "util/values/array_kernels_internal.h"

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "util/values/simd_internal.h"

namespace array_kernels {

namespace {

// Adding this to a double of magnitude below 2^51 rounds it half to even and leaves the integer, as two's complement,
// in the low bits of the sum.
constexpr double kRoundingMagic = 6755399441055744.0;  // 1.5 * 2^52

template <class From, class To>
constexpr bool kNarrows = static_cast<long double>(std::numeric_limits<From>::lowest())<
    static_cast<long double>(std::numeric_limits<To>::lowest()) ||
    static_cast<long double>(
        std::numeric_limits<From>::max())> static_cast<long double>(std::numeric_limits<To>::max());

// One loop for each pair; returns whether every element fitted.
template <class From, class To>
ZOR_INLINE bool ConvertLoop(const From* __restrict in, std::size_t count, To* __restrict out) {
  if constexpr (std::is_floating_point_v<From> && std::is_integral_v<To>) {
    std::int64_t misfits = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const double sum = static_cast<double>(in[i]) + kRoundingMagic;
      const double rounded = sum - kRoundingMagic;
      const bool fits =
          (rounded >= double{std::numeric_limits<To>::lowest()}) & (rounded <= double{std::numeric_limits<To>::max()});
      misfits |= fits ? 0 : 1;
      out[i] = static_cast<To>(std::bit_cast<std::int64_t>(sum));
    }
    return misfits == 0;
  } else if constexpr (std::is_same_v<From, double> && std::is_same_v<To, float>) {
    std::int64_t misfits = 0;
    for (std::size_t i = 0; i < count; ++i) {
      misfits |= std::fabs(in[i]) > double{FLT_MAX} ? 1 : 0;
      out[i] = static_cast<float>(in[i]);
    }
    return misfits == 0;
  } else if constexpr (std::is_integral_v<To> && kNarrows<From, To>) {
    unsigned misfits = 0;
    for (std::size_t i = 0; i < count; ++i) {
      out[i] = static_cast<To>(in[i]);
      misfits |= static_cast<unsigned>((static_cast<From>(out[i]) != in[i]) | ((out[i] < 0) != (in[i] < 0)));
    }
    return misfits == 0;
  } else {
    for (std::size_t i = 0; i < count; ++i) out[i] = static_cast<To>(in[i]);
    return true;
  }
}

// The bound of the second test: without equality nothing is below it.
double Nearness(bool equalPasses) { return equalPasses ? DBL_EPSILON : -1.0; }

ZOR_INLINE bool Passes(double difference, double deadband, double nearness) {
  return (difference > deadband) | (std::fabs(difference - deadband) < nearness);
}

// Differences of integers are integers, and if one passes, every larger one does: the smallest that passes stands for
// the deadband.
template <std::integral T>
ZOR_INLINE bool PassesLoop(const T* __restrict a, const T* __restrict b, std::size_t count, double deadband,
                           bool equalPasses) {
  using distance_t = std::make_unsigned_t<T>;
  double smallest = std::floor(deadband);
  if (!Passes(smallest, deadband, Nearness(equalPasses))) smallest += 1;
  if (!(smallest <= double{std::numeric_limits<distance_t>::max()})) return false;
  distance_t widest = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const auto x = static_cast<distance_t>(a[i]);
    const auto y = static_cast<distance_t>(b[i]);
    const auto distance = static_cast<distance_t>(b[i] > a[i] ? y - x : x - y);
    widest = widest > distance ? widest : distance;
  }
  return widest >= static_cast<distance_t>(smallest);
}

ZOR_INLINE bool MayPass(const double*, const double*, std::size_t, double) { return true; }

// Asks in single precision, which is quicker. Rounding keeps the order: a difference that rounds below what a little
// less than the deadband rounds to does not pass. All others, not-a-number included, are for the exact test.
ZOR_INLINE bool MayPass(const float* __restrict a, const float* __restrict b, std::size_t count, double deadband) {
  const double below = deadband * (1 - 4 * DBL_EPSILON) - 2 * DBL_EPSILON;
  const auto bound = static_cast<float>(std::min(below, double{FLT_MAX}));
  std::int32_t may = 0;
  for (std::size_t i = 0; i < count; ++i) may |= std::fabs(b[i] - a[i]) < bound ? 0 : 1;
  return may != 0;
}

template <std::floating_point T>
ZOR_INLINE bool PassesLoop(const T* __restrict a, const T* __restrict b, std::size_t count, double deadband,
                           bool equalPasses) {
  if (!MayPass(a, b, count, deadband)) return false;
  const double nearness = Nearness(equalPasses);
  std::int64_t passed = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const double difference = std::fabs(static_cast<double>(b[i]) - static_cast<double>(a[i]));
    passed |= Passes(difference, deadband, nearness) ? 1 : 0;
  }
  return passed != 0;
}

template <class From, class To>
bool ConvertBaseline(const void* in, std::size_t count, void* out) {
  return ConvertLoop(static_cast<const From*>(in), count, static_cast<To*>(out));
}
template <class From, class To>
ZOR_AVX2 bool ConvertAvx2(const void* in, std::size_t count, void* out) {
  return ConvertLoop(static_cast<const From*>(in), count, static_cast<To*>(out));
}
template <class T>
bool PassesBaseline(const void* a, const void* b, std::size_t count, double deadband, bool equalPasses) {
  return PassesLoop(static_cast<const T*>(a), static_cast<const T*>(b), count, deadband, equalPasses);
}
template <class T>
ZOR_AVX2 bool PassesAvx2(const void* a, const void* b, std::size_t count, double deadband, bool equalPasses) {
  return PassesLoop(static_cast<const T*>(a), static_cast<const T*>(b), count, deadband, equalPasses);
}

using convert_fn_t = bool (*)(const void*, std::size_t, void*);
using passes_fn_t = bool (*)(const void*, const void*, std::size_t, double, bool);

template <class From, class To>
convert_fn_t ChooseConvert() {
  return simd::HasAvx2() ? ConvertAvx2<From, To> : ConvertBaseline<From, To>;
}

// 64-bit integers meet only integers here, and become doubles: the other pairs have rules of their own, which the
// element-wise way applies.
template <class From>
convert_fn_t ConvertFrom(VARTYPE to) {
  constexpr bool isWide = std::is_integral_v<From> && sizeof(From) == 8;
  switch (to) {
    case VT_I1: return ChooseConvert<From, std::int8_t>();
    case VT_UI1: return ChooseConvert<From, std::uint8_t>();
    case VT_I2: return ChooseConvert<From, std::int16_t>();
    case VT_UI2: return ChooseConvert<From, std::uint16_t>();
    case VT_I4:
    case VT_INT: return ChooseConvert<From, std::int32_t>();
    case VT_UI4:
    case VT_UINT: return ChooseConvert<From, std::uint32_t>();
    case VT_R8: return ChooseConvert<From, double>();
    case VT_R4:
      if constexpr (!isWide) return ChooseConvert<From, float>();
      return nullptr;
    case VT_I8:
      if constexpr (std::is_integral_v<From>) return ChooseConvert<From, std::int64_t>();
      return nullptr;
    case VT_UI8:
      if constexpr (std::is_integral_v<From>) return ChooseConvert<From, std::uint64_t>();
      return nullptr;
    default: return nullptr;
  }
}

convert_fn_t FindConvert(VARTYPE from, VARTYPE to) {
  switch (from) {
    case VT_I1: return ConvertFrom<std::int8_t>(to);
    case VT_UI1: return ConvertFrom<std::uint8_t>(to);
    case VT_I2: return ConvertFrom<std::int16_t>(to);
    case VT_UI2: return ConvertFrom<std::uint16_t>(to);
    case VT_I4:
    case VT_INT: return ConvertFrom<std::int32_t>(to);
    case VT_UI4:
    case VT_UINT: return ConvertFrom<std::uint32_t>(to);
    case VT_I8: return ConvertFrom<std::int64_t>(to);
    case VT_UI8: return ConvertFrom<std::uint64_t>(to);
    case VT_R4: return ConvertFrom<float>(to);
    case VT_R8: return ConvertFrom<double>(to);
    // A truth value becomes the number it is stored as; into integers it has a rule of its own.
    case VT_BOOL: return to == VT_R8 || to == VT_R4 ? ConvertFrom<std::int16_t>(to) : nullptr;
    default: return nullptr;
  }
}

struct passes_row_t {
  passes_fn_t compare = nullptr;
  std::size_t size = 0;
};

template <class T>
passes_row_t ChoosePasses() {
  return {simd::HasAvx2() ? PassesAvx2<T> : PassesBaseline<T>, sizeof(T)};
}

passes_row_t FindPasses(VARTYPE element) {
  switch (element) {
    case VT_I1: return ChoosePasses<std::int8_t>();
    case VT_UI1: return ChoosePasses<std::uint8_t>();
    case VT_I2: return ChoosePasses<std::int16_t>();
    case VT_UI2: return ChoosePasses<std::uint16_t>();
    case VT_I4:
    case VT_INT: return ChoosePasses<std::int32_t>();
    case VT_UI4:
    case VT_UINT: return ChoosePasses<std::uint32_t>();
    case VT_R4: return ChoosePasses<float>();
    case VT_R8: return ChoosePasses<double>();
    default: return {};
  }
}

}  // namespace

bool CanConvert(VARTYPE from, VARTYPE to) noexcept { return FindConvert(from, to) != nullptr; }

HRESULT Convert(VARTYPE from, VARTYPE to, const void* in, std::size_t count, void* out) noexcept {
  return FindConvert(from, to)(in, count, out) ? S_OK : DISP_E_OVERFLOW;
}

bool CanCompare(VARTYPE element) noexcept { return FindPasses(element).compare != nullptr; }

bool AnyPasses(VARTYPE element, const void* a, const void* b, std::size_t count, double deadband,
               bool equalPasses) noexcept {
  constexpr std::size_t kBlockBytes = 8192;  // a change near the front ends the search early
  const passes_row_t row = FindPasses(element);
  const std::size_t block = kBlockBytes / row.size;
  for (std::size_t first = 0; first < count; first += block) {
    const std::size_t offset = first * row.size;
    if (row.compare(static_cast<const char*>(a) + offset, static_cast<const char*>(b) + offset,
                    std::min(block, count - first), deadband, equalPasses)) {
      return true;
    }
  }
  return false;
}

}  // namespace array_kernels
