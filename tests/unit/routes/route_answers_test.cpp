// What becomes of routes when the stack does not just say yes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/unit/routes/route_keeper_fixture.h"

namespace {

using routing_stack::Answer;
using rows::Differences;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using Kind = rows::Standing::Kind;

class RouteAnswers : public routes_test::RouteKeeperFixture {
 protected:
  std::size_t CountUpdates() {
    const std::vector<std::string> calls = TakeCalls();
    return static_cast<std::size_t>(
        std::count_if(calls.begin(), calls.end(),
                      [](const std::string& call) { return call.find("sms_update_route") == 0; }));
  }
  unsigned int Status(const intent::ResolvedRoute& route) const {
    const auto* const difference = differences.Find(RowOf(route));
    return difference == nullptr ? 0 : difference->standing.status;
  }
};

// Not even the status that the request before has left.
TEST_F(RouteAnswers, HaveNoStatusWhenTheyNeverCome) {
  Refuse(3);
  Want({Route(10, 1)});
  ASSERT_TRUE(RunUntil([&] { return differences.Count() == 1; }, 100));
  ASSERT_EQ(Status(Route(10, 1)), 3u);
  Answer({routing_stack::Answer::kNever, 0, 0});
  Want({Route(10, 1), Route(10, 2)});
  Run(100);
  Control().EndLostRequests();
  ASSERT_TRUE(RunUntil([&] { return differences.Find(RowOf(Route(10, 2))) != nullptr; }, 1100));
  EXPECT_EQ(Status(Route(10, 2)), 0u);
}

// The period of the scheduler is ten milliseconds here.
TEST_F(RouteAnswers, AreTriedTenTimesInASecond) {
  const intent::ResolvedRoute route = Route(10, 1);
  Refuse(5, 10);
  Want({route});
  ASSERT_TRUE(RunUntil([&] { return keeper->CountRetried() == 1; }, 100));
  const std::uint64_t first = port.Now();
  EXPECT_EQ(keeper->CountOpen(), 1u);
  EXPECT_EQ(Look(route), Kind::UNDER_WAY);
  EXPECT_EQ(differences.Count(), 0u);
  ASSERT_TRUE(RunUntil([&] { return keeper->CountUnderWay() == 0; }, 2000));
  EXPECT_GE(port.Now() - first, 850u);
  EXPECT_LE(port.Now() - first, 1100u);
  EXPECT_EQ(CountUpdates(), 10u);
  EXPECT_EQ(keeper->CountRetried(), 0u);
  EXPECT_EQ(keeper->CountOpen(), 0u) << "a known difference";
  EXPECT_EQ(Look(route), Kind::MISSING);
  EXPECT_EQ(Status(route), 5u);
  EXPECT_EQ(keeper->Look(RowOf(route)).status, 5u);
  EXPECT_THAT(lines, ElementsAre(HasSubstr("is missing in the stack")));
  EXPECT_THAT(Items(), ElementsAre(HasSubstr("ActionState(Issued) ReasonCode(5)")));

  Run(900);
  EXPECT_EQ(CountUpdates(), 0u);
  ASSERT_TRUE(RunUntilSettled(300));
  EXPECT_EQ(CountUpdates(), 1u);
  EXPECT_THAT(lines, ElementsAre(HasSubstr("is missing"), HasSubstr("is as wanted now")));
  EXPECT_THAT(InStack(), ElementsAre(route));
  EXPECT_THAT(Items(), IsEmpty());
}

TEST_F(RouteAnswers, MayAskForAFewMoreTries) {
  Refuse(5, 9);
  Want({Route(10, 1)});
  ASSERT_TRUE(RunUntilSettled(2000));
  EXPECT_EQ(CountUpdates(), 10u);
  EXPECT_THAT(lines, IsEmpty());
  EXPECT_THAT(InStack(), SizeIs(1));
}

TEST_F(RouteAnswers, MayRefuseOnce) {
  const intent::ResolvedRoute route = Route(10, 1);
  Refuse(3);
  Want({route, Route(10, 2)});
  ASSERT_TRUE(RunUntil([&] { return keeper->CountOpen() == 0; }, 100));
  EXPECT_EQ(Look(route), Kind::MISSING);
  EXPECT_EQ(Status(route), 3u);
  EXPECT_THAT(InStack(), ElementsAre(Route(10, 2)));
  ASSERT_TRUE(RunUntilSettled(1200));
  EXPECT_THAT(InStack(), SizeIs(2));
  EXPECT_EQ(CountUpdates(), 3u);
}

TEST_F(RouteAnswers, MayRefuseAMetric) {
  const intent::ResolvedRoute route = Route(10, 1);
  Want({route});
  ASSERT_TRUE(RunUntilSettled());
  Refuse(3);
  Want({Route(10, 1, false, 9)});
  ASSERT_TRUE(RunUntil([&] { return keeper->CountOpen() == 0; }, 100));
  EXPECT_EQ(Look(route), Kind::OTHER);
  EXPECT_THAT(InStack(), ElementsAre(route));
  ASSERT_TRUE(RunUntilSettled(1200));
  EXPECT_THAT(InStack(), ElementsAre(Route(10, 1, false, 9)));
}

// A removal is retried after any refusal.
TEST_F(RouteAnswers, MayRefuseARemoval) {
  const intent::ResolvedRoute route = Route(10, 1);
  Want({route});
  ASSERT_TRUE(RunUntilSettled());
  Refuse(4, 11);
  Want({});
  ASSERT_TRUE(RunUntil([&] { return keeper->CountRetried() == 1; }, 100));
  EXPECT_TRUE(keeper->HasLeavingRoutes(10));
  ASSERT_TRUE(RunUntil([&] { return keeper->CountUnderWay() == 0; }, 2000));
  EXPECT_FALSE(keeper->HasLeavingRoutes(10)) << "given up";
  EXPECT_EQ(Look(route), Kind::UNWANTED);
  EXPECT_EQ(Status(route), 4u);
  EXPECT_THAT(lines, ElementsAre(HasSubstr("is still in the stack")));
  EXPECT_THAT(Pass(), SizeIs(1));
  ASSERT_TRUE(RunUntil([&] { return keeper->CountRetried() == 1; }, 1200));
  EXPECT_EQ(keeper->CountOpen(), 0u) << "a repeat for a known difference";
  EXPECT_TRUE(keeper->HasLeavingRoutes(10));
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_THAT(InStack(), IsEmpty());
  EXPECT_THAT(Items(), IsEmpty());
}

// A VLAN does not wait for a removal that was given up, whatever is wanted later.
TEST_F(RouteAnswers, MayRefuseARemovalForGood) {
  Want({Route(10, 1), Route(10, 2), Route(10, 3, true)});
  ASSERT_TRUE(RunUntilSettled());
  Refuse(4, 10);
  Want({Route(10, 2), Route(10, 3, true)});
  EXPECT_TRUE(keeper->HasLeavingRoutes(10));
  ASSERT_TRUE(RunUntil([&] { return differences.Count() == 1; }, 2000));
  EXPECT_FALSE(keeper->HasLeavingRoutes(10));
  for (const std::uint32_t metric : {6, 7}) {
    Want({Route(10, 2, false, metric), Route(10, 3, true)});
    EXPECT_FALSE(keeper->HasLeavingRoutes(10));
    ASSERT_TRUE(RunUntil([&] { return keeper->CountOpen() == 0; }, 100));
    EXPECT_FALSE(keeper->HasLeavingRoutes(10));
    EXPECT_EQ(keeper->CountOpen(10), 0u);
    EXPECT_EQ(Look(Route(10, 1)), Kind::UNWANTED);
  }
  ASSERT_TRUE(RunUntilSettled(1500));
  EXPECT_THAT(InStack(), ElementsAre(Route(10, 2, false, 7), Route(10, 3, true)));
}

// What was given up may have been done; it is removed like any other.
TEST_F(RouteAnswers, AreNotNeededForARouteThatIsNotWantedAnyMore) {
  Refuse(3);
  Want({Route(10, 1)});
  ASSERT_TRUE(RunUntil([&] { return differences.Count() == 1; }, 100));
  TakeCalls();
  Want({});
  ASSERT_TRUE(RunUntilSettled(300));
  EXPECT_EQ(CountUpdates(), 1u);
  EXPECT_THAT(lines, SizeIs(2));
  EXPECT_THAT(Items(), IsEmpty());
}

TEST_F(RouteAnswers, MayComeTwice) {
  Answer({Answer::kTwice, 0, 0}, 3);
  Want({Route(10, 1), Route(10, 2)});
  ASSERT_TRUE(RunUntilSettled());
  Want({Route(10, 2)});
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_THAT(InStack(), ElementsAre(Route(10, 2)));
  EXPECT_EQ(CountUpdates(), 3u);
  EXPECT_EQ(keeper->CountConcluded(), 3u);
}

TEST_F(RouteAnswers, MayComeLate) {
  const intent::ResolvedRoute route = Route(10, 1);
  Answer({Answer::kLate, 0, 5000});
  Want({route});
  Run(4000);
  EXPECT_EQ(Look(route), Kind::UNDER_WAY);
  Want({Route(10, 1, false, 6)});
  Run(500);
  EXPECT_EQ(CountUpdates(), 1u);
  ASSERT_TRUE(RunUntilSettled(1500));
  EXPECT_EQ(CountUpdates(), 1u);
  EXPECT_THAT(InStack(), ElementsAre(Route(10, 1, false, 6)));
}

TEST_F(RouteAnswers, MayNeverComeUntilThatIsReported) {
  const intent::ResolvedRoute route = Route(10, 1);
  Answer({Answer::kNever, 0, 0});
  Want({route});
  Run(5000);
  EXPECT_EQ(Look(route), Kind::UNDER_WAY);
  EXPECT_EQ(keeper->CountOpen(), 1u);
  port.EndLostRequests();
  EXPECT_EQ(Look(route), Kind::MISSING);
  const std::uint64_t progress = keeper->GetProgress();
  ASSERT_TRUE(RunUntil([&] { return keeper->CountOpen() == 0; }, 1100)) << "without being asked";
  EXPECT_GT(keeper->GetProgress(), progress);
  EXPECT_EQ(keeper->CountConcluded(), 0u) << "the stack has not said anything";
  EXPECT_EQ(differences.Count(), 1u);
  ASSERT_TRUE(RunUntilSettled(1200));
  EXPECT_EQ(keeper->CountConcluded(), 1u);
  EXPECT_THAT(InStack(), ElementsAre(route));
  EXPECT_THAT(Items(), IsEmpty());
}

TEST_F(RouteAnswers, MayNeverComeForARouteThatLeaves) {
  const intent::ResolvedRoute route = Route(10, 1);
  Answer({Answer::kNever, 0, 0});
  Want({route});
  Run(100);
  Want({});
  Run(100);
  EXPECT_TRUE(keeper->HasLeavingRoutes(10));
  port.EndLostRequests();
  ASSERT_TRUE(RunUntilSettled(1500));
  EXPECT_EQ(CountUpdates(), 2u);
  EXPECT_FALSE(keeper->HasLeavingRoutes(10));
}

TEST_F(RouteAnswers, OfALostRequestAreNotWaitedForByARepeat) {
  const intent::ResolvedRoute route = Route(10, 1);
  Answer({Answer::kNever, 0, 0});
  Want({route});
  Run(100);
  port.EndLostRequests();
  keeper->AskAgain(RowOf(route));
  EXPECT_EQ(keeper->CountUnderWay(), 1u);
  EXPECT_EQ(Look(route), Kind::UNDER_WAY);
  ASSERT_TRUE(RunUntilSettled(300));
  EXPECT_EQ(CountUpdates(), 2u);
  EXPECT_THAT(InStack(), ElementsAre(route));
}

// Whatever the attack did: a stack that is busy for longer than ten tries.
TEST_F(RouteAnswers, OfABusySecondDoNotLoseRoutes) {
  const intent::ResolvedRoutes before = Routes(20, 20);
  Want(before);
  ASSERT_TRUE(RunUntilSettled());
  Refuse(5, 100000);
  Want(Routes(10, 20));
  Run(1500);
  Control().ClearScripts();
  ASSERT_TRUE(RunUntil([&] { return keeper->CountOpen() == 0; }, 5000));
  ASSERT_TRUE(RunUntilSettled(20000));
  EXPECT_THAT(InStack(), ElementsAreArray(Routes(10, 20)));
  EXPECT_THAT(Items(), IsEmpty());
}

// Whoever waits while there is progress would wait for ever.
TEST_F(RouteAnswers, ToRepeatsAreNoProgress) {
  Refuse(3, 100000);
  Want(Routes(10, 40));
  ASSERT_TRUE(
      RunUntil([&] { return keeper->CountOpen() == 0 && differences.Count() == 40; }, 5000));
  const std::uint64_t progress = keeper->GetProgress();
  EXPECT_EQ(progress, 80u) << "each was asked for and refused";
  TakeCalls();
  Refuse(5, 100);
  Run(10000);
  EXPECT_GT(CountUpdates(), 40u);
  EXPECT_EQ(keeper->GetProgress(), progress);
  Control().ClearScripts();
  ASSERT_TRUE(RunUntilSettled(70000));
  EXPECT_EQ(keeper->GetProgress(), progress);
  EXPECT_GT(keeper->CountConcluded(), 80u) << "refusals for good, and then successes";
}

TEST_F(RouteAnswers, ThatAskForATryHoldBackTheirVlan) {
  const auto isRetried = [&] { return keeper->CountRetried() != 0; };
  Refuse(5, 100000);
  Want(Routes(10, 2000));
  ASSERT_TRUE(RunUntil(isRetried, 100));
  EXPECT_LE(keeper->CountUnderWay(), 40u) << "nothing has been accepted yet";
  ASSERT_TRUE(
      RunUntil([&] { return keeper->CountUnderWay() <= Differences::REPEATS_A_VLAN; }, 10000));
  for (int i = 0; i < 100; ++i) {
    Run(100);
    ASSERT_LE(keeper->CountUnderWay(), 2 * Differences::REPEATS_A_VLAN)
        << "as many repeats, and as many others";
  }
  Control().ClearScripts();
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_THAT(InStack(), SizeIs(2000));
}

// The other VLAN is done as soon as it would be if the scheduler had to pass by fifteen items.
TEST_F(RouteAnswers, ThatAskForATryDoNotHoldUpOtherVlans) {
  Want(Routes(20, 500));
  std::uint64_t begin = port.Now();
  ASSERT_TRUE(RunUntilSettled());
  const std::uint64_t alone = port.Now() - begin;
  Want({});
  ASSERT_TRUE(RunUntilSettled());

  for (unsigned int i = 0; i < 1000; ++i) {
    const intent::ResolvedRoute route = Route(10, i);
    unsigned int oid[SMS_OID_MAX];
    const unsigned int length =
        sms_get_route_oid(oid, 10, 1, route.target.destination.data(), route.target.length,
                          route.target.gateway.data(), route.ifIndex);
    Control().ScriptRow(oid, length, {Answer::kStatus, 5, 0}, 1000000);
  }
  Want(Routes(10, 1000));
  Run(3000);
  begin = port.Now();
  intent::ResolvedRoutes both = Routes(10, 1000);
  for (const auto& route : Routes(20, 500)) {
    both.push_back(route);
  }
  Want(both);
  ASSERT_TRUE(RunUntil([&] { return InStack().size() == 500; }, 100000));
  EXPECT_LE(port.Now() - begin, 2 * alone + 20);
}

TEST_F(RouteAnswers, OfTheSchedulersResetAreNoAnswers) {
  Control().Hold();
  Want(Routes(10, 5));
  Run(50);
  Manager().GetCfgSched().Reset();
  Run(1);
  EXPECT_EQ(keeper->CountRetried(), 0u);
  EXPECT_EQ(keeper->CountUnderWay(), 5u);
  Control().Release();
  ASSERT_TRUE(RunUntilSettled());
  EXPECT_THAT(InStack(), SizeIs(5));
}

// Somebody else's item takes the place of the keeper's.
TEST_F(RouteAnswers, MayBeForAnotherItem) {
  const intent::ResolvedRoute route = Route(10, 1);
  Want({route});
  TurnOnly();
  Manager().GetCfgSched().Insert(
      {10, Tarsel::ROW_TYPE_STATIC_ROUTE},
      new Tarsel::StaticRouteItem(10, 1, 6, 2, route.target.destination.data(), route.target.length,
                                  route.target.gateway.data(), route.ifIndex, 0, 0, 0));
  TurnOnly();
  EXPECT_EQ(keeper->CountUnderWay(), 0u);
  EXPECT_EQ(keeper->CountConcluded(), 0u);
  EXPECT_EQ(differences.Count(), 1u);
  ASSERT_TRUE(RunUntilSettled(1500));
  EXPECT_THAT(InStack(), ElementsAre(route));
}

TEST_F(RouteAnswers, AreNotMissedBeforeTheStackIsReady) {
  const intent::ResolvedRoute route = Route(10, 1);
  Control().Hold();
  Want({route});
  Run(100);
  Control().Restart();
  Run(100);
  Control().EndLostRequests();
  EXPECT_FALSE(port.IsUnfinished(RowOf(route)));
  EXPECT_EQ(Look(route), Kind::UNDER_WAY);
  Run(3000);
  EXPECT_EQ(keeper->CountUnderWay(), 1u);
  EXPECT_THAT(lines, IsEmpty());
}

}  // namespace
