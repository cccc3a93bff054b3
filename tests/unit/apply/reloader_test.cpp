#include "device/apply/reloader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "device/stack/upkeep.h"
#include "tests/support/recording_console.h"
#include "tests/unit/apply/reloader_fixture.h"
#include "vantacore/dc_router_base.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class Reloader : public apply_test::ReloaderFixture {};

TEST_F(Reloader, StartsInTheOrderOfTheDevice) {
  WriteVlans(WITH_ROUTE);
  BeginToStart();
  ASSERT_TRUE(TurnUntil([this] { return m_starts == 1; }, false));
  // Interfaces wait in the library until the stack has announced itself, routes until the instance
  // is ready.
  EXPECT_THAT(TakeCalls(),
              ElementsAre(HasSubstr("sms_act_rtm(0=10 "), HasSubstr("sms_act_rtm(0=32778 ")));
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(
      TakeCalls(),
      ElementsAre(HasSubstr("sms_bld_amb_test_i3_ei("), HasSubstr("sms_bld_amb_test_i3_ei("),
                  HasSubstr("sms_act_ipaddr("), HasSubstr("sms_update_route(")));
  EXPECT_THAT(reported.lines, IsEmpty());
}

TEST_F(Reloader, StartsWithTheDevicesDefaultVlan) {
  m_files.Write("device.json", "{\"default_vlan\": 20}");
  WriteVlans("");
  BeginToStart();
  EXPECT_FALSE(m_isTaken) << "not from inside the call";
  EXPECT_TRUE(m_reloader->IsBusy());
  TurnUntilDone();
  EXPECT_EQ(m_isTaken, true);
  EXPECT_EQ(m_reloader->GetIntent().GetDevice().defaultVlan, 20);
}

TEST_F(Reloader, DoesNotStartWithAFolderThatHasErrors) {
  WriteVlans(R"("a": {"vid": 10, "STATIC_ROUTE": {}}, "b": {})");
  BeginToStart();
  m_reloader->Reload();
  TurnUntilDone();
  EXPECT_EQ(m_isTaken, false);
  EXPECT_EQ(m_starts, 0u);
  EXPECT_EQ(m_overs, 0u);
  EXPECT_THAT(reported.lines, SizeIs(2)) << "all findings";
}

TEST_F(Reloader, StartsWithWarnings) {
  m_files.Remove("device.json");
  WriteVlans("");
  BeginToStart();
  TurnUntilDone();
  EXPECT_EQ(m_isTaken, true);
  EXPECT_THAT(reported.lines, ElementsAre(HasSubstr("warning: ")));
}

TEST_F(Reloader, TellsTheRoutersOfANewVlanAboutItsInterfaces) {
  StartWith(R"("a": {"vid": 20})");
  WriteVlans(R"("a": {"vid": 10, "RIPV2": {"enabled": true}}, "b": {"vid": 20})");
  Reload();
  EXPECT_TRUE(Manager().GetDcRouterByVID(10, Tarsel::DcRouterMgr::PROTOCOL_RIPV2)->IsReady(3));
}

TEST_F(Reloader, RemovesRoutesBeforeTheirVlanGoes) {
  StartWith(WITH_ROUTE + R"(, "b": {"vid": 20})");
  WriteVlans(R"("b": {"vid": 20})");
  Control().Hold();
  Reload();
  EXPECT_THAT(Vlans(), ElementsAre(10, 20)) << "nobody has answered";
  EXPECT_FALSE(m_reloader->IsSettled());
  Control().Release();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Vlans(), ElementsAre(20));
  EXPECT_THAT(TakeCalls(), ElementsAre(HasSubstr("sms_update_route(1, 6, 2, 1, 10.9.0.0, 16, "),
                                       HasSubstr("sms_act_rtm(0=10 1=6 "),
                                       HasSubstr("sms_act_rtm(0=32778 1=6 ")));
  EXPECT_THAT(RequestedRoutes(), IsEmpty());
}

