// The way of a protocol row from a document into the stack and out of it, shown with BGP peers.
#include "tests/unit/routers/router_fixture.h"

namespace {

using Tarsel::DclConfigObject;
using Tarsel::DcRouterMgr;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr auto BGP = DcRouterMgr::PROTOCOL_BGP;

std::string Peer(int id, int as = 65001) {
  const std::string number = std::to_string(id);
  return "\"p" + number + R"(": {"Name": "BGP_10_)" + number + R"(", "address": "10.0.0.)" +
         number + R"(", "as": )" + std::to_string(as) + "}";
}

std::string Peers(const std::string& peers) { return R"("BGP": {"PEERS": {)" + peers + "}}"; }

std::string Contents(int id, int as = 65001) {
  return "afi=1 safi=1 address=10.0.0." + std::to_string(id) + " as=" + std::to_string(as) +
         " description=\"\"";
}

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

class RowLife : public RouterFixture {
 protected:
  DclConfigObject* ThePeer() { return Objects(BGP).at(0); }
};

TEST_F(RowLife, ANewRowIsCreated) {
  Load(Peers(Peer(1)));
  ASSERT_THAT(Objects(BGP), SizeIs(1));
  EXPECT_FALSE(ThePeer()->GetActionReq());
  EXPECT_FALSE(ThePeer()->GetInMib());
  EXPECT_EQ(ThePeer()->GetRowStatus(), 4);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(
      TakeRequests(),
      ElementsAre(R"(0, 1, 4, 1, 10, "1", )" + Quoted(Contents(1))));  // waited for the stack
  EXPECT_TRUE(ThePeer()->GetInMib());
  EXPECT_FALSE(ThePeer()->GetActionReq());
  EXPECT_EQ(ThePeer()->GetRowStatus(), 1);
  EXPECT_THAT(Rows(), ElementsAre("10 1 \"1\" " + Quoted(Contents(1)) + " up"));
}

TEST_F(RowLife, AnUnchangedDocumentMakesNoRequest) {
  Apply(Peers(Peer(1) + "," + Peer(2)));
  TakeRequests();
  Apply(Peers(Peer(1) + "," + Peer(2)));
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_THAT(Objects(BGP), SizeIs(2));
}

TEST_F(RowLife, AChangedRowIsWrittenAgainInItsPlace) {
  Apply(Peers(Peer(1) + "," + Peer(2)));
  TakeRequests();
  DclConfigObject* const first = ThePeer();
  Apply(Peers(Peer(1, 65009) + "," + Peer(2)));
  EXPECT_THAT(TakeRequests(), ElementsAre(R"(1, 1, 1, 1, 10, "1", )" + Quoted(Contents(1, 65009))));
  EXPECT_EQ(ThePeer(), first);
  EXPECT_THAT(Rows(), ElementsAre("10 1 \"1\" " + Quoted(Contents(1, 65009)) + " up",
                                  "10 1 \"2\" " + Quoted(Contents(2)) + " up"));
}

TEST_F(RowLife, AVanishedRowIsDestroyedAndItsObjectGoesWithTheAnswer) {
  Apply(Peers(Peer(1) + "," + Peer(2)));
  TakeRequests();
  Load(Peers(Peer(2)));
  EXPECT_THAT(TakeRequests(), ElementsAre(R"(1, 1, 6, 2, 10, "1", "")"));
  ASSERT_THAT(Objects(BGP), SizeIs(2));
  EXPECT_EQ(ThePeer()->GetRowStatus(), 6);
  EXPECT_TRUE(ThePeer()->GetInMib());
  ASSERT_TRUE(Settle());
  ASSERT_THAT(Objects(BGP), SizeIs(1));
  EXPECT_EQ(ThePeer()->GetId(), 2u);
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_THAT(Rows(), SizeIs(1));
}

TEST_F(RowLife, AllRowsGoWithTheListsMember) {
  Apply(Peers(Peer(1) + "," + Peer(2)));
  Apply(R"("BGP": {"enabled": true})");
  EXPECT_THAT(Objects(BGP), IsEmpty());
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowLife, ADestroyIsAskedForOnceWhileItWaits) {
  Apply(Peers(Peer(1)));
  TakeRequests();
  Control().Hold();
  Load(R"("BGP": {"enabled": true})");
  Load(R"("BGP": {"enabled": true})");
  EXPECT_THAT(TakeRequests(), SizeIs(1));
  Control().Release();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_THAT(Objects(BGP), IsEmpty());
}

