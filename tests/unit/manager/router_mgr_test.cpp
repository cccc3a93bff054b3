// The manager itself: the singleton, VLANs, routers and the registries of console words.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "routers/bgp_router.h"
#include "routers/multicast_router.h"
#include "routers/ospf_routers.h"
#include "tests/support/failing_new.h"
#include "tests/support/recording_console.h"
#include "tests/unit/manager/recording_routers.h"
#include "vantacore/dc_console_command.h"
#include "vantacore/dc_rip_routers.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/static_routes.h"

namespace Tarsel {
namespace {

using recording_routers::AllRouters;
using recording_routers::Document;
using recording_routers::Entry;
using recording_routers::GetBehaviour;
using recording_routers::ManagerFixture;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

typedef DcRouterMgr::ProtocolType ProtocolType;
typedef std::vector<std::string> Lines;

constexpr DclConfigObject::OptionType VLAN_DOCUMENT = DclConfigObject::VLAN_OPTIONS;

class RouterMgr : public ManagerFixture {};

// Notes whom it visits.
class Visitor : public DcRouterMgr::DcRouterIteratorFunc {
 public:
  void Invoke(DcRouterBase* router) override {
    visited.push_back(router->GetDisplayName().c_str());
  }

  Lines visited;
};

// --- the singleton ---

TEST_F(RouterMgr, IsCreatedOnFirstUse) {
  ASSERT_NE(nullptr, DcRouterMgr::GetInstance());
  EXPECT_THAT(traces.Take(),
              ElementsAre("10:Creating new Instance of Manager\n", "10:Creating DC Scheduler\n",
                          "10:Creating DcRouterMgr\n"));
}

TEST_F(RouterMgr, SecondUseReturnsTheSameObjectSilently) {
  DcRouterMgr* const first = DcRouterMgr::GetInstance();
  traces.Take();
  EXPECT_EQ(first, DcRouterMgr::GetInstance());
  EXPECT_THAT(traces.Take(), IsEmpty());
}

TEST_F(RouterMgr, CreationCallsNothingOfTheStack) {
  DcRouterMgr::GetInstance();
  EXPECT_THAT(TakeCalls(), IsEmpty());
}

TEST_F(RouterMgr, FailedCreationIsReportedAndTriedAgain) {
  {
    test_support::FailingNew failing(1);
    EXPECT_EQ(nullptr, DcRouterMgr::GetInstance());
  }
  EXPECT_THAT(traces.Take(), ElementsAre("10:Creating new Instance of Manager\n",
                                         "0:Error in allocating DcRouterMgr\n"));
  EXPECT_EQ(nullptr, g_cfgsched);
  EXPECT_NE(nullptr, DcRouterMgr::GetInstance());
}

TEST_F(RouterMgr, PublishesItsConfigurationScheduler) {
  EXPECT_EQ(nullptr, g_cfgsched);
  EXPECT_EQ(&DcRouterMgr::GetInstance()->GetCfgSched(), g_cfgsched);
}

TEST_F(RouterMgr, HasNoVlansAtFirst) {
  EXPECT_THAT(Manager().GetVlans(), IsEmpty());
  EXPECT_EQ(0, Manager().GetVlanId());
}

TEST_F(RouterMgr, SetVlanIdIsReadBackAndLeavesTheConsoles) {
  Manager().SetVlanId(4094);
  EXPECT_EQ(4094, Manager().GetVlanId());
  EXPECT_EQ(0, DcConsoleCommand::m_default_vlan);
}

// --- initialisation ---

TEST_F(RouterMgr, InitializeSetsTheDefaultVlanAndStartsTheStack) {
  Manager();
  traces.Take();
  Manager().Initialize(7, &ipInterface);

  const Lines lines = traces.Take();
  ASSERT_LE(3U, lines.size());
  EXPECT_EQ("10:Initializing Manager\n", lines[0]);
  EXPECT_EQ("10:in DcRouterMgr::Initialize vlan = 7 \n", lines[1]);
  EXPECT_EQ("10:Starting Metaswitch\n", lines[2]);
  EXPECT_EQ(&ipInterface, DcRouterBase::GetIpInterface());
  EXPECT_EQ(7, DcConsoleCommand::m_default_vlan);
  EXPECT_EQ(7, Manager().GetVlanId());
  EXPECT_EQ(1U, Control().CountOf(routing_stack::Call::kSmsiInit));
}

TEST_F(RouterMgr, EverythingIsInPlaceWhenTheStackIsStarted) {
  Manager();
  int starts = 0;
  Control().SetCallObserver([this, &starts](routing_stack::Call call, const std::string&) {
    if (call != routing_stack::Call::kSmsiInit) {
      return;
    }
    ++starts;
    EXPECT_EQ(&ipInterface, DcRouterBase::GetIpInterface());
    EXPECT_EQ(7, DcConsoleCommand::m_default_vlan);
    EXPECT_EQ(7, Manager().GetVlanId());
  });
  Manager().Initialize(7, &ipInterface);
  EXPECT_EQ(1, starts);
}

// --- registries of console words ---

std::vector<std::string> Names(const DcRouterMgr::CmdHandlers& handlers) {
  std::vector<std::string> names;
  for (const auto& entry : handlers) {
    names.push_back(entry.first.c_str());
  }
  return names;
}

struct ExpectedHandler {
  const char* name;
  DcRouterCmdHandler::Handler handler;
  const char* description;
};

void ExpectHandler(const DcRouterMgr::CmdHandlers& handlers, const ExpectedHandler& expected) {
  const auto found = handlers.find(expected.name);
  ASSERT_NE(handlers.end(), found) << expected.name;
  EXPECT_EQ(expected.handler, found->second.handler) << expected.name;
  EXPECT_STREQ(expected.description, found->second.description.c_str());
}

TEST_F(RouterMgr, RegistersFiveWordsOfIp) {
  const auto& handlers = Manager().GetIp4ConCmdHandlers();
  EXPECT_THAT(Names(handlers), ElementsAre("bgp", "igmp", "ospf", "protocol", "rip"));
  ExpectHandler(handlers, {"bgp", DcBgpRouter::Ip4ConsoleCommand, "BGP4 Routing Configuration"});
  ExpectHandler(handlers, {"ospf", DcOspfv2Router::ConsoleCommand, "OSPFv2 Routing Configuration"});
  ExpectHandler(handlers, {"rip", DcRipv2Router::ConsoleCommand, "RIPv2 Routing Configuration"});
  ExpectHandler(handlers,
                {"protocol", DcRouterMgr::ConCmdIp4Rtm, "Routing Protocol Configuration"});
  ExpectHandler(handlers,
                {"igmp", DcMulticastRouter::Ip4ConsoleCommand, "IGMP Routing Configuration"});
}

TEST_F(RouterMgr, RegistersFourWordsOfIp6AndNoMulticastOne) {
  const auto& handlers = Manager().GetIp6ConCmdHandlers();
  EXPECT_THAT(Names(handlers), ElementsAre("bgp", "ospf", "protocol", "rip"));
  ExpectHandler(handlers, {"bgp", DcBgpRouter::Ip6ConsoleCommand, "BGP4 Routing Configuration"});
  ExpectHandler(handlers, {"rip", DcRipngRouter::ConsoleCommand, "RIPng Routing Configuration"});
  ExpectHandler(handlers, {"ospf", DcOspfv3Router::ConsoleCommand, "OPSFv3 Routing Configuration"});
  ExpectHandler(handlers,
                {"protocol", DcRouterMgr::ConCmdIp6Rtm, "Routing Protocol Configuration"});
}

void NoCommand(void*, DcConsole*, int, char**) {}

TEST_F(RouterMgr, FirstRegistrationOfAWordStays) {
  Manager();
  traces.Take();
  Manager().AddIp4RouterCmdHandler("bgp", NoCommand, "other");
  Manager().AddIp6RouterCmdHandler("bgp", NoCommand, "other");
  EXPECT_THAT(traces.Take(), IsEmpty());
  ExpectHandler(Manager().GetIp4ConCmdHandlers(),
                {"bgp", DcBgpRouter::Ip4ConsoleCommand, "BGP4 Routing Configuration"});
  ExpectHandler(Manager().GetIp6ConCmdHandlers(),
                {"bgp", DcBgpRouter::Ip6ConsoleCommand, "BGP4 Routing Configuration"});
}

TEST_F(RouterMgr, RegistersNewWordsInOneTreeWithACopyOfTheTexts) {
  char name[] = "isis";
  char description[] = "words";
  Manager().AddIp4RouterCmdHandler(name, NoCommand, description);
  name[0] = description[0] = '!';
  ExpectHandler(Manager().GetIp4ConCmdHandlers(), {"isis", NoCommand, "words"});
  EXPECT_EQ(0U, Manager().GetIp6ConCmdHandlers().count("isis"));

  Manager().AddIp6RouterCmdHandler("isis", DcRouterMgr::ConCmdIp6Rtm, "six");
  ExpectHandler(Manager().GetIp6ConCmdHandlers(), {"isis", DcRouterMgr::ConCmdIp6Rtm, "six"});
}

TEST_F(RouterMgr, RipngWordDoesNothingAndLeavesTheConsole) {
  auto log = test_support::NewConsoleLog();
  test_support::RecordingConsole console(log);
  char word[] = "rip";
  char* argv[] = {word};
  DcRipngRouter::ConsoleCommand(nullptr, &console, 1, argv);
  EXPECT_EQ("", log->all);
  EXPECT_EQ(0, log->ends);
  EXPECT_FALSE(log->destroyed);
}

TEST_F(RouterMgr, IgmpWordGoesToTheMulticastRouterAsIpv4) {
  auto log = test_support::NewConsoleLog();
  test_support::RecordingConsole console(log);
  char context[] = "context";
  char word[] = "igmp";
  char* argv[] = {word, word};
  Manager().GetIp4ConCmdHandlers().find("igmp")->second.handler(context, &console, 2, argv);
  EXPECT_EQ("multicast 2 igmp context ipv4\n", log->output);
}

// --- creating VLANs ---

TEST_F(RouterMgr, CreatesTheRtmInstancesAndThenSevenRouters) {
  Start();
  traces.Take();
  TakeCalls();
  const auto vlan = Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT);

