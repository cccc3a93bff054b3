// Random sequences of what an operator, a cable, a stranger and an accident do, against a model of
// what the kernel must hold in the end.

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "namespace_fixture.h"
#include "tests/models/random_run.h"

namespace {

using kernel_test::KernelTest;
using kernel_test::Route;

/// A link as the test has made it.
struct ModelLink {
  bool isUp = true;
  std::set<std::string> networks;  // "10.1.0": /24, the link has the address .1
};

class RandomEvents : public KernelTest {
 protected:
  static constexpr int EVENTS = 12;

  void SetUp() override {
    KernelTest::SetUp();
    WriteLinks();
    links[0].networks = links[1].networks = {"10.1.0"};
  }

  void WriteLinks() {
    folder.Write("device.json", std::string(R"({"default_vlan": 10,
        "kernel": {"interfaces": ["r*"], "routes": true, "multipath": {"10": )") +
                                    std::to_string(most[0]) + R"(, "20": )" +
                                    std::to_string(most[1]) + R"(}, "rules": )" +
                                    (areRulesWanted ? "true" : "false") + R"(},
        "interfaces": [{"name": "r2", "vlan": 20, "index": 99}]})");
  }
  void WriteModel() { WriteRoutes(routes[0], routes[1]); }
  std::string NameOf(std::size_t which) const { return which == 0 ? "r1" : "r2"; }

  void ChangeRoutes() {
    for (auto& list : routes) {
      if (random.Percent(60)) {
        std::map<std::pair<std::string, std::string>, Route> some;
        for (unsigned int i = random.Below(12); i != 0; --i) {
          const std::string prefix = "10.9." + std::to_string(random.Below(4)) + ".0/24";
          const std::string gateway = "10." + std::to_string(1 + random.Below(3)) + ".0." +
                                      std::to_string(2 + random.Below(3));
          some[{prefix, gateway}] = {prefix, gateway};
        }
        list.clear();
        for (const auto& [key, route] : some) {
          list.push_back(route);
        }
      }
    }
    WriteModel();
    if (daemon) {
      Reload(" force");
    }
  }

  void FlipRules() {
    areRulesWanted = !areRulesWanted;
    WriteLinks();
    if (daemon) {
      Reload(" force");
    }
  }

  void ChangeMultipath() {
    for (unsigned int& each : most) {
      each = 1 + random.Below(3);
    }
    WriteLinks();
    if (daemon) {
      Reload(" force");
    }
  }

  void FlipLink() {
    const std::size_t which = random.Below(2);
    links[which].isUp = !links[which].isUp;
    Ip("link set p" + std::to_string(which + 1) + (links[which].isUp ? " up" : " down"));
  }

  void AwaitCarrier() {
    for (const std::size_t which : {0, 1}) {
      AwaitState(NameOf(which), links[which].isUp);
    }
  }

  void ChangeAddress() {
    const std::size_t which = random.Below(2);
    const std::string network = "10." + std::to_string(1 + random.Below(3)) + ".0";
    const bool isThere = links[which].networks.count(network) != 0;
    Ip(std::string("address ") + (isThere ? "delete " : "add ") + network + ".1/24 dev " +
       NameOf(which));
    isThere ? void(links[which].networks.erase(network))
            : void(links[which].networks.insert(network));
  }

  // Under their own priorities: with one of ours, ours would wait until theirs goes.
  void StrangerChanges() {
    const std::string prefix = "10.9." + std::to_string(random.Below(6)) + ".0/24";
    const bool isNew = strangers.insert(prefix).second;
    Ip(isNew ? "route add blackhole " + prefix + " metric 50"
             : "route delete blackhole " + prefix + " metric 50");
    if (!isNew) {
      strangers.erase(prefix);
    }
  }

  // Behind our back.
  void Meddle() {
    const std::vector<std::string> ours = OurRoutes();
    if (random.Percent(50) && !ours.empty()) {
      const std::string& line = ours[random.Below(static_cast<unsigned int>(ours.size()))];
      TryIp("route flush proto 201 table " + (line.find("table") == std::string::npos
                                                  ? std::string("main")
                                                  : line.substr(line.find("table") + 6, 5)));
    } else if (links[0].isUp) {
      Ip("route replace 10.77.0.0/16 dev r1 proto 201 metric 220");
    }
  }

  // So too. A rule that is not ours stays, whatever it says.
  void MeddleWithRules() {
    const std::vector<std::string> ours = OurRules();
    switch (random.Below(3)) {
      case 0:
        if (!ours.empty()) {
          const std::string& line = ours[random.Below(static_cast<unsigned int>(ours.size()))];
          const bool isIp6 = line.find("6 ") == 0;
          TryIp(std::string(isIp6 ? "-6" : "-4") + " rule delete priority " +
                line.substr(isIp6 ? 2 : 0, 5) + " protocol 201");
        }
        break;
      case 1:
        if (areRulesWanted) {  // otherwise nobody looks any more
          TryIp("rule add iif r1 lookup 77 priority 22000 protocol 201");
        }
        break;
      default:
        Ip(isStrangersRule ? "rule delete priority 22002"
                           : "rule add iif r2 lookup 77 priority 22002");
        isStrangersRule = !isStrangersRule;
    }
  }

  // Without routes that stay until others can take their place: the model has none.
  void StartWithoutKeeping() {
    Start({"--keep-old", "0"});
    daemon->ReadErrorsUntil("Started: ");  // the folder has been read
  }
  void Restart() {
    Kill();
    StartWithoutKeeping();
  }

  void Happen() {
    const unsigned int what = random.Below(12);
    events.push_back(what);
    switch (what) {
      case 0:
      case 1:
        ChangeRoutes();
        break;
      case 2:
        FlipLink();
        break;
      case 3:
      case 4:
        ChangeAddress();
        break;
      case 5:
        StrangerChanges();
        break;
      case 6:
        Meddle();
        break;
      case 7:
      case 8:
        MeddleWithRules();
        break;
      case 9:
        FlipRules();
        break;
      case 10:
        ChangeMultipath();
        break;
      default:
        random.Percent(30) ? Restart() : FlipLink();
    }
  }

  /// By prefix, in the order in which the stack prefers them, and no more than the VLAN may have.
  std::map<std::string, std::vector<std::string>> ReachableGateways(std::size_t which) const {
    std::map<std::string, std::vector<std::string>> gateways;
    for (const Route& route : routes[which]) {
      if (links[which].networks.count(route.gateway.substr(0, route.gateway.rfind('.'))) != 0 &&
          gateways[route.prefix].size() < most[which]) {
        gateways[route.prefix].push_back(route.gateway);
      }
    }
    return gateways;
  }

  /// What the kernel must hold under our number.
  std::vector<std::string> Expected() const {
    std::vector<std::string> lines;
    for (const std::size_t which : {0, 1}) {
      const ModelLink& link = links[which];
      const std::string table = which == 0 ? "" : " table 40020";
      if (!link.isUp) {
        continue;
      }
      for (const std::string& network : link.networks) {
        if (which == 1) {
          lines.push_back(network + ".0/24 dev r2" + table + " scope link");
        }
      }
      for (const auto& [prefix, gateways] : ReachableGateways(which)) {
        if (gateways.size() == 1) {
          lines.push_back(prefix + " via " + gateways[0] + " dev " + NameOf(which) + table);
          continue;
        }
        lines.push_back(prefix + table);
        for (const std::string& gateway : gateways) {
          lines.back() += " nexthop via " + gateway + " dev " + NameOf(which);
        }
      }
    }
    std::sort(lines.begin(), lines.end());
    return lines;
  }

  /// What somebody wants to know who looks for the cause of a difference.
  std::string Story(unsigned int run) {
    std::string text = "run " + std::to_string(run) + ", events";
    for (const unsigned int event : events) {
      text += " " + std::to_string(event);
    }
    return text + "\n" + Ip("address") + Ip("route show table all proto 201") +
           Ask("route vrf all\nrequests vrf all\nstatus\nversion", "console protocol");
  }

  test_models::Random random;
  std::array<ModelLink, 2> links;
  std::array<std::vector<Route>, 2> routes;   // sorted
  std::array<unsigned int, 2> most = {2, 1};  // next hops of a route
  std::set<std::string> strangers;
  bool areRulesWanted = true;
  bool isStrangersRule = false;
  std::vector<unsigned int> events;  // of the present sequence
};

TEST_F(RandomEvents, InTheEndTheKernelHoldsWhatItMust) {
  routes[0] = {
      {"10.9.1.0/24", "10.1.0.2"}, {"10.9.2.0/24", "10.1.0.3"}, {"10.9.3.0/24", "10.2.0.2"}};
  WriteModel();
  StartWithoutKeeping();
  AwaitPass();
  ASSERT_EQ(OurRoutes().size(), 3u) << "the model and the kernel would agree about nothing";
  ASSERT_EQ(Expected(), OurRoutes());
  unsigned int runsWithSeveral = 0;
  for (unsigned int run = 0; run < test_models::Scaled(50); ++run) {
    events.clear();
    for (unsigned int i = 1 + random.Below(EVENTS); i != 0; --i) {
      Happen();
    }
    AwaitCarrier();
    AwaitPass();
    const std::vector<std::string> expected = Expected();
    ASSERT_EQ(expected, OurRoutes()) << Story(run);
    runsWithSeveral += std::any_of(expected.begin(), expected.end(), [](const std::string& line) {
      return line.find(" nexthop ") != std::string::npos;
    });
    ASSERT_EQ(areRulesWanted ? kernel_test::RulesOf("r2", 40020) : std::vector<std::string>(),
              OurRules())
        << Story(run);
    ASSERT_EQ(RulesWith("22002:").size(), isStrangersRule ? 1u : 0u) << Story(run);
    for (const std::string& prefix : strangers) {
      EXPECT_THAT(Ip("route show " + prefix + " metric 50"), testing::HasSubstr("blackhole"));
    }
    if (HasFailure()) {
      FAIL() << "run " << run;
    }
  }
  test_models::ExpectAtLeast(runsWithSeveral, 1, "sequences that end with several next hops");
}

}  // namespace
