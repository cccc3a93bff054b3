// The machine's links as interfaces of the device.
#ifndef DEVICE_MACHINE_KERNEL_LINKS_H
#define DEVICE_MACHINE_KERNEL_LINKS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "device/documents/device.h"
#include "device/keepers/interfaces.h"
#include "device/kernel/link_watch.h"
#include "device/kernel/vrfs.h"
#include "device/loop/loop_handles.h"
#include "device/rows/comparer.h"
#include "device/views/host.h"

namespace machine {

/// Hands what the kernel tells of its links on to the interfaces, once the device document has said
/// which it takes, in slices, and knows the VRF devices among them. A document that takes no links but
/// names VRF devices for its routes has the links read, too. Until then nothing is opened and nothing
/// costs anything.
class KernelLinks {
 public:
  struct Hooks {
    kernel::OpenChannel open;
    kernel::LinkWatch::Log log;
    /// Takes a line that somebody should look at.
    std::function<void(const std::string& line)> complain;
    /// Interfaces have come or gone.
    std::function<void()> interfacesChanged;
    /// VRF devices have come or gone or are others, or are known for the first time; before the links
    /// that they enslave are handed on.
    std::function<void()> vrfsChanged;
  };

  /// The interfaces are borrowed.
  KernelLinks(uv_loop_s* loop, keepers::Interfaces& interfaces, Hooks hooks);
  KernelLinks(const KernelLinks&) = delete;
  KernelLinks& operator=(const KernelLinks&) = delete;
  ~KernelLinks();

  /// What the configuration that a start has chosen says, before anything of it is applied. Waits
  /// for the kernel, so that the interfaces know all links when they are applied first.
  void Start(const documents::Device& device);
  /// What the configuration in force says, once it has been applied. Without a way to the kernel a
  /// line says so, and links are none until this is called again.
  void Apply(const documents::Device& device);

  /// Tells of each link that cannot be an interface, as the configuration in force has it.
  void TellProblems();

  /// Whether everything that the kernel has told has been handed on.
  bool IsSettled() const { return !HasChanges() && !(m_watch && m_watch->IsReading()); }
  /// Null while no links are read.
  const kernel::LinkWatch* GetWatch() const { return m_watch.get(); }
  /// The VRF devices that are there; none before all links have been read.
  const kernel::Vrfs& GetVrfs() const { return m_vrfs; }
  /// Whether they are known.
  bool AreVrfsKnown() const { return m_areVrfsKnown; }
  /// Each link that the device takes, or would if it could.
  std::vector<views::LinkState> Describe() const;
  /// Reads all links again, and calls `done` from the loop when everything that has been told by
  /// then is handed on: with a verdict if any are to be taken, until the end.
  using Verified = std::function<void(std::optional<rows::Verdict>)>;
  void Verify(Verified done);

 private:
  void EndVerification(unsigned int number, const std::optional<rows::Verdict>& verdict);
  bool IsNeeded(const documents::Device& device) const;
  bool Open();
  void Close();
  void TakeVrfs(const std::vector<std::uint32_t>& changed);
  bool HasChanges() const;
  void HandOn(std::size_t most);
  void HandOnSlice();
  void TellProblem(std::uint32_t index);

  uv_loop_s* const m_loop;
  keepers::Interfaces& m_interfaces;
  const Hooks m_hooks;
  std::unique_ptr<kernel::LinkWatch> m_watch;
  std::string m_problem;  // why there is no watch though links are to be taken
  kernel::Vrfs m_vrfs;
  bool m_areVrfsKnown = false;
  // What is still to be handed on: links that have gone, or have another name, then all others.
  std::set<std::uint32_t> m_going;
  std::set<std::uint32_t> m_coming;
  std::map<std::uint32_t, std::string> m_told;  // what was told of links that are left out
  loop::Task m_handing;
  std::map<unsigned int, Verified> m_verifications;  // under way
  unsigned int m_lastVerification = 0;
  std::vector<std::function<void()>> m_whenHandedOn;  // called once
};

}  // namespace machine

#endif
