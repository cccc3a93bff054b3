// Routes of a VLAN on their way from one table of the kernel to another.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <uv.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "device/loop/loop.h"
#include "device/machine/kernel_routes.h"
#include "stack/sms.h"
#include "tests/support/device_fixture.h"
#include "tests/unit/kernel/fake_channel.h"

namespace {

using machine::KernelRoutes;
using machine::KernelTables;
using test_kernel::FakeChannel;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Lines = std::vector<std::string>;

constexpr unsigned short MOVED_DEFAULT = 10;
constexpr auto AWAY = std::nullopt;

class MovedRoutes : public test_support::DeviceFixture {
 protected:
  static constexpr int MANY = 5000;

  void SetUp() override {
    Start(MOVED_DEFAULT);
    Reload(R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10}, "b": {"vid": 20}, "c": {"vid": 30}}})",
           "vlans.json");
    ASSERT_TRUE(Settle());
    for (const unsigned int vlan : {10u, 20u, 30u}) {
      const unsigned char own[16] = {10, 1, 0, 9};
      sms_act_interface(4, 1, vlan, vlan, "eth", 0, 24, 0);
      sms_act_ipaddr(1, vlan, 1, vlan, own, 24);
      Route(vlan, 1);
    }
    ASSERT_TRUE(Settle());
    m_device.kernel.writesRoutes = true;
    m_device.links.vrfs = {{"blue", 20}};
  }
  /// 10.9.THIRD.0/24
  static void Route(unsigned int vlan, unsigned char third, bool isThere = true,
                    unsigned char gateway = 1) {
    const unsigned char destination[16] = {10, 9, third};
    const unsigned char hop[16] = {10, 1, 0, gateway};
    sms_update_route(1, isThere ? 1 : 6, 1, 1, destination, 24, hop, Tarsel::PATH_TYPE_STATIC, 0,
                     static_cast<unsigned short>(vlan), 7);
  }
  /// More than two slices.
  void ManyRoutesOf20() {
    for (int i = 0; i < MANY; ++i) {
      const unsigned char destination[16] = {20, static_cast<unsigned char>(i / 250),
                                             static_cast<unsigned char>(i % 250)};
      const unsigned char hop[16] = {10, 1, 0, 1};
      sms_update_route(1, 1, 1, 1, destination, 24, hop, Tarsel::PATH_TYPE_STATIC, 0, 20, 7);
    }
    ASSERT_TRUE(Settle());
  }
  void Apply(KernelTables::VrfTables vrfs) {
    m_routes.Apply(m_device, {MOVED_DEFAULT, 40000, std::move(vrfs)});
    RunUntilSettled();
  }
  void Move(KernelTables::VrfTables vrfs) {
    m_routes.Move({MOVED_DEFAULT, 40000, std::move(vrfs)});
  }
  void Turn() {
    uv_run(m_turns.Get(), UV_RUN_NOWAIT);
    m_routes.Look();
  }
  void RunUntilSettled() {
    const std::uint64_t end = uv_hrtime() + 10000000000u;
    do {
      Turn();
    } while (!m_routes.IsSettled() && uv_hrtime() < end);
    EXPECT_TRUE(m_routes.IsSettled());
  }
  /// "10.9.1.0/24 in table 254 via 10.1.0.1 dev 10", by table.
  Lines Ours() const {
    Lines lines;
    for (const auto& [key, nextHops] : m_kernel.OurRoutes()) {
      lines.push_back(kernel::DescribeKey(key) + " " +
                      kernel::DescribeNextHops(nextHops, key.isIp6));
    }
    EXPECT_EQ(lines.size(), m_kernel.CountOurs()) << "one stands twice";
    return lines;
  }
  /// Those of VLAN 20's interface.
  Lines OursOf20() const {
    Lines lines;
    for (const std::string& line : Ours()) {
      if (line.find("dev 20") != std::string::npos) {
        lines.push_back(line);
      }
    }
    return lines;
  }

  KernelRoutes::Hooks Hooks() {
    return {[this](kernel::Subscription) { return std::make_unique<FakeChannel>(m_kernel); },
            [this](const std::string& line) { m_lines.push_back(line); },
            [] { return uv_hrtime() / 1000000; }, [this] { return m_isSettled; }, [] {}};
  }

  test_kernel::FakeKernel m_kernel;
  loop::Loop m_turns;  // whose pool works on the kernel, as long as it is there
  documents::Device m_device;
  Lines m_lines;
  ports::SoftwareStackPort m_port{stack, [this] { return loop.Now() / 1000; }};
  KernelRoutes m_routes{m_turns.Get(), m_port, stack.GetFacts(), 60, Hooks()};
  bool m_isSettled = true;
};