TEST_F(RowLife, ARowThatReturnsBeforeItsDestroyWasAnsweredIsWrittenAgain) {
  Apply(Peers(Peer(1)));
  TakeRequests();
  Control().Hold();
  Load(R"("BGP": {"enabled": true})");
  Load(Peers(Peer(1)));
  Control().Release();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(), ElementsAre(R"(1, 1, 6, 2, 10, "1", "")",
                                          R"(0, 1, 1, 1, 10, "1", )" + Quoted(Contents(1))));
  ASSERT_THAT(Objects(BGP), SizeIs(1));
  EXPECT_TRUE(ThePeer()->GetInMib());
  EXPECT_THAT(Rows(), SizeIs(1));
}

TEST_F(RowLife, ARowThatVanishesBeforeItsCreationWasAnsweredIsDestroyedAfterwards) {
  Apply("");
  TakeRequests();
  Control().Hold();
  Load(Peers(Peer(1)));
  Load(R"("BGP": {"enabled": true})");
  EXPECT_THAT(TakeRequests(), SizeIs(1));
  Control().Release();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(), ElementsAre(R"(0, 1, 6, 2, 10, "1", "")"));
  EXPECT_THAT(Objects(BGP), IsEmpty());
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowLife, OnlyTheLatestAnswerDecides) {
  Apply("");
  TakeRequests();
  Control().Hold();
  Load(Peers(Peer(1)));
  Load(Peers(Peer(1, 65002)));
  Refuse(3, 1);  // the first of the two
  Control().Release();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(), SizeIs(2));
  EXPECT_TRUE(ThePeer()->GetInMib());
  EXPECT_THAT(traces.AtLevel(0), IsEmpty());
  EXPECT_THAT(Rows(), ElementsAre("10 1 \"1\" " + Quoted(Contents(1, 65002)) + " up"));
}

TEST_F(RowLife, WithdrawingTheMemberLeavesTheRows) {
  Apply(Peers(Peer(1)));
  TakeRequests();
  Apply("");
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_THAT(Router(BGP)->GetConfigLists(), IsEmpty());
  EXPECT_THAT(Rows(), SizeIs(1));
  // objects that come afterwards know of no row
  Load(Peers(Peer(1)));
  EXPECT_FALSE(ThePeer()->GetInMib());
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(), ElementsAre(R"(1, 1, 4, 1, 10, "1", )" + Quoted(Contents(1))));
  EXPECT_THAT(Rows(), SizeIs(1));
}

TEST_F(RowLife, DisablingTheProtocolLeavesTheRows) {
  Apply(Peers(Peer(1)));
  TakeRequests();
  Apply(R"("BGP": {"enabled": false, "PEERS": {)" + Peer(1) + "}}");
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_THAT(Router(BGP)->GetConfigLists(), IsEmpty());
  EXPECT_THAT(Rows(), SizeIs(1));
}

TEST_F(RowLife, RowsGoWithTheirVlan) {
  Apply(Peers(Peer(1)));
  Reload("{}", "vlans.json");
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Rows(), IsEmpty());
  Apply(Peers(Peer(1)));
  EXPECT_TRUE(ThePeer()->GetInMib());
  EXPECT_THAT(Rows(), SizeIs(1));
}

TEST_F(RowLife, AnAnswerForAWithdrawnRowFindsNobody) {
  Apply("");
  routing_stack::Answer late;
  late.kind = routing_stack::Answer::kLate;
  late.delayMs = 250;
  Control().Script(routing_stack::RowType::kProtocol, late, 1);
  Load(Peers(Peer(1)));
  loop.AdvanceMilliseconds(100);
  Load("");
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Rows(), SizeIs(1));
  EXPECT_THAT(traces.AtLevel(0), IsEmpty());
}

