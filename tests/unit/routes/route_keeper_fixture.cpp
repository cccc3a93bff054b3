#include "tests/unit/routes/route_keeper_fixture.h"

#include <cstring>
#include <sstream>

namespace routes_test {

using intent::ResolvedRoute;
using intent::ResolvedRoutes;
using rows::RouteRow;
using rows::StackRoute;

namespace {

bool ComesBefore(const ResolvedRoute& a, const ResolvedRoute& b) { return a.ComesBefore(b); }

}  // namespace

RouteKeeperFixture::RouteKeeperFixture(std::vector<unsigned short> vlans,
                                       unsigned int tickMicroseconds)
    : differences(
          turns.Get(), port, [this](const std::string& line) { lines.push_back(line); },
          [this](const rows::Row&) -> rows::Keeper& { return *keeper; }) {
  Tarsel::TimerLoop::SetTickMicroseconds(tickMicroseconds);
  keeper.emplace(turns.Get(), port, differences);
  Start(vlans.front());
  LoadVlans(vlans);
  EXPECT_TRUE(Settle());
  TakeCalls();
}

void RouteKeeperFixture::LoadVlans(const std::vector<unsigned short>& vlans) {
  std::string entries;
  for (const unsigned short vlan : vlans) {
    const std::string number = std::to_string(vlan);
    entries += (entries.empty() ? "\"v" : ", \"v") + number + R"(": {"vid": )" + number + "}";
  }
  EXPECT_TRUE(Reload(R"({"VLAN_CONFIGURATIONS": {)" + entries + "}}", "vlans.json"));
}

ResolvedRoute RouteKeeperFixture::Route(unsigned short vlan, unsigned int number, bool ip6,
                                        std::uint32_t metric) {
  ResolvedRoute route;
  route.metric = metric;
  route.ifIndex = 3;
  route.target.vlan = vlan;
  route.target.ip6 = ip6;
  route.target.length = ip6 ? 48 : 24;
  auto& destination = route.target.destination;
  if (ip6) {
    destination = {0x20,
                   0x01,
                   0x0d,
                   0xb8,
                   static_cast<unsigned char>(number / 256),
                   static_cast<unsigned char>(number % 256)};
    route.target.gateway[15] = 1;
  } else {
    destination = {static_cast<unsigned char>(20 + number / 65536),
                   static_cast<unsigned char>(number / 256 % 256),
                   static_cast<unsigned char>(number % 256)};
    route.target.gateway = {10, 1, 2, 1};
  }
  return route;
}

ResolvedRoutes RouteKeeperFixture::Routes(unsigned short vlan, unsigned int count,
                                          std::uint32_t metric) {
  ResolvedRoutes routes;
  for (unsigned int i = 0; i < count; ++i) {
    routes.push_back(Route(vlan, i, false, metric));
  }
  return routes;
}

intent::SharedRoutes RouteKeeperFixture::Share(ResolvedRoutes routes) {
  std::sort(routes.begin(), routes.end(), ComesBefore);
  return std::make_shared<const ResolvedRoutes>(std::move(routes));
}

void RouteKeeperFixture::Want(ResolvedRoutes routes) {
  const auto plan = keeper->BeginPlan();
  routes::RouteKeeper::MakePlan(*plan, Share(std::move(routes)));
  keeper->CarryOut(*plan);
}

void RouteKeeperFixture::Run(std::uint64_t milliseconds) {
  for (; milliseconds != 0; --milliseconds) {
    TurnOnly();
    loop.AdvanceMilliseconds(1);
  }
  TurnOnly();
}

bool RouteKeeperFixture::RunUntil(const std::function<bool()>& isDone, std::uint64_t milliseconds) {
  for (; milliseconds != 0 && !isDone(); --milliseconds) {
    Run(1);
  }
  return isDone();
}

ResolvedRoutes RouteKeeperFixture::InStack() const {
  ResolvedRoutes routes;
  for (const StackRoute& route : port.ReadRoutes(nullptr, static_cast<std::size_t>(-1))) {
    routes.push_back(route.route);
  }
  std::sort(routes.begin(), routes.end(), ComesBefore);
  return routes;
}

std::vector<std::string> RouteKeeperFixture::Items() {
  const auto log = test_support::NewConsoleLog(10);
  test_support::RecordingConsole console(log);
  Manager().GetCfgSched().Print(&console);
  std::vector<std::string> items;
  std::istringstream output(log->output);
  for (std::string line; std::getline(output, line);) {
    if (line.find("StaticRouteItem:") == 0) {
      items.push_back(line);
    }
  }
  return items;
}

std::vector<std::pair<RouteRow, rows::Standing>> RouteKeeperFixture::Pass(std::size_t most) {
  std::vector<std::pair<RouteRow, rows::Standing>> found;
  keeper->BeginPass();
  while (keeper->ContinuePass(most, [&](const rows::Row& row, const rows::Standing& standing) {
    found.emplace_back(std::get<RouteRow>(row), standing);
  })) {
  }
  return found;
}

}  // namespace routes_test
