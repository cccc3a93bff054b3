#include "causes.h"

namespace views {

void Causes::Restarted() {
  m_sending = Cause::STACK;
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

Cause Causes::OfRequest(bool isHastened) const {
  return m_sending.value_or(isHastened ? Cause::CONSOLE : Cause::STACK);
}

Cause Causes::OfInterface(unsigned short vlan) const {
  return m_moved.count(vlan) != 0 ? Cause::INTERFACE : m_sending.value_or(Cause::INTERFACE);
}

}  // namespace views
