// Interfaces that come, go, and change their status.

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <utility>

#include "tests/unit/interfaces/interface_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class InterfaceEvents : public InterfaceFixture {
 protected:
  std::uint32_t Status(unsigned short vlan, unsigned int ifIndex) {
    const Tarsel::IpInterface* record = registry.FindInterface(vlan, ifIndex);
    return record == nullptr ? 0 : record->status;
  }

  std::string IndexOf(const char* name) {
    unsigned int ifIndex = 0;
    return registry.GetIfIndex(name, ifIndex) ? std::to_string(ifIndex) : "unknown";
  }
};

TEST_F(InterfaceEvents, ThereIsOneRegistry) {
  EXPECT_EQ(Tarsel::DcInterfaceMgr::GetInstance(), &registry);
}

TEST_F(InterfaceEvents, DefaultInterfaceIsStoredOnly) {
  EXPECT_EQ(registry.GetDefaultInterface(), 0U);
  registry.Initialize(4294967295U);
  EXPECT_EQ(registry.GetDefaultInterface(), 4294967295U);
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(InterfaceEvents, NewInterfaceIsSentToBothInstances) {
  registry.AddInterface(10, 3, "eth0", TYPE, 24, 1400, 1);
  EXPECT_EQ(TakeCalls(), (Lines{
                             R"(sms_act_interface(4, 1, 10, 3, "eth0", 0, 24, 1400))",
                             R"(sms_act_interface(4, 1, 32778, 3, "eth0", 0, 24, 1400))",
                         }));
}

TEST_F(InterfaceEvents, Ipv6InstanceNeverSeesAnInterfaceAsUnnumbered) {
  registry.AddInterface(10, 3, "eth0", TYPE, 0xFFFFFFFF, 0, 2);
  EXPECT_EQ(TakeCalls(), (Lines{
                             R"(sms_act_interface(4, 2, 10, 3, "eth0", 0, 4294967295, 0))",
                             R"(sms_act_interface(4, 2, 32778, 3, "eth0", 0, 4294967263, 0))",
                         }));
}

TEST_F(InterfaceEvents, UpDownAndRemovalSendNoAttributes) {
  registry.AddInterface(10, 3, "eth0", TYPE, 24, 1400, 1);
  Forget();
  registry.SetInterfaceDown(10, 3, "eth0");
  EXPECT_EQ(TakeCalls(), (Lines{
                             R"(sms_act_interface(1, 2, 10, 3, "eth0", 0, 0, 0))",
                             R"(sms_act_interface(1, 2, 32778, 3, "eth0", 0, 0, 0))",
                         }));
  Forget();
  registry.SetInterfaceUp(10, 3, "eth0");
  EXPECT_EQ(TakeCalls(), (Lines{
                             R"(sms_act_interface(1, 1, 10, 3, "eth0", 0, 0, 0))",
                             R"(sms_act_interface(1, 1, 32778, 3, "eth0", 0, 0, 0))",
                         }));
  Forget();
  registry.RemoveInterface(10, 3, "other");
  EXPECT_EQ(TakeCalls(), (Lines{
                             R"(sms_act_interface(6, 2, 10, 3, "other", 0, 0, 0))",
                             R"(sms_act_interface(6, 2, 32778, 3, "other", 0, 0, 0))",
                         }));
}

TEST_F(InterfaceEvents, StatusRowCarriesEveryArgument) {
  registry.SetInterfaceStatus(10, 3, "eth0", 5, 7, 8, 9, 11);
  EXPECT_EQ(TakeCalls(), (Lines{
                             R"(sms_act_interface(5, 7, 10, 3, "eth0", 8, 9, 11))",
                             R"(sms_act_interface(5, 7, 32778, 3, "eth0", 8, 9, 11))",
                         }));
  EXPECT_EQ(registry.FindInterface(10, 3), nullptr);
}

TEST_F(InterfaceEvents, RowsAreQueuedForUnknownInterfacesToo) {
  registry.SetInterfaceUp(10, 3, "eth0");
  registry.SetInterfaceDown(11, 3, "eth0");
  registry.RemoveInterface(12, 3, "eth0");
  EXPECT_EQ(TakeCalls().size(), 6U);
  EXPECT_EQ(registry.FindInterface(10, 3), nullptr);
  EXPECT_EQ(registry.FindInterface(11, 3), nullptr);
}

TEST_F(InterfaceEvents, SecondRequestForARowWaitsForTheFirst) {
  registry.AddInterface(10, 3, "eth0", TYPE, 0, 0, 1);
  TakeCalls();
  registry.SetInterfaceDown(10, 3, "eth0");
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(Status(10, 3), 2U);
  loop.AdvanceMilliseconds(200);
  EXPECT_EQ(TakeCalls(), (Lines{
                             R"(sms_bld_amb_test_i3_ei(1, 2, 10, 3, "eth0", 0, 0, 0))",
                             R"(sms_bld_amb_test_i3_ei(1, 2, 32778, 3, "eth0", 0, 0, 0))",
                         }));
}

TEST_F(InterfaceEvents, RecordHoldsWhatWasGiven) {
  registry.AddInterface(10, 3, "eth0", TYPE, 24, 1400, 2);
  const Tarsel::IpInterface* record = registry.FindInterface(10, 3);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->key.vlan, 10);
  EXPECT_EQ(record->key.ifIndex, 3U);
  EXPECT_EQ(record->ifIndex, 3U);
  EXPECT_STREQ(record->name.c_str(), "eth0");
  EXPECT_EQ(record->type, TYPE);
  EXPECT_EQ(record->status, 2U);
  EXPECT_EQ(StoredAddress(10, 3), "0.0.0.0/0.0.0.0");
  EXPECT_THAT(Prefixes(10, 3), IsEmpty());
  EXPECT_EQ(registry.FindInterface(10, 4), nullptr);
  EXPECT_EQ(registry.FindInterface(11, 3), nullptr);
}

