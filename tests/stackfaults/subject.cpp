#include "tests/stackfaults/subject.h"

#include <algorithm>

#include "tests/support/forked_text.h"
#include "tests/support/recording_console.h"
#include "vantacore/dc_interface_console_command.h"
#include "vantacore/dcrouter_api.h"

namespace stackfaults {

using Tarsel::Ip4Addr;

namespace {

const Ip4Addr MASK(255, 255, 255, 0);
constexpr unsigned int FLAGS = 24;  // broadcast, multicast

bool StartsWith(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

// When the stack runs has its own rows of the matrix.
bool IsAboutRuns(const std::string& line) {
  return line == RUN || line == ASK || line == SET_ALREADY ||
         StartsWith(line, "10 Starting Scheduler Timer for ");
}

}  // namespace

Lines operator+(Lines first, const Lines& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

void Subject::Run(Fault fault) {
  switch (fault) {
    case BUSY:
      return Busy();
    case FULL:
      return Full();
    case REFUSED:
      return Refused();
    case NEVER:
      return Never();
    case LATE:
      return Late();
    case TWICE:
      return Twice();
    case SYNCHRONOUS:
      return Synchronous();
    case RESTARTED:
      return Restarted();
    case VLAN_GONE:
      return VlanGone();
    case FAULT_COUNT:
      break;
  }
  FAIL() << "no fault " << fault;
}

void Subject::Busy() { FAIL() << "the row has no test of this fault"; }
void Subject::Full() { Subject::Busy(); }
void Subject::Refused() { Subject::Busy(); }
void Subject::Never() { Subject::Busy(); }
void Subject::Late() { Subject::Busy(); }
void Subject::Twice() { Subject::Busy(); }
void Subject::Synchronous() { Subject::Busy(); }
void Subject::Restarted() { Subject::Busy(); }
void Subject::VlanGone() { Subject::Busy(); }

void Subject::SetUp() {
  m_reference = test_support::TextOfChild([this] {
    Establish();
    Ask();
    return Settle() ? State() : "the reference does not settle";
  });
  Establish();
}

void Subject::Establish() {
  Start();
  Furnish();
  Quiet();
}

void Subject::Furnish() {
  registry.AddInterface(10, 3, "eth0", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, FLAGS, 0, 1);
  registry.AddIpAddress(10, 3, Ip4Addr(10, 1, 2, 3), MASK);
  registry.AddIpAddress(10, 3, Address6("2001:db8::3"), 64);
  registry.SetPrimaryInterface(10, "eth0");
  registry.AddInterface(10, 6, "eth6", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, FLAGS, 0, 1);
  registry.AddInterface(20, 4, "eth1", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, FLAGS, 0, 1);
  registry.AddIpAddress(20, 4, Ip4Addr(10, 2, 2, 3), MASK);
  registry.SetPrimaryInterface(20, "eth1");
  registry.SetPrimaryInterface(40, "eth1");
  LoadVlansWithOspf({10, 20});
  AddRouteOf20();
}

void Subject::LoadVlansWithOspf(const Vlans& vids) {
  LoadVlans(vids, R"(, "OSPF": {"enabled": true}, "OSPFV3": {"enabled": true})");
}

void Subject::AddRouteOf20() {
  Tarsel::AddRoute(20, Ip4Addr(10, 20, 0, 0), Ip4Addr(255, 255, 0, 0), Ip4Addr(10, 2, 2, 1), 4, 5,
                   Tarsel::PATH_TYPE_STATIC, 1);
}

void Subject::Rebuild() {
  Manager().DeleteOptions("vlans.json", Tarsel::DclConfigObject::VLAN_OPTIONS);
  Furnish();
  Quiet();
}

void Subject::WithdrawVlan10() {
  LoadVlansWithOspf({20});
  loop.AdvanceMilliseconds(RUN_MS);
  Take();
}

Lines Subject::Happened() {
  Lines lines = TakeEvents();
  lines.erase(std::remove_if(lines.begin(), lines.end(), IsAboutRuns), lines.end());
  return lines;
}

Lines Subject::Then(unsigned int milliseconds) {
  loop.AdvanceMilliseconds(milliseconds);
  return Happened();
}

Lines Subject::ThenUntil(std::uint64_t milliseconds) {
  return Then(static_cast<unsigned int>(milliseconds - Now()));
}

Lines Subject::Next() {
  Lines lines;
  for (int i = 0; i < 1000 && lines.empty(); ++i) {
    lines = Then(1);
  }
  return lines;
}

void Subject::ExpectSilence() { EXPECT_EQ(Then(LONG_MS), Lines()); }

std::string Subject::State() { return Dump() + Pending(); }

bool Subject::IsThere() {
  EXPECT_NE(RowText(), "");
  return Dump().find(RowText()) != std::string::npos;
}

void Subject::ExpectConverged() {
  EXPECT_TRUE(Settle());
  EXPECT_EQ(State(), m_reference);
  Ask();
  EXPECT_TRUE(Settle());
  EXPECT_EQ(State(), m_reference);
  Take();
}

void Subject::ExpectOthersServed(const Vlans& vlans) {
  const std::string before = State();
  FlapInterface();
  WalkInterfaces();
  MakeVlan40(vlans);
  ChangeRoute();
  EXPECT_EQ(State(), before);
  Take();
}

void Subject::FlapInterface() {
  registry.SetInterfaceDown(20, 4, "eth1");
  loop.AdvanceMilliseconds(2 * RUN_MS);
  EXPECT_NE(Dump().find("interface 20/4 \"eth1\" flags 24 down"), std::string::npos);
  registry.SetInterfaceUp(20, 4, "eth1");
  loop.AdvanceMilliseconds(2 * RUN_MS);
  EXPECT_NE(Dump().find("interface 20/4 \"eth1\" flags 24 up"), std::string::npos);
}

void Subject::WalkInterfaces() {
  const auto log = test_support::NewConsoleLog(20);
  auto* const command =
      new Tarsel::DcInterfaceConsoleCommand(new test_support::RecordingConsole(log), 20, false);
  EXPECT_TRUE(command->Parse(0, nullptr));
  loop.AdvanceMilliseconds(TICK_MS);
  EXPECT_NE(log->output.find(" 10.2.2.3/24\nEnd of Table\n"), std::string::npos);
  EXPECT_TRUE(log->destroyed);
}

void Subject::MakeVlan40(const Vlans& vlans) {
  Vlans more = vlans;
  more.push_back(40);
  LoadVlansWithOspf(more);
  loop.AdvanceMilliseconds(TICK_MS);
  EXPECT_EQ(cIsRtmReady(40), 1);
  LoadVlansWithOspf(vlans);
  loop.AdvanceMilliseconds(TICK_MS);
  EXPECT_EQ(cIsRtmReady(40), 0);
}

// The route goes and comes back; removing one needs no room.
void Subject::ChangeRoute() {
  Tarsel::RemoveRoute(20, Ip4Addr(10, 20, 0, 0), Ip4Addr(255, 255, 0, 0), Ip4Addr(10, 2, 2, 1), 4);
  loop.AdvanceMilliseconds(2 * TICK_MS);
  EXPECT_EQ(Dump().find("route 20 10.20.0.0/16"), std::string::npos);
  AddRouteOf20();
  loop.AdvanceMilliseconds(2 * TICK_MS);
  EXPECT_NE(Dump().find("route 20 10.20.0.0/16"), std::string::npos);
}

void Subject::ScriptRow(const Oid& oid, const Answer& answer, unsigned int times) {
  Control().ScriptRow(oid.data(), static_cast<unsigned int>(oid.size()), answer, times);
}

void Subject::Complete(const Oid& oid) {
  Oid key = oid;
  cRunPendingAction(key.data(), static_cast<unsigned int>(key.size()));
}

}  // namespace stackfaults
