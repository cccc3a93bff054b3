#include "device/keepers/instance_keeper.h"

#include <random>

#include "stack/sms.h"
#include "tests/unit/keepers/keeper_fixture.h"
#include "vantacore/dcrouter_api.h"

namespace {

using routing_stack::Answer;
using routing_stack::RowType;
using rows::Standing;
using Tarsel::DcRtmMgr;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr RowType RTM = RowType::kRtm;
const char TWO_VLANS[] = R"("a": {"vid": 10}, "b": {"vid": 20})";
const char DISTANCES[] = R"("a": {"vid": 10, "RTM": {"dead_rpm_timer": 90, "ADMIN_DISTANCE": {
  "ospfv2_internal": 1, "ospfv2_external": 2, "ospfv3_internal": 3, "ospfv3_external": 4,
  "ripv2": 5, "ripng": 6, "ebgp": 7, "ibgp": 8}}})";

class InstanceKeeper : public keepers_test::KeeperFixture {
 protected:
  void LoadAndSettle(const std::string& entries) {
    LoadVlans(entries);
    ASSERT_TRUE(Settle());
    TakeCalls();
  }
  // The next request for the instance is answered so.
  void ScriptOf(unsigned instance, const Answer& answer) {
    const unsigned oid[] = {6, instance};
    Control().ScriptRow(oid, 2, answer, 1);
  }
  // What the stack would be told if it asked.
  static std::vector<std::uint32_t> Settings(unsigned instance) {
    amb_cipr_rtm_entity row = {};
    EXPECT_EQ(cGetRtmConfig(instance, &row), 1);
    return {row.word[6], row.word[7], row.word[8], row.word[9], row.word[14], row.word[28]};
  }

  keepers::InstanceKeeper keeper{port};
};

TEST_F(InstanceKeeper, FindsNothingWhereTheStackHasWhatIsWanted) {
  EXPECT_THAT(Pass(keeper), IsEmpty());
  EXPECT_EQ(keeper.CountWanted(), 2u);
  LoadAndSettle(std::string(DISTANCES) + R"(, "b": {"vid": 20})");
  EXPECT_THAT(Rows("instance"), SizeIs(4));
  EXPECT_THAT(Pass(keeper), IsEmpty());
  EXPECT_EQ(keeper.CountWanted(), 4u);
}

TEST_F(InstanceKeeper, AsksForThoseThatTheStackHasNot) {
  Refuse(RTM, 2);
  LoadAndSettle(TWO_VLANS);
  EXPECT_THAT(Pass(keeper), ElementsAre("missing 20 ip4", "missing 20 ip6"));
  AskForAll(keeper);
  EXPECT_THAT(Pass(keeper), IsEmpty());
  EXPECT_THAT(Rows("instance"), SizeIs(4));
  EXPECT_TRUE(DcRtmMgr::GetInstance()->IsRtmReady(20));
  EXPECT_TRUE(DcRtmMgr::GetInstance()->IsRtmReady(32788));
}

TEST_F(InstanceKeeper, AsksForOneWithTheSettingsOfItsDocument) {
  for (const unsigned instance : {10u, 32778u}) {
    LoadAndSettle("");
    ScriptOf(instance, {Answer::kStatus, 3, 0});
    LoadAndSettle(DISTANCES);
    EXPECT_THAT(Pass(keeper), ElementsAre(instance == 10 ? "missing 10 ip4" : "missing 10 ip6"));
    AskForAll(keeper);
    EXPECT_THAT(Pass(keeper), IsEmpty());
    EXPECT_THAT(Settings(10), ElementsAre(1u, 2u, 7u, 8u, 5u, 90u));
    EXPECT_THAT(Settings(32778), ElementsAre(3u, 4u, 7u, 8u, 6u, 90u));
    TakeCalls();
    LoadAndSettle(DISTANCES);
    EXPECT_THAT(TakeCalls(), IsEmpty()) << "for the library nothing differs from the document";
  }
}

