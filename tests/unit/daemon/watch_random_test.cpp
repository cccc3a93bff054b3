// The changes that a watcher hears, applied to the table with which it began, give the table.
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <utility>

#include "device/daemon/watch_tap.h"
#include "device/ports/stack_rows.h"
#include "tests/unit/apply/reloader_fixture.h"

namespace {

using views::RouteEvent;
using How = RouteEvent::How;

class WatchRandom : public apply_test::ReloaderFixture {
 protected:
  WatchRandom() {
    m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16", "ipv6": ["2001:db8::1/64"]},
      {"name": "eth1", "vlan": 10, "index": 4, "ipv4": "10.2.0.1/16"},
      {"name": "eth2", "vlan": 20, "index": 5, "ipv4": "10.3.0.1/16"}]})");
    m_turns.AtTurnEnd([this] { m_tap->Look(); });
    m_tap.emplace(m_feed, m_port, m_interfaces, *m_reloader);
  }
  ~WatchRandom() override {
    m_watcher.reset();
    m_tap.reset();
  }

  using Key = std::tuple<unsigned short, bool, std::array<unsigned char, 16>, unsigned int>;
  // Next hop, interface, protocol, metric.
  using Values =
      std::tuple<std::array<unsigned char, 16>, std::uint32_t, views::Protocol, std::uint32_t>;
  using Table = std::map<Key, Values>;

  Table TableOfTheStack() const {
    const std::map<std::uint32_t, views::Protocol> protocols = {{2, views::Protocol::CONNECTED},
                                                                {3, views::Protocol::STATIC}};
    Table table;
    for (const amb_cipr_rtm_route& route : stack.GetFacts().Routes()) {
      const documents::RouteTarget target = ports::ToTarget(route);
      table[{target.vlan, target.ip6, target.destination, target.length}] = {
          target.gateway, route.if_index, protocols.at(route.route_proto), route.metric1};
    }
    return table;
  }
  void Hear() {
    while (!m_watcher->IsEmpty()) {
      const views::Watcher::Taken taken = m_watcher->Take();
      ASSERT_EQ(taken.leftOut, 0u);
      if (std::holds_alternative<views::RestartEvent>(taken.event->what)) {
        m_table.clear();
        continue;
      }
      ++m_heard;
      const auto& route = std::get<RouteEvent>(taken.event->what);
      const documents::RouteTarget& target = route.target;
      const Key key{target.vlan, target.ip6, target.destination, target.length};
      ASSERT_EQ(m_table.count(key), route.how == How::CAME ? 0u : 1u);
      ASSERT_EQ(taken.event->vlan, target.vlan);
      if (route.how == How::GONE) {
        m_table.erase(key);
      } else {
        m_table[key] = {target.gateway, route.ifIndex, route.protocol, route.metric};
      }
    }
  }

  std::string RandomRoutes(bool ip6) {
    std::string routes;
    for (unsigned int count = Random(6); count > 0; --count) {
      const std::string number = std::to_string(count);
      const std::string gateway = std::to_string(1 + Random(3));
      const std::string metric = std::to_string(Random(3));
      routes += routes.empty() ? "" : ", ";
      routes += "\"r" + number + R"(": {"metric": )" + metric + ", ";
      routes += ip6 ? R"("network": "2001:db8:)" + number + R"(::", "prefix": "48", )" +
                          R"("gateway": "2001:db8::)" + gateway + "\"}"
                    : R"("network": "10.10)" + number + R"(.0.0", "netmask": "255.255.0.0", )" +
                          R"("gateway": "10.)" + gateway + ".0.9\"}";
    }
    return routes;
  }
  std::string RandomVlans() {
    std::string entries = R"("a": {"vid": 10, "STATIC_ROUTES": {)" + RandomRoutes(false) +
                          R"(}, "STATIC_ROUTES6": {)" + RandomRoutes(true) + "}}";
    if (Random(3) != 0) {
      entries += R"(, "b": {"vid": 20, "STATIC_ROUTES": {)" + RandomRoutes(false) + "}}";
    }
    return entries;
  }
  documents::InterfaceKey RandomInterface() {
    const unsigned int which = Random(3);
    return {static_cast<unsigned short>(which == 2 ? 20 : 10), 3 + which};
  }
  void Act() {
    switch (Random(8)) {
      case 0:
      case 1:
      case 2:
        WriteVlans(RandomVlans());
        m_reloader->Reload();
        break;
      case 3:
      case 4:
        m_interfaces.SetStatus(RandomInterface(), Random(2) == 0);
        break;
      case 5:
        for (unsigned int turns = Random(20); turns > 0; --turns) {
          Turn();
        }
        break;
      case 6:
        Control().Script(routing_stack::RowType::kRoute, {routing_stack::Answer::kStatus, 3, 0},
                         Random(3));
        break;
      default:
        if (Random(4) == 0) {
          Control().Restart();
        }
    }
  }
  unsigned int Random(unsigned int below) { return static_cast<unsigned int>(m_random() % below); }

  const unsigned int m_seed = std::random_device()();
  std::mt19937 m_random{m_seed};
  views::Feed m_feed{m_turns.Get(), [] { return std::int64_t{0}; }};
  std::optional<vantacored::WatchTap> m_tap;
  std::optional<views::Watcher> m_watcher;
  Table m_table;
  std::size_t m_heard = 0;
};

TEST_F(WatchRandom, TheChangesGiveTheTable) {
  SCOPED_TRACE("seed " + std::to_string(m_seed));
  StartWith(RandomVlans());
  m_table = TableOfTheStack();
  m_watcher.emplace(m_feed, views::WatchQuery{views::WatchQuery::Kind::ROUTE, {}}, [] {});
  for (int round = 0; round < 200; ++round) {
    for (unsigned int actions = 1 + Random(4); actions > 0; --actions) {
      Act();
    }
    ASSERT_TRUE(SettleAll());
    ASSERT_NO_FATAL_FAILURE(Hear());
    ASSERT_EQ(m_table, TableOfTheStack()) << "round " << round;
  }
  EXPECT_GT(m_heard, 500u);
}

}  // namespace
