#include "running_command.h"

#include <utility>

namespace console {

RunningCommand::RunningCommand(unsigned short vlan, bool seesLog, Take take, Over over)
    : m_vlan(vlan), m_seesLog(seesLog), m_take(std::move(take)), m_over(std::move(over)) {}

// A copy is called: the session may detach meanwhile.
void RunningCommand::Write(const std::string& text) {
  if (const Take take = m_take) {
    take(text);
  }
}

void RunningCommand::Complain(const std::string& line) {
  m_isRefused = true;
  Write(line);
}

void RunningCommand::End() {
  const Over over = std::exchange(m_over, nullptr);
  if (!std::exchange(m_isOver, true) && over) {
    over();
  }
}

void RunningCommand::LoseConsole() {
  m_hasLostConsole = true;
  End();
}

void RunningCommand::Detach() {
  m_take = nullptr;
  m_over = nullptr;
}

}  // namespace console