TEST_F(MovedRoutes, AVrfDevicesTableHasNoNetworksOfOurs) {
  Apply({{20, 100}});
  EXPECT_THAT(Ours(), ElementsAre("10.9.1.0/24 in table 100 via 10.1.0.1 dev 20",
                                  "10.9.1.0/24 in table 254 via 10.1.0.1 dev 10",
                                  "10.1.0.0/24 in table 40030 dev 30",
                                  "10.9.1.0/24 in table 40030 via 10.1.0.1 dev 30"));
}

TEST_F(MovedRoutes, AVlanWithoutATableHasNoneUntilThereIsOne) {
  Apply({{20, AWAY}});
  EXPECT_THAT(OursOf20(), IsEmpty());
  EXPECT_THAT(Ours(), SizeIs(3));
  EXPECT_FALSE(m_routes.FindKey(20, false, {10, 9, 1}, 24));
  Route(20, 2);
  ASSERT_TRUE(Settle());
  RunUntilSettled();
  EXPECT_THAT(OursOf20(), IsEmpty());
  Move({{20, 100}});
  RunUntilSettled();
  EXPECT_THAT(OursOf20(), ElementsAre("10.9.1.0/24 in table 100 via 10.1.0.1 dev 20",
                                      "10.9.2.0/24 in table 100 via 10.1.0.1 dev 20"));
  ASSERT_TRUE(m_routes.FindKey(20, false, {10, 9, 1}, 24));
  EXPECT_EQ(100u, m_routes.FindKey(20, false, {10, 9, 1}, 24)->table);
}

TEST_F(MovedRoutes, AnotherTableHasThemAllAndTheOldOneNone) {
  Apply({{20, 100}});
  m_kernel.requests = 0;
  Move({{20, 200}});
  RunUntilSettled();
  EXPECT_THAT(OursOf20(), ElementsAre("10.9.1.0/24 in table 200 via 10.1.0.1 dev 20"));
  EXPECT_THAT(Ours(), SizeIs(4));
  EXPECT_EQ(2u, m_kernel.requests) << "one comes and one goes; other VLANs notice nothing";
}

TEST_F(MovedRoutes, OneThatGoesTakesItsRoutesAndNothingElse) {
  Apply({{20, 100}});
  m_kernel.tables[test_kernel::Key("10.8.0.0/16", 100)][5] = {4, test_kernel::Hop("10.1.0.1", 20)};
  Move({{20, AWAY}});
  RunUntilSettled();
  EXPECT_THAT(OursOf20(), IsEmpty());
  EXPECT_THAT(Ours(), SizeIs(3));
  EXPECT_EQ(1u, m_kernel.tables[test_kernel::Key("10.8.0.0/16", 100)].size()) << "not ours";
}

// The list of what is to be read is not yet worked off when it changes again, and so do routes.
TEST_F(MovedRoutes, WhatChangesDuringAMoveIsNotLost) {
  Apply({{20, 100}});
  Route(20, 2);
  Route(20, 3);
  ASSERT_TRUE(Settle());
  RunUntilSettled();
  Move({{20, AWAY}});
  Route(20, 2, false);
  Route(20, 4);
  ASSERT_TRUE(Settle());
  Turn();
  Move({{20, 200}});
  Route(20, 5);
  Route(20, 3, false);
  ASSERT_TRUE(Settle());
  Turn();
  Move({{20, 300}});
  RunUntilSettled();
  EXPECT_THAT(OursOf20(), ElementsAre("10.9.1.0/24 in table 300 via 10.1.0.1 dev 20",
                                      "10.9.4.0/24 in table 300 via 10.1.0.1 dev 20",
                                      "10.9.5.0/24 in table 300 via 10.1.0.1 dev 20"));
  Move({{20, 100}});
  Turn();
  Move({{20, 300}});
  RunUntilSettled();
  EXPECT_THAT(OursOf20(), SizeIs(3));
  EXPECT_THAT(OursOf20(), testing::Each(testing::HasSubstr("in table 300 ")));
}

// The slice that is being read ends in the middle of the VLAN's routes.
TEST_F(MovedRoutes, MoreThanASliceIsMovedAndMovedAgain) {
  ManyRoutesOf20();
  Apply({{20, 100}});
  ASSERT_THAT(OursOf20(), SizeIs(MANY + 1));
  Move({{20, 200}});
  Turn();
  Turn();
  Move({{20, 300}});
  RunUntilSettled();
  EXPECT_THAT(OursOf20(), SizeIs(MANY + 1));
  EXPECT_THAT(OursOf20(), testing::Each(testing::HasSubstr("in table 300 ")));
}

