// The order of virtual operations and of fields, which other libraries are built against.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <type_traits>
#include <vector>

#include "tests/support/vtable_slot.h"
#include "vantacore/config_parser.h"
#include "vantacore/dc_ospf_router_base.h"
#include "vantacore/dc_rip_routers.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/dcl_config_object.h"
#include "vantacore/route_config.h"

namespace {

using namespace Tarsel;
using test_support::FIRST_SLOT_AFTER_DESTRUCTOR;
using test_support::VtableSlot;

using Type = DclConfigObject::OptionType;

// The operations of a class in slot order, from the one after the destructor on.
template <class... Members>
void ExpectSlotOrder(int first, Members... members) {
  int expected = first;
  for (int slot : {VtableSlot(members)...}) {
    EXPECT_EQ(slot, expected++);
  }
}

TEST(SlotOrderTest, ConfigParser) {
  static_assert(std::has_virtual_destructor_v<ConfigParser>);
  ExpectSlotOrder(FIRST_SLOT_AFTER_DESTRUCTOR, &ConfigParser::ParseOptions,
                  &ConfigParser::ParseVlanOptions);
}

TEST(SlotOrderTest, DclConfigObject) {
  static_assert(std::has_virtual_destructor_v<DclConfigObject>);
  ExpectSlotOrder(FIRST_SLOT_AFTER_DESTRUCTOR, &DclConfigObject::KeyMatch,
                  &DclConfigObject::DebugDump, &DclConfigObject::Compare, &DclConfigObject::Update,
                  &DclConfigObject::GetRowStatus, &DclConfigObject::SetDestroy,
                  &DclConfigObject::Display, &DclConfigObject::CommitToMib,
                  &DclConfigObject::ParseOption);
}

TEST(SlotOrderTest, DCLConfigList) {
  static_assert(std::has_virtual_destructor_v<DCLConfigList>);
  ExpectSlotOrder(FIRST_SLOT_AFTER_DESTRUCTOR, &DCLConfigList::CheckInMib,
                  &DCLConfigList::ProcessInterfaceStatusChange, &DCLConfigList::ParseOptions,
                  &DCLConfigList::DeleteOptions, &DCLConfigList::CreateObject,
                  &DCLConfigList::CloneObject, &DCLConfigList::CommitToMib,
                  &DCLConfigList::FindNewObjectAndUpdate, &DCLConfigList::ParseObjectFromOption);
}

TEST(SlotOrderTest, DclConfigListIteratorFunc) {
  static_assert(std::has_virtual_destructor_v<DclConfigListIteratorFunc>);
  ExpectSlotOrder(FIRST_SLOT_AFTER_DESTRUCTOR, &DclConfigListIteratorFunc::operator());
}

TEST(SlotOrderTest, ProtocolConfigurations) {
  static_assert(std::has_virtual_destructor_v<DcProtoConfigBase>);
  ExpectSlotOrder(FIRST_SLOT_AFTER_DESTRUCTOR, &DcProtoConfigBase::ParseOptions,
                  &DcProtoConfigBase::DeleteOptions);
  using Base = DcProtoInterfaceBase;
  ExpectSlotOrder(FIRST_SLOT_AFTER_DESTRUCTOR, &Base::ParseOptions, &Base::DeleteOptions,
                  &Base::IsEnabled, &Base::Display, static_cast<bool (Base::*)()>(&Base::IsReady),
                  static_cast<bool (Base::*)(unsigned int)>(&Base::IsReady),
                  &Base::ProcessInterfaceStatusChange, &Base::ProcessIPAddressChange);
}

template <class Router>
void ExpectRouterSlots() {
  static_assert(std::has_virtual_destructor_v<Router>);
  using Status = DcProtoInterfaceBase::ConfigStatus;
  ExpectSlotOrder(FIRST_SLOT_AFTER_DESTRUCTOR,
                  static_cast<void (Router::*)(string, Status)>(&Router::SetStatus),
                  &Router::CreateConfigLists, &Router::CreateConfigList);
}

TEST(SlotOrderTest, Routers) {
  ExpectRouterSlots<DcRouterBase>();
  ExpectRouterSlots<DcOspfRouterBase>();
  ExpectRouterSlots<DcRipv2Router>();
  ExpectRouterSlots<DcRipngRouter>();
}

TEST(SlotOrderTest, DcOspfRouterBaseAddsThirteen) {
  static_assert(std::is_abstract_v<DcOspfRouterBase>);
  using Ospf = DcOspfRouterBase;
  ExpectSlotOrder(VtableSlot(&Ospf::CreateConfigList) + 1, &Ospf::GetInstanceId,
                  &Ospf::ActivateArea, &Ospf::DeactivateArea, &Ospf::IsAreaActive,
                  &Ospf::AddAreaInterface, &Ospf::RemoveAreaInterface, &Ospf::SetRouterId,
                  &Ospf::GetRouterId, &Ospf::SetAdminStatus, &Ospf::GetAdminStatus,
                  &Ospf::SetReferenceBandwidth, &Ospf::SetPassiveInterface, &Ospf::DisplayAreas);
  EXPECT_EQ(VtableSlot(&Ospf::DisplayAreas) - VtableSlot(&Ospf::CreateConfigList), 13);
}

TEST(SlotOrderTest, DcConfigListsHasAVirtualDestructor) {
  static_assert(std::has_virtual_destructor_v<DcConfigLists>);
}

template <class Route>
void ExpectRouteSlots() {
  static_assert(std::has_virtual_destructor_v<Route>);
  ExpectSlotOrder(FIRST_SLOT_AFTER_DESTRUCTOR, &Route::operator=, &Route::operator==,
                  &Route::operator(), &Route::operator<);
}

TEST(SlotOrderTest, RouteConfigs) {
  ExpectRouteSlots<Ip4RouteConfig>();
  ExpectRouteSlots<Ip6RouteConfig>();
}

// ---- fields

// The fields of an object, in the order in which they must lie in memory.
void ExpectAddressOrder(const void* object, const std::vector<const void*>& fields) {
  const auto* last = static_cast<const char*>(object) + sizeof(void*) - 1;  // the virtual table
  for (const void* field : fields) {
    EXPECT_GT(static_cast<const char*>(field), last);
    last = static_cast<const char*>(field);
  }
}

TEST(FieldOrderTest, RouteConfigs) {
  const Ip4RouteConfig v4;
  ExpectAddressOrder(&v4,
                     {&v4.vlan, &v4.interface, &v4.network, &v4.netmask, &v4.gateway, &v4.metric});
  const Ip6RouteConfig v6;
  ExpectAddressOrder(&v6,
                     {&v6.vlan, &v6.interface, &v6.network, &v6.prefix, &v6.gateway, &v6.metric});
}

class Object : public DclConfigObject {
 public:
  using DclConfigObject::DclConfigObject;
  int Compare(DclConfigObject*) override { return 2; }
  void Update(DclConfigObject*) override {}
  unsigned short GetRowStatus() override { return 0; }
  void SetDestroy() override {}
  void Display(DcConsole*, unsigned int) override {}
  bool CommitToMib() override { return false; }
  bool ParseOption(const OptionsNode&, unsigned short) override { return false; }

