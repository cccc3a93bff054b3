// What becomes of a row that the stack refuses, shown with BGP peers.
#include "tests/support/failing_new.h"
#include "tests/unit/routers/router_fixture.h"

namespace {

using Tarsel::DclConfigObject;
using Tarsel::DcRouterMgr;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr auto BGP = DcRouterMgr::PROTOCOL_BGP;
const char NO_PEERS[] = R"("BGP": {"enabled": true})";

std::string Peer(int as = 65001) {
  return R"("BGP": {"PEERS": {"p": {"Name": "BGP_10_1", "address": "10.0.0.1", )"
         R"("as": )" +
         std::to_string(as) + "}}}";
}

class RowRefusal : public RouterFixture {
 protected:
  void SetUp() override {
    RouterFixture::SetUp();
    Apply("");
    TakeRequests();
  }
  DclConfigObject* ThePeer() { return Objects(BGP).at(0); }
};

TEST_F(RowRefusal, ARetryableOneIsSentAgain) {
  Refuse(5, 3);
  Apply(Peer());
  EXPECT_THAT(TakeRequests(), SizeIs(4));
  EXPECT_TRUE(ThePeer()->GetInMib());
  EXPECT_FALSE(ThePeer()->GetActionReq());
  EXPECT_THAT(traces.AtLevel(0), IsEmpty());
  EXPECT_THAT(Rows(), SizeIs(1));
}

TEST_F(RowRefusal, ARetryWaitsForAWhile) {
  Refuse(5, 1);
  Load(Peer());
  loop.AdvanceMilliseconds(60);
  EXPECT_THAT(TakeRequests(), SizeIs(1));
  EXPECT_THAT(ShowIp("bgp"), HasSubstr("retried (status 5)"));
  loop.AdvanceMilliseconds(100);
  EXPECT_THAT(TakeRequests(), SizeIs(1));
}

TEST_F(RowRefusal, TenRetryableOnesAreFinal) {
  Refuse(5, 100);
  Apply(Peer());
  EXPECT_THAT(TakeRequests(), SizeIs(10));
  EXPECT_FALSE(ThePeer()->GetInMib());
  EXPECT_THAT(traces.AtLevel(0), ElementsAre("The stack refuses to write row 1 of table 1 in "
                                             "instance 10: status 5\n"));
  EXPECT_THAT(ShowIp("bgp"), HasSubstr("refused (status 5)"));
}

TEST_F(RowRefusal, AChangedRowHasAllItsAttemptsAgain) {
  Refuse(5, 100);
  Apply(Peer());
  TakeRequests();
  Apply(Peer(65002));
  EXPECT_THAT(TakeRequests(), SizeIs(10));
}

TEST_F(RowRefusal, SuccessGivesTheAttemptsBack) {
  Refuse(5, 9);
  Apply(Peer());
  EXPECT_TRUE(ThePeer()->GetInMib());
  Refuse(5, 9);
  Apply(Peer(65002));
  EXPECT_TRUE(ThePeer()->GetInMib());
  Refuse(5, 9);
  Apply(NO_PEERS);
  EXPECT_THAT(Objects(BGP), IsEmpty());
  EXPECT_THAT(traces.AtLevel(0), IsEmpty());
}

TEST_F(RowRefusal, AFinalOneIsKeptAndShown) {
  Refuse(3, 1);
  Apply(Peer());
  EXPECT_THAT(TakeRequests(), SizeIs(1));
  ASSERT_THAT(Objects(BGP), SizeIs(1));
  EXPECT_FALSE(ThePeer()->GetInMib());
  EXPECT_THAT(ShowIp("bgp"), HasSubstr("refused (status 3)"));
  EXPECT_THAT(traces.AtLevel(0), ElementsAre("The stack refuses to write row 1 of table 1 in "
                                             "instance 10: status 3\n"));
  Apply(Peer());
  EXPECT_THAT(TakeRequests(), IsEmpty());
  Apply(Peer(65002));
  EXPECT_THAT(TakeRequests(), SizeIs(1));
  EXPECT_TRUE(ThePeer()->GetInMib());
}

TEST_F(RowRefusal, ARowThatNeverCameGoesWithoutARequest) {
  Refuse(3, 1);
  Apply(Peer());
  TakeRequests();
  Load(NO_PEERS);
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_THAT(Objects(BGP), IsEmpty());
}

TEST_F(RowRefusal, ARowThatWaitsForItsRetryGoesWithoutARequest) {
  Refuse(5, 1);
  Load(Peer());
  loop.AdvanceMilliseconds(60);
  TakeRequests();
  Load(NO_PEERS);
  EXPECT_THAT(Objects(BGP), IsEmpty());
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowRefusal, ARefusedChangeLeavesTheRowInTheStack) {
  Apply(Peer());
  Refuse(4, 1);
  Apply(Peer(65002));
  EXPECT_TRUE(ThePeer()->GetInMib());
  EXPECT_THAT(ShowIp("bgp"), HasSubstr("refused (status 4)"));
  TakeRequests();
  Apply(NO_PEERS);
  EXPECT_THAT(TakeRequests(), ElementsAre(R"(1, 1, 6, 2, 10, "1", "")"));
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowRefusal, ARetryThatAnUnchangedDocumentMeetsGoesOn) {
  Refuse(5, 1);
  Load(Peer());
  loop.AdvanceMilliseconds(60);
  Load(Peer());
  EXPECT_FALSE(ThePeer()->GetActionReq());
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(), SizeIs(2));
  EXPECT_TRUE(ThePeer()->GetInMib());
}

