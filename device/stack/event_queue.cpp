#include "event_queue.h"

#include <utility>

namespace routing_stack {

void EventQueue::TakeDue(std::uint64_t now) {
  while (!m_later.empty() && m_later.begin()->first <= now) {
    m_events.push_back(std::move(m_later.begin()->second));
    m_later.erase(m_later.begin());
  }
}

Event EventQueue::Pop() {
  Event event = std::move(m_events.front());
  m_events.pop_front();
  return event;
}

void EventQueue::RemoveLater(const std::function<bool(const Event&)>& condition) {
  for (auto it = m_later.begin(); it != m_later.end();) {
    it = condition(it->second) ? m_later.erase(it) : std::next(it);
  }
}

std::deque<Event> EventQueue::TakeAll() {
  std::deque<Event> all;
  all.swap(m_events);
  for (auto& later : m_later) {
    all.push_back(std::move(later.second));
  }
  m_later.clear();
  return all;
}

}  // namespace routing_stack
