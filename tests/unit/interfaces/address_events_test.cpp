// Addresses that come, go and change.

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <utility>

#include "tests/unit/interfaces/interface_fixture.h"
#include "vantacore/dc_router_base.h"

namespace {

using Tarsel::DcRouterMgr;
using Tarsel::Ip4Addr;
using Tarsel::Ip6Addr;
using testing::ElementsAre;
using testing::IsEmpty;

const Ip4Addr ADDRESS(10, 1, 2, 3);
const Ip4Addr MASK(255, 255, 255, 0);
const Ip4Addr OTHER(10, 1, 9, 9);
const Ip4Addr OTHER_MASK(255, 255, 0, 0);

class AddressEvents : public InterfaceFixture {};

// --- IPv4 ---

TEST_F(AddressEvents, AddingQueuesARowAndStores) {
  Register(10, 3, "eth0");
  registry.AddIpAddress(10, 3, ADDRESS, MASK);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(1, 10, 1, 3, 10.1.2.3, 24)"));
  EXPECT_EQ(StoredAddress(10, 3), "10.1.2.3/255.255.255.0");
}

TEST_F(AddressEvents, LaterAddressTakesTheEarliersPlace) {
  Register(10, 3, "eth0");
  registry.AddIpAddress(10, 3, ADDRESS, MASK);
  registry.AddIpAddress(10, 3, OTHER, OTHER_MASK);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(1, 10, 1, 3, 10.1.2.3, 24)",
                                       "sms_act_ipaddr(1, 10, 1, 3, 10.1.9.9, 16)"));
  EXPECT_EQ(StoredAddress(10, 3), "10.1.9.9/255.255.0.0");
}

// The mask is no part of the row's identity: the second request waits for the first.
TEST_F(AddressEvents, SameAddressWithAnotherMaskIsTheSameRow) {
  registry.UpdateIpAddress(10, 3, ADDRESS, MASK, 1);
  registry.UpdateIpAddress(10, 3, ADDRESS, OTHER_MASK, 1);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(1, 10, 1, 3, 10.1.2.3, 24)"));
  loop.AdvanceMilliseconds(200);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(1, 10, 1, 3, 10.1.2.3, 16)"));
}

// The record's own fields may be given: both are read before either is written.
TEST_F(AddressEvents, StoredAddressAndMaskMayBeGivenTheOtherWayRound) {
  Register(10, 3, "eth0");
  registry.AddIpAddress(10, 3, ADDRESS, MASK);
  Forget();
  const Tarsel::IpInterface* record = registry.FindInterface(10, 3);
  registry.AddIpAddress(10, 3, record->mask, record->address);
  EXPECT_EQ(StoredAddress(10, 3), "255.255.255.0/10.1.2.3");
}

TEST_F(AddressEvents, DeletingClearsWhateverIsStored) {
  Register(10, 3, "eth0");
  registry.AddIpAddress(10, 3, ADDRESS, MASK);
  Forget();
  registry.DeleteIpAddress(10, 3, OTHER, OTHER_MASK);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(6, 10, 1, 3, 10.1.9.9, 16)"));
  EXPECT_EQ(StoredAddress(10, 3), "0.0.0.0/0.0.0.0");
}

TEST_F(AddressEvents, RowsAreQueuedForUnknownInterfacesToo) {
  registry.AddIpAddress(10, 3, ADDRESS, MASK);
  registry.DeleteIpAddress(10, 4, ADDRESS, MASK);
  registry.AddIpAddress(10, 5, Address6("2001:db8::1"), 64);
  registry.DeleteIpAddress(10, 6, Address6("2001:db8::1"), 64);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(1, 10, 1, 3, 10.1.2.3, 24)",
                                       "sms_act_ipaddr(6, 10, 1, 4, 10.1.2.3, 24)",
                                       "sms_act_ipaddr(1, 32778, 2, 5, 2001:db8::1, 64)",
                                       "sms_act_ipaddr(6, 32778, 2, 6, 2001:db8::1, 64)"));
  EXPECT_EQ(StoredAddress(10, 3), "none");
}