  EXPECT_THAT(
      traces.Take(),
      ElementsAre("10:Creating VLAN 12\n",
                  "10:DcRtmMgr::UpdateRtmConfig: Creating IPv4 Unicast RTM for vlan 12\n",
                  "10:Creating RTM Instance 12\n", "10:Creating IPv6 Unicast RTM for vlan 12\n",
                  "10:Creating RTM Instance 32780\n"));
  EXPECT_EQ(2U, TakeCalls().size());
  ASSERT_NE(Manager().GetVlans().end(), vlan);
  EXPECT_EQ(12, vlan->first);
  EXPECT_THAT(vlan->second->configFiles, IsEmpty());

  Lines routers;
  int type = 0;
  for (const auto& [protocol, router] : vlan->second->routers) {
    EXPECT_EQ(type++, protocol);
    EXPECT_EQ(router, Manager().GetDcRouterByVID(12, protocol));
    routers.push_back(router->GetDisplayName().c_str());
  }
  EXPECT_THAT(routers, ElementsAreArray(AllRouters(12)));
}

TEST_F(RouterMgr, NoRouterIsCreatedBeforeBothRtmInstances) {
  Start();
  TakeCalls();
  std::size_t rowsBefore = 0;
  GetBehaviour().onCreate = [this, &rowsBefore] { rowsBefore = Calls().size(); };
  Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT);
  GetBehaviour().onCreate = nullptr;
  EXPECT_EQ(2U, rowsBefore);
}

