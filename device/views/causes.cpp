#include "causes.h"

namespace views {

void Causes::Restarted() {
  m_sending = Cause::STACK;
  m_retriedAt.reset();
  m_moved.clear();
}

void Causes::InterfaceChanged(unsigned short vlan, bool isByDocument) {
  if (isByDocument) {
    m_moved.erase(vlan);
  } else {
    m_moved.insert(vlan);
  }
}

void Causes::Settled() {
  m_sending.reset();
  m_moved.clear();
}

Cause Causes::OfRequest(std::uint64_t now) {
  if (m_sending) {
    return *m_sending;
  }
  if (m_retriedAt && now - *m_retriedAt < RETRY_PAUSE_MILLISECONDS) {
    m_retriedAt = now;
    return Cause::CONSOLE;
  }
  return Cause::STACK;
}

Cause Causes::OfInterface(unsigned short vlan) const {
  return m_moved.count(vlan) != 0 ? Cause::INTERFACE : m_sending.value_or(Cause::INTERFACE);
}

}  // namespace views
