// The tables in slices, and single rows.

#include <algorithm>
#include <cstring>
#include <set>

#include "device/stack/facts.h"
#include "stack_test.h"
#include "tests/models/random_run.h"

namespace stack_test {
namespace {

using routing_stack::InstanceEntry;
using routing_stack::RedistributionRow;
using routing_stack::StaticRoute;

constexpr unsigned int kInstances[] = {1, 10, 4094, 1 | kIp6Bit, 10 | kIp6Bit, 4094 | kIp6Bit};

std::string BytesText(const unsigned char (&bytes)[16]) {
  std::string text;
  for (const unsigned char byte : bytes) {
    text += std::to_string(byte) + ".";
  }
  return text;
}

std::string Join(std::initializer_list<std::string> words) {
  std::string text;
  for (const std::string& word : words) {
    text += word + " ";
  }
  return text;
}

std::string Number(unsigned long number) { return std::to_string(number); }

// A row in words; the key is what comes before the bar.
std::string TextOf(const InstanceEntry& row) {
  return Join({Number(row.instance), "|", Number(static_cast<unsigned long>(row.addressType)),
               Number(row.routerId), Number(row.ospfInternal), Number(row.ospfExternal),
               Number(row.bgpExternal), Number(row.bgpInternal), Number(row.rip)});
}
std::string TextOf(const amb_stubs_i3_ei& row) {
  return Join({Number(row.instance), Number(row.if_index), "|", row.name, Number(row.flags),
               Number(row.oper_status), Number(row.mtu)});
}
std::string TextOf(const amb_stubs_i3_ea& row) {
  return Join({Number(row.instance), Number(row.if_index), Number(row.address_type),
               BytesText(row.address), "|", Number(row.prefix_length)});
}
std::string TextOf(const StaticRoute& row) {
  return Join({Number(row.instance), BytesText(row.destination), Number(row.prefixLength),
               BytesText(row.nextHop), Number(row.ifIndex), "|",
               Number(static_cast<unsigned long>(row.addressType)), Number(row.metric),
               row.isUp ? "up" : "down"});
}
std::string TextOf(const RedistributionRow& row) {
  return Join({Number(row.vlan), Number(row.source), Number(row.destination), "|",
               row.isUp ? "up" : "down"});
}

/// What slices and questions need to know of a table.
template <typename Row>
struct Table {
  std::function<std::vector<Row>(const Row*, std::size_t)> after;
  std::function<std::optional<Row>(const Row&)> find;
};

class FactsSlicesTest : public StackTest {
 protected:
  FactsSlicesTest() : m_random(test_models::Random().GetSeed()) {}
  void SetUp() override { Start(); }

  unsigned int Below(unsigned int bound) { return static_cast<unsigned int>(m_random() % bound); }

  void Change() {
    const unsigned int instance = kInstances[Below(6)];
    const bool ip6 = (instance & kIp6Bit) != 0;
    const std::string number = std::to_string(Below(12));
    const unsigned int ifIndex = Below(4);
    const bool removes = Below(3) == 0;
    switch (Below(12)) {
      case 0:
        Below(8) == 0 ? DropInstance(instance) : AddInstance(instance);
        break;
      case 1:
      case 2:
        removes ? RemoveInterface(instance, ifIndex) : AddInterface(instance, ifIndex, Below(2));
        break;
      case 3:
      case 4: {
        const std::string address =
            ip6 == (Below(10) != 0) ? "2001:db8::" + number + "/64" : "10.1.2." + number + "/24";
        removes ? RemoveAddress(instance, ifIndex, address)
                : AddAddress(instance, ifIndex, address);
        break;
      }
      case 5:
        sms_act_cipr_redist(removes ? 6 : 1, Below(4) == 0 ? 2 : 1, static_cast<int>(Below(4)),
                            static_cast<int>(Below(4)), instance, 0);
        break;
      case 6:
        RunAll();
        control.PutCandidate(MakeCandidate(
            instance, ip6 ? "2001:db8:" + number + "::/48" : "10." + number + ".0.0/16",
            ip6 ? "2001:db8::1" : "10.1.2.1", 14, 1));
        break;
      default:
        Route(removes ? 6 : 1, Below(4) == 0 ? 2 : 1, instance,
              ip6 ? "2001:db8:" + number + "::/48" : "10." + number + ".0.0/16",
              (ip6 ? "2001:db8::" : "10.1.2.") + std::to_string(1 + Below(3)), ifIndex, Below(5));
    }
  }

