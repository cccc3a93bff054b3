// The device, held against itself.
#ifndef DEVICE_DAEMON_VERIFICATION_H
#define DEVICE_DAEMON_VERIFICATION_H

#include <cstddef>
#include <functional>
#include <list>
#include <vector>

#include "device/loop/work.h"
#include "device/machine/kernel_side.h"
#include "device/rows/verify.h"
#include "device/views/old_requests.h"
#include "device/views/sources.h"

namespace vantacored {

/// What `verify` does: the folder against what is in force, that against what the stack has been
/// asked for, the stack's tables, the kernel's links, routes and switches, and how old requests are.
/// Belongs to the loop's thread.
class Verification {
 public:
  using Verdicts = std::vector<rows::Verdict>;
  using Done = std::function<void(const Verdicts& verdicts)>;

  /// Everything is borrowed.
  Verification(uv_loop_s* loop, const views::Sources& sources, machine::KernelSide& kernel)
      : m_loop(loop), m_sources(sources), m_kernel(kernel), m_requests(loop, sources) {}

  /// Calls `done` from the loop with a verdict for each part in the scope that there is, but not if
  /// the object goes before. Each has at most `mostLines` lines. Several may be under way. What is
  /// found to be missing in the kernel is put back; nothing else is mended.
  void Verify(rows::Scope scope, std::size_t mostLines, Done done);

 private:
  void VerifyAll(std::size_t mostLines, Done done);
  void VerifyKernel(std::size_t mostLines, const Done& done);
  void CheckDocuments(Done done);

  uv_loop_s* const m_loop;
  const views::Sources m_sources;
  machine::KernelSide& m_kernel;
  views::OldRequests m_requests;
  std::list<loop::Work> m_checks;  // one for each that is under way
};

}  // namespace vantacored

#endif
