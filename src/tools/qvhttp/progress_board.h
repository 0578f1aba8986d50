#ifndef TOOLS_QVHTTP_PROGRESS_BOARD_H_
#define TOOLS_QVHTTP_PROGRESS_BOARD_H_

#include <cstddef>
#include <string>
#include <vector>

// Lines at the lower end of a terminal, one for each transfer under way. Where standard error is no
// terminal, it shows nothing.
class ProgressBoard {
 public:
  ProgressBoard();
  ~ProgressBoard() { Show({}); }
  ProgressBoard(const ProgressBoard&) = delete;
  ProgressBoard& operator=(const ProgressBoard&) = delete;

  // Puts lines in the place of those that are shown. They are cut to the width of the terminal.
  void Show(const std::vector<std::string>& lines);

 private:
  bool enabled_;
  std::size_t shown_ = 0;  // lines
};

#endif  // TOOLS_QVHTTP_PROGRESS_BOARD_H_
