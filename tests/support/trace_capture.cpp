#include "tests/support/trace_capture.h"

#include <algorithm>
#include <utility>

#include "device/base/trace_control.h"

namespace test_support {

namespace {

constexpr int ALL_LEVELS = 10;

std::string LevelMark(int level) {
  return level == Tarsel::TRACE_NO_LEVEL ? "-:" : std::to_string(level) + ":";
}

}  // namespace

TraceCapture::TraceCapture() : m_levelBefore(Tarsel::GetTraceLevel()) {
  Tarsel::SetTraceLevel(ALL_LEVELS);
  Tarsel::SetTraceSink([this](int level, const std::string& message) {
    m_lines.push_back(LevelMark(level) + message);
  });
  Tarsel::SetAssertSink([this](const char* expression, const char* source, int line) {
    m_assertions.push_back(std::string(expression) + "|" + source + "|" + std::to_string(line));
  });
}

TraceCapture::~TraceCapture() {
  Tarsel::SetTraceSink({});
  Tarsel::SetAssertSink({});
  Tarsel::SetTraceLevel(m_levelBefore);
}

std::vector<std::string> TraceCapture::Take() { return std::exchange(m_lines, {}); }

std::vector<std::string> TraceCapture::AtLevel(int level) const {
  const std::string mark = LevelMark(level);
  std::vector<std::string> messages;
  for (const std::string& line : m_lines) {
    if (line.compare(0, mark.size(), mark) == 0) {
      messages.push_back(line.substr(mark.size()));
    }
  }
  return messages;
}

bool TraceCapture::Contains(const std::string& text) const {
  return std::any_of(m_lines.begin(), m_lines.end(), [&text](const std::string& line) {
    return line.find(text) != std::string::npos;
  });
}

std::size_t TraceCapture::CountOf(const std::string& line) const {
  return static_cast<std::size_t>(std::count(m_lines.begin(), m_lines.end(), line));
}

std::vector<std::string> TraceCapture::TakeAssertions() { return std::exchange(m_assertions, {}); }

}  // namespace test_support
