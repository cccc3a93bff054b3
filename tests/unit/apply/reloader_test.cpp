#include "device/apply/reloader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <uv.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "device/daemon/asker_log.h"
#include "device/stack/stack_control.h"
#include "tests/support/device_fixture.h"
#include "tests/support/reported_lines.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/stack_activity.h"
#include "vantacore/dc_router_base.h"

namespace {

using test_support::ReportedLines;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// The device's time is virtual, the loader's waiting is real: Turn() lets both go on.
class Reloader : public test_support::DeviceFixture {
 protected:
  Reloader() {
    uv_loop_init(&m_loop);
    Tarsel::TimerLoop::SetTickMicroseconds(100);
    m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"}]})");
    m_answers.emplace(&m_loop, test_support::ActivityOf(stack));
    m_reloader.emplace(
        m_folder, m_interfaces, *m_answers,
        apply::ReloadHooks{reported.report, vantacored::HearWhile, [this] { ++m_applied; }});
  }
  ~Reloader() override {
    m_reloader.reset();
    m_answers.reset();
    uv_run(&m_loop, UV_RUN_DEFAULT);
    uv_loop_close(&m_loop);
  }

  void StartWith(const std::string& entries) {
    WriteVlans(entries);
    m_reloader->Read();
    Start(10);
    m_reloader->Start();
    ASSERT_TRUE(Settle());
    TakeCalls();
  }
  void WriteVlans(const std::string& entries) {
    m_files.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {)" + entries + "}}");
  }
  void Turn() {
    uv_run(&m_loop, UV_RUN_NOWAIT);
    loop.AdvanceMilliseconds(1);
  }
  void TurnUntilDone() {
    const std::uint64_t begin = uv_hrtime();
    while (m_reloader->IsBusy() && uv_hrtime() - begin < 20000000000) {
      Turn();
    }
    EXPECT_FALSE(m_reloader->IsBusy());
  }
  std::vector<unsigned> Vlans() {
    std::vector<unsigned> vlans;
    for (const auto& vlan : Manager().GetVlans()) {
      vlans.push_back(vlan.first);
    }
    return vlans;
  }

  const std::string WITH_ROUTE = R"("a": {"vid": 10, "STATIC_ROUTES": {"r": {"interface": "eth0",
    "network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"}}})";
  uv_loop_t m_loop;
  test_support::ScratchFolder m_files;
  ReportedLines reported;
  documents::ConfigFolder m_folder{m_files.Path(), reported.report};
  apply::Interfaces m_interfaces;
  std::optional<loop::SettledWait> m_answers;
  std::optional<apply::Reloader> m_reloader;
  unsigned int m_applied = 0;
};

TEST_F(Reloader, StartsInTheOrderOfTheDevice) {
  WriteVlans(WITH_ROUTE);
  m_reloader->Read();
  Start(10);
  TakeCalls();
  m_reloader->Start();
  // Interfaces wait in the library until the stack has announced itself, routes until the instance
  // is ready.
  EXPECT_THAT(TakeCalls(),
              ElementsAre(HasSubstr("sms_act_rtm(0=10 "), HasSubstr("sms_act_rtm(0=32778 ")));
  ASSERT_TRUE(Settle());
  EXPECT_THAT(
      TakeCalls(),
      ElementsAre(HasSubstr("sms_bld_amb_test_i3_ei("), HasSubstr("sms_bld_amb_test_i3_ei("),
                  HasSubstr("sms_act_ipaddr("), HasSubstr("sms_update_route(")));
  EXPECT_THAT(reported.lines, IsEmpty());
}

TEST_F(Reloader, TellsTheRoutersOfANewVlanAboutItsInterfaces) {
  StartWith(R"("a": {"vid": 20})");
  WriteVlans(R"("a": {"vid": 10, "RIPV2": {"enabled": true}}, "b": {"vid": 20})");
  m_reloader->Reload();
  EXPECT_TRUE(Manager().GetDcRouterByVID(10, Tarsel::DcRouterMgr::PROTOCOL_RIPV2)->IsReady(3));
}

