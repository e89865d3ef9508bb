#include "apps/ostra/output/progress.h"

#include <unistd.h>

#include <cstdio>

namespace ostra::tool {

using namespace std::chrono_literals;

Progress::Progress(std::string text, Int total)
    : _text(std::move(text)), _total(total), _isTerminal(isatty(STDERR_FILENO)), _nextWrite(Clock::now() + 500ms) {
  if (_isTerminal && _total == 0) Write();
}

Progress::~Progress() {
  if (_isShown) std::fputs("\r\033[K", stderr);
}

void Progress::Advance() {
  ++_done;
  if (!_isTerminal || Clock::now() < _nextWrite) return;
  Write();
  _nextWrite = Clock::now() + 100ms;
}

void Progress::Write() {
  _isShown = true;
  if (_total == 0)
    std::fprintf(stderr, "\r\033[K%s ...", _text.c_str());
  else
    std::fprintf(stderr, "\r\033[K%s: %d %%", _text.c_str(), static_cast<int>(100 * _done / _total));
  std::fflush(stderr);
}

}  // namespace ostra::tool
