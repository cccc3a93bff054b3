// The keeper of routes on a device, with the differences, without documents and interfaces.
#ifndef TESTS_UNIT_ROUTES_ROUTE_KEEPER_FIXTURE_H
#define TESTS_UNIT_ROUTES_ROUTE_KEEPER_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <uv.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "device/base/timer_loop.h"
#include "device/loop/loop.h"
#include "device/ports/stack_port.h"
#include "device/routes/route_keeper.h"
#include "device/rows/differences.h"
#include "device/stack/stack_control.h"
#include "tests/support/device_fixture.h"
#include "tests/support/recording_console.h"

namespace routes_test {

class RouteKeeperFixture : public test_support::DeviceFixture {
 protected:
  explicit RouteKeeperFixture(std::vector<unsigned short> vlans = {10, 20},
                              unsigned int tickMicroseconds = 100);

  /// Next hops are on interface 3; `number` tells the network.
  static intent::ResolvedRoute Route(unsigned short vlan, unsigned int number, bool ip6 = false,
                                     std::uint32_t metric = 5);
  static intent::ResolvedRoutes Routes(unsigned short vlan, unsigned int count,
                                       std::uint32_t metric = 5);
  static rows::RouteRow RowOf(const intent::ResolvedRoute& route) {
    return {route.target, route.ifIndex};
  }

  void LoadVlans(const std::vector<unsigned short>& vlans);
  /// The routes may be in any order.
  static intent::SharedRoutes Share(intent::ResolvedRoutes routes);
  void Want(intent::ResolvedRoutes routes);
  void TurnOnly() { uv_run(turns.Get(), UV_RUN_NOWAIT); }
  void Run(std::uint64_t milliseconds);
  /// False if it does not come about within that time of the device.
  [[nodiscard]] bool RunUntil(const std::function<bool()>& isDone, std::uint64_t milliseconds);
  /// Until nothing is open and nothing differs.
  [[nodiscard]] bool RunUntilSettled(std::uint64_t milliseconds = 600000) {
    return RunUntil([&] { return IsSettled(); }, milliseconds);
  }
  bool IsSettled() const {
    return keeper->CountOpen() == 0 && keeper->CountUnderWay() == 0 && differences.Count() == 0 &&
           !differences.HasHeard();
  }
  intent::ResolvedRoutes InStack() const;
  /// The lines of pending items.
  std::vector<std::string> Items();
  void Answer(const routing_stack::Answer& answer, unsigned int times = 1) {
    Control().Script(routing_stack::RowType::kRoute, answer, times);
  }
  void Refuse(unsigned int status, unsigned int times = 1) {
    Answer({routing_stack::Answer::kStatus, status, 0}, times);
  }
  rows::Standing::Kind Look(const intent::ResolvedRoute& route) const {
    return keeper->Look(RowOf(route)).kind;
  }
  /// A whole pass in slices of `most`.
  std::vector<std::pair<rows::RouteRow, rows::Standing>> Pass(std::size_t most = 1000);

  loop::Loop turns;
  ports::SoftwareStackPort port{stack, [this] { return loop.Now() / 1000; }};
  std::vector<std::string> lines;  // of the log
  std::optional<routes::RouteKeeper> keeper;
  rows::Differences differences;
};

}  // namespace routes_test

#endif
