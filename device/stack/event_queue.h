// The stack's events: first in, first out, and a second queue of those that are due later.
#ifndef DEVICE_STACK_EVENT_QUEUE_H
#define DEVICE_STACK_EVENT_QUEUE_H

#include <deque>
#include <functional>
#include <map>

#include "requests.h"
#include "walks.h"

namespace routing_stack {

/// The stack is ready for row requests.
struct ReadyEvent {};

/// A descriptor's registration, new mask or removal that the host has to be told.
struct DescriptorEvent {
  enum Kind { kRegister, kChange, kUnregister } kind;
  int fd;
  int id;
  unsigned int mask;
};

using Event = RowRequests::VariantWith<ReadyEvent, Walk, DescriptorEvent>;

class EventQueue {
 public:
  void Push(Event event) { m_events.push_back(std::move(event)); }
  void PushFront(Event event) { m_events.push_front(std::move(event)); }
  /// To be done at `due`. Events of the same time keep the order in which they came.
  void PushLater(std::uint64_t due, Event event) { m_later.emplace(due, std::move(event)); }

  bool IsEmpty() const { return m_events.empty(); }
  bool HasLater() const { return !m_later.empty(); }
  /// When the first later event is due. There must be one.
  std::uint64_t FirstDue() const { return m_later.begin()->first; }

  /// Moves the later events that are due at `now` to the end of the queue.
  void TakeDue(std::uint64_t now);
  /// Takes the first event. The queue must not be empty.
  Event Pop();

  /// Removes the later events that satisfy the condition.
  void RemoveLater(const std::function<bool(const Event&)>& condition);
  /// Removes all events and returns them in order, those that were due later at the end.
  std::deque<Event> TakeAll();

 private:
  std::deque<Event> m_events;
  std::multimap<std::uint64_t, Event> m_later;
};

}  // namespace routing_stack

#endif
