#include "running_command.h"

#include <string_view>
#include <utility>

#include "device/program/printable.h"

namespace console {

namespace {

constexpr std::string_view USAGE = "Usage: ";

}  // namespace

RunningCommand::RunningCommand(unsigned short vlan, bool seesLog, Take take, Over over)
    : m_vlan(vlan), m_seesLog(seesLog), m_take(std::move(take)), m_over(std::move(over)) {}

void RunningCommand::Write(const std::string& text) {
  m_begin.append(text, 0, USAGE.size() - m_begin.size());
  Hand(text);
}

// A copy is called: the session may detach meanwhile.
void RunningCommand::Hand(const std::string& text) const {
  if (const Take take = m_take) {
    take(program::PrintableLines(text));
  }
}

void RunningCommand::Tell(const std::string& line) { Hand(line); }

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
  return m_isRefused ? Result::REFUSED : Result::DONE;
}

}  // namespace console