// The stack frees the routes of a VLAN that goes slice by slice, and none of them can be read.
TEST_F(MovedRoutes, AVlanThatGoesDuringItsMoveLeavesNothing) {
  ManyRoutesOf20();
  Apply({{20, 100}});
  ASSERT_THAT(OursOf20(), SizeIs(MANY + 1));
  Reload(R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10}, "c": {"vid": 30}}})", "vlans.json");
  Control().SetSliceEvents(10);
  const auto isThere = [this] {
    const auto instances = stack.GetFacts().Instances();
    return std::count(instances.begin(), instances.end(), 20u) != 0;
  };
  while (isThere() && loop.RunNext()) {
  }
  ASSERT_FALSE(isThere());
  ASSERT_TRUE(stack.GetFacts().HasWork());
  Move({{20, 200}});
  const auto turns = [this] {
    for (int i = 0; i < 20; ++i) {
      Turn();
    }
  };
  turns();
  Control().Hold();
  turns();
  Control().Release();
  ASSERT_TRUE(Settle());
  RunUntilSettled();
  EXPECT_THAT(OursOf20(), IsEmpty());
  EXPECT_THAT(Ours(), SizeIs(3)) << "those of the other VLANs";
}

TEST_F(MovedRoutes, ATableMayGoFromOneVlanToAnother) {
  Apply({{20, 100}, {30, 200}});
  Move({{20, 200}, {30, 100}});
  RunUntilSettled();
  EXPECT_THAT(Ours(), ElementsAre("10.9.1.0/24 in table 100 via 10.1.0.1 dev 30",
                                  "10.9.1.0/24 in table 200 via 10.1.0.1 dev 20",
                                  "10.9.1.0/24 in table 254 via 10.1.0.1 dev 10"));
  Move({{20, 40040}, {30, AWAY}});
  RunUntilSettled();
  Move({});
  RunUntilSettled();
  EXPECT_THAT(Ours(), ElementsAre("10.9.1.0/24 in table 254 via 10.1.0.1 dev 10",
                                  "10.1.0.0/24 in table 40020 dev 20",
                                  "10.9.1.0/24 in table 40020 via 10.1.0.1 dev 20",
                                  "10.1.0.0/24 in table 40030 dev 30",
                                  "10.9.1.0/24 in table 40030 via 10.1.0.1 dev 30"));
}

// Everything is read anew only where it has to be.
TEST_F(MovedRoutes, ATableThatHasBeenLeftMayBeAnotherVlansAtOnce) {
  Apply({{20, 100}});
  Move({{20, 200}});
  RunUntilSettled();
  const std::size_t wanted = m_routes.GetSink()->GetLedger().CountWanted();
  EXPECT_EQ(4u, wanted);
  Move({{20, 200}, {30, 100}});
  EXPECT_EQ(wanted, m_routes.GetSink()->GetLedger().CountWanted()) << "nothing is forgotten";
  RunUntilSettled();
  EXPECT_THAT(Ours(), ElementsAre("10.9.1.0/24 in table 100 via 10.1.0.1 dev 30",
                                  "10.9.1.0/24 in table 200 via 10.1.0.1 dev 20",
                                  "10.9.1.0/24 in table 254 via 10.1.0.1 dev 10"));
}

TEST_F(MovedRoutes, TheSameTableAsAVrfDevicesLosesOnlyTheNetworks) {
  Apply({});
  EXPECT_THAT(OursOf20(), SizeIs(2));
  Move({{20, 40020}});
  RunUntilSettled();
  EXPECT_THAT(OursOf20(), ElementsAre("10.9.1.0/24 in table 40020 via 10.1.0.1 dev 20"));
}

TEST_F(MovedRoutes, TheDefaultVlanMayHaveOne) {
  Apply({{10, 100}});
  EXPECT_EQ("10.9.1.0/24 in table 100 via 10.1.0.1 dev 10", Ours().at(0));
  Move({{10, AWAY}});
  RunUntilSettled();
  EXPECT_THAT(Ours(), SizeIs(4)) << "and not in the main table";
  Move({});
  RunUntilSettled();
  EXPECT_EQ("10.9.1.0/24 in table 254 via 10.1.0.1 dev 10", Ours().at(0));
}