// Everything that does not depend on the VLAN that goes.
TEST_F(Reloader, DoesNotLetTheRestWaitForAVlanThatGoes) {
  StartWith(WITH_ROUTE);
  Control().ScriptVlan(routing_stack::RowType::kRoute, 10, {routing_stack::Answer::kNever, 0, 0},
                       1);
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "eth1", "vlan": 20, "index": 4, "ipv4": "10.2.0.1/16"}]})");
  WriteVlans(R"("b": {"vid": 20, "RIPV2": {"enabled": true}, "STATIC_ROUTES": {"r": {
    "network": "10.8.0.0", "netmask": "255.255.0.0", "gateway": "10.2.0.9"}}})");
  Reload();
  ASSERT_TRUE(TurnUntil([this] { return m_reloader->GetProgress().open == 1; }));
  EXPECT_THAT(Vlans(), ElementsAre(10, 20));
  EXPECT_THAT(Dump(), AllOf(HasSubstr("route 20 10.8.0.0/16"), HasSubstr("\"eth1\"")));
  EXPECT_TRUE(Manager().GetDcRouterByVID(20, Tarsel::DcRouterMgr::PROTOCOL_RIPV2)->IsReady(4));
  EXPECT_FALSE(m_reloader->IsSettled());

  stack.GetUpkeep().EndLostRequests();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Vlans(), ElementsAre(20));
}

TEST_F(Reloader, IsNotHeldUpByAnInstanceThatIsRefused) {
  StartWith(WITH_ROUTE);
  Control().ScriptVlan(routing_stack::RowType::kRtm, 20, {routing_stack::Answer::kStatus, 3, 0},
                       100000);
  const auto count = [this] { return m_reloader->GetKnowledge().GetDifferences().Count(); };
  WriteVlans(WITH_ROUTE + R"(, "b": {"vid": 20, "STATIC_ROUTES": {"r": {
    "network": "10.8.0.0", "netmask": "255.255.0.0", "gateway": "10.2.0.9"}}})");
  Reload();
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(count(), 2u) << "both instances";
  EXPECT_EQ(m_reloader->GetProgress().open, 0u) << "its route waits for them";
  WriteVlans(WITH_ROUTE);
  Reload();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Vlans(), ElementsAre(10));
  EXPECT_EQ(count(), 0u);
}

TEST_F(Reloader, LeavesNoItemOfAVlanThatHasGone) {
  StartWith(WITH_ROUTE + R"(, "b": {"vid": 20, "STATIC_ROUTES": {"r": {
    "network": "10.8.0.0", "netmask": "255.255.0.0", "gateway": "10.2.0.9"}}})");
  Control().ScriptVlan(routing_stack::RowType::kRoute, 20, {routing_stack::Answer::kStatus, 3, 0},
                       100000);
  WriteVlans(WITH_ROUTE);
  Reload();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Vlans(), ElementsAre(10));
  Turn();
  const auto log = test_support::NewConsoleLog(10);
  test_support::RecordingConsole console(log);
  Manager().GetCfgSched().Print(&console);
  EXPECT_THAT(log->output, Not(HasSubstr("StaticRouteItem")));
}

// An empty plan compares nothing; a change does, long before the slow pass comes by.
TEST_F(Reloader, ComparesAfterAChange) {
  StartWith(WITH_ROUTE);
  const auto count = [this] { return m_reloader->GetKnowledge().GetDifferences().Count(); };
  const unsigned char stray[16] = {10, 7};
  const unsigned char gateway[16] = {10, 1, 2, 1};
  sms_update_route(1, 1, 1, 1, stray, 16, gateway, Tarsel::PATH_TYPE_STATIC, 3, 10, 1);
  ASSERT_TRUE(SettleAll());
  Reload();
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(count(), 0u) << "nothing has changed";
  WriteVlans(WITH_ROUTE + R"(, "b": {"vid": 20})");
  Reload();
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(count(), 1u);
}

TEST_F(Reloader, LetsAVlanGoThatComesBackMeanwhile) {
  StartWith(WITH_ROUTE + R"(, "b": {"vid": 20})");
  Control().Hold();
  WriteVlans(R"("b": {"vid": 20})");
  Reload();
  ASSERT_THAT(Vlans(), ElementsAre(10, 20));
  std::vector<std::string> calls;
  ASSERT_TRUE(TurnUntil([&] {
    if (calls.empty()) calls = TakeCalls();
    return !calls.empty();
  })) << "the removal is in the stack";
  WriteVlans(WITH_ROUTE + R"(, "b": {"vid": 20})");
  Reload();
  EXPECT_THAT(
      TakeCalls(),
      ElementsAre(HasSubstr("sms_act_rtm(0=10 1=6 "), HasSubstr("sms_act_rtm(0=32778 1=6 "),
                  HasSubstr("sms_act_rtm(0=10 1=1 "), HasSubstr("sms_act_rtm(0=32778 1=1 ")))
      << "a new one";
  Control().Release();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Vlans(), ElementsAre(10, 20));
  EXPECT_THAT(Dump(), HasSubstr("route 10 10.9.0.0/16"));
}

