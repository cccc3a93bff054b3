// What the ledger asks the kernel for, and what it makes of answers and comparisons.

#include "device/kernel/route_ledger.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <set>
#include <vector>

#include "ledger_driver.h"

namespace {

using kernel::OUR_PRIORITIES;
using test_kernel::Hop;
using test_kernel::KEY;
using test_kernel::Key;
using test_kernel::OTHER;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;

const kernel::RouteKey KEY6 = Key("2001:db8:9::/48");

class RouteLedger : public testing::Test, protected test_kernel::LedgerDriver {
 protected:
  RouteLedger() { Begin(); }

  kernel::NextHops Installed(const kernel::RouteKey& key) const {
    const auto routes = kernel.OurRoutes();
    const auto found = routes.find(key);
    return found == routes.end() ? kernel::NextHops() : found->second;
  }
  bool IsInstalled(const kernel::RouteKey& key) const { return kernel.OurRoutes().count(key) != 0; }
  /// A route as another program makes it.
  void AddStranger(const kernel::RouteKey& key, std::uint32_t priority, unsigned char protocol) {
    kernel.tables[key][priority] = {protocol, Hop("10.1.2.99")};
  }
  void RefuseAll(int error) {
    kernel.refuse = [error](const auto&, bool) { return error; };
  }
  void ExpectNumbers(std::size_t wanted, std::size_t standing, std::size_t refused) {
    EXPECT_EQ(wanted, ledger.CountWanted());
    EXPECT_EQ(standing, ledger.CountStanding());
    EXPECT_EQ(refused, ledger.CountRefused());
    EXPECT_EQ(0u, ledger.CountOpen());
  }
};

TEST_F(RouteLedger, WhatIsWantedIsAddedOnce) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  ledger.Want(KEY6, Hop("fe80::1"));
  EXPECT_EQ(2u, SendAll());
  EXPECT_EQ(Hop("10.1.2.1"), Installed(KEY));
  EXPECT_EQ(Hop("fe80::1"), Installed(KEY6));
  ledger.Want(KEY, Hop("10.1.2.1"));
  EXPECT_EQ(0u, SendAll());
  ExpectNumbers(2, 2, 0);
  EXPECT_EQ(2u, ledger.GetTotals().added);
}

TEST_F(RouteLedger, WhatIsNotWantedAnyMoreGoes) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  SendAll();
  ledger.Forgo(KEY);
  ledger.Forgo(OTHER);  // never was
  EXPECT_EQ(1u, SendAll());
  EXPECT_FALSE(IsInstalled(KEY));
  ExpectNumbers(0, 0, 0);
  EXPECT_EQ(1u, ledger.GetTotals().deleted);
}

TEST_F(RouteLedger, RoutesOfIp6AreCountedAmongAll) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  ledger.Want(KEY6, Hop("fe80::1"));
  ledger.Want(KEY6, Hop("fe80::2"));
  EXPECT_EQ(1u, ledger.CountWantedIp6());
  ledger.Want(Key("2001:db8:a::/48"), Hop("fe80::1"));
  EXPECT_EQ(2u, ledger.CountWantedIp6());
  ledger.Forgo(KEY6);
  ledger.Forgo(KEY6);
  ledger.Forgo(KEY);
  EXPECT_EQ(1u, ledger.CountWantedIp6());
  EXPECT_EQ(1u, ledger.CountWanted());
  ledger.ForgoAllForNow();
  EXPECT_EQ(0u, ledger.CountWantedIp6());
}

TEST_F(RouteLedger, WhatGoesBeforeItWasSentCostsNothing) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  ledger.Forgo(KEY);
  EXPECT_EQ(0u, SendAll());
  ledger.Want(KEY, Hop("10.1.2.1"));
  SendAll();
  ledger.Forgo(KEY);
  ledger.Want(KEY, Hop("10.1.2.1"));
  EXPECT_EQ(0u, SendAll());
  ExpectNumbers(1, 1, 0);
}

