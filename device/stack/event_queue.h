// The stack's events: first in, first out, and a second queue of those that are due later.
#ifndef DEVICE_STACK_EVENT_QUEUE_H
#define DEVICE_STACK_EVENT_QUEUE_H

#include <deque>
#include <functional>
#include <map>
#include <optional>

#include "requests.h"
#include "waiting_rows.h"
#include "walks.h"

namespace routing_stack {

/// The stack is ready for row requests.
struct ReadyEvent {};

/// A walk's handler is to be called. The walk lives as long as its turn waits.
struct WalkTurn {
  Walk* walk;
};

/// A descriptor's registration, new mask or removal that the host has to be told.
struct DescriptorEvent {
  enum Kind { kRegister, kChange, kUnregister } kind;
  int fd;
  int id;
  unsigned int mask;
};

using Event = RowRequests::VariantWith<ReadyEvent, WalkTurn, DescriptorEvent>;

class EventQueue {
 public:
  void Push(Event event);
  void PushFront(Event event);
  /// To be done at `due`. Events of the same time keep the order in which they came.
  void PushLater(std::uint64_t due, Event event);

  bool IsEmpty() const { return m_events.empty(); }
  bool HasLater() const { return !m_later.empty(); }
  /// When the first later event is due. There must be one.
  std::uint64_t FirstDue() const { return m_later.begin()->first; }

  /// Whether any request waits, later ones included.
  bool HasRequests() const { return m_requests != 0; }
  /// When the first of the requests that wait for a row came; nothing if none does. The first
  /// question builds an index of the rows, which is kept until no request waits.
  std::optional<std::uint64_t> WaitingSince(const Oid& row) const;

  /// Moves the later events that are due at `now` to the end of the queue.
  void TakeDue(std::uint64_t now);
  /// Takes the first event. The queue must not be empty.
  Event Pop();

  /// Removes the later events that satisfy the condition.
  void RemoveLater(const std::function<bool(const Event&)>& condition);
  /// Removes the turn of a walk that waits for it.
  void RemoveTurn(const Walk& walk);
  /// Removes all events and returns them in order, those that were due later at the end.
  std::deque<Event> TakeAll();

 private:
  void CountIn(const Event& event);
  void CountOut(const Event& event);

  std::deque<Event> m_events;
  std::multimap<std::uint64_t, Event> m_later;
  std::size_t m_requests = 0;
  mutable std::optional<WaitingRows> m_rows;
};

}  // namespace routing_stack

#endif
