#include "ostra/process/process_guard.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>

#include "ostra/core/format.h"

OSTRA_UNIT("process_guard");

namespace ostra {

namespace {

constexpr long kGraceNanoseconds = 100'000'000;  // for programs that remove their temporary files

// The rest of this namespace runs in a child of a process that may have had other threads: no locks, no allocation.

// All but `kept`, which may be -1.
void CloseFiles(int kept) {
  const unsigned next = kept < 0 ? 0 : static_cast<unsigned>(kept) + 1;
  const Bool isDone =
      (next <= 1 || syscall(SYS_close_range, 0u, next - 2, 0u) == 0) && syscall(SYS_close_range, next, ~0u, 0u) == 0;
  for (int file = 0; !isDone && file < 1024; ++file)
    if (file != kept) close(file);
}

void RemoveFiles(int folder) {
  // As the kernel writes it.
  struct Entry {
    ino64_t inode;
    off64_t offset;
    unsigned short size;
    unsigned char type;
    char name[1];
  };
  alignas(Entry) char buffer[4096];
  while (true) {
    const long count = syscall(SYS_getdents64, folder, buffer, sizeof(buffer));
    if (count <= 0) return;
    for (long position = 0; position < count;) {
      const auto* entry = reinterpret_cast<const Entry*>(buffer + position);
      position += entry->size;
      unlinkat(folder, entry->name, 0);  // fails for "." and ".."
    }
  }
}

void RemoveFolder(int folder, const char* name) {
  RemoveFiles(folder);
  unlinkat(openat(folder, "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC), name, AT_REMOVEDIR);
}

[[noreturn]] void WaitForParent(pid_t parent, const sigset_t& allSignals, int folder, const char* name) {
  setpgid(0, 0);
  CloseFiles(folder);
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  // The signal also comes from users and at the end of single threads.
  while (getppid() == parent) sigwaitinfo(&allSignals, nullptr);
  kill(0, SIGTERM);
  const timespec grace = {0, kGraceNanoseconds};
  nanosleep(&grace, nullptr);
  if (folder >= 0) RemoveFolder(folder, name);
  kill(0, SIGKILL);
  _exit(1);
}

}  // namespace

Result<ProcessGuard> ProcessGuard::Start(const std::string& folder) {
  const pid_t parent = getpid();
  // Opened here: paths of open folders end with this process.
  std::error_code ignored;
  const std::string name = std::filesystem::canonical(folder, ignored).filename().native();
  const int opened = folder.empty() ? -1 : open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  sigset_t allSignals, before;
  sigfillset(&allSignals);
  // Blocked before there is a child, which must not run the handlers of this process.
  pthread_sigmask(SIG_BLOCK, &allSignals, &before);
  const pid_t process = fork();
  const int code = errno;
  if (process == 0) WaitForParent(parent, allSignals, opened, name.c_str());
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  if (opened >= 0) close(opened);
  if (process < 0) return OSTRA_ILLEGAL_STATE("A process cannot be started: @.", std::strerror(code));
  setpgid(process, process);  // the child does the same: the first of the two takes effect
  return ProcessGuard(process);
}

ProcessGuard::~ProcessGuard() {
  if (_process == 0) return;
  kill(_process, SIGKILL);
  while (waitpid(_process, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace ostra
