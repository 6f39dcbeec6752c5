// Times methods alternately and prints the results in lines that Benchmarks/compare reads.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

// One way to do a job.
struct Method {
  std::string name;
  std::function<void()> prepare;  // not timed; may be empty
  std::function<void()> run;
  double seconds = 1e99;  // of the shortest run
};

struct Effort {
  int rounds;
  double maxSeconds;
};

// Runs the methods alternately (A B C A B C ...), so that a slow moment of the machine affects all
// of them, and keeps the shortest run of each. Short jobs get more rounds than asked for; no round
// begins after `effort.maxSeconds`.
inline void MeasureAlternately(std::vector<Method>& methods, const Effort& effort) {
  using Clock = std::chrono::steady_clock;
  using Seconds = std::chrono::duration<double>;
  constexpr double kMinSeconds = 0.1;
  const Clock::time_point begin = Clock::now();
  const auto spent = [&] { return Seconds(Clock::now() - begin).count(); };
  for (int round = 0; round == 0 || ((round < effort.rounds || spent() < kMinSeconds) &&
                                     spent() < effort.maxSeconds);
       ++round) {
    for (Method& method : methods) {
      if (method.prepare) method.prepare();
      const Clock::time_point start = Clock::now();
      method.run();
      method.seconds = std::min(method.seconds, Seconds(Clock::now() - start).count());
    }
  }
}

// Prints a line: stage, picture or size, method, seconds, bytes of output, and the units of work
// (bytes, pixels or calls) done in these seconds.
inline void Report(const std::string& stage, const std::string& item, const Method& method,
                   std::size_t outputSize, std::size_t units) {
  std::printf("%s\t%s\t%s\t%.9f\t%zu\t%zu\n", stage.c_str(), item.c_str(), method.name.c_str(),
              method.seconds, outputSize, units);
  std::fflush(stdout);
}

// Stops the compiler from removing work whose result is not used.
template <typename Value>
void KeepResult(const Value& value) {
  asm volatile("" : : "r,m"(value) : "memory");
}
