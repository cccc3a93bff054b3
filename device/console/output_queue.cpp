#include "output_queue.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

#include "device/wire/wire.h"

namespace console {

namespace {

// Of a block that is full, apart from one that a single long text makes.
constexpr std::size_t BLOCK_SIZE = 64 * 1024;
// What the letters of the messages may add to a text without making a block grow.
constexpr std::size_t MARGIN = 256;

constexpr const char* CUT_HERE =
    "\nOutput was cut here: more than 8 MB were waiting for their reader\n";

}  // namespace

// The first block grows as it is needed: most outputs are short.
std::string& OutputQueue::RoomFor(std::size_t size) {
  if (m_blocks.empty()) {
    m_blocks.emplace_back();
  } else if (m_blocks.back().size() + size + MARGIN > BLOCK_SIZE) {
    m_blocks.emplace_back().reserve(BLOCK_SIZE);
  }
  return m_blocks.back();
}

bool OutputQueue::Add(std::string_view text) {
  if (m_isCut || text.empty()) {
    return !m_isCut;
  }
  std::string& block = RoomFor(text.size());
  const std::size_t before = block.size();
  wire::AppendOutput(block, text);
  m_isCut = m_waiting + block.size() - before > LIMIT;
  if (m_isCut) {
    block.resize(before);
    wire::AppendOutput(block, CUT_HERE);
  }
  m_waiting += block.size() - before;
  return !m_isCut;
}

void OutputQueue::AddMessage(const std::string& line) {
  RoomFor(line.size()) += line;
  m_waiting += line.size();
}

void OutputQueue::AddReply(const std::string& line) {
  AddMessage(line);
  m_isCut = false;
}

void OutputQueue::Drop() {
  const bool isMidLine = m_sent > 0 && m_blocks.front()[m_sent - 1] != '\n';
  if (isMidLine) {
    std::string& first = m_blocks.front();
    first.erase(first.find('\n', m_sent) + 1);
    m_blocks.resize(1);
    m_waiting = first.size() - m_sent;
  } else {
    m_blocks.clear();
    m_sent = 0;
    m_waiting = 0;
  }
  m_isCut = false;
}

bool OutputQueue::Send(int socket) {
  m_isStopped = false;
  for (std::size_t left = MOST_A_SEND; left > 0 && !IsEmpty();) {
    const std::string& block = m_blocks.front();
    const ssize_t count = send(socket, block.data() + m_sent, std::min(left, block.size() - m_sent),
                               MSG_DONTWAIT | MSG_NOSIGNAL);
    if (count < 0) {
      m_isStopped = errno != EINTR;
      return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
    }
    left -= static_cast<std::size_t>(count);
    m_sent += static_cast<std::size_t>(count);
    m_waiting -= static_cast<std::size_t>(count);
    if (m_sent == block.size()) {
      m_blocks.pop_front();
      m_sent = 0;
    }
  }
  return true;
}

}  // namespace console