// It would keep the VLAN, which a start with this folder does not have.
TEST_F(Reloader, LetsAVlanGoThatARemoteDocumentBeginsToName) {
  StartWith(WITH_ROUTE + R"(, "b": {"vid": 20})");
  Control().Hold();
  WriteVlans(R"("b": {"vid": 20})");
  m_files.Write("remote/one.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10}, "b": {"vid": 20,
    "STATIC_ROUTES": {"r": {"network": "10.8.0.0", "netmask": "255.255.0.0",
                            "gateway": "10.2.0.9"}}}}})");
  Reload();
  ASSERT_THAT(Vlans(), ElementsAre(10, 20));
  Control().Release();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Vlans(), ElementsAre(20));
  EXPECT_THAT(Dump(), HasSubstr("rib 20 10.8.0.0/16"));
}

TEST_F(Reloader, WaitsForNothingWhenAVlanHasNoRoutes) {
  StartWith(R"("a": {"vid": 10}, "b": {"vid": 20})");
  WriteVlans(R"("a": {"vid": 10})");
  Control().Hold();
  Reload();
  EXPECT_THAT(Vlans(), ElementsAre(10));
}

TEST_F(Reloader, FollowsAnotherWhoseVlanStillWaits) {
  StartWith(WITH_ROUTE);
  WriteVlans(R"("b": {"vid": 20})");
  Control().Hold();
  Reload();
  WriteVlans(R"("c": {"vid": 30})");
  m_reloader->Reload();
  m_reloader->Reload();
  TurnUntilDone();
  EXPECT_THAT(Vlans(), ElementsAre(10, 30));
  Control().Release();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Vlans(), ElementsAre(30));
}

// A VLAN that was kept goes in turns of the loop, like a reload.

class LettingGo : public Reloader {
 protected:
  // Until VLAN 10, whose route had to go first, has gone. The stages after that are still to come.
  void BeginToLetGo() {
    StartWith(WITH_ROUTE + R"(, "b": {"vid": 20})");
    Control().Hold();
    WriteVlans(R"("b": {"vid": 20})");
    Reload();
    ASSERT_THAT(Vlans(), ElementsAre(10, 20));
    Control().Release();
    ASSERT_TRUE(TurnUntil([this] { return Vlans().size() == 1; }));
    ASSERT_TRUE(m_reloader->IsBusy());
  }
};

TEST_F(LettingGo, IsNotSettledBeforeItIsOver) {
  BeginToLetGo();
  while (m_reloader->IsBusy()) {
    ASSERT_FALSE(m_reloader->IsSettled());
    Turn();
  }
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(m_overs, 1u) << "it is not a reload";
}

TEST_F(LettingGo, IsFollowedByAReload) {
  BeginToLetGo();
  WriteVlans(R"("b": {"vid": 20}, "c": {"vid": 30})");
  Reload();
  EXPECT_EQ(m_overs, 2u);
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Vlans(), ElementsAre(20, 30));
}

TEST_F(Reloader, TellsOfEachReloadWhenItBeginsAndOnceItIsOver) {
  StartWith(WITH_ROUTE);
  EXPECT_EQ(m_begins, 0u) << "the start is not a reload";
  EXPECT_EQ(m_overs, 0u);
  Reload();
  EXPECT_EQ(m_overs, 1u);
  m_reloader->Reload();
  TurnOnly();
  m_reloader->Reload();
  m_reloader->Reload();
  EXPECT_EQ(m_overs, 1u) << "nothing has been applied yet";
  EXPECT_EQ(m_begins, 2u);
  TurnUntilDone();
  EXPECT_EQ(m_begins, 3u);
  EXPECT_EQ(m_overs, 3u) << "two that wait are one";
  WriteVlans("\"b\": 5");
  Reload();
  EXPECT_EQ(m_overs, 4u) << "one that is refused is over as well";
  EXPECT_EQ(m_begins, 4u);
}