TEST_F(InterfaceEvents, StatusFollowsUpAndDown) {
  Register(10, 3, "eth0");
  EXPECT_EQ(Status(10, 3), 1U);
  registry.SetInterfaceDown(10, 3, "eth0");
  EXPECT_EQ(Status(10, 3), 2U);
  registry.SetInterfaceUp(10, 3, "eth0");
  EXPECT_EQ(Status(10, 3), 1U);
}

TEST_F(InterfaceEvents, AddingAgainKeepsNameTypeAndAddressesAndSetsTheStatus) {
  registry.AddInterface(1, 3, "eth0", TYPE, 24, 1400, 1);
  registry.AddIpAddress(1, 3, Tarsel::Ip4Addr(10, 1, 2, 3), Tarsel::Ip4Addr(255, 255, 255, 0));
  registry.AddIpAddress(1, 3, Address6("2001:db8::1"), 64);
  Forget();
  registry.AddInterface(1, 3, "eth9", static_cast<Tarsel::DcInterfaceMgr::IntfType>(7), 16, 0, 2);
  EXPECT_EQ(TakeCalls(), (Lines{
                             R"(sms_act_interface(4, 2, 1, 3, "eth9", 0, 16, 0))",
                             R"(sms_act_interface(4, 2, 32769, 3, "eth9", 0, 16, 0))",
                         }));
  EXPECT_STREQ(registry.GetIfName(1, 3), "eth0");
  EXPECT_EQ(registry.GetIfType("eth0"), TYPE);
  EXPECT_EQ(StoredAddress(1, 3), "10.1.2.3/255.255.255.0");
  EXPECT_THAT(Prefixes(1, 3), ElementsAre("2001:db8::/64"));
  EXPECT_EQ(Status(1, 3), 2U);
  EXPECT_EQ(IndexOf("eth0"), "3");
  EXPECT_EQ(IndexOf("eth9"), "unknown");
}

TEST_F(InterfaceEvents, AddingAgainDoesNotTakeTheNameBack) {
  Register(10, 3, "eth0");
  Register(20, 4, "eth0");
  EXPECT_EQ(IndexOf("eth0"), "4");
  Register(10, 3, "eth0");
  EXPECT_EQ(IndexOf("eth0"), "4");
}

