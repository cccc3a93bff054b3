#include "device/rows/comparer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

#include "tests/unit/rows/fake_keeper.h"

namespace {

using rows::Row;
using rows::Standing;
using rows::Verdict;
using rows_test::RouteNumber;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using Kind = Standing::Kind;

class Comparer : public testing::Test {
 protected:
  // So many rows that are as wanted.
  void Fill(rows_test::FakeKeeper& keeper, unsigned int count) {
    for (unsigned int i = 0; i < count; ++i) {
      keeper.rows[RouteNumber(20, i)] = Standing();
    }
  }
  void Verify(std::size_t mostLines = 100) {
    comparer.Verify(mostLines,
                    [this](std::vector<Verdict> given) { verdicts.push_back(std::move(given)); });
  }
  static std::size_t Sum(const std::vector<std::size_t>& numbers) {
    return std::accumulate(numbers.begin(), numbers.end(), std::size_t{0});
  }

  rows_test::Turns turns;
  rows_test::FakeStackPort port{turns.time};
  rows_test::FakeKeeper interfaces{"interfaces"};
  rows_test::FakeKeeper routes{"routes"};
  std::vector<std::string> lines;
  rows::Differences differences{
      turns.loop.Get(), port, [this](const std::string& line) { lines.push_back(line); },
      [this](const Row& row) -> rows::Keeper& {
        return std::holds_alternative<rows::RouteRow>(row) ? routes : interfaces;
      }};
  rows::Comparer comparer{turns.loop.Get(), port, {&interfaces, &routes}, differences};
  std::vector<std::vector<Verdict>> verdicts;
  const Row ROUTE = RouteNumber(10, 9);
  const Row INTERFACE = rows::InterfaceRow{10, 3};
};

TEST_F(Comparer, NotesWhatDiffersOfAllKinds) {
  Fill(routes, 10);
  routes.rows[ROUTE] = {Kind::MISSING, 0, 0};
  routes.rows[RouteNumber(10, 10)] = {Kind::UNDER_WAY, 0, 0};
  interfaces.rows[INTERFACE] = {Kind::OTHER, 0, 0};
  comparer.Compare();
  EXPECT_TRUE(comparer.IsComparing());
  EXPECT_EQ(differences.Count(), 0u);
  turns.Turn();
  EXPECT_FALSE(comparer.IsComparing());
  EXPECT_EQ(differences.Count(), 2u);
  EXPECT_NE(differences.Find(ROUTE), nullptr);
  EXPECT_NE(differences.Find(INTERFACE), nullptr);
  EXPECT_EQ(routes.passes, 1u);
  EXPECT_EQ(interfaces.passes, 1u);
  EXPECT_THAT(routes.asked, IsEmpty());
}

TEST_F(Comparer, TakesSlices) {
  Fill(interfaces, 3000);
  Fill(routes, 4100);
  routes.rows[ROUTE] = {Kind::MISSING, 0, 0};
  comparer.Compare();
  std::size_t before = 0;
  unsigned int count = 0;
  for (; comparer.IsComparing(); ++count) {
    turns.Turn();
    const std::size_t all = Sum(interfaces.slices) + Sum(routes.slices);
    // The last slice of a kind is not filled.
    EXPECT_LE(all - before, rows::Comparer::ROWS_A_TURN + rows::Comparer::ROWS_A_CALL);
    before = all;
  }
  EXPECT_EQ(count, 4u);
  EXPECT_EQ(interfaces.passes, 1u);
  EXPECT_EQ(routes.passes, 1u);
  EXPECT_NE(differences.Find(ROUTE), nullptr);
}

// Each of them is a line in the log.
TEST_F(Comparer, TakesSmallSlicesOfWhatDiffers) {
  Fill(routes, 5000);
  for (auto& row : routes.rows) {
    row.second.kind = Kind::MISSING;
  }
  comparer.Compare();
  while (comparer.IsComparing()) {
    const std::size_t before = differences.Count();
    turns.Turn();
    EXPECT_LT(differences.Count() - before,
              rows::Comparer::FINDINGS_A_TURN + rows::Comparer::ROWS_A_CALL);
  }
  EXPECT_EQ(differences.Count(), 5000u);
}

TEST_F(Comparer, ComparesOnceMoreWhatWasToBeComparedMeanwhile) {
  Fill(routes, 5000);
  comparer.Compare();
  turns.Turn();
  comparer.Compare();
  comparer.Compare();
  while (comparer.IsComparing()) {
    turns.Turn();
  }
  EXPECT_EQ(routes.passes, 2u);
}

TEST_F(Comparer, DoesNotLookAtAStackThatIsNotReady) {
  routes.rows[ROUTE] = {Kind::MISSING, 0, 0};
  port.isReady = false;
  comparer.Compare();
  comparer.StartSlowPass();
  turns.Turn();
  EXPECT_FALSE(comparer.IsComparing());
  turns.Run(rows::Comparer::SLOW_PASS_MILLISECONDS + 1);
  EXPECT_EQ(routes.passes, 0u);
  Verify();
  Verify();
  turns.Turn();
  ASSERT_THAT(verdicts, SizeIs(2));
  EXPECT_EQ(verdicts[0].at(0).fails, 1u);
  EXPECT_THAT(verdicts[0].at(0).lines, ElementsAre("the stack is not ready"));
  port.isReady = true;
  turns.Run(rows::Comparer::SLOW_PASS_MILLISECONDS + 1);
  EXPECT_EQ(differences.Count(), 1u);
}

TEST_F(Comparer, StopsAPass) {
  Fill(interfaces, 5000);
  routes.rows[ROUTE] = {Kind::MISSING, 0, 0};
  comparer.Compare();
  turns.Turn();
  comparer.Stop();
  EXPECT_FALSE(comparer.IsComparing());
  turns.Run(100);
  EXPECT_EQ(differences.Count(), 0u);
  comparer.Compare();
  comparer.Stop();
  turns.Run(100);
  EXPECT_EQ(interfaces.passes, 1u);
  comparer.Compare();
  turns.Run(100);
  EXPECT_EQ(interfaces.passes, 2u);
  EXPECT_EQ(differences.Count(), 1u);
}

TEST_F(Comparer, PassesSlowlyAllTheTime) {
  Fill(interfaces, 10000);
  Fill(routes, 40000);
  comparer.StartSlowPass();
  turns.Run(1000);
  EXPECT_EQ(interfaces.passes, 0u);
  std::size_t before = 0;
  for (unsigned int i = 0; i < 590; ++i) {
    turns.Run(1000);
    const std::size_t all = Sum(interfaces.slices) + Sum(routes.slices);
    EXPECT_LE(all - before, 2 * rows::Comparer::ROWS_A_CALL + 2);
    before = all;
    EXPECT_LE(routes.passes, 1u);
  }
  EXPECT_EQ(routes.passes, 1u);
  EXPECT_EQ(interfaces.passes, 1u);
  routes.rows[ROUTE] = {Kind::MISSING, 0, 0};
  EXPECT_EQ(differences.Count(), 0u);
  turns.Run(rows::Comparer::SLOW_PASS_MILLISECONDS + 20000);
  EXPECT_EQ(differences.Count(), 1u);
  EXPECT_EQ(interfaces.passes, 3u);
}

TEST_F(Comparer, WakesUpOnceForAFewRows) {
  Fill(routes, 100);
  comparer.StartSlowPass();
  turns.Turn();
  EXPECT_EQ(turns.time.MicrosecondsToNext(), 1000 * rows::Comparer::SLOW_PASS_MILLISECONDS);
  EXPECT_EQ(uv_loop_alive(turns.loop.Get()), 0);
  routes.rows[ROUTE] = {Kind::MISSING, 0, 0};
  turns.time.AdvanceMilliseconds(rows::Comparer::SLOW_PASS_MILLISECONDS);
  turns.Turn();
  EXPECT_EQ(differences.Count(), 1u);
}

// A pass that waited for the next step would take twice as long.
TEST_F(Comparer, EndsTheSlowPassInTimeThoughTheStackHasMoreRows) {
  Fill(routes, 6000);
  routes.strays = 5900;
  routes.rows[RouteNumber(30, 1)] = {Kind::MISSING, 0, 0};
  Fill(interfaces, 10);
  comparer.StartSlowPass();
  turns.time.AdvanceMilliseconds(rows::Comparer::SLOW_PASS_MILLISECONDS);
  for (std::size_t before = 0; differences.Count() == 0; before = Sum(routes.slices)) {
    ASSERT_NE(uv_loop_alive(turns.loop.Get()), 0) << "nothing is left to do";
    EXPECT_LE(Sum(routes.slices) - before, rows::Comparer::ROWS_A_TURN) << "in a turn";
    turns.Turn();
  }
  EXPECT_EQ(routes.passes, 1u);
  turns.Run(1000);
  EXPECT_EQ(routes.passes, 1u) << "the next one begins with the next step";
  turns.Run(rows::Comparer::SLOW_PASS_MILLISECONDS);
  EXPECT_EQ(routes.passes, 2u);
}

TEST_F(Comparer, BeginsTheSlowPassAnewAfterAComparison) {
  Fill(routes, 1000);
  comparer.StartSlowPass();
  turns.Run(200000);
  EXPECT_EQ(routes.passes, 1u);
  comparer.Compare();
  turns.Run(10);
  EXPECT_EQ(routes.passes, 2u);
  turns.Run(140000);
  EXPECT_EQ(routes.passes, 2u);
  turns.Run(20000);
  EXPECT_EQ(routes.passes, 3u);
}

TEST_F(Comparer, BeginsTheSlowPassAnewWhenItIsAskedForAgain) {
  Fill(interfaces, 1000);
  comparer.StartSlowPass();
  turns.Run(200000);
  EXPECT_EQ(interfaces.passes, 1u);
  comparer.StartSlowPass();
  turns.Run(140000);
  EXPECT_EQ(interfaces.passes, 1u) << "a step takes 150 s";
  turns.Run(20000);
  EXPECT_EQ(interfaces.passes, 2u);
}

TEST_F(Comparer, VerifiesWithoutMending) {
  Fill(interfaces, 4);
  for (unsigned int i = 0; i < 5; ++i) {
    routes.rows[RouteNumber(10, i)] = {Kind::MISSING, 0, 3};
  }
  turns.time.AdvanceMilliseconds(1000);
  routes.rows[ROUTE] = {Kind::UNDER_WAY, 1000, 0};
  turns.time.AdvanceMilliseconds(11500);
  Verify(2);
  EXPECT_THAT(verdicts, IsEmpty());
  turns.Run(5000);
  ASSERT_THAT(verdicts, SizeIs(1));
  ASSERT_THAT(verdicts[0], SizeIs(2));
  EXPECT_EQ(verdicts[0][0].kind, "interfaces");
  EXPECT_EQ(verdicts[0][0].rows, 4u);
  EXPECT_EQ(verdicts[0][0].fails, 0u);
  EXPECT_THAT(verdicts[0][0].lines, IsEmpty());
  EXPECT_EQ(verdicts[0][1].kind, "routes");
  EXPECT_EQ(verdicts[0][1].rows, 6u);
  EXPECT_EQ(verdicts[0][1].fails, 6u);
  EXPECT_THAT(verdicts[0][1].lines,
              ElementsAre("VLAN 10: route 10.0.0.0/24 via 10.1.2.1 is missing in the stack: wrong "
                          "value (status 3)",
                          "VLAN 10: route 10.0.1.0/24 via 10.1.2.1 is missing in the stack: wrong "
                          "value (status 3)"));
  EXPECT_EQ(differences.Count(), 0u);
  EXPECT_THAT(routes.asked, IsEmpty());
  EXPECT_THAT(lines, IsEmpty());
  Verify();
  turns.Turn();
  EXPECT_THAT(verdicts[1][1].lines, SizeIs(6));
  EXPECT_THAT(verdicts[1][1].lines[5], HasSubstr("is under way since 17 s"));
}

TEST_F(Comparer, TellsOfRepeatsInAVerification) {
  routes.rows[ROUTE] = {Kind::MISSING, 0, 3};
  routes.whenAsked = [this](const Row& row) { differences.Note(row, {Kind::MISSING, 0, 3}); };
  differences.Note(ROUTE, {Kind::MISSING, 0, 3});
  turns.Run(3500);
  Verify();
  turns.Turn();
  EXPECT_THAT(verdicts.at(0).at(1).lines,
              ElementsAre("VLAN 10: route 10.0.9.0/24 via 10.1.2.1 is missing in the stack: wrong "
                          "value (status 3), asked 2 times, again in 4 s"));
}

// Two consoles that verify all the time, and changes that settle all the time.
TEST_F(Comparer, LetsComparisonsAndVerificationsTakeTurns) {
  Fill(routes, 3000);
  for (unsigned int i = 0; i < 4; ++i) {
    Verify();
  }
  comparer.Compare();
  std::size_t compared = 0;
  while (verdicts.size() < 4) {
    turns.Turn();
    if (!comparer.IsComparing()) {
      ++compared;
      comparer.Compare();
    }
  }
  EXPECT_GE(compared, 3u);
  EXPECT_LE(compared, 5u);
}

TEST_F(Comparer, VerifiesAgainWhenAnotherAsksAtTheEnd) {
  comparer.Verify(1, [this](std::vector<Verdict>) { Verify(); });
  turns.Run(2);
  EXPECT_THAT(verdicts, SizeIs(1));
}

TEST_F(Comparer, VerifiesAnewAfterAStop) {
  Fill(interfaces, 3000);
  interfaces.rows[INTERFACE] = {Kind::MISSING, 0, 0};
  Verify();
  turns.Turn();
  comparer.Stop();
  turns.Run(10);
  ASSERT_THAT(verdicts, SizeIs(1));
  EXPECT_THAT(verdicts[0], SizeIs(2));
  EXPECT_EQ(verdicts[0][0].fails, 1u);
  EXPECT_EQ(interfaces.passes, 2u);
}

}  // namespace
