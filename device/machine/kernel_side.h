// All that the daemon has to do with the machine's kernel.
#ifndef DEVICE_MACHINE_KERNEL_SIDE_H
#define DEVICE_MACHINE_KERNEL_SIDE_H

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "device/documents/device.h"
#include "device/keepers/interfaces.h"
#include "device/kernel/netlink_socket.h"
#include "device/ports/stack_port.h"
#include "device/rows/comparer.h"
#include "device/stack/facts.h"
#include "device/views/host.h"
#include "kernel_links.h"
#include "kernel_routes.h"
#include "kernel_rules.h"
#include "kernel_vrfs.h"
#include "switch_check.h"

namespace machine {

/// Links in, routes and rules out, and what the machine's switches say to that. A device whose document says
/// nothing of the kernel opens nothing and pays nothing for it. Belongs to the loop's thread.
class KernelSide {
 public:
  struct Hooks {
    std::function<void(const std::string& line)> log;
    /// Takes a line that somebody should look at.
    std::function<void(const std::string& line)> complain;
    /// Interfaces have come or gone.
    std::function<void()> interfacesChanged;
    /// Whether the stack has all that is in force, and nothing is under way.
    std::function<bool()> isStackSettled;
    std::function<std::uint64_t()> now;  // milliseconds, never going back
    kernel::OpenChannel open = kernel::OpenNetlinkSocket;
  };

  /// Everything but the hooks is borrowed. `sweepAfterSeconds`: how long routes of an earlier run
  /// stay at most while the device has not settled.
  KernelSide(uv_loop_s* loop, keepers::Interfaces& interfaces, ports::SoftwareStackPort& port,
             const routing_stack::Facts& facts, unsigned int sweepAfterSeconds, const Hooks& hooks);

  /// What the configuration that a start has chosen says, before anything of it is applied: links
  /// are interfaces from the beginning, and nothing of the forwarding table is missed.
  void Start(const documents::Device& device);
  /// What the configuration in force says, once it has been applied.
  void Apply(const documents::Device& device);
  /// That configuration is in force, and so are its interfaces. Tells of each link that cannot be one.
  void Started(const documents::Device& device);
  /// At the end of each turn of the loop.
  void Look() {
    m_routes.Look();
    m_rules.Look(m_routes.GetSink() != nullptr && !m_routes.GetSink()->GetLedger().IsLearning());
  }

  bool IsSettled() const { return FindUnsettled() == nullptr; }
  /// What it waits for; null when settled.
  const char* FindUnsettled() const;
  views::KernelState Describe() const;
  /// See views::Host.
  std::optional<views::KernelRefusal> FindRefusal(unsigned short vlan,
                                                  const views::Prefix& prefix) const;
  std::vector<views::KernelRefusal> ListRefusals(std::size_t most) const;
  views::KernelRetry Retry(const std::optional<views::Prefix>& prefix);
  std::vector<views::LinkState> DescribeLinks() const { return m_links.Describe(); }
  /// Returns what tells, in any thread, which switches stand against the routes written now.
  std::function<std::vector<std::string>()> MakeObstacleCheck() const;

  /// Takes everything of this device out of the kernel, and tells what came of it. For the end of the
  /// process, when the loop stands: it waits for the kernel, some ten seconds at most.
  void Flush();

  /// Reads all links again; `done` is called from the loop when they have been handed on. Before the
  /// stack is compared: what they have become, it has to be told.
  void VerifyLinks(KernelLinks::Verified done) { m_links.Verify(std::move(done)); }
  /// Compares routes and rules and looks at the switches. After the stack was compared: what it does not
  /// have, the kernel cannot. Calls `done` from the loop with a verdict for each that there is.
  void VerifyRoutes(std::size_t mostLines, std::function<void(std::vector<rows::Verdict>)> done);

 private:
  void VrfsChanged();
  views::KernelRefusal Describe(const kernel::RouteKey& key, const kernel::Refusal& refusal) const;

  const keepers::Interfaces& m_interfaces;
  const Hooks m_hooks;
  KernelLinks m_links;
  KernelVrfs m_vrfs;
  KernelRoutes m_routes;
  KernelRules m_rules;
  SwitchVerifier m_switches;
};

}  // namespace machine

#endif
