// What the stack tells of its life and of its answers.

#include "requests_test.h"

namespace stack_test {
namespace {

class AnswersTest : public RequestsTest {};

// Life.

TEST_F(AnswersTest, AStackIsReadyFromItsAnnouncementUntilItsRestart) {
  EXPECT_TRUE(facts.IsReady());
  EXPECT_EQ(0u, facts.CountRestarts());
  control.Restart();
  EXPECT_FALSE(facts.IsReady());
  EXPECT_EQ(1u, facts.CountRestarts());
  host.onCall = [this](const std::string& call) {
    EXPECT_TRUE(facts.IsReady() || call != "cI3Ready()") << "from inside the announcement on";
  };
  RunAll();
  EXPECT_TRUE(facts.IsReady());
  control.Restart();
  control.Restart();
  EXPECT_EQ(3u, facts.CountRestarts());
  routing_stack::RoutingStack another([this] { return now; });
  EXPECT_FALSE(another.GetFacts().IsReady());
  another.MakeCurrent();
  smsi_init(nullptr);
  EXPECT_FALSE(another.GetFacts().IsReady());
}

TEST_F(AnswersTest, AnInstanceIsReadyWhileItExists) {
  EXPECT_TRUE(facts.IsReady(10));
  AddInstance(11);
  EXPECT_FALSE(facts.IsReady(11));
  host.onCall = [this](const std::string& call) {
    EXPECT_EQ(facts.IsReady(11), call == "rtm 11: 1 -> 1" || call == "cSetRtmReady(11)") << call;
  };
  RunAll();
  host.onCall = nullptr;
  EXPECT_TRUE(facts.IsReady(11));
  DropInstance(11);
  RunAll();
  EXPECT_FALSE(facts.IsReady(11));
  control.Restart();
  EXPECT_FALSE(facts.IsReady(10));
}

TEST_F(AnswersTest, AStackHasWorkWhenARunWouldDoAnything) {
  EXPECT_FALSE(facts.HasWork());
  EXPECT_FALSE(facts.IsHeld());
  AddInterface(10, 3);
  EXPECT_TRUE(facts.HasWork());
  control.Hold();
  EXPECT_TRUE(facts.IsHeld());
  EXPECT_FALSE(facts.HasWork());
  control.Release();
  EXPECT_FALSE(facts.IsHeld());
  EXPECT_TRUE(facts.HasWork());
  control.Script(RowType::kInterface, AnswerOf(Answer::kLate, 500), 1);
  RunAll();
  EXPECT_FALSE(facts.HasWork());
  now += 499;
  EXPECT_FALSE(facts.HasWork());
  now += 1;
  EXPECT_TRUE(facts.HasWork());
  RunAll();
  EXPECT_FALSE(facts.HasWork());
  routing_stack::RoutingStack another([this] { return now; });
  another.MakeCurrent();
  AddInterface(10, 3);
  EXPECT_FALSE(another.GetFacts().HasWork()) << "it has not been started";
}

// Answers.

TEST_F(AnswersTest, EachAnswerIsToldBeforeTheLibraryHearsOfIt) {
  SendAll();
  EXPECT_THAT(host.Take(), IsEmpty());
  RunAll();
  EXPECT_THAT(
      host.Take(),
      ElementsAre("cGetRtmConfig(11)", "cGetAddress(11)", "cGetVlanAddress(11)", "rtm 11: 1 -> 1",
                  "cSetRtmReady(11)", "interface 10 3: 4 -> 1", "cRunPendingAction(1:10:3)",
                  "address 10 3 type 1 10.3: 1 -> 1", "cRunPendingAction(2:10:3:1:167838211)",
                  "route 10 10.0/16 via 10.1 if 0: 1 -> 1", testing::StartsWith("cSetRouteState("),
                  testing::StartsWith("cRunPendingAction(3"), "rule 10 131072 851968: 1 -> 1",
                  testing::StartsWith("cSetRedistState("),
                  testing::StartsWith("cRunPendingAction(4"), "protocol 10 7 key: 1 -> 1",
                  testing::StartsWith("cRunPendingAction(5")));
  ASSERT_EQ(6u, log.rows.size());
  for (std::size_t i = 0; i < 6; ++i) {
    EXPECT_EQ(Name(kAll[i]), log.rows[i]);
  }
}

TEST_F(AnswersTest, RefusalsAreToldWithTheirStatusAndDestroysWithTheirs) {
  ScriptAll(StatusAnswer(4));
  SendAll();
  RunAll();
  Lines told;
  for (const std::string& line : host.Take()) {
    if (line.find("->") != std::string::npos) {
      told.push_back(line.substr(line.find(':') + 2));
    }
  }
  EXPECT_THAT(told, ElementsAre("1 -> 4", "4 -> 4", "1 -> 4", "1 -> 4", "1 -> 4", "1 -> 4"));
  RemoveInterface(10, 3);
  RunAll();
  EXPECT_EQ("interface 10 3: 6 -> 6", host.Take().front()) << "there is none";
}

TEST_F(AnswersTest, AnAnswerThatComesTwiceIsToldTwiceAndALateOneLate) {
  control.Script(RowType::kInterface, AnswerOf(Answer::kTwice), 1);
  control.Script(RowType::kInterface, AnswerOf(Answer::kLate, 10), 1);
  Send(RowType::kInterface);
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("interface 10 3: 4 -> 1", "cRunPendingAction(1:10:3)",
                                       "interface 10 3: 4 -> 1", "cRunPendingAction(1:10:3)"));
  Send(RowType::kInterface);
  RunAll();
  EXPECT_THAT(host.Take(), IsEmpty());
  now += 10;
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("interface 10 3: 4 -> 1", "cRunPendingAction(1:10:3)"));
}

TEST_F(AnswersTest, ARestartIsToldAndTheListenerStays) {
  Send(RowType::kInterface);
  control.Restart();
  EXPECT_THAT(host.Take(), ElementsAre("restarted"));
  RunAll();
  Send(RowType::kInterface);
  RunAll();
  EXPECT_THAT(host.Take(),
              ElementsAre("cI3Ready()", "interface 10 3: 4 -> 1", "cRunPendingAction(1:10:3)"));
  stack.SetListener(nullptr);
  Send(RowType::kInterface);
  control.Restart();
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("cI3Ready()"));
}

}  // namespace
}  // namespace stack_test
