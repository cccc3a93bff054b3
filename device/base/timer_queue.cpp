#include "timer_queue.h"

#include <algorithm>
#include <vector>

namespace Tarsel {

std::uint64_t AddTime(std::uint64_t a, std::uint64_t b) {
  const std::uint64_t last = NO_DEADLINE - 1;
  return a > last || b > last - a ? last : a + b;
}

TimerLoop::Queue::~Queue() {
  for (auto& [key, entry] : entries) {
    TimerAccess::SetEntry(*entry.timer, nullptr);
  }
}

TimerLoop::Queue::Entry* TimerLoop::Queue::Add(TimerBase* timer, std::uint64_t deadline,
                                               unsigned int ticks) {
  const Key key(deadline, starts++);
  return &entries.emplace(key, Entry{timer, loop, key, ticks}).first->second;
}

void TimerLoop::Queue::Remove(Entry* entry) { entries.erase(entries.find(entry->key)); }

std::uint64_t TimerLoop::Queue::Earliest() const {
  return entries.empty() ? NO_DEADLINE : entries.begin()->first.first;
}

void TimerLoop::Queue::FireFirst() {
  const Entry& first = entries.begin()->second;
  TimerBase& timer = *first.timer;
  if (first.ticks == 0) {
    TimerAccess::SetEntry(timer, nullptr);
    entries.erase(entries.begin());
  } else {
    const std::uint64_t period = std::uint64_t{first.ticks} * GetTickMicroseconds();
    Move(first.key, AddTime(first.key.first, period));
  }
  TimerAccess::Dispatch(timer);
}

void TimerLoop::Queue::DropMissedPeriods(std::uint64_t now) {
  std::vector<std::pair<Key, std::uint64_t>> moves;
  for (const auto& [key, entry] : entries) {
    if (key.first > now) {
      break;
    }
    if (entry.ticks != 0) {
      const std::uint64_t period = std::uint64_t{entry.ticks} * GetTickMicroseconds();
      moves.emplace_back(key, now - (now - key.first) % period);
    }
  }
  for (const auto& [key, deadline] : moves) {
    Move(key, deadline);
  }
}

void TimerLoop::Queue::ChangeTick(std::uint64_t oldTick, std::uint64_t newTick, std::uint64_t now) {
  std::vector<std::pair<Key, std::uint64_t>> moves;
  for (const auto& [key, entry] : entries) {
    if (entry.ticks != 0) {
      const std::uint64_t oldPeriod = oldTick * entry.ticks;
      const std::uint64_t begin = key.first > oldPeriod ? key.first - oldPeriod : 0;
      moves.emplace_back(key, std::max(now, AddTime(begin, newTick * entry.ticks)));
    }
  }
  for (const auto& [key, deadline] : moves) {
    Move(key, deadline);
  }
}

// The entry keeps its place in memory, since its timer points at it.
void TimerLoop::Queue::Move(const Key& from, std::uint64_t deadline) {
  auto node = entries.extract(from);
  node.key().first = deadline;
  node.mapped().key = node.key();
  entries.insert(std::move(node));
}

}  // namespace Tarsel