TEST_F(RouterMgr, AVlanIsNotInTheTableWhileItsRoutersAreCreated) {
  Start();
  std::vector<std::size_t> vlans;
  GetBehaviour().onCreate = [this, &vlans] { vlans.push_back(Manager().GetVlans().size()); };
  Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT);
  GetBehaviour().onCreate = nullptr;
  EXPECT_THAT(vlans, ElementsAre(0U));
}

TEST_F(RouterMgr, MldRouterIsTheMulticastRouterOfIpv6) {
  Start();
  Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT);
  EXPECT_STREQ("MLD:12",
               Manager().GetDcRouterByVID(12, DcRouterMgr::PROTOCOL_MLD)->GetDisplayName().c_str());
  EXPECT_STREQ(
      "IGMP:12",
      Manager().GetDcRouterByVID(12, DcRouterMgr::PROTOCOL_IGMP)->GetDisplayName().c_str());
}

TEST_F(RouterMgr, CreatesRoutersOfAnotherDocumentTypeWithoutRtmInstances) {
  Start();
  TakeCalls();
  EXPECT_NE(Manager().GetVlans().end(),
            Manager().CreateVlan(12, NoOptions(), DclConfigObject::REMOTE_OPTIONS));
  EXPECT_THAT(TakeCalls(), IsEmpty());
}

