// Candidates as facts: in slices, by preference, counted, and the longest match among them.

#include <algorithm>
#include <cstring>
#include <set>
#include <tuple>

#include "device/stack/facts.h"
#include "stack_test.h"
#include "tests/models/random_run.h"

namespace stack_test {
namespace {

using routing_stack::Candidate;
using routing_stack::RouteCandidate;
using routing_stack::RouteCounts;
using routing_stack::RoutePrefix;
using routing_stack::RouteProtocol;

constexpr unsigned int kCodes[] = {2, 3, 8, 13, 14};

RoutePrefix PrefixOf(const std::string& text) {
  const PrefixBytes bytes(text);
  RoutePrefix prefix;
  std::memcpy(prefix.destination, bytes.address.bytes, sizeof prefix.destination);
  prefix.length = bytes.length;
  return prefix;
}

/// What a row of the RIB shows of a candidate.
amb_cipr_rtm_rib RowOf(const RouteCandidate& candidate) {
  amb_cipr_rtm_rib row{};
  row.instance = candidate.instance;
  std::memcpy(row.destination, candidate.destination, sizeof row.destination);
  row.prefix_length = candidate.prefixLength;
  std::memcpy(row.next_hop, candidate.nextHop, sizeof row.next_hop);
  row.if_index = candidate.ifIndex;
  row.route_proto = kCodes[static_cast<int>(candidate.protocol)];
  row.route_type = row.route_proto == 2 ? 3 : 4;
  row.age = candidate.age;
  row.metric1 = candidate.metric;
  row.fib_flag = candidate.isInstalled ? 1 : 0;
  row.interface_pending = candidate.ifIndex == 0 ? 1 : 0;
  return row;
}

/// The row, and what only the candidate tells: "... if 3 metric 5 (0 for 3) 1 up reached".
std::string TextOf(const RouteCandidate& candidate) {
  return RowText(RowOf(candidate)) + " (" + std::to_string(candidate.requestedIfIndex) + ") " +
         std::to_string(candidate.distance) + (candidate.isUp ? " up" : " down") +
         (candidate.isReached ? " reached" : "");
}

Lines TextsOf(const std::vector<RouteCandidate>& candidates) {
  Lines lines;
  std::transform(candidates.begin(), candidates.end(), std::back_inserter(lines), TextOf);
  return lines;
}

class CandidatesTest : public StackTest {
 protected:
  void SetUp() override {
    Start();
    AddInstance(10);
    AddInterface(10, 3);
    AddAddress(10, 3, "10.1.2.3/24");
    RunAll();
  }
  Lines Of(const std::string& prefix) {
    RunAll();
    return TextsOf(facts.CandidatesOf(10, PrefixOf(prefix)));
  }
  std::string Longest(const std::string& address, bool isInstalled, unsigned int instance = 10) {
    RunAll();
    const AddressBytes bytes(address);
    const auto prefix = facts.LongestMatch(instance, bytes.bytes, isInstalled);
    if (!prefix) {
      return "none";
    }
    RouteCandidate candidate;
    std::memcpy(candidate.destination, prefix->destination, sizeof candidate.destination);
    candidate.prefixLength = prefix->length;
    candidate.instance = instance;
    const std::string text = RowText(RowOf(candidate));
    const std::size_t begin = text.find('/');
    return text.substr(text.rfind(' ', begin) + 1,
                       text.find(' ', begin) - text.rfind(' ', begin) - 1);
  }

