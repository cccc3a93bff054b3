// The library on the software stack, with everything that can be seen of it in one list.
#ifndef TESTS_COMPONENT_COMPONENT_FIXTURE_H
#define TESTS_COMPONENT_COMPONENT_FIXTURE_H

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "tests/support/device_fixture.h"
#include "vantacore/config_parser.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/static_routes.h"

// Lines that come with every run of the stack.
extern const char* const RUN;          // the timer has expired, the stack runs
extern const char* const ASK;          // the stack asks for a run
extern const char* const IN_5_MS;      // ... which is set for then
extern const char* const IN_1000_MS;   // the stack has nothing to do
extern const char* const SET_ALREADY;  // the stack asked for a run during a run

/// A device in virtual time. What happens is written down in its order, stack calls as
/// "> sms_act_rtm(...)", traces with their level as "10 Creating VLAN 10", without the newline, and
/// assertions as "! expression|source|line".
class ComponentFixture : public testing::Test, public test_support::Device {
 protected:
  ComponentFixture();
  ~ComponentFixture() override;

  /// What has happened since the last Take, one event a line.
  std::string Take();
  /// The same as a list.
  std::vector<std::string> TakeEvents();
  /// Lets time go by and takes what happens meanwhile.
  std::string After(unsigned int milliseconds);
  /// The same without the runs in which the stack does nothing.
  std::string Meanwhile(unsigned int milliseconds);
  /// Lets time go by until something happens, idle runs not counted, for a second at most.
  std::string Next();
  /// Lets the stack run until it is idle; what happens is not looked at.
  void Quiet();

  /// Calls back from inside of calls from now on.
  void MakeSynchronous() { Control().SetSynchronous(true); }

  /// The items of the scheduler, one a line.
  std::string Pending();
  /// "Pending Item Buckets: N"
  std::string PendingSummary();

  /// Loads a document with the given VLAN ids; `member` goes into each entry, as in
  /// ", \"OSPF\": {}".
  void LoadVlans(const std::vector<int>& vids, const std::string& member = "");

  Tarsel::DcInterfaceMgr& registry = *Tarsel::DcInterfaceMgr::GetInstance();

 private:
  std::vector<std::string> m_events;
};

/// The lines, one below the other.
std::string Text(std::initializer_list<std::string> lines);

Tarsel::Ip6Addr Address6(const char* text);

#endif