TEST_F(Reloader, RemovesRoutesBeforeTheirVlanGoes) {
  StartWith(WITH_ROUTE + R"(, "b": {"vid": 20})");
  WriteVlans(R"("b": {"vid": 20})");
  Control().Hold();
  m_reloader->Reload();
  EXPECT_TRUE(m_reloader->IsBusy());
  for (int i = 0; i < 100; ++i) {
    Turn();
  }
  EXPECT_TRUE(m_reloader->IsBusy());  // nobody has answered
  EXPECT_THAT(Vlans(), ElementsAre(10, 20));
  Control().Release();
  TurnUntilDone();
  EXPECT_THAT(Vlans(), ElementsAre(20));
  EXPECT_THAT(TakeCalls(), ElementsAre(HasSubstr("sms_update_route(1, 6, 2, 1, 10.9.0.0, 16, "),
                                       HasSubstr("sms_act_rtm(0=10 1=6 "),
                                       HasSubstr("sms_act_rtm(0=32778 1=6 ")));
  EXPECT_THAT(m_reloader->GetRoutes().GetRoutes(), IsEmpty());
}

TEST_F(Reloader, WaitsForNothingWhenAVlanHasNoRoutes) {
  StartWith(R"("a": {"vid": 10}, "b": {"vid": 20})");
  WriteVlans(R"("a": {"vid": 10})");
  m_reloader->Reload();
  EXPECT_FALSE(m_reloader->IsBusy());
  EXPECT_THAT(Vlans(), ElementsAre(10));
}

TEST_F(Reloader, ReadsAgainWhenAskedWhileItWaits) {
  StartWith(WITH_ROUTE);
  WriteVlans(R"("b": {"vid": 20})");
  m_reloader->Reload();
  ASSERT_TRUE(m_reloader->IsBusy());
  WriteVlans(R"("c": {"vid": 30})");
  m_reloader->Reload();
  m_reloader->Reload();
  TurnUntilDone();
  EXPECT_THAT(Vlans(), ElementsAre(30));
}

TEST_F(Reloader, TellsOfEachReloadOnceItHasBeenApplied) {
  StartWith(WITH_ROUTE);
  EXPECT_EQ(m_applied, 0u) << "the start is not a reload";
  m_reloader->Reload();
  EXPECT_EQ(m_applied, 1u);
  WriteVlans("\"b\": {\"vid\": 20}");
  m_reloader->Reload();
  m_reloader->Reload();
  ASSERT_TRUE(m_reloader->IsBusy());
  EXPECT_EQ(m_applied, 1u) << "nothing has been applied yet";
  TurnUntilDone();
  EXPECT_EQ(m_applied, 3u);
}

TEST_F(Reloader, TellsWhoAskedWhatCannotBeUsed) {
  StartWith(WITH_ROUTE);
  const std::string complaint =
      "Loaded Remote remote/far.json Options with VLAN 77 before loading VLAN options... "
      "Skipping\n";
  std::vector<std::string> first;
  std::vector<std::string> second;
  const auto into = [](std::vector<std::string>& lines) {
    return [&lines](const std::string& line) { lines.push_back(line); };
  };
  m_files.Write("remote/far.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 77}}})");
  m_reloader->Reload(into(first));
  EXPECT_THAT(first, ElementsAre(complaint));

  // Both wait for the same end, so both hear of all that happens until then.
  WriteVlans(R"("b": {"vid": 20})");
  first.clear();
  m_reloader->Reload(into(first));
  ASSERT_TRUE(m_reloader->IsBusy());
  m_reloader->Reload(into(second));
  EXPECT_THAT(first, IsEmpty());
  TurnUntilDone();
  EXPECT_THAT(first, ElementsAre(complaint, complaint));
  EXPECT_THAT(second, ElementsAre(complaint, complaint));

  traces.Take();
  m_reloader->Reload();
  EXPECT_EQ(first.size() + second.size(), 4U);
  EXPECT_EQ(traces.CountOf("-:" + complaint), 1U);
}

TEST_F(Reloader, IsNotDisturbedByAnAskerThatThrows) {
  StartWith(WITH_ROUTE);
  m_files.Write("remote/far.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 77}}})");
  WriteVlans(R"("b": {"vid": 20})");
  int first = 0;
  int second = 0;
  m_reloader->Reload([&first](const std::string&) {
    ++first;
    throw std::runtime_error("gone");
  });
  ASSERT_TRUE(m_reloader->IsBusy());
  m_reloader->Reload([&second](const std::string&) { ++second; });
  TurnUntilDone();
  EXPECT_EQ(first, 2);
  EXPECT_EQ(second, 2);
  EXPECT_THAT(Vlans(), ElementsAre(20));
}

TEST_F(Reloader, BringsRoutesBackWithTheirVlan) {
  StartWith(WITH_ROUTE + R"(, "b": {"vid": 20})");
  WriteVlans(R"("b": {"vid": 20})");
  m_reloader->Reload();
  TurnUntilDone();
  WriteVlans(WITH_ROUTE + R"(, "b": {"vid": 20})");
  m_reloader->Reload();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Dump(), HasSubstr("10.9.0.0/16"));
}

