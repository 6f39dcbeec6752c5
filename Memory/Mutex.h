// A pthread mutex with default attributes, and an object that holds it for a scope.
#pragma once

#include <pthread.h>

class Mutex {
 public:
  constexpr Mutex() = default;
  ~Mutex() { pthread_mutex_destroy(&mutex_); }
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  // Not recursive: a thread that locks again what it holds already waits for ever.
  void Lock() { pthread_mutex_lock(&mutex_); }

  // Requires: this thread holds the lock.
  void Unlock() { pthread_mutex_unlock(&mutex_); }

 private:
  // This constant means the same as a call of pthread_mutex_init without attributes. With it the
  // compiler can lay out the process-wide heap, which holds a mutex, without code at start-up.
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
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
