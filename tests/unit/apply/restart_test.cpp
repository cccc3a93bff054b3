// The stack restarts, and everything is sent to it again.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/apply/reloader_fixture.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// A device with everything: both families, protocols with rows of their own, a remote document,
// redistribution, a remote that has joined.
class Restart : public apply_test::ReloaderFixture {
 protected:
  void SetUp() override {
    m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16", "joined": true,
       "ipv6": ["2001:db8::1/64"]},
      {"name": "eth1", "vlan": 20, "index": 4, "ipv4": "10.2.0.1/16", "up": false}]})");
    m_files.Write("remote/one.json", R"({"VLAN_CONFIGURATIONS": {"b": {"vid": 20,
      "STATIC_ROUTES": {"r": {"network": "10.7.0.0", "netmask": "255.255.0.0",
                              "gateway": "10.2.0.9"}}}}})");
    StartWith(R"("a": {"vid": 10, "RTM": {"dead_rpm_timer": 90}, "BGP": {"enabled": true},
      "RIPV2": {"enabled": true}, "IGMP": {"enabled": true}, "REDISTRIBUTION": {"rip": false},
      "STATIC_ROUTES": {"r": {"interface": "eth0", "network": "10.9.0.0",
                              "netmask": "255.255.0.0", "gateway": "10.1.2.1"}},
      "STATIC_ROUTES6": {"r": {"network": "2001:db8:9::", "prefix": "48",
                               "gateway": "2001:db8::2"}}},
      "b": {"vid": 20, "OSPF": {"enabled": true}})");
    ASSERT_THAT(Dump(), AllOf(HasSubstr("10.9.0.0/16"), HasSubstr("2001:db8:9::/48"),
                              HasSubstr("10.7.0.0/16")));
    ASSERT_EQ(Control().Redistributions().size(), 10u);  // 4 to RIP, 3 and 3 to BGP
  }
};

// A finding is about what the documents say, not about what happens to the stack.
TEST_F(Restart, TellsOfRoutesWithSeveralMetricsWhenTheyAreReadOnly) {
  m_files.Write("remote/two.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "STATIC_ROUTES": {
    "r": {"interface": "eth0", "network": "10.9.0.0", "netmask": "255.255.0.0",
          "gateway": "10.1.2.1", "metric": 7}}}}})");
  reported.lines.clear();
  Reload();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(reported.lines, Contains(HasSubstr("remote/two.json:")));
  reported.lines.clear();
  RestartTheStack();
  EXPECT_THAT(reported.lines, IsEmpty());
}

TEST_F(Restart, BringsEverythingBack) {
  const std::string before = Dump();
  Control().Restart();
  ASSERT_NE(Dump(), before);
  TurnOnly();
  EXPECT_TRUE(m_reloader->IsBusy()) << "nobody had to say so";
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(Dump(), before);
  EXPECT_THAT(Vlans(), ElementsAre(10, 20));
  EXPECT_FALSE(Rules().IsWaiting());
  EXPECT_EQ(m_overs, 0u) << "it is not a reload";
  // A second time, and nothing more afterwards.
  RestartTheStack();
  EXPECT_EQ(Dump(), before);
  TakeCalls();
  Reload();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(TakeCalls(), IsEmpty());
}

// What the library knows of a VLAN was said to the old stack, and by it.
TEST_F(Restart, BeginsWithoutAnyVlan) {
  const unsigned int before = m_restarts;
  Control().Restart();
  ASSERT_TRUE(TurnUntil([&] { return m_restarts != before; }));
  EXPECT_THAT(Vlans(), IsEmpty());
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Vlans(), ElementsAre(10, 20));
}

// What was just heard of an interface was heard of the old stack. The new one does not have it yet,
// and is about to be told.
TEST_F(Restart, LooksForNothingOfTheOldStackInTheNewOne) {
  m_interfaces.SetStatus({10, 3}, false);
  TakeCalls();
  loop.AdvanceMilliseconds(50);  // answered; the host's turn has not come
  Control().Restart();
  loop.AdvanceMilliseconds(50);
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(reported.lines, IsEmpty());
}

TEST_F(Restart, KeepsWhatHappenedToInterfaces) {
  m_interfaces.SetStatus({20, 4}, true);
  m_interfaces.SetStatus({10, 3}, false);
  ASSERT_TRUE(SettleAll());
  const std::string before = Dump();
  RestartTheStack();
  EXPECT_EQ(Dump(), before);
}

// What waits for answers that will never come, what was given up, what has not been sent.
TEST_F(Restart, SendsAgainWhatWasUnderWay) {
  const std::string before = Dump();
  RestartTheStack();
  Control().Script(routing_stack::RowType::kRoute, {routing_stack::Answer::kNever, 0, 0}, 1);
  Control().Script(routing_stack::RowType::kRoute, {routing_stack::Answer::kStatus, 3, 0}, 1);
  Control().Restart();
  ASSERT_TRUE(
      TurnUntil([this] { return m_reloader->GetKnowledge().GetDifferences().Count() == 1; }));
  ASSERT_EQ(m_reloader->GetProgress().open, 1u) << "one is refused, one never answered";
  ASSERT_NE(Dump(), before);
  Control().Hold();
  m_interfaces.SetStatus({10, 3}, true);
  Control().Release();
  RestartTheStack();
  EXPECT_EQ(Dump(), before);
}

TEST_F(Restart, MayHappenWhileEverythingIsBroughtBack) {
  const std::string before = Dump();
  Control().Restart();
  Turn();
  Turn();
  RestartTheStack();
  EXPECT_EQ(Dump(), before);
  EXPECT_THAT(Vlans(), ElementsAre(10, 20));
}