TEST_F(AddressEvents, RequestKeepsItsRowStatus) {
  registry.UpdateIpAddress(10, 3, ADDRESS, MASK, 4);
  registry.UpdateIpAddress(10, 3, Address6("2001:db8::1"), 64, 5);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(4, 10, 1, 3, 10.1.2.3, 24)",
                                       "sms_act_ipaddr(5, 32778, 2, 3, 2001:db8::1, 64)"));
}

// The stack may ask for the address from inside of a request: it finds what was there before.
TEST_F(AddressEvents, RecordFollowsWhenTheRowIsQueued) {
  Register(10, 3, "eth0");
  Lines seen;
  Control().SetCallObserver([&](routing_stack::Call call, const std::string&) {
    if (call == routing_stack::Call::kSmsActIpaddr) {
      seen.push_back(StoredAddress(10, 3) + " " + std::to_string(Prefixes(10, 3).size()));
    }
  });
  registry.AddIpAddress(10, 3, ADDRESS, MASK);
  registry.AddIpAddress(10, 3, Address6("2001:db8::1"), 128);
  Forget();
  registry.DeleteIpAddress(10, 3, ADDRESS, MASK);
  registry.DeleteIpAddress(10, 3, Address6("2001:db8::1"), 128);
  EXPECT_THAT(seen, ElementsAre("0.0.0.0/0.0.0.0 0", "10.1.2.3/255.255.255.0 0",
                                "10.1.2.3/255.255.255.0 1", "0.0.0.0/0.0.0.0 1"));
  EXPECT_THAT(Prefixes(10, 3), IsEmpty());
}

// The stack may call another component from inside of a request, and that one may bring the
// interface or take it away: what it leaves behind is what the event goes on with.
class NestedAddressEvents : public InterfaceFixture {
 protected:
  void InsideOfTheFirstRow(std::function<void()> nested) {
    InsideOfTheFirst(routing_stack::Call::kSmsActIpaddr, std::move(nested));
  }
  void RegisterInsideOfTheFirstRow() {
    InsideOfTheFirstRow([this] { registry.AddInterface(10, 3, "eth0", TYPE, 0, 0, 1); });
  }
};

TEST_F(NestedAddressEvents, AddressesAreStoredInAnInterfaceThatIsThereByThen) {
  RegisterInsideOfTheFirstRow();
  registry.AddIpAddress(10, 3, ADDRESS, MASK);
  EXPECT_EQ(StoredAddress(10, 3), "10.1.2.3/255.255.255.0");

  registry.RemoveInterface(10, 3, "eth0");
  RegisterInsideOfTheFirstRow();
  registry.AddIpAddress(10, 3, Address6("2001:db8::1"), 64);
  EXPECT_THAT(Prefixes(10, 3), ElementsAre("2001:db8::/64"));
}

TEST_F(NestedAddressEvents, AddressesAreForgottenByAnInterfaceThatIsThereByThen) {
  InsideOfTheFirstRow([this] {
    registry.AddInterface(10, 3, "eth0", TYPE, 0, 0, 1);
    registry.AddIpAddress(10, 3, OTHER, OTHER_MASK);
  });
  registry.DeleteIpAddress(10, 3, ADDRESS, MASK);
  EXPECT_EQ(StoredAddress(10, 3), "0.0.0.0/0.0.0.0");

  InsideOfTheFirstRow([this] {
    registry.AddInterface(10, 4, "eth1", TYPE, 0, 0, 1);
    registry.AddIpAddress(10, 4, Address6("2001:db8::1"), 128);
  });
  registry.DeleteIpAddress(10, 4, Address6("2001:db8::1"), 128);
  EXPECT_THAT(Prefixes(10, 4), IsEmpty());
}

