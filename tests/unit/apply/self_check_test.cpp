// The folder against what is in force, and that against what the stack is asked for.
#include "device/apply/self_check.h"

#include <filesystem>

#include "device/apply/document_feeder.h"
#include "tests/unit/apply/reloader_fixture.h"

namespace apply_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class SelfCheck : public ReloaderFixture {
 protected:
  SelfCheck() : ReloaderFixture(Settings{false, PLACE.Path()}) {}

  rows::Verdict Folder() { return m_reloader->MakeSelfCheck()().at(0); }
  rows::Verdict Asked() { return m_reloader->MakeSelfCheck()().at(1); }
  static void ExpectPass(const rows::Verdict& verdict, const std::string& note) {
    EXPECT_EQ(verdict.fails, 0u);
    EXPECT_THAT(verdict.lines, IsEmpty());
    EXPECT_EQ(verdict.note, note);
  }
  static void ExpectFail(const rows::Verdict& verdict, const std::string& begin) {
    EXPECT_EQ(verdict.fails, 1u);
    EXPECT_THAT(verdict.lines, ElementsAre(StartsWith(begin)));
    EXPECT_NE(verdict.note, "");
  }
  void Undo() {
    m_reloader->Undo({}, 1);
    TurnUntilDone();
    ASSERT_TRUE(SettleAll());
  }
  static std::string Route(const std::string& gateway) {
    return R"("a": {"vid": 10, "STATIC_ROUTES": {"r": {"interface": "eth0",
      "network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": ")" +
           gateway + R"("}}})";
  }

  inline static const test_support::ScratchFolder PLACE;
};

TEST_F(SelfCheck, PassesAsItWasApplied) {
  StartWith(WITH_ROUTE);
  ExpectPass(Folder(), "says what is in force, revision 1");
  ExpectPass(Asked(), "the same");
  EXPECT_EQ(Folder().kind, "folder");
  EXPECT_EQ(Asked().kind, "wanted and asked");
}

TEST_F(SelfCheck, AFolderThatWasChangedAndNotAppliedFails) {
  StartWith(WITH_ROUTE);
  WriteVlans(Route("10.1.2.9"));
  ExpectFail(
      Folder(),
      "folder: 2 changes not applied since what is in force, revision 1 (`diff` lists them)");
  ExpectPass(Asked(), "the same");
  Reload();
  ASSERT_TRUE(SettleAll());
  ExpectPass(Folder(), "says what is in force, revision 2");
  WriteVlans(Route("10.1.2.9") + " ");
  ExpectPass(Folder(), "says what is in force, revision 2");
}

TEST_F(SelfCheck, WhatEventsDoToInterfacesIsNoChangeOfTheFolder) {
  StartWith(WITH_ROUTE);
  m_interfaces.SetStatus({10, 3}, false);
  ExpectPass(Folder(), "says what is in force, revision 1");
  ExpectPass(Asked(), "the same");
}

TEST_F(SelfCheck, AFolderThatCannotBeReadFails) {
  StartWith(WITH_ROUTE);
  m_files.Write("vlans.json", "{");
  ExpectFail(Folder(), "folder: it cannot be applied, 1 error (`check` lists all): vlans.json:1:");
  std::filesystem::remove(m_files.PathOf("vlans.json"));
  ExpectFail(Folder(), "folder: it cannot be applied, 1 error (`check` lists all): vlans.json: ");
  std::filesystem::remove_all(m_files.Path());
  EXPECT_NE(Folder().fails, 0u);
  EXPECT_THAT(Folder().lines, ElementsAre(StartsWith("folder: it cannot be applied, ")));
}

TEST_F(SelfCheck, AFolderThatWasUndoneDiffersOnPurpose) {
  StartWith(WITH_ROUTE);
  WriteVlans(Route("10.1.2.9"));
  Reload();
  Undo();
  ExpectPass(Folder(), "says what was undone, so what is in force, revision 3, differs from it");
  ExpectPass(Asked(), "the same");
  WriteVlans(Route("10.1.2.7"));
  ExpectFail(Folder(), "folder: 2 changes not applied");
  WriteVlans(WITH_ROUTE);
  ExpectPass(Folder(), "says what is in force, revision 3");
}

TEST_F(SelfCheck, AReloadOnTrialIsNamed) {
  StartWith(WITH_ROUTE);
  WriteVlans(Route("10.1.2.9"));
  apply::ReloadRequest request;
  request.confirmSeconds = 600;
  Reload({}, request);
  EXPECT_THAT(Folder().note, StartsWith("says what is in force, revision 2; revision 2 waits for "
                                        "its confirmation, "));
  WriteVlans(Route("10.1.2.7"));
  EXPECT_THAT(Folder().lines,
              ElementsAre(testing::AllOf(
                  StartsWith("folder: 2 changes not applied since what is in force, revision 2"),
                  HasSubstr("; revision 2 waits for its confirmation, "))));
}

