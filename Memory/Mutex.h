// A lock that owns one pthread mutex, in an allocation of its own.
#pragma once

#include <pthread.h>

class Mutex {
 public:
  // Without memory, or when the system refuses, no mutex is created: IsCreated() is then false, and
  // Lock and Unlock do nothing.
  Mutex();
  ~Mutex();
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  [[nodiscard]] bool IsCreated() const { return handle_ != nullptr; }

  // Not recursive: the thread that holds the lock waits for ever when it locks again.
  void Lock();
  void Unlock();

 private:
  pthread_mutex_t* handle_;
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
