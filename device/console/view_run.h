// A view that is being written to an operator.
#ifndef DEVICE_CONSOLE_VIEW_RUN_H
#define DEVICE_CONSOLE_VIEW_RUN_H

#include <functional>
#include <memory>

#include "device/loop/loop_handles.h"
#include "device/views/questions.h"
#include "running_command.h"

namespace console {

/// Writes pieces of the view to the command, in turns of the loop of TURN_NANOSECONDS each. Nothing
/// more comes once the run is destroyed.
class ViewRun {
 public:
  static constexpr std::uint64_t TURN_NANOSECONDS = 1000000;

  /// The first turn is a later one of the loop. `pause` is called when there is nothing to write
  /// for a while, so that what has been written can be shown, and `over` when the view is over.
  ViewRun(uv_loop_s* loop, views::AnyView view, std::shared_ptr<RunningCommand> command,
          std::function<void()> pause, std::function<void()> over);
  ViewRun(const ViewRun&) = delete;
  ViewRun& operator=(const ViewRun&) = delete;

  /// No further piece comes until it goes on.
  void Hold() { m_isHeld = true; }
  void GoOn();

 private:
  void Proceed();
  void Turn();
  views::View::Rest WritePieces();
  void End();

  std::shared_ptr<RunningCommand> m_command;
  const std::function<void()> m_pause;
  const std::function<void()> m_over;
  views::AnyView m_view;
  loop::Task m_next;
  bool m_isHeld = false;
  bool m_isWaiting = false;  // for the view's wake
};

}  // namespace console

#endif
