// What VRF devices do to links, tables, and what is told of both.

#include "device/machine/kernel_vrfs.h"

#include <gmock/gmock.h>
#include <uv.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "device/loop/loop.h"
#include "tests/unit/kernel/fake_links.h"

namespace {

using machine::KernelLinks;
using machine::KernelVrfs;
using test_kernel::FakeLinkChannel;
using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

constexpr std::uint32_t BLUE = 5;
constexpr std::uint32_t RED = 6;

class VrfsOfTheKernel : public testing::Test {
 protected:
  void SetUp() override {
    m_fake.Set(2, "eth0");
    m_fake.Set(3, "eth1");
    m_device.defaultVlan = 10;
    m_device.kernel.writesRoutes = true;
    m_device.links.taken = {"*"};
    m_device.links.vrfs = {{"blue", 20}};
  }
  void SetVrf(std::uint32_t index, const std::string& name, std::uint32_t table) {
    m_fake.links[index].vrfTable = table;
    m_fake.Set(index, name);
  }
  void Enslave(std::uint32_t index, std::uint32_t master) {
    m_fake.links.at(index).master = master;
    m_fake.Set(index, m_fake.links.at(index).name);
  }
  void Start() {
    m_links.Start(m_device);
    m_vrfs.Apply(m_device);
    m_interfaces.Apply(m_device, {});
  }
  /// As a reload does.
  void Apply() {
    m_interfaces.Apply(m_device, {});
    m_links.Apply(m_device);
    m_vrfs.Apply(m_device);
  }
  void RunUntilSettled() {
    const std::uint64_t end = uv_hrtime() + 10000000000u;
    do {
      uv_run(m_loop.Get(), UV_RUN_NOWAIT);
    } while (!m_links.IsSettled() && uv_hrtime() < end);
    uv_run(m_loop.Get(), UV_RUN_NOWAIT);
    EXPECT_TRUE(m_links.IsSettled());
  }
  std::optional<std::uint32_t> Table() const { return m_vrfs.GetTables().Of(20); }
  /// "eth1 20 vrf" for each link that the device takes.
  Lines Places() const {
    Lines places;
    for (const views::LinkState& link : m_links.Describe()) {
      places.push_back(link.name + " " + std::to_string(link.vlan) + " " + link.rule);
    }
    return places;
  }
  Lines Verify(std::size_t mostLines = 10) const {
    const auto verdict = m_vrfs.Verify(mostLines);
    EXPECT_TRUE(verdict);
    if (!verdict) {
      return {};
    }
    EXPECT_EQ("VRF devices", verdict->kind);
    Lines lines = verdict->lines;
    lines.push_back(std::to_string(verdict->fails) + " of " + std::to_string(verdict->rows));
    return lines;
  }

