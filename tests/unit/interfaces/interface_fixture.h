// The registry on a device whose stack has announced that it is ready for rows.
#ifndef TESTS_UNIT_INTERFACES_INTERFACE_FIXTURE_H
#define TESTS_UNIT_INTERFACES_INTERFACE_FIXTURE_H

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/device_fixture.h"
#include "vantacore/config_parser.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dcrouter_api.h"

using Lines = std::vector<std::string>;

inline Tarsel::Ip6Addr Address6(const char* text) {
  Tarsel::Ip6Addr address;
  EXPECT_TRUE(Tarsel::ParseIp6Address(address, text)) << text;
  return address;
}

/// Rows are issued at once; as no time goes by, the stack does not complete them, and a second
/// request for a row waits.
class InterfaceFixture : public test_support::DeviceFixture {
 protected:
  static constexpr Tarsel::DcInterfaceMgr::IntfType TYPE =
      static_cast<Tarsel::DcInterfaceMgr::IntfType>(6);

  void SetUp() override {
    Start();
    cI3Ready();
    TakeCalls();
    traces.Take();
  }

  /// Registers an interface and lets the stack finish with its rows.
  void Register(unsigned short vlan, unsigned int ifIndex, const char* name) {
    registry.AddInterface(vlan, ifIndex, name, TYPE, 0, 0, 1);
    Forget();
  }

  /// The stack finishes with all rows; what was seen until then is forgotten.
  void Forget() {
    loop.AdvanceMilliseconds(200);
    TakeCalls();
    traces.Take();
  }

  /// Does `nested` inside of the first such call of the stack from now on.
  void InsideOfTheFirst(routing_stack::Call call, std::function<void()> nested);

  /// The stored prefixes of an interface, sorted.
  Lines Prefixes(unsigned short vlan, unsigned int ifIndex);
  /// "address/mask", "none" for an unknown interface.
  std::string StoredAddress(unsigned short vlan, unsigned int ifIndex);

  Tarsel::DcInterfaceMgr& registry = *Tarsel::DcInterfaceMgr::GetInstance();
};

#endif
