// The order of virtual operations and of fields in the classes that other libraries derive from or
// read. Code that was compiled against these headers elsewhere calls slots by number and reads
// fields by offset, so an operation moved by one line would break it without a word.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <vector>

#include "host/dc_console.h"
#include "host/dc_host_interfaces.h"
#include "tarsel/callback.h"
#include "vantacore/cfg_items.h"
#include "vantacore/cfg_route.h"
#include "vantacore/cfg_sched.h"
#include "vantacore/config_parser.h"
#include "vantacore/dc_console_command.h"
#include "vantacore/dc_interface_console_command.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_ospf_router_base.h"
#include "vantacore/dc_rip_routers.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/dcl_config_object.h"
#include "vantacore/mib_action.h"
#include "vantacore/redistribution_profile.h"
#include "vantacore/route_config.h"
#include "vantacore/rtm_commands.h"

namespace Tarsel {
namespace {

// The number of a virtual operation in its table, as the C++ ABI of Linux stores it in a pointer to
// member: the offset in the table, marked as such by the lowest bit of one of the two words. The
// two forms of the destructor take the slots 0 and 1, so that the first operation after it is 2.
template <typename Member>
int Slot(Member member) {
  struct Representation {
    std::ptrdiff_t pointer;
    std::ptrdiff_t adjustment;
  } raw;
  static_assert(sizeof raw == sizeof member, "not the representation that this expects");
  std::memcpy(&raw, &member, sizeof raw);
#ifdef __arm__
  const bool isVirtual = (raw.adjustment & 1) != 0;
#else
  const bool isVirtual = (raw.pointer & 1) != 0;
  raw.pointer -= 1;
#endif
  return isVirtual ? static_cast<int>(raw.pointer / static_cast<std::ptrdiff_t>(sizeof(void*)))
                   : -1;
}

template <typename Field, typename Class>
std::ptrdiff_t Offset(Field Class::*member) {
  std::ptrdiff_t offset;
  static_assert(sizeof offset == sizeof member, "not the representation that this expects");
  std::memcpy(&offset, &member, sizeof offset);
  return offset;
}

bool Ascend(const std::vector<std::ptrdiff_t>& offsets) {
  return std::adjacent_find(offsets.begin(), offsets.end(), [](std::ptrdiff_t a, std::ptrdiff_t b) {
           return a >= b;
         }) == offsets.end();
}

TEST(Slots, Console) {
  EXPECT_EQ(2, Slot(&DcConsole::Print));
  EXPECT_EQ(3, Slot(&DcConsole::VPrint));
  EXPECT_EQ(4, Slot(&DcConsole::PrintError));
  EXPECT_EQ(5, Slot(&DcConsole::CommandEnd));
  EXPECT_EQ(6, Slot(&DcConsole::GetVlan));
}

TEST(Slots, SocketInterface) {
  EXPECT_EQ(2, Slot(&DcSckInterface::RegisterDescriptor));
  EXPECT_EQ(3, Slot(&DcSckInterface::RemoveDescriptor));
  EXPECT_EQ(4, Slot(&DcSckInterface::ChangeDescriptorMode));
}

TEST(Slots, Visitors) {
  EXPECT_EQ(2, Slot(&DcRouterMgr::DcRouterIteratorFunc::Invoke));
  EXPECT_EQ(2, Slot(&DclConfigListIteratorFunc::operator()));
  EXPECT_EQ(2, Slot(&CallbackBuffer2<unsigned int, void*>::Dispatch));
}

TEST(Slots, ConfigParser) {
  EXPECT_EQ(2, Slot(&ConfigParser::ParseOptions));
  EXPECT_EQ(3, Slot(&ConfigParser::ParseVlanOptions));
}

TEST(Slots, ConfigObject) {
  EXPECT_EQ(2, Slot(&DclConfigObject::KeyMatch));
  EXPECT_EQ(3, Slot(&DclConfigObject::DebugDump));
  EXPECT_EQ(4, Slot(&DclConfigObject::Compare));
  EXPECT_EQ(5, Slot(&DclConfigObject::Update));
  EXPECT_EQ(6, Slot(&DclConfigObject::GetRowStatus));
  EXPECT_EQ(7, Slot(&DclConfigObject::SetDestroy));
  EXPECT_EQ(8, Slot(&DclConfigObject::Display));
  EXPECT_EQ(9, Slot(&DclConfigObject::CommitToMib));
  EXPECT_EQ(10, Slot(&DclConfigObject::ParseOption));
}

TEST(Slots, ConfigList) {
  EXPECT_EQ(2, Slot(&DCLConfigList::CheckInMib));
  EXPECT_EQ(3, Slot(&DCLConfigList::ProcessInterfaceStatusChange));
  EXPECT_EQ(4, Slot(&DCLConfigList::ParseOptions));
  EXPECT_EQ(5, Slot(&DCLConfigList::DeleteOptions));
  EXPECT_EQ(6, Slot(&DCLConfigList::CreateObject));
  EXPECT_EQ(7, Slot(&DCLConfigList::CloneObject));
  EXPECT_EQ(8, Slot(&DCLConfigList::CommitToMib));
  EXPECT_EQ(9, Slot(&DCLConfigList::FindNewObjectAndUpdate));
  EXPECT_EQ(10, Slot(&DCLConfigList::ParseObjectFromOption));
}

TEST(Slots, ProtocolConfiguration) {
  using Interface = DcProtoInterfaceBase;
  EXPECT_EQ(2, Slot(&DcProtoConfigBase::ParseOptions));
  EXPECT_EQ(3, Slot(&DcProtoConfigBase::DeleteOptions));
  EXPECT_EQ(4, Slot(&Interface::IsEnabled));
  EXPECT_EQ(5, Slot(&Interface::Display));
  EXPECT_EQ(6, Slot(static_cast<bool (Interface::*)()>(&Interface::IsReady)));
  EXPECT_EQ(7, Slot(static_cast<bool (Interface::*)(unsigned int)>(&Interface::IsReady)));
  EXPECT_EQ(8, Slot(&Interface::ProcessInterfaceStatusChange));
  EXPECT_EQ(9, Slot(&Interface::ProcessIPAddressChange));
}

template <typename Router>
void ExpectRouterBaseSlots() {
  using Status = DcProtoInterfaceBase::ConfigStatus;
  EXPECT_EQ(2, Slot(static_cast<void (Router::*)(string, Status)>(&Router::SetStatus)));
  EXPECT_EQ(3, Slot(&Router::CreateConfigLists));
  EXPECT_EQ(4, Slot(&Router::CreateConfigList));
}

TEST(Slots, Routers) {
  ExpectRouterBaseSlots<DcRouterBase>();
  ExpectRouterBaseSlots<DcRipv2Router>();
  ExpectRouterBaseSlots<DcRipngRouter>();
  ExpectRouterBaseSlots<DcOspfRouterBase>();
}

TEST(Slots, OspfRouterAddsThirteenOperations) {
  EXPECT_EQ(5, Slot(&DcOspfRouterBase::GetInstanceId));
  EXPECT_EQ(6, Slot(&DcOspfRouterBase::ActivateArea));
  EXPECT_EQ(7, Slot(&DcOspfRouterBase::DeactivateArea));
  EXPECT_EQ(8, Slot(&DcOspfRouterBase::IsAreaActive));
  EXPECT_EQ(9, Slot(&DcOspfRouterBase::AddAreaInterface));
  EXPECT_EQ(10, Slot(&DcOspfRouterBase::RemoveAreaInterface));
  EXPECT_EQ(11, Slot(&DcOspfRouterBase::SetRouterId));
  EXPECT_EQ(12, Slot(&DcOspfRouterBase::GetRouterId));
  EXPECT_EQ(13, Slot(&DcOspfRouterBase::SetAdminStatus));
  EXPECT_EQ(14, Slot(&DcOspfRouterBase::GetAdminStatus));
  EXPECT_EQ(15, Slot(&DcOspfRouterBase::SetReferenceBandwidth));
  EXPECT_EQ(16, Slot(&DcOspfRouterBase::SetPassiveInterface));
  EXPECT_EQ(17, Slot(&DcOspfRouterBase::DisplayAreas));
}

template <typename Route>
void ExpectRouteSlots() {
  EXPECT_EQ(2, Slot(&Route::operator=));
  EXPECT_EQ(3, Slot(&Route::operator==));
  EXPECT_EQ(4, Slot(&Route::operator()));
  EXPECT_EQ(5, Slot(&Route::operator<));
}

TEST(Slots, RouteConfigurations) {
  ExpectRouteSlots<Ip4RouteConfig>();
  ExpectRouteSlots<Ip6RouteConfig>();
}

TEST(Slots, Actions) {
  EXPECT_EQ(2, Slot(&MibAction::IssueReq));
  EXPECT_EQ(2, Slot(&RouteAction::IssueReq));
  EXPECT_EQ(2, Slot(&InterfaceAction::IssueReq));
  EXPECT_EQ(2, Slot(&IPv4AddressAction::IssueReq));
  EXPECT_EQ(2, Slot(&IPv6AddressAction::IssueReq));
  EXPECT_EQ(2, Slot(&RedistAction::IssueReq));
}

TEST(Slots, ConfigurationItems) {
  EXPECT_EQ(2, Slot(&CfgItem::CfgListReady));
  EXPECT_EQ(3, Slot(&CfgItem::CfgItemReady));
  EXPECT_EQ(4, Slot(&CfgItem::PrintItem));
  EXPECT_EQ(5, Slot(&CfgItem::Send));
  EXPECT_EQ(6, Slot(&CfgItem::GetOid));
  EXPECT_EQ(7, Slot(&CfgItem::SetInMib));
  EXPECT_EQ(8, Slot(&CfgItem::Replace));
  EXPECT_EQ(9, Slot(&CfgItem::RemoveOnNotReady));
  EXPECT_EQ(10, Slot(&CfgItem::SetActionState));
  EXPECT_EQ(11, Slot(&CfgItem::SetReasonCode));
  EXPECT_EQ(12, Slot(&CfgItem::IsInFlight));
  EXPECT_EQ(9, Slot(&RouteRedistributeItem::RemoveOnNotReady));
}

TEST(Slots, ConsoleCommands) {
  EXPECT_EQ(2, Slot(&DcConsoleCommand::Parse));
  EXPECT_EQ(3, Slot(&DcConsoleCommand::Display));
  EXPECT_EQ(2, Slot(&DcConsoleCommand::ConsoleCommandOption::Parse));
  EXPECT_EQ(2, Slot(&DcInterfaceConsoleCommand::Parse));
  EXPECT_EQ(3, Slot(&DcInterfaceConsoleCommand::Display));
  EXPECT_EQ(4, Slot(&RtmRTCommand<amb_cipr_rtm_route>::PrintEntry));
  EXPECT_EQ(4, Slot(&RtmRibCommand::PrintEntry));
}

struct ConfigObjectFields : DclConfigObject {
  static std::vector<std::ptrdiff_t> Offsets() {
    using Self = ConfigObjectFields;
    return {Offset(&Self::vlan),     Offset(&Self::id),    Offset(&Self::name),
            Offset(&Self::type),     Offset(&Self::InMib), Offset(&Self::ActionReq),
            Offset(&Self::Suspended)};
  }
};

struct ConfigListFields : DCLConfigList {
  static std::vector<std::ptrdiff_t> Offsets() {
    using Self = ConfigListFields;
    return {Offset(&Self::router), Offset(&Self::objects), Offset(&Self::unclaimed),
            Offset(&Self::label), Offset(&Self::key)};
  }
};

struct ConsoleCommandFields : DcConsoleCommand {
  static std::vector<std::ptrdiff_t> Offsets() {
    using Self = ConsoleCommandFields;
    return {Offset(&Self::m_console), Offset(&Self::m_mark), Offset(&Self::m_vlan),
            Offset(&Self::m_usage), Offset(&Self::m_description)};
  }
};

struct RouteCommandFields : RtmRTCommand<amb_cipr_rtm_route> {
  static std::vector<std::ptrdiff_t> Offsets() {
    using Self = RouteCommandFields;
    return {Offset(&Self::m_dest4), Offset(&Self::m_dest6), Offset(&Self::m_detail),
            Offset(&Self::m_family), Offset(&Self::m_proto)};
  }
};

TEST(Fields, ProtectedOnesOfBaseClasses) {
  EXPECT_TRUE(Ascend(ConfigObjectFields::Offsets()));
  EXPECT_TRUE(Ascend(ConfigListFields::Offsets()));
  EXPECT_TRUE(Ascend(ConsoleCommandFields::Offsets()));
  EXPECT_TRUE(Ascend(RouteCommandFields::Offsets()));
}

TEST(Fields, RoutersAddNone) {
  EXPECT_EQ(sizeof(DcRouterBase), sizeof(DcRipv2Router));
  EXPECT_EQ(sizeof(DcRouterBase), sizeof(DcRipngRouter));
  EXPECT_EQ(sizeof(void*), sizeof(MibAction));
}

TEST(Fields, CfgKey) {
  EXPECT_EQ(0, Offset(&CfgKey::instance));
  EXPECT_EQ(4, Offset(&CfgKey::rowType));
  EXPECT_EQ(8U, sizeof(CfgKey));
}

TEST(Fields, CfgRouteEntry) {
  EXPECT_EQ(0, Offset(&CfgRouteEntry::type));
  EXPECT_EQ(4, Offset(&CfgRouteEntry::destination));
  EXPECT_EQ(20, Offset(&CfgRouteEntry::gateway));
  EXPECT_EQ(36, Offset(&CfgRouteEntry::prefixLen));
  EXPECT_EQ(40, Offset(&CfgRouteEntry::ifIndex));
  EXPECT_EQ(44, Offset(&CfgRouteEntry::metric));
  EXPECT_EQ(46, Offset(&CfgRouteEntry::other));
  EXPECT_EQ(48, Offset(&CfgRouteEntry::pathType));
  EXPECT_EQ(52, Offset(&CfgRouteEntry::rowStatus));
  EXPECT_EQ(56, Offset(&CfgRouteEntry::adminStatus));
  EXPECT_EQ(60U, sizeof(CfgRouteEntry));
}

TEST(Fields, RtmData) {
  using Data = DcRtmMgr::RTMData;
  EXPECT_EQ(0, Offset(&Data::ready));
  EXPECT_EQ(4, Offset(&Data::dead_rpm_timer));
  EXPECT_EQ(8, Offset(&Data::ospfv2_internal));
  EXPECT_EQ(12, Offset(&Data::ospfv3_internal));
  EXPECT_EQ(16, Offset(&Data::ospfv2_external));
  EXPECT_EQ(20, Offset(&Data::ospfv3_external));
  EXPECT_EQ(24, Offset(&Data::ripv2));
  EXPECT_EQ(28, Offset(&Data::ripng));
  EXPECT_EQ(32, Offset(&Data::ebgp));
  EXPECT_EQ(36, Offset(&Data::ibgp));
  EXPECT_EQ(40U, sizeof(Data));
}

TEST(Fields, RouterManagerRecords) {
  EXPECT_TRUE(Ascend({Offset(&DcRouterMgr::VlanRouters::configFiles),
                      Offset(&DcRouterMgr::VlanRouters::routers)}));
  EXPECT_TRUE(
      Ascend({Offset(&DcRouterCmdHandler::handler), Offset(&DcRouterCmdHandler::description)}));
}

TEST(Fields, Interfaces) {
  EXPECT_TRUE(Ascend({Offset(&IpInterface::Key::vlan), Offset(&IpInterface::Key::ifIndex)}));
  EXPECT_TRUE(Ascend({Offset(&IpInterface::key), Offset(&IpInterface::ifIndex),
                      Offset(&IpInterface::name), Offset(&IpInterface::type),
                      Offset(&IpInterface::status), Offset(&IpInterface::address),
                      Offset(&IpInterface::mask), Offset(&IpInterface::prefixes)}));
}

TEST(Fields, RouteConfigurations) {
  EXPECT_TRUE(Ascend({Offset(&Ip4RouteConfig::vlan), Offset(&Ip4RouteConfig::interface),
                      Offset(&Ip4RouteConfig::network), Offset(&Ip4RouteConfig::netmask),
                      Offset(&Ip4RouteConfig::gateway), Offset(&Ip4RouteConfig::metric)}));
  EXPECT_TRUE(Ascend({Offset(&Ip6RouteConfig::vlan), Offset(&Ip6RouteConfig::interface),
                      Offset(&Ip6RouteConfig::network), Offset(&Ip6RouteConfig::prefix),
                      Offset(&Ip6RouteConfig::gateway), Offset(&Ip6RouteConfig::metric)}));
}

TEST(Fields, RedistributionProfile) {
  EXPECT_EQ(0, Offset(&RedistributionProfile::static_));
  EXPECT_EQ(1, Offset(&RedistributionProfile::connected));
  EXPECT_EQ(2, Offset(&RedistributionProfile::rip));
  EXPECT_EQ(3, Offset(&RedistributionProfile::ospf));
  EXPECT_EQ(4, Offset(&RedistributionProfile::bgp));
  EXPECT_EQ(5U, sizeof(RedistributionProfile));
}

// Values outside of the enumerators are legal, so every enumeration has a fixed underlying type.
template <typename Enum>
constexpr bool IsIntEnum() {
  return std::is_same<std::underlying_type_t<Enum>, int>::value;
}

TEST(Values, Enumerations) {
  EXPECT_TRUE(IsIntEnum<DclConfigObject::OptionType>());
  EXPECT_TRUE(IsIntEnum<DcProtoInterfaceBase::ConfigStatus>());
  EXPECT_TRUE(IsIntEnum<DcProtoInterfaceBase::IfStatus>());
  EXPECT_TRUE(IsIntEnum<DcRouterMgr::ProtocolType>());
  EXPECT_TRUE(IsIntEnum<CfgItem::ACTION_ITEM_STATE>());
  EXPECT_EQ(0, DclConfigObject::VLAN_OPTIONS);
  EXPECT_EQ(1, DclConfigObject::REMOTE_OPTIONS);
  EXPECT_EQ(0, DcRouterMgr::PROTOCOL_BGP);
  EXPECT_EQ(1, DcRouterMgr::PROTOCOL_OSPFV2);
  EXPECT_EQ(2, DcRouterMgr::PROTOCOL_OSPFV3);
  EXPECT_EQ(3, DcRouterMgr::PROTOCOL_RIPV2);
  EXPECT_EQ(4, DcRouterMgr::PROTOCOL_RIPNG);
  EXPECT_EQ(5, DcRouterMgr::PROTOCOL_IGMP);
  EXPECT_EQ(6, DcRouterMgr::PROTOCOL_MLD);
}

TEST(Values, Constants) {
  EXPECT_EQ(0x8000, DcRtmMgr::IP6_INSTANCE_BIT);
  EXPECT_TRUE((std::is_same<const unsigned short, decltype(DcRtmMgr::IP6_INSTANCE_BIT)>::value));
  EXPECT_STREQ("DcRtmMgr", DcRtmMgr::__class__);
  EXPECT_STREQ("UNKN", DclUnknownStr);
}

}  // namespace
}  // namespace Tarsel