  /// All rows in slices of any size.
  template <typename Row>
  Lines InSlices(const Table<Row>& table) {
    Lines lines;
    std::optional<Row> last;
    for (;;) {
      const std::size_t most = 1 + Below(7);
      const std::vector<Row> slice = table.after(last ? &*last : nullptr, most);
      EXPECT_LE(slice.size(), most);
      if (slice.empty()) {
        return lines;
      }
      for (const Row& row : slice) {
        lines.push_back(TextOf(row));
      }
      last = slice.back();
    }
  }

  /// Slices of any size are the table in one, and each row is found.
  template <typename Row>
  void CheckTable(const Table<Row>& table) {
    const std::vector<Row> whole = table.after(nullptr, SIZE_MAX);
    Lines lines;
    for (const Row& row : whole) {
      lines.push_back(TextOf(row));
      const std::optional<Row> found = table.find(row);
      ASSERT_TRUE(found) << TextOf(row);
      EXPECT_EQ(TextOf(row), TextOf(*found));
    }
    EXPECT_EQ(lines, InSlices(table));
    rows += lines.size();
  }

  /// A walk in slices while rows come and go: those that stay are met once, in the order.
  template <typename Row>
  void CheckChanging(const Table<Row>& table) {
    std::vector<Row> slice = table.after(nullptr, SIZE_MAX);
    std::set<std::string> stayed;
    for (const Row& row : slice) {
      stayed.insert(KeyText(row));
    }
    std::vector<std::string> met;
    std::optional<Row> last;
    for (;;) {
      slice = table.after(last ? &*last : nullptr, 1 + Below(3));
      if (slice.empty()) {
        break;
      }
      for (const Row& row : slice) {
        met.push_back(KeyText(row));
      }
      last = slice.back();
      Change();
      RunAll();
      std::set<std::string> present;
      for (const Row& row : table.after(nullptr, SIZE_MAX)) {
        present.insert(KeyText(row));
      }
      lost += EraseOthers(stayed, present);
    }
    for (const std::string& key : stayed) {
      EXPECT_EQ(1, std::count(met.begin(), met.end(), key)) << key;
    }
    EXPECT_EQ(met.size(), std::set<std::string>(met.begin(), met.end()).size());
  }

  template <typename Row>
  static std::string KeyText(const Row& row) {
    const std::string text = TextOf(row);
    return text.substr(0, text.find('|'));
  }
  static std::size_t EraseOthers(std::set<std::string>& rows,
                                 const std::set<std::string>& present) {
    std::size_t erased = 0;
    for (auto row = rows.begin(); row != rows.end();) {
      const bool isThere = present.count(*row) != 0;
      erased += isThere ? 0 : 1;
      row = isThere ? std::next(row) : rows.erase(row);
    }
    return erased;
  }

  const routing_stack::Facts& facts = stack.GetFacts();
  std::mt19937 m_random;
  std::size_t rows = 0;
  std::size_t lost = 0;

