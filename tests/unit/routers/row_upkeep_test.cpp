// The rows as a host sees them that compares them with the stack, shown with BGP peers and RIP.
#include "device/routers/row_upkeep.h"

#include "device/stack/protocol_rows.h"
#include "tests/unit/routers/router_fixture.h"

namespace {

using routers::RowName;
using routers::RowStanding;
using Tarsel::DclConfigObject;
using Tarsel::DcRouterMgr;
using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using Contents = RowStanding::Contents;
using Request = RowStanding::Request;

constexpr auto BGP = DcRouterMgr::PROTOCOL_BGP;
const char NO_PEERS[] = R"("BGP": {"enabled": true})";
const RowName THE_PEER{1, 10, "1"};

std::string Peer(int as = 65001, const std::string& members = "") {
  return R"("BGP": {"PEERS": {"p": {"Name": "BGP_10_1", "address": "10.0.0.1", )"
         R"("as": )" +
         std::to_string(as) + members + "}}}";
}

class RowUpkeep : public RouterFixture {
 protected:
  void SetUp() override {
    RouterFixture::SetUp();
    Apply("");
    TakeRequests();
  }
  // The stack's row is this one now, as if somebody else had asked for it.
  void Meddle(int rowStatus, int adminStatus = 1, const char* contents = "") {
    const unsigned char key[] = {'1'};
    sms_act_protocol_row(1, 1, rowStatus, adminStatus, 10, key, 1, contents);
    ASSERT_TRUE(Settle());
    TakeRequests();
  }
  // All rows in order, as "INSTANCE TABLE KEY".
  static std::vector<std::string> AllRows() {
    std::vector<std::string> rows;
    std::optional<RowName> row = routers::NextRow(nullptr);
    for (; row; row = routers::NextRow(&*row)) {
      rows.push_back(std::to_string(row->instance) + " " + std::to_string(row->table) + " " +
                     row->key);
    }
    return rows;
  }
  static std::size_t CountUnderWay() {
    return routers::CountRowsUnderWay([](const RowName&, Request) { return true; });
  }
  static std::size_t CountDue() {
    return routers::CountRowsUnderWay(
        [](const RowName&, Request request) { return request == Request::DUE; });
  }
  static testing::Matcher<RowStanding> Is(Contents contents, Request request = Request::NONE,
                                          unsigned int status = 0) {
    return AllOf(Field("contents", &RowStanding::contents, contents),
                 Field("request", &RowStanding::request, request),
                 Field("status", &RowStanding::status, status));
  }
  static RowStanding Look() { return routers::LookAtRow(THE_PEER); }
  DclConfigObject* ThePeer() { return Objects(BGP).at(0); }
};

TEST_F(RowUpkeep, ListsTheRowsOfAllProtocolsInOrder) {
  EXPECT_THAT(AllRows(), IsEmpty());
  EXPECT_EQ(routers::CountWantedRows(), 0u);
  Reload(R"({"VLAN_CONFIGURATIONS": {
    "b": {"vid": 20, "RIPV2": {"IF_LIST": {"i": {"Name": "RIP_20_3", "cost": 1}}}},
    "a": {"vid": 10, "RIPV2": {"IF_LIST": {"i": {"Name": "RIP_10_3", "cost": 1},
                                           "k": {"Name": "RIP_10_12", "cost": 1}}}, )" +
             Peer() + "}}}",
         "vlans.json");
  const std::vector<std::string> all = {"10 1 1", "10 6 12", "10 6 3", "20 6 3"};
  EXPECT_EQ(AllRows(), all) << "before the answers";
  ASSERT_TRUE(Settle());
  EXPECT_EQ(AllRows(), all);
  EXPECT_EQ(routers::CountWantedRows(), 4u);
  const RowName gone{6, 10, "2"};
  EXPECT_EQ(routers::NextRow(&gone)->key, "3") << "the last one need not be there";
}

TEST_F(RowUpkeep, ListsARowThatSeveralDocumentsHaveOnce) {
  Apply(Peer());
  LoadRemote(Peer(65002));
  EXPECT_THAT(AllRows(), SizeIs(1));
  EXPECT_EQ(routers::CountWantedRows(), 1u);
  EXPECT_TRUE(routers::IsRowWanted(THE_PEER));
}

TEST_F(RowUpkeep, ARowThatIsBeingRemovedIsListedAndNotWanted) {
  Apply(Peer());
  Load(NO_PEERS);
  EXPECT_THAT(AllRows(), SizeIs(1));
  EXPECT_FALSE(routers::IsRowWanted(THE_PEER));
  EXPECT_EQ(routers::CountWantedRows(), 0u);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(AllRows(), IsEmpty());
}

TEST_F(RowUpkeep, ARowThatIsLeftBehindIsUnwantedAndGoesWhenItIsAskedFor) {
  Apply(Peer());
  Apply(R"("BGP": {"enabled": false})");
  EXPECT_THAT(Rows(), SizeIs(1)) << "the router asks for nothing";
  EXPECT_THAT(AllRows(), ElementsAre("10 1 1"));
  EXPECT_EQ(routers::CountWantedRows(), 0u);
  EXPECT_THAT(Look(), Is(Contents::UNWANTED));
  routers::AskForRowAgain(THE_PEER);
  EXPECT_THAT(Look(), Is(Contents::UNWANTED, Request::ASKED));
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Rows(), IsEmpty());
  EXPECT_THAT(AllRows(), IsEmpty());
  EXPECT_THAT(Look(), Is(Contents::AS_WANTED));
}

