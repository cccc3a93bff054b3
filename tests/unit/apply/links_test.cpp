// Links of the machine come and go while configurations are applied, or not.

#include <algorithm>
#include <optional>

#include "device/documents/device_document.h"
#include "reloader_fixture.h"
#include "tests/models/random_run.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class LinksOfTheMachine : public apply_test::ReloaderFixture {
 protected:
  void StartWithLinks() {
    WriteDevice();
    StartWith(WITH_ROUTE);
  }
  void WriteDevice(const std::string& patterns = R"("eth*")") {
    m_files.Write("device.json",
                  R"({"default_vlan": 10, "kernel": {"interfaces": [)" + patterns + "]}}");
  }
  static intent::Link Eth0(std::uint32_t index, const char* address = "10.1.0.1/16") {
    intent::Link link;
    link.index = index;
    link.name = "eth0";
    link.mtu = 1500;
    link.up = true;
    documents::Ip4Network network;
    EXPECT_TRUE(documents::ReadPrefix(address, network));
    link.ip4.push_back(network);
    return link;
  }
  void Take(std::uint32_t index, const std::optional<intent::Link>& link) {
    if (m_interfaces.TakeLinks({{index, link}})) {
      m_reloader->InterfacesChanged();
    }
  }
  /// Of the routes that are asked for.
  std::vector<std::uint32_t> Indexes() const {
    std::vector<std::uint32_t> indexes;
    for (const intent::ResolvedRoute& route : RequestedRoutes()) {
      indexes.push_back(route.ifIndex);
    }
    return indexes;
  }
};

TEST_F(LinksOfTheMachine, ARouteIsAskedForWhenItsLinkIsThere) {
  StartWithLinks();
  EXPECT_THAT(Indexes(), IsEmpty());
  Take(3, Eth0(3));
  EXPECT_FALSE(m_reloader->IsSettled());
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Indexes(), ElementsAre(3));
  EXPECT_THAT(TakeCalls(), testing::Contains(HasSubstr("10.9.0.0")));
  Take(3, std::nullopt);
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Indexes(), IsEmpty());
  EXPECT_THAT(reported.lines, IsEmpty());
}

TEST_F(LinksOfTheMachine, AStateThatChangesAsksForNothing) {
  StartWithLinks();
  Take(3, Eth0(3));
  ASSERT_TRUE(SettleAll());
  intent::Link down = Eth0(3);
  down.up = false;
  EXPECT_FALSE(m_interfaces.TakeLinks({{3, down}}));
}

TEST_F(LinksOfTheMachine, ADiffHasThemInBothEnds) {
  StartWithLinks();
  Take(3, Eth0(3));
  ASSERT_TRUE(SettleAll());
  apply_test::Heard same;
  m_reloader->Diff(same.Asker(), {});
  TurnUntilDone();
  EXPECT_THAT(same.lines, ElementsAre("no change\n"));
  WriteDevice(R"("wan*")");
  apply_test::Heard other;
  m_reloader->Diff(other.Asker(), {});
  TurnUntilDone();
  EXPECT_THAT(
      other.lines,
      ElementsAre("device\n", "  ~ links wan* are interfaces, was links eth*\n", "VLAN 10\n",
                  "  - interface 3 eth0\n", "  - address 10.1.0.1/16 of interface 3\n",
                  HasSubstr("  ~ route 10.9.0.0/16 via 10.1.2.1 on eth0: waits for its interface"),
                  HasSubstr("1 interface removed, 1 address removed, 1 route changed, 1 setting"),
                  "1 warning; `check` shows it\n",
                  "1 prefix will be without an installed route\n"));
}

// As the folder would have them, not as they are.
TEST_F(LinksOfTheMachine, ACheckTellsTheirVlans) {
  StartWithLinks();
  intent::Link named = Eth0(4, "10.4.0.1/16");
  named.name = "eth1.20";
  intent::Link high = Eth0(5, "10.5.0.1/16");
  high.name = "eth1.40000";
  intent::Link taken = Eth0(7, "10.7.0.1/16");
  taken.name = "eth7";
  m_interfaces.TakeLinks({{3, Eth0(3)}, {4, named}, {5, high}, {7, taken}});
  m_files.Write("device.json", R"({"default_vlan": 10, "kernel": {"interfaces": ["eth*"]},
      "interfaces": [{"name": "eth0", "vlan": 30, "index": 9},
                     {"name": "lo10", "vlan": 10, "index": 7}]})");
  apply_test::Heard check;
  m_reloader->Check(check.Asker(), false);
  TurnUntilDone();
  EXPECT_THAT(check.lines,
              testing::IsSupersetOf(
                  {std::string("link eth0 in VLAN 30 (document)\n"),
                   std::string("link eth1.20 in VLAN 20 (name)\n"),
                   std::string("link eth1.40000 is left out: its VLAN is above 32767\n"),
                   std::string("link eth7 is left out: an interface of the document has its VLAN "
                               "and index\n")}));
  WriteDevice(R"("wan*")");
  apply_test::Heard other;
  m_reloader->Check(other.Asker(), false);
  TurnUntilDone();
  EXPECT_THAT(other.lines, testing::Each(testing::Not(testing::StartsWith("link "))));
}

TEST_F(LinksOfTheMachine, ACheckTellsOfAHundredOfThem) {
  StartWithLinks();
  intent::LinkChanges many;
  for (std::uint32_t i = 0; i < 103; ++i) {
    intent::Link link = Eth0(10 + i);
    link.name = "eth" + std::to_string(i);
    link.ip4.clear();
    many.emplace(10 + i, link);
  }
  m_interfaces.TakeLinks(many);
  apply_test::Heard check;
  m_reloader->Check(check.Asker(), false);
  TurnUntilDone();
  EXPECT_EQ(100, std::count_if(check.lines.begin(), check.lines.end(),
                               [](const auto& line) { return line.rfind("link ", 0) == 0; }));
  EXPECT_THAT(check.lines, testing::Contains("and 3 more links\n"));
}

// A reload, a restart of the stack, a hold: whatever is under way when a link changes, what is asked
// for in the end is what there is.
TEST_F(LinksOfTheMachine, WheneverALinkChangesItsRouteFollows) {
  test_models::Random random;
  StartWithLinks();
  bool hasRoute = true;
  std::optional<std::uint32_t> index;
  std::uint64_t during = 0;
  for (unsigned int run = 0; run < test_models::Scaled(200); ++run) {
    switch (random.Below(4)) {
      case 0:
        hasRoute = !hasRoute;
        WriteVlans(hasRoute ? WITH_ROUTE : R"("a": {"vid": 10})");
        m_reloader->Reload();
        break;
      case 1:
        m_reloader->Reload();
        break;
      case 2:
        Control().Restart();
        break;
      default:
        break;
    }
    for (unsigned int i = random.Below(4); i != 0; --i) {
      for (unsigned int turn = random.Below(30); turn != 0; --turn) {
        Turn();
      }
      during += m_reloader->IsBusy() ? 1 : 0;
      if (index) {
        Take(*index, std::nullopt);
        index.reset();
      } else {
        index = 3 + random.Below(2);
        Take(*index, Eth0(*index));
      }
    }
    ASSERT_TRUE(SettleAll()) << "run " << run;
    ASSERT_EQ(hasRoute && index ? std::vector<std::uint32_t>{*index} : std::vector<std::uint32_t>(),
              Indexes())
        << "run " << run;
  }
  test_models::ExpectAtLeast(during, 10, "changes while something was under way");
}

}  // namespace
