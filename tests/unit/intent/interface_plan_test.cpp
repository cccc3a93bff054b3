#include "device/intent/interface_plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "device/documents/device_document.h"
#include "tests/models/random_run.h"
#include "tests/support/read_documents.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string Text(bool up) { return up ? "up" : "down"; }
std::string Text(const documents::Ip4Network& network) {
  return std::string(network.address.ToString().c_str()) + " " + network.mask.ToString().c_str();
}
std::string Text(const Tarsel::Ip6Prefix& prefix) {
  return std::string(prefix.GetAddress().ToString().c_str()) + "/" +
         std::to_string(prefix.GetLength());
}

struct Describer {
  std::string operator()(const intent::Register& row) const {
    return "register " + row.name + " flags " + std::to_string(row.flags) + " mtu " +
           std::to_string(row.mtu) + " " + Text(row.up);
  }
  std::string operator()(const intent::Unregister& row) const { return "unregister " + row.name; }
  std::string operator()(const intent::SetStatus& row) const {
    return "set " + row.name + " " + Text(row.up);
  }
  std::string operator()(const intent::AddIp4& row) const { return "add " + Text(row.network); }
  std::string operator()(const intent::ChangeIp4& row) const {
    return "change to " + Text(row.network);
  }
  std::string operator()(const intent::DeleteIp4& row) const {
    return "delete " + Text(row.network);
  }
  std::string operator()(const intent::AddIp6& row) const { return "add " + Text(row.prefix); }
  std::string operator()(const intent::DeleteIp6& row) const {
    return "delete " + Text(row.prefix);
  }
  std::string operator()(const intent::TellStatus& row) const { return "tell " + Text(row.up); }
  std::string operator()(const intent::TellIp4& row) const {
    return std::string("tell ") + row.address.ToString().c_str();
  }
  std::string operator()(const intent::TellJoined& row) const {
    return row.joined ? "tell joined" : "tell left";
  }
};

std::vector<std::string> Lines(const intent::InterfacePlan& plan) {
  std::vector<std::string> lines;
  for (const auto& step : plan) {
    lines.push_back(std::to_string(step.key.first) + "." + std::to_string(step.key.second) + ": " +
                    std::visit(Describer(), step.action));
  }
  return lines;
}

class InterfacePlan : public testing::Test {
 protected:
  documents::Device Device(const std::string& interfaces) {
    return test_support::ReadDevice(R"({"default_vlan": 10, "interfaces": [)" + interfaces + "]}");
  }
  std::vector<std::string> Plan(const std::string& present, const std::string& wanted) {
    const auto plan = intent::PlanInterfaces(Device(present).interfaces, Device(wanted).interfaces);
    return Lines(plan);
  }

  const std::string ETH0 = R"({"name": "eth0", "vlan": 10, "index": 3, "flags": ["broadcast"],
    "joined": true, "ipv4": "10.1.0.1/16", "ipv6": ["2001:db8::1/64"]})";
};

TEST_F(InterfacePlan, TellsAllOfANewInterface) {
  EXPECT_THAT(Plan("", ETH0),
              ElementsAre("10.3: register eth0 flags 8 mtu 1500 up", "10.3: tell up",
                          "10.3: add 10.1.0.1 255.255.0.0", "10.3: tell 10.1.0.1",
                          "10.3: add 2001:db8::1/64", "10.3: tell joined"));
}

TEST_F(InterfacePlan, TakesAnInterfaceAwayInTheOppositeOrder) {
  EXPECT_THAT(Plan(ETH0, ""),
              ElementsAre("10.3: delete 2001:db8::1/64", "10.3: delete 10.1.0.1 255.255.0.0",
                          "10.3: tell 0.0.0.0", "10.3: tell down", "10.3: unregister eth0"));
}

TEST_F(InterfacePlan, IsEmptyWhenNothingDiffers) { EXPECT_THAT(Plan(ETH0, ETH0), IsEmpty()); }