// What an earlier run has left in the table of a VRF device that nobody has told of yet.
TEST_F(MovedRoutes, NothingIsSweptBeforeTheDeviceHasSettled) {
  m_kernel.tables[test_kernel::Key("10.9.1.0/24", 100)][220] = {kernel::OUR_PROTOCOL,
                                                                test_kernel::Hop("10.1.0.1", 20)};
  m_isSettled = false;
  m_routes.Apply(m_device, {MOVED_DEFAULT, 40000, {{20, AWAY}}});
  for (int i = 0; i < 20; ++i) {
    Turn();
  }
  EXPECT_THAT(OursOf20(), SizeIs(1));
  Move({{20, 100}});
  m_isSettled = true;
  RunUntilSettled();
  EXPECT_THAT(OursOf20(), ElementsAre("10.9.1.0/24 in table 100 via 10.1.0.1 dev 20"));
  EXPECT_EQ(0u, m_routes.GetSink()->GetLedger().GetTotals().strays);
  EXPECT_EQ(0u, m_routes.GetSink()->GetLedger().GetTotals().deleted);
}

// What two VLANs have one after the other is read anew, once the device has settled.
TEST_F(MovedRoutes, ATableThatGoesFromOneVlanToAnotherWaitsForTheDevice) {
  Apply({{20, 100}, {30, 200}});
  m_isSettled = false;
  m_kernel.requests = 0;
  Move({{20, 200}, {30, 100}});
  for (int i = 0; i < 20; ++i) {
    Turn();
  }
  EXPECT_EQ(0u, m_kernel.requests);
  EXPECT_FALSE(m_routes.IsSettled());
  m_isSettled = true;
  RunUntilSettled();
  EXPECT_THAT(Ours(), ElementsAre("10.9.1.0/24 in table 100 via 10.1.0.1 dev 30",
                                  "10.9.1.0/24 in table 200 via 10.1.0.1 dev 20",
                                  "10.9.1.0/24 in table 254 via 10.1.0.1 dev 10"));
}

// A reading that is begun anew begins with the first route.
TEST_F(MovedRoutes, AReadingThatIsBrokenOffLosesNothing) {
  ManyRoutesOf20();
  Apply({{20, 100}});
  Move({{20, 200}});
  Turn();
  Turn();
  Move({{20, 300}, {30, 200}});
  RunUntilSettled();
  EXPECT_THAT(OursOf20(), SizeIs(MANY + 1));
  EXPECT_THAT(OursOf20(), testing::Each(testing::HasSubstr("in table 300 ")));
  EXPECT_THAT(Ours(), SizeIs(MANY + 3));
}

// A device that has settled in time is not said to have failed to when the time is over.
TEST_F(MovedRoutes, WhatSettlesInTimeIsNotOverdue) {
  KernelRoutes routes(m_turns.Get(), m_port, stack.GetFacts(), 2, Hooks());
  const auto runUntil = [&](const std::function<bool()>& isOver) {
    const std::uint64_t end = uv_hrtime() + 10000000000u;
    while (!isOver() && uv_hrtime() < end) {
      uv_run(m_turns.Get(), UV_RUN_NOWAIT);
      routes.Look();
    }
    EXPECT_TRUE(isOver());
  };
  routes.Apply(m_device, {MOVED_DEFAULT, 40000, {}});
  runUntil([&] { return routes.IsSettled(); });
  const std::uint64_t later = uv_hrtime() + 2200000000;
  runUntil([&] { return uv_hrtime() > later; });
  EXPECT_THAT(m_lines, IsEmpty());
  m_isSettled = false;
  m_device.kernel.tableBase = 50000;
  routes.Apply(m_device, {MOVED_DEFAULT, 50000, {}});
  runUntil([&] { return !m_lines.empty() && routes.IsSettled(); });
  EXPECT_THAT(m_lines,
              Contains("The device has not settled in 2 seconds: what the kernel has of an "
                       "earlier run is removed"));
  EXPECT_THAT(Ours(), ElementsAre("10.9.1.0/24 in table 254 via 10.1.0.1 dev 10",
                                  "10.1.0.0/24 in table 50020 dev 20",
                                  "10.9.1.0/24 in table 50020 via 10.1.0.1 dev 20",
                                  "10.1.0.0/24 in table 50030 dev 30",
                                  "10.9.1.0/24 in table 50030 via 10.1.0.1 dev 30"));
}

TEST_F(MovedRoutes, AVerificationWaitsForTheMove) {
  Apply({{20, 100}});
  Move({{20, 200}});
  std::optional<rows::Verdict> verdict;
  m_routes.Verify(10, [&](std::optional<rows::Verdict> found) { verdict = std::move(found); });
  const std::uint64_t end = uv_hrtime() + 10000000000u;
  while (!verdict && uv_hrtime() < end) {
    Turn();
  }
  ASSERT_TRUE(verdict);
  EXPECT_EQ(4u, verdict->rows);
  EXPECT_THAT(m_lines, IsEmpty());
}

}  // namespace
