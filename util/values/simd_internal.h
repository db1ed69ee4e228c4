// Which vector instructions a kernel may use. A kernel is written once as an always-inline loop and compiled twice, for
// the baseline of the machine and, in a function marked ZOR_AVX2, for AVX2; HasAvx2 chooses at run time.
#pragma once

#if defined(__x86_64__)
#define ZOR_AVX2 __attribute__((target("avx2")))
#else
#define ZOR_AVX2
#endif
#define ZOR_INLINE [[gnu::always_inline]] inline

namespace simd {

/// Asks the processor once.
inline bool HasAvx2() noexcept {
#if defined(__x86_64__)
  static const bool has = __builtin_cpu_supports("avx2");
  return has;
#else
  return false;
#endif
}

}  // namespace simd