// The stack keeps the instance when the VLAN goes and comes, so it does not report it ready.
TEST_F(InstanceKeeper, MakesOneAnewThatTheLibraryDoesNotKnowAsReady) {
  ScriptOf(10, {Answer::kStatus, 3, 0});
  LoadVlans("");
  LoadAndSettle(R"("a": {"vid": 10})");
  ASSERT_FALSE(DcRtmMgr::GetInstance()->IsRtmReady(10));
  EXPECT_THAT(Pass(keeper), ElementsAre("missing 10 ip4"));
  AskForAll(keeper);
  EXPECT_TRUE(DcRtmMgr::GetInstance()->IsRtmReady(10));
  EXPECT_THAT(Pass(keeper), IsEmpty());
}

TEST_F(InstanceKeeper, SendsDistancesAgainAndKeepsTheInstance) {
  for (const unsigned instance : {10u, 32778u}) {
    LoadAndSettle(R"("a": {"vid": 10})");
    const std::vector<std::string> before = Rows("instance");
    ScriptOf(instance, {Answer::kStatus, 3, 0});
    LoadAndSettle(DISTANCES);
    EXPECT_THAT(Pass(keeper), ElementsAre(instance == 10 ? "other 10 ip4" : "other 10 ip6"));
    AskForAll(keeper);
    EXPECT_THAT(TakeCalls(), testing::Not(testing::Contains(HasSubstr("1=6"))));
    EXPECT_THAT(Pass(keeper), IsEmpty());
    EXPECT_THAT(Settings(instance), testing::Contains(90u));
    EXPECT_NE(Rows("instance"), before);
    TakeCalls();
    LoadAndSettle(DISTANCES);
    EXPECT_THAT(TakeCalls(), IsEmpty()) << "for the library nothing differs from the document";
  }
}

// Each of the five, in each family.
TEST_F(InstanceKeeper, ComparesEachDistance) {
  for (const char* name : {"ospfv2_internal", "ospfv2_external", "ospfv3_internal",
                           "ospfv3_external", "ripv2", "ripng", "ebgp", "ibgp"}) {
    LoadAndSettle(DISTANCES);
    std::string changed = DISTANCES;
    changed.insert(changed.find(':', changed.find(name)) + 2, "9");
    Refuse(RTM, 2);
    LoadAndSettle(changed);
    EXPECT_THAT(Pass(keeper), Each(StartsWith("other 10 ip"))) << name;
    EXPECT_THAT(Pass(keeper), SizeIs(std::string(name).find("bgp") == 1 ? 2 : 1)) << name;
    AskForAll(keeper);
    EXPECT_THAT(Pass(keeper), IsEmpty()) << name;
  }
}

TEST_F(InstanceKeeper, DestroysThoseOfNoVlan) {
  LoadAndSettle(TWO_VLANS);
  Refuse(RTM, 2);
  LoadAndSettle(R"("a": {"vid": 10})");
  EXPECT_THAT(Pass(keeper), ElementsAre("unwanted 20 ip4", "unwanted 20 ip6"));
  AskForAll(keeper);
  EXPECT_THAT(Pass(keeper), IsEmpty());
  EXPECT_THAT(Rows("instance"), SizeIs(2));
}

// Its id has the bit of the IPv6 instances: it has one instance, which is not that of VLAN 11.
TEST_F(InstanceKeeper, KeepsTheInstanceOfAVlanWithTheBitOfIp6) {
  LoadAndSettle(R"("a": {"vid": 10}, "b": {"vid": 32779})");
  EXPECT_THAT(Rows("instance"), SizeIs(3));
  EXPECT_THAT(Pass(keeper), IsEmpty());
  ScriptOf(32779, {Answer::kStatus, 3, 0});
  ScriptOf(32779, {Answer::kStatus, 3, 0});
  LoadAndSettle(R"("a": {"vid": 10})");
  EXPECT_THAT(Pass(keeper), ElementsAre("unwanted 11 ip6"));
  AskForAll(keeper);
  EXPECT_THAT(Rows("instance"), SizeIs(2));
}

TEST_F(InstanceKeeper, WaitsForAnAnswerThatIsLate) {
  Script(RTM, {Answer::kLate, 0, 500}, 2);
  LoadVlans(TWO_VLANS);
  loop.AdvanceMilliseconds(400);
  EXPECT_THAT(Pass(keeper), ElementsAre("under way 20 ip4", "under way 20 ip6"));
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Pass(keeper), IsEmpty());
}