TEST_F(Reloader, BringsRoutesBackWithTheirVlan) {
  StartWith(WITH_ROUTE + R"(, "b": {"vid": 20})");
  WriteVlans(R"("b": {"vid": 20})");
  Reload();
  WriteVlans(WITH_ROUTE + R"(, "b": {"vid": 20})");
  Reload();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Dump(), HasSubstr("10.9.0.0/16"));
}

TEST_F(Reloader, AsksForNothingWhenNothingHasChanged) {
  StartWith(WITH_ROUTE);
  const auto* routes = &RequestedRoutes();
  Reload();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(TakeCalls(), IsEmpty());
  EXPECT_EQ(&RequestedRoutes(), routes) << "routes are not even compared";
}

// What a folder that has not changed does all the same.

TEST_F(Reloader, UndoesWhatHappenedToInterfaces) {
  StartWith(WITH_ROUTE);
  m_interfaces.SetStatus({10, 3}, false);
  ASSERT_TRUE(SettleAll());
  TakeCalls();
  Reload();
  ASSERT_TRUE(SettleAll());
  EXPECT_TRUE(m_interfaces.IsInterfaceUp(10, 3));
  EXPECT_THAT(TakeCalls(), Not(IsEmpty()));
}

// The library would compare every row of every document. What else might have changed in it is only
// changed by others, whom nothing but a test allows to.
TEST_F(Reloader, HandsOnlyDocumentsToTheLibraryThatHaveChanged) {
  StartWith(WITH_ROUTE);
  Manager().DeleteOptions("vlans.json", Tarsel::DclConfigObject::VLAN_OPTIONS);
  Reload();
  EXPECT_THAT(Vlans(), IsEmpty()) << "the folder says the same";
  m_files.Write("remote/new.json", R"({"VLAN_CONFIGURATIONS": {}})");
  Reload();
  EXPECT_THAT(Vlans(), IsEmpty()) << "the VLAN document says the same";
  WriteVlans(WITH_ROUTE + R"(, "b": {"vid": 20})");
  Reload();
  EXPECT_THAT(Vlans(), ElementsAre(10, 20));
}

TEST_F(Reloader, AddsARouteWhenItsInterfaceComes) {
  const std::string wan = R"("a": {"vid": 10, "STATIC_ROUTES": {"r": {"interface": "wan",
    "network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"}}})";
  StartWith(wan);
  EXPECT_THAT(RequestedRoutes(), IsEmpty());
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "wan", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"}]})");
  Reload();
  EXPECT_THAT(RequestedRoutes(), SizeIs(1));
}

// A folder with an error.

class Refused : public Reloader {
 protected:
  void SetUp() override {
    StartWith(WITH_ROUTE);
    m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": []})");
  }
  void ExpectThatNothingChanges() {
    const intent::Intent* before = &m_reloader->GetIntent();
    Reload(heard.Asker());
    ASSERT_TRUE(SettleAll());
    EXPECT_THAT(TakeCalls(), IsEmpty());
    EXPECT_EQ(&m_reloader->GetIntent(), before);
    EXPECT_THAT(heard.ends, ElementsAre(false));
    EXPECT_EQ(heard.lines.size(), reported.lines.size()) << "the log gets the same";
  }

  apply_test::Heard heard;
};

TEST_F(Refused, ChangesNothing) {
  WriteVlans(R"("b": {"vid": 20, "STATIC_ROUTE": {}}, "c": {})");
  ExpectThatNothingChanges();
  ASSERT_THAT(heard.lines, SizeIs(3)) << "all findings, and what came of it";
  EXPECT_EQ(heard.lines[2], "Refused: 2 errors; nothing was changed\n");
  EXPECT_THAT(reported.lines[2],
              testing::MatchesRegex("Refused to .*: 2 errors; nothing was changed"));
}

TEST_F(Refused, ChangesNothingForAFileThatIsMissing) {
  m_files.Remove("vlans.json");
  ExpectThatNothingChanges();
  EXPECT_THAT(reported.lines,
              ElementsAre(HasSubstr("vlans.json: "), HasSubstr(": 1 error; nothing was changed")));
}