// The reload is being read, or is over and a VLAN waits for the answers to its removals, when the
// stack forgets everything: VLAN 10 goes with its routes and rules, VLAN 20 gets a route and the
// remote document loses one.
class RestartDuringAReload : public Restart {
 protected:
  void BeginToReload(const std::string& more = "") {
    m_files.Write("remote/one.json", R"({"VLAN_CONFIGURATIONS": {"b": {"vid": 20}}})");
    WriteVlans(R"("b": {"vid": 20, "OSPF": {"enabled": true}, "REDISTRIBUTION": {"rip": false},
      "STATIC_ROUTES": {"r": {"network": "10.8.0.0", "netmask": "255.255.0.0",
                              "gateway": "10.2.0.9"}}})" +
               more);
    Control().Hold();
    m_reloader->Reload();
    ASSERT_TRUE(m_reloader->IsBusy());
  }
  void RestartAndGoOn() {
    const unsigned int before = m_restarts;
    Control().Restart();
    Control().Release();
    ASSERT_TRUE(TurnUntil([&] { return m_restarts != before; }));
    ASSERT_TRUE(SettleAll());
    EXPECT_FALSE(traces.Contains("An event was not handled"));
  }
  void ExpectTheNewConfiguration() {
    EXPECT_THAT(Vlans(), ElementsAre(20));
    EXPECT_EQ(RequestedRoutes().size(), 1u);
    const std::string after = Dump();
    EXPECT_THAT(after, AllOf(HasSubstr("instance 20 "), HasSubstr("10.8.0.0/16"),
                             Not(HasSubstr("instance 10 ")), Not(HasSubstr("10.9.0.0/16")),
                             Not(HasSubstr("10.7.0.0/16")), Not(HasSubstr("2001:db8:9::/48"))));
    EXPECT_EQ(Control().Redistributions().size(), 3u);  // static, connected and BGP to OSPF
    EXPECT_FALSE(Rules().IsWaiting());
    EXPECT_EQ(m_overs, 1u);
    TakeCalls();
    Reload();
    ASSERT_TRUE(SettleAll());
    EXPECT_THAT(TakeCalls(), IsEmpty());
    // What a start with the same documents gives.
    RestartTheStack();
    EXPECT_EQ(Dump(), after);
  }
};

TEST_F(RestartDuringAReload, EndsWithTheNewConfigurationWhenTheFolderIsBeingRead) {
  BeginToReload();
  RestartAndGoOn();
  ExpectTheNewConfiguration();
}

TEST_F(RestartDuringAReload, EndsWithTheNewConfigurationWhenAnswersAreAwaited) {
  BeginToReload();
  TurnUntilAVlanWaits();
  RestartAndGoOn();
  ExpectTheNewConfiguration();
}

TEST_F(RestartDuringAReload, EndsWithTheNewConfigurationAlsoWhenRequestsWereSent) {
  BeginToReload();
  TurnUntilAVlanWaits();
  std::string calls;
  ASSERT_TRUE(TurnUntil([&] {
    for (const std::string& call : TakeCalls()) calls += call;
    return calls.find("sms_update_route(1, 6, 2, 1, 10.9.0.0, 16, ") != std::string::npos;
  }));
  RestartAndGoOn();
  ExpectTheNewConfiguration();
}

TEST_F(RestartDuringAReload, MayHappenTwice) {
  BeginToReload();
  TurnUntilAVlanWaits();
  Control().Restart();
  Turn();
  RestartAndGoOn();
  ExpectTheNewConfiguration();
}

// The stack comes back with what the first reload read, and the second one follows.
TEST_F(RestartDuringAReload, LetsAnotherReloadFollow) {
  BeginToReload();
  TurnUntilAVlanWaits();
  WriteVlans(R"("c": {"vid": 30})");
  m_reloader->Reload();
  RestartAndGoOn();
  EXPECT_THAT(Vlans(), ElementsAre(30)) << "the remote document keeps no VLAN";
  EXPECT_THAT(Dump(), AllOf(HasSubstr("instance 30 "), Not(HasSubstr("instance 20 ")),
                            Not(HasSubstr("instance 10 "))));
  EXPECT_EQ(m_overs, 2u);
}

TEST_F(RestartDuringAReload, BringsTheInterfacesThatTheReloadHas) {
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "eth1", "vlan": 20, "index": 4, "ipv4": "10.2.0.1/16"},
      {"name": "eth2", "vlan": 20, "index": 5, "ipv4": "10.3.0.1/16"}]})");
  BeginToReload();
  TurnUntilAVlanWaits();
  EXPECT_TRUE(m_interfaces.IsInterfaceUp(20, 4)) << "they do not wait";
  RestartAndGoOn();
  EXPECT_TRUE(m_interfaces.IsInterfaceUp(20, 4));
  EXPECT_EQ(m_interfaces.IndexOf(20, "eth2"), 5u);
  EXPECT_FALSE(m_interfaces.IndexOf(10, "eth0"));
  ExpectTheNewConfiguration();
}

// The stack asks for the primary interface of a VLAN that the reload brings, before the reload has
// come to the interfaces.
TEST_F(RestartDuringAReload, KnowsThePrimaryInterfacesOfNewVlans) {
  BeginToReload(R"(, "c": {"vid": 30})");
  TurnUntilAVlanWaits();
  traces.TakeAssertions();
  RestartAndGoOn();
  EXPECT_THAT(Vlans(), ElementsAre(20, 30));
  EXPECT_THAT(traces.Assertions(), IsEmpty());
}

}  // namespace
