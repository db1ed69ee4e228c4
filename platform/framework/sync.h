// Locks: the interface that the family's objects hand out, the critical section, and the guard that holds one.
//
//   CCriticalSection lock(4000);                  // spins 4000 times before it sleeps
//   {
//     CSingleLock guard(&lock);                   // or std::lock_guard guard(lock);
//     ...
//   }
//
// CLightLock is the smaller one, for a few instructions at a time.
//
// Locks are resources: neither copied nor moved, told apart by their address.
#pragma once

#include <atomic>
#include <cassert>
#include <cstdint>
#include <thread>

#include "platform/export.h"

/// What every lock can do, so that an object can hand out its lock without saying of which kind it is.
class ZORPLATFORM_API CSyncObject {
 public:
  /// A time in milliseconds that never ends.
  static constexpr std::uint32_t kInfinite = 0xFFFFFFFF;

  CSyncObject() = default;
  CSyncObject(const CSyncObject&) = delete;
  CSyncObject& operator=(const CSyncObject&) = delete;
  virtual ~CSyncObject();

  /// Waits for the lock; false if it was not had within `timeoutMs` milliseconds. 0 does not wait.
  virtual bool Lock(std::uint32_t timeoutMs = kInfinite) = 0;
  /// False, and nothing happens, if the calling thread does not hold the lock.
  virtual bool Unlock() = 0;

  /// The names of the standard library, for std::lock_guard and its like.
  // The names of the standard library, for std::lock_guard and its like.
  /// @{
  void lock() { Lock(); }
  bool try_lock() { return Lock(0); }
  void unlock() { Unlock(); }
  /// @}
};

/// A lock of one thread, which may take it again and gives it back as often. A thread that wants a held lock looks
/// `spinCount` times whether it is free, then sleeps; on a machine with one processor it sleeps at once. It costs what
/// a std::mutex costs when nobody waits. Waiting threads get the lock in no particular order.
class ZORPLATFORM_API CCriticalSection : public CSyncObject {
 public:
  /// Free at first. `spinCount`: how often a thread looks before it sleeps.
  explicit CCriticalSection(std::uint32_t spinCount = 0) noexcept;
  /// Nobody holds the lock or waits for it.
  ~CCriticalSection() override;

  bool Lock(std::uint32_t timeoutMs = kInfinite) override { return Enter(timeoutMs); }
  /// Takes the lock if it is free or this thread's; never waits.
  bool TryLock() { return Enter(0); }
  bool Unlock() override { return Leave(); }

  /// The same without a call through the interface.
  /// @{
  void lock() { Enter(kInfinite); }
  bool try_lock() { return TryLock(); }
  void unlock() { Leave(); }
  /// @}

 private:
  enum state_t : std::uint32_t { kFree, kHeld, kHeldAndAwaited };

  bool Enter(std::uint32_t timeoutMs) {
    // Only the owner itself can find its own name here, so no order of memory is needed.
    const std::thread::id self = std::this_thread::get_id();
    if (owner_.load(std::memory_order_relaxed) == self) {
      ++depth_;
      return true;
    }
    std::uint32_t expected = kFree;
    if (!word_.compare_exchange_strong(expected, kHeld, std::memory_order_acquire, std::memory_order_relaxed) &&
        !EnterContended(timeoutMs)) {
      return false;
    }
    owner_.store(self, std::memory_order_relaxed);
    depth_ = 1;
    return true;
  }
  bool Leave() {
    if (owner_.load(std::memory_order_relaxed) != std::this_thread::get_id()) return false;
    if (--depth_ > 0) return true;
    owner_.store(std::thread::id(), std::memory_order_relaxed);
    if (word_.exchange(kFree, std::memory_order_release) == kHeldAndAwaited) WakeOne();
    return true;
  }
  bool EnterContended(std::uint32_t timeoutMs);
  void WakeOne();

  std::atomic<std::uint32_t> word_{kFree};
  std::uint32_t spinCount_;
  std::atomic<std::thread::id> owner_{};
  std::uint32_t depth_ = 0;  // the owner's
};

/// A lock for a few instructions at a time: one word, a little less work than a critical section, and made for threads
/// that want it again and again. It is not re-entrant: a thread that takes it twice waits for ever. A thread that wants
/// a held lock rests before it looks again, so that the holder keeps its cache lines, and sleeps after some ten
/// microseconds, for the holder may be without a processor; on a machine with one processor it sleeps at once. Whoever
/// asks first after the lock was freed gets it.
class ZORPLATFORM_API CLightLock {
 public:
  CLightLock() = default;
  CLightLock(const CLightLock&) = delete;
  CLightLock& operator=(const CLightLock&) = delete;

  /// The names of the standard library, for std::lock_guard and its like.
  /// @{
  void lock() noexcept {
    if (!try_lock()) LockContended();
  }
  bool try_lock() noexcept {
    std::uint32_t expected = kFree;
    return word_.compare_exchange_strong(expected, kHeld, std::memory_order_acquire, std::memory_order_relaxed);
  }
  /// @}
  /// The calling thread holds the lock.
  void unlock() noexcept {
    if (word_.exchange(kFree, std::memory_order_release) == kHeldAndAwaited) WakeOne();
  }

 private:
  enum state_t : std::uint32_t { kFree, kHeld, kHeldAndAwaited };

  void LockContended() noexcept;
  void WakeOne() noexcept;

  std::atomic<std::uint32_t> word_{kFree};
};

/// Holds a lock, and gives it back at the end of its life. One thread uses a guard.
class CSingleLock {
 public:
  /// `object` outlives the guard. Without `initialLock` nothing is locked yet.
  explicit CSingleLock(CSyncObject* object, bool initialLock = true) : object_(object) {
    assert(object != nullptr);
    if (initialLock) Lock();
  }
  CSingleLock(const CSingleLock&) = delete;
  CSingleLock& operator=(const CSingleLock&) = delete;
  ~CSingleLock() { Unlock(); }

  /// True if the guard now holds the lock, or held it already.
  bool Lock(std::uint32_t timeoutMs = CSyncObject::kInfinite) {
    if (!isLocked_) isLocked_ = object_->Lock(timeoutMs);
    return isLocked_;
  }
  /// True if the guard held the lock.
  bool Unlock() {
    if (!isLocked_) return false;
    isLocked_ = false;
    return object_->Unlock();
  }
  /// Whether the guard holds the lock now.
  bool IsLocked() const noexcept { return isLocked_; }

  /// The names of the standard library.
  /// @{
  void lock() { Lock(); }
  bool try_lock() { return Lock(0); }
  void unlock() { Unlock(); }
  /// @}

 private:
  CSyncObject* object_;
  bool isLocked_ = false;
};
