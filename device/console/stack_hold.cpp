#include "stack_hold.h"

#include "device/stack/stack_control.h"

namespace console {

StackHold::StackHold(routing_stack::Control& stack) : m_stack(stack), m_alone("lab stack hold") {
  m_alone.SetCallback(
      new Tarsel::MemberCallback2<StackHold, unsigned int, void*>(this, &StackHold::OnTimeout));
}

unsigned int StackHold::Hold() {
  m_stack.Hold();
  m_alone.Stop();
  m_hold = ++m_count;
  return m_hold;
}

void StackHold::Release() {
  m_alone.Stop();
  m_hold = 0;
  m_stack.Release();
}

void StackHold::End(unsigned int hold) {
  if (hold != 0 && hold == m_hold) {
    Release();
  }
}

void StackHold::LeaveAlone(unsigned int hold) {
  if (hold != 0 && hold == m_hold) {
    m_alone.Start(ALONE_MILLISECONDS);
  }
}

void StackHold::OnTimeout(unsigned int, void*) { Release(); }

}  // namespace console
