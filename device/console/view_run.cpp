#include "view_run.h"

#include <uv.h>

#include <exception>
#include <new>
#include <string>
#include <utility>

namespace console {

using views::View;

ViewRun::ViewRun(uv_loop_s* loop, views::AnyView view, std::shared_ptr<RunningCommand> command,
                 std::function<void()> pause, std::function<void()> over)
    : m_command(std::move(command)),
      m_pause(std::move(pause)),
      m_over(std::move(over)),
      m_view(std::move(view)),
      m_next(loop) {
  m_view->CallWhenMore([this] {
    m_isWaiting = false;
    Proceed();
  });
  Proceed();
}

void ViewRun::GoOn() {
  m_isHeld = false;
  Proceed();
}

// That a stream has more to tell is no room for its reader.
void ViewRun::Proceed() {
  if (m_view && !m_isWaiting && !m_isHeld) {
    m_next.Post([this] { Turn(); });
  }
}

void ViewRun::Turn() {
  View::Rest rest = View::Rest::NONE;
  try {
    rest = WritePieces();
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& problem) {
    m_command->Write(std::string(problem.what()) + "\n");
    m_command->Refuse();
  }
  if (rest == View::Rest::NONE) {
    End();
  } else if (rest == View::Rest::LATER) {
    m_isWaiting = true;
    m_pause();
  } else {
    Proceed();
  }
}

// The reader's queue may hold the run from inside Write.
View::Rest ViewRun::WritePieces() {
  const std::uint64_t end = uv_hrtime() + TURN_NANOSECONDS;
  View::Rest rest = View::Rest::MORE;
  while (rest == View::Rest::MORE && !m_isHeld && uv_hrtime() < end) {
    std::string piece;
    rest = m_view->Next(piece);
    m_command->Write(piece);
  }
  return rest;
}

void ViewRun::End() {
  if (m_view->IsRefused()) {
    m_command->Refuse();
  }
  m_view.reset();
  m_over();
}

}  // namespace console