TEST_F(NestedAddressEvents, StoredAddressIsTakenAsItWasGivenThoughItChangesMeanwhile) {
  Register(10, 3, "eth0");
  registry.AddIpAddress(10, 3, ADDRESS, MASK);
  Forget();
  InsideOfTheFirstRow([this] { registry.AddIpAddress(10, 3, OTHER, OTHER_MASK); });
  const Tarsel::IpInterface* record = registry.FindInterface(10, 3);
  registry.AddIpAddress(10, 3, record->address, record->mask);
  EXPECT_EQ(StoredAddress(10, 3), "10.1.2.3/255.255.255.0");
}

TEST_F(NestedAddressEvents, StoredPrefixIsTakenAsItWasGivenThoughItGoesMeanwhile) {
  const auto make = [this](unsigned int ifIndex, const char* address) {
    registry.AddInterface(10, ifIndex, "eth0", TYPE, 0, 0, 1);
    registry.AddIpAddress(10, ifIndex, Address6(address), 128);
  };
  const auto makeAnewInsideOfTheFirstRow = [this, &make](unsigned int ifIndex) {
    make(ifIndex, "2001:db8::1");
    Forget();
    InsideOfTheFirstRow([this, &make, ifIndex] {
      registry.RemoveInterface(10, ifIndex, "eth0");
      make(ifIndex, "2001:db8::2");
    });
    return registry.FindInterface(10, ifIndex);
  };
  const Tarsel::IpInterface* record = makeAnewInsideOfTheFirstRow(3);
  registry.AddIpAddress(10, 3, record->prefixes.begin()->GetAddress(), 128);
  EXPECT_THAT(Prefixes(10, 3), ElementsAre("2001:db8::1/128", "2001:db8::2/128"));

  record = makeAnewInsideOfTheFirstRow(4);
  registry.DeleteIpAddress(10, 4, record->prefixes.begin()->GetAddress(), 128);
  EXPECT_THAT(Prefixes(10, 4), ElementsAre("2001:db8::2/128"));
}

TEST_F(NestedAddressEvents, InterfaceMayBeGoneByThen) {
  const std::function<void()> events[] = {
      [this] { registry.AddIpAddress(10, 3, ADDRESS, MASK); },
      [this] { registry.DeleteIpAddress(10, 3, ADDRESS, MASK); },
      [this] { registry.AddIpAddress(10, 3, Address6("2001:db8::1"), 64); },
      [this] { registry.DeleteIpAddress(10, 3, Address6("2001:db8::1"), 64); }};
  for (const std::function<void()>& event : events) {
    Register(10, 3, "eth0");
    InsideOfTheFirstRow([this] { registry.RemoveInterface(10, 3, "eth0"); });
    event();
    EXPECT_EQ(registry.FindInterface(10, 3), nullptr);
    Forget();
  }
}

// --- changing an IPv4 address ---

using Tell = std::function<void(const std::string&)>;

// Hands on what a router's protocol is told.
class AddressRecorder : public Tarsel::DcProtoInterfaceBase {
 public:
  AddressRecorder(std::string name, Tell tell) : m_name(std::move(name)), m_tell(std::move(tell)) {}

  void ParseOptions(const Tarsel::OptionsNode&, const Tarsel::string&,
                    Tarsel::DclConfigObject::OptionType) override {}
  void DeleteOptions(const Tarsel::string&, Tarsel::DclConfigObject::OptionType) override {}
  bool IsEnabled() override { return true; }
  void Display(Tarsel::DcConsole*) override {}
  bool IsReady() override { return true; }
  bool IsReady(unsigned int) override { return true; }
  void ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int status) override {
    m_tell(m_name + " status " + std::to_string(ifIndex) + " " + std::to_string(status));
  }
  void ProcessIPAddressChange(unsigned int ifIndex, const Ip4Addr& address) override {
    m_tell(m_name + " address " + std::to_string(ifIndex) + " " + address.ToString().c_str());
  }

 private:
  const std::string m_name;
  const Tell m_tell;
};

