// The time that an open reload has to be confirmed.
#ifndef DEVICE_APPLY_CONFIRMATION_H
#define DEVICE_APPLY_CONFIRMATION_H

#include <cstdint>
#include <functional>
#include <string>

#include "device/revisions/revision.h"
#include "device/rows/stack_port.h"
#include "tarsel/timer.h"

namespace apply {

/// Runs from when a reload is opened until it is confirmed or goes back.
class Confirmation {
 public:
  /// `port` is borrowed. `runOut` is called from the loop when the time is over.
  Confirmation(const rows::StackPort& port, std::function<void()> runOut);

  void Start(unsigned int seconds);
  void Stop() { m_timer.Stop(); }

  /// How many seconds are left, rounded up, while it runs.
  std::uint64_t CountSecondsLeft() const;
  /// For an operator, for example "revision 18 of alice at the socket waits for its confirmation,
  /// 42 s are left: `confirm 18` or `undo` it first".
  std::string Describe(const revisions::Unconfirmed& open) const;

 private:
  void RunOut(unsigned int, void*) { m_runOut(); }

  const rows::StackPort& m_port;
  const std::function<void()> m_runOut;
  Tarsel::OneShotTimer m_timer;
  std::uint64_t m_until = 0;  // by the port's clock
};

}  // namespace apply

#endif