TEST_F(RouterMgr, ExistingVlanKeepsItsRoutersWhenItIsCreatedAgain) {
  Start();
  const auto vlan = Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT);
  DcRouterMgr::VlanRouters* const record = vlan->second;
  const auto routers = record->routers;
  traces.Take();
  TakeCalls();

  const auto again = Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT);
  EXPECT_EQ(vlan, again);
  EXPECT_EQ(record, again->second);
  EXPECT_EQ(routers, record->routers);
  EXPECT_THAT(TakeRouterEvents(), ElementsAreArray(AllRouters(12, " destroyed")));
  EXPECT_TRUE(DcRtmMgr::GetInstance()->HasRtmRecord(12));
  EXPECT_THAT(TakeCalls(), IsEmpty());  // the settings are the same
}

TEST_F(RouterMgr, WithoutAnRtmManagerNoVlanIsCreated) {
  Start();
  traces.Take();
  {
    test_support::FailingNew failing(1);
    EXPECT_EQ(Manager().GetVlans().end(), Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT));
  }
  EXPECT_THAT(traces.Take(),
              ElementsAre("10:Creating VLAN 12\n",
                          "0:DcRtmMgr::GetInstance: Error in allocating DcRtmMgr\n"));
  EXPECT_EQ(nullptr, Manager().GetDcRouterByVID(12, DcRouterMgr::PROTOCOL_BGP));
}

// A router that cannot be allocated, the message about it, and the allocation that fails: those of
// the RIP routers' configurations come in between.
struct MissingRouter {
  unsigned int allocation;
  unsigned int type;
  const char* message;
};

const MissingRouter MISSING_ROUTERS[] = {
    {1, 0, "0:Memory allocation failed for BGP4+ router\n"},
    {2, 1, "0:Memory allocation failed for OSPFv2 router\n"},
    {3, 2, "0:Memory allocation failed for OSPFv3 router\n"},
    {4, 3, "0:Memory allocation failed for RIPv2 router\n"},
    {6, 4, "0:Memory allocation failed for RIPng router\n"},
    {8, 5, "0:Memory allocation failed for IGMP router\n"},
    {9, 6, "0:Memory allocation failed for MLD router\n"},
};

class RouterMgrWithoutMemory : public ManagerFixture,
                               public testing::WithParamInterface<MissingRouter> {};

TEST_P(RouterMgrWithoutMemory, UndoesTheWholeVlan) {
  const MissingRouter& missing = GetParam();
  Start();
  DcRtmMgr::GetInstance();
  traces.Take();
  TakeCalls();
  {
    test_support::FailingNew failing(missing.allocation);
    EXPECT_EQ(Manager().GetVlans().end(), Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT));
    EXPECT_TRUE(failing.HasFailed());
  }
  Lines expected = {"10:Creating VLAN 12\n",
                    "10:DcRtmMgr::UpdateRtmConfig: Creating IPv4 Unicast RTM for vlan 12\n",
                    "10:Creating RTM Instance 12\n",
                    "10:Creating IPv6 Unicast RTM for vlan 12\n",
                    "10:Creating RTM Instance 32780\n",
                    missing.message};
  const Lines routers = AllRouters(12);
  for (std::size_t type = 0; type < routers.size(); ++type) {
    if (type != missing.type) {
      expected.push_back("10:~" + routers[type] + " destroyed\n");
    }
  }
  expected.push_back("10:Deleting RTM Instance 12\n");
  expected.push_back("10:Deleting RTM Instance 32780\n");
  EXPECT_THAT(traces.Take(), ElementsAreArray(expected));
  EXPECT_EQ(4U, TakeCalls().size());  // both instances created and destroyed
  EXPECT_THAT(Manager().GetVlans(), IsEmpty());
  EXPECT_FALSE(DcRtmMgr::GetInstance()->HasRtmRecord(12));

  EXPECT_NE(Manager().GetVlans().end(), Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT));
}

INSTANTIATE_TEST_SUITE_P(EachRouter, RouterMgrWithoutMemory, testing::ValuesIn(MISSING_ROUTERS));

TEST_F(RouterMgr, OfSeveralMissingRoutersOnlyTheFirstIsReported) {
  Start();
  DcRtmMgr::GetInstance();
  traces.Take();
  {
    test_support::FailingNew failing(3, test_support::FailingNew::FROM_THEN_ON);
    EXPECT_EQ(Manager().GetVlans().end(), Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT));
    EXPECT_LT(1U, failing.Places().size());
  }
  Lines errors;
  for (const std::string& line : traces.Take()) {
    if (line.find("0:") == 0) {
      errors.push_back(line);
    }
  }
  EXPECT_THAT(errors, ElementsAre("0:Memory allocation failed for OSPFv3 router\n"));
}

