// Messages of links and addresses, as a kernel writes them.

#include "device/kernel/link_messages.h"

#include <gmock/gmock.h>
#include <libmnl/libmnl.h>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>

#include <cstring>

#include "device/kernel/messages.h"
#include "fake_links.h"

namespace {

using kernel::FoundAddress;
using kernel::FoundLink;
using test_kernel::LinkAddressOf;
using testing::IsEmpty;

/// A message that is being written.
class Writing {
 public:
  explicit Writing(unsigned short type) : m_header(mnl_nlmsg_put_header(m_bytes)) {
    m_header->nlmsg_type = type;
  }
  template <typename Header>
  Header& Put() {
    return *static_cast<Header*>(mnl_nlmsg_put_extra_header(m_header, sizeof(Header)));
  }
  void Text(unsigned short type, const char* text) { mnl_attr_put_strz(m_header, type, text); }
  void Number(unsigned short type, std::uint32_t number) {
    mnl_attr_put_u32(m_header, type, number);
  }
  void Address(unsigned short type, const std::string& prefix) {
    const kernel::LinkAddress address = LinkAddressOf(prefix + "/1");
    mnl_attr_put(m_header, type, address.isIp6 ? 16 : 4, address.address.data());
  }
  nlmsghdr& Header() { return *m_header; }
  std::vector<kernel::Message> Read() const {
    return kernel::ReadMessages(m_bytes, m_header->nlmsg_len).messages;
  }
  template <typename Found>
  Found ReadOne() const {
    return std::get<Found>(Read().at(0));
  }