TEST_F(InterfaceEvents, RemovalForgetsTheRecordAndItsStoredName) {
  Register(10, 3, "eth0");
  registry.RemoveInterface(10, 3, "another");
  EXPECT_EQ(registry.FindInterface(10, 3), nullptr);
  EXPECT_EQ(IndexOf("eth0"), "unknown");
  EXPECT_STREQ(registry.GetIfName(10, 3), "lo");
}

TEST_F(InterfaceEvents, NameGivenToARemovalServesTheRowOnly) {
  Register(10, 3, "eth0");
  Register(10, 4, "eth1");
  registry.RemoveInterface(10, 3, "eth1");
  EXPECT_EQ(IndexOf("eth0"), "unknown");
  EXPECT_EQ(IndexOf("eth1"), "4");
}

TEST_F(InterfaceEvents, NameIndexIsSharedByAllVlansAndHoldsTheLastNewRecord) {
  Register(10, 3, "eth0");
  Register(20, 4, "eth0");
  EXPECT_EQ(IndexOf("eth0"), "4");
  EXPECT_STREQ(registry.GetIfName(10, 3), "eth0");
  EXPECT_STREQ(registry.GetIfName(20, 4), "eth0");
}

TEST_F(InterfaceEvents, RemovingEitherOfTwoNamesakesRemovesTheName) {
  Register(10, 3, "eth0");
  Register(20, 4, "eth0");
  registry.RemoveInterface(10, 3, "eth0");
  EXPECT_EQ(IndexOf("eth0"), "unknown");
  EXPECT_NE(registry.FindInterface(20, 4), nullptr);

  Register(30, 5, "eth5");
  Register(40, 6, "eth5");
  registry.RemoveInterface(40, 6, "eth5");
  EXPECT_EQ(IndexOf("eth5"), "unknown");
  EXPECT_NE(registry.FindInterface(30, 5), nullptr);
}

TEST_F(InterfaceEvents, InterfaceThatComesBackIsNew) {
  Register(10, 3, "eth0");
  registry.AddIpAddress(10, 3, Tarsel::Ip4Addr(10, 1, 2, 3), Tarsel::Ip4Addr(255, 0, 0, 0));
  registry.RemoveInterface(10, 3, "eth0");
  Register(10, 3, "wan");
  EXPECT_STREQ(registry.GetIfName(10, 3), "wan");
  EXPECT_EQ(StoredAddress(10, 3), "0.0.0.0/0.0.0.0");
}

TEST_F(InterfaceEvents, MissingNameIsEmpty) {
  registry.AddInterface(10, 3, nullptr, TYPE, 0, 0, 1);
  EXPECT_EQ(TakeCalls()[0], R"(sms_act_interface(4, 1, 10, 3, "", 0, 0, 0))");
  EXPECT_STREQ(registry.GetIfName(10, 3), "");
}

// The stack may ask for the interface from inside of a request: it finds what was there before.
TEST_F(InterfaceEvents, RecordFollowsWhenTheRowsAreQueued) {
  Lines seen;
  Control().SetCallObserver([&](routing_stack::Call call, const std::string&) {
    if (call == routing_stack::Call::kSmsActInterface) {
      seen.push_back(IndexOf("eth0") + " " + std::to_string(Status(10, 3)));
    }
  });
  Register(10, 3, "eth0");
  registry.SetInterfaceDown(10, 3, "eth0");
  Forget();
  registry.SetInterfaceUp(10, 3, "eth0");
  Forget();
  registry.RemoveInterface(10, 3, "eth0");
  EXPECT_THAT(seen,
              ElementsAre("unknown 0", "unknown 0", "3 1", "3 1", "3 2", "3 2", "3 1", "3 1"));
  EXPECT_EQ(IndexOf("eth0"), "unknown");
}

// The stack may call another component from inside of a request, and that one may be quicker: what
// it leaves behind is what the event goes on with.
class NestedInterfaceEvents : public InterfaceEvents {
 protected:
  void InsideOfTheFirstRow(std::function<void()> nested) {
    InsideOfTheFirst(routing_stack::Call::kSmsActInterface, std::move(nested));
  }
};

