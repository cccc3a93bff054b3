#include "running_command.h"

#include <utility>

#include "device/program/printable.h"

namespace console {

RunningCommand::RunningCommand(unsigned short vlan, Operator by, Take take, Over over)
    : m_vlan(vlan), m_operator(std::move(by)), m_take(std::move(take)), m_over(std::move(over)) {}

void RunningCommand::Write(std::string_view text) {
  if (m_library) {
    m_library->Add(text);
  }
  Hand(text);
}

// A copy is called: the session may detach meanwhile.
void RunningCommand::Hand(std::string_view text) {
  const Take take = m_take;
  if (!take) {
    return;
  }
  const std::string safe = program::IsPlain(text) ? "" : program::PrintableLines(text);
  const std::string_view shown = safe.empty() ? text : std::string_view(safe);
  m_filter ? m_filter->Add(shown, take) : take(shown);
}

void RunningCommand::FinishOutput() {
  const std::unique_ptr<OutputFilter> filter = std::move(m_filter);
  if (const Take take = m_take; filter && take) {
    filter->End(take);
  }
}

void RunningCommand::Tell(std::string_view line) { Hand(line); }

void RunningCommand::Remark(std::string_view line) {
  if (const Take take = m_take) {
    take(line);
  }
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

unsigned int RunningCommand::GetSigns() const {
  return m_signs | (m_library ? m_library->Get() : 0);
}

}  // namespace console
