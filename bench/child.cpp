#include "bench/child.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace bench {
namespace {

// In the child, which has one thread: what it runs has its caches in `folder`.
[[noreturn]] void Become(const std::string& name, const std::string& folder, int output) {
  dup2(output, STDOUT_FILENO);
  setenv("OSTRA_GPU_CACHE", (folder + "/programs").c_str(), 1);
  for (const char* variable : {"MESA_SHADER_CACHE_DIR", "__GL_SHADER_DISK_CACHE_PATH"})
    setenv(variable, (folder + "/driver").c_str(), 1);
  execl("/proc/self/exe", "ostra-bench", "--part", name.c_str(), static_cast<char*>(nullptr));
  _exit(127);
}

}  // namespace

CacheFolder::CacheFolder() {
  for (const char* name : {"programs", "driver"}) std::filesystem::create_directory(GetPath() / name);
}

std::vector<double> RunPart(const std::string& name, const CacheFolder& folder) {
  int pipes[2];
  if (pipe(pipes) != 0) throw std::runtime_error("no pipe for a process");
  const std::string path = folder.GetPath().string();
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) Become(name, path, pipes[1]);
  close(pipes[1]);
  std::string text;
  char buffer[256];
  for (ssize_t count = 0; child > 0 && (count = read(pipes[0], buffer, sizeof(buffer))) > 0;)
    text.append(buffer, static_cast<std::size_t>(count));
  close(pipes[0]);
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || status != 0)
    throw std::runtime_error("The part \"" + name + "\" failed in its process.");
  std::istringstream stream(text);
  std::vector<double> numbers;
  for (double number = 0; stream >> number;) numbers.push_back(number);
  return numbers;
}

void ColdAndWarm::RunRound() {
  const CacheFolder folder;
  const std::vector<double> cold = Measure(folder), warm = Measure(folder);
  _cold.push_back(cold[0]);
  _warm.push_back(warm[0]);
  _compiledCold = std::max(_compiledCold, static_cast<int>(cold[1]));
  _compiledWarm = std::max(_compiledWarm, static_cast<int>(warm[1]));
}

bool ColdAndWarm::IsRight() const {
  if (_compiledCold > 0 && _compiledWarm == 0) return true;
  std::fprintf(stderr, "\"%s\" compiled %d texts with empty caches and %d with full ones.\n", _part.c_str(),
               _compiledCold, _compiledWarm);
  return false;
}

std::vector<double> ColdAndWarm::Measure(const CacheFolder& folder) const {
  std::vector<double> numbers = RunPart(_part, folder);
  if (numbers.size() != 2) throw std::runtime_error("The part \"" + _part + "\" printed no figures.");
  return numbers;
}

}  // namespace bench
