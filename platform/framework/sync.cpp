#include "platform/framework/sync.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <optional>

namespace {

using steady_t = std::chrono::steady_clock;

// The call for the times of this build; on machines of 32 bits there are two.
#ifdef SYS_futex_time64
constexpr long kFutex = sizeof(timespec::tv_sec) > sizeof(long) ? SYS_futex_time64 : SYS_futex;
#else
constexpr long kFutex = SYS_futex;
#endif

// Sleeps while the word has the value, at most until the deadline. May return early.
void SleepWhile(std::atomic<std::uint32_t>& word, std::uint32_t value, std::optional<steady_t::time_point> deadline) {
  timespec rest{};
  if (deadline.has_value()) {
    const auto left = std::max(*deadline - steady_t::now(), steady_t::duration::zero());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
    rest.tv_sec = seconds.count();
    rest.tv_nsec = static_cast<long>(std::chrono::nanoseconds(left - seconds).count());
  }
  ::syscall(kFutex, &word, FUTEX_WAIT_PRIVATE, value, deadline.has_value() ? &rest : nullptr, nullptr, 0);
}

void Wake(std::atomic<std::uint32_t>& word) { ::syscall(kFutex, &word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0); }

// Tells the processor that this is a waiting loop.
inline void Pause() {
#if defined(__x86_64__)
  __builtin_ia32_pause();
#elif defined(__aarch64__)
  asm volatile("yield");
#endif
}

// With one processor the holder cannot get on while somebody spins.
bool SpinningHelps() {
  static const bool helps = std::thread::hardware_concurrency() != 1;
  return helps;
}

// How a light lock is waited for: in pauses of some ten nanoseconds each, then asleep.
constexpr std::uint32_t kFirstRest = 64;
constexpr std::uint32_t kLongestRest = 128;
constexpr std::uint32_t kMostPauses = 2000;

}  // namespace

CSyncObject::~CSyncObject() = default;

CCriticalSection::CCriticalSection(std::uint32_t spinCount) noexcept
    : spinCount_(spinCount != 0 && SpinningHelps() ? spinCount : 0) {}

CCriticalSection::~CCriticalSection() = default;

bool CCriticalSection::EnterContended(std::uint32_t timeoutMs) {
  if (timeoutMs == 0) return false;
  for (std::uint32_t spin = 0; spin < spinCount_; ++spin) {
    std::uint32_t expected = kFree;
    if (word_.load(std::memory_order_relaxed) == kFree &&
        word_.compare_exchange_weak(expected, kHeld, std::memory_order_acquire, std::memory_order_relaxed)) {
      return true;
    }
    Pause();
  }
  std::optional<steady_t::time_point> deadline;
  if (timeoutMs != kInfinite) deadline = steady_t::now() + std::chrono::milliseconds(timeoutMs);
  // Whoever gets the lock here leaves it marked as awaited, for others may sleep still. At worst that costs one wake
  // too many.
  while (word_.exchange(kHeldAndAwaited, std::memory_order_acquire) != kFree) {
    if (deadline.has_value() && steady_t::now() >= *deadline) return false;
    SleepWhile(word_, kHeldAndAwaited, deadline);
  }
  return true;
}

void CCriticalSection::WakeOne() { Wake(word_); }

void CLightLock::LockContended() noexcept {
  static const bool helps = SpinningHelps();
  for (std::uint32_t spent = 0, rest = kFirstRest; helps && spent < kMostPauses;
       rest = std::min(2 * rest, kLongestRest)) {
    for (std::uint32_t i = 0; i != rest; ++i) Pause();
    spent += rest;
    if (word_.load(std::memory_order_relaxed) == kFree && try_lock()) return;
  }
  // Whoever gets the lock here leaves it marked as awaited.
  while (word_.exchange(kHeldAndAwaited, std::memory_order_acquire) != kFree) {
    SleepWhile(word_, kHeldAndAwaited, std::nullopt);
  }
}

void CLightLock::WakeOne() noexcept { Wake(word_); }
