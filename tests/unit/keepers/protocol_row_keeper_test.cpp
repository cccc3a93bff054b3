#include "device/keepers/protocol_row_keeper.h"

#include "device/ports/protocol_rows.h"
#include "device/stack/protocol_rows.h"
#include "tests/unit/keepers/keeper_fixture.h"

namespace {

using routing_stack::Answer;
using routing_stack::RowType;
using rows::Standing;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr RowType PROTOCOL = RowType::kProtocol;

std::string Peer(int number, int as = 65001) {
  const std::string text = std::to_string(number);
  return "\"p" + text + R"(": {"Name": "BGP_10_)" + text + R"(", "address": "10.0.0.)" + text +
         R"(", "as": )" + std::to_string(as) + "}";
}

class ProtocolRowKeeper : public keepers_test::KeeperFixture {
 protected:
  // VLAN 10 has these peers.
  void LoadPeers(const std::string& peers) {
    LoadVlans(R"("a": {"vid": 10, "BGP": {"enabled": true, "PEERS": {)" + peers + "}}}");
  }
  void LoadAndSettle(const std::string& peers) {
    LoadPeers(peers);
    ASSERT_TRUE(Settle());
    TakeCalls();
  }

  std::size_t CountUnderWay() const {
    return rows.CountUnderWay([](const rows::ProtocolRow&) { return true; });
  }

  ports::ProtocolRows rows{port};
  keepers::ProtocolRowKeeper keeper{rows};
};

TEST_F(ProtocolRowKeeper, FindsNothingWhereTheStackHasWhatIsWanted) {
  EXPECT_EQ(keeper.CountWanted(), 0u);
  EXPECT_THAT(Pass(keeper), IsEmpty());
  LoadAndSettle(Peer(1) + "," + Peer(2));
  EXPECT_THAT(Rows("protocol"), SizeIs(2));
  EXPECT_EQ(keeper.CountWanted(), 2u);
  EXPECT_THAT(Pass(keeper), IsEmpty());
  EXPECT_EQ(CountUnderWay(), 0u);
  EXPECT_EQ(keeper.Look(rows::ProtocolRow{10, 1, "7"}).kind, Standing::Kind::EQUAL);
}

TEST_F(ProtocolRowKeeper, AsksForOneThatTheStackRefused) {
  Refuse(PROTOCOL);
  LoadAndSettle(Peer(1) + "," + Peer(2));
  EXPECT_THAT(Pass(keeper), ElementsAre("missing 10 1 1"));
  EXPECT_EQ(keeper.Look(rows::ProtocolRow{10, 1, "1"}).status, 3u);
  EXPECT_EQ(CountUnderWay(), 0u);
  AskForAll(keeper);
  EXPECT_THAT(Pass(keeper), IsEmpty());
}

TEST_F(ProtocolRowKeeper, WaitsForTheRoutersOwnTries) {
  Script(PROTOCOL, {Answer::kStatus, 5, 0}, 10);
  LoadPeers(Peer(1));
  loop.AdvanceMilliseconds(50);
  EXPECT_THAT(Pass(keeper), ElementsAre("under way 10 1 1"));
  EXPECT_EQ(CountUnderWay(), 1u);
  EXPECT_EQ(rows.CountUnderWay([](const rows::ProtocolRow& row) { return row.key != "1"; }), 0u);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Pass(keeper), ElementsAre("missing 10 1 1"));
  EXPECT_EQ(keeper.Look(rows::ProtocolRow{10, 1, "1"}).status, 5u);
  EXPECT_EQ(CountUnderWay(), 0u);
}

TEST_F(ProtocolRowKeeper, AsksForContentsThatTheStackRefused) {
  LoadAndSettle(Peer(1));
  Refuse(PROTOCOL);
  LoadAndSettle(Peer(1, 65002));
  EXPECT_THAT(Pass(keeper), ElementsAre("other 10 1 1"));
  AskForAll(keeper);
  EXPECT_THAT(Pass(keeper), IsEmpty());
}

TEST_F(ProtocolRowKeeper, AsksForARemovalThatTheStackRefused) {
  LoadAndSettle(Peer(1));
  Refuse(PROTOCOL);
  LoadAndSettle("");
  EXPECT_THAT(Pass(keeper), ElementsAre("unwanted 10 1 1"));
  EXPECT_EQ(keeper.CountWanted(), 0u);
  AskForAll(keeper);
  EXPECT_THAT(Rows("protocol"), IsEmpty());
  EXPECT_THAT(Pass(keeper), IsEmpty());
}