TEST_F(RowLife, AnAnswerToAWithdrawnDocumentIsNotTakenForThatToTheNext) {
  Apply("");
  TakeRequests();
  Control().Hold();
  Load(Peers(Peer(1)));
  Load("");
  Load(Peers(Peer(1, 65002)));
  Refuse(3, 1);
  Control().Release();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(), SizeIs(2));
  EXPECT_TRUE(ThePeer()->GetInMib());
  EXPECT_THAT(traces.AtLevel(0), IsEmpty());
}

TEST_F(RowLife, AnswersForADeletedVlanFindNobody) {
  Apply("");
  Control().Hold();
  Load(Peers(Peer(1)));
  Reload("{}", "vlans.json");
  Control().Release();
  ASSERT_TRUE(Settle());
  EXPECT_EQ(Manager().GetDcRouterByVID(10, BGP), nullptr);
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowLife, ARepeatedAnswerIsIgnored) {
  Apply("");
  routing_stack::Answer twice;
  twice.kind = routing_stack::Answer::kTwice;
  Control().Script(routing_stack::RowType::kProtocol, twice, 2);
  Apply(Peers(Peer(1)));
  EXPECT_TRUE(ThePeer()->GetInMib());
  Apply(R"("BGP": {"enabled": true})");
  EXPECT_THAT(Objects(BGP), IsEmpty());
}

TEST_F(RowLife, AStackThatAnswersFromInsideTheCallChangesNothing) {
  Apply("");
  Control().SetSynchronous(true);
  Refuse(5, 1);
  Apply(Peers(Peer(1) + "," + Peer(2)));
  EXPECT_THAT(Rows(), SizeIs(2));
  ASSERT_THAT(Objects(BGP), SizeIs(2));
  for (const DclConfigObject* object : Objects(BGP)) {
    EXPECT_TRUE(object->GetInMib());
  }
  Refuse(5, 1);
  Apply(R"("BGP": {"enabled": true})");
  EXPECT_THAT(Objects(BGP), IsEmpty());
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowLife, ManyRowsGoInPortionsButAll) {
  std::string peers;
  for (int id = 1; id <= 250; ++id) {
    peers += (id == 1 ? "" : ",") + Peer(id);
  }
  Refuse(5, 250);
  Apply(Peers(peers));
  EXPECT_THAT(Rows(), SizeIs(250));
  Apply(R"("BGP": {"enabled": true})");
  EXPECT_THAT(Objects(BGP), IsEmpty());
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowLife, SuspendedObjectsAreWrittenWhenTheyAreResumed) {
  Apply(Peers(Peer(1)));
  TakeRequests();
  Tarsel::DCLConfigList* const list =
      Router(BGP)->GetConfigLists().at("vlans.json")->GetLists().at(0);
  list->Clear(10, true);
  Apply(Peers(Peer(1, 65002)));
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_TRUE(ThePeer()->GetSuspended());
  list->Clear(10, false);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(), ElementsAre(R"(1, 1, 1, 1, 10, "1", )" + Quoted(Contents(1, 65002))));
}

TEST_F(RowLife, TheListDestroysItsRowsWhenItIsAskedTo) {
  Apply(Peers(Peer(1) + "," + Peer(2)));
  Router(BGP)
      ->GetConfigLists()
      .at("vlans.json")
      ->GetLists()
      .at(0)
      ->DeleteOptions("vlans.json", DclConfigObject::VLAN_OPTIONS);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Objects(BGP), IsEmpty());
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowLife, InterfaceEventsLeaveRowsAlone) {
  Apply(Peers(Peer(1)));
  TakeRequests();
  Manager().ProcessInterfaceStatusChange(10, 3, 2);
  Manager().ProcessInterfaceStatusChange(10, 3, 1);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(), IsEmpty());
}

TEST_F(RowLife, TracesNameTheRow) {
  Apply(Peers(Peer(1)));
  EXPECT_EQ(traces.CountOf("5:BgpPeers:: ActionReq: 1 InMib: 0  Vlan: 10   ID: 1 RowStatus C\n"),
            1u);
  EXPECT_EQ(traces.CountOf("5:ProtocolRowAction: shared_context = 1 row_status = 4 table = 1 "
                           "instance = 10 key = 1\n"),
            1u);
}

}  // namespace
