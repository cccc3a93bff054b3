#include "display.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace client {

namespace {

constexpr std::size_t TAB = 8;

struct Size {
  std::size_t rows;
  std::size_t columns;
};

// A terminal on a serial line does not tell.
Size FindSize() {
  winsize found{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &found) != 0 || found.ws_row == 0 || found.ws_col == 0) {
    return {24, 80};
  }
  return {found.ws_row, found.ws_col};
}

bool CanShowPages() {
  const char* const type = std::getenv("TERM");
  return isatty(STDOUT_FILENO) == 1 && type != nullptr && *type != '\0' &&
         std::strcmp(type, "dumb") != 0;
}

// The bytes of a character of UTF-8 after its first.
bool IsContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

}  // namespace

void Display::WantPages() {
  m_wantsPages = CanShowPages();
  m_isHolding = m_wantsPages;
}

void Display::Take(std::string output) {
  m_progress.Hide();
  const std::string text = m_output.Take(std::move(output));
  if (m_isHolding) {
    Hold(text);
  } else {
    Print(text);
  }
}

void Display::TakeProgress(std::uint32_t done, std::uint32_t total) {
  Release();
  if (!m_pager && !m_hasQuit) {
    m_progress.Show(done, total);
  }
}

void Display::Release() {
  m_isHolding = false;
  Print(std::exchange(m_held, {}));
  std::fflush(stdout);
}

void Display::End() {
  m_progress.Hide();
  Release();
  Print(m_output.TakeRest());
  std::fflush(stdout);
  m_pager.reset();
  m_hasQuit = false;
  m_isHolding = m_wantsPages;
  m_counted = m_rows = m_column = 0;
}

void Display::Quit() {
  m_pager.reset();
  m_hasQuit = true;
}

void Display::Print(const std::string& text) {
  if (m_pager && !m_pager->Write(text)) {
    Quit();
  } else if (!m_pager && !m_hasQuit) {
    std::fwrite(text.data(), 1, text.size(), stdout);
  }
}

void Display::Hold(const std::string& text) {
  m_held += text;
  if (IsLongerThanTerminal()) {
    m_pager = Pager::Start();
    m_isHolding = false;
    Print(std::exchange(m_held, {}));
  }
}

// The prompt that follows needs a row as well.
bool Display::IsLongerThanTerminal() {
  const Size size = FindSize();
  for (; m_counted < m_held.size(); ++m_counted) {
    const char byte = m_held[m_counted];
    if (byte == '\n') {
      ++m_rows;
      m_column = 0;
    } else if (byte == '\t') {
      m_column += TAB - m_column % TAB;
    } else if (!IsContinuation(byte) && m_column++ == size.columns) {
      ++m_rows;
      m_column = 1;
    }
  }
  return m_rows >= size.rows;
}

}  // namespace client
