// The stack's forwarding table in the kernel's tables.
#ifndef DEVICE_MACHINE_KERNEL_ROUTES_H
#define DEVICE_MACHINE_KERNEL_ROUTES_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "device/documents/device.h"
#include "device/kernel/route_sink.h"
#include "device/loop/loop_handles.h"
#include "device/ports/stack_port.h"
#include "device/rows/comparer.h"
#include "device/stack/facts.h"
#include "kernel_tables.h"

namespace machine {

/// Hands each change of the stack's forwarding table on to a RouteSink, once the device document
/// has said so. Until then nothing is opened, nothing is heard and nothing costs anything.
class KernelRoutes final : private routing_stack::Listener {
 public:
  struct Hooks {
    kernel::OpenChannel open;
    kernel::RouteSink::Log log;
    std::function<std::uint64_t()> now;  // milliseconds, never going back
    /// Whether the stack has all that is in force, and nothing is under way. Asked from the loop.
    std::function<bool()> isSettled;
    /// Called after each comparison with the kernel.
    std::function<void()> compared;
  };

  /// `sweepAfterSeconds`: how long routes of an earlier run stay at most while the device has not
  /// settled. The port and the facts are borrowed.
  KernelRoutes(uv_loop_s* loop, ports::SoftwareStackPort& port, const routing_stack::Facts& facts,
               unsigned int sweepAfterSeconds, Hooks hooks);
  KernelRoutes(const KernelRoutes&) = delete;
  KernelRoutes& operator=(const KernelRoutes&) = delete;
  ~KernelRoutes() override;

  /// What the configuration in force says, and the tables that follow from it; once it has been
  /// applied. When routes are no longer to be written, those that are there go. Without a way to the
  /// kernel a line says so, and nothing is written until this is called again.
  void Apply(const documents::Device& device, const KernelTables& tables);
  /// VRF devices have come or gone. The routes of a VLAN that has another table now are written there,
  /// and taken out of the old one; a VLAN without a table has none until it has one again.
  void Move(const KernelTables& tables);
  const KernelTables& GetTables() const { return m_tables; }

  /// At the end of each turn of the loop; three tests unless something waits for the device to settle
  /// or for the stack.
  void Look() {
    if (m_isWaiting) {
      LookWhetherSettled();
    }
    if (!m_whenChosen.empty() || !m_oldTables.empty()) {
      LookWhetherChosen();
    }
  }

  /// Whether nothing is under way to the kernel. Without a sink nothing ever is.
  bool IsSettled() const {
    return !m_sink || (m_sink->IsSettled() && m_instancesToRead.empty() &&
                       (!m_isWaiting || !m_settings.writesRoutes));
  }
  /// Null while routes are not written.
  const kernel::RouteSink* GetSink() const { return m_sink.get(); }
  /// The kernel's route for a prefix of a VLAN; nothing while its routes are not written.
  std::optional<kernel::RouteKey> FindKey(unsigned short vlan, bool isIp6,
                                          const kernel::Address& destination,
                                          unsigned char length) const;
  /// Asks again now for what the kernel refuses; see RouteLedger::Retry.
  std::size_t Retry(const std::function<bool(const kernel::RouteKey&)>& isMeant) {
    return m_sink ? m_sink->Retry(isMeant) : 0;
  }
  /// Writes nothing any more, whatever comes. Returns whether anything may have been written.
  bool Shut();
  /// Compares with the kernel, and calls `done` from the loop: with a verdict if routes are to be
  /// written. What was found missing has been asked for by then. While the stack still has routes to
  /// choose, that is waited for.
  void Verify(std::size_t mostLines, std::function<void(std::optional<rows::Verdict>)> done);

 private:
  bool WantsForwarding() const override { return true; }
  void ForwardingChanged(routing_stack::ForwardingChange change, const amb_cipr_rtm_route& route,
                         const std::vector<routing_stack::NextHopBeside>& beside,
                         routing_stack::RowType cause) override;
  void Restarted() override;

  bool Open();
  void ReadAnew();
  void ReadVlan(unsigned short vlan);
  bool IsMoveBlocked() const;
  void Forgo(std::uint32_t vlan, kernel::RouteKey key);
  void Want(std::uint32_t vlan, kernel::RouteKey key, bool isConnected,
            const unsigned char (&nextHop)[16], std::uint32_t ifIndex,
            const std::vector<routing_stack::NextHopBeside>& beside);
  void LeaveOldTables(std::uint32_t vlan, kernel::RouteKey key);
  void WaitForSettled();
  void End();
  void LookWhetherSettled();
  bool IsChosen() const;
  void LookWhetherChosen();
  void ReadSlice();
  void Sweep();

  uv_loop_s* const m_loop;
  ports::SoftwareStackPort& m_port;
  const routing_stack::Facts& m_facts;
  const unsigned int m_sweepAfterSeconds;
  const Hooks m_hooks;
  std::unique_ptr<kernel::RouteSink> m_sink;
  documents::KernelSettings m_settings;
  std::string m_problem;  // why nothing is written though it should be
  KernelTables m_tables;
  // By VLAN, tables that its routes are being taken out of: each route that comes by, until all have,
  // also those of a VLAN that goes meanwhile, which the stack tells of slice by slice.
  std::map<std::uint32_t, std::set<std::uint32_t>> m_oldTables;
  bool m_isWaiting = false;                      // for the device to settle, before a sweep
  bool m_isOverdue = false;                      // it has not in the time that it may take
  bool m_isToRead = false;                       // before that, the forwarding table as it stands
  std::vector<std::uint32_t> m_instancesToRead;  // the last one is being read
  std::optional<routing_stack::RouteCandidate> m_lastRead;
  std::vector<std::function<void()>> m_whenChosen;  // called once
  loop::Task m_reading;
  loop::Timer m_sweep;
};

}  // namespace machine

#endif
