#include "command_walks.h"

namespace console {

void CommandWalks::Begun() {
  m_last = m_walks.Last();
  if (*m_last != m_before) {
    m_walks.Attend();
  }
}

template <class Action>
void CommandWalks::ForEach(Action action) const {
  const unsigned int last = m_last.value_or(m_walks.Last());
  if (last == m_before) {
    return;
  }
  for (const Walks::Walk& walk : m_walks.Running()) {
    if (walk.first > m_before && walk.first <= last) {
      action(walk.number);
    }
  }
}

void CommandWalks::Hold() const {
  ForEach([this](unsigned int number) { m_walks.Hold(number); });
}

void CommandWalks::GoOn() const {
  ForEach([this](unsigned int number) { m_walks.GoOn(number); });
}

void CommandWalks::End() const {
  ForEach([this](unsigned int number) { m_walks.End(number); });
}

}  // namespace console