  const routing_stack::Facts& facts = stack.GetFacts();
};

TEST_F(CandidatesTest, AreInTheOrderInWhichTheyWouldBeInstalled) {
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 0, 5);
  AddRoute(10, "10.9.0.0/16", "10.1.2.2", 3, 4);
  AddRoute(10, "10.9.0.0/16", "172.16.0.1", 0, 1);
  Route(1, 2, 10, "10.9.0.0/16", "10.1.2.9", 0, 0);
  RunAll();
  Candidate internal = MakeCandidate(10, "10.9.0.0/16", "10.1.2.1", 13, 50);
  internal.internal = true;
  control.PutCandidate(internal);
  control.PutCandidate(MakeCandidate(10, "10.9.0.0/16", "10.1.2.7", 8, 1));
  control.PutCandidate(MakeCandidate(10, "10.9.0.0/16", "10.1.9.1", 14, 1));
  AddRoute(10, "10.9.0.0/17", "10.1.2.1");
  AddRoute(10, "10.8.255.0/24", "10.1.2.1");
  const Lines inOrder = {
      "> 10 10.9.0.0/16 proto 3 via 10.1.2.2 if 3 metric 4 (3) 1 up reached",
      "  10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 5 (0) 1 up reached",
      "  10 10.9.0.0/16 proto 13 via 10.1.2.1 if 3 metric 50 (0) 40 up reached",
      "  10 10.9.0.0/16 proto 8 via 10.1.2.7 if 3 metric 1 (0) 120 up reached",
      "  10 10.9.0.0/16 proto 3 via 10.1.2.9 if 3 metric 0 (0) 1 down reached",
      "  10 10.9.0.0/16 proto 3 via 172.16.0.1 if TBD metric 1 (0) 1 up",
      "  10 10.9.0.0/16 proto 14 via 10.1.9.1 if TBD metric 1 (0) 200 up",
  };
  EXPECT_EQ(inOrder, Of("10.9.0.0/16"));
  EXPECT_THAT(Of("10.9.0.0/18"), IsEmpty());
  EXPECT_EQ(inOrder, TextsOf(facts.CandidatesOf(10, PrefixOf("10.9.3.4/16")))) << "host bits";
  EXPECT_THAT(facts.CandidatesOf(11, PrefixOf("10.9.0.0/16")), IsEmpty());
  for (const char* const nextHop : {"10.1.2.2", "10.1.2.1"}) {
    Route(6, 2, 10, "10.9.0.0/16", nextHop, nextHop[7] == '2' ? 3 : 0, 0);
  }
  EXPECT_EQ('>', Of("10.9.0.0/16")[0][0]);
  EXPECT_EQ(">" + inOrder[2].substr(1), Of("10.9.0.0/16")[0]);
}

TEST_F(CandidatesTest, AConnectedRouteIsReached) {
  EXPECT_THAT(Of("10.1.2.0/24"),
              ElementsAre("> 10 10.1.2.0/24 proto 2 via 0.0.0.0 if 3 metric 0 (3) 0 up reached"));
}

TEST_F(CandidatesTest, AgesAreThoseOfTheCandidateAndOfItsInstallation) {
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 0, 5);
  AddRoute(10, "10.9.0.0/16", "10.1.2.2", 0, 6);
  RunAll();
  now += 7900;
  Route(6, 2, 10, "10.9.0.0/16", "10.1.2.1", 0, 0);
  RunAll();
  AddRoute(10, "10.9.0.0/16", "10.1.2.4", 0, 7);
  RunAll();
  now += 2000;
  const auto candidates = facts.CandidatesOf(10, PrefixOf("10.9.0.0/16"));
  ASSERT_EQ(2u, candidates.size());
  EXPECT_EQ(9u, candidates[0].age);
  EXPECT_EQ(2u, candidates[0].installedAge);
  EXPECT_EQ(2u, candidates[1].age);
  EXPECT_EQ(0u, candidates[1].installedAge);
}

TEST_F(CandidatesTest, TheLongestMatchMayBeAnyOfTheNestedPrefixes) {
  AddRoute(10, "0.0.0.0/0", "10.1.2.1");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  AddRoute(10, "10.9.128.0/17", "10.1.2.1");
  AddRoute(10, "10.9.128.4/32", "10.1.2.1");
  AddRoute(10, "10.9.127.0/24", "10.1.2.1");
  EXPECT_EQ("10.9.128.4/32", Longest("10.9.128.4", true));
  EXPECT_EQ("10.9.128.0/17", Longest("10.9.128.5", true));
  EXPECT_EQ("10.9.128.0/17", Longest("10.9.255.255", true));
  EXPECT_EQ("10.9.0.0/16", Longest("10.9.126.255", true));
  EXPECT_EQ("10.9.127.0/24", Longest("10.9.127.255", true));
  EXPECT_EQ("0.0.0.0/0", Longest("10.10.0.0", true));
  EXPECT_EQ("0.0.0.0/0", Longest("255.255.255.255", true));
  EXPECT_EQ("none", Longest("10.9.128.4", true, 11));
  Route(6, 2, 10, "0.0.0.0/0", "10.1.2.1", 0, 0);
  EXPECT_EQ("none", Longest("10.10.0.0", true));
  EXPECT_EQ("none", Longest("0.0.0.0", false));
}

