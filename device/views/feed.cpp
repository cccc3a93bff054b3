#include "feed.h"

#include <algorithm>
#include <string>
#include <utility>

namespace views {

namespace {

template <WatchQuery::Kind KIND>
using EventOf = std::variant_alternative_t<static_cast<std::size_t>(KIND), What>;
static_assert(std::is_same_v<EventOf<WatchQuery::Kind::ROUTE>, RouteEvent> &&
                  std::is_same_v<EventOf<WatchQuery::Kind::REQUEST>, RequestEvent> &&
                  std::is_same_v<EventOf<WatchQuery::Kind::INTERFACE>, InterfaceEvent> &&
                  std::is_same_v<EventOf<WatchQuery::Kind::RELOAD>, ReloadEvent>,
              "the kinds have the order of their events");

// Of a copy of the text. A short one may be kept within its object.
std::size_t HeapOf(const std::string& text) { return text.empty() ? 0 : text.size() + 1; }

struct HeapOfEvent {
  std::size_t operator()(const RequestEvent& request) const {
    const auto* const row = std::get_if<rows::ProtocolRow>(&request.row);
    return row == nullptr ? 0 : HeapOf(row->key);
  }
  std::size_t operator()(const InterfaceEvent& interface) const {
    return HeapOf(interface.interface) + HeapOf(interface.address);
  }
  std::size_t operator()(const ReloadEvent& reload) const { return HeapOf(reload.line); }
  std::size_t operator()(const RouteEvent&) const { return 0; }
  std::size_t operator()(const RestartEvent&) const { return 0; }
};

void Forget(std::vector<Watcher*>& watchers, const Watcher* gone) {
  watchers.erase(std::remove(watchers.begin(), watchers.end(), gone), watchers.end());
}

}  // namespace

Feed::Feed(uv_loop_s* loop, std::function<std::int64_t()> clock)
    : m_clock(std::move(clock)), m_wake(loop) {}

void Feed::Publish(unsigned short vlan, Cause cause, What what) {
  const Event event{m_clock(), vlan, cause, std::move(what)};
  for (Watcher* const watcher : m_all) {
    if (watcher->Wants(event)) {
      watcher->Hear(event);
    }
  }
}

void Feed::Add(Watcher& watcher) {
  m_all.push_back(&watcher);
  Count(watcher, 1);
}

void Feed::Remove(Watcher& watcher) {
  m_all.remove(&watcher);
  Forget(m_due, &watcher);
  Forget(m_waking, &watcher);
  Count(watcher, -1);
}

void Feed::Count(const Watcher& watcher, int by) {
  for (std::size_t kind = 0; kind < m_watchers.size(); ++kind) {
    const auto& only = watcher.m_query.kind;
    if (!only || static_cast<std::size_t>(*only) == kind) {
      m_watchers[kind] += static_cast<unsigned int>(by);
    }
  }
  if (m_changed) {
    m_changed();
  }
}

void Feed::Due(Watcher& watcher) {
  m_due.push_back(&watcher);
  m_wake.Post([this] { WakeAll(); });
}

// Whoever is woken may destroy watchers, and may bring about events that are due in the next turn.
void Feed::WakeAll() {
  m_waking.swap(m_due);
  while (!m_waking.empty()) {
    Watcher* const watcher = m_waking.back();
    m_waking.pop_back();
    const std::function<void()> wake = watcher->m_wake;  // it may destroy the watcher
    wake();
  }
}

Watcher::Watcher(Feed& feed, const WatchQuery& query, std::function<void()> wake)
    : m_feed(feed), m_query(query), m_wake(std::move(wake)) {
  m_feed.Add(*this);
}

Watcher::~Watcher() { m_feed.Remove(*this); }

Watcher::Taken Watcher::Take() {
  if (m_events.empty()) {
    return {std::exchange(m_leftOut, 0), std::nullopt};
  }
  Taken taken{m_events.front().leftOut, std::move(m_events.front().event)};
  m_events.pop_front();
  m_bytes -= SizeOf(*taken.event);
  return taken;
}

std::size_t Watcher::SizeOf(const Event& event) {
  return sizeof(Entry) + std::visit(HeapOfEvent(), event.what);
}

std::size_t Watcher::Room() const {
  return std::min(MOST_BYTES, MOST_BYTES_OF_ALL / m_feed.m_all.size());
}

// What happens in no VLAN is everybody's, and the restart whatever the kind is that is watched.
bool Watcher::Wants(const Event& event) const {
  const bool isRestart = std::holds_alternative<RestartEvent>(event.what);
  const bool isOfKind =
      !m_query.kind || static_cast<std::size_t>(*m_query.kind) == event.what.index();
  return (isRestart || isOfKind) &&
         (!m_query.vlan || !HasVlan(event.what) || event.vlan == *m_query.vlan);
}

void Watcher::Hear(const Event& event) {
  const std::size_t room = m_leftOut == 0 ? Room() : Room() / 2;
  const std::size_t size = SizeOf(event);
  if (m_bytes + size > room) {
    ++m_leftOut;
  } else {
    m_events.push_back({std::exchange(m_leftOut, 0), event});
    m_bytes += size;
  }
  if (std::exchange(m_isWaiting, false)) {
    m_feed.Due(*this);
  }
}

}  // namespace views
