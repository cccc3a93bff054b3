// Protocol routers that write down what the manager does with them.
//
// recording_routers.cpp defines operations of the classes of platform/routers in the test program,
// where they come before those of the device's router library. Each event is a trace message at
// level 10, so that it stands in the capture at its place among the library's own messages:
// "~BGP:10 parse vlans.json 0".
#ifndef TESTS_UNIT_MANAGER_RECORDING_ROUTERS_H
#define TESTS_UNIT_MANAGER_RECORDING_ROUTERS_H

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "tests/support/device_fixture.h"

namespace recording_routers {

/// How the routers behave. One per process.
struct Behaviour {
  /// The routers that say they are enabled, as "BGP:10".
  std::set<std::string> enabled;
  /// Called while a VLAN's first router is constructed.
  std::function<void()> onCreate;
  /// Called, with the router's name, while a router is given an entry or has a document withdrawn.
  std::function<void(const std::string& name)> onDocument;
  /// Called, with the router's name, while a router is destroyed.
  std::function<void(const std::string& name)> onDestroy;
  /// Whether `mcast-database` takes its words, and whether it then ends at once.
  bool multicastParses = true;
  bool multicastEnds = true;
  /// Ends the `mcast-database` command that did not end at once.
  std::function<void()> endMulticast;
};

Behaviour& GetBehaviour();

/// The names of a VLAN's seven routers in type order, each followed by `suffix`.
std::vector<std::string> AllRouters(unsigned int vlan, const std::string& suffix = "");

/// A VLAN entry with a member for each router, and what follows it in the text.
std::string Entry(int vid, const std::string& more = "");
/// A document of entries, under the names "a", "b", ... so that their order is that of the
/// arguments.
std::string Document(const std::vector<std::string>& entries);

/// A device whose routers are the recording ones.
class ManagerFixture : public test_support::DeviceFixture {
 protected:
  /// The routers' events since the last call, without mark and level.
  std::vector<std::string> TakeRouterEvents();

  Tarsel::OptionsNode NoOptions() const { return Tarsel::OptionsNode(); }
};

}  // namespace recording_routers

#endif
