// A lock of one word. Taking and giving it back while no other thread wants it is one instruction
// each; only a thread that has to wait calls the system.
#pragma once

#include <atomic>
#include <cstdint>

#if defined(__has_include)
#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#define HALOMEND_KNOWS_SINGLE_THREAD 1
#endif
#endif

class Mutex {
 public:
  constexpr Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  // Not recursive: the thread that holds the lock waits for ever when it locks again.
  void Lock() {
    if (!TryLock()) LockSlowly();
  }

  // Requires: this thread holds the lock.
  void Unlock() {
    if (IsOnlyThread()) {
      state_.store(kFree, std::memory_order_relaxed);
    } else if (state_.exchange(kFree, std::memory_order_release) == kAwaited) {
      WakeOne();
    }
  }

 private:
  enum State : uint32_t {
    kFree,
    kHeld,
    kAwaited,  // held, and a thread may be waiting
  };

  // With one thread alone a plain load and store do, for nobody can come between them; they cost a
  // tenth. The word tells the same either way, so a second thread may appear at any time, also
  // while the lock is held.
  static bool IsOnlyThread() {
#ifdef HALOMEND_KNOWS_SINGLE_THREAD
    return __libc_single_threaded != 0;
#else
    return false;
#endif
  }

  bool TryLock() {
    uint32_t expected = kFree;
    if (!IsOnlyThread()) {
      return state_.compare_exchange_strong(expected, kHeld, std::memory_order_acquire,
                                            std::memory_order_relaxed);
    }
    if (state_.load(std::memory_order_relaxed) != kFree) return false;
    state_.store(kHeld, std::memory_order_relaxed);
    return true;
  }

  void LockSlowly();
  void WakeOne();

  std::atomic<uint32_t> state_ = kFree;
};

// Holds `mutex` from construction to destruction.
class MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) : mutex_(mutex) { mutex_.Lock(); }
  ~MutexLock() { mutex_.Unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& mutex_;
};
