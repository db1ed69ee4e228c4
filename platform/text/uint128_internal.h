// Unsigned integers of 128 bits: the compiler's own where it has them, a class of two halves on machines of 32 bits.
// Arithmetic wraps, as that of all unsigned numbers; a division by zero is not allowed.
#pragma once

#include <bit>
#include <compare>
#include <concepts>
#include <cstdint>

namespace wide {

/// The plain way. Its product and quotient are the reference for what processors do.
class two_halves_t {
 public:
  constexpr two_halves_t() = default;
  template <std::unsigned_integral T>
  constexpr two_halves_t(T value) noexcept : low_(value) {}
  /// Not negative.
  constexpr two_halves_t(int value) noexcept : low_(static_cast<std::uint64_t>(value)) {}

  template <std::unsigned_integral T>
  constexpr explicit operator T() const noexcept {
    return static_cast<T>(low_);
  }
  /// Exact below 2^64 or for a number whose upper half alone has bits; else the sum of the rounded halves.
  constexpr explicit operator double() const noexcept {
    constexpr double kTwoTo64 = 18446744073709551616.0;
    return static_cast<double>(high_) * kTwoTo64 + static_cast<double>(low_);
  }

  friend constexpr bool operator==(const two_halves_t&, const two_halves_t&) = default;
  friend constexpr auto operator<=>(const two_halves_t&, const two_halves_t&) = default;

  friend constexpr two_halves_t operator<<(two_halves_t a, int count) noexcept {
    if (count >= 64) return {a.low_ << (count - 64), 0};
    return count == 0 ? a : two_halves_t{a.high_ << count | a.low_ >> (64 - count), a.low_ << count};
  }
  friend constexpr two_halves_t operator>>(two_halves_t a, int count) noexcept {
    if (count >= 64) return {0, a.high_ >> (count - 64)};
    return count == 0 ? a : two_halves_t{a.high_ >> count, a.low_ >> count | a.high_ << (64 - count)};
  }
  friend constexpr two_halves_t operator|(two_halves_t a, two_halves_t b) noexcept {
    return {a.high_ | b.high_, a.low_ | b.low_};
  }
  friend constexpr two_halves_t operator+(two_halves_t a, two_halves_t b) noexcept {
    const std::uint64_t low = a.low_ + b.low_;
    return {a.high_ + b.high_ + (low < a.low_ ? 1 : 0), low};
  }
  friend constexpr two_halves_t operator-(two_halves_t a, two_halves_t b) noexcept {
    return {a.high_ - b.high_ - (a.low_ < b.low_ ? 1 : 0), a.low_ - b.low_};
  }
  friend constexpr two_halves_t operator*(two_halves_t a, two_halves_t b) noexcept {
    two_halves_t product = Multiply(a.low_, b.low_);
    product.high_ += a.high_ * b.low_ + a.low_ * b.high_;
    return product;
  }
  friend constexpr two_halves_t operator/(two_halves_t a, two_halves_t b) noexcept { return Divide(a, b); }
  friend constexpr two_halves_t operator%(two_halves_t a, two_halves_t b) noexcept { return a - Divide(a, b) * b; }
  constexpr two_halves_t& operator*=(two_halves_t other) noexcept { return *this = *this * other; }
  constexpr two_halves_t& operator/=(two_halves_t other) noexcept { return *this = *this / other; }
  constexpr two_halves_t& operator++() noexcept { return *this = *this + 1; }

 private:
  constexpr two_halves_t(std::uint64_t high, std::uint64_t low) noexcept : high_(high), low_(low) {}

  // Four products of 32 bits each.
  static constexpr two_halves_t Multiply(std::uint64_t a, std::uint64_t b) noexcept {
    constexpr std::uint64_t kLow = 0xFFFF'FFFF;
    const std::uint64_t lowest = (a & kLow) * (b & kLow);
    const std::uint64_t middle = (a >> 32) * (b & kLow) + (lowest >> 32);
    const std::uint64_t other = (a & kLow) * (b >> 32) + (middle & kLow);
    return {(a >> 32) * (b >> 32) + (middle >> 32) + (other >> 32), other << 32 | (lowest & kLow)};
  }
  constexpr int CountZeros() const noexcept {
    return high_ != 0 ? std::countl_zero(high_) : 64 + std::countl_zero(low_);
  }
  // Bit by bit, from the highest that the quotient can have.
  static constexpr two_halves_t Divide(two_halves_t a, two_halves_t b) noexcept {
    if (a.high_ == 0 && b.high_ == 0) return a.low_ / b.low_;
    two_halves_t quotient;
    for (int shift = b.CountZeros() - a.CountZeros(); shift >= 0; --shift) {
      if (const two_halves_t part = b << shift; part <= a) {
        a = a - part;
        quotient = quotient | two_halves_t(1) << shift;
      }
    }
    return quotient;
  }

  std::uint64_t high_ = 0;  // first, for they are compared in this order
  std::uint64_t low_ = 0;
};

#ifdef __SIZEOF_INT128__
__extension__ using uint128_t = unsigned __int128;
#else
using uint128_t = two_halves_t;
#endif

}  // namespace wide