TEST_F(RouteLedger, AChangedRouteIsThereAtEveryMoment) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  SendAll();
  std::size_t lacks = 0;
  kernel.afterRequest = [&] { lacks += IsInstalled(KEY) ? 0 : 1; };
  for (const char* const gateway : {"10.1.2.2", "10.1.2.3", "10.1.2.1"}) {
    ledger.Want(KEY, Hop(gateway));
    EXPECT_EQ(2u, SendAll());
    EXPECT_EQ(Hop(gateway), Installed(KEY));
    EXPECT_EQ(1u, kernel.CountOurs());
  }
  EXPECT_EQ(0u, lacks);
}

TEST_F(RouteLedger, AChangeDuringARequestIsAChangeAfterIt) {
  kernel.afterRequest = [this] { ledger.Want(KEY, Hop("10.1.2.2")); };
  ledger.Want(KEY, Hop("10.1.2.1"));
  Send(1);
  kernel.afterRequest = {};
  SendAll();
  EXPECT_EQ(Hop("10.1.2.2"), Installed(KEY));
  EXPECT_EQ(1u, kernel.CountOurs());
  ExpectNumbers(1, 1, 0);
}

TEST_F(RouteLedger, ARemovalDuringARequestIsARemovalAfterIt) {
  kernel.afterRequest = [this] { ledger.Forgo(KEY); };
  ledger.Want(KEY, Hop("10.1.2.1"));
  Send(1);
  kernel.afterRequest = {};
  SendAll();
  EXPECT_EQ(0u, kernel.CountOurs());
  ExpectNumbers(0, 0, 0);
}

TEST_F(RouteLedger, ABatchIsAsLongAsItIsAllowedToBe) {
  for (int i = 0; i < 10; ++i) {
    ledger.Want(Key("10." + std::to_string(i) + ".0.0/16"), Hop("10.1.2.1"));
  }
  Send(4);
  EXPECT_EQ(4u, kernel.CountOurs());
  EXPECT_EQ(6u, ledger.CountOpen());
  EXPECT_EQ(4u, ledger.CountStanding());
}

// ---- refusals

TEST_F(RouteLedger, ARefusalStopsNoOtherRequest) {
  kernel.refuse = [](const kernel::RouteKey& key, bool) { return key == KEY ? ENETUNREACH : 0; };
  ledger.Want(OTHER, Hop("10.1.2.1"));
  ledger.Want(KEY, Hop("10.7.7.7"));
  ledger.Want(KEY6, Hop("fe80::1"));
  SendAll();
  ExpectNumbers(3, 2, 1);
  ASSERT_NE(nullptr, ledger.FindRefusal(KEY));
  EXPECT_EQ(ENETUNREACH, ledger.FindRefusal(KEY)->error);
  EXPECT_EQ(nullptr, ledger.FindRefusal(OTHER));
}

TEST_F(RouteLedger, AskingAgainTakesLongerEachTimeUpToAMinute) {
  RefuseAll(ENOMEM);
  ledger.Want(KEY, Hop("10.1.2.1"));
  SendAll();
  std::vector<std::uint64_t> pauses;
  for (int i = 0; i < 8; ++i) {
    ASSERT_TRUE(ledger.FindNextTry());
    pauses.push_back(*ledger.FindNextTry() - now);
    now = *ledger.FindNextTry() - 1;
    ledger.AskAgain(false);
    EXPECT_EQ(0u, SendAll());
    ++now;
    ledger.AskAgain(false);
    EXPECT_EQ(1u, SendAll());
  }
  EXPECT_THAT(pauses, ElementsAre(1000, 2000, 4000, 8000, 16000, 32000, 60000, 60000));
  EXPECT_EQ(9u, ledger.FindRefusal(KEY)->tries);
  EXPECT_EQ(9u, ledger.GetTotals().refused);
  kernel.refuse = {};
  ledger.AskAgain(true);
  SendAll();
  ExpectNumbers(1, 1, 0);
  EXPECT_EQ(std::nullopt, ledger.FindNextTry());
}