TEST_F(ProtocolRowKeeper, OneThatIsNeverAnsweredIsUnderWayUntilItsEndIsReported) {
  Script(PROTOCOL, {Answer::kNever, 0, 0});
  LoadAndSettle(Peer(1));
  EXPECT_THAT(Pass(keeper), ElementsAre("under way 10 1 1"));
  EXPECT_EQ(CountUnderWay(), 1u);
  const std::uint64_t since = keeper.Look(rows::ProtocolRow{10, 1, "1"}).since;
  EXPECT_GT(since, 0u);
  EXPECT_LT(since, port.Now());
  EndLostRequests();
  EXPECT_THAT(Pass(keeper), ElementsAre("missing 10 1 1"));
  EXPECT_EQ(CountUnderWay(), 0u);
  AskForAll(keeper);
  EXPECT_THAT(Pass(keeper), IsEmpty());
}

TEST_F(ProtocolRowKeeper, ARemovalThatIsNeverAnsweredIsAskedForAgain) {
  LoadAndSettle(Peer(1));
  Script(PROTOCOL, {Answer::kNever, 0, 0});
  LoadAndSettle("");
  EXPECT_THAT(Pass(keeper), ElementsAre("under way 10 1 1"));
  EndLostRequests();
  EXPECT_THAT(Pass(keeper), ElementsAre("unwanted 10 1 1"));
  AskForAll(keeper);
  EXPECT_THAT(Rows("protocol"), IsEmpty());
}

TEST_F(ProtocolRowKeeper, WaitsForAnAnswerThatIsLate) {
  Script(PROTOCOL, {Answer::kLate, 0, 500});
  LoadPeers(Peer(1));
  loop.AdvanceMilliseconds(400);
  EXPECT_THAT(Pass(keeper), ElementsAre("under way 10 1 1"));
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Pass(keeper), IsEmpty());
}

TEST_F(ProtocolRowKeeper, OneThatIsAnsweredTwiceIsThere) {
  Script(PROTOCOL, {Answer::kTwice, 0, 0});
  LoadAndSettle(Peer(1));
  EXPECT_THAT(Pass(keeper), IsEmpty());
}

TEST_F(ProtocolRowKeeper, TakesAwayWhatARouterHasLeftBehind) {
  LoadAndSettle(Peer(1));
  LoadVlans(R"("a": {"vid": 10, "BGP": {"enabled": false}})");
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Rows("protocol"), SizeIs(1));
  EXPECT_EQ(keeper.CountWanted(), 0u);
  EXPECT_THAT(Pass(keeper), ElementsAre("unwanted 10 1 1"));
  AskForAll(keeper);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Rows("protocol"), IsEmpty());
}

TEST_F(ProtocolRowKeeper, LetsRowsGoWithTheirVlan) {
  LoadAndSettle(Peer(1));
  LoadVlans(R"("a": {"vid": 10, "BGP": {"enabled": false}})");
  ASSERT_TRUE(Settle());
  keeper.SetLeavingVlans({10});
  EXPECT_THAT(Pass(keeper), IsEmpty());
  keeper.SetLeavingVlans({});
  EXPECT_THAT(Pass(keeper), SizeIs(1));
}

TEST_F(ProtocolRowKeeper, KeepsToTheSizeOfASlice) {
  LoadAndSettle(Peer(1) + "," + Peer(2) + "," + Peer(3));
  EXPECT_EQ(CountSlices(keeper, 1), 4u) << "the last one is empty";
  EXPECT_EQ(CountSlices(keeper, 2), 2u);
}

TEST_F(ProtocolRowKeeper, PassesInSlicesWhileRowsComeAndGo) {
  std::string stay;
  std::vector<std::string> expected;
  for (int number = 10; number < 30; ++number) {
    stay += (stay.empty() ? "" : ",") + Peer(number);
  }
  LoadAndSettle(stay);
  for (int number = 10; number < 30; number += 2) {
    const std::string key = std::to_string(number);
    sms_act_protocol_row(1, 1, 6, 2, 10, reinterpret_cast<const unsigned char*>(key.data()), 2, "");
    expected.push_back("missing 10 1 " + key);
  }
  ASSERT_TRUE(Settle());
  for (int number = 30; number < 50; ++number) {
    std::vector<std::string> lines;
    keeper.BeginPass();
    for (bool isOn = true; isOn;) {
      isOn = keeper.ContinuePass(3, [&](const rows::Row& row, const Standing& standing) {
        if (std::get<rows::ProtocolRow>(row).key < "30") {
          lines.push_back(keepers_test::KindText(standing.kind) + " " + keepers_test::RowText(row));
        }
      });
      LoadPeers(stay + "," + Peer(number + static_cast<int>(lines.size())));
      loop.AdvanceMilliseconds(5);
    }
    ASSERT_THAT(lines, testing::ElementsAreArray(expected));
  }
}

}  // namespace
