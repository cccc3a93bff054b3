#include "progress_line.h"

#include <unistd.h>

#include <cstdio>

#include "device/program/progress_bar.h"

namespace client {

ProgressLine::ProgressLine() : m_isTerminal(isatty(STDERR_FILENO) == 1) {}

ProgressLine::~ProgressLine() { Hide(); }

void ProgressLine::Show(std::uint32_t done, std::uint32_t total) {
  if (m_isTerminal && total != 0) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s%s", program::ERASE_LINE, program::ProgressBar(done, total).c_str());
    m_isShown = true;
  }
}

void ProgressLine::Hide() {
  if (m_isShown) {
    std::fputs(program::ERASE_LINE, stderr);
    m_isShown = false;
  }
}

}  // namespace client
