// Measuring contestants side by side, and the lines that report them.
//
//   Contest contest("saxpy", "2^24", "throughput", "GB/s");
//   contest.Add("ours", [&] { return Dispatch(); });            // true when it ran
//   contest.Add("serial", [&] { SaxpySerial(...); return true; });
//   return contest.Run(options, [&](double seconds) { return bytes / seconds / 1e9; });
//
// All contestants take turns in every round, so that a change of the machine's speed meets them alike.
#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace bench {

struct Options {
  std::string workload;
  int runs = 7;
  // Only contestants whose name is listed; all when empty.
  std::vector<std::string> peers;
  // All contestants that were there to choose from, whether chosen or not; Wants notes them.
  std::shared_ptr<std::set<std::string>> offered = std::make_shared<std::set<std::string>>();
};

// Whether a contestant takes part.
bool Wants(const Options& options, const std::string& peer);

// After the workload has run: false, with the reason on standard error, when a chosen contestant was never offered.
bool WereAllOffered(const Options& options);

// Prints one figure as a JSON object on a line of its own. `values` has one value per run.
void PrintFigure(const std::string& peer, const std::string& workload, const std::string& size,
                 const std::string& metric, const std::string& unit, std::vector<double> values);

// Seconds that `work` takes.
double Time(const std::function<void()>& work);

class Contest {
 public:
  Contest(std::string workload, std::string size, std::string metric, std::string unit);

  // `run` does the measured work once and returns false when it failed; `check` looks at the result of the first run.
  void Add(std::string peer, std::function<bool()> run, std::function<bool()> check);

  // Runs every contestant once and checks it, then measures `options.runs` rounds and prints a line each. `figure`
  // turns the seconds of a run into the reported unit. False, with the reason on standard error, when a contestant
  // fails or its result is wrong; nothing is printed then. Of several contests of a workload some may have none of the
  // chosen contestants.
  bool Run(const Options& options, const std::function<double(double seconds)>& figure);

 private:
  struct Peer {
    std::string name;
    std::function<bool()> run;
    std::function<bool()> check;
    std::vector<double> values;
  };
  std::string _workload, _size, _metric, _unit;
  std::vector<Peer> _peers;
};

}  // namespace bench
