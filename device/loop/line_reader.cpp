#include "line_reader.h"

#include <unistd.h>
#include <uv.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace loop {

namespace {

constexpr std::size_t MAX_LINE = 4096;

}  // namespace

LineReader::LineReader(uv_loop_s* loop, int fd) : m_fd(fd), m_poll(loop, fd), m_turn(loop) {}

void LineReader::Next(std::function<void(const std::optional<std::string>&)> callback) {
  m_callback = std::move(callback);
  Look();
}

void LineReader::Look() {
  std::string line;
  if (TakeLine(line)) {
    std::exchange(m_callback, {})(line);
  } else if (m_isAtEnd) {
    std::exchange(m_callback, {})(std::nullopt);
  } else if (!m_poll.IsUsable()) {
    m_turn.Post([this] {
      Read();
      Look();
    });
  } else {
    m_poll.Start(UV_READABLE, [this](int) {
      m_poll.Start(0, {});
      Read();
      Look();
    });
  }
}

bool LineReader::TakeLine(std::string& line) {
  std::size_t end = m_buffer.find('\n');
  if (m_isSkipping && end != std::string::npos) {
    m_buffer.erase(0, end + 1);
    m_isSkipping = false;
    end = m_buffer.find('\n');
  }
  if (m_isSkipping) {
    m_buffer.clear();
    return false;
  }
  if (end == std::string::npos && m_buffer.size() <= MAX_LINE &&
      !(m_isAtEnd && !m_buffer.empty())) {
    return false;
  }
  line = m_buffer.substr(0, end);
  m_isSkipping = end == std::string::npos && !m_isAtEnd;
  m_buffer.erase(0, end == std::string::npos ? end : end + 1);
  line.resize(std::min(line.size(), MAX_LINE));
  return true;
}

void LineReader::Read() {
  char bytes[4096];
  const ssize_t count = read(m_fd, bytes, sizeof bytes);
  if (count > 0) {
    m_buffer.append(bytes, static_cast<std::size_t>(count));
  } else if (count == 0 || (errno != EINTR && errno != EAGAIN)) {
    m_isAtEnd = true;
    m_hasFailed = count < 0;
    if (m_hasFailed) {
      m_buffer.clear();  // a line without its end may say something else
    }
  }
}

}  // namespace loop
