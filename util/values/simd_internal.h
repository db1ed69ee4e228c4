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

/// A look at what the run-time library asked the processor at the start.
inline bool HasAvx2() noexcept {
#if defined(__x86_64__)
  return __builtin_cpu_supports("avx2");
#else
  return false;
#endif
}

}  // namespace simd
