// Whether the machine's switches let it forward what the device wants.
#ifndef DEVICE_MACHINE_SWITCH_CHECK_H
#define DEVICE_MACHINE_SWITCH_CHECK_H

#include <cstddef>
#include <functional>
#include <list>
#include <optional>

#include "device/keepers/interfaces.h"
#include "device/kernel/switches.h"
#include "device/loop/work.h"
#include "device/rows/comparer.h"
#include "kernel_routes.h"

namespace machine {

/// Returns what tells, in any thread, which switches stand against the routes that are written now;
/// empty if none are written.
std::function<kernel::Obstacles()> MakeSwitchCheck(const keepers::Interfaces& interfaces,
                                                   const KernelRoutes& routes);

/// Looks at the switches for `verify`.
class SwitchVerifier {
 public:
  explicit SwitchVerifier(uv_loop_s* loop) : m_loop(loop) {}

  /// Carries out a check in the thread pool and calls `done` from the loop, but not if the object
  /// goes before. Without a check there is no verdict, and `done` is called at once.
  void Verify(std::function<kernel::Obstacles()> check, std::size_t mostLines,
              std::function<void(std::optional<rows::Verdict>)> done);

 private:
  uv_loop_s* const m_loop;
  std::list<loop::Work> m_looking;  // one for each that is under way
};

}  // namespace machine

#endif