TEST_F(RouteLedger, AnotherWishIsAskedForAtOnce) {
  RefuseAll(ENETUNREACH);
  ledger.Want(KEY, Hop("10.7.7.7"));
  SendAll();
  kernel.refuse = {};
  ledger.Want(KEY, Hop("10.1.2.1"));
  EXPECT_EQ(1u, SendAll());
  ExpectNumbers(1, 1, 0);
}

TEST_F(RouteLedger, ARefusedRouteThatIsNoLongerWantedIsForgotten) {
  RefuseAll(ENETUNREACH);
  ledger.Want(KEY, Hop("10.7.7.7"));
  SendAll();
  ledger.Forgo(KEY);
  EXPECT_EQ(0u, SendAll());
  ExpectNumbers(0, 0, 0);
  EXPECT_EQ(std::nullopt, ledger.FindNextTry());
}

// The old one stays while the new one is refused: it is better than none.
TEST_F(RouteLedger, ARefusedSuccessorLeavesTheOldRoute) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  SendAll();
  RefuseAll(ENETUNREACH);
  ledger.Want(KEY, Hop("10.7.7.7"));
  SendAll();
  EXPECT_EQ(Hop("10.1.2.1"), Installed(KEY));
  ExpectNumbers(1, 0, 1);
  ledger.Want(KEY, Hop("10.1.2.1"));
  kernel.refuse = {};
  SendAll();
  EXPECT_EQ(Hop("10.1.2.1"), Installed(KEY));
  EXPECT_EQ(1u, kernel.CountOurs());
  ExpectNumbers(1, 1, 0);
}

TEST_F(RouteLedger, ARefusedDeletionIsADifference) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  SendAll();
  RefuseAll(EPERM);
  ledger.Forgo(KEY);
  SendAll();
  ExpectNumbers(0, 0, 1);
  EXPECT_TRUE(ledger.FindRefusal(KEY)->isOfDeletion);
  EXPECT_EQ(1u, ledger.CountRefusedDeletions());
  kernel.refuse = {};
  ledger.AskAgain(true);
  SendAll();
  EXPECT_EQ(0u, kernel.CountOurs());
  ExpectNumbers(0, 0, 0);
  EXPECT_EQ(0u, ledger.CountRefusedDeletions());
}

TEST_F(RouteLedger, ADeletionThatIsNoLongerMeantIsNoDifference) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  SendAll();
  kernel.refuse = [this](const auto&, bool) {
    ledger.Want(KEY, Hop("10.1.2.1"));
    return EPERM;
  };
  ledger.Forgo(KEY);
  Send(1);
  kernel.refuse = {};
  EXPECT_EQ(0u, SendAll());
  ExpectNumbers(1, 1, 0);
}

TEST_F(RouteLedger, WhatHasGoneByItselfNeedNotBeDeleted) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  SendAll();
  kernel.tables.clear();
  ledger.Forgo(KEY);
  SendAll();
  ExpectNumbers(0, 0, 0);
  EXPECT_EQ(0u, ledger.GetTotals().deleted);
}

TEST_F(RouteLedger, RefusalsHaveWords) {
  EXPECT_EQ("Network is unreachable", kernel::DescribeRefusal({ENETUNREACH, "", 1, 0, false}));
  EXPECT_EQ("Network is unreachable (no gateway)",
            kernel::DescribeRefusal({ENETUNREACH, "no gateway", 1, 0, false}));
}

TEST_F(RouteLedger, NoMoreRefusalsAreToldThanAskedFor) {
  RefuseAll(EPERM);
  for (int i = 0; i < 5; ++i) {
    ledger.Want(Key("10." + std::to_string(i) + ".0.0/16"), Hop("10.1.2.1"));
  }
  SendAll();
  std::vector<std::string> keys;
  ledger.TellRefusals(3, [&](const auto& key, const auto&) { keys.push_back(DescribeKey(key)); });
  EXPECT_THAT(keys, SizeIs(3));
  ledger.TellRefusals(9, [&](const auto& key, const auto&) { keys.push_back(DescribeKey(key)); });
  EXPECT_THAT(keys, SizeIs(8));
}

// ---- other programs