  const Table<InstanceEntry> instances{
      [this](const InstanceEntry* last, std::size_t most) {
        return facts.InstancesAfter(last, most);
      },
      [this](const InstanceEntry& row) { return facts.FindInstance(row.instance); }};
  const Table<amb_stubs_i3_ei> interfaces{[this](const amb_stubs_i3_ei* last, std::size_t most) {
                                            return facts.InterfacesAfter(last, most);
                                          },
                                          [this](const amb_stubs_i3_ei& row) {
                                            return facts.FindInterface(row.instance, row.if_index);
                                          }};
  const Table<amb_stubs_i3_ea> addresses{
      [this](const amb_stubs_i3_ea* last, std::size_t most) {
        return facts.AddressesAfter(last, most);
      },
      [this](const amb_stubs_i3_ea& row) { return facts.FindAddress(row); }};
  const Table<StaticRoute> routes{
      [this](const StaticRoute* last, std::size_t most) {
        return facts.StaticRoutesAfter(last, most);
      },
      [this](const StaticRoute& row) { return facts.FindStaticRoute(row); }};
  const Table<RedistributionRow> rules{
      [this](const RedistributionRow* last, std::size_t most) {
        return facts.RedistributionsAfter(last, most);
      },
      [this](const RedistributionRow& row) { return facts.FindRedistribution(row); }};
};

TEST_F(FactsSlicesTest, SlicesAreTheTable) {
  for (unsigned int i = 0; i < test_models::Scaled(100); ++i) {
    for (int k = 0; k < 10; ++k) {
      Change();
    }
    RunAll();
    host.Take();
    ASSERT_NO_FATAL_FAILURE(CheckTable(instances));
    ASSERT_NO_FATAL_FAILURE(CheckTable(interfaces));
    ASSERT_NO_FATAL_FAILURE(CheckTable(addresses));
    ASSERT_NO_FATAL_FAILURE(CheckTable(routes));
    ASSERT_NO_FATAL_FAILURE(CheckTable(rules));
    // The tables as a whole are those that Facts had before.
    EXPECT_EQ(facts.Instances().size(), instances.after(nullptr, SIZE_MAX).size());
    EXPECT_EQ(facts.Interfaces().size(), interfaces.after(nullptr, SIZE_MAX).size());
    EXPECT_EQ(facts.Addresses().size(), addresses.after(nullptr, SIZE_MAX).size());
    EXPECT_EQ(facts.Redistributions().size(), rules.after(nullptr, SIZE_MAX).size());
    const auto rib = facts.Rib();
    EXPECT_EQ(std::count_if(rib.begin(), rib.end(),
                            [](const amb_cipr_rtm_rib& row) { return row.route_proto == 3; }),
              static_cast<std::ptrdiff_t>(routes.after(nullptr, SIZE_MAX).size()));
  }
  test_models::ExpectAtLeast(rows, test_models::Scaled(100) * 5u, "rows");
}

TEST_F(FactsSlicesTest, RowsMayComeAndGoBetweenSlices) {
  for (int i = 0; i < 200; ++i) {
    Change();
  }
  RunAll();
  for (unsigned int i = 0; i < test_models::Scaled(30); ++i) {
    CheckChanging(instances);
    CheckChanging(interfaces);
    CheckChanging(addresses);
    CheckChanging(routes);
    CheckChanging(rules);
    host.Take();
    ASSERT_FALSE(HasFailure());
  }
  test_models::ExpectAtLeast(lost, test_models::Scaled(30) / 4u, "rows that went meanwhile");
}

TEST_F(FactsSlicesTest, AStaticRouteIsShownAsItWasRequested) {
  AddInstance(10);
  AddInterface(10, 3);
  AddAddress(10, 3, "10.1.2.3/24");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 0, 7);
  Route(1, 2, 10, "10.9.0.0/16", "10.1.2.1", 3, 8);
  RunAll();
  const std::vector<StaticRoute> all = facts.StaticRoutesAfter(nullptr, 10);
  ASSERT_EQ(2u, all.size());
  EXPECT_EQ(10u, all[0].instance);
  EXPECT_EQ(1, all[0].addressType);
  EXPECT_EQ(0, std::memcmp(AddressBytes("10.9.0.0").bytes, all[0].destination, 16));
  EXPECT_EQ(16u, all[0].prefixLength);
  EXPECT_EQ(0, std::memcmp(AddressBytes("10.1.2.1").bytes, all[0].nextHop, 16));
  EXPECT_EQ(0u, all[0].ifIndex) << "not the interface that it was resolved to";
  EXPECT_EQ(7u, all[0].metric);
  EXPECT_TRUE(all[0].isUp);
  EXPECT_EQ(3u, all[1].ifIndex);
  EXPECT_EQ(8u, all[1].metric);
  EXPECT_FALSE(all[1].isUp);
}

TEST_F(FactsSlicesTest, AnInstanceHasTheDistancesThatTheHostTold) {
  host.primaryAddresses[10] = 0x0A000001;
  AddInstance(10);
  AddInstance(10 | kIp6Bit);
  RunAll();
  const auto all = facts.InstancesAfter(nullptr, 10);
  ASSERT_EQ(2u, all.size());
  EXPECT_EQ("10 | 1 167772161 40 110 200 20 120 ", TextOf(all[0]));
  EXPECT_EQ("32778 | 2 0 40 110 200 20 120 ", TextOf(all[1]));
}

// A host that replaces a route looks whether the new one could be installed.
TEST_F(FactsSlicesTest, StaticRoutesTellWhetherTheyAreUsableAndInstalled) {
  AddInstance(10);
  AddInterface(10, 3);
  AddAddress(10, 3, "10.1.2.3/24");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  AddRoute(10, "10.9.0.0/16", "10.1.2.2");
  AddRoute(10, "10.9.0.0/16", "10.3.0.1");
  RunAll();
  const auto standings = [this] {
    std::string text;
    for (const StaticRoute& route : facts.StaticRoutesAfter(nullptr, 10)) {
      text += std::string(route.isUsable ? "usable" : "not") + (route.isInstalled ? "*" : "") + " ";
      const auto found = facts.FindStaticRoute(route);
      EXPECT_TRUE(found && found->isUsable == route.isUsable &&
                  found->isInstalled == route.isInstalled);
    }
    return text;
  };
  EXPECT_EQ("usable* usable not ", standings());
  AddInterface(10, 4);
  AddAddress(10, 4, "10.3.0.9/24");
  RunAll();
  EXPECT_EQ("usable* usable usable ", standings());
}

TEST_F(FactsSlicesTest, WhatIsNotThereIsNotFound) {
  EXPECT_FALSE(facts.FindInstance(10));
  AddInstance(10);
  AddInterface(10, 3);
  AddAddress(10, 3, "10.1.2.3/24");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  sms_act_cipr_redist(1, 2, 3, 4, 10, 0);
  RunAll();
  EXPECT_FALSE(facts.FindInstance(11));
  EXPECT_FALSE(facts.FindInterface(10, 4));
  EXPECT_FALSE(facts.FindInterface(11, 3));
  amb_stubs_i3_ea address = facts.AddressesAfter(nullptr, 1).at(0);
  address.prefix_length = 99;
  EXPECT_TRUE(facts.FindAddress(address)) << "not part of the key";
  address.address_type = 2;
  EXPECT_FALSE(facts.FindAddress(address));
  StaticRoute route = facts.StaticRoutesAfter(nullptr, 1).at(0);
  route.metric = 99;
  EXPECT_TRUE(facts.FindStaticRoute(route)) << "not part of the key";
  route.addressType = 2;
  EXPECT_FALSE(facts.FindStaticRoute(route));
  route.addressType = 1;
  route.ifIndex = 3;
  EXPECT_FALSE(facts.FindStaticRoute(route));
  EXPECT_FALSE(facts.FindRedistribution({10, 4, 3}));
  const auto rule = facts.FindRedistribution({10, 3, 4});
  ASSERT_TRUE(rule);
  EXPECT_FALSE(rule->isUp);
}

}  // namespace
}  // namespace stack_test
