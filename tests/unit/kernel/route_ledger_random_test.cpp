// Random sequences of everything that can happen to a ledger, against what the kernel must have.

#include <gmock/gmock.h>

#include <cerrno>
#include <map>

#include "ledger_driver.h"
#include "tests/models/random_run.h"

namespace {

using kernel::OUR_PRIORITIES;
using test_kernel::FakeKernel;
using test_kernel::Hop;
using test_kernel::Key;

class RouteLedgerRandom : public testing::Test, protected test_kernel::LedgerDriver {
 protected:
  kernel::RouteKey AnyKey() {
    const std::string number = std::to_string(random.Below(6));
    return random.Percent(30) ? Key("2001:db8:" + number + "::/48")
                              : Key("10." + number + ".0.0/16", random.Percent(50) ? 254 : 40010);
  }
  /// One next hop, or several, whose order differs while they are the same.
  kernel::NextHops AnyHops() {
    if (random.Percent(50)) {
      return Hop("10.1.2." + std::to_string(1 + random.Below(3)));
    }
    std::vector<kernel::NextHop> hops;
    for (unsigned int count = 2 + random.Below(2); count > 0; --count) {
      hops.push_back(Hop("10.1.2." + std::to_string(1 + random.Below(3))));
    }
    const kernel::NextHops all(hops);
    occurred(all.AreSeveral() ? "several next hops" : "one next hop");
    return all;
  }
  std::uint32_t AnyPriority() { return random.Percent(80) ? OUR_PRIORITIES[random.Below(2)] : 5; }

  void Wish() {
    const kernel::RouteKey key = AnyKey();
    if (random.Percent(60)) {
      const kernel::NextHops nextHops = AnyHops();
      ledger.Want(key, nextHops);
      wanted[key] = nextHops;
    } else {
      ledger.Forgo(key);
      wanted.erase(key);
    }
  }
  // What anybody on the machine may do, and what the kernel does by itself.
  void Meddle() {
    const kernel::RouteKey key = AnyKey();
    FakeKernel::Routes& routes = kernel.tables[key];
    switch (random.Below(4)) {
      case 0:
        occurred(routes.empty() ? "nothing to delete" : "deleted behind our back");
        routes.clear();
        break;
      case 1:
        routes[AnyPriority()] = {kernel::OUR_PROTOCOL, AnyHops(), random.Percent(20)};
        occurred("a stray, or a changed route");
        break;
      case 2: {
        const std::uint32_t priority = AnyPriority();
        if (routes.count(priority) == 0) {
          routes[priority] = {4, AnyHops(), false};
          occurred("a stranger");
        }
        break;
      }
      default:
        for (auto route = routes.begin(); route != routes.end();) {
          route = route->second.protocol == 4 ? routes.erase(route) : std::next(route);
        }
    }
  }
  void SendSome() {
    kernel.refuse = [this](const auto&, bool) { return random.Percent(10) ? ENOMEM : 0; };
    kernel::Batch batch;
    if (ledger.HasRequests()) {
      ledger.FillBatch(batch, 1 + random.Below(5));
    }
    if (batch.IsEmpty()) {
      return;
    }
    const std::vector<kernel::Answer> answers = kernel.Work(batch.Finish());
    const bool isLost = random.Percent(10);
    for (const kernel::Answer& answer : answers) {
      if (isLost && random.Percent(50)) {
        occurred("lost answers");
        break;
      }
      if (random.Percent(5)) {
        Wish();
      }
      ledger.TakeAnswer(answer);
    }
    ledger.LoseAnswers();
    isCompared = isCompared && !isLost;
  }
  void CompareSlowly() {
    ledger.BeginComparison();
    for (const bool isIp6 : {false, true}) {
      for (const kernel::FoundRoute& route : kernel.Dump(isIp6)) {
        ledger.TakeFound(route);
        if (random.Percent(10)) {
          random.Percent(50) ? Wish() : SendSome();
        }
      }
    }
    if (random.Percent(10)) {
      ledger.DropComparison();
      return;
    }
    ledger.EndComparison();
    while (ledger.ContinuePass(1 + random.Below(5))) {
      if (random.Percent(10)) {
        random.Percent(50) ? Wish() : SendSome();
      }
    }
    occurred("comparison");
  }
  void Step() {
    const unsigned int dice = random.Below(100);
    if (dice < 50) {
      Wish();
    } else if (dice < 75) {
      SendSome();
    } else if (dice < 85) {
      Meddle();
    } else if (dice < 93) {
      CompareSlowly();
    } else if (dice < 98) {
      now += random.Below(5000);
      ledger.AskAgain(random.Percent(20));
    } else {
      ledger.ForgoAllForNow();
      wanted.clear();
      occurred("all forgone");
    }
  }

  /// Strangers' routes, which must not have been touched.
  std::size_t CountStrangers() const {
    std::size_t count = 0;
    for (const auto& [key, routes] : kernel.tables) {
      for (const auto& [priority, route] : routes) {
        count += route.protocol == 4 ? 1 : 0;
      }
    }
    return count;
  }

  test_models::Random random;
  test_models::Occurrences occurred;
  std::map<kernel::RouteKey, kernel::NextHops, test_kernel::KeyOrder> wanted;
  bool isCompared = true;
};

TEST_F(RouteLedgerRandom, AtTheEndTheKernelHasWhatIsWantedAndStrangersHaveTheirs) {
  const unsigned int sequences = test_models::Scaled(3000);
  for (unsigned int i = 0; i < sequences; ++i) {
    SCOPED_TRACE("sequence " + std::to_string(i));
    for (unsigned int step = random.Below(60); step > 0; --step) {
      Step();
    }
    // Quiet: strangers with our priorities leave, and nothing is refused any more.
    for (auto& [key, routes] : kernel.tables) {
      routes.erase(routes.count(OUR_PRIORITIES[0]) != 0 &&
                           routes.at(OUR_PRIORITIES[0]).protocol == 4
                       ? OUR_PRIORITIES[0]
                       : 0);
      routes.erase(routes.count(OUR_PRIORITIES[1]) != 0 &&
                           routes.at(OUR_PRIORITIES[1]).protocol == 4
                       ? OUR_PRIORITIES[1]
                       : 0);
    }
    kernel.refuse = {};
    const std::size_t strangers = CountStrangers();
    ledger.BeginSweep();
    EndPass();
    for (int round = 0; round < 2; ++round) {
      Compare();
      ledger.AskAgain(true);
      SendAll();
    }
    EXPECT_EQ(wanted, kernel.OurRoutes());
    EXPECT_EQ(wanted.size(), kernel.CountOurs());
    EXPECT_EQ(strangers, CountStrangers());
    EXPECT_EQ(wanted.size(), ledger.CountWanted());
    EXPECT_EQ(wanted.size(), ledger.CountStanding());
    EXPECT_EQ(0u, ledger.CountRefused());
    EXPECT_EQ(0u, ledger.CountOpen());
    EXPECT_EQ(std::nullopt, ledger.FindNextTry());
    ASSERT_FALSE(HasFailure());
  }
  for (const char* const what :
       {"deleted behind our back", "a stray, or a changed route", "a stranger", "several next hops",
        "lost answers", "comparison", "all forgone"}) {
    occurred.ExpectAtLeast(500, what);
  }
}

}  // namespace