TEST_F(RowUpkeep, ARowThatIsLeftBehindIsWantedWhenItsProtocolComesBack) {
  Apply(Peer());
  Apply(R"("BGP": {"enabled": false})");
  Apply(Peer());
  EXPECT_EQ(routers::CountWantedRows(), 1u);
  EXPECT_THAT(Look(), Is(Contents::AS_WANTED));
  EXPECT_THAT(AllRows(), ElementsAre("10 1 1"));
}

TEST_F(RowUpkeep, ARowThatIsLeftBehindBeforeItIsThereIsFound) {
  Load(Peer());
  Load(R"("BGP": {"enabled": false})");
  EXPECT_THAT(Look(), Is(Contents::AS_WANTED, Request::ASKED));
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Look(), Is(Contents::UNWANTED));
}

TEST_F(RowUpkeep, ARemovalThatIsRefusedAfterItsProtocolHasGoneIsNotForgotten) {
  Apply(Peer());
  Refuse(3, 1);
  Load(NO_PEERS);
  Load(R"("BGP": {"enabled": false})");
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Rows(), SizeIs(1));
  EXPECT_THAT(Look(), Is(Contents::UNWANTED));
  routers::AskForRowAgain(THE_PEER);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowUpkeep, ARowThatComesThoughItsProtocolHasGoneIsFound) {
  Apply(Peer());
  Apply(NO_PEERS);
  Apply(R"("BGP": {"enabled": false})");
  ASSERT_THAT(AllRows(), IsEmpty());
  Meddle(4);
  EXPECT_THAT(AllRows(), ElementsAre("10 1 1"));
  EXPECT_THAT(Look(), Is(Contents::UNWANTED));
}

TEST_F(RowUpkeep, ARowThatComesBeforeItsProtocolGoesIsFound) {
  Refuse(3, 1);
  Apply(Peer());
  Meddle(4);
  Apply(R"("BGP": {"enabled": false})");
  EXPECT_THAT(Look(), Is(Contents::UNWANTED));
}

TEST_F(RowUpkeep, ARowThatIsLeftBehindAndGoesOtherwiseIsForgotten) {
  Apply(Peer());
  Apply(R"("BGP": {"enabled": false})");
  Meddle(6, 2);
  EXPECT_THAT(Look(), Is(Contents::AS_WANTED));
  EXPECT_THAT(AllRows(), IsEmpty());
  routers::AskForRowAgain(THE_PEER);
  EXPECT_THAT(TakeRequests(), IsEmpty());
}

TEST_F(RowUpkeep, KnowsARequestWithoutAnAnswer) {
  Load(Peer());
  EXPECT_THAT(Look(), Is(Contents::MISSING, Request::ASKED));
  EXPECT_EQ(CountUnderWay(), 1u);
  EXPECT_EQ(CountDue(), 0u);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Look(), Is(Contents::AS_WANTED));
  EXPECT_EQ(CountUnderWay(), 0u);
  Load(Peer(65002));
  EXPECT_THAT(Look(), Is(Contents::OTHER, Request::ASKED));
  ASSERT_TRUE(Settle());
  Load(NO_PEERS);
  EXPECT_THAT(Look(), Is(Contents::UNWANTED, Request::ASKED));
  EXPECT_EQ(CountUnderWay(), 1u);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(CountUnderWay(), 0u);
}