TEST_F(InterfacePlan, MentionsEachMemberThatChanges) {
  const auto eth0 = [](const std::string& members) {
    return R"({"name": "eth0", "vlan": 10, "index": 3)" + members + "}";
  };
  EXPECT_THAT(Plan(eth0(""), eth0(R"(, "mtu": 9000)")),
              ElementsAre("10.3: register eth0 flags 0 mtu 9000 up"));
  EXPECT_THAT(Plan(eth0(""), eth0(R"(, "flags": ["multicast"], "up": false)")),
              ElementsAre("10.3: register eth0 flags 16 mtu 1500 down", "10.3: tell down"));
  EXPECT_THAT(Plan(eth0(""), eth0(R"(, "up": false)")),
              ElementsAre("10.3: set eth0 down", "10.3: tell down"));
  EXPECT_THAT(Plan(eth0(R"(, "ipv4": "10.1.0.1/16")"), eth0(R"(, "ipv4": "10.1.0.1/24")")),
              ElementsAre("10.3: change to 10.1.0.1 255.255.255.0"));
  EXPECT_THAT(Plan(eth0(R"(, "ipv6": ["2001:db8::1/64", "2001:db8::2/64"])"),
                   eth0(R"(, "ipv6": ["2001:db8::2/64", "2001:db8::1/48"])")),
              ElementsAre("10.3: delete 2001:db8::1/64", "10.3: add 2001:db8::1/48"));
  EXPECT_THAT(Plan(eth0(R"(, "joined": true)"), eth0("")), ElementsAre("10.3: tell left"));
}

// Next hops may depend on either. The length is not part of an address's identity.
TEST_F(InterfacePlan, AddsAddressesBeforeOthersGo) {
  const auto eth0 = [](const std::string& addresses) {
    return R"({"name": "eth0", "vlan": 10, "index": 3, "ipv6": [)" + addresses + "]}";
  };
  EXPECT_THAT(Plan(eth0(R"("2001:db8::1/64", "2001:db8::2/64", "2001:db8::3/64")"),
                   eth0(R"("2001:db8::4/64", "2001:db8::3/48", "2001:db8::2/64")")),
              ElementsAre("10.3: delete 2001:db8::3/64", "10.3: add 2001:db8::4/64",
                          "10.3: add 2001:db8::3/48", "10.3: delete 2001:db8::1/64"));
}

TEST_F(InterfacePlan, LetsAllGoBeforeAnyComes) {
  const auto both = [](const std::string& third, const std::string& fourth) {
    return R"({"vlan": 10, "index": 3, "name": ")" + third +
           R"("}, {"vlan": 10, "index": 4, "name": ")" + fourth + "\"}";
  };
  EXPECT_THAT(
      Plan(both("eth0", "eth1"), both("eth1", "eth0")),
      ElementsAre("10.3: tell down", "10.3: unregister eth0", "10.4: tell down",
                  "10.4: unregister eth1", "10.3: register eth1 flags 0 mtu 1500 up",
                  "10.3: tell up", "10.4: register eth0 flags 0 mtu 1500 up", "10.4: tell up"));
}

TEST_F(InterfacePlan, TellsApartWhatIsForTheRouters) {
  std::vector<std::string> routers;
  const documents::Device device = Device(ETH0);
  for (const auto& step : intent::PlanNew({10, 3}, device.interfaces.at({10, 3}))) {
    if (step.IsForRouters()) {
      routers.push_back(std::visit(Describer(), step.action));
    }
  }
  EXPECT_THAT(routers, ElementsAre("tell up", "tell 10.1.0.1", "tell joined"));
}

// ---- links, which may have several addresses of IPv4

class LinkPlan : public InterfacePlan {
 protected:
  static documents::Ip4Network Network(const std::string& text) {
    documents::Ip4Network network;
    EXPECT_TRUE(documents::ReadPrefix(text, network));
    return network;
  }
  static documents::Interfaces WithIp4(const std::vector<std::string>& addresses) {
    documents::Interface interface;
    interface.name = "eth0";
    interface.isLink = true;
    for (const std::string& text : addresses) {
      interface.ip4.push_back(Network(text));
    }
    return {{{10, 3}, interface}};
  }
  static std::vector<std::string> PlanIp4(const std::vector<std::string>& from,
                                          const std::vector<std::string>& to) {
    return Lines(intent::PlanInterfaces(WithIp4(from), WithIp4(to)));
  }
};

TEST_F(LinkPlan, ThePrimaryAddressIsAddedLast) {
  EXPECT_THAT(PlanIp4({}, {"10.1.0.1/16", "10.1.0.2/16"}),
              ElementsAre("10.3: add 10.1.0.2 255.255.0.0", "10.3: add 10.1.0.1 255.255.0.0",
                          "10.3: tell 10.1.0.1"));
  EXPECT_THAT(PlanIp4({"10.1.0.1/16"}, {"10.1.0.1/16", "10.1.0.2/16"}),
              ElementsAre("10.3: add 10.1.0.2 255.255.0.0", "10.3: add 10.1.0.1 255.255.0.0"));
}