TEST_F(RouteLedger, AStrangersRouteWithOurPriorityIsLeftAlone) {
  AddStranger(KEY, OUR_PRIORITIES[0], 4);
  ledger.Want(KEY, Hop("10.1.2.1"));
  SendAll();
  ExpectNumbers(1, 0, 1);
  EXPECT_EQ(EEXIST, ledger.FindRefusal(KEY)->error);
  ledger.Forgo(KEY);
  SendAll();
  EXPECT_EQ(4, kernel.tables[KEY].at(OUR_PRIORITIES[0]).protocol);
}

TEST_F(RouteLedger, AStrangersRouteThatCameAfterOursIsLeftAlone) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  SendAll();
  AddStranger(KEY, 5, 4);
  AddStranger(KEY, OUR_PRIORITIES[1], 4);
  EXPECT_EQ(0u, Compare().strays);
  ledger.Forgo(KEY);
  SendAll();
  EXPECT_THAT(kernel.tables[KEY], SizeIs(2));
}

// In IPv4 a deletion with the priority 0 is one of any of ours.
TEST_F(RouteLedger, AStrayWithoutAPriorityDoesNotCostOurRoute) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  SendAll();
  kernel.tables[KEY][0] = {kernel::OUR_PROTOCOL, Hop("10.1.2.1")};
  EXPECT_EQ(1u, Compare().strays);
  EXPECT_FALSE(ledger.TakeDoubt());
  kernel.tables[KEY].erase(0);  // somebody else was faster
  SendAll();
  EXPECT_FALSE(IsInstalled(KEY));
  EXPECT_TRUE(ledger.TakeDoubt());
  EXPECT_FALSE(ledger.TakeDoubt());
  EXPECT_EQ(1u, Compare().missing);
  SendAll();
  EXPECT_TRUE(IsInstalled(KEY));
}

TEST_F(RouteLedger, AStrayThatIsFoundTwiceIsDeletedOnce) {
  AddStranger(KEY, 5, kernel::OUR_PROTOCOL);
  ledger.BeginComparison();
  ReadTables();
  ledger.ReadAgain();
  ReadTables();
  ledger.EndComparison();
  EndPass();
  EXPECT_EQ(1u, SendAll());
  EXPECT_EQ(0u, kernel.CountOurs());
}

// ---- answers that are lost

TEST_F(RouteLedger, LostAnswersAreMadeUpForByAComparison) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  ledger.Want(OTHER, Hop("10.1.2.1"));
  SendAll();
  ledger.Forgo(OTHER);
  ledger.Want(KEY, Hop("10.1.2.2"));
  ledger.Want(KEY6, Hop("fe80::1"));
  kernel::Batch batch;
  ledger.FillBatch(batch, 100);
  kernel.Work(batch.Finish());
  EXPECT_TRUE(ledger.HasUnanswered());
  ledger.LoseAnswers();
  EXPECT_FALSE(ledger.HasUnanswered());
  Compare();
  SendAll();
  Compare();
  ledger.AskAgain(true);
  SendAll();
  ExpectNumbers(2, 2, 0);
  EXPECT_EQ(Hop("10.1.2.2"), Installed(KEY));
  EXPECT_EQ(2u, kernel.CountOurs());
}

TEST_F(RouteLedger, AnswersToNothingArePassedOver) {
  ledger.TakeAnswer({7, EPERM, ""});
  ledger.Want(KEY, Hop("10.1.2.1"));
  kernel::Batch batch;
  ledger.FillBatch(batch, 100);
  ledger.TakeAnswer({4000000000u, EPERM, ""});
  ledger.TakeAnswer({0, 0, ""});
  EXPECT_EQ(1u, ledger.CountOpen());
  for (const kernel::Answer& answer : kernel.Work(batch.Finish())) {
    ledger.TakeAnswer(answer);
    ledger.TakeAnswer(answer);  // twice
  }
  ExpectNumbers(1, 1, 0);
}

// ---- comparisons

