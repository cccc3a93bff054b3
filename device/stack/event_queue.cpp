#include "event_queue.h"

#include <algorithm>
#include <utility>

namespace routing_stack {

namespace {

/// Calls `use` with the event if it is a request.
template <typename Use>
void IfRequest(const Event& event, Use use) {
  std::visit(
      [&use](const auto& one) {
        if constexpr (std::is_base_of_v<Request, std::decay_t<decltype(one)>>) {
          use(one);
        }
      },
      event);
}

bool IsRequest(const Event& event) {
  bool isRequest = false;
  IfRequest(event, [&isRequest](const auto&) { isRequest = true; });
  return isRequest;
}

void AddRow(const Event& event, WaitingRows& rows) {
  IfRequest(event, [&rows](const auto& request) { rows.Add(request.GetOid(), request.since); });
}

}  // namespace

void EventQueue::Push(Event event) {
  CountIn(event);
  m_events.push_back(std::move(event));
}

void EventQueue::PushFront(Event event) {
  CountIn(event);
  m_events.push_front(std::move(event));
}

void EventQueue::PushLater(std::uint64_t due, Event event) {
  CountIn(event);
  m_later.emplace(due, std::move(event));
}

// The index costs a request a good part of what its work costs, so there is none while nobody asks.
void EventQueue::CountIn(const Event& event) {
  if (IsRequest(event)) {
    ++m_requests;
    if (m_rows) {
      AddRow(event, *m_rows);
    }
  }
}

void EventQueue::CountOut(const Event& event) {
  if (!IsRequest(event)) {
    return;
  }
  if (--m_requests == 0) {
    m_rows.reset();
  } else if (m_rows) {
    IfRequest(event,
              [this](const auto& request) { m_rows->Remove(request.GetOid(), request.since); });
  }
}

std::optional<std::uint64_t> EventQueue::WaitingSince(const Oid& row) const {
  if (!HasRequests()) {
    return std::nullopt;
  }
  if (!m_rows) {
    m_rows.emplace();
    for (const Event& event : m_events) {
      AddRow(event, *m_rows);
    }
    for (const auto& later : m_later) {
      AddRow(later.second, *m_rows);
    }
  }
  return m_rows->Since(row);
}

void EventQueue::TakeDue(std::uint64_t now) {
  while (!m_later.empty() && m_later.begin()->first <= now) {
    m_events.push_back(std::move(m_later.begin()->second));
    m_later.erase(m_later.begin());
  }
}

Event EventQueue::Pop() {
  Event event = std::move(m_events.front());
  m_events.pop_front();
  CountOut(event);
  return event;
}

void EventQueue::RemoveLater(const std::function<bool(const Event&)>& condition) {
  for (auto it = m_later.begin(); it != m_later.end();) {
    if (condition(it->second)) {
      CountOut(it->second);
      it = m_later.erase(it);
    } else {
      ++it;
    }
  }
}

void EventQueue::RemoveTurn(const Walk& walk) {
  const auto turn = std::find_if(m_events.begin(), m_events.end(), [&walk](const Event& event) {
    const WalkTurn* const one = std::get_if<WalkTurn>(&event);
    return one != nullptr && one->walk == &walk;
  });
  if (turn != m_events.end()) {
    m_events.erase(turn);
  }
}

std::deque<Event> EventQueue::TakeAll() {
  std::deque<Event> all;
  all.swap(m_events);
  for (auto& later : m_later) {
    all.push_back(std::move(later.second));
  }
  m_later.clear();
  m_requests = 0;
  m_rows.reset();
  return all;
}

}  // namespace routing_stack