TEST_F(LinkPlan, ThePrimaryAddressIsAddedAgainWhenAnotherGoes) {
  EXPECT_THAT(PlanIp4({"10.1.0.1/16", "10.1.0.2/16"}, {"10.1.0.1/16"}),
              ElementsAre("10.3: delete 10.1.0.2 255.255.0.0", "10.3: add 10.1.0.1 255.255.0.0"));
  EXPECT_THAT(PlanIp4({"10.1.0.1/16", "10.1.0.2/16"}, {"10.1.0.2/16"}),
              ElementsAre("10.3: delete 10.1.0.1 255.255.0.0", "10.3: add 10.1.0.2 255.255.0.0",
                          "10.3: tell 10.1.0.2"));
}

TEST_F(LinkPlan, AnAddressIsNeverChanged) {
  EXPECT_THAT(PlanIp4({"10.1.0.1/16"}, {"10.2.0.1/16"}),
              ElementsAre("10.3: add 10.2.0.1 255.255.0.0", "10.3: delete 10.1.0.1 255.255.0.0",
                          "10.3: add 10.2.0.1 255.255.0.0", "10.3: tell 10.2.0.1"));
  EXPECT_THAT(PlanIp4({"10.1.0.1/16"}, {"10.1.0.1/24"}),
              ElementsAre("10.3: delete 10.1.0.1 255.255.0.0", "10.3: add 10.1.0.1 255.255.255.0"));
  EXPECT_THAT(PlanIp4({"10.1.0.1/16"}, {}),
              ElementsAre("10.3: delete 10.1.0.1 255.255.0.0", "10.3: tell 0.0.0.0"));
}

TEST_F(LinkPlan, WhatIsTheSameIsNotTouched) {
  EXPECT_THAT(PlanIp4({"10.1.0.1/16", "10.1.0.2/16"}, {"10.1.0.1/16", "10.1.0.2/16"}), IsEmpty());
}

// The stack's rows go by address alone, the registry has one address, and the routers know one.
struct Told {
  std::map<std::string, std::string> rows;  // masks by address
  std::string registry = "0.0.0.0";
  std::string routers = "0.0.0.0";

  void operator()(const intent::AddIp4& added) {
    registry = added.network.address.ToString().c_str();
    rows[registry] = added.network.mask.ToString().c_str();
  }
  void operator()(const intent::DeleteIp4& deleted) {
    EXPECT_EQ(1u, rows.erase(deleted.network.address.ToString().c_str()));
    registry = "0.0.0.0";
  }
  void operator()(const intent::TellIp4& told) { routers = told.address.ToString().c_str(); }
  template <typename Other>
  void operator()(const Other&) {
    ADD_FAILURE() << "nothing else changes";
  }
};

TEST_F(LinkPlan, WhateverTheAddressesWereEverybodyKnowsThoseThatAre) {
  test_models::Random random;
  const auto any = [&random] {
    std::vector<std::string> addresses;
    std::set<unsigned int> seen;
    for (unsigned int i = random.Below(5); i != 0; --i) {
      const unsigned int number = random.Below(5);
      if (seen.insert(number).second) {
        addresses.push_back("10.1.0." + std::to_string(number) +
                            (random.Percent(70) ? "/16" : "/24"));
      }
    }
    return addresses;
  };
  for (unsigned int run = 0; run < test_models::Scaled(2000); ++run) {
    Told told;
    std::vector<std::string> present;
    for (int change = 0; change < 5; ++change) {
      const std::vector<std::string> wanted = any();
      for (const auto& step : intent::PlanInterfaces(WithIp4(present), WithIp4(wanted))) {
        std::visit(told, step.action);
      }
      present = wanted;
      std::map<std::string, std::string> rows;
      for (const std::string& text : wanted) {
        rows[Network(text).address.ToString().c_str()] = Network(text).mask.ToString().c_str();
      }
      const std::string primary =
          wanted.empty() ? "0.0.0.0" : Network(wanted[0]).address.ToString().c_str();
      ASSERT_EQ(rows, told.rows);
      ASSERT_EQ(primary, told.registry);
      ASSERT_EQ(primary, told.routers);
    }
  }
}

}  // namespace