 private:
  alignas(nlmsghdr) char m_bytes[1024];
  nlmsghdr* const m_header;
};

Writing LinkMessage(unsigned short type = RTM_NEWLINK, unsigned int flags = IFF_UP | IFF_RUNNING,
                    int index = 3) {
  Writing message(type);
  auto& link = message.Put<ifinfomsg>();
  link.ifi_family = AF_UNSPEC;
  link.ifi_index = index;
  link.ifi_flags = flags;
  if (type == RTM_NEWLINK) {
    message.Number(IFLA_MTU, 1500);
  }
  return message;
}

Writing AddressMessage(unsigned char family, unsigned char length, std::uint32_t flags = 0,
                       unsigned short type = RTM_NEWADDR) {
  Writing message(type);
  auto& address = message.Put<ifaddrmsg>();
  address.ifa_family = family;
  address.ifa_prefixlen = length;
  address.ifa_index = 3;
  address.ifa_flags = static_cast<unsigned char>(flags);
  message.Number(IFA_FLAGS, flags);
  return message;
}

TEST(LinkMessages, ALinkIsReadWithAllThatCounts) {
  Writing message = LinkMessage(RTM_NEWLINK, IFF_UP | IFF_RUNNING | IFF_BROADCAST | IFF_MULTICAST);
  message.Text(IFLA_IFNAME, "eth0");
  const FoundLink found = message.ReadOne<FoundLink>();
  EXPECT_FALSE(found.isGone);
  EXPECT_EQ(0u, found.sequence);
  kernel::Link expected;
  expected.index = 3;
  expected.name = "eth0";
  expected.isUp = expected.isBroadcast = expected.isMulticast = true;
  expected.mtu = 1500;
  EXPECT_TRUE(found.link == expected);
}

TEST(LinkMessages, OnlyALinkThatRunsIsUp) {
  EXPECT_FALSE(LinkMessage(RTM_NEWLINK, IFF_UP).ReadOne<FoundLink>().link.isUp);
  EXPECT_FALSE(LinkMessage(RTM_NEWLINK, IFF_RUNNING).ReadOne<FoundLink>().link.isUp);
  EXPECT_TRUE(LinkMessage(RTM_NEWLINK, IFF_LOOPBACK).ReadOne<FoundLink>().link.isLoopback);
  EXPECT_TRUE(LinkMessage(RTM_NEWLINK, IFF_POINTOPOINT).ReadOne<FoundLink>().link.isPointToPoint);
}

TEST(LinkMessages, ALinkThatGoesIsToldAndAPortOfABridgeIsNone) {
  EXPECT_TRUE(LinkMessage(RTM_DELLINK).ReadOne<FoundLink>().isGone);
  Writing port(RTM_DELLINK);
  auto& link = port.Put<ifinfomsg>();
  link.ifi_family = AF_BRIDGE;
  link.ifi_index = 3;
  EXPECT_THAT(port.Read(), IsEmpty());
  EXPECT_THAT(LinkMessage(RTM_NEWLINK, IFF_UP, 0).Read(), IsEmpty());
  EXPECT_THAT(LinkMessage(RTM_NEWLINK, IFF_UP, -1).Read(), IsEmpty());
}

void PutKind(Writing& message, const char* kind, std::uint16_t id) {
  nlattr* const information = mnl_attr_nest_start(&message.Header(), IFLA_LINKINFO);
  message.Text(IFLA_INFO_KIND, kind);
  nlattr* const data = mnl_attr_nest_start(&message.Header(), IFLA_INFO_DATA);
  mnl_attr_put_u16(&message.Header(), IFLA_VLAN_ID, id);
  mnl_attr_nest_end(&message.Header(), data);
  mnl_attr_nest_end(&message.Header(), information);
}

TEST(LinkMessages, OnlyAVlanSubInterfaceHasATag) {
  Writing tagged = LinkMessage();
  PutKind(tagged, "vlan", 20);
  EXPECT_EQ(std::optional<std::uint16_t>(20), tagged.ReadOne<FoundLink>().link.tag);
  Writing other = LinkMessage();
  PutKind(other, "macvlan", 20);
  EXPECT_EQ(std::nullopt, other.ReadOne<FoundLink>().link.tag);
}

void PutVrf(Writing& message, const char* kind, std::optional<std::uint32_t> table,
            bool isKindFirst = true) {
  nlattr* const information = mnl_attr_nest_start(&message.Header(), IFLA_LINKINFO);
  if (isKindFirst) {
    message.Text(IFLA_INFO_KIND, kind);
  }
  nlattr* const data = mnl_attr_nest_start(&message.Header(), IFLA_INFO_DATA);
  if (table) {
    message.Number(IFLA_VRF_TABLE, *table);
  }
  mnl_attr_nest_end(&message.Header(), data);
  if (!isKindFirst) {
    message.Text(IFLA_INFO_KIND, kind);
  }
  mnl_attr_nest_end(&message.Header(), information);
}

TEST(LinkMessages, OnlyAVrfDeviceHasATable) {
  const auto tableOf = [](const char* kind, std::optional<std::uint32_t> table, bool isKindFirst) {
    Writing message = LinkMessage();
    PutVrf(message, kind, table, isKindFirst);
    const kernel::Link link = message.ReadOne<FoundLink>().link;
    EXPECT_EQ(std::nullopt, link.tag);
    return link.vrfTable;
  };
  using Table = std::optional<std::uint32_t>;
  for (const bool isKindFirst : {true, false}) {
    EXPECT_EQ(Table(70000), tableOf("vrf", 70000, isKindFirst));
    EXPECT_EQ(Table(0), tableOf("vrf", std::nullopt, isKindFirst)) << "it is one all the same";
    EXPECT_EQ(Table(), tableOf("dummy", 100, isKindFirst));
  }
  Writing little = LinkMessage();
  nlattr* const information = mnl_attr_nest_start(&little.Header(), IFLA_LINKINFO);
  little.Text(IFLA_INFO_KIND, "vrf");
  nlattr* const data = mnl_attr_nest_start(&little.Header(), IFLA_INFO_DATA);
  mnl_attr_put_u16(&little.Header(), IFLA_VRF_TABLE, 100);
  mnl_attr_nest_end(&little.Header(), data);
  mnl_attr_nest_end(&little.Header(), information);
  EXPECT_EQ(Table(0), little.ReadOne<FoundLink>().link.vrfTable) << "a number of another size";
}

// What is nested says lengths of its own.
TEST(LinkMessages, WhatIsNestedEndsWhereItsMessageDoes) {
  Writing message = LinkMessage();
  PutVrf(message, "vrf", 100);
  std::vector<std::uint32_t> bytes(message.Header().nlmsg_len / 4);
  std::memcpy(bytes.data(), &message.Header(), message.Header().nlmsg_len);
  auto* const whole = reinterpret_cast<char*>(bytes.data());
  std::size_t tables = 0;
  for (std::size_t at = sizeof(nlmsghdr) + sizeof(ifinfomsg); at < bytes.size() * 4; at += 2) {
    std::uint16_t old;
    std::memcpy(&old, whole + at, sizeof old);
    for (const std::uint16_t length : {std::uint16_t{0}, std::uint16_t{3}, std::uint16_t{5},
                                       std::uint16_t{200}, std::uint16_t{0xFFFF}}) {
      std::memcpy(whole + at, &length, sizeof length);
      for (const kernel::Message& found :
           kernel::ReadMessages(bytes.data(), bytes.size() * 4).messages) {
        tables += std::get<FoundLink>(found).link.vrfTable == 100u ? 1 : 0;
      }
    }
    std::memcpy(whole + at, &old, sizeof old);
  }
  EXPECT_GT(tables, 0u) << "most of it does not matter to the table";
}

TEST(LinkMessages, ALinkThatIsEnslavedTellsByWhom) {
  Writing message = LinkMessage();
  EXPECT_EQ(0u, message.ReadOne<FoundLink>().link.master);
  message.Number(IFLA_MASTER, 7);
  EXPECT_EQ(7u, message.ReadOne<FoundLink>().link.master);
}

TEST(LinkMessages, NewsAndDumpsAreToldApart) {
  Writing message = LinkMessage();
  message.Header().nlmsg_seq = 7;
  EXPECT_EQ(0u, message.ReadOne<FoundLink>().sequence) << "what somebody has asked for is news";
  message.Header().nlmsg_flags |= NLM_F_MULTI;
  EXPECT_EQ(7u, message.ReadOne<FoundLink>().sequence);
}

TEST(LinkMessages, AnAddressIsTheLinksOwn) {
  Writing message = AddressMessage(AF_INET, 24, IFA_F_SECONDARY | IFA_F_PERMANENT);
  message.Address(IFA_ADDRESS, "10.1.0.2");
  message.Address(IFA_LOCAL, "10.1.0.1");
  const FoundAddress found = message.ReadOne<FoundAddress>();
  EXPECT_EQ(3u, found.ifIndex);
  EXPECT_FALSE(found.isGone);
  kernel::LinkAddress expected = LinkAddressOf("10.1.0.1/24", true);
  expected.other = LinkAddressOf("10.1.0.2/24").address;
  EXPECT_TRUE(found.address == expected);
  Writing other = AddressMessage(AF_INET6, 64);
  other.Address(IFA_ADDRESS, "2001:db8::1");
  EXPECT_TRUE(other.ReadOne<FoundAddress>().address == LinkAddressOf("2001:db8::1/64"));
}

TEST(LinkMessages, AnAddressThatMayNotBeUsedIsNone) {
  const auto isGone = [](std::uint32_t flags, unsigned short type = RTM_NEWADDR) {
    Writing message = AddressMessage(AF_INET6, 64, flags, type);
    message.Address(IFA_ADDRESS, "2001:db8::1");
    return message.ReadOne<FoundAddress>().isGone;
  };
  EXPECT_TRUE(isGone(IFA_F_TENTATIVE));
  EXPECT_FALSE(isGone(IFA_F_TENTATIVE | IFA_F_OPTIMISTIC));
  EXPECT_TRUE(isGone(IFA_F_DADFAILED));
  EXPECT_TRUE(isGone(0, RTM_DELADDR));
  EXPECT_FALSE(isGone(IFA_F_PERMANENT));
}

TEST(LinkMessages, WhatMakesNoSenseIsPassedOver) {
  Writing length = AddressMessage(AF_INET, 33);
  length.Address(IFA_LOCAL, "10.1.0.1");
  EXPECT_THAT(length.Read(), IsEmpty());
  EXPECT_THAT(AddressMessage(AF_INET, 24).Read(), IsEmpty()) << "without an address";
  Writing size = AddressMessage(AF_INET, 24);
  size.Address(IFA_LOCAL, "2001:db8::1");
  EXPECT_THAT(size.Read(), IsEmpty());
  Writing family = AddressMessage(AF_UNIX, 24);
  family.Address(IFA_LOCAL, "10.1.0.1");
  EXPECT_THAT(family.Read(), IsEmpty());
  Writing little(RTM_NEWLINK);
  little.Put<ifinfomsg>().ifi_index = 3;
  little.Text(IFLA_IFNAME, "eth0");
  EXPECT_THAT(little.Read(), IsEmpty()) << "a driver's news";
  Writing headless(RTM_NEWLINK);
  EXPECT_THAT(headless.Read(), IsEmpty());
  Writing bare(RTM_NEWADDR);
  EXPECT_THAT(bare.Read(), IsEmpty());
}

TEST(LinkMessages, ANameEndsWithItsAttribute) {
  Writing message = LinkMessage();
  mnl_attr_put(&message.Header(), IFLA_IFNAME, 4, "eth0");
  message.Number(IFLA_MTU, 0x61616161);
  EXPECT_EQ("eth0", message.ReadOne<FoundLink>().link.name);
}

}  // namespace
