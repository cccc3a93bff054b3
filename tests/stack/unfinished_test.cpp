// The rows of which the stack has not finished a request.

#include "requests_test.h"

namespace stack_test {
namespace {

class UnfinishedTest : public RequestsTest {};

TEST_F(UnfinishedTest, ARequestIsNotFinishedUntilItIsAnswered) {
  EXPECT_THAT(Unfinished(), IsEmpty());
  SendAll();
  EXPECT_EQ(All(), Unfinished());
  host.onCall = [this](const std::string& call) {
    if (call == "cRunPendingAction(1:10:3)") {
      EXPECT_EQ(4u, Unfinished().size());
      EXPECT_FALSE(facts.IsUnfinished(Name(RowType::kInterface)));
      EXPECT_TRUE(facts.IsUnfinished(Name(RowType::kAddress)));
    }
  };
  RunAll();
  host.onCall = nullptr;
  EXPECT_THAT(Unfinished(), IsEmpty());
}

TEST_F(UnfinishedTest, AnotherRowIsAnotherRow) {
  Send(RowType::kRoute);
  Send(RowType::kProtocol);
  for (int change = 0; change < 8; ++change) {
    RowName route = Name(RowType::kRoute);
    RowName protocol = Name(RowType::kProtocol);
    switch (change) {
      case 0:
        route.instance = protocol.instance = 11;
        break;
      case 1:
        route.ifIndex = 1;
        protocol.table = 8;
        break;
      case 2:
        route.address[1] = 10;
        protocol.key = "kex";
        break;
      case 3:
        route.nextHop[3] = 2;
        protocol.key = "ke";
        break;
      case 4:
        route.prefixLength = 17;
        protocol.key = "keys";
        break;
      default:
        route.addressType = 2;
        protocol.key.clear();
    }
    EXPECT_FALSE(facts.IsUnfinished(route)) << change;
    EXPECT_FALSE(facts.IsUnfinished(protocol)) << change;
  }
  EXPECT_TRUE(facts.IsUnfinished(Name(RowType::kRoute)));
  EXPECT_TRUE(facts.IsUnfinished(Name(RowType::kProtocol)));
}

TEST_F(UnfinishedTest, ALateOneIsNotFinished) {
  ScriptAll(AnswerOf(Answer::kLate, 500));
  SendAll();
  RunAll();
  EXPECT_EQ(All(), Unfinished());
  now += 500;
  EXPECT_EQ(All(), Unfinished());
  RunAll();
  EXPECT_THAT(Unfinished(), IsEmpty());
}

TEST_F(UnfinishedTest, OneThatIsNeverAnsweredIsNotFinishedUntilItsEnd) {
  ScriptAll(AnswerOf(Answer::kNever));
  SendAll();
  RunAll();
  EXPECT_TRUE(stack.IsIdle());
  EXPECT_EQ(All(), Unfinished());
  host.Take();
  EXPECT_TRUE(upkeep.EndLostRequests());
  EXPECT_THAT(
      host.Take(),
      ElementsAre("interface 10 3: 4 -> 0", "cRunPendingAction(1:10:3)",
                  "address 10 3 type 1 10.3: 1 -> 0", "cRunPendingAction(2:10:3:1:167838211)",
                  "route 10 10.0/16 via 10.1 if 0: 1 -> 0",
                  testing::StartsWith("cRunPendingAction(3"), "rule 10 131072 851968: 1 -> 0",
                  testing::StartsWith("cRunPendingAction(4"), "protocol 10 7 key: 1 -> 0",
                  testing::StartsWith("cRunPendingAction(5"), "rtm 11: 1 -> 0"));
  EXPECT_THAT(Unfinished(), IsEmpty());
  EXPECT_FALSE(upkeep.EndLostRequests());
  EXPECT_THAT(host.Take(), IsEmpty());
}

TEST_F(UnfinishedTest, ALaterAnswerForTheRowIsItsEnd) {
  ScriptAll(AnswerOf(Answer::kNever));
  SendAll();
  RunAll();
  SendAll();
  EXPECT_EQ(All(), Unfinished());
  RunAll();
  EXPECT_THAT(Unfinished(), IsEmpty());
  EXPECT_FALSE(upkeep.EndLostRequests());
}

TEST_F(UnfinishedTest, WhatWaitsAtARestartIsNotFinished) {
  control.Script(RowType::kInterface, AnswerOf(Answer::kLate, 500), 1);
  Send(RowType::kInterface);
  RunAll();
  SendAll();
  control.Restart();
  EXPECT_EQ(All(), Unfinished());
  RunAll();
  EXPECT_EQ(All(), Unfinished());
  EXPECT_TRUE(upkeep.EndLostRequests());
  EXPECT_THAT(Unfinished(), IsEmpty());
}

TEST_F(UnfinishedTest, OnesThatADestroyOfTheirInstanceCancelsAreFinished) {
  AddInstance(11);
  DropInstance(11);
  RunAll();
  EXPECT_THAT(Unfinished(), IsEmpty());
  control.Script(RowType::kRtm, AnswerOf(Answer::kLate, 500), 1);
  AddInstance(11);
  RunAll();
  EXPECT_THAT(Unfinished(), ElementsAre("rtm 11"));
  DropInstance(11);
  EXPECT_THAT(Unfinished(), ElementsAre("rtm 11"));
  RunAll();
  EXPECT_THAT(Unfinished(), IsEmpty());
}

TEST_F(UnfinishedTest, ARowIsUnfinishedSinceItsFirstRequest) {
  const RowName row = Name(RowType::kInterface);
  EXPECT_FALSE(facts.UnfinishedSince(row));
  control.Hold();
  const std::uint64_t first = now;
  Send(RowType::kInterface);
  now += 100;
  Send(RowType::kInterface);
  EXPECT_EQ(first, facts.UnfinishedSince(row));
  now += 100;
  Send(RowType::kInterface);
  control.Script(RowType::kInterface, AnswerOf(Answer::kNever), 1);
  control.Script(RowType::kInterface, AnswerOf(Answer::kLate, 1000), 2);
  control.Release();
  RunAll();
  EXPECT_EQ(first, facts.UnfinishedSince(row));
  upkeep.EndLostRequests();
  EXPECT_EQ(first + 100, facts.UnfinishedSince(row)) << "they keep their times when they are late";
}

TEST_F(UnfinishedTest, QuestionsKeepUpWithRequestsThatComeAndGo) {
  control.SetSliceEvents(1);
  std::vector<RowName> names;
  for (unsigned int i = 1; i <= 200; ++i) {
    AddInterface(10, i);
    names.push_back(Name(RowType::kInterface));
    names.back().ifIndex = i;
  }
  for (unsigned int i = 201; facts.HasUnfinished(); ++i) {
    for (std::size_t k = 0; k < names.size(); ++k) {
      ASSERT_EQ(k >= log.rows.size(), facts.IsUnfinished(names[k])) << k;
    }
    if (i < 400 && i % 3 == 0) {
      AddInterface(10, i);
      names.push_back(names.front());
      names.back().ifIndex = i;
    }
    RunOnce();
  }
  EXPECT_EQ(names.size(), log.rows.size());
  EXPECT_GT(names.size(), 250u);
}

// Names.

TEST_F(UnfinishedTest, NamesAreOrderedByTheirKindsAndKeys) {
  std::vector<RowName> names;
  for (const RowType type : kAll) {
    names.push_back(Name(type));
  }
  RowName later = Name(RowType::kProtocol);
  later.key = "kez";
  names.push_back(later);
  for (std::size_t i = 0; i < names.size(); ++i) {
    for (std::size_t k = 0; k < names.size(); ++k) {
      EXPECT_EQ(i < k, names[i] < names[k]);
      EXPECT_EQ(i == k, names[i] == names[k]);
    }
  }
  RowName route = Name(RowType::kRoute);
  route.nextHop[0] = 9;
  EXPECT_TRUE(route < Name(RowType::kRoute));
  route.prefixLength = 17;
  EXPECT_TRUE(Name(RowType::kRoute) < route);
  route.address[0] = 9;
  EXPECT_TRUE(route < Name(RowType::kRoute));
}

}  // namespace
}  // namespace stack_test