TEST_F(RouteLedger, WhatTheKernelLostIsPutBack) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  ledger.Want(OTHER, Hop("10.1.2.1"));
  SendAll();
  kernel.tables.erase(KEY);
  const kernel::Comparison comparison = Compare();
  EXPECT_EQ(1u, comparison.missing);
  EXPECT_EQ(1u, comparison.standing);
  ASSERT_THAT(comparison.missingKeys, SizeIs(1));
  EXPECT_TRUE(comparison.missingKeys[0] == KEY);
  EXPECT_EQ(1u, SendAll());
  EXPECT_TRUE(IsInstalled(KEY));
  EXPECT_EQ(0u, Compare().missing);
  EXPECT_EQ(1u, ledger.GetTotals().missing);
}

TEST_F(RouteLedger, WhatLeadsElsewhereIsPutRight) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  SendAll();
  kernel.tables[KEY][OUR_PRIORITIES[0]].nextHops = Hop("10.1.2.66");
  EXPECT_EQ(1u, Compare().missing);
  EXPECT_EQ(2u, SendAll());
  EXPECT_EQ(Hop("10.1.2.1"), Installed(KEY));
  EXPECT_EQ(1u, kernel.CountOurs());
}

TEST_F(RouteLedger, StraysUnderOurNumberAreRemoved) {
  AddStranger(KEY, OUR_PRIORITIES[0], kernel::OUR_PROTOCOL);
  AddStranger(KEY, OUR_PRIORITIES[1], kernel::OUR_PROTOCOL);
  AddStranger(OTHER, 5, kernel::OUR_PROTOCOL);  // a priority that we never use
  const kernel::Comparison comparison = Compare();
  EXPECT_EQ(2u, comparison.strays);
  EXPECT_THAT(comparison.strayKeys, SizeIs(2));
  EXPECT_EQ(3u, SendAll());
  EXPECT_EQ(0u, kernel.CountOurs());
  EXPECT_EQ(0u, Compare().strays);
  EXPECT_EQ(2u, ledger.GetTotals().strays);
}

TEST_F(RouteLedger, ASecondRouteBesideOursIsAStray) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  SendAll();
  AddStranger(KEY, OUR_PRIORITIES[1], kernel::OUR_PROTOCOL);
  EXPECT_EQ(1u, Compare().strays);
  EXPECT_EQ(1u, SendAll());
  EXPECT_EQ(Hop("10.1.2.1"), Installed(KEY));
  EXPECT_EQ(1u, kernel.CountOurs());
}

// An added route may be missing in a dump that began before it, and a deleted one be in it.
TEST_F(RouteLedger, WhatChangesDuringAComparisonIsLeftOut) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  SendAll();
  ledger.BeginComparison();
  const std::vector<kernel::FoundRoute> before = kernel.Dump(false);
  ledger.Forgo(KEY);
  ledger.Want(OTHER, Hop("10.1.2.1"));
  SendAll();
  for (const kernel::FoundRoute& route : before) {
    ledger.TakeFound(route);
  }
  ledger.EndComparison();
  EndPass();
  EXPECT_EQ(0u, ledger.GetComparison().missing);
  EXPECT_EQ(0u, ledger.GetComparison().strays);
  EXPECT_EQ(0u, SendAll());
  EXPECT_TRUE(IsInstalled(OTHER));
  ExpectNumbers(1, 1, 0);
}

TEST_F(RouteLedger, WhatIsFoundOutsideAComparisonIsPassedOver) {
  AddStranger(KEY, OUR_PRIORITIES[0], kernel::OUR_PROTOCOL);
  ReadTables();
  ledger.BeginComparison();
  ledger.DropComparison();
  ReadTables();
  EXPECT_EQ(0u, SendAll());
  EXPECT_EQ(1u, kernel.CountOurs());
}

TEST_F(RouteLedger, AComparisonThatIsGivenUpConcludesNothing) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  SendAll();
  ledger.BeginComparison();
  ledger.DropComparison();
  EXPECT_FALSE(ledger.IsInPass());
  EXPECT_EQ(0u, SendAll());
  EXPECT_EQ(0u, ledger.GetTotals().missing);
}

