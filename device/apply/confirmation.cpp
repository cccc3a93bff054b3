#include "confirmation.h"

#include <algorithm>
#include <utility>

namespace apply {

Confirmation::Confirmation(const rows::StackPort& port, std::function<void()> runOut)
    : m_port(port), m_runOut(std::move(runOut)), m_timer("Confirmation") {
  m_timer.SetCallback(
      new Tarsel::MemberCallback2<Confirmation, unsigned int, void*>(this, &Confirmation::RunOut));
}

void Confirmation::Start(unsigned int seconds) {
  const unsigned int milliseconds = seconds * 1000;
  m_until = m_port.Now() + milliseconds;
  m_timer.Start(milliseconds);
}

std::uint64_t Confirmation::CountSecondsLeft() const {
  return (m_until - std::min(m_port.Now(), m_until) + 999) / 1000;
}

std::string Confirmation::Describe(const revisions::Unconfirmed& open) const {
  const std::string number = std::to_string(open.revision);
  return "revision " + number + " of " + open.asker + " waits for its confirmation, " +
         std::to_string(CountSecondsLeft()) + " s are left: `confirm " + number +
         "` or `undo` it first";
}

}  // namespace apply