TEST_F(CandidatesTest, WhatIsNotInstalledMatchesOnlyWhenAskedFor) {
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  AddRoute(10, "10.9.1.0/24", "172.16.0.1");
  EXPECT_EQ("10.9.1.0/24", Longest("10.9.1.1", false));
  EXPECT_EQ("10.9.0.0/16", Longest("10.9.1.1", true));
}

TEST_F(CandidatesTest, TheLongestMatchOfIp6IsFoundAtAnyLength) {
  const unsigned int instance = 10 | kIp6Bit;
  AddInstance(instance);
  AddInterface(instance, 3);
  for (const char* const prefix :
       {"::/0", "2001:db8::/32", "2001:db8:0:1::/64", "2001:db8:0:1::/65", "2001:db8:0:1::8/127",
        "2001:db8:0:1::9/128"}) {
    AddRoute(instance, prefix, "fe80::1", 3);
  }
  EXPECT_EQ("2001:db8:0:1::9/128", Longest("2001:db8:0:1::9", true, instance));
  EXPECT_EQ("2001:db8:0:1::8/127", Longest("2001:db8:0:1::8", true, instance));
  EXPECT_EQ("2001:db8:0:1::/65", Longest("2001:db8:0:1::a", true, instance));
  EXPECT_EQ("2001:db8:0:1::/64", Longest("2001:db8:0:1:8000::", true, instance));
  EXPECT_EQ("2001:db8::/32", Longest("2001:db8:0:2::", true, instance));
  EXPECT_EQ("::/0", Longest("ffff::", true, instance));
}

TEST_F(CandidatesTest, CountsFollowAnInstanceThatGoesAtOnceAndARestart) {
  AddInstance(11);
  AddInterface(11, 4);
  for (int i = 0; i < 100; ++i) {
    AddRoute(10, "10.9." + std::to_string(i) + ".0/24", "10.1.2.1");
    AddRoute(11, "10.9." + std::to_string(i) + ".0/24", "0.0.0.0", i % 2 == 0 ? 4 : 5);
  }
  RunAll();
  EXPECT_THAT(facts.CountRoutes(10).candidates, ElementsAre(1u, 100u, 0u, 0u, 0u));
  EXPECT_THAT(facts.CountRoutes(10).installed, ElementsAre(1u, 100u, 0u, 0u, 0u));
  EXPECT_THAT(facts.CountRoutes(11).installed, ElementsAre(0u, 50u, 0u, 0u, 0u));
  EXPECT_THAT(facts.CountRoutes().candidates, ElementsAre(1u, 200u, 0u, 0u, 0u));
  control.SetSliceEvents(1);
  DropInstance(10);
  RunOnce();
  ASSERT_FALSE(stack.IsIdle()) << "its candidates are freed later";
  EXPECT_THAT(facts.CountRoutes(10).candidates, testing::Each(0u));
  EXPECT_THAT(facts.CountRoutes().candidates, ElementsAre(0u, 100u, 0u, 0u, 0u));
  EXPECT_THAT(facts.CountRoutes().installed, ElementsAre(0u, 50u, 0u, 0u, 0u));
  RunAll();
  EXPECT_THAT(facts.CountRoutes().candidates, ElementsAre(0u, 100u, 0u, 0u, 0u));
  control.Restart();
  EXPECT_THAT(facts.CountRoutes().candidates, testing::Each(0u));
  RunAll();
  AddInstance(11);
  AddRoute(11, "10.9.0.0/24", "0.0.0.0", 4);
  RunAll();
  EXPECT_THAT(facts.CountRoutes().candidates, ElementsAre(0u, 1u, 0u, 0u, 0u));
  EXPECT_THAT(facts.CountRoutes().installed, testing::Each(0u));
}

