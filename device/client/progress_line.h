// How far a command has come, on the operator's terminal.
#ifndef DEVICE_CLIENT_PROGRESS_LINE_H
#define DEVICE_CLIENT_PROGRESS_LINE_H

#include <cstdint>

namespace client {

/// A bar on standard error, if that is a terminal; else nothing. It is gone when the object is.
class ProgressLine {
 public:
  ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;
  ~ProgressLine();

  /// Shows the bar, after what has been printed on standard output. A total of 0 shows nothing.
  void Show(std::uint32_t done, std::uint32_t total);
  /// Takes the bar away, so that output may follow.
  void Hide();

 private:
  const bool m_isTerminal;
  bool m_isShown = false;
};

}  // namespace client

#endif
