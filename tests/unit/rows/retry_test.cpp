// An operator does not want to wait for the next repeats.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "device/rows/differences.h"
#include "tests/unit/rows/fake_keeper.h"

namespace {

using rows::Describe;
using rows::Row;
using rows::Standing;
using rows_test::RouteNumber;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Kind = Standing::Kind;

constexpr std::size_t REPEATS = rows::Differences::REPEATS_A_VLAN;

class Retry : public testing::Test {
 protected:
  Retry() { turns.time.AdvanceMilliseconds(500); }

  void Differ(const Row& row, unsigned int status = 3) {
    keeper.rows[row] = {Kind::MISSING, 0, status};
    differences.Note(row, keeper.rows[row]);
  }
  /// Each repeat is under way from then on.
  void AnswerNothing() {
    keeper.whenAsked = [this](const Row& row) { keeper.rows[row].kind = Kind::UNDER_WAY; };
  }
  void Refuse(const Row& row, unsigned int status) {
    keeper.rows[row] = {Kind::MISSING, 0, status};
    differences.Note(row, keeper.rows[row]);
  }
  void TurnSome(unsigned int count = 20) {
    for (unsigned int i = 0; i < count; ++i) {
      turns.Turn();
    }
  }
  rows::Differences::Counts CountsOf(const Row& row) const {
    return differences.GetCounts()[row.index()];
  }

  static Row WithGateway(Row row, unsigned char last) {
    std::get<rows::RouteRow>(row).target.gateway[3] = last;
    return row;
  }
  static documents::RouteTarget PrefixOf(const Row& row) {
    return std::get<rows::RouteRow>(row).target;
  }

