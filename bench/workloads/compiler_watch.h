// What a part of a workload prints: how long it took, and how many texts the compiler worked on.
#pragma once

#include <chrono>

namespace bench {

// Counts from construction to Print; takes the time from Start to Stop.
class CompilerWatch {
 public:
  CompilerWatch();
  void Start() { _start = std::chrono::steady_clock::now(); }
  void Stop() { _milliseconds = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - _start); }
  void Print() const;

 private:
  std::chrono::steady_clock::time_point _start;
  std::chrono::duration<double, std::milli> _milliseconds{};
};

}  // namespace bench
