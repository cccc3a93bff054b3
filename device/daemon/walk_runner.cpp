#include "walk_runner.h"

#include <uv.h>

#include <algorithm>
#include <utility>

#include "device/stack/facts.h"
#include "device/stack/routing_stack.h"
#include "device/stack/upkeep.h"

namespace vantacored {

namespace {

// With one run of the stack, which takes four milliseconds at most, and what sessions send, a turn
// stays well below ten.
constexpr std::uint64_t BUSY_TURN_MILLISECONDS = 2;
// How long a stack that stands still is left alone while a walk waits for it: each time twice as
// long. When it goes on, the library's scheduler runs it as well.
constexpr std::uint64_t FIRST_REST_MILLISECONDS = 20;
constexpr std::uint64_t LONGEST_REST_MILLISECONDS = 500;

}  // namespace

WalkRunner::WalkRunner(uv_loop_s* loop, routing_stack::RoutingStack& stack,
                       std::function<void()> run)
    : m_loop(loop), m_stack(stack), m_run(std::move(run)), m_turn(loop), m_rest(loop) {}

unsigned int WalkRunner::Last() const { return m_stack.GetFacts().LastWalk(); }

std::vector<console::Walks::Walk> WalkRunner::Running() const {
  std::vector<Walk> walks;
  for (const routing_stack::RunningWalk& walk : m_stack.GetFacts().Walks()) {
    walks.push_back({walk.number, walk.first, walk.isHeld});
  }
  return walks;
}

void WalkRunner::Hold(unsigned int number) { m_stack.GetUpkeep().HoldWalk(number); }

void WalkRunner::GoOn(unsigned int number) {
  m_stack.GetUpkeep().GoOnWithWalk(number);
  Attend();
}

void WalkRunner::End(unsigned int number) {
  m_stack.GetUpkeep().EndWalk(number);
  Attend();
}

bool WalkRunner::HasRows() const {
  const auto walks = m_stack.GetFacts().Walks();
  return std::any_of(walks.begin(), walks.end(),
                     [](const routing_stack::RunningWalk& walk) { return !walk.isHeld; });
}

void WalkRunner::Attend() {
  m_restMilliseconds = FIRST_REST_MILLISECONDS;
  Look();
}

// A task or a timer that waits is not hurt by being started again.
void WalkRunner::Look() {
  if (!HasRows()) {
    return;
  }
  if (m_stack.GetFacts().HasWork()) {
    m_turn.Post([this] { Turn(); });
  } else {
    m_rest.Start(m_restMilliseconds, [this] { Look(); });
    m_restMilliseconds = std::min(2 * m_restMilliseconds, LONGEST_REST_MILLISECONDS);
  }
}

void WalkRunner::Turn() {
  if (uv_hrtime() / 1000000 < uv_now(m_loop) + BUSY_TURN_MILLISECONDS) {
    m_run();
  }
  Attend();
}

}  // namespace vantacored
