// What views need to know of the process that they are in.
#ifndef DEVICE_VIEWS_HOST_H
#define DEVICE_VIEWS_HOST_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "device/loop/loop.h"
#include "prefix.h"

namespace views {

/// A link of the machine that the device takes for an interface, or would if it could.
struct LinkState {
  std::string name;  // printable
  std::uint32_t index = 0;
  bool isUp = false;
  std::uint32_t vlan = 0;
  std::string rule;     // what the VLAN follows from
  std::string problem;  // why it is left out; empty if it is not
};

/// What became of the rules that are written into the machine's kernel.
struct RuleState {
  bool isWritten = false;  // or else everything is 0
  std::size_t wanted = 0;
  std::size_t standing = 0;  // of these
  std::size_t refused = 0;
  std::uint64_t missing = 0;  // that a comparison found
  std::uint64_t strays = 0;   // so too
};

/// A VRF device that the document names.
struct VrfState {
  std::string name;
  unsigned short vlan = 0;
  std::optional<std::uint32_t> table;  // where the VLAN's routes are written, if anywhere
  std::string problem;                 // why nowhere
};

/// What became of the routes that are written into the machine's kernel, and of what it tells.
struct KernelState {
  bool isWritten = false;  // or else everything about routes is 0
  std::size_t wanted = 0;
  std::size_t standing = 0;  // of these, as wanted
  std::size_t refused = 0;
  // Since routes have been written:
  std::uint64_t added = 0;
  std::uint64_t deleted = 0;
  std::uint64_t refusals = 0;  // requests
  std::uint64_t missing = 0;   // that a comparison found
  std::uint64_t strays = 0;    // so too
  std::uint64_t overruns = 0;  // of a socket
  std::uint64_t untold = 0;    // changes of links that only a reading has shown
  RuleState rules;
  std::vector<VrfState> vrfs;  // by VLAN
};

/// A route that the kernel does not take, or an old one that it does not give up.
struct KernelRefusal {
  std::string route;          // "10.9.0.0/16 in table 254"
  std::string reason;         // "Network is unreachable (Nexthop has invalid gateway)"
  std::uint64_t nextTry = 0;  // in so many seconds
  bool isOfDeletion = false;
};

/// What the kernel does, without its name in front: "refuses it: Network is unreachable, next try in
/// 2 s".
std::string Describe(const KernelRefusal& refusal);

/// What the kernel is asked again for.
struct KernelRetry {
  std::size_t routes = 0;
  std::size_t rules = 0;
};

/// The functions are called on the loop's thread and must be cheap; each may be empty.
struct Host {
  loop::Loop& loop;  // borrowed
  /// When the process was started, in seconds since the epoch.
  std::int64_t started = 0;
  /// The version of the console's protocol that its clients speak; 0 for no console.
  unsigned short consoleVersion = 0;
  std::function<std::size_t()> countSessions = {};
  std::function<std::uint64_t()> countLostLines = {};  // of the log
  std::function<KernelState()> describeKernel = {};
  std::function<std::vector<LinkState>()> describeLinks = {};  // costs what there are
  /// What the kernel refuses of a VLAN's prefix. Asked for each row that is shown.
  std::function<std::optional<KernelRefusal>(unsigned short vlan, const Prefix& prefix)>
      findKernelRefusal = {};
  /// The first refusals, in no particular order.
  std::function<std::vector<KernelRefusal>(std::size_t most)> listKernelRefusals = {};
  /// Asks the kernel again now for what it refuses: all of it, or the routes of a prefix in all VLANs.
  std::function<KernelRetry(const std::optional<Prefix>& prefix)> retryKernel = {};
  /// Returns what tells, in any thread, which switches of the machine stand against the routes that
  /// are written; it may be empty.
  std::function<std::function<std::vector<std::string>()>()> makeObstacleCheck = {};
};

/// 0 if the system does not tell.
std::uint64_t FindResidentBytes();

/// How long the process has been running.
std::uint64_t FindUptimeSeconds(const Host& host);

}  // namespace views

#endif
