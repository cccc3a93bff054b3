// The route table and the RIB as the software stack walks them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/device_fixture.h"
#include "tests/support/recording_console.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/rtm_commands.h"
#include "vantacore/static_routes.h"

namespace Tarsel {
namespace {

using test_support::NewConsoleLog;
using test_support::RecordingConsole;
using testing::ElementsAre;

typedef std::shared_ptr<test_support::ConsoleLog> Log;

const char HEADER[] =
    "\n VLAN              PREFIX          NEXTHOP      IFACE        AGE      PROTO\n";
const char END[] = "End of table\n";

class RtmWalks : public test_support::DeviceFixture {
 protected:
  RtmWalks() {
    Start();
    Reload("{\"VLAN_CONFIGURATIONS\":{\"a\":{\"vid\":10},\"b\":{\"vid\":20}}}", "vlans.json");
    DcInterfaceMgr& interfaces = *DcInterfaceMgr::GetInstance();
    const Ip4Addr mask(255, 255, 255, 0);
    for (const unsigned short vlan : {10, 20}) {
      const std::string name = "eth" + std::to_string(vlan);
      interfaces.AddInterface(vlan, vlan, name.c_str(), DcInterfaceMgr::INTF_TYPE_NONE, 24, 0, 1);
      interfaces.AddIpAddress(vlan, vlan, Ip4Addr(10, vlan, 2, 3), mask);
      AddRoute(vlan, Ip4Addr(192, 168, vlan, 0), mask, Ip4Addr(10, vlan, 2, 1), vlan, 1, 0x30000,
               1);
      AddRoute(vlan, Ip4Addr(192, 168, 99, 0), mask, Ip4Addr(172, 16, 0, 1), 0, 1, 0x30000, 1);
    }
    EXPECT_TRUE(Settle());
    TakeCalls();
  }

  template <class Command>
  Log Show(unsigned short vlan, unsigned short family = 0) {
    const Log log = NewConsoleLog(vlan);
    auto* const command = new Command(new RecordingConsole(log), family);
    EXPECT_TRUE(command->Parse(0, nullptr));
    return log;
  }

  // A finished command's output with the ages, which depend on the moment, made 0.
  std::string Output(const Log& log) {
    EXPECT_TRUE(log->destroyed);
    EXPECT_EQ(1, log->ends);
    std::string text;
    std::size_t column = 0;
    for (const char c : log->all) {
      column = c == '\n' ? 0 : column + 1;
      const bool isAge = column > 53 && column <= 64 && c >= '0' && c <= '9';
      text += isAge ? '0' : c;
    }
    return text;
  }
};

TEST_F(RtmWalks, RoutesShowWhatIsInstalled) {
  const Log log = Show<RtmRouteCommand>(10);
  EXPECT_EQ("", log->all);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(std::string(HEADER) +
                "   10        10.10.2.0/24          0.0.0.0      eth10          0 connnected\n"
                "   10     192.168.10.0/24        10.10.2.1      eth10          0 static    \n" +
                END,
            Output(log));
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_get_next_rtm_route()"));
}

TEST_F(RtmWalks, TheRibShowsEveryCandidateAndMarksTheInstalledOnes) {
  const Log log = Show<RtmRibCommand>(20);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(std::string(HEADER) +
                ">  20        10.20.2.0/24          0.0.0.0      eth20          0 connnected\n"
                ">  20     192.168.20.0/24        10.20.2.1      eth20          0 static    \n"
                "   20     192.168.99.0/24       172.16.0.1        TBD          0 static    \n" +
                END,
            Output(log));
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_get_next_rtm_rib()"));
}

TEST_F(RtmWalks, AnEmptyFamilyShowsOnlyTheEnd) {
  const Log log = Show<RtmRibCommand>(10, 41);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(END, Output(log));
}

TEST_F(RtmWalks, SurviveAStackThatAnswersAtOnce) {
  const Log later = Show<RtmRibCommand>(10);
  const Log laterRoutes = Show<RtmRouteCommand>(10);
  ASSERT_TRUE(Settle());
  Control().SetSynchronous(true);
  EXPECT_EQ(Output(later), Output(Show<RtmRibCommand>(10)));
  EXPECT_EQ(Output(laterRoutes), Output(Show<RtmRouteCommand>(10)));
}

TEST_F(RtmWalks, RunSideBySide) {
  const Log alone10 = Show<RtmRibCommand>(10);
  ASSERT_TRUE(Settle());
  const Log alone20 = Show<RtmRibCommand>(20);
  ASSERT_TRUE(Settle());
  Control().SetSliceEvents(1);
  const Log first = Show<RtmRibCommand>(10);
  const Log second = Show<RtmRibCommand>(20);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(Output(alone10), Output(first));
  EXPECT_EQ(Output(alone20), Output(second));
}

TEST_F(RtmWalks, EndWithAnErrorWhenTheStackRestarts) {
  const Log log = Show<RtmRibCommand>(10);
  Control().Restart();
  ASSERT_TRUE(Settle());
  EXPECT_TRUE(log->destroyed);
  EXPECT_EQ(1, log->ends);
  EXPECT_EQ("", log->output);
  EXPECT_NE("", log->errors);
}

}  // namespace
}  // namespace Tarsel