// Everything against the RIB as a whole, whatever waits to be worked off.

const char* const kPrefixes4[] = {"0.0.0.0/0",   "10.0.0.0/8",    "10.1.0.0/16", "10.1.2.0/24",
                                  "10.1.2.0/25", "10.1.2.128/25", "10.1.2.4/31", "10.1.2.4/32",
                                  "10.1.3.0/24", "128.0.0.0/1",   "0.0.0.0/1",   "255.0.0.0/8"};
const char* const kPrefixes6[] = {"::/0",
                                  "2001:db8::/32",
                                  "2001:db8:1::/48",
                                  "2001:db8:1:2::/64",
                                  "2001:db8:1:2:8000::/65",
                                  "2001:db8:1:2::4/127",
                                  "2001:db8:1:2::4/128",
                                  "8000::/1",
                                  "::/1",
                                  "2001:db8:1:3::/64"};
const char* const kNextHops4[] = {"10.1.2.4", "10.1.2.200", "10.1.9.1", "0.0.0.0", "172.16.0.1"};
const char* const kNextHops6[] = {"2001:db8:1:2::4", "2001:db8:1:9::1", "::", "fe80::1"};
constexpr unsigned int kInstances[] = {10, 11, 10 | kIp6Bit};

class RandomCandidatesTest : public StackTest {
 protected:
  RandomCandidatesTest() : m_random(test_models::Random().GetSeed()) {}
  void SetUp() override { Start(); }

  unsigned int Below(unsigned int bound) { return static_cast<unsigned int>(m_random() % bound); }
  template <typename Value, std::size_t size>
  Value Any(const Value (&values)[size]) {
    return values[Below(size)];
  }
  static bool IsIp6(unsigned int instance) { return (instance & kIp6Bit) != 0; }
  std::string AnyPrefix(unsigned int instance) {
    return IsIp6(instance) ? Any(kPrefixes6) : Any(kPrefixes4);
  }
  std::string AnyNextHop(unsigned int instance) {
    return IsIp6(instance) ? Any(kNextHops6) : Any(kNextHops4);
  }

  void Change();
  void ChangeInstance(unsigned int instance);
  void CheckCounts();
  void CheckSlices(unsigned int instance);
  void CheckPrefix(unsigned int instance);
  void CheckOrder(unsigned int instance, const std::vector<RouteCandidate>& candidates);
  void CheckLongest(unsigned int instance);

  std::vector<amb_cipr_rtm_rib> RowsOf(unsigned int instance) const {
    std::vector<amb_cipr_rtm_rib> rows;
    for (const amb_cipr_rtm_rib& row : facts.Rib()) {
      if (row.instance == instance) {
        rows.push_back(row);
      }
    }
    return rows;
  }

  const routing_stack::Facts& facts = stack.GetFacts();
  std::mt19937 m_random;
  test_models::Occurrences m_occurred;
};

void RandomCandidatesTest::ChangeInstance(unsigned int instance) {
  const bool isThere = facts.FindInstance(instance).has_value();
  if (isThere && Below(3) == 0) {
    m_occurred("instance went");
    DropInstance(instance);
    return;
  }
  AddInstance(instance);
  for (const int word : {6, 7, 8, 9, 14}) {
    host.configurations[instance].word[word] = Below(4);
  }
}

// A protocol's candidate is an internal one if its metric is odd.
void RandomCandidatesTest::Change() {
  const unsigned int instance = Any(kInstances);
  const unsigned int ifIndex = Below(3);
  const bool removes = Below(3) == 0;
  const unsigned int dice = Below(1000);
  if (dice == 0) {
    m_occurred("restart");
    control.Restart();
  } else if (dice < 16) {
    ChangeInstance(instance);
  } else if (dice < 200) {
    removes ? SetInterface(instance, ifIndex, false) : AddInterface(instance, ifIndex, true);
  } else if (dice < 280) {
    const std::string address = IsIp6(instance) ? "2001:db8:1:2::3/64" : "10.1.2.3/24";
    removes ? RemoveAddress(instance, ifIndex, address) : AddAddress(instance, ifIndex, address);
  } else if (dice < 620) {
    Route(removes ? 6 : 1, Below(8) == 0 ? 2 : 1, instance, AnyPrefix(instance),
          AnyNextHop(instance), ifIndex, Below(4));
  } else {
    const unsigned int protocols[] = {8, 13, 14};
    Candidate candidate = MakeCandidate(instance, AnyPrefix(instance), AnyNextHop(instance),
                                        Any(protocols), Below(4), ifIndex);
    candidate.internal = candidate.metric % 2 == 1;
    removes ? static_cast<void>(control.RemoveCandidate(candidate))
            : control.PutCandidate(candidate);
  }
}