class RecordingRouter : public Tarsel::DcRouterBase {
 public:
  RecordingRouter(const std::string& member, unsigned short vid, const Tell& tell)
      : DcRouterBase(member.c_str(), vid, new AddressRecorder(member, tell)) {}
  bool CreateConfigList(Tarsel::DcConfigLists&) override { return true; }
};

class AddressChange : public InterfaceFixture {
 protected:
  void SetUp() override {
    InterfaceFixture::SetUp();
    Manager().CreateVlan(10, Tarsel::OptionsNode(), Tarsel::DclConfigObject::VLAN_OPTIONS);
    for (int type = DcRouterMgr::PROTOCOL_COUNT - 1; type >= 0; --type) {
      Manager().GetVlans().at(10)->routers.emplace(
          static_cast<DcRouterMgr::ProtocolType>(type),
          new RecordingRouter(std::to_string(type), 10, [this](const std::string& what) {
            told.push_back(what);
            storedWhenTold = StoredAddress(10, 3);
          }));
    }
    Forget();
  }

  Lines told;
  std::string storedWhenTold;
};

TEST_F(AddressChange, OldAddressIsWithdrawnBeforeTheNewOneIsAdded) {
  Register(10, 3, "eth0");
  registry.AddIpAddress(10, 3, ADDRESS, MASK);
  Forget();
  registry.ChangeIpAddress(10, 3, OTHER, OTHER_MASK);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(6, 10, 1, 3, 10.1.2.3, 24)",
                                       "sms_act_ipaddr(1, 10, 1, 3, 10.1.9.9, 16)"));
  EXPECT_EQ(StoredAddress(10, 3), "10.1.9.9/255.255.0.0");
}

TEST_F(AddressChange, EveryRouterOfTheVlanIsToldInOrder) {
  Register(10, 3, "eth0");
  registry.ChangeIpAddress(10, 3, OTHER, OTHER_MASK);
  EXPECT_EQ(told, (Lines{"0 address 3 10.1.9.9", "1 address 3 10.1.9.9", "2 address 3 10.1.9.9",
                         "3 address 3 10.1.9.9", "4 address 3 10.1.9.9", "5 address 3 10.1.9.9",
                         "6 address 3 10.1.9.9"}));
}

TEST_F(AddressChange, NewAddressIsStoredAfterTheRowsAndBeforeTheRoutersAreTold) {
  Register(10, 3, "eth0");
  registry.AddIpAddress(10, 3, ADDRESS, MASK);
  Forget();
  Lines storedWhenQueued;
  Control().SetCallObserver([&](routing_stack::Call call, const std::string&) {
    if (call == routing_stack::Call::kSmsActIpaddr) {
      storedWhenQueued.push_back(StoredAddress(10, 3));
    }
  });
  registry.ChangeIpAddress(10, 3, OTHER, OTHER_MASK);
  EXPECT_EQ(storedWhenQueued, Lines(2, "10.1.2.3/255.255.255.0"));
  EXPECT_EQ(storedWhenTold, "10.1.9.9/255.255.0.0");
}

TEST_F(AddressChange, NoOtherEventTellsTheRouters) {
  registry.AddInterface(10, 3, "eth0", TYPE, 0, 0, 1);
  registry.SetInterfaceDown(10, 3, "eth0");
  registry.SetInterfaceUp(10, 3, "eth0");
  registry.AddIpAddress(10, 3, ADDRESS, MASK);
  registry.DeleteIpAddress(10, 3, ADDRESS, MASK);
  registry.AddIpAddress(10, 3, Address6("2001:db8::1"), 64);
  registry.DeleteIpAddress(10, 3, Address6("2001:db8::1"), 64);
  registry.RemoveInterface(10, 3, "eth0");
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(AddressChange, UnknownInterfaceQueuesNothingAndTellsNobody) {
  registry.ChangeIpAddress(10, 3, OTHER, OTHER_MASK);
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(told, IsEmpty());
  EXPECT_EQ(StoredAddress(10, 3), "none");
}

TEST_F(AddressChange, AddressThatWasNeverSetIsWithdrawnAsZero) {
  Register(10, 3, "eth0");
  registry.ChangeIpAddress(10, 3, OTHER, OTHER_MASK);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(6, 10, 1, 3, 0.0.0.0, 0)",
                                       "sms_act_ipaddr(1, 10, 1, 3, 10.1.9.9, 16)"));
}