TEST_F(Reloader, AsksForNothingWhenNothingHasChanged) {
  StartWith(WITH_ROUTE);
  m_reloader->Reload();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeCalls(), IsEmpty());
}

// A device with everything: both families, protocols with rows of their own, a remote document,
// redistribution, a remote that has joined.
class Restart : public Reloader {
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
  void RestartTheStack() {
    Control().Restart();
    m_reloader->BringBack();
    ASSERT_TRUE(Settle());
  }
};

// A finding is about what the documents say, not about what happens to the stack.
TEST_F(Restart, TellsOfRoutesWithSeveralMetricsWhenTheyAreReadOnly) {
  m_files.Write("remote/two.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "STATIC_ROUTES": {
    "r": {"interface": "eth0", "network": "10.9.0.0", "netmask": "255.255.0.0",
          "gateway": "10.1.2.1", "metric": 7}}}}})");
  reported.lines.clear();
  m_reloader->Reload();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(reported.lines, ElementsAre(HasSubstr("the same route has metric ")));
  RestartTheStack();
  EXPECT_EQ(reported.lines.size(), 1u);
}

TEST_F(Restart, BringsEverythingBack) {
  const std::string before = Dump();
  Control().Restart();
  ASSERT_NE(Dump(), before);
  m_reloader->BringBack();
  ASSERT_TRUE(Settle());
  EXPECT_EQ(Dump(), before);
  EXPECT_THAT(Vlans(), ElementsAre(10, 20));
  EXPECT_FALSE(m_reloader->GetRedistribution().IsWaiting());
  // A second time, and nothing more afterwards.
  RestartTheStack();
  EXPECT_EQ(Dump(), before);
  TakeCalls();
  m_reloader->Reload();
  TurnUntilDone();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeCalls(), IsEmpty());
}

TEST_F(Restart, KeepsWhatHappenedToInterfaces) {
  m_interfaces.SetStatus({20, 4}, true);
  m_interfaces.SetStatus({10, 3}, false);
  ASSERT_TRUE(Settle());
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
  RestartTheStack();
  ASSERT_NE(Dump(), before);
  Control().Hold();
  m_interfaces.SetStatus({10, 3}, true);
  Control().Release();
  RestartTheStack();
  EXPECT_EQ(Dump(), before);
}

// The reload waits for the answers to its removals when the stack forgets everything: VLAN 10 goes with
// its routes and rules, VLAN 20 gets a route and the remote document loses one.
class RestartDuringAReload : public Restart {
 protected:
  void BeginToReload() {
    m_files.Write("remote/one.json", R"({"VLAN_CONFIGURATIONS": {"b": {"vid": 20}}})");
    WriteVlans(R"("b": {"vid": 20, "OSPF": {"enabled": true}, "REDISTRIBUTION": {"rip": false},
      "STATIC_ROUTES": {"r": {"network": "10.8.0.0", "netmask": "255.255.0.0",
                              "gateway": "10.2.0.9"}}})");
    Control().Hold();
    m_reloader->Reload();
    ASSERT_TRUE(m_reloader->IsBusy());
  }
  void TurnSome() {
    for (int i = 0; i < 100; ++i) {
      Turn();
    }
    ASSERT_TRUE(m_reloader->IsBusy());
  }
  void RestartAndGoOn() {
    Control().Restart();
    m_reloader->BringBack();
    Control().Release();
    TurnUntilDone();
    ASSERT_TRUE(Settle());
  }
  void ExpectTheNewConfiguration() {
    EXPECT_THAT(Vlans(), ElementsAre(20));
    EXPECT_EQ(m_reloader->GetRoutes().GetRoutes().size(), 1u);
    const std::string after = Dump();
    EXPECT_THAT(after, AllOf(HasSubstr("instance 20 "), HasSubstr("10.8.0.0/16"),
                             Not(HasSubstr("instance 10 ")), Not(HasSubstr("10.9.0.0/16")),
                             Not(HasSubstr("10.7.0.0/16")), Not(HasSubstr("2001:db8:9::/48"))));
    EXPECT_EQ(Control().Redistributions().size(), 3u);  // static, connected and BGP to OSPF
    EXPECT_FALSE(m_reloader->GetRedistribution().IsWaiting());
    TakeCalls();
    m_reloader->Reload();
    EXPECT_FALSE(m_reloader->IsBusy());
    ASSERT_TRUE(Settle());
    EXPECT_THAT(TakeCalls(), IsEmpty());
    // What a start with the same documents gives.
    RestartTheStack();
    EXPECT_EQ(Dump(), after);
  }
};

