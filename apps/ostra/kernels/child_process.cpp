#include "apps/ostra/kernels/child_process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <initializer_list>

extern "C" char** environ;

namespace ostra::tool {

namespace {

// What the two new processes need, made before they are there: a process that was forked from one with threads may call
// little more than the system.
struct Start {
  const char* file;
  char* const* arguments;
  int input, output, report;
  pid_t parent;
  sigset_t signals;  // the mask to run with
};

void Send(int report, int startError, int status) {
  const ChildProcess::End end{startError, status};
  const ssize_t written = write(report, &end, sizeof(end));
  static_cast<void>(written);  // there is nobody else to tell
}

// The first signal is passed on to the whole group, and what does not end then is ended by the alarm.
void EndGroup(int) {
  signal(SIGTERM, SIG_IGN);
  kill(0, SIGTERM);
  signal(SIGALRM, [](int) { kill(0, SIGKILL); });
  alarm(2);
}

[[noreturn]] void RunProgram(const Start& start) {
  signal(SIGTERM, SIG_DFL);
  const int input = start.input < 0 ? open("/dev/null", O_RDONLY | O_CLOEXEC) : start.input;
  if (dup2(input, STDIN_FILENO) >= 0 && dup2(start.output, STDOUT_FILENO) >= 0 &&
      dup2(start.output, STDERR_FILENO) >= 0 && sigprocmask(SIG_SETMASK, &start.signals, nullptr) == 0)
    execve(start.file, start.arguments, environ);
  Send(start.report, errno, 0);
  _exit(127);
}

[[noreturn]] void Keep(const Start& start) {
  setpgid(0, 0);
  // Handlers of this program are no business of the new processes, and what is ignored stays so.
  for (const int number : {SIGINT, SIGHUP, SIGQUIT}) {
    struct sigaction action;
    if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) signal(number, SIG_DFL);
  }
  signal(SIGTERM, EndGroup);
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  const pid_t program = getppid() == start.parent ? fork() : -1;
  if (program == 0) RunProgram(start);
  if (program < 0) {
    Send(start.report, errno, 0);
    _exit(127);
  }
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  // Whoever waits for the end of another pipe, or of this program's output, does not wait for this process.
  close_range(0, static_cast<unsigned>(start.report) - 1, 0);
  close_range(static_cast<unsigned>(start.report) + 1, ~0U, 0);
  int status = 0;
  while (waitpid(program, &status, 0) < 0 && errno == EINTR) {
  }
  Send(start.report, 0, status);
  _exit(0);
}

}  // namespace

ChildProcess::ChildProcess(const std::string& file, const std::vector<std::string>& arguments, int input, int output) {
  std::vector<char*> words;
  for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
  words.push_back(nullptr);
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    _startError = errno;
    return;
  }
  Start start{file.c_str(), words.data(), input, output, ends[1], getpid(), {}};
  // No handler of this process may run in the new one.
  sigset_t all;
  sigfillset(&all);
  sigprocmask(SIG_BLOCK, &all, &start.signals);
  _keeper = fork();
  if (_keeper == 0) Keep(start);
  _startError = _keeper < 0 ? errno : 0;
  sigprocmask(SIG_SETMASK, &start.signals, nullptr);
  close(ends[1]);
  _report = ends[0];
}

ChildProcess::~ChildProcess() {
  if (_report >= 0) close(_report);
}

ChildProcess::End ChildProcess::Wait() {
  if (_keeper < 0) return {_startError, 0};
  // A program that could not be started has said so first.
  End end;
  ssize_t count = 0;
  while ((count = read(_report, &end, sizeof(end))) < 0 && errno == EINTR) {
  }
  int status = 0;
  while (waitpid(_keeper, &status, 0) < 0 && errno == EINTR) {
  }
  // Whoever ended the process between has ended the program, too.
  return count == sizeof(end) ? end : End{0, status};
}

}  // namespace ostra::tool