// The record's own fields may be given: they are read before they are written.
TEST_F(AddressChange, StoredAddressMayBeGivenAsTheNewOne) {
  Register(10, 3, "eth0");
  registry.AddIpAddress(10, 3, ADDRESS, MASK);
  Forget();
  const Tarsel::IpInterface* record = registry.FindInterface(10, 3);
  registry.ChangeIpAddress(10, 3, record->address, record->mask);
  EXPECT_EQ(StoredAddress(10, 3), "10.1.2.3/255.255.255.0");
  EXPECT_EQ(told.size(), 7U);
}

TEST_F(AddressChange, StoredAddressIsTakenAsItWasGivenThoughItChangesMeanwhile) {
  Register(10, 3, "eth0");
  registry.AddIpAddress(10, 3, ADDRESS, MASK);
  Forget();
  Lines rows;
  Control().SetCallObserver([&](routing_stack::Call call, const std::string& line) {
    if (call != routing_stack::Call::kSmsActIpaddr) {
      return;
    }
    rows.push_back(line);
    if (rows.size() == 1) {
      registry.AddIpAddress(10, 3, OTHER, OTHER_MASK);
    }
  });
  const Tarsel::IpInterface* record = registry.FindInterface(10, 3);
  registry.ChangeIpAddress(10, 3, record->address, record->mask);
  EXPECT_EQ(StoredAddress(10, 3), "10.1.2.3/255.255.255.0");
  loop.AdvanceMilliseconds(200);
  EXPECT_THAT(rows, ElementsAre("sms_act_ipaddr(6, 10, 1, 3, 10.1.2.3, 24)",
                                "sms_act_ipaddr(1, 10, 1, 3, 10.1.9.9, 16)",
                                "sms_act_ipaddr(1, 10, 1, 3, 10.1.2.3, 24)"));
}

// The stack may call another component from inside of a request, and that one may take the
// interface away.
TEST_F(AddressChange, InterfaceMayGoWhileItsRowsAreQueued) {
  Register(10, 3, "eth0");
  InsideOfTheFirst(routing_stack::Call::kSmsActIpaddr,
                   [this] { registry.RemoveInterface(10, 3, "eth0"); });
  registry.ChangeIpAddress(10, 3, OTHER, OTHER_MASK);
  EXPECT_EQ(StoredAddress(10, 3), "none");
  EXPECT_EQ(told.size(), 7U);
  EXPECT_EQ(told[0], "0 address 3 10.1.9.9");
}

// --- IPv6 ---

TEST_F(AddressEvents, Ipv6RowGoesToTheIpv6Instance) {
  Register(10, 3, "eth0");
  registry.AddIpAddress(10, 3, Address6("2001:db8::1"), 64);
  registry.DeleteIpAddress(10, 3, Address6("2001:db8::2"), 48);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(1, 32778, 2, 3, 2001:db8::1, 64)",
                                       "sms_act_ipaddr(6, 32778, 2, 3, 2001:db8::2, 48)"));
}

TEST_F(AddressEvents, AddressesOfOnePrefixAreStoredOnce) {
  Register(10, 3, "eth0");
  registry.AddIpAddress(10, 3, Address6("2001:db8::1"), 64);
  registry.AddIpAddress(10, 3, Address6("2001:db8::2"), 64);
  EXPECT_THAT(Prefixes(10, 3), ElementsAre("2001:db8::/64"));
}

