// The length of a timer tick, which follows the work.
#ifndef DEVICE_DAEMON_PACE_H
#define DEVICE_DAEMON_PACE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

namespace vantacored {

/// What the tick depends on, as it is at one moment.
struct Traffic {
  /// The host's items in the library's scheduler: those that wait to be sent, that have no answer
  /// yet, or that are being retried.
  std::size_t waiting = 0;
  /// How many of these are being retried.
  std::size_t retried = 0;
  /// A number that grows with each answer of the stack after which nothing is tried again.
  std::uint64_t concluded = 0;
  /// The items there that were given up, or some more than these.
  std::size_t givenUp = 0;
};

/// Sets the platform's tick (Tarsel::TimerLoop). The library's scheduler makes a pass over its
/// items every 100 ticks and looks at 31 of them, so the tick decides how fast requests reach the
/// stack, and how often a process wakes for nothing.
///
/// - SHORT while requests wait that are not retries, and the stack answers for good; SHORTEST,
///   which is half of that, if others are retried or were given up. A pass that has looked at 31
///   items of a VLAN ends there, and the next begins after that VLAN; if all that it finds is such
///   items, it was for nothing. So every other pass may be, and the rest comes as fast as without
///   them.
/// - NORMAL while what waits is being retried, or the stack answers nothing for good: then short
///   ticks would only wake the process. A pass comes every 100 ms, so that ten tries take a second.
///   Retries of some rows do not slow the others down: a retried item waits by itself.
/// - IDLE while nothing waits.
///
/// A tick that is fixed stays as it is. The pace has no timer of its own: it looks when it is told
/// to, at the end of each turn of the loop, which costs next to nothing.
class Pace {
 public:
  /// Measured with 100,000 routes: 10 us take 3.4 s and 4.0 us of processor time a route, 5 us 1.7
  /// s and 3.4 us, 2 us 0.8 s and 3.1 us, 1 us 0.8 s and 5.2 us, because the scheduler then passes
  /// again and again over items whose answer has not come.
  static constexpr unsigned int SHORT_MICROSECONDS = 2;
  static constexpr unsigned int SHORTEST_MICROSECONDS = 1;
  static constexpr unsigned int NORMAL_MICROSECONDS = 1000;
  static constexpr unsigned int IDLE_MICROSECONDS = 10000;
  /// How long ticks stay short without such an answer.
  static constexpr std::uint64_t PATIENCE_MILLISECONDS = 100;

  /// `look` is called from Look only; `now` tells milliseconds that never go back. `fixed` is the
  /// tick that the operator wants for good, in microseconds. The tick is set at once.
  Pace(std::function<Traffic()> look, std::function<std::uint64_t()> now,
       std::optional<unsigned int> fixed);

  /// Fixes the tick until it is given back with nothing: to what the operator wanted for good, or
  /// to the work.
  void Fix(std::optional<unsigned int> microseconds);
  /// About how many requests for routes and rules reach the stack in a second while many wait.
  std::uint64_t RequestsASecond() const;
  /// Sets the tick that fits the work now.
  void Look();

 private:
  unsigned int Choose();
  bool IsAnswering(const Traffic& traffic);

  const std::function<Traffic()> m_look;
  const std::function<std::uint64_t()> m_now;
  const std::optional<unsigned int> m_fixedForGood;
  std::optional<unsigned int> m_fixed;
  bool m_hasFresh = false;         // requests waited that were not retries
  std::uint64_t m_concluded = 0;   // at the last look
  std::uint64_t m_lastAnswer = 0;  // when it grew, or when fresh requests came
};

}  // namespace vantacored

#endif
