// Locks: the interface that the family's objects hand out, the critical section, and the guard that holds one.
//
//   CCriticalSection lock(4000);                  // spins 4000 times before it sleeps
//   {
//     CSingleLock guard(&lock);                   // or std::lock_guard guard(lock);
//     ...
//   }
//
// Locks are resources: neither copied nor moved, told apart by their address.
#pragma once

#include <atomic>
#include <cassert>
#include <cstdint>
#include <thread>

#include "platform/export.h"

class ZORPLATFORM_API CSyncObject {
 public:
  static constexpr std::uint32_t kInfinite = 0xFFFFFFFF;

  CSyncObject() = default;
  CSyncObject(const CSyncObject&) = delete;
  CSyncObject& operator=(const CSyncObject&) = delete;
  virtual ~CSyncObject();

  /// Waits for the lock; false if it was not had within `timeoutMs` milliseconds. 0 does not wait.
  virtual bool Lock(std::uint32_t timeoutMs = kInfinite) = 0;
  /// False, and nothing happens, if the calling thread does not hold the lock.
  virtual bool Unlock() = 0;

  // The names of the standard library, for std::lock_guard and its like.
  void lock() { Lock(); }
  bool try_lock() { return Lock(0); }
  void unlock() { Unlock(); }
};

/// A lock of one thread, which may take it again and gives it back as often. A thread that wants a held lock looks
/// `spinCount` times whether it is free, then sleeps; on a machine with one processor it sleeps at once. It costs what
/// a std::mutex costs when nobody waits. Waiting threads get the lock in no particular order.
class ZORPLATFORM_API CCriticalSection : public CSyncObject {
 public:
  explicit CCriticalSection(std::uint32_t spinCount = 0) noexcept;
  /// Nobody holds the lock or waits for it.
  ~CCriticalSection() override;

  bool Lock(std::uint32_t timeoutMs = kInfinite) override;
  bool TryLock() { return CCriticalSection::Lock(0); }
  bool Unlock() override;

  void lock() { CCriticalSection::Lock(); }
  bool try_lock() { return TryLock(); }
  void unlock() { CCriticalSection::Unlock(); }

 private:
  bool LockContended(std::uint32_t timeoutMs);

  std::atomic<std::uint32_t> word_{0};  // free, held, or held and somebody may sleep
  std::uint32_t spinCount_;
  std::atomic<std::thread::id> owner_{};
  std::uint32_t depth_ = 0;  // the owner's
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
  bool IsLocked() const noexcept { return isLocked_; }

  void lock() { Lock(); }
  bool try_lock() { return Lock(0); }
  void unlock() { Unlock(); }

 private:
  CSyncObject* object_;
  bool isLocked_ = false;
};