TEST_F(SelfCheck, WhatWaitsIsTold) {
  StartWith(R"("a": {"vid": 10, "STATIC_ROUTES": {"r": {"interface": "eth7",
    "network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"}}})");
  ExpectPass(Asked(), "the same, and 1 route waits for an interface or a VLAN that is not there");
}

TEST_F(SelfCheck, WhatIsBeingAppliedFails) {
  StartWith(WITH_ROUTE);
  WriteVlans(Route("10.1.2.9"));
  m_reloader->Reload();
  TurnUntilItIsApplied();
  ExpectFail(Asked(), "wanted and asked: the documents in force are being applied");
  TurnUntilDone();
  ASSERT_TRUE(SettleAll());
  ExpectPass(Asked(), "the same");
}

// By hand, since nothing that an operator can do brings it about.
TEST_F(SelfCheck, WhatIsAskedForAndWhatIsWantedAreComparedBothWays) {
  StartWith(WITH_ROUTE + R"(, "b": {"vid": 20, "RIPV2": {"enabled": true},
    "REDISTRIBUTION": {"bgp": false, "ospf": false, "static": true}})");
  const intent::Intent& intent = m_reloader->GetIntent();
  const auto& knowledge = m_reloader->GetKnowledge();
  apply::Asked asked;
  asked.vlans = {10, 20};
  asked.running = apply::FindRunningProtocols();
  asked.interfaces = m_interfaces.GetIndexes();
  asked.routes = knowledge.GetRoutes().GetWanted();
  asked.rules = knowledge.GetRules().GetWanted();
  ASSERT_FALSE(asked.rules->empty());
  ExpectPass(apply::VerifyAsked(intent, asked), "the same");

  apply::Asked broken = asked;
  broken.routes = std::make_shared<const intent::ResolvedRoutes>();
  EXPECT_THAT(apply::VerifyAsked(intent, broken).lines,
              ElementsAre("wanted and asked: 1 route of the documents in force, not asked for as "
                          "they say"));
  auto routes = *asked.routes;
  ++routes.at(0).metric;
  broken.routes = std::make_shared<const intent::ResolvedRoutes>(routes);
  EXPECT_EQ(apply::VerifyAsked(intent, broken).fails, 2u) << "another metric is another wish";
  routes = *asked.routes;
  routes.push_back(routes[0]);
  routes.back().ifIndex = 99;
  broken.routes = std::make_shared<const intent::ResolvedRoutes>(routes);
  EXPECT_THAT(
      apply::VerifyAsked(intent, broken).lines,
      ElementsAre("wanted and asked: 1 route asked for, not as the documents in force say"));

  broken = asked;
  broken.vlans = {10, 30};
  EXPECT_THAT(apply::VerifyAsked(intent, broken).lines,
              ElementsAre(HasSubstr(" 1 VLAN of the documents in force, not"),
                          HasSubstr(" 1 VLAN asked for, not as the documents")));
  broken = asked;
  auto rules = *asked.rules;
  rules[{30, false, intent::CODE_RIP}] = 1;
  broken.rules = std::make_shared<const intent::Rules>(rules);
  EXPECT_THAT(apply::VerifyAsked(intent, broken).lines,
              ElementsAre(HasSubstr(" 1 destination of redistribution asked for, not")));
  broken.rules = std::make_shared<const intent::Rules>();
  EXPECT_EQ(apply::VerifyAsked(intent, broken).fails, 1u);
  broken = asked;
  broken.toAsk = 3;
  EXPECT_THAT(apply::VerifyAsked(intent, broken).lines,
              ElementsAre("wanted and asked: 3 routes are still to be asked for"));
  broken = asked;
  broken.leaving = {10};
  broken.routes = std::make_shared<const intent::ResolvedRoutes>();
  ExpectPass(apply::VerifyAsked(intent, broken),
             "the same, and 1 route waits for an interface or a VLAN that is not there");
}

class PartialSelfCheck : public ReloaderFixture {
 protected:
  PartialSelfCheck() : ReloaderFixture(true) {}
};

TEST_F(PartialSelfCheck, WhatIsLeftOutIsNoFailure) {
  StartWith(WITH_ROUTE + R"(, "b": {"vid": "ten"})");
  const rows::Verdict folder = m_reloader->MakeSelfCheck()().at(0);
  EXPECT_EQ(folder.fails, 0u);
  EXPECT_EQ(folder.note, "says what is in force");
  m_files.Write("vlans.json", "{");
  EXPECT_EQ(m_reloader->MakeSelfCheck()().at(0).fails, 0u) << "what was in force stays";
  WriteVlans(R"("b": {"vid": "ten"})");
  EXPECT_EQ(m_reloader->MakeSelfCheck()().at(0).fails, 1u);
}

}  // namespace
}  // namespace apply_test