TEST_F(RowUpkeep, KnowsARowThatWaitsForItsNextTry) {
  Refuse(5, 1);
  Load(Peer());
  loop.AdvanceMilliseconds(60);
  EXPECT_THAT(Look(), Is(Contents::MISSING, Request::DUE, 5));
  EXPECT_EQ(CountDue(), 1u);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(CountUnderWay(), 0u);
}

TEST_F(RowUpkeep, ARowWhoseDocumentHasGoneIsNotUnderWay) {
  Load(Peer());
  EXPECT_EQ(CountUnderWay(), 1u);
  Load(R"("BGP": {"enabled": false})");
  EXPECT_EQ(CountUnderWay(), 0u);
}

TEST_F(RowUpkeep, KnowsWhatTheStackRefusedForGood) {
  Refuse(3, 1);
  Apply(Peer());
  EXPECT_THAT(Look(), Is(Contents::MISSING, Request::NONE, 3));
  Apply(Peer(65002));
  EXPECT_THAT(Look(), Is(Contents::AS_WANTED));
  Refuse(4, 1);
  Apply(Peer(65003));
  EXPECT_THAT(Look(), Is(Contents::OTHER, Request::NONE, 4));
  Refuse(3, 1);
  Apply(NO_PEERS);
  EXPECT_THAT(Look(), Is(Contents::UNWANTED, Request::NONE, 3));
}

TEST_F(RowUpkeep, ComparesContentsAndAdminStatus) {
  Apply(Peer());
  const std::string contents = [] {
    sms_protocol_row row;
    const unsigned char key[] = {'1'};
    return std::string(sms_get_protocol_row(1, 10, key, 1, &row) != 0 ? row.payload : "");
  }();
  Meddle(1, 1, "something else");
  EXPECT_THAT(Look(), Is(Contents::OTHER));
  Meddle(1, 2, contents.c_str());
  EXPECT_THAT(Look(), Is(Contents::OTHER));
  Meddle(1, 1, contents.c_str());
  EXPECT_THAT(Look(), Is(Contents::AS_WANTED));
  Meddle(6);
  EXPECT_THAT(Look(), Is(Contents::MISSING));
}

TEST_F(RowUpkeep, ComparesWithTheDocumentThatCounts) {
  Apply(Peer(65001));
  LoadRemote(Peer(65002));
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Look(), Is(Contents::AS_WANTED));
  EXPECT_THAT(Rows(), ElementsAre(HasSubstr("65002")));
  LoadRemote(NO_PEERS);
  EXPECT_THAT(Look(), Is(Contents::OTHER, Request::DUE)) << "the other document's turn has come";
  EXPECT_EQ(CountDue(), 1u);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Look(), Is(Contents::AS_WANTED));
  EXPECT_THAT(Rows(), ElementsAre(HasSubstr("65001")));
}

TEST_F(RowUpkeep, BeginsTheAttemptsAnew) {
  Refuse(5, 100);
  Apply(Peer());
  EXPECT_THAT(TakeRequests(), SizeIs(10));
  routers::AskForRowAgain(THE_PEER);
  EXPECT_THAT(Look(), Is(Contents::MISSING, Request::DUE));
  EXPECT_EQ(CountDue(), 1u);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(), SizeIs(10));
  EXPECT_THAT(Look(), Is(Contents::MISSING, Request::NONE, 5));
  Control().ClearScripts();
  routers::AskForRowAgain(THE_PEER);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Look(), Is(Contents::AS_WANTED));
  EXPECT_TRUE(ThePeer()->GetInMib());
}

TEST_F(RowUpkeep, AsksForWhatTheStackHasLost) {
  Apply(Peer());
  Meddle(6);
  EXPECT_TRUE(ThePeer()->GetInMib());
  routers::AskForRowAgain(THE_PEER);
  EXPECT_FALSE(ThePeer()->GetInMib()) << "that is known now";
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(), ElementsAre(HasSubstr(R"(1, 1, 4, 1, 10, "1", )")));
  EXPECT_TRUE(ThePeer()->GetInMib());
}

TEST_F(RowUpkeep, AsksForContentsOfARowThatIsThere) {
  Apply(Peer());
  Meddle(1, 1, "something else");
  routers::AskForRowAgain(THE_PEER);
  EXPECT_TRUE(ThePeer()->GetInMib());
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(), ElementsAre(HasSubstr(R"(1, 1, 1, 1, 10, "1", )")));
  EXPECT_THAT(Look(), Is(Contents::AS_WANTED));
}

