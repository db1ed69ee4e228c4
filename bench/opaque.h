// What the benchmarks use beside benchmark::DoNotOptimize.
#pragma once

/// The value, of which the compiler knows nothing any more. (DoNotOptimize is for results only: its way to let a small
/// variable be read again, "+m,r", makes GCC 12 read memory that it never wrote.)
template <class T>
T Opaque(T value) {
  volatile T hidden = value;
  return hidden;
}