TEST_F(RouteLedger, APassIsDoneInSlicesWhileRoutesCome) {
  for (int i = 0; i < 200; ++i) {
    ledger.Want(Key("10.0." + std::to_string(i) + ".0/24"), Hop("10.1.2.1"));
  }
  SendAll();
  kernel.tables.clear();
  ledger.BeginComparison();
  ReadTables();
  ledger.EndComparison();
  unsigned int slices = 1;
  for (int i = 0; ledger.ContinuePass(10); ++i, ++slices) {
    ledger.Want(Key("11." + std::to_string(i / 200) + "." + std::to_string(i % 200) + ".0/24"),
                Hop("10.1.2.1"));
  }
  EXPECT_GE(slices, 20u);
  EXPECT_EQ(200u, ledger.GetComparison().missing);
  SendAll();
  EXPECT_EQ(ledger.CountWanted(), kernel.CountOurs());
  EXPECT_EQ(ledger.CountWanted(), ledger.CountStanding());
}

// Its tables grow while the pass is in the middle of each of them, and what has not been visited may
// then stand where the pass has been.
TEST_F(RouteLedger, ATableThatGrowsDuringAPassHidesNothing) {
  constexpr int OLD = 20000;
  for (int i = 0; i < OLD; ++i) {
    ledger.Want(Key("10." + std::to_string(i / 250) + "." + std::to_string(i % 250) + ".0/24"),
                Hop("10.1.2.1"));
  }
  SendAll(1000);
  kernel.tables.clear();
  ledger.BeginComparison();
  ReadTables();
  ledger.EndComparison();
  for (int i = 0; ledger.ContinuePass(10); ++i) {
    for (int j = 0; j < 20 && i < 2000; ++j) {
      ledger.Want(Key("11." + std::to_string(i / 250) + "." + std::to_string(i % 250) + "." +
                      std::to_string(j) + "/32"),
                  Hop("10.1.2.1"));
    }
  }
  EXPECT_EQ(std::size_t{OLD}, ledger.GetComparison().missing);
}

TEST(RouteKeys, ThatFollowOneAnotherAreSpreadEvenly) {
  static constexpr std::size_t KEYS = 6400;
  static constexpr std::size_t SHARDS = 64;  // by the highest bits
  const auto expectSpread = [](const std::function<kernel::RouteKey(unsigned int)>& make) {
    std::set<std::size_t> hashes;
    std::vector<std::size_t> shards(SHARDS);
    for (unsigned int i = 0; i < KEYS; ++i) {
      const std::size_t hash = kernel::RouteKeyHash()(make(i));
      hashes.insert(hash);
      ++shards[hash >> (8 * sizeof hash - 6)];
    }
    EXPECT_GE(hashes.size(), KEYS - 3);
    EXPECT_LT(*std::max_element(shards.begin(), shards.end()), 2 * KEYS / SHARDS);
  };
  const auto numbered = [](const kernel::RouteKey& first, std::size_t byte, unsigned int number) {
    kernel::RouteKey key = first;
    key.destination[byte] = static_cast<unsigned char>(number >> 8);
    key.destination[byte + 1] = static_cast<unsigned char>(number);
    return key;
  };
  expectSpread([&](unsigned int i) { return numbered(Key("10.0.0.0/24"), 1, i); });
  expectSpread([&](unsigned int i) { return numbered(Key("10.0.0.0/32"), 2, i); });
  expectSpread([&](unsigned int i) { return numbered(Key("2001:db8::/48"), 4, i); });
  expectSpread([&](unsigned int i) { return numbered(Key("2001:db8::/128"), 14, i); });
  expectSpread([](unsigned int i) { return Key("10.9.0.0/16", 40000 + i); });
  EXPECT_NE(kernel::RouteKeyHash()(Key("10.0.0.0/8")), kernel::RouteKeyHash()(Key("10.0.0.0/9")));
}

// ---- earlier lives

class EarlierRun : public testing::Test, protected test_kernel::LedgerDriver {
 protected:
  EarlierRun() {
    for (const kernel::RouteKey& key : {KEY, OTHER, KEY6}) {
      kernel.tables[key][OUR_PRIORITIES[0]] = {kernel::OUR_PROTOCOL, Hop("10.1.2.1")};
    }
  }
};