TEST_F(RouterMgr, InstancesOfAVlanIdWithTheIpv6BitCoincide) {
  Start();
  TakeCalls();
  Manager().CreateVlan(0x800A, NoOptions(), VLAN_DOCUMENT);
  EXPECT_EQ(1U, TakeCalls().size());  // the IPv6 row finds the IPv4 one with the same settings
  EXPECT_TRUE(DcRtmMgr::GetInstance()->HasRtmRecord(0x800A));
  EXPECT_FALSE(DcRtmMgr::GetInstance()->HasRtmRecord(0x000A));
  EXPECT_NE(nullptr, Manager().GetDcRouterByVID(0x800A, DcRouterMgr::PROTOCOL_BGP));
}

// --- deleting VLANs ---

TEST_F(RouterMgr, DeletesTheRtmInstancesAndThenTheRouters) {
  Start();
  Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT);
  traces.Take();
  Manager().DeleteVlan(12);

  Lines expected = {"10:Deleting VLAN 12\n", "10:Deleting RTM Instance 12\n",
                    "10:Deleting RTM Instance 32780\n"};
  for (const std::string& router : AllRouters(12)) {
    expected.push_back("10:~" + router + " destroyed\n");
  }
  expected.push_back("10:Deleting the Routers Map\n");
  expected.push_back("10:Deleted VLAN 12\n");
  EXPECT_THAT(traces.Take(), ElementsAreArray(expected));
  EXPECT_THAT(Manager().GetVlans(), IsEmpty());
}

TEST_F(RouterMgr, DeletingAnUnknownVlanChangesNothing) {
  Start();
  Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT);
  traces.Take();
  TakeCalls();
  Manager().DeleteVlan(13);
  EXPECT_THAT(traces.Take(), ElementsAre("10:Deleting VLAN 13\n",
                                         "1:Trying to delete VLAN 13 which does not exist\n"));
  EXPECT_THAT(TakeCalls(), IsEmpty());
  EXPECT_EQ(1U, Manager().GetVlans().size());
}

TEST_F(RouterMgr, LargeVlanIdsAreLoggedAsTheyAre) {
  Start(65535);
  EXPECT_EQ(1U, traces.CountOf("10:in DcRouterMgr::Initialize vlan = 65535 \n"));
  Manager().CreateVlan(65535, NoOptions(), VLAN_DOCUMENT);
  EXPECT_EQ(1U, traces.CountOf("10:Creating VLAN 65535\n"));
  Manager().DeleteVlan(65535);
  EXPECT_EQ(1U, traces.CountOf("10:Deleting VLAN 65535\n"));
  EXPECT_EQ(1U, traces.CountOf("10:Deleted VLAN 65535\n"));
  Manager().DeleteVlan(65535);
  EXPECT_EQ(1U, traces.CountOf("1:Trying to delete VLAN 65535 which does not exist\n"));
}

TEST_F(RouterMgr, RouterIsNoLongerFoundWhileItIsDestroyed) {
  Start();
  Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT);
  Lines found;
  GetBehaviour().onDestroy = [this, &found](const std::string& name) {
    Manager().ProcessInterfaceStatusChange(12, 3, 1);  // reaches those that are still there
    if (name == "RIPV2:12") {
      for (int type = 0; type < DcRouterMgr::PROTOCOL_COUNT; ++type) {
        const auto protocol = static_cast<ProtocolType>(type);
        if (Manager().GetDcRouterByVID(12, protocol) != nullptr) {
          found.push_back(DcRouterMgr::RouterName(protocol));
        }
      }
    }
  };
  traces.Take();
  Manager().DeleteVlan(12);
  GetBehaviour().onDestroy = nullptr;
  EXPECT_THAT(found, ElementsAre("RIPng", "IGMP", "MLD"));
  EXPECT_EQ(0U, traces.CountOf("10:~BGP:12 interface 3 status 1\n"));
  EXPECT_EQ(6U, traces.CountOf("10:~MLD:12 interface 3 status 1\n"));
}

