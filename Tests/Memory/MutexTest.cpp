#include "Memory/Mutex.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

TEST(Mutex, LetsOneThreadInAtATime) {
  constexpr int kThreads = 4, kSteps = 5000;
  Mutex mutex;
  int counter = 0;
  std::vector<std::jthread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int step = 0; step < kSteps; ++step) {
        const MutexLock lock(mutex);
        const int before = counter;
        std::this_thread::yield();  // without the lock another thread would take its step here
        counter = before + 1;
      }
    });
  }
  threads.clear();  // joins them
  EXPECT_EQ(counter, kThreads * kSteps);
}
