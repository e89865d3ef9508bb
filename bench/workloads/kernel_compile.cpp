// The tool from a changed kernel file to its result, as authors of kernels wait for it.
#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/gpu_program.h"
#include "bench/temporary_folder.h"
#include "bench/workloads/workloads.h"

namespace bench {
namespace {

constexpr const char* kWorkload = "kernel_compile";

std::string ReadFile(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// A word of a shell's command.
std::string Quote(const std::filesystem::path& path) {
  std::string word = "'";
  return word.append(path.native()).append("'");
}

// The processor time of all programs that have been started and have ended, in seconds.
double GetProcessorTime() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  const auto seconds = [](const timeval& time) { return double(time.tv_sec) + double(time.tv_usec) * 1e-6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// A copy of a library kernel, with a cache of its own.
class ChangingKernel {
 public:
  ChangingKernel() {
    const std::string name = "net.ostra.kernels.saxpy.krn";
    _text = ReadFile(GetKernelPath(name.c_str()));
    _file = _folder.GetPath() / name;
    std::ofstream(_folder.GetPath() / "x.csv") << "1\n2\n";
    const auto at = [this](const char* file) { return Quote(_folder.GetPath() / file); };
    const auto tool = std::filesystem::read_symlink("/proc/self/exe").parent_path() / OSTRA_BENCH_TOOL;
    for (const std::string& word : {Quote(tool), std::string("run"), Quote(_file), "--in x=" + at("x.csv"),
                                    "--in y=zeros:2 --set count=2 --set a=3 --out y=" + at("y.csv"),
                                    "--cache-dir " + at("cache"), std::string(">/dev/null")})
      _command.append(word).append(" ");
  }

  // Another line of code each time, which computes the same.
  void Change() {
    const std::string line = "uint i = LinearInvocation();";
    std::string text = _text;
    const std::size_t position = text.find(line);
    if (position == std::string::npos) throw std::runtime_error("the library kernel has changed");
    const std::string number = std::to_string(++_changes);
    std::string change = " if (i == ";
    change.append(number).append("000000u) i = ").append(number).append("000001u;");
    text.insert(position + line.size(), change);
    std::ofstream(_file, std::ios::binary | std::ios::trunc) << text;
  }
  bool Run() {
    std::filesystem::remove(_folder.GetPath() / "y.csv");
    const double before = GetProcessorTime();
    const bool isDone = std::system(_command.c_str()) == 0;
    _processorTime = GetProcessorTime() - before;
    return isDone;
  }
  bool IsRight() const { return ReadFile(_folder.GetPath() / "y.csv") == "3\n6\n"; }
  // Of the last run, in seconds.
  double GetProcessorTimeOfRun() const { return _processorTime; }

 private:
  TemporaryFolder _folder;
  std::string _text, _command;
  std::filesystem::path _file;
  int _changes = 0;
  double _processorTime = 0;
};

// What each round took, in milliseconds.
struct Figures {
  std::vector<double> wall, processor;

  bool Measure(ChangingKernel& kernel) {
    bool isDone = false;
    wall.push_back(Time([&] { isDone = kernel.Run(); }) * 1e3);
    processor.push_back(kernel.GetProcessorTimeOfRun() * 1e3);
    return isDone && kernel.IsRight();
  }
  void Print(const std::string& metric) const {
    PrintFigure("ours", kWorkload, "saxpy", metric, "ms", wall);
    PrintFigure("ours", kWorkload, "saxpy", metric + "_processor", "ms", processor);
  }
};

}  // namespace

bool RunKernelCompile(const Options& options) {
  if (!Wants(options, "ours")) return true;
  ChangingKernel kernel;
  // With the second kernel in a cache the tool compiles the headers ahead.
  Figures first, second, changed, cached, warmUp;
  for (int run = -2; run < options.runs; ++run) {
    kernel.Change();
    Figures& compiled = run == -2 ? first : run == -1 ? second : changed;
    if (compiled.Measure(kernel) && (run < 0 ? warmUp : cached).Measure(kernel)) continue;
    std::fprintf(stderr, "ostra-bench: %s: the tool failed or its result is wrong\n", kWorkload);
    return false;
  }
  first.Print("save_to_result_of_first_kernel");
  second.Print("save_to_result_of_second_kernel");
  changed.Print("save_to_result");
  cached.Print("cached");
  return true;
}

}  // namespace bench
