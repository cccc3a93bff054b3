#include "device/intent/route_resolution.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "tests/models/random_run.h"
#include "tests/support/read_documents.h"
#include "tests/unit/intent/numbered_routes.h"

namespace {

using intent::ResolvedRoute;
using intent::ResolvedRoutes;
using intent_test::Route;
using intent_test::Target;
using testing::ElementsAre;
using testing::IsEmpty;

// A member of STATIC_ROUTES whose route is Route(number).
std::string Member(const std::string& name, unsigned number, const std::string& interface,
                   unsigned metric = 1) {
  return "\"" + name + R"(": {"network": ")" + std::to_string(number) +
         R"(.0.0.0", "netmask": "255.0.0.0", "gateway": "1.0.0.1", "metric": )" +
         std::to_string(metric) + R"(, "routemetricmode": "passthrough")" +
         (interface.empty() ? "" : ", \"interface\": \"" + interface + "\"") + "}";
}

std::string Entry(unsigned vlan, const std::vector<std::string>& members) {
  std::string list;
  for (const std::string& member : members) {
    list += (list.empty() ? "" : ", ") + member;
  }
  return "\"v" + std::to_string(vlan) + R"(": {"vid": )" + std::to_string(vlan) +
         R"(, "STATIC_ROUTES": {)" + list + "}}";
}

std::shared_ptr<const documents::ConfigFile> File(const std::string& name,
                                                  const std::vector<std::string>& entries) {
  std::string list;
  for (const std::string& entry : entries) {
    list += (list.empty() ? "" : ", ") + entry;
  }
  return test_support::ReadConfig(name, R"({"VLAN_CONFIGURATIONS": {)" + list + "}}");
}

// VLAN 10 has eth0 and eth1, whose names and indexes have opposite orders.
intent::RouteContext Context() {
  return {{10},
          std::make_shared<const intent::InterfaceIndexes>(
              intent::InterfaceIndexes{{{10, "eth0"}, 4}, {{10, "eth1"}, 3}, {{20, "eth2"}, 5}})};
}

ResolvedRoutes Resolve(const documents::ConfigFiles& files) {
  return intent::ResolveRoutes(files, Context());
}

TEST(ResolveRoutes, FindsTheInterfacesIndex) {
  EXPECT_THAT(Resolve({File("vlans.json", {Entry(10, {Member("r", 1, "eth0", 5)})})}),
              ElementsAre(Route(1, 4, 5)));
}

TEST(ResolveRoutes, TakesARouteWithoutInterface) {
  EXPECT_THAT(Resolve({File("vlans.json", {Entry(10, {Member("r", 1, "", 5)})})}),
              ElementsAre(Route(1, 0, 5)));
}

TEST(ResolveRoutes, LeavesOutRoutesWhoseInterfaceIsNotThere) {
  EXPECT_THAT(
      Resolve({File("vlans.json", {Entry(10, {Member("r", 1, "eth9"), Member("s", 2, "eth2")})})}),
      IsEmpty());
}

TEST(ResolveRoutes, LeavesOutRoutesOfOtherVlans) {
  EXPECT_THAT(Resolve({File("vlans.json", {Entry(11, {Member("r", 1, "")}),
                                           Entry(20, {Member("r", 1, "eth2")})})}),
              IsEmpty());
}

TEST(ResolveRoutes, TellsWhichRoutesWait) {
  const documents::ConfigFiles files = {
      File("vlans.json", {Entry(10, {Member("r", 1, "eth9", 7), Member("s", 2, "eth0")}),
                          Entry(11, {Member("t", 3, "eth0")})}),
      File("remote/a.json", {Entry(10, {Member("u", 1, "eth9", 8)})})};
  intent::UnresolvedRoutes unresolved;
  intent::ResolveRoutes(files, Context(), &unresolved);
  ASSERT_EQ(unresolved.size(), 2u);
  EXPECT_EQ(unresolved[0].target, Route(1, 0).target);
  EXPECT_EQ(unresolved[0].metric, 7u);
  EXPECT_EQ(unresolved[0].interface, "eth9");
  EXPECT_FALSE(unresolved[0].lacksVlan);
  EXPECT_EQ(unresolved[1].target.vlan, 11);
  EXPECT_TRUE(unresolved[1].lacksVlan);
}

TEST(ResolveRoutes, OrdersRoutesByIndex) {
  EXPECT_THAT(
      Resolve({File("vlans.json", {Entry(10, {Member("a", 1, "eth0"), Member("b", 1, "eth1"),
                                              Member("c", 1, ""), Member("d", 2, "")})})}),
      ElementsAre(Route(1, 0), Route(1, 3), Route(1, 4), Route(2, 0)));
}

// An interface may have the index that stands for none.
TEST(ResolveRoutes, TakesTheSameRequestOnce) {
  const auto file =
      File("vlans.json", {Entry(10, {Member("a", 1, "", 7), Member("b", 1, "eth0", 5)})});
  const intent::RouteContext context = {{10},
                                        std::make_shared<const intent::InterfaceIndexes>(
                                            intent::InterfaceIndexes{{{10, "eth0"}, 0}})};
  EXPECT_THAT(intent::ResolveRoutes({file}, context), ElementsAre(Route(1, 0, 7)));
}

TEST(ResolveRoutes, TakesTheFirstDocumentsMetric) {
  EXPECT_THAT(Resolve({File("vlans.json", {Entry(10, {Member("r", 2, "eth1", 7)})}),
                       File("remote/a.json",
                            {Entry(10, {Member("q", 1, "eth1", 6), Member("r", 2, "eth1", 8)})}),
                       File("remote/b.json",
                            {Entry(10, {Member("p", 1, "eth1", 5), Member("r", 2, "eth1", 9)})})}),
              ElementsAre(Route(1, 3, 6), Route(2, 3, 7)));
}

// The names of the interfaces have the opposite order of their indexes.
TEST(ResolveRoutes, OrdersManyRoutesOfOneTarget) {
  constexpr unsigned COUNT = 40000;
  std::vector<std::string> members;
  intent::InterfaceIndexes indexes;
  for (unsigned i = 0; i < COUNT; ++i) {
    const std::string name = "eth" + std::to_string(100000 + i);
    members.push_back(Member(name, 1, name));
    indexes[{10, name}] = COUNT - i;
  }
  const intent::RouteContext context = {
      {10}, std::make_shared<const intent::InterfaceIndexes>(std::move(indexes))};
  const auto file = File("vlans.json", {Entry(10, members)});
  const std::clock_t begin = std::clock();
  const ResolvedRoutes routes = intent::ResolveRoutes({file}, context);
  EXPECT_LT((std::clock() - begin) / CLOCKS_PER_SEC, 1);
  ASSERT_EQ(routes.size(), COUNT);
  for (unsigned i = 0; i < COUNT; ++i) {
    ASSERT_EQ(routes[i], Route(1, i + 1));
  }
}

TEST(ResolveRoutes, GivesWhatTheDocumentsSayInAnyNumberOfFiles) {
  const std::vector<std::string> interfaces = {"", "eth0", "eth1", "eth9"};
  const std::map<std::string, std::uint32_t> indexes = {{"", 0}, {"eth0", 4}, {"eth1", 3}};
  test_models::Random random;
  for (unsigned round = test_models::Scaled(200); round > 0; --round) {
    documents::ConfigFiles files;
    std::map<std::tuple<unsigned, std::uint32_t>, unsigned> expected;  // the metrics
    for (unsigned file = 0, count = random.Below(4); file < count; ++file) {
      std::map<std::pair<unsigned, std::string>, unsigned> routes;
      for (unsigned route = random.Below(10); route > 0; --route) {
        routes[{1 + random.Below(6), interfaces[random.Below(4)]}] = 1 + random.Below(9);
      }
      std::vector<std::string> members;
      for (const auto& [route, metric] : routes) {
        members.push_back(
            Member("r" + std::to_string(random.Below(1000)) + "_" + std::to_string(members.size()),
                   route.first, route.second, metric));
        if (const auto index = indexes.find(route.second); index != indexes.end()) {
          expected.emplace(std::tuple(route.first, index->second), metric);
        }
      }
      files.push_back(File(file == 0 ? "vlans.json" : "remote/" + std::to_string(file) + ".json",
                           {Entry(10, members)}));
    }
    ResolvedRoutes wanted;
    for (const auto& [route, metric] : expected) {
      wanted.push_back(
          Route(static_cast<unsigned char>(std::get<0>(route)), std::get<1>(route), metric));
    }
    ASSERT_EQ(Resolve(files), wanted);
  }
}

TEST(RouteContext, IsTheSameWhenItSaysTheSame) {
  EXPECT_TRUE(Context() == Context()) << "of two maps with equal contents";
  intent::RouteContext other = Context();
  other.vlans.insert(11);
  EXPECT_FALSE(Context() == other);
  other = Context();
  other.interfaces = std::make_shared<const intent::InterfaceIndexes>();
  EXPECT_FALSE(Context() == other);
}

}  // namespace
