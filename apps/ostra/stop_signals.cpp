#include "apps/ostra/stop_signals.h"

#include <csignal>
#include <initializer_list>

#include "apps/ostra/output/progress.h"
#include "ostra/io/unfinished_file.h"

namespace ostra::tool {

namespace {

// Only once: what the signal does by itself has been restored.
void HandleStop(int number) {
  Progress::Erase();
  RemoveUnfinishedFiles();
  raise(number);
}

}  // namespace

void InstallStopSignals() {
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action = {};
    if (sigaction(number, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
    action.sa_handler = HandleStop;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
  }
}

}  // namespace ostra::tool