TEST_F(EarlierRun, RoutesAreTakenOverWithoutARequest) {
  Compare();
  ledger.Want(KEY, Hop("10.1.2.1"));
  EXPECT_EQ(0u, SendAll());
  EXPECT_EQ(1u, ledger.CountStanding());
  EXPECT_TRUE(ledger.IsLearning());
}

TEST_F(EarlierRun, RoutesAreTakenOverThatWereWantedBefore) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  ledger.Want(OTHER, Hop("10.1.2.2"));
  EXPECT_EQ(0u, Compare().missing);
  EXPECT_EQ(2u, SendAll()) << "the one that leads elsewhere is replaced";
  EXPECT_EQ(2u, ledger.CountStanding());
}

TEST_F(EarlierRun, WhatNobodyWantsStaysUntilTheSweep) {
  Compare();
  Compare();
  EXPECT_EQ(0u, SendAll());
  ledger.Want(KEY, Hop("10.1.2.1"));
  ledger.Want(OTHER, Hop("10.1.2.2"));
  SendAll();
  EXPECT_EQ(3u, kernel.CountOurs());
  ledger.BeginSweep();
  EndPass();
  EXPECT_EQ(1u, SendAll());
  EXPECT_EQ(2u, kernel.CountOurs());
  EXPECT_EQ(0u, kernel.OurRoutes().count(KEY6));
}

TEST_F(EarlierRun, BothOfAKeyAreCleanedUp) {
  kernel.tables[KEY][OUR_PRIORITIES[1]] = {kernel::OUR_PROTOCOL, Hop("10.1.2.2")};
  Compare();
  ledger.Want(KEY, Hop("10.1.2.2"));
  SendAll();
  EXPECT_EQ(1u, kernel.tables[KEY].size());
  EXPECT_EQ(Hop("10.1.2.2"), kernel.OurRoutes().at(KEY));
}

TEST_F(EarlierRun, ForgettingAllForNowIsAnotherOne) {
  Begin();
  EXPECT_EQ(0u, kernel.CountOurs());
  ledger.Want(KEY, Hop("10.1.2.1"));
  ledger.Want(OTHER, Hop("10.1.2.1"));
  SendAll();
  ledger.ForgoAllForNow();
  EXPECT_EQ(0u, ledger.CountWanted());
  EXPECT_EQ(0u, ledger.CountStanding());
  EXPECT_EQ(0u, SendAll());
  ledger.Want(KEY, Hop("10.1.2.1"));
  EXPECT_EQ(0u, SendAll());
  EXPECT_EQ(1u, ledger.CountStanding());
  ledger.BeginSweep();
  EndPass();
  EXPECT_EQ(1u, SendAll());
  EXPECT_EQ(1u, kernel.CountOurs());
}

// Somebody has put another one in its place meanwhile.
TEST_F(EarlierRun, WhatLeadsElsewhereByNowIsNotTakenOver) {
  Begin();
  ledger.Want(KEY, Hop("10.1.2.1"));
  SendAll();
  ledger.ForgoAllForNow();
  kernel.tables[KEY][OUR_PRIORITIES[0]].nextHops = Hop("10.1.2.7");
  Compare();
  ledger.Want(KEY, Hop("10.1.2.1"));
  EXPECT_EQ(0u, ledger.CountStanding());
  SendAll();
  EXPECT_EQ(1u, ledger.CountStanding());
  EXPECT_EQ(Hop("10.1.2.1"), kernel.OurRoutes().at(KEY));
  EXPECT_EQ(1u, kernel.tables[KEY].size());
}

TEST_F(EarlierRun, ASweepDuringAComparisonIsNotLost) {
  ledger.BeginComparison();
  ReadTables();
  ledger.BeginSweep();
  EndPass();
  ledger.EndComparison();
  EndPass();
  SendAll();
  EXPECT_EQ(0u, kernel.CountOurs());
}

}  // namespace