TEST_F(RowRefusal, ADestroyOfAnAbsentRowIsAsGoodAsDone) {
  Apply(Peer());
  Refuse(6, 1);
  Apply(NO_PEERS);
  EXPECT_THAT(Objects(BGP), IsEmpty());
  EXPECT_THAT(traces.AtLevel(0), IsEmpty());
}

TEST_F(RowRefusal, ADestroyIsRetried) {
  Apply(Peer());
  TakeRequests();
  Refuse(5, 2);
  Apply(NO_PEERS);
  EXPECT_THAT(TakeRequests(), SizeIs(3));
  EXPECT_THAT(Objects(BGP), IsEmpty());
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowRefusal, ARefusedDestroyIsShownAndTriedAgainByTheNextDocument) {
  Apply(Peer());
  TakeRequests();
  Refuse(3, 1);
  Apply(NO_PEERS);
  ASSERT_THAT(Objects(BGP), SizeIs(1));
  EXPECT_TRUE(ThePeer()->GetInMib());
  EXPECT_THAT(ShowIp("bgp"), HasSubstr("leaving, refused (status 3)"));
  EXPECT_THAT(traces.AtLevel(0), ElementsAre("The stack refuses to drop row 1 of table 1 in "
                                             "instance 10: status 3\n"));
  Apply(NO_PEERS);
  EXPECT_THAT(TakeRequests(), SizeIs(2));
  EXPECT_THAT(Objects(BGP), IsEmpty());
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowRefusal, ARequestThatCannotBeAllocatedIsMadeLater) {
  Apply(R"("BGP": {"enabled": true})");  // the lists are there
  {
    // an object to read into, one to keep, and then the request
    const test_support::FailingNew failing(3);
    Load(Peer());
    EXPECT_TRUE(failing.HasFailed());
  }
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_THAT(traces.AtLevel(1), ElementsAre("Error in Allocating ProtocolRowAction\n"));
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(), SizeIs(1));
  EXPECT_TRUE(ThePeer()->GetInMib());
}

TEST_F(RowRefusal, AGroupWithoutMemoryForItsObjectIsPassedOver) {
  Apply(R"("BGP": {"enabled": true})");
  for (const unsigned int failingOne : {1U, 2U}) {
    const test_support::FailingNew failing(failingOne);
    traces.TakeAssertions();
    Load(Peer());
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_THAT(traces.Assertions(), SizeIs(1));
    EXPECT_THAT(Objects(BGP), IsEmpty());
  }
}

}  // namespace
