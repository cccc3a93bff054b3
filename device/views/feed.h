// Where events are published, and how watchers hear them.
#ifndef DEVICE_VIEWS_FEED_H
#define DEVICE_VIEWS_FEED_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <optional>
#include <utility>
#include <vector>

#include "causes.h"
#include "device/loop/loop_handles.h"
#include "event.h"
#include "questions.h"

namespace views {

class Watcher;

/// Hands each event to those who watch it. Whoever could publish one asks IsWatched first, so that
/// nothing is built while nobody watches. Everything is called on the loop's thread.
class Feed {
 public:
  /// The loop is borrowed. `clock` gives milliseconds since the epoch.
  Feed(uv_loop_s* loop, std::function<std::int64_t()> clock);
  Feed(const Feed&) = delete;
  Feed& operator=(const Feed&) = delete;

  /// Whether anybody watches events of this kind, or any.
  bool IsWatched(WatchQuery::Kind kind) const {
    return m_watchers[static_cast<std::size_t>(kind)] != 0;
  }
  bool IsWatched() const { return !m_all.empty(); }
  /// Calls `changed` after the answers of IsWatched may have changed: when a watcher comes or goes,
  /// so never from inside the stack's run.
  void CallWhenWatchedChanges(std::function<void()> changed) { m_changed = std::move(changed); }

  /// What the next events come from.
  Causes& GetCauses() { return m_causes; }

  /// Only notes: may be called from inside the stack's run. The VLAN counts if `what` has one.
  void Publish(unsigned short vlan, Cause cause, What what);

 private:
  friend class Watcher;

  void Add(Watcher& watcher);
  void Remove(Watcher& watcher);
  void Count(const Watcher& watcher, int by);
  void Due(Watcher& watcher);
  void WakeAll();

  const std::function<std::int64_t()> m_clock;
  std::function<void()> m_changed;
  Causes m_causes;
  std::list<Watcher*> m_all;
  std::array<unsigned int, 4> m_watchers{};  // by kind
  std::vector<Watcher*> m_due;               // have something that they wait for
  std::vector<Watcher*> m_waking;            // in WakeAll
  loop::Task m_wake;
};

/// One who watches, with what waits for it: events, not their texts, so that a reader that has
/// stopped costs a copy for each event and no more. Most events take a hundred bytes, as much as
/// their line.
class Watcher {
 public:
  /// As many bytes wait at most. What comes when they are there is left out, and so is everything
  /// after it until half of them have been read: a reader that is a little too slow has few gaps.
  static constexpr std::size_t MOST_BYTES = 1 << 20;
  /// Of many watchers each has an equal share of this.
  static constexpr std::size_t MOST_BYTES_OF_ALL = 16 << 20;

  /// The feed is borrowed. `wake` is called from the loop, once for each Wait; it may destroy any
  /// watcher.
  Watcher(Feed& feed, const WatchQuery& query, std::function<void()> wake);
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;
  ~Watcher();

  struct Taken {
    std::uint64_t leftOut = 0;  // that many events are missing before the event
    std::optional<Event> event;
  };
  /// The next that waits; neither of the two if nothing does. What is missing at the end comes
  /// without an event.
  Taken Take();
  bool IsEmpty() const { return m_events.empty() && m_leftOut == 0; }
  /// For a watcher that is empty: tells when it is not any more, in a later turn of the loop.
  void Wait() { m_isWaiting = true; }

 private:
  friend class Feed;

  struct Entry {
    std::uint64_t leftOut = 0;  // before it
    Event event;
  };

  static std::size_t SizeOf(const Event& event);
  std::size_t Room() const;
  bool Wants(const Event& event) const;
  void Hear(const Event& event);

  Feed& m_feed;
  const WatchQuery m_query;
  const std::function<void()> m_wake;
  bool m_isWaiting = false;
  std::deque<Entry> m_events;
  std::size_t m_bytes = 0;      // of m_events
  std::uint64_t m_leftOut = 0;  // after the last of m_events
};

}  // namespace views

#endif
