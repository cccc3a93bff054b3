#include "shown.h"

#include <algorithm>
#include <vector>

namespace system_test {

namespace {

class Screen {
 public:
  void Put(char c) {
    std::string& line = m_lines[m_row];
    if (line.size() <= m_column) {
      line.resize(m_column + 1, ' ');
    }
    line[m_column++] = c;
  }
  void Erase(bool isRestOfScreen) {
    std::string& line = m_lines[m_row];
    line.resize(std::min(line.size(), m_column));
    if (isRestOfScreen) {
      m_lines.resize(m_row + 1);
    }
  }
  void Down() {
    if (++m_row == m_lines.size()) {
      m_lines.emplace_back();
    }
  }
  void Up() { m_row -= m_row > 0 ? 1 : 0; }
  void Return() { m_column = 0; }
  void Back() { m_column -= m_column > 0 ? 1 : 0; }
  std::string Text() const {
    std::string text = m_lines[0];
    for (std::size_t row = 1; row < m_lines.size(); ++row) {
      text += "\n" + m_lines[row];
    }
    return text;
  }

 private:
  std::vector<std::string> m_lines{1};
  std::size_t m_row = 0;
  std::size_t m_column = 0;
};

}  // namespace

std::string Shown(const std::string& bytes) {
  Screen screen;
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    const std::string sequence = bytes.substr(at, 3);
    if (sequence == "\033[K" || sequence == "\033[J") {
      screen.Erase(sequence[2] == 'J');
      at += 2;
    } else if (sequence == "\033[A") {
      screen.Up();
      at += 2;
    } else if (bytes[at] == '\n') {
      screen.Down();
    } else if (bytes[at] == '\r') {
      screen.Return();
    } else if (bytes[at] == '\b') {
      screen.Back();
    } else if (bytes[at] != '\a') {
      screen.Put(bytes[at]);
    }
  }
  return screen.Text();
}

}  // namespace system_test
