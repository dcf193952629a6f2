// How the benchmarks of parts measure: two things in turn, the best round of each, and their ratio, which is
// what can be compared between machines.
#pragma once

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <limits>

namespace bench {

// What this thread has worked, in nanoseconds: other programs' turns on a busy machine don't count.
inline double ThreadNanoseconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

// Keeps the compiler from leaving out what makes `value`.
template <typename T>
void Keep(const T& value) {
  asm volatile("" : : "g"(&value) : "memory");
}

// Nanoseconds of one of `count` runs.
template <typename Body>
double TimeOf(int count, Body body) {
  const double start = ThreadNanoseconds();
  for (int i = 0; i < count; ++i) body();
  return (ThreadNanoseconds() - start) / count;
}

// Measures `body` and `base`, each of which makes `calls`, in turn; prints how many times as long `body`
// takes.
template <typename Body, typename Base>
double PrintRatio(const char* what, const char* than, int count, Body body, Base base, int calls = 1) {
  constexpr int kRounds = 15;
  double best = std::numeric_limits<double>::max();
  double bestBase = best;
  TimeOf(count / 10 + 1, body);
  TimeOf(count / 10 + 1, base);
  for (int round = 0; round < kRounds; ++round) {
    best = std::min(best, TimeOf(count, body));
    bestBase = std::min(bestBase, TimeOf(count, base));
  }
  std::printf("%-34s %8.0f ns, %6.2f times %s (%.0f ns)\n", what, best / calls, best / bestBase, than,
              bestBase / calls);
  return best / bestBase;
}

}  // namespace bench