TEST_F(RouterMgr, EveryVisitPassesOverARouterThatIsBeingDestroyed) {
  Visitor visitor;
  Start();
  Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT);
  auto log = test_support::NewConsoleLog();
  GetBehaviour().enabled = {"BGP:12"};
  GetBehaviour().onDestroy = [this, &visitor, &log](const std::string& name) {
    if (name == "BGP:12") {
      Manager().ForEachDcRouter(&visitor, DcRouterMgr::PROTOCOL_BGP);
      Manager().ProcessIPAddressChange(12, 3, Ip4Addr(10, 1, 2, 3));
      Manager().ConCmdIp4RtmSummary(new test_support::RecordingConsole(log));
      Reload(Document({Entry(12)}), "other.json", static_cast<DclConfigObject::OptionType>(2));
    }
  };
  traces.Take();
  Manager().DeleteVlan(12);
  GetBehaviour().onDestroy = nullptr;
  EXPECT_THAT(visitor.visited, IsEmpty());
  EXPECT_EQ(0U, traces.CountOf("10:~BGP:12 parse other.json 2\n"));
  EXPECT_EQ(1U, traces.CountOf("10:~OSPF:12 parse other.json 2\n"));
  EXPECT_EQ(0U, traces.CountOf("10:~BGP:12 interface 3 address 10.1.2.3\n"));
  EXPECT_EQ(1U, traces.CountOf("10:~OSPF:12 interface 3 address 10.1.2.3\n"));
  EXPECT_THAT(log->all, testing::EndsWith("    12     No     No     No     No\n"));
}

// A protocol has one router in practice; the record can hold more, of which the first is looked up
// and deleted and all are visited.
TEST_F(RouterMgr, OfSeveralRoutersOfATypeTheFirstCountsAndGoes) {
  Start();
  auto& routers = Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT)->second->routers;
  DcRouterBase* const first = routers.find(DcRouterMgr::PROTOCOL_RIPNG)->second;
  const std::unique_ptr<DcRouterBase> second(new DcRipngRouter(99));
  routers.emplace(DcRouterMgr::PROTOCOL_RIPNG, second.get());
  EXPECT_EQ(first, Manager().GetDcRouterByVID(12, DcRouterMgr::PROTOCOL_RIPNG));
  Visitor visitor;
  Manager().ForEachDcRouter(&visitor, DcRouterMgr::PROTOCOL_RIPNG);
  EXPECT_THAT(visitor.visited, ElementsAre("RIPNG:12", "RIPNG:99"));
  for (const bool lastIsEnabled : {false, true}) {  // the summary shows the one visited last
    GetBehaviour().enabled = {lastIsEnabled ? "RIPNG:99" : "RIPNG:12"};
    auto log = test_support::NewConsoleLog();
    Manager().ConCmdIp6RtmSummary(new test_support::RecordingConsole(log));
    EXPECT_THAT(log->all,
                testing::EndsWith(lastIsEnabled ? "    12     No     No    Yes     No\n"
                                                : "    12     No     No     No     No\n"));
  }
  traces.Take();
  Manager().DeleteVlan(12);
  EXPECT_THAT(TakeRouterEvents(), ElementsAreArray(AllRouters(12, " destroyed")));
  EXPECT_THAT(Manager().GetVlans(), IsEmpty());
}

// Whoever feeds routes has to withdraw them before the VLAN goes; what is left waits for its
// return.
TEST_F(RouterMgr, PendingRoutesOutliveTheirVlan) {
  Start();
  ASSERT_TRUE(Settle());
  Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT);
  AddRoute(12, Ip4Addr(10, 9, 0, 0), Ip4Addr(255, 255, 0, 0), Ip4Addr(10, 1, 2, 1), 3, 1, 0x30000,
           1);
  Manager().DeleteVlan(12);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(0U, Control().CountOf(routing_stack::Call::kSmsUpdateRoute));

  Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(1U, Control().CountOf(routing_stack::Call::kSmsUpdateRoute));
}

// --- finding routers ---

TEST_F(RouterMgr, LookUpByVlanIsSilentWhenThereIsNone) {
  Start();
  Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT);
  traces.Take();
  EXPECT_EQ(nullptr, Manager().GetDcRouterByVID(13, DcRouterMgr::PROTOCOL_BGP));
  EXPECT_EQ(nullptr, Manager().GetDcRouterByVID(12, static_cast<ProtocolType>(7)));
  EXPECT_EQ(nullptr, Manager().GetDcRouterByVID(12, static_cast<ProtocolType>(-1)));
  EXPECT_THAT(traces.Take(), IsEmpty());
}

