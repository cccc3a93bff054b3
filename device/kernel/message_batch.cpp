#include "message_batch.h"

#include <linux/netlink.h>

#include <cstring>

namespace kernel {

const std::vector<char>& MessageBatch::Finish() {
  nlmsghdr last;
  std::memcpy(&last, m_bytes.data() + m_last, sizeof last);
  last.nlmsg_flags |= NLM_F_ACK;
  std::memcpy(m_bytes.data() + m_last, &last, sizeof last);
  return m_bytes;
}

void MessageBatch::Append(const char* message, std::size_t size) {
  m_last = m_bytes.size();
  m_bytes.insert(m_bytes.end(), message, message + size);
}

}  // namespace kernel
