#include "apps/ostra/output/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <string_view>

#include "apps/ostra/output/quiet.h"

namespace ostra::tool {

namespace {

using namespace std::chrono_literals;

constexpr std::string_view kEraseLine = "\r\033[K";
std::atomic<bool> g_isShown{false};

Int GetColumns() {
  winsize size = {};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? Int{size.ws_col} : 80;
}

std::string Print(const char* format, Float64 value) {
  char text[40];
  std::snprintf(text, sizeof(text), format, value);
  return text;
}

// "0:07", "2:03:04".
std::string FormatDuration(Float64 seconds) {
  const auto whole = static_cast<Int>(std::min(std::ceil(seconds), 1e9));
  char text[40];
  if (whole < 3600)
    std::snprintf(text, sizeof(text), "%d:%02d", static_cast<int>(whole / 60), static_cast<int>(whole % 60));
  else
    std::snprintf(text, sizeof(text), "%d:%02d:%02d", static_cast<int>(whole / 3600), static_cast<int>(whole / 60 % 60),
                  static_cast<int>(whole % 60));
  return text;
}

}  // namespace

std::string FormatProgress(const std::string& text, Int done, Int total, const std::string& unit, Float64 seconds,
                           Int columns) {
  const Float64 share = total > 0 ? static_cast<Float64>(done) / static_cast<Float64>(total) : 0;
  std::string end = Print("%3.0f %%", std::floor(100 * share));
  if (done > 0 && seconds > 0) {
    const Float64 rate = static_cast<Float64>(done) / seconds;
    if (!unit.empty())
      end.append("  ")
          .append(Print(rate < 1    ? "%.2f "
                        : rate < 10 ? "%.1f "
                                    : "%.0f ",
                        rate))
          .append(unit)
          .append("/s");
    end.append("  ").append(FormatDuration(static_cast<Float64>(total - done) / rate)).append(" left");
  }
  std::string line = text;
  line.append(": ");
  // What is left of the line is the bar's, but for the last column, where terminals begin a new one.
  const Int room = columns - 1 - static_cast<Int>(line.size() + end.size()) - 3;
  if (room >= 5) {
    const Int length = std::min<Int>(room, 30), filled = static_cast<Int>(share * static_cast<Float64>(length));
    line.append("[").append(static_cast<std::size_t>(filled), '#');
    line.append(static_cast<std::size_t>(length - filled), '-').append("] ");
  }
  line.append(end);
  if (static_cast<Int>(line.size()) >= columns) line.resize(static_cast<std::size_t>(std::max<Int>(columns - 1, 0)));
  return line;
}

Progress::Progress(std::string text, Int total, std::string unit)
    : _text(std::move(text)),
      _total(total),
      _unit(std::move(unit)),
      _isOn(isatty(STDERR_FILENO) && !IsQuiet()),
      _start(Clock::now()),
      _nextWrite(_start + 500ms) {
  if (_isOn && _total == 0) Write(_start);
}

Progress::~Progress() {
  if (_isOn) Erase();
}

void Progress::Erase() {
  if (!g_isShown.exchange(false)) return;
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, kEraseLine.data(), kEraseLine.size());
}

void Progress::Advance(Int steps) {
  if (!_isOn) return;
  const std::scoped_lock lock(_mutex);
  _done += steps;
  const Clock::time_point now = Clock::now();
  if (now < _nextWrite) return;
  Write(now);
  _nextWrite = now + 100ms;
}

void Progress::Write(Clock::time_point now) {
  std::string line(kEraseLine);
  if (_total == 0)
    line.append(_text).append(" ...");
  else
    line.append(FormatProgress(_text, _done, _total, _unit, std::chrono::duration<Float64>(now - _start).count(),
                               GetColumns()));
  g_isShown = true;
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace ostra::tool