TEST_F(RouterMgr, LookUpByInstanceIgnoresTheIpv6BitAndTheHighHalf) {
  Start();
  for (const unsigned short vid : {12, 0x7FFF}) {
    Manager().CreateVlan(vid, NoOptions(), VLAN_DOCUMENT);
    DcRouterBase* const router = Manager().GetDcRouterByVID(vid, DcRouterMgr::PROTOCOL_OSPFV3);
    ASSERT_NE(nullptr, router);
    for (const unsigned int others : {0U, 0x8000U, 0x10000U, 0xABCD8000U}) {
      EXPECT_EQ(router,
                Manager().GetDcRouterByInstanceID(others | vid, DcRouterMgr::PROTOCOL_OSPFV3));
    }
  }
  EXPECT_EQ(nullptr, Manager().GetDcRouterByInstanceID(13, DcRouterMgr::PROTOCOL_OSPFV3));
}

TEST_F(RouterMgr, LookUpByInstanceReportsTypesAboveTheLast) {
  Start();
  Manager().CreateVlan(12, NoOptions(), VLAN_DOCUMENT);
  traces.Take();
  EXPECT_NE(nullptr, Manager().GetDcRouterByInstanceID(12, static_cast<ProtocolType>(6)));
  EXPECT_THAT(traces.Take(), IsEmpty());
  EXPECT_EQ(nullptr, Manager().GetDcRouterByInstanceID(12, static_cast<ProtocolType>(7)));
  EXPECT_THAT(traces.Take(), ElementsAre("10:Invalid protocol type\n"));
  EXPECT_EQ(nullptr, Manager().GetDcRouterByInstanceID(12, static_cast<ProtocolType>(-1)));
  EXPECT_THAT(traces.Take(), IsEmpty());
}

TEST_F(RouterMgr, VisitsTheRoutersOfOneTypeInVlanOrder) {
  Start();
  for (const unsigned short vid : {30, 10, 20}) {
    Manager().CreateVlan(vid, NoOptions(), VLAN_DOCUMENT);
  }
  Visitor visitor;
  Manager().ForEachDcRouter(&visitor, DcRouterMgr::PROTOCOL_RIPNG);
  EXPECT_THAT(visitor.visited, ElementsAre("RIPNG:10", "RIPNG:20", "RIPNG:30"));
}

TEST_F(RouterMgr, VisitsNothingWithoutVisitorOrForAnUnknownType) {
  Start();
  Manager().CreateVlan(10, NoOptions(), VLAN_DOCUMENT);
  traces.Take();
  Manager().ForEachDcRouter(nullptr, DcRouterMgr::PROTOCOL_BGP);
  Visitor visitor;
  Manager().ForEachDcRouter(&visitor, static_cast<ProtocolType>(7));
  Manager().ForEachDcRouter(&visitor, static_cast<ProtocolType>(-1));
  EXPECT_THAT(visitor.visited, IsEmpty());
  EXPECT_THAT(traces.Take(), IsEmpty());
}

// --- small things ---

TEST_F(RouterMgr, NamesTheProtocols) {
  const char* const names[] = {"BGP4+", "OSPFv2", "OSPFv3", "RIPv2", "RIPng", "IGMP", "MLD"};
  for (int type = 0; type < 7; ++type) {
    EXPECT_STREQ(names[type], DcRouterMgr::RouterName(static_cast<ProtocolType>(type)));
  }
  EXPECT_STREQ("", DcRouterMgr::RouterName(static_cast<ProtocolType>(7)));
  EXPECT_STREQ("", DcRouterMgr::RouterName(static_cast<ProtocolType>(-1)));
}

TEST_F(RouterMgr, CountsTheOneBitsOfAMask) {
  EXPECT_EQ(24U, DcRouterMgr::bitcount(Ip4Addr(255, 255, 255, 0)));
  EXPECT_EQ(0U, DcRouterMgr::bitcount(Ip4Addr(0, 0, 0, 0)));
  EXPECT_EQ(32U, DcRouterMgr::bitcount(Ip4Addr(255, 255, 255, 255)));
  EXPECT_EQ(2U, DcRouterMgr::bitcount(Ip4Addr(128, 0, 0, 1)));  // contiguous or not
}

}  // namespace
}  // namespace Tarsel
