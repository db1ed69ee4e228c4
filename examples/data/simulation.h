// What the makers of sample plants share: random numbers, and how their readings tell the time. The output is the same
// to the byte with every compiler: the generator is our own, and there is no real arithmetic but + - * / on doubles.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace simulation {

constexpr int kStartHour = 5;  // on 12 March 2026

constexpr bool IsWithin(int second, int begin, int length) { return second >= begin && second < begin + length; }

// Random numbers by a 64-bit mixing of a counter.
class CRandom {
 public:
  explicit CRandom(std::uint64_t seed) : state_(seed) {}
  std::uint32_t Next() {
    state_ += 0x9E3779B97F4A7C15u;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return static_cast<std::uint32_t>((z ^ (z >> 31)) >> 32);
  }
  /// Bell-shaped around 0: the sum of four even ones, within -2 to 2, deviation about 0.58.
  double Noise() {
    std::int64_t sum = 0;
    for (int i = 0; i < 4; ++i) sum += Next();
    return static_cast<double>(sum) / 4294967296.0 - 2.0;
  }
  bool OneIn(std::uint32_t count) { return Next() % count == 0; }

 private:
  std::uint64_t state_;
};

inline void AppendPadded(std::string& out, int number, std::size_t digits) {
  const std::string text = std::to_string(number);
  if (text.size() < digits) out.append(digits - text.size(), '0');
  out += text;
}

/// "2026-03-12T05:20:07.500": a moment after the start.
inline void AppendTime(std::string& out, int second, int ms) {
  out += "2026-03-12T";
  AppendPadded(out, kStartHour + second / 3600, 2);
  out += ':';
  AppendPadded(out, second / 60 % 60, 2);
  out += ':';
  AppendPadded(out, second % 60, 2);
  out += '.';
  AppendPadded(out, ms, 3);
}

}  // namespace simulation
