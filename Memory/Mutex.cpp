#include "Memory/Mutex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// The system looks at the word itself.
static_assert(sizeof(std::atomic<uint32_t>) == sizeof(uint32_t));

void CallFutex(std::atomic<uint32_t>* word, int operation, uint32_t value) {
  syscall(SYS_futex, word, operation | FUTEX_PRIVATE_FLAG, value, nullptr, nullptr, 0);
}

}  // namespace

// Whoever waits leaves the word at kAwaited, also when it gets the lock in the end: others may be
// waiting still, and the word is all that tells. At worst one thread too many is woken.
void Mutex::LockSlowly() {
  while (state_.exchange(kAwaited, std::memory_order_acquire) != kFree) {
    CallFutex(&state_, FUTEX_WAIT, kAwaited);  // returns at once if the word has changed
  }
}

void Mutex::WakeOne() { CallFutex(&state_, FUTEX_WAKE, 1); }