  rows_test::Turns turns;
  rows_test::FakeStackPort port{turns.time};
  rows_test::FakeKeeper keeper;
  std::function<void(const std::string&)> reported = [](const std::string&) {};
  std::string hastened;
  rows::Differences differences{turns.loop.Get(), port,
                                [this](const std::string& line) { reported(line); },
                                [this](const Row&) -> rows::Keeper& { return keeper; }};
};

TEST_F(Retry, AsksForAllNow) {
  Differ(rows::InterfaceRow{10, 3});
  Differ(RouteNumber(10, 9));
  Differ(RouteNumber(20, 9));
  TurnSome();
  ASSERT_THAT(keeper.asked, IsEmpty());
  const rows::Differences::Retry retry = differences.RetryAll();
  EXPECT_EQ(retry.count, 3u);
  EXPECT_EQ(retry.underWay, 0u);
  TurnSome();
  EXPECT_THAT(keeper.asked,
              ElementsAre(Describe(rows::InterfaceRow{10, 3}), Describe(RouteNumber(10, 9)),
                          Describe(RouteNumber(20, 9))));
  EXPECT_EQ(differences.CountRepeats(), 3u);
  TurnSome();
  EXPECT_THAT(keeper.asked, SizeIs(3));  // once
}

// A repeat that is due comes whether anybody wishes it or not.
TEST_F(Retry, KnowsWhatItHasHastened) {
  AnswerNothing();
  for (unsigned int number = 0; number <= REPEATS; ++number) {  // one more than there are places
    Differ(RouteNumber(10, number));
  }
  turns.time.AdvanceMilliseconds(1000);
  TurnSome();
  ASSERT_THAT(keeper.asked, SizeIs(REPEATS));
  const Row due = RouteNumber(10, REPEATS);  // it waits for a place
  const Row early = WithGateway(due, 7);
  Differ(early);
  EXPECT_EQ(differences.RetryAll().count, 2u);
  EXPECT_EQ(differences.RetryRoutes(PrefixOf(due)).count, 2u);
  TurnSome();
  EXPECT_FALSE(differences.IsHastened(due));
  EXPECT_TRUE(differences.IsHastened(early));
  EXPECT_TRUE(differences.IsHastened(PrefixOf(due))) << "a route of its prefix is";
  EXPECT_FALSE(differences.IsHastened(RouteNumber(10, 0)));
  EXPECT_FALSE(differences.IsHastened(PrefixOf(RouteNumber(10, 0))));
  Refuse(RouteNumber(10, 0), 3);
  Refuse(RouteNumber(10, 1), 3);
  TurnSome();
  ASSERT_THAT(keeper.asked, SizeIs(REPEATS + 2));
  EXPECT_TRUE(differences.IsHastened(early)) << "it has had no answer";
  Refuse(early, 3);
  EXPECT_FALSE(differences.IsHastened(early));
  EXPECT_FALSE(differences.IsHastened(PrefixOf(due)));
}

TEST_F(Retry, TellsWhetherALineIsAboutWhatItHasHastened) {
  Differ(RouteNumber(10, 1));
  Differ(RouteNumber(10, 2));
  differences.RetryRoutes(PrefixOf(RouteNumber(10, 2)));
  reported = [this](const std::string& line) {
    hastened += differences.IsReportingHastened() ? line + "\n" : "";
  };
  for (const Row& row : {RouteNumber(10, 1), RouteNumber(10, 2)}) {
    keeper.rows.erase(row);
    differences.Heard(row);
  }
  TurnSome();
  EXPECT_EQ(differences.Count(), 0u);
  EXPECT_EQ(hastened, Describe(RouteNumber(10, 2)) + " is as wanted now\n");
  EXPECT_FALSE(differences.IsReportingHastened());
}

TEST_F(Retry, AsksForNothingWhereNothingDiffers) {
  EXPECT_EQ(differences.RetryAll().count, 0u);
  Differ(RouteNumber(10, 9));
  TurnSome();
  EXPECT_THAT(keeper.asked, IsEmpty());  // it began after that
}

TEST_F(Retry, LeavesWhatIsUnderWay) {
  AnswerNothing();
  Differ(RouteNumber(10, 1));
  differences.RetryAll();
  TurnSome();
  ASSERT_THAT(keeper.asked, SizeIs(1));
  Differ(RouteNumber(10, 2));
  for (const auto& retry :
       {differences.RetryAll(), differences.RetryRoutes(PrefixOf(RouteNumber(10, 1)))}) {
    EXPECT_EQ(retry.underWay, 1u);
  }
  TurnSome();
  EXPECT_THAT(keeper.asked,
              ElementsAre(Describe(RouteNumber(10, 1)), Describe(RouteNumber(10, 2))));
}

TEST_F(Retry, AsksForThoseOfAPrefixInAllVlans) {
  for (const unsigned short vlan : {1, 10, 20, 65535}) {
    for (unsigned int number = 8; number <= 10; ++number) {
      Differ(RouteNumber(vlan, number));
    }
  }
  const Row other = WithGateway(RouteNumber(10, 9), 7);
  Differ(other);
  Row shorter = RouteNumber(10, 9);
  std::get<rows::RouteRow>(shorter).target.length = 23;
  Differ(shorter);
  Differ(rows::RuleRow{{10, false, intent::CODE_BGP}, intent::CODE_STATIC});
  const auto retry = differences.RetryRoutes(PrefixOf(RouteNumber(4094, 9)));
  EXPECT_EQ(retry.count, 5u);
  TurnSome();
  EXPECT_THAT(keeper.asked,
              testing::UnorderedElementsAre(
                  Describe(RouteNumber(1, 9)), Describe(RouteNumber(10, 9)), Describe(other),
                  Describe(RouteNumber(20, 9)), Describe(RouteNumber(65535, 9))));
  EXPECT_EQ(differences.RetryRoutes(PrefixOf(RouteNumber(10, 11))).count, 0u);
}

// A pass of the library's scheduler has to have room for other rows.
TEST_F(Retry, KeepsToThePlacesOfAVlan) {
  AnswerNothing();
  for (unsigned int i = 0; i < 40; ++i) {
    Differ(RouteNumber(10, i));
  }
  EXPECT_EQ(differences.RetryAll().count, 40u);
  TurnSome();
  EXPECT_THAT(keeper.asked, SizeIs(REPEATS));
  const auto again = differences.RetryAll();
  EXPECT_EQ(again.count, 40u - REPEATS);
  EXPECT_EQ(again.underWay, REPEATS);
  TurnSome();
  EXPECT_THAT(keeper.asked, SizeIs(REPEATS));
  Refuse(RouteNumber(10, 3), 5);
  TurnSome();
  EXPECT_THAT(keeper.asked, SizeIs(REPEATS + 1));
  EXPECT_EQ(keeper.asked.back(), Describe(RouteNumber(10, REPEATS)));
}

// However many differ, a turn ends the pauses of some.
TEST_F(Retry, ComesToAllInTheEnd) {
  constexpr unsigned int VLANS = 2000;
  for (unsigned int i = 0; i < VLANS; ++i) {
    Differ(RouteNumber(static_cast<unsigned short>(i), 9));
  }
  differences.RetryAll();
  turns.Turn();
  EXPECT_LE(keeper.asked.size(), rows::Differences::LOOKS_A_TURN);
  TurnSome(40);
  EXPECT_THAT(keeper.asked, SizeIs(VLANS));
  EXPECT_EQ(differences.CountRepeats(), VLANS);
}

// More rows than have a place at a time, one of which is as wanted after that.
TEST_F(Retry, TakesUntilEachHasHadItsAnswer) {
  AnswerNothing();
  constexpr unsigned int ROWS = REPEATS + 2;
  for (unsigned int i = 0; i < ROWS; ++i) {
    Differ(RouteNumber(10, i));
  }
  TurnSome();
  EXPECT_FALSE(differences.IsRetrying());
  differences.RetryAll();
  EXPECT_TRUE(differences.IsRetrying());
  TurnSome();
  keeper.rows[RouteNumber(10, 0)] = {};
  differences.Heard(RouteNumber(10, 0));
  for (unsigned int i = 1; i < ROWS; ++i) {
    TurnSome();
    EXPECT_TRUE(differences.IsRetrying()) << i;
    Refuse(RouteNumber(10, i), 3);
  }
  EXPECT_FALSE(differences.IsRetrying());
  TurnSome();
  EXPECT_THAT(keeper.asked, SizeIs(ROWS));
  EXPECT_EQ(differences.Count(), ROWS - 1);
}

TEST_F(Retry, DoesNotTakeLongerForWhatIsAskedForAnyway) {
  Differ(RouteNumber(10, 9));
  keeper.rows[RouteNumber(10, 9)].kind = Kind::UNDER_WAY;
  EXPECT_EQ(differences.RetryRoutes(PrefixOf(RouteNumber(10, 9))).count, 1u);
  TurnSome();
  EXPECT_FALSE(differences.IsRetrying());
  EXPECT_THAT(keeper.asked, IsEmpty());
}

TEST_F(Retry, EndsWhenAllIsForgotten) {
  Differ(RouteNumber(10, 9));
  differences.RetryRoutes(PrefixOf(RouteNumber(10, 9)));
  differences.RetryAll();
  differences.Forget();
  EXPECT_FALSE(differences.IsRetrying());
  Differ(RouteNumber(10, 10));
  TurnSome();
  EXPECT_THAT(keeper.asked, IsEmpty());
  EXPECT_EQ(CountsOf(RouteNumber(10, 9)).all, 1u);
  EXPECT_EQ(differences.RetryAll().count, 1u);
}

TEST_F(Retry, CountsByKindAndRefusal) {
  const Row interface = rows::InterfaceRow{10, 3};
  Differ(interface, 0);
  Differ(RouteNumber(10, 1), 3);
  Differ(RouteNumber(10, 2), 0);
  EXPECT_EQ(CountsOf(interface).all, 1u);
  EXPECT_EQ(CountsOf(interface).refused, 0u);
  EXPECT_EQ(CountsOf(RouteNumber(10, 1)).all, 2u);
  EXPECT_EQ(CountsOf(RouteNumber(10, 1)).refused, 1u);
  Refuse(RouteNumber(10, 2), 5);  // an answer
  EXPECT_EQ(CountsOf(RouteNumber(10, 1)).refused, 2u);
  Refuse(RouteNumber(10, 2), 0);
  EXPECT_EQ(CountsOf(RouteNumber(10, 1)).refused, 1u);
  keeper.rows[RouteNumber(10, 2)].status = 4;  // found when it is asked for again
  differences.RetryAll();
  TurnSome();
  EXPECT_EQ(CountsOf(RouteNumber(10, 1)).refused, 2u);
  keeper.rows.clear();
  differences.Heard(RouteNumber(10, 1));
  TurnSome();
  EXPECT_EQ(CountsOf(RouteNumber(10, 1)).all, 1u);
  EXPECT_EQ(CountsOf(RouteNumber(10, 1)).refused, 1u);
  EXPECT_EQ(CountsOf(interface).all, 1u);
}

TEST_F(Retry, CountsByVlan) {
  const auto counts = [this](unsigned short vlan) {
    return differences.GetCounts(vlan)[RouteNumber(10, 1).index()];
  };
  Differ(RouteNumber(10, 1), 3);
  Differ(RouteNumber(10, 2), 0);
  Differ(RouteNumber(20, 1), 0);
  EXPECT_EQ(counts(10).all, 2u);
  EXPECT_EQ(counts(10).refused, 1u);
  EXPECT_EQ(counts(20).all, 1u);
  EXPECT_EQ(counts(20).refused, 0u);
  EXPECT_EQ(counts(30).all, 0u);
  Refuse(RouteNumber(20, 1), 5);
  EXPECT_EQ(counts(20).refused, 1u);
  keeper.rows.clear();
  differences.Heard(RouteNumber(10, 1));
  differences.Heard(RouteNumber(20, 1));
  TurnSome();
  EXPECT_EQ(counts(10).all, 1u);
  EXPECT_EQ(counts(10).refused, 0u);
  EXPECT_EQ(counts(20).all, 0u);
  differences.Forget();
  EXPECT_EQ(counts(10).all, 0u);
}

}  // namespace
