#include "bench/measure.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace bench {
namespace {

// OpenMP's threads spin for about 20 ms after their loop and would take a processor from the next contestant. Sleeping
// meanwhile would let the processor's own clock fall.
void WaitForSpinningThreads() {
  constexpr std::chrono::milliseconds kPause{40};
  const auto start = std::chrono::steady_clock::now();
  while (std::chrono::steady_clock::now() - start < kPause) continue;
}

}  // namespace

bool Wants(const Options& options, const std::string& peer) {
  options.offered->insert(peer);
  return options.peers.empty() || std::ranges::find(options.peers, peer) != options.peers.end();
}

bool WereAllOffered(const Options& options) {
  std::string offered;
  for (const std::string& peer : *options.offered) offered += (offered.empty() ? "" : ", ") + peer;
  if (offered.empty()) offered = "none";
  for (const std::string& peer : options.peers) {
    if (options.offered->contains(peer)) continue;
    std::fprintf(stderr, "ostra-bench: \"%s\" has no contestant \"%s\" here; there are: %s.\n",
                 options.workload.c_str(), peer.c_str(), offered.c_str());
    return false;
  }
  return true;
}

void PrintFigure(const std::string& peer, const std::string& workload, const std::string& size,
                 const std::string& metric, const std::string& unit, std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  const double median = values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
  std::printf(
      "{\"peer\":\"%s\",\"workload\":\"%s\",\"size\":\"%s\",\"metric\":\"%s\",\"value\":%.6g,\"unit\":\"%s\","
      "\"runs\":%zu,\"min\":%.6g,\"median\":%.6g,\"max\":%.6g}\n",
      peer.c_str(), workload.c_str(), size.c_str(), metric.c_str(), median, unit.c_str(), values.size(), values.front(),
      median, values.back());
  std::fflush(stdout);
}

double Time(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

Contest::Contest(std::string workload, std::string size, std::string metric, std::string unit)
    : _workload(std::move(workload)), _size(std::move(size)), _metric(std::move(metric)), _unit(std::move(unit)) {}

void Contest::Add(std::string peer, std::function<bool()> run, std::function<bool()> check) {
  _peers.push_back({std::move(peer), std::move(run), std::move(check), {}});
}

bool Contest::Run(const Options& options, const std::function<double(double seconds)>& figure) {
  std::erase_if(_peers, [&](const Peer& peer) { return !Wants(options, peer.name); });
  for (Peer& peer : _peers) {
    if (peer.run() && peer.check()) continue;
    std::fprintf(stderr, "%s: the result of \"%s\" is wrong.\n", _workload.c_str(), peer.name.c_str());
    return false;
  }
  for (int run = 0; run < options.runs; ++run) {
    for (Peer& peer : _peers) {
      WaitForSpinningThreads();
      // The threads of this contestant are awake when its time is taken.
      bool succeeded = peer.run();
      const double seconds = Time([&] { succeeded = succeeded && peer.run(); });
      if (!succeeded) {
        std::fprintf(stderr, "%s: \"%s\" failed.\n", _workload.c_str(), peer.name.c_str());
        return false;
      }
      peer.values.push_back(figure(seconds));
    }
  }
  for (Peer& peer : _peers) PrintFigure(peer.name, _workload, _size, _metric, _unit, peer.values);
  return true;
}

}  // namespace bench