TEST_F(Refused, IsAppliedWhenItHasBeenCorrected) {
  WriteVlans(R"("b": {"vid": "20"})");
  Reload();
  ASSERT_THAT(Vlans(), ElementsAre(10));
  WriteVlans(R"("b": {"vid": 20})");
  Reload(heard.Asker());
  EXPECT_THAT(heard.ends, ElementsAre(true));
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Vlans(), ElementsAre(20));
}

class Partial : public apply_test::ReloaderFixture {
 protected:
  Partial() : ReloaderFixture(true) {}
};

TEST_F(Partial, AppliesWhatCanBeUsed) {
  StartWith(R"("a": {"vid": 10}, "b": {})");
  EXPECT_EQ(m_isTaken, true);
  EXPECT_THAT(Vlans(), ElementsAre(10));
  WriteVlans(R"("a": {"vid": 10}, "b": {}, "c": {"vid": 30})");
  apply_test::Heard heard;
  Reload(heard.Asker());
  EXPECT_THAT(Vlans(), ElementsAre(10, 30));
  EXPECT_THAT(heard.lines, SizeIs(1));
  EXPECT_EQ(heard.lines.size(), reported.lines.size());
  EXPECT_THAT(heard.ends, ElementsAre(false));
}

// Which protocols run is the VLAN document's to say.
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

TEST_F(RemoteProtocol, LosesItsRulesWhenItIsNamedInTheReloadThatDisablesIt) {
  WriteRemote(R"(, "RIPV2": {"enabled": true})");
  WriteVlans(R"("a": {"vid": 10, "RIPV2": {"enabled": false}, "REDISTRIBUTION": {"rip": false}})");
  Reload();
  ASSERT_TRUE(SettleAll());
  EXPECT_FALSE(RunsRip());
  EXPECT_EQ(RulesIntoRip(), 0u);
}

TEST_F(RemoteProtocol, StopsThoughARemoteDocumentNamesIt) {
  const std::string disabled =
      R"("a": {"vid": 10, "RIPV2": {"enabled": false}, "REDISTRIBUTION": {"rip": false}})";
  WriteRemote(R"(, "RIPV2": {"enabled": true, "IF_LIST": {"r": {"Name": "RIP_10_3"}}})");
  Reload();
  ASSERT_TRUE(SettleAll());
  ASSERT_THAT(Dump(), HasSubstr("protocol 10 6 \"3\""));
  WriteVlans(disabled);
  Reload();
  ASSERT_TRUE(SettleAll());
  EXPECT_FALSE(RunsRip());
  EXPECT_EQ(RulesIntoRip(), 0u);
  EXPECT_THAT(Dump(), Not(HasSubstr("protocol 10 6")));
}

TEST_F(RemoteProtocol, GetsItsRowsWhenTheVlanDocumentStartsIt) {
  WriteVlans(R"("a": {"vid": 10})");
  WriteRemote(R"(, "RIPV2": {"IF_LIST": {"r": {"Name": "RIP_10_3"}}})");
  Reload();
  ASSERT_TRUE(SettleAll());
  ASSERT_FALSE(RunsRip());
  ASSERT_THAT(Dump(), Not(HasSubstr("protocol 10 6")));
  WriteVlans(R"("a": {"vid": 10, "RIPV2": {"enabled": true}})");
  Reload();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Dump(), HasSubstr("protocol 10 6 \"3\""));
}

// The stack hands nothing to a protocol that has stopped.
TEST_F(RemoteProtocol, StopsWhenItsRulesHaveBeenWithdrawn) {
  WriteVlans(R"("a": {"vid": 10, "REDISTRIBUTION": {"rip": false}})");
  m_reloader->Reload();
  std::size_t withdrawals = 0;
  ASSERT_TRUE(TurnUntil([&] {
    for (const std::string& call : TakeCalls()) {
      withdrawals += call.find("sms_act_cipr_redist(") == 0 ? 1 : 0;
    }
    return !RunsRip();
  }));
  EXPECT_EQ(withdrawals, 4u);
}

TEST_F(RemoteProtocol, LosesItsRulesWhenOnlyTheVlanDocumentChanges) {
  WriteVlans(R"("a": {"vid": 10, "RIPV2": {"enabled": false}, "REDISTRIBUTION": {"rip": false}})");
  Control().Hold();
  Reload();
  EXPECT_FALSE(RunsRip()) << "nothing waits for the rules";
  Control().Release();
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(RulesIntoRip(), 0u);
}

}  // namespace