TEST_F(AddressEvents, PrefixesThatDifferInLengthOrAnyBitAreStoredApart) {
  Register(10, 3, "eth0");
  registry.AddIpAddress(10, 3, Address6("2001:db8::1"), 64);
  registry.AddIpAddress(10, 3, Address6("2001:db8::1"), 48);
  registry.AddIpAddress(10, 3, Address6("2001:db8:0:1::1"), 64);
  EXPECT_THAT(Prefixes(10, 3), ElementsAre("2001:db8:0:1::/64", "2001:db8::/48", "2001:db8::/64"));
}

TEST_F(AddressEvents, OnlyHostPrefixesAreEverRemoved) {
  Register(10, 3, "eth0");
  registry.AddIpAddress(10, 3, Address6("2001:db8::1"), 64);
  registry.AddIpAddress(10, 3, Address6("2001:db8::1"), 128);
  registry.DeleteIpAddress(10, 3, Address6("2001:db8::1"), 64);
  EXPECT_THAT(Prefixes(10, 3), ElementsAre("2001:db8::/64"));
  registry.DeleteIpAddress(10, 3, Address6("2001:db8::1"), 64);
  registry.DeleteIpAddress(10, 3, Address6("2001:db8::"), 64);
  EXPECT_THAT(Prefixes(10, 3), ElementsAre("2001:db8::/64"));
}

TEST_F(AddressEvents, HostPrefixIsRemovedByItsAddressWhateverTheLength) {
  Register(10, 3, "eth0");
  registry.AddIpAddress(10, 3, Address6("2001:db8::1"), 128);
  registry.DeleteIpAddress(10, 3, Address6("2001:db8::2"), 128);
  EXPECT_THAT(Prefixes(10, 3), ElementsAre("2001:db8::1/128"));
  registry.DeleteIpAddress(10, 3, Address6("2001:db8::1"), 7);
  EXPECT_THAT(Prefixes(10, 3), IsEmpty());
}

TEST_F(AddressEvents, LengthsAbove128AreStoredAs128AndSentAsTheyAre) {
  for (const unsigned int length : {129U, 159U, 160U, 200U, 4294967295U}) {
    registry.AddInterface(10, length, "eth0", TYPE, 0, 0, 1);
    Forget();
    registry.AddIpAddress(10, length, Address6("2001:db8::ffff"), length);
    EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(1, 32778, 2, " + std::to_string(length) +
                                         ", 2001:db8::ffff, " + std::to_string(length) + ")"));
    EXPECT_THAT(Prefixes(10, length), ElementsAre("2001:db8::ffff/128"));
  }
}

// Against clearing bit by bit.
TEST_F(AddressEvents, MaskKeepsExactlyTheLeadingBits) {
  unsigned char ones[16];
  std::memset(ones, 0xFF, sizeof ones);
  for (unsigned int length = 0; length <= 128; ++length) {
    unsigned char expected[16];
    std::memset(expected, 0xFF, sizeof expected);
    for (unsigned int bit = length; bit < 128; ++bit) {
      expected[bit / 8] = static_cast<unsigned char>(expected[bit / 8] & ~(0x80U >> (bit % 8)));
    }
    registry.AddInterface(10, length, "eth0", TYPE, 0, 0, 1);
    registry.AddIpAddress(10, length, Ip6Addr::FromBytes(ones), length);
    const Tarsel::IpInterface* record = registry.FindInterface(10, length);
    ASSERT_EQ(record->prefixes.size(), 1U) << length;
    const Tarsel::Ip6Prefix& prefix = *record->prefixes.begin();
    EXPECT_EQ(std::memcmp(prefix.GetAddress().GetBytes(), expected, sizeof expected), 0) << length;
    EXPECT_EQ(prefix.GetLength(), length);
  }
}

TEST_F(AddressEvents, PrefixesGoWithTheInterface) {
  Register(10, 3, "eth0");
  registry.AddIpAddress(10, 3, Address6("2001:db8::1"), 64);
  registry.RemoveInterface(10, 3, "eth0");
  Register(10, 3, "eth0");
  EXPECT_THAT(Prefixes(10, 3), IsEmpty());
}

}  // namespace
