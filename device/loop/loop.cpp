// libuv calls a prepare handle each time before it waits for events: there a turn ends and the next
// one begins. Waiting itself takes no processor time.
#include "loop.h"

#include <uv.h>

#include <algorithm>
#include <ctime>
#include <stdexcept>
#include <string>
#include <utility>

#include "guard.h"

namespace loop {

namespace {

std::uint64_t ProcessorMicroseconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<std::uint64_t>(time.tv_sec) * 1000000 +
         static_cast<std::uint64_t>(time.tv_nsec) / 1000;
}

}  // namespace

Loop::Loop() : m_loop(new uv_loop_s), m_turns(new uv_prepare_s) {
  if (const int problem = uv_loop_init(m_loop.get())) {
    delete m_turns;
    throw std::runtime_error(std::string("the event loop: ") + uv_strerror(problem));
  }
  uv_prepare_init(m_loop.get(), m_turns);
  m_turns->data = this;
  m_turnBegin = ProcessorMicroseconds();
  uv_prepare_start(m_turns,
                   [](uv_prepare_t* turns) { static_cast<Loop*>(turns->data)->TurnEnds(); });
  // Measuring must not keep the loop running.
  uv_unref(reinterpret_cast<uv_handle_t*>(m_turns));
}

Loop::~Loop() {
  uv_close(reinterpret_cast<uv_handle_t*>(m_turns),
           [](uv_handle_t* closed) { delete reinterpret_cast<uv_prepare_t*>(closed); });
  // A thread of the pool touches the loop when its work is over.
  while (m_loop->active_reqs.count != 0) {
    uv_run(m_loop.get(), UV_RUN_ONCE);
  }
  // Lets handles close; what the library still holds on to may stay.
  uv_run(m_loop.get(), UV_RUN_NOWAIT);
  uv_loop_close(m_loop.get());
}

void Loop::TurnEnds() {
  Guard(m_atTurnEnd);
  const std::uint64_t now = ProcessorMicroseconds();
  m_longestTurn = std::max(m_longestTurn, now - m_turnBegin);
  m_statistics.Add(now - m_turnBegin, uv_now(m_loop.get()));
  m_turnBegin = now;
}

std::uint64_t Loop::FindLongestTurnOfLastMinute() const {
  return m_statistics.FindLongestOfLastMinute(uv_now(m_loop.get()));
}

std::uint64_t Loop::TakeLongestTurn() {
  const std::uint64_t present = ProcessorMicroseconds() - m_turnBegin;
  return std::max(std::exchange(m_longestTurn, 0), present);
}

// The turn's begin moves on by what does not count.
void Loop::Apart(const std::function<void()>& work) {
  const std::uint64_t begin = ProcessorMicroseconds();
  work();
  const std::uint64_t taken = ProcessorMicroseconds() - begin;
  m_longestApart = std::max(m_longestApart, taken);
  m_turnBegin += taken;
}

std::uint64_t Loop::TakeLongestApart() { return std::exchange(m_longestApart, 0); }

}  // namespace loop
