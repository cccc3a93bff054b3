// A whole device in virtual time: the library on the software stack, without the daemon.
#ifndef TESTS_SUPPORT_DEVICE_FIXTURE_H
#define TESTS_SUPPORT_DEVICE_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "device/base/timer_loop.h"
#include "device/stack/facts.h"
#include "device/stack/routing_stack.h"
#include "device/stack/stack_control.h"
#include "host/dc_host_interfaces.h"
#include "tests/support/trace_capture.h"
#include "vantacore/dc_router_mgr.h"

namespace test_support {

/// The host's knowledge of interfaces: up when a test says so.
class IpInterfaceDouble : public Tarsel::DcIpInterface {
 public:
  bool IsInterfaceUp(unsigned short vlan, unsigned int ifIndex) const override {
    return up.count({vlan, ifIndex}) != 0;
  }

  std::set<std::pair<unsigned short, unsigned int>> up;
};

/// The host's event loop for descriptors: writes down what it is asked, in the order of the calls,
/// as "register fd=5 mode=3 id=7", "remove fd=5 id=7", "change fd=5 mode=1".
class SocketRecorder : public Tarsel::DcSckInterface {
 public:
  void RegisterDescriptor(int fd, int mode, int id) override;
  void RemoveDescriptor(int fd, int id) override;
  void ChangeDescriptorMode(int fd, int mode) override;

  std::vector<std::string> calls;
};

/// Virtual time and a software stack on its clock, both current while it lives. The library's
/// singletons take part once Start was called; they live as long as the process, so a process has
/// one device (see isolated_main.cpp).
class Device {
 public:
  Device();
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;
  virtual ~Device();

  /// Creates the manager, initialises it and binds the socket interface. The stack has been started
  /// but has not run yet.
  void Start(unsigned short defaultVlan = 1);

  /// Applies a document given as JSON text and returns the manager's answer. Throws
  /// std::invalid_argument if the text is not JSON, which is a mistake of the test.
  bool Reload(const std::string& json, const std::string& fileName,
              Tarsel::DclConfigObject::OptionType type = Tarsel::DclConfigObject::VLAN_OPTIONS);
  bool Reload(const Tarsel::Options& document, const std::string& fileName,
              Tarsel::DclConfigObject::OptionType type = Tarsel::DclConfigObject::VLAN_OPTIONS);

  /// Lets time go by until the stack is idle and has received no request for a row for three
  /// periods of the configuration scheduler. False when that does not come about within the limit.
  [[nodiscard]] bool Settle(std::uint64_t limitMilliseconds = 60000);

  /// From now on every stack call is written down, in the words of routing_stack::Control.
  void RecordCalls();
  const std::vector<std::string>& Calls() const { return m_calls; }
  /// The calls so far, which are then forgotten.
  std::vector<std::string> TakeCalls();

  Tarsel::DcRouterMgr& Manager() { return *Tarsel::DcRouterMgr::GetInstance(); }
  routing_stack::Control& Control() { return stack.GetControl(); }
  /// All tables of the stack as text.
  std::string Dump() { return Control().Dump(); }

  Tarsel::VirtualLoop loop;
  routing_stack::RoutingStack stack;
  IpInterfaceDouble ipInterface;
  SocketRecorder sockets;

 private:
  std::vector<std::string> m_calls;
};

/// The device as a test's fixture, with the log and the stack calls written down from the
/// beginning.
class DeviceFixture : public testing::Test, public Device {
 protected:
  DeviceFixture() { RecordCalls(); }

  TraceCapture traces;
};

}  // namespace test_support

#endif
