// Parts of workloads that need a process of their own: one in which nothing was parsed, compiled or loaded before.
#pragma once

#include <string>
#include <vector>

#include "bench/temporary_folder.h"

namespace bench {

// A new folder for caches, which goes with this object.
class CacheFolder : public TemporaryFolder {
 public:
  CacheFolder();
};

// Runs this program with `--part NAME` and the caches in `folder`, the program's own as well as the driver's, and
// returns the numbers that it prints. Throws when it fails.
std::vector<double> RunPart(const std::string& name, const CacheFolder& folder);

// What a part takes in processes of its own, first with empty caches, then with those that the first one has left. The
// part prints milliseconds and the number of texts that the compiler worked on.
class ColdAndWarm {
 public:
  explicit ColdAndWarm(std::string part) : _part(std::move(part)) {}

  void RunRound();
  // The compiler works when there is nothing, and never again; otherwise false, with the reason on standard error.
  bool IsRight() const;

  const std::vector<double>& GetCold() const { return _cold; }
  const std::vector<double>& GetWarm() const { return _warm; }
  int GetCompiledCold() const { return _compiledCold; }

 private:
  std::vector<double> Measure(const CacheFolder& folder) const;

  std::string _part;
  std::vector<double> _cold, _warm;
  int _compiledCold = 0, _compiledWarm = 0;  // the most of any round
};

}  // namespace bench