TEST_F(NestedInterfaceEvents, InterfaceThatIsThereByThenKeepsItsName) {
  InsideOfTheFirstRow([this] { registry.AddInterface(10, 3, "first", TYPE, 0, 0, 1); });
  registry.AddInterface(10, 3, "second", TYPE, 0, 0, 2);
  EXPECT_STREQ(registry.GetIfName(10, 3), "first");
  EXPECT_EQ(IndexOf("first"), "3");
  EXPECT_EQ(IndexOf("second"), "unknown");
  EXPECT_EQ(Status(10, 3), 2U);
}

TEST_F(NestedInterfaceEvents, InterfaceThatIsThereByThenIsRemoved) {
  InsideOfTheFirstRow([this] { registry.AddInterface(10, 3, "eth0", TYPE, 0, 0, 1); });
  registry.RemoveInterface(10, 3, "eth0");
  EXPECT_EQ(registry.FindInterface(10, 3), nullptr);
  EXPECT_EQ(IndexOf("eth0"), "unknown");
}

TEST_F(NestedInterfaceEvents, InterfaceMayBeGoneByThen) {
  Register(10, 3, "eth0");
  Forget();
  InsideOfTheFirstRow([this] { registry.RemoveInterface(10, 3, "eth0"); });
  registry.RemoveInterface(10, 3, "eth0");
  EXPECT_EQ(registry.FindInterface(10, 3), nullptr);
}

TEST_F(NestedInterfaceEvents, StatusIsThatOfTheOuterEvent) {
  Register(10, 3, "eth0");
  Forget();
  InsideOfTheFirstRow([this] { registry.SetInterfaceUp(10, 3, "eth0"); });
  registry.SetInterfaceDown(10, 3, "eth0");
  EXPECT_EQ(Status(10, 3), 2U);
}

TEST_F(NestedInterfaceEvents, StatusIsSetOnAnInterfaceThatIsThereByThen) {
  InsideOfTheFirstRow([this] { registry.AddInterface(10, 3, "eth0", TYPE, 0, 0, 2); });
  registry.SetInterfaceUp(10, 3, "eth0");
  EXPECT_EQ(Status(10, 3), 1U);

  InsideOfTheFirstRow([this] { registry.AddInterface(10, 4, "eth1", TYPE, 0, 0, 1); });
  registry.SetInterfaceDown(10, 4, "eth1");
  EXPECT_EQ(Status(10, 4), 2U);
}

TEST_F(NestedInterfaceEvents, StatusOfAnInterfaceThatIsGoneByThenIsNobodys) {
  Register(10, 3, "eth0");
  InsideOfTheFirstRow([this] { registry.RemoveInterface(10, 3, "eth0"); });
  registry.SetInterfaceUp(10, 3, "eth0");
  EXPECT_EQ(registry.FindInterface(10, 3), nullptr);

  Register(10, 4, "eth1");
  InsideOfTheFirstRow([this] { registry.RemoveInterface(10, 4, "eth1"); });
  registry.SetInterfaceDown(10, 4, "eth1");
  EXPECT_EQ(registry.FindInterface(10, 4), nullptr);
}

// The stack has not announced its readiness yet.
class EarlyInterfaceEvents : public InterfaceEvents {
 protected:
  void SetUp() override { Start(); }
};

TEST_F(EarlyInterfaceEvents, RowsWaitUntilTheStackIsReady) {
  TakeCalls();
  registry.AddInterface(10, 3, "eth0", TYPE, 24, 0, 1);
  registry.AddIpAddress(10, 3, Tarsel::Ip4Addr(10, 1, 2, 3), Tarsel::Ip4Addr(255, 255, 255, 0));
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_STREQ(registry.GetIfName(10, 3), "eth0");
  cI3Ready();
  EXPECT_EQ(TakeCalls(), (Lines{
                             R"(sms_bld_amb_test_i3_ei(4, 1, 10, 3, "eth0", 0, 24, 0))",
                             R"(sms_bld_amb_test_i3_ei(4, 1, 32778, 3, "eth0", 0, 24, 0))",
                             "sms_act_ipaddr(1, 10, 1, 3, 10.1.2.3, 24)",
                         }));
}

}  // namespace
