#include "device/rows/verify.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/rows/fake_keeper.h"

namespace {

using rows::DescribeFail;
using rows::DescribeVerdicts;
using rows::Standing;
using rows_test::RouteNumber;
using testing::ElementsAre;
using testing::IsEmpty;
using Kind = Standing::Kind;

const char* const ROUTE_TEXT = "VLAN 10: route 10.0.9.0/24 via 10.1.2.1 ";

std::string Fail(const Standing& standing, const rows::Differences::Difference* difference) {
  std::string text = DescribeFail(RouteNumber(10, 9), standing, difference, 20000);
  EXPECT_EQ(text.rfind(ROUTE_TEXT, 0), 0u);
  return text.substr(std::string(ROUTE_TEXT).size());
}

TEST(Verify, TellsWhatIsKnownOfAFail) {
  EXPECT_EQ(Fail({Kind::MISSING, 0, 3}, nullptr),
            "is missing in the stack: wrong value (status 3)");
  EXPECT_EQ(Fail({Kind::UNDER_WAY, 8000, 0}, nullptr), "is under way since 12 s");
  rows::Differences::Difference difference;
  difference.next = 23001;
  EXPECT_EQ(Fail({Kind::UNWANTED, 0, 0}, &difference), "is still in the stack, again in 4 s");
  difference.repeats = 1;
  EXPECT_EQ(Fail({Kind::OTHER, 0, 0}, &difference),
            "has other values in the stack, asked once, again in 4 s");
  difference.repeats = 3;
  difference.next = 20000;
  EXPECT_EQ(Fail({Kind::MISSING, 0, 5}, &difference),
            "is missing in the stack: try again (status 5), asked 3 times, again when others are "
            "done");
  difference.isAsked = true;
  EXPECT_EQ(Fail({Kind::UNDER_WAY, 19500, 0}, &difference),
            "is under way since 1 s, asked 3 times");
}

TEST(Verify, SaysThatTheTablesWereNotRead) {
  EXPECT_THAT(DescribeVerdicts({{"routes", 3, 0, {}, false}}, 100),
              ElementsAre("PASS  routes: 3 as wanted, as far as is known",
                          "PASS: 3 rows as wanted, as far as is known"));
  EXPECT_THAT(DescribeVerdicts({{"instances", 4, 0, {}, false}, {"routes", 3, 1, {"a"}, false}}, 9),
              ElementsAre("PASS  instances: 4 as wanted, as far as is known", "FAIL  a",
                          "FAIL: 1 row is not as wanted, of 7"));
}

TEST(Verify, TellsEachKindAndTheTotals) {
  EXPECT_THAT(DescribeVerdicts({{"instances", 4, 0, {}}, {"routes", 3, 0, {}}}, 100),
              ElementsAre("PASS  instances: 4 as wanted", "PASS  routes: 3 as wanted",
                          "PASS: 7 rows as wanted"));
  EXPECT_TRUE(rows::HavePassed({{"instances", 4, 0, {}}}));
  const std::vector<rows::Verdict> failed = {
      {"instances", 4, 0, {}}, {"routes", 3, 2, {"a", "b"}}, {"rules", 9, 3, {"c", "d", "e"}}};
  EXPECT_FALSE(rows::HavePassed(failed));
  EXPECT_THAT(DescribeVerdicts(failed, 100),
              ElementsAre("PASS  instances: 4 as wanted", "FAIL  a", "FAIL  b", "FAIL  c",
                          "FAIL  d", "FAIL  e", "FAIL: 5 rows are not as wanted, of 16"));
  EXPECT_THAT(DescribeVerdicts(failed, 3),
              ElementsAre("PASS  instances: 4 as wanted", "FAIL  a", "FAIL  b", "FAIL  c",
                          "... and 2 more", "FAIL: 5 rows are not as wanted, of 16"));
  EXPECT_THAT(DescribeVerdicts({{"stack", 0, 1, {"the stack is not ready"}}}, 3),
              ElementsAre("FAIL  the stack is not ready", "FAIL: 1 row is not as wanted, of 0"));
}

TEST(Verify, DoesNotCallMoreWhatALineSpeaksFor) {
  rows::Verdict routes{"routes", 9, 4, {"a", "3 routes are under way"}};
  routes.besides = 2;
  const rows::Verdict rules{"rules", 3, 1, {"b"}};
  EXPECT_THAT(DescribeVerdicts({routes, rules}, 9),
              ElementsAre("FAIL  a", "FAIL  3 routes are under way", "FAIL  b",
                          "FAIL: 5 rows are not as wanted, of 12"));
  EXPECT_THAT(DescribeVerdicts({routes, rules}, 2),
              ElementsAre("FAIL  a", "FAIL  3 routes are under way", "... and 1 more",
                          "FAIL: 5 rows are not as wanted, of 12"));
  EXPECT_THAT(DescribeVerdicts({routes, rules}, 1),
              ElementsAre("FAIL  a", "... and 4 more", "FAIL: 5 rows are not as wanted, of 12"));
}

TEST(Verify, NamesThePartsWithoutRowsThatHaveFailed) {
  rows::Verdict folder;
  folder.kind = "folder";
  folder.note = "says what is in force";
  rows::Verdict requests = folder;
  requests.kind = "requests";
  const rows::Verdict routes{"routes", 3, 0, {}};
  EXPECT_THAT(DescribeVerdicts({folder, routes}, 9),
              ElementsAre("PASS  folder: says what is in force", "PASS  routes: 3 as wanted",
                          "PASS: 3 rows as wanted"));
  folder.fails = 1;
  folder.lines = {"folder: a"};
  requests.fails = 2;
  requests.lines = {"requests: b"};
  EXPECT_FALSE(rows::HavePassed({folder, routes}));
  EXPECT_THAT(
      DescribeVerdicts({folder, routes, requests}, 9),
      ElementsAre("PASS  routes: 3 as wanted", "FAIL  folder: a", "FAIL  requests: b",
                  "... and 1 more", "FAIL: 3 rows as wanted; failed besides: folder, requests"));
  EXPECT_THAT(DescribeVerdicts({folder, {"routes", 3, 1, {"c"}}}, 9),
              ElementsAre("FAIL  folder: a", "FAIL  c",
                          "FAIL: 1 row is not as wanted, of 3; failed besides: folder"));
}

TEST(Verify, NamesOldRoutesThatAreKept) {
  rows::Verdict routes{"routes", 3, 0, {}};
  routes.kept = 1;
  routes.keptLines = {"a"};
  EXPECT_TRUE(rows::HavePassed({routes}));
  EXPECT_THAT(DescribeVerdicts({{"instances", 4, 0, {}}, routes}, 100),
              ElementsAre("PASS  instances: 4 as wanted",
                          "PASS  routes: 3 as wanted, and 1 old one is kept until a new one can "
                          "take its place",
                          "KEPT  a",
                          "PASS: 7 rows as wanted, and 1 old one is kept until a new one can take "
                          "its place"));
  routes.kept = 3;
  routes.keptLines = {"a", "b"};
  routes.fails = 1;
  routes.lines = {"c"};
  EXPECT_THAT(DescribeVerdicts({routes}, 1),
              ElementsAre("KEPT  a", "FAIL  c",
                          "FAIL: 1 row is not as wanted, of 3, and 3 old ones are kept until a new "
                          "one can take its place"));
}

// A kind that has kept fewer lines than it has fails.
TEST(Verify, CountsWhatHasNoLine) {
  EXPECT_THAT(DescribeVerdicts({{"routes", 1000, 700, {"a", "b"}}}, 100),
              ElementsAre("FAIL  a", "FAIL  b", "... and 698 more",
                          "FAIL: 700 rows are not as wanted, of 1000"));
}

TEST(Verify, TellsTheFirstDifferences) {
  rows_test::Turns turns;
  rows_test::FakeStackPort port{turns.time};
  rows_test::FakeKeeper keeper;
  rows::Differences differences{turns.loop.Get(), port, [](const std::string&) {},
                                [&](const rows::Row&) -> rows::Keeper& { return keeper; }};
  EXPECT_THAT(rows::DescribeDifferences(differences, 2), IsEmpty());
  differences.Note(RouteNumber(10, 1), {Kind::MISSING, 0, 3});
  EXPECT_THAT(rows::DescribeDifferences(differences, 2),
              ElementsAre("VLAN 10: route 10.0.1.0/24 via 10.1.2.1 is missing in the stack: wrong "
                          "value (status 3)"));
  differences.Note(RouteNumber(10, 2), {Kind::OTHER, 0, 0});
  differences.Note(RouteNumber(10, 3), {Kind::OTHER, 0, 0});
  EXPECT_THAT(rows::DescribeDifferences(differences, 2),
              ElementsAre(testing::HasSubstr("10.0.1.0"), testing::HasSubstr("10.0.2.0")));
}

TEST(Verify, CountsDifferences) {
  EXPECT_EQ(rows::DescribeCount(1), "1 row is not as wanted");
  EXPECT_EQ(rows::DescribeCount(3), "3 rows are not as wanted");
}

}  // namespace
