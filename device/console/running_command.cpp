#include "running_command.h"

#include <utility>

#include "device/program/printable.h"

namespace console {

namespace {

constexpr std::string_view USAGE = "Usage: ";

}  // namespace

RunningCommand::RunningCommand(unsigned short vlan, Operator by, Take take, Over over)
    : m_vlan(vlan), m_operator(std::move(by)), m_take(std::move(take)), m_over(std::move(over)) {}

void RunningCommand::Write(std::string_view text) {
  if (m_begin.size() < USAGE.size()) {
    m_begin.append(text, 0, USAGE.size() - m_begin.size());
  }
  Hand(text);
}

// A copy is called: the session may detach meanwhile.
void RunningCommand::Hand(std::string_view text) const {
  if (const Take take = m_take) {
    program::IsPlain(text) ? take(text) : take(program::PrintableLines(text));
  }
}

void RunningCommand::Tell(std::string_view line) { Hand(line); }

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

Result RunningCommand::GetResult() const {
  if (m_isMisunderstood || m_begin == USAGE) {
    return Result::USAGE;
  }
  if (m_isFaulty) {
    return Result::FAULTY;
  }
  if (m_isRefused) {
    return Result::REFUSED;
  }
  return m_differs ? Result::DIFFERS : Result::DONE;
}

}  // namespace console