  loop::Loop m_loop;
  test_kernel::FakeLinks m_fake;
  keepers::Interfaces m_interfaces;
  documents::Device m_device;
  std::vector<FakeLinkChannel::Accident> m_accidents;
  bool m_isRefused = false;
  Lines m_lines;
  KernelLinks m_links{m_loop.Get(),
                      m_interfaces,
                      {[this](kernel::Subscription) {
                         if (m_isRefused) {
                           throw std::runtime_error("no socket");
                         }
                         auto channel = std::make_unique<FakeLinkChannel>(m_fake);
                         channel->accidents = m_accidents;
                         return channel;
                       },
                       [](const std::string&) {}, [](const std::string&) {}, [] {},
                       [this] {
                         ++m_changes;
                         m_vrfs.Look();
                       }}};
  KernelVrfs m_vrfs{m_links,
                    m_interfaces,
                    {[this](const std::string& line) { m_lines.push_back(line); },
                     [this](const std::string& line) { m_lines.push_back("! " + line); }}};
  int m_changes = 0;
};

TEST_F(VrfsOfTheKernel, OneThatIsThereSaysTheTableAndIsNoInterface) {
  SetVrf(BLUE, "blue", 100);
  Enslave(3, BLUE);
  Start();
  EXPECT_EQ(Table(), 100u);
  EXPECT_TRUE(m_vrfs.AreKnown());
  EXPECT_THAT(Places(), ElementsAre("eth0 10 default", "eth1 20 vrf"));
  EXPECT_THAT(m_lines, IsEmpty()) << "it is as it should be";
  EXPECT_THAT(Verify(), ElementsAre("0 of 1"));
  const auto states = m_vrfs.Describe();
  ASSERT_EQ(1u, states.size());
  EXPECT_EQ("blue", states[0].name);
  EXPECT_EQ(20, states[0].vlan);
  EXPECT_EQ(states[0].table, 100u);
  EXPECT_EQ("", states[0].problem);
}

TEST_F(VrfsOfTheKernel, OneThatTheDocumentHasIsAnInterfaceOfItsVlan) {
  m_device.links.vlans = {{"blue", 20}};
  SetVrf(BLUE, "blue", 100);
  Start();
  EXPECT_THAT(Places(), ElementsAre("eth0 10 default", "eth1 10 default", "blue 20 document"));
  EXPECT_THAT(Verify(), ElementsAre("0 of 1")) << "it is in its own table";
}

TEST_F(VrfsOfTheKernel, OneThatGoesEndsItsVlanUntilItIsBack) {
  SetVrf(BLUE, "blue", 100);
  Enslave(3, BLUE);
  Start();
  Enslave(3, 0);
  m_fake.Remove(BLUE);
  RunUntilSettled();
  EXPECT_EQ(Table(), std::nullopt);
  EXPECT_THAT(Places(), ElementsAre("eth0 10 default", "eth1 10 default"));
  const char* const gone =
      "! No routes of VLAN 20 are written into the kernel: its VRF device blue is not there";
  EXPECT_THAT(m_lines, ElementsAre(gone));
  EXPECT_THAT(Verify(), ElementsAre("kernel: no routes of VLAN 20 are written: its VRF device blue "
                                    "is not there",
                                    "1 of 1"));
  EXPECT_EQ("its VRF device blue is not there", m_vrfs.Describe().at(0).problem);
  EXPECT_EQ(m_vrfs.Describe().at(0).table, std::nullopt);
  SetVrf(9, "blue", 200);
  Enslave(3, 9);
  RunUntilSettled();
  EXPECT_EQ(Table(), 200u);
  EXPECT_THAT(Places(), ElementsAre("eth0 10 default", "eth1 20 vrf"));
  EXPECT_THAT(m_lines, ElementsAre(gone,
                                   "Routes of VLAN 20 are written into table 200 of the kernel: "
                                   "its VRF device blue is there"));
  EXPECT_THAT(Verify(), ElementsAre("0 of 1"));
}

TEST_F(VrfsOfTheKernel, OneThatWasNeverThereIsToldOnce) {
  Start();
  EXPECT_THAT(m_lines, ElementsAre("! No routes of VLAN 20 are written into the kernel: its VRF "
                                   "device blue is not there"));
  Apply();
  m_fake.Set(4, "eth2");
  RunUntilSettled();
  EXPECT_EQ(1u, m_lines.size());
}

// What it enslaves has not changed itself.
TEST_F(VrfsOfTheKernel, AnotherNameTakesItsLinksAlong) {
  SetVrf(BLUE, "blue", 100);
  Enslave(3, BLUE);
  Start();
  SetVrf(BLUE, "navy", 100);
  RunUntilSettled();
  EXPECT_THAT(Places(), ElementsAre("eth0 10 default", "eth1 10 default"));
  EXPECT_EQ(Table(), std::nullopt);
  SetVrf(BLUE, "blue", 100);
  RunUntilSettled();
  EXPECT_THAT(Places(), ElementsAre("eth0 10 default", "eth1 20 vrf"));
  EXPECT_EQ(Table(), 100u);
}

TEST_F(VrfsOfTheKernel, AnotherTableWithoutAGapIsToldAsWell) {
  SetVrf(BLUE, "blue", 100);
  Start();
  SetVrf(BLUE, "blue", 200);
  RunUntilSettled();
  EXPECT_EQ(Table(), 200u);
  EXPECT_THAT(m_lines,
              ElementsAre("Routes of VLAN 20 are written into table 200 of the kernel: its "
                          "VRF device blue is there"));
}

TEST_F(VrfsOfTheKernel, TablesThatAreNotForTheVlanAreNotTaken) {
  m_device.links.vrfs = {{"blue", 20}, {"red", 30}};
  const auto problem = [this](std::uint32_t table) {
    SetVrf(BLUE, "blue", 100);
    SetVrf(RED, "red", table);
    m_links.Apply({});
    Start();
    EXPECT_EQ(Table(), 100u) << "VLAN 20 goes on";
    return m_vrfs.Describe().at(1).problem;
  };
  EXPECT_EQ("its VRF device red has table 100, which is that of VLAN 20", problem(100));
  EXPECT_EQ("its VRF device red has table 40040, which is that of VLAN 40", problem(40040));
  EXPECT_EQ("its VRF device red has table 253, which is the kernel's own", problem(253));
  EXPECT_EQ("its VRF device red has table 255, which is the kernel's own", problem(255));
  EXPECT_EQ("its VRF device red has table 0, which is the kernel's own", problem(0));
  EXPECT_EQ("", problem(252));
  EXPECT_EQ("", problem(256));
  EXPECT_EQ("", problem(40030)) << "it would have that one anyway";
  EXPECT_EQ("", problem(40020)) << "VLAN 20 has another one";
}

TEST_F(VrfsOfTheKernel, InterfacesThatTheKernelLooksUpElsewhereAreToldByVerify) {
  m_device.links.vlans = {{"eth0", 20}, {"eth2", 30}};
  SetVrf(BLUE, "blue", 100);
  SetVrf(RED, "red", 200);
  m_fake.Set(4, "eth2");
  Enslave(4, BLUE);
  Enslave(3, RED);
  Start();
  const char* const first =
      "kernel: eth1 of VLAN 10 is enslaved to the VRF device red: what comes in there is looked up "
      "in table 200";
  EXPECT_THAT(Verify(),
              ElementsAre(first,
                          "kernel: eth0 of VLAN 20 is not enslaved to the VRF device blue: what "
                          "comes in there is looked up in the main table",
                          "kernel: eth2 of VLAN 30 is enslaved to the VRF device blue: what comes "
                          "in there is looked up in table 100",
                          "3 of 1"));
  EXPECT_THAT(Verify(1), ElementsAre(first, "3 of 1"));
}

TEST_F(VrfsOfTheKernel, RoutesAloneHaveTheLinksReadAndTakeNone) {
  m_device.links.taken.clear();
  SetVrf(BLUE, "blue", 100);
  Enslave(3, BLUE);
  Start();
  EXPECT_EQ(Table(), 100u);
  EXPECT_THAT(Places(), IsEmpty());
  m_device.kernel.writesRoutes = false;
  Apply();
  EXPECT_EQ(nullptr, m_links.GetWatch());
  EXPECT_FALSE(m_vrfs.Verify(10));
  EXPECT_THAT(m_vrfs.Describe(), IsEmpty());
}

TEST_F(VrfsOfTheKernel, NothingIsToldBeforeAllLinksHaveBeenRead) {
  SetVrf(BLUE, "blue", 100);
  m_accidents = {FakeLinkChannel::Accident::REFUSED};
  Start();
  EXPECT_FALSE(m_vrfs.AreKnown());
  EXPECT_EQ(Table(), std::nullopt);
  EXPECT_EQ("the kernel's links have not been read yet", m_vrfs.Describe().at(0).problem);
  const std::uint64_t end = uv_hrtime() + 10000000000u;
  while (!m_vrfs.AreKnown() && uv_hrtime() < end) {
    uv_run(m_loop.Get(), UV_RUN_ONCE);
  }
  EXPECT_EQ(Table(), 100u);
  EXPECT_EQ(1, m_changes);
  EXPECT_THAT(m_lines, IsEmpty());
}

// The links are the same in both readings, so nothing of them changes.
TEST_F(VrfsOfTheKernel, AreKnownThoughTheReadingThatShowedThemWasNotCompleted) {
  SetVrf(BLUE, "blue", 100);
  m_accidents = {FakeLinkChannel::Accident::REFUSED, FakeLinkChannel::Accident::NONE};
  Start();
  EXPECT_FALSE(m_vrfs.AreKnown());
  const std::uint64_t end = uv_hrtime() + 10000000000u;
  while (!m_vrfs.AreKnown() && uv_hrtime() < end) {
    uv_run(m_loop.Get(), UV_RUN_ONCE);
  }
  EXPECT_EQ(Table(), 100u);
}

TEST_F(VrfsOfTheKernel, NoWayToTheKernelIsToldAndEndsTheVlan) {
  m_isRefused = true;
  Start();
  EXPECT_FALSE(m_vrfs.AreKnown());
  EXPECT_EQ(Table(), std::nullopt);
  EXPECT_THAT(m_lines, ElementsAre("! No routes of VLAN 20 are written into the kernel: the "
                                   "kernel's links cannot be read"));
  EXPECT_THAT(Verify(), ElementsAre("kernel: no routes of VLAN 20 are written: the kernel's links "
                                    "cannot be read",
                                    "1 of 1"));
}

TEST_F(VrfsOfTheKernel, OneThatIsNotThereIsOneDifferenceAndNotOneMoreForEachInterface) {
  m_device.links.vlans = {{"eth0", 20}};
  Start();
  EXPECT_THAT(Places(), ElementsAre("eth0 20 document", "eth1 10 default"));
  EXPECT_THAT(Verify(), ElementsAre("kernel: no routes of VLAN 20 are written: its VRF device blue "
                                    "is not there",
                                    "1 of 1"));
}

TEST_F(VrfsOfTheKernel, ADocumentWithoutThemHasNone) {
  m_device.links.vrfs.clear();
  SetVrf(BLUE, "blue", 100);
  Enslave(3, BLUE);
  Start();
  EXPECT_EQ(Table(), 40020u);
  EXPECT_THAT(Places(), ElementsAre("eth0 10 default", "eth1 10 default"));
  EXPECT_FALSE(m_vrfs.Verify(10));
  m_device.links.vrfs = {{"blue", 20}};
  Apply();
  EXPECT_EQ(Table(), 100u) << "a reload needs no other reading";
  EXPECT_THAT(Places(), ElementsAre("eth0 10 default", "eth1 20 vrf"));
}

}  // namespace
