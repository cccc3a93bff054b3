// The levers of the control header that decide the answers: scripts and limits.

#include "control_test.h"

namespace stack_test {
namespace {

// Scripts.

TEST_F(ControlTest, AScriptedStatusLeavesTheRowAlone) {
  control.Script(RowType::kRoute, StatusAnswer(5), 2);
  for (int i = 0; i < 3; ++i) {
    AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  }
  EXPECT_THAT(Statuses(), ElementsAre(5, 5, 1));
  control.Script(RowType::kRoute, StatusAnswer(3), 1);
  Route(6, 2, 10, "10.9.0.0/16", "10.1.2.1", 0, 0);
  EXPECT_THAT(Statuses(), ElementsAre(3));
  EXPECT_EQ(1u, control.Rib().size());
}

TEST_F(ControlTest, AnAnswerThatNeverComesLeavesTheRowAloneAndIncomplete) {
  control.Script(RowType::kRoute, AnswerOf(Answer::kNever), 1);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  EXPECT_EQ(kIdleMs, RunAll());
  EXPECT_THAT(host.Take(), IsEmpty());
  EXPECT_TRUE(stack.IsIdle());
  EXPECT_TRUE(control.Rib().empty());
}

TEST_F(ControlTest, AnAnswerMayComeTwice) {
  control.Script(RowType::kRoute, AnswerOf(Answer::kTwice), 1);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  RunAll();
  const Lines calls = host.Take();
  ASSERT_EQ(4u, calls.size());
  EXPECT_EQ(0u, calls[0].rfind("cSetRouteState", 0));
  EXPECT_EQ(0u, calls[1].rfind("cRunPendingAction", 0));
  EXPECT_EQ(calls[0], calls[2]);
  EXPECT_EQ(calls[1], calls[3]);
  EXPECT_EQ(1u, control.Rib().size());
}

TEST_F(ControlTest, AnAnswerMayComeLate) {
  control.Script(RowType::kRoute, AnswerOf(Answer::kLate, 500), 1);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  AddRoute(10, "10.8.0.0/16", "10.1.2.1");
  EXPECT_THAT(Statuses(), ElementsAre(1));
  EXPECT_EQ(1u, control.Rib().size());
  now += 499;
  EXPECT_THAT(Statuses(), IsEmpty());
  now += 1;
  EXPECT_THAT(Statuses(), ElementsAre(1));
  EXPECT_EQ(2u, control.Rib().size());
}

TEST_F(ControlTest, ALateRequestIsJudgedWhenItsTurnComes) {
  control.Script(RowType::kRoute, AnswerOf(Answer::kLate, 500), 1);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  DropInstance(10);
  RunAll();
  now += 500;
  EXPECT_THAT(Statuses(), ElementsAre(5));
}

TEST_F(ControlTest, LateAnswersOfOneMomentKeepTheirOrder) {
  control.Script(RowType::kInterface, AnswerOf(Answer::kLate, 10), 3);
  AddInterface(10, 3);
  AddInterface(10, 1);
  AddInterface(10, 2);
  RunAll();
  now += 10;
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("cRunPendingAction(1:10:3)", "cRunPendingAction(1:10:1)",
                                       "cRunPendingAction(1:10:2)"));
}

TEST_F(ControlTest, ARowsScriptComesBeforeItsTypesAndEarlierOnesBeforeLater) {
  const auto oid = RouteOid("10.9.0.0/16");
  control.Script(RowType::kRoute, StatusAnswer(5), 1);
  control.Script(RowType::kRoute, StatusAnswer(4), 1);
  control.ScriptRow(oid.data(), static_cast<unsigned int>(oid.size()), StatusAnswer(9), 1);
  control.ScriptRow(oid.data(), static_cast<unsigned int>(oid.size()), StatusAnswer(8), 1);
  AddRoute(10, "10.8.0.0/16", "10.1.2.1");
  for (int i = 0; i < 4; ++i) {
    AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  }
  EXPECT_THAT(Statuses(), ElementsAre(5, 9, 8, 4, 1));
}

TEST_F(ControlTest, AVlansScriptConcernsItsRowsOnly) {
  control.ScriptVlan(RowType::kRoute, 11, StatusAnswer(5), 2);
  AddInstance(11);
  AddInstance(11 | kIp6Bit);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  AddRoute(11, "10.9.0.0/16", "10.1.2.1");
  AddRoute(11 | kIp6Bit, "2001:db8::/32", "fe80::1");
  AddRoute(11, "10.8.0.0/16", "10.1.2.1");
  EXPECT_THAT(Statuses(), ElementsAre(1, 5, 5, 1));
}

TEST_F(ControlTest, AVlansScriptComesBetweenItsRowsAndItsTypes) {
  const auto oid = RouteOid("10.9.0.0/16");
  control.Script(RowType::kRoute, StatusAnswer(5), 1);
  control.ScriptVlan(RowType::kRoute, 10, StatusAnswer(4), 1);
  control.ScriptVlan(RowType::kRoute, 10, StatusAnswer(3), 1);
  control.ScriptRow(oid.data(), static_cast<unsigned int>(oid.size()), StatusAnswer(9), 1);
  for (int i = 0; i < 5; ++i) {
    AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  }
  EXPECT_THAT(Statuses(), ElementsAre(9, 4, 3, 5, 1));
}

TEST_F(ControlTest, AVlansScriptConcernsItsTypeOnlyAndCanBeCleared) {
  control.ScriptVlan(RowType::kRtm, 10, StatusAnswer(5), 10);
  control.ScriptVlan(RowType::kInterface, 10, StatusAnswer(5), 10);
  control.ScriptVlan(RowType::kProtocol, 10, StatusAnswer(5), 10);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  EXPECT_THAT(Statuses(), ElementsAre(1));
  AddInterface(10, 3);
  RunAll();
  EXPECT_TRUE(control.Interfaces().empty());
  control.ClearScripts();
  AddInterface(10, 3);
  RunAll();
  EXPECT_EQ(1u, control.Interfaces().size());
}

TEST_F(ControlTest, ScriptsConcernTheirTypeOnlyAndCanBeCleared) {
  control.Script(RowType::kRoute, StatusAnswer(5), 10);
  sms_act_cipr_redist(1, 1, 2, 3, 10, 0);
  RunAll();
  EXPECT_EQ("cSetRedistState(1, 1, 2, 3, 0, 10, 0, 1)", host.calls[0]);
  const auto oid = RouteOid("10.9.0.0/16");
  control.ScriptRow(oid.data(), static_cast<unsigned int>(oid.size()), StatusAnswer(9), 10);
  control.ClearScripts();
  host.Take();
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  EXPECT_THAT(Statuses(), ElementsAre(1));
}

TEST_F(ControlTest, InterfaceAndAddressRowsAreLeftAloneAndCompleted) {
  control.Script(RowType::kInterface, StatusAnswer(5), 1);
  control.Script(RowType::kAddress, StatusAnswer(5), 1);
  AddInterface(10, 3);
  AddAddress(10, 3, "10.1.2.3/24");
  RunAll();
  EXPECT_THAT(host.Take(),
              ElementsAre("cRunPendingAction(1:10:3)", "cRunPendingAction(2:10:3:1:167838211)"));
  EXPECT_TRUE(control.Interfaces().empty());
  EXPECT_TRUE(control.Addresses().empty());
}

TEST_F(ControlTest, AnEntityThatIsNotServedIsNotReported) {
  control.Script(RowType::kRtm, AnswerOf(Answer::kNever), 1);
  AddInstance(11);
  const unsigned int oid[] = {6, 12};
  control.ScriptRow(oid, 2, StatusAnswer(5), 1);
  AddInstance(12);
  AddInstance(13);
  RunAll();
  EXPECT_THAT(control.Instances(), ElementsAre(10, 13));
  control.Script(RowType::kRtm, AnswerOf(Answer::kTwice), 1);
  host.Take();
  AddInstance(11);
  RunAll();
  EXPECT_THAT(host.Take(),
              ElementsAre("cGetRtmConfig(11)", "cGetAddress(11)", "cGetVlanAddress(11)",
                          "cSetRtmReady(11)", "cSetRtmReady(11)"));
}

// Limits.

TEST_F(ControlTest, ALimitRefusesOneRowTooManyButNoChangeOfAnExistingOne) {
  control.SetLimit(RowType::kRoute, 2, 8);
  AddRoute(10, "10.7.0.0/16", "10.1.2.1");
  AddRoute(10, "10.8.0.0/16", "10.1.2.1");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  AddRoute(10, "10.8.0.0/16", "10.1.2.1", 0, 9);
  Route(6, 2, 10, "10.7.0.0/16", "10.1.2.1", 0, 0);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  EXPECT_THAT(Statuses(), ElementsAre(1, 1, 8, 1, 1, 1));
  control.SetLimit(RowType::kRoute, SIZE_MAX, 8);
  AddRoute(10, "10.7.0.0/16", "10.1.2.1");
  EXPECT_THAT(Statuses(), ElementsAre(1));
}

TEST_F(ControlTest, RoutesOfADroppedInstanceNoLongerCount) {
  control.SetLimit(RowType::kRoute, 1, 8);
  AddRoute(10, "10.7.0.0/16", "10.1.2.1");
  DropInstance(10);
  AddInstance(11);
  AddRoute(11, "10.7.0.0/16", "10.1.2.1");
  EXPECT_THAT(Statuses(), ElementsAre(1, 1));
}

TEST_F(ControlTest, ProtocolCandidatesDoNotCountAsRoutes) {
  control.SetLimit(RowType::kRoute, 1, 8);
  control.PutCandidate(MakeCandidate(10, "10.6.0.0/16", "10.1.2.1", 14, 1));
  AddRoute(10, "10.7.0.0/16", "10.1.2.1");
  EXPECT_THAT(Statuses(), ElementsAre(1));
}

TEST_F(ControlTest, EveryTableHasALimit) {
  control.SetLimit(RowType::kRtm, 1, 8);
  control.SetLimit(RowType::kInterface, 1, 8);
  control.SetLimit(RowType::kAddress, 1, 8);
  control.SetLimit(RowType::kRedistribution, 1, 8);
  AddInstance(11);
  for (const unsigned int i : {3u, 4u, 3u}) {
    AddInterface(10, i, false);
    AddAddress(10, i, "10.1.2.3/24");
    sms_act_cipr_redist(1, 1, static_cast<int>(i), 7, 10, 0);
  }
  RunAll();
  EXPECT_THAT(control.Instances(), ElementsAre(10));
  EXPECT_EQ(1u, control.Interfaces().size());
  EXPECT_EQ(1u, control.Addresses().size());
  EXPECT_EQ(1u, control.Redistributions().size());
  EXPECT_THAT(host.calls, testing::Contains("cSetRedistState(1, 1, 4, 7, 0, 10, 0, 8)"));
  EXPECT_THAT(host.calls, testing::Not(testing::Contains("cSetRtmReady(11)")));
}

}  // namespace
}  // namespace stack_test
