#include "Memory/Mutex.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

// The first holder has the lock from a time when it was the only thread. The others find it held,
// wait for it in the system, and then take turns without losing a step.
TEST(Mutex, LetsOneThreadInAtATime) {
  constexpr int kThreads = 4, kSteps = 50000;
  Mutex mutex;
  int64_t counter = 0;
  mutex.Lock();
  std::vector<std::jthread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int step = 0; step < kSteps; ++step) {
        const MutexLock lock(mutex);
        const volatile int64_t before = counter;
        counter = before + 1;
      }
    });
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(counter, 0);
  mutex.Unlock();
  threads.clear();  // joins them
  EXPECT_EQ(counter, int64_t{kThreads} * kSteps);
}