TEST_F(RowUpkeep, AsksForARemovalThatWasRefused) {
  Apply(Peer());
  Refuse(3, 1);
  Apply(NO_PEERS);
  TakeRequests();
  routers::AskForRowAgain(THE_PEER);
  EXPECT_THAT(Look(), Is(Contents::UNWANTED, Request::DUE));
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(), ElementsAre(R"(1, 1, 6, 2, 10, "1", "")"));
  EXPECT_THAT(AllRows(), IsEmpty());
  EXPECT_THAT(Objects(BGP), IsEmpty());
}

TEST_F(RowUpkeep, EndsARemovalWhoseRowHasGoneMeanwhile) {
  Apply(Peer());
  Refuse(3, 1);
  Apply(NO_PEERS);
  Meddle(6);
  EXPECT_THAT(Look(), Is(Contents::AS_WANTED, Request::NONE, 3));
  routers::AskForRowAgain(THE_PEER);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_THAT(Objects(BGP), IsEmpty());
}

TEST_F(RowUpkeep, GivesUpARequestThatWasNeverAnswered) {
  for (const bool isRemoval : {false, true}) {
    if (isRemoval) {
      Apply(Peer());
    }
    Control().Script(routing_stack::RowType::kProtocol, {routing_stack::Answer::kNever, 0, 0}, 1);
    Apply(isRemoval ? NO_PEERS : Peer());
    TakeRequests();
    EXPECT_EQ(Look().request, Request::ASKED);
    Control().EndLostRequests();
    ASSERT_TRUE(Settle());
    EXPECT_EQ(Look().request, Request::ASKED) << "nobody has told the router";
    EXPECT_THAT(TakeRequests(), IsEmpty());
    routers::AskForRowAgain(THE_PEER);
    ASSERT_TRUE(Settle());
    EXPECT_THAT(TakeRequests(), SizeIs(1));
    EXPECT_THAT(Look(), Is(Contents::AS_WANTED));
  }
}

TEST_F(RowUpkeep, ForgetsARowThatHasGoneAtOnce) {
  Apply(Peer());
  Load(NO_PEERS);
  for (int i = 0; i < 50 && Look().request == Request::ASKED; ++i) {
    loop.AdvanceMilliseconds(1);
  }
  EXPECT_THAT(Look(), Is(Contents::AS_WANTED, Request::DUE));
  loop.AdvanceMilliseconds(20);
  EXPECT_THAT(AllRows(), IsEmpty());
}

// The timer serves two hundred at a time, and turns in between.
TEST_F(RowUpkeep, AsksForManyInPortions) {
  constexpr std::size_t COUNT = 500;
  std::string rows;
  for (std::size_t i = 1; i <= COUNT; ++i) {
    const std::string number = std::to_string(i);
    rows += std::string(rows.empty() ? "" : ",") + "\"" + number + R"(": {"Name": "RIP_10_)" +
            number + "\"}";
  }
  Refuse(3, COUNT);
  Apply(R"("RIPV2": {"IF_LIST": {)" + rows + "}}");
  EXPECT_THAT(TakeRequests(), SizeIs(COUNT));
  EXPECT_THAT(Rows(), IsEmpty());
  std::optional<RowName> row = routers::NextRow(nullptr);
  for (; row; row = routers::NextRow(&*row)) {
    routers::AskForRowAgain(*row);
  }
  EXPECT_EQ(CountDue(), COUNT);
  std::vector<std::size_t> left;
  while (CountDue() != 0 && left.size() < 50) {
    loop.AdvanceMilliseconds(1);
    if (left.empty() ? CountDue() != COUNT : CountDue() != left.back()) {
      left.push_back(CountDue());
    }
  }
  EXPECT_THAT(left, ElementsAre(300u, 100u, 0u));
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Rows(), SizeIs(COUNT));
}

TEST_F(RowUpkeep, RowsOfRipAreAskedForInTheSameWay) {
  Refuse(3, 1);
  Apply(R"("RIPV2": {"IF_LIST": {"i": {"Name": "RIP_10_3", "cost": 1}}})");
  const RowName row{6, 10, "3"};
  EXPECT_THAT(routers::LookAtRow(row), Is(Contents::MISSING, Request::NONE, 3));
  routers::AskForRowAgain(row);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(routers::LookAtRow(row), Is(Contents::AS_WANTED));
}

}  // namespace