void RandomCandidatesTest::CheckCounts() {
  RouteCounts all;
  for (const unsigned int instance : kInstances) {
    RouteCounts counts;
    for (const amb_cipr_rtm_rib& row : RowsOf(instance)) {
      const auto place = static_cast<std::size_t>(
          std::find(std::begin(kCodes), std::end(kCodes), row.route_proto) - std::begin(kCodes));
      ++counts.candidates.at(place);
      counts.installed.at(place) += row.fib_flag;
      ++all.candidates.at(place);
      all.installed.at(place) += row.fib_flag;
    }
    EXPECT_EQ(counts.candidates, facts.CountRoutes(instance).candidates);
    EXPECT_EQ(counts.installed, facts.CountRoutes(instance).installed);
  }
  EXPECT_EQ(all.candidates, facts.CountRoutes().candidates);
  EXPECT_EQ(all.installed, facts.CountRoutes().installed);
}

Lines TextsOf(const std::vector<amb_cipr_rtm_rib>& rows) {
  Lines lines;
  for (const amb_cipr_rtm_rib& row : rows) {
    lines.push_back(RowText(row));
  }
  return lines;
}

bool IsBefore(const amb_cipr_rtm_rib& row, const RoutePrefix& prefix) {
  const int order = std::memcmp(row.destination, prefix.destination, sizeof row.destination);
  return order != 0 ? order < 0 : row.prefix_length < prefix.length;
}

void RandomCandidatesTest::CheckSlices(unsigned int instance) {
  std::vector<amb_cipr_rtm_rib> rows = RowsOf(instance);
  std::vector<amb_cipr_rtm_rib> read;
  const RoutePrefix from = PrefixOf(AnyPrefix(instance));
  const bool fromPrefix = Below(2) == 0;
  std::vector<RouteCandidate> slice = fromPrefix
                                          ? facts.CandidatesFrom(instance, from, 1 + Below(5))
                                          : facts.CandidatesAfter(instance, nullptr, 1 + Below(5));
  while (!slice.empty()) {
    for (const RouteCandidate& candidate : slice) {
      read.push_back(RowOf(candidate));
    }
    ASSERT_LE(read.size(), rows.size());
    const RouteCandidate last = slice.back();
    const std::size_t most = 1 + Below(5);
    slice = facts.CandidatesAfter(instance, &last, most);
    EXPECT_LE(slice.size(), most);
  }
  if (fromPrefix) {
    rows.erase(rows.begin(), std::find_if(rows.begin(), rows.end(),
                                          [&](const auto& row) { return !IsBefore(row, from); }));
  }
  EXPECT_EQ(TextsOf(rows), TextsOf(read));
}

void RandomCandidatesTest::CheckPrefix(unsigned int instance) {
  const RoutePrefix prefix = PrefixOf(AnyPrefix(instance));
  std::vector<amb_cipr_rtm_rib> rows;
  for (const amb_cipr_rtm_rib& row : RowsOf(instance)) {
    if (row.prefix_length == prefix.length &&
        std::memcmp(row.destination, prefix.destination, sizeof row.destination) == 0) {
      rows.push_back(row);
    }
  }
  const std::vector<RouteCandidate> candidates = facts.CandidatesOf(instance, prefix);
  std::vector<amb_cipr_rtm_rib> read;
  for (const RouteCandidate& candidate : candidates) {
    read.push_back(RowOf(candidate));
    EXPECT_FALSE(candidate.isInstalled && read.size() > 1) << "the installed one is the first";
  }
  EXPECT_THAT(TextsOf(read), testing::UnorderedElementsAreArray(TextsOf(rows)));
  if (stack.IsIdle()) {
    CheckOrder(instance, candidates);
  }
}