TEST_F(RestartDuringAReload, EndsWithTheNewConfiguration) {
  BeginToReload();
  RestartAndGoOn();
  ExpectTheNewConfiguration();
}

TEST_F(RestartDuringAReload, EndsWithTheNewConfigurationAlsoWhenRequestsWereSent) {
  BeginToReload();
  TurnSome();
  EXPECT_THAT(TakeCalls(), Contains(HasSubstr("sms_update_route(1, 6, 2, 1, 10.9.0.0, 16, ")));
  RestartAndGoOn();
  ExpectTheNewConfiguration();
}

TEST_F(RestartDuringAReload, MayHappenTwice) {
  BeginToReload();
  TurnSome();
  Control().Restart();
  m_reloader->BringBack();
  TurnSome();
  RestartAndGoOn();
  ExpectTheNewConfiguration();
}

// The stack comes back with what the first reload read, and the second one follows.
TEST_F(RestartDuringAReload, LetsAnotherReloadFollow) {
  BeginToReload();
  WriteVlans(R"("c": {"vid": 30})");
  m_reloader->Reload();
  RestartAndGoOn();
  EXPECT_THAT(Vlans(), ElementsAre(20, 30));  // the remote document keeps VLAN 20
  EXPECT_THAT(Dump(), AllOf(HasSubstr("instance 20 "), HasSubstr("instance 30 "),
                            Not(HasSubstr("instance 10 "))));
}

// A remote document that is known begins to name a protocol in the very reload in which the VLAN
// document disables it: the protocol is taken for one that stays, but does not run.
class RemoteProtocol : public Reloader {
 protected:
  void SetUp() override {
    WriteRemote("");
    StartWith(R"("a": {"vid": 10, "RIPV2": {"enabled": true}, "REDISTRIBUTION": {"rip": false}})");
    ASSERT_EQ(RulesIntoRip(), 4u);
  }
  void WriteRemote(const std::string& members) {
    m_files.Write("remote/one.json",
                  R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10)" + members + "}}}");
  }
  std::size_t RulesIntoRip() { return Control().Redistributions().size(); }
  bool RunsRip() {
    return Manager().GetDcRouterByVID(10, Tarsel::DcRouterMgr::PROTOCOL_RIPV2)->IsEnabled();
  }
};

TEST_F(RemoteProtocol, KeepsItsRulesWhenItIsNamedInTheReloadThatDisablesIt) {
  WriteRemote(R"(, "RIPV2": {"enabled": true})");
  WriteVlans(R"("a": {"vid": 10, "RIPV2": {"enabled": false}, "REDISTRIBUTION": {"rip": false}})");
  m_reloader->Reload();
  EXPECT_FALSE(m_reloader->IsBusy());  // nothing is withdrawn beforehand
  ASSERT_TRUE(Settle());
  EXPECT_FALSE(RunsRip());
  EXPECT_EQ(RulesIntoRip(), 4u);

  // A further reload does not help, since requests for a protocol that is not ready are dropped.
  m_reloader->Reload();
  ASSERT_TRUE(Settle());
  EXPECT_EQ(RulesIntoRip(), 4u);

  // They go when the protocol is enabled again, unless they are wanted then.
  WriteVlans(R"("a": {"vid": 10, "RIPV2": {"enabled": true}})");
  m_reloader->Reload();
  TurnUntilDone();
  for (int i = 0; i < 20000 && m_reloader->GetRedistribution().IsWaiting(); ++i) {
    Turn();
  }
  ASSERT_TRUE(Settle());
  EXPECT_TRUE(RunsRip());
  EXPECT_EQ(RulesIntoRip(), 0u);
}

TEST_F(RemoteProtocol, LosesItsRulesWhenOnlyTheVlanDocumentChanges) {
  WriteVlans(R"("a": {"vid": 10, "RIPV2": {"enabled": false}, "REDISTRIBUTION": {"rip": false}})");
  m_reloader->Reload();
  EXPECT_TRUE(m_reloader->IsBusy());
  TurnUntilDone();
  ASSERT_TRUE(Settle());
  EXPECT_FALSE(RunsRip());
  EXPECT_EQ(RulesIntoRip(), 0u);
}

}  // namespace