  std::vector<const void*> Fields() const {
    return {&vlan, &id, &name, &type, &InMib, &ActionReq, &Suspended};
  }
};

class Router : public DcRouterBase {
 public:
  Router() : DcRouterBase("TEST", 1, nullptr) {}
  bool CreateConfigList(DcConfigLists&) override { return true; }
};

TEST(FieldOrderTest, DclConfigObject) {
  Router router;
  const Object object(router);
  ExpectAddressOrder(&object, object.Fields());
  // The reference to the router is the last field.
  const void* last;
  std::memcpy(&last, reinterpret_cast<const char*>(&object) + sizeof(DclConfigObject) - sizeof last,
              sizeof last);
  EXPECT_EQ(last, &router);
}

class List : public DCLConfigList {
 public:
  using DCLConfigList::DCLConfigList;
  void ProcessInterfaceStatusChange(unsigned int, unsigned int) override {}
  DclConfigObject* CreateObject(const OptionsNode&, const string&, Type) override {
    return nullptr;
  }
  DclConfigObject* CloneObject(DclConfigObject*) override { return nullptr; }

  std::vector<const void*> Fields() const { return {&router, &objects, &unclaimed, &label, &key}; }
};

TEST(FieldOrderTest, DCLConfigList) {
  const List list(nullptr, "label", "key");
  ExpectAddressOrder(&list, list.Fields());
}

TEST(FieldOrderTest, DcRouterBase) {
  const Router router;
  ExpectAddressOrder(&router,
                     {&router.GetConfigLists(), &router.GetName(), &router.GetDisplayName()});
}

TEST(FieldOrderTest, DcConfigLists) {
  const DcConfigLists lists("source", DclConfigObject::VLAN_OPTIONS);
  ExpectAddressOrder(&lists, {&lists.GetLists(), &lists.GetName()});
}

TEST(FieldOrderTest, TheRipRoutersAddNoFields) {
  EXPECT_EQ(sizeof(DcRipv2Router), sizeof(DcRouterBase));
  EXPECT_EQ(sizeof(DcRipngRouter), sizeof(DcRouterBase));
}

}  // namespace