void RandomCandidatesTest::CheckOrder(unsigned int instance,
                                      const std::vector<RouteCandidate>& candidates) {
  const auto rank = [](const RouteCandidate& a) {
    std::array<unsigned char, 16> nextHop;
    std::copy(std::begin(a.nextHop), std::end(a.nextHop), nextHop.begin());
    return std::make_tuple(!(a.isUp && a.isReached), a.distance, a.metric, a.protocol, nextHop,
                           a.requestedIfIndex);
  };
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    const RouteCandidate& one = candidates[i];
    const auto entry = facts.FindInstance(instance);
    ASSERT_TRUE(entry);
    const bool internal = one.metric % 2 == 1;
    const unsigned int distances[] = {0, 1, entry->rip,
                                      internal ? entry->ospfInternal : entry->ospfExternal,
                                      internal ? entry->bgpInternal : entry->bgpExternal};
    EXPECT_EQ(distances[static_cast<int>(one.protocol)], one.distance);
    EXPECT_EQ(i == 0 && one.isUp && one.isReached, one.isInstalled);
    if (i > 0) {
      EXPECT_LT(rank(candidates[i - 1]), rank(one));
      m_occurred("one after the other");
    }
  }
}

bool Holds(const amb_cipr_rtm_rib& row, const unsigned char (&address)[16]) {
  for (unsigned int i = 0; i < row.prefix_length; ++i) {
    const int shift = 7 - static_cast<int>(i % 8);
    if ((row.destination[i / 8] >> shift & 1) != (address[i / 8] >> shift & 1)) {
      return false;
    }
  }
  return true;
}

void RandomCandidatesTest::CheckLongest(unsigned int instance) {
  const std::string prefixText = AnyPrefix(instance);
  PrefixBytes near(prefixText);  // and some bits in it or beside it
  for (unsigned int i = Below(3); i > 0; --i) {
    near.address.bytes[Below(IsIp6(instance) ? 16 : 4)] ^=
        static_cast<unsigned char>(1u << Below(8));
  }
  const bool isInstalled = Below(2) == 0;
  std::optional<RoutePrefix> expected;
  for (const amb_cipr_rtm_rib& row : RowsOf(instance)) {
    if ((row.fib_flag == 1 || !isInstalled) && Holds(row, near.address.bytes) &&
        (!expected || expected->length < row.prefix_length)) {
      expected = RoutePrefix{};
      std::copy(std::begin(row.destination), std::end(row.destination), expected->destination);
      expected->length = row.prefix_length;
    }
  }
  const auto found = facts.LongestMatch(instance, near.address.bytes, isInstalled);
  ASSERT_EQ(expected.has_value(), found.has_value());
  if (expected) {
    EXPECT_EQ(expected->length, found->length);
    EXPECT_EQ(0, std::memcmp(expected->destination, found->destination, 16));
    m_occurred(isInstalled ? "installed match" : "match");
  } else {
    m_occurred("no match");
  }
}

TEST_F(RandomCandidatesTest, EverythingAgreesWithTheRibAtAnyMoment) {
  const unsigned int operations = test_models::Scaled(20000);
  for (unsigned int i = 0; i < operations; ++i) {
    SCOPED_TRACE("operation " + std::to_string(i));
    now += Below(1500);
    Change();
    control.SetSliceEvents(1 + Below(6));
    if (Below(8) == 0) {
      RunAll();
    } else {
      RunOnce();
    }
    host.Take();
    m_occurred(stack.IsIdle() ? "idle" : "in the middle of the work");
    const unsigned int instance = Any(kInstances);
    CheckCounts();
    CheckSlices(instance);
    CheckPrefix(instance);
    CheckLongest(instance);
    ASSERT_FALSE(HasFailure());
  }
  for (const char* const what : {"idle", "in the middle of the work", "one after the other",
                                 "installed match", "match", "no match"}) {
    m_occurred.ExpectAtLeast(1000, what);
  }
  m_occurred.ExpectAtLeast(5, "restart");
  m_occurred.ExpectAtLeast(30, "instance went");
}

}  // namespace
}  // namespace stack_test
