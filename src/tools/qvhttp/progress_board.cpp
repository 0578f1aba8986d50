#include "progress_board.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <iostream>

namespace {

constexpr const char* kEraseToLineEnd = "\x1b[K";    // ECMA-48, erase in line
constexpr const char* kEraseToScreenEnd = "\x1b[J";  // erase in page
constexpr std::size_t kUsualWidth = 80;

std::size_t TerminalWidth() {
  winsize size{};
  const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : kUsualWidth;
}

}  // namespace

ProgressBoard::ProgressBoard() : enabled_(isatty(STDERR_FILENO) == 1) {}

void ProgressBoard::Show(const std::vector<std::string>& lines) {
  if (!enabled_ || (lines.empty() && shown_ == 0)) return;
  // A line that wraps would take up two.
  const std::size_t width = TerminalWidth() - 1;
  if (shown_ > 0) std::cerr << "\x1b[" << shown_ << 'F';  // to the start of that many lines above
  for (const std::string& line : lines) {
    std::cerr << line.substr(0, width) << kEraseToLineEnd << '\n';
  }
  std::cerr << kEraseToScreenEnd << std::flush;
  shown_ = lines.size();
}
