#include "bench/workloads/compiler_watch.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "bench/program.h"
#include "ostra/monitor/monitor.h"

namespace bench {

CompilerWatch::CompilerWatch() { Need(ostra::MonitorStart()); }

void CompilerWatch::Print() const {
  const auto path = std::filesystem::temp_directory_path() / ("ostra_bench_trace_" + std::to_string(getpid()));
  Need(ostra::MonitorStop(path.string()));
  std::ifstream file(path);
  const std::string trace((std::istreambuf_iterator<char>(file)), {});
  std::filesystem::remove(path);
  int compiled = 0;
  const std::string scope = "\"compile shader\"";
  for (std::size_t at = trace.find(scope); at != std::string::npos; at = trace.find(scope, at + 1)) ++compiled;
  std::printf("%.6f %d\n", _milliseconds.count(), compiled);
}

}  // namespace bench