TEST_F(InstanceKeeper, OneThatIsNeverAnsweredIsUnderWayUntilItsEndIsReported) {
  Script(RTM, {Answer::kNever, 0, 0}, 2);
  LoadAndSettle(TWO_VLANS);
  EXPECT_THAT(Pass(keeper), ElementsAre("under way 20 ip4", "under way 20 ip6"));
  EndLostRequests();
  EXPECT_THAT(Pass(keeper), ElementsAre("missing 20 ip4", "missing 20 ip6"));
  AskForAll(keeper);
  EXPECT_THAT(Pass(keeper), IsEmpty());
}

TEST_F(InstanceKeeper, OneThatIsAnsweredTwiceIsThere) {
  Script(RTM, {Answer::kTwice, 0, 0}, 2);
  LoadAndSettle(TWO_VLANS);
  EXPECT_THAT(Pass(keeper), IsEmpty());
}

TEST_F(InstanceKeeper, KnowsWhyTheStackRefused) {
  Control().SetLimit(RTM, 3, 4);
  LoadAndSettle(TWO_VLANS);
  EXPECT_THAT(Pass(keeper), ElementsAre("missing 20 ip6"));
  EXPECT_EQ(keeper.Look(rows::InstanceRow{20, true}).status, 4u);
}

TEST_F(InstanceKeeper, AsksForNothingWhereNothingDiffers) {
  keeper.AskAgain(rows::InstanceRow{10, false});
  keeper.AskAgain(rows::InstanceRow{20, true});
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeCalls(), IsEmpty());
}

// Both instances of a VLAN are looked at together.
TEST_F(InstanceKeeper, KeepsToTheSizeOfASlice) {
  LoadAndSettle(TWO_VLANS);
  EXPECT_EQ(CountSlices(keeper, 1), 7u) << "and one that is empty";
  EXPECT_EQ(CountSlices(keeper, 2), 5u);
  EXPECT_EQ(CountSlices(keeper, 1000), 2u);
}

// A report of readiness that comes too late makes a record of defaults. The next VLAN with default
// settings then sends nothing.
TEST_F(InstanceKeeper, AsksForOneThatTheLibraryTakesForReady) {
  cSetRtmReady(20);
  LoadAndSettle(TWO_VLANS);
  EXPECT_THAT(Pass(keeper), ElementsAre("missing 20 ip4"));
  AskForAll(keeper);
  EXPECT_THAT(Pass(keeper), IsEmpty());
  EXPECT_THAT(Rows("instance"), SizeIs(4));
}

// Whatever comes and goes between two slices, what differs all the time is found once, and what is
// right all the time is not.
TEST_F(InstanceKeeper, PassesInSlicesWhileVlansComeAndGo) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const auto draw = [&](unsigned below) { return static_cast<unsigned>(random() % below); };
  const auto entry = [](unsigned vlan) {
    const std::string number = std::to_string(vlan);
    return "\"v" + number + "\": {\"vid\": " + number + "}";
  };
  std::string stays;
  std::vector<std::string> expected;
  for (unsigned vlan = 100; vlan < 140; ++vlan) {
    stays += (stays.empty() ? "" : ",") + entry(vlan);
  }
  LoadAndSettle(stays);
  for (unsigned vlan = 100; vlan < 140; vlan += 3) {
    amb_cipr_rtm_entity row = {};
    row.word[0] = vlan;
    row.word[1] = 6;
    sms_act_rtm(&row);
    expected.push_back("missing " + std::to_string(vlan) + " ip4");
  }
  for (int pass = 0; pass < 20; ++pass) {
    ASSERT_TRUE(Settle());
    std::vector<std::string> lines;
    keeper.BeginPass();
    while (keeper.ContinuePass(1 + draw(7), [&](const rows::Row& row, const Standing& standing) {
      const std::string text = keepers_test::RowText(row);
      if (text[0] == '1') {
        lines.push_back(keepers_test::KindText(standing.kind) + " " + text);
      }
    })) {
      LoadVlans(stays + (draw(2) != 0 ? "" : "," + entry(20 + draw(400) / 80)));
      loop.AdvanceMilliseconds(20);
    }
    ASSERT_THAT(lines, testing::UnorderedElementsAreArray(expected));
  }
}

}  // namespace
