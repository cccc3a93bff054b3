// What other libraries have compiled into them: the order of virtual operations and the layout of
// plain data.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "vantacore/cfg_items.h"
#include "vantacore/cfg_sched.h"
#include "vantacore/mib_action.h"
#include "vantacore/serializer.h"

namespace Tarsel {
namespace {

// The slot of a virtual member function in its table, the two destructor slots included. In the
// common C++ ABI a pointer to a virtual member holds the slot's offset in its first word: plus one
// where code addresses are even, and as it is on ARM, where the mark lies in the second word.
template <class Member>
std::size_t SlotOf(Member member) {
  std::ptrdiff_t words[2];
  static_assert(sizeof member == sizeof words, "a member pointer is two words");
  std::memcpy(words, &member, sizeof words);
#if defined(__arm__) || defined(__aarch64__)
  EXPECT_EQ(1, words[1] & 1) << "not virtual";
  return static_cast<std::size_t>(words[0]) / sizeof(void*);
#else
  EXPECT_EQ(1, words[0] & 1) << "not virtual";
  return static_cast<std::size_t>(words[0] - 1) / sizeof(void*);
#endif
}

TEST(Abi, MibActionHasItsDestructorsAndOneOperation) {
  EXPECT_EQ(2U, SlotOf(&MibAction::IssueReq));
  EXPECT_EQ(sizeof(void*), sizeof(MibAction));
  EXPECT_TRUE(std::has_virtual_destructor<MibAction>::value);
  EXPECT_TRUE(std::is_abstract<MibAction>::value);
}

TEST(Abi, CfgItemOperationsAreInOrder) {
  EXPECT_EQ(2U, SlotOf(&CfgItem::CfgListReady));
  EXPECT_EQ(3U, SlotOf(&CfgItem::CfgItemReady));
  EXPECT_EQ(4U, SlotOf(&CfgItem::PrintItem));
  EXPECT_EQ(5U, SlotOf(&CfgItem::Send));
  EXPECT_EQ(6U, SlotOf(&CfgItem::GetOid));
  EXPECT_EQ(7U, SlotOf(&CfgItem::SetInMib));
  EXPECT_EQ(8U, SlotOf(&CfgItem::Replace));
  EXPECT_EQ(9U, SlotOf(&CfgItem::RemoveOnNotReady));
  EXPECT_EQ(10U, SlotOf(&CfgItem::SetActionState));
  EXPECT_EQ(11U, SlotOf(&CfgItem::SetReasonCode));
  EXPECT_EQ(12U, SlotOf(&CfgItem::IsInFlight));
  EXPECT_TRUE(std::has_virtual_destructor<CfgItem>::value);
}

// A derived class without data: its own first member would start where the base ends.
class Probe : public CfgItem {
 public:
  bool CfgListReady() override { return false; }
  bool CfgItemReady() override { return false; }
  void PrintItem(DcConsole*) const override {}
  void Send() override {}
  const MibOid& GetOid() override { return oid; }
  MibOid oid;
};

std::uint32_t WordAt(const void* object, std::size_t offset) {
  std::uint32_t word;
  std::memcpy(&word, static_cast<const char*>(object) + offset, sizeof word);
  return word;
}

TEST(Abi, CfgItemFieldsAreReasonStateRetries) {
  Probe probe;
  CfgItem* item = &probe;
  item->SetReasonCode(0xAABBCCDD);
  item->SetActionState(static_cast<CfgItem::ACTION_ITEM_STATE>(0x11223344));
  item->SetRetryCount(0x55667788);
  EXPECT_EQ(0xAABBCCDDU, WordAt(item, sizeof(void*)));
  EXPECT_EQ(0x11223344U, WordAt(item, sizeof(void*) + 4));
  EXPECT_EQ(0x55667788U, WordAt(item, sizeof(void*) + 8));
}

TEST(Abi, KeysAndIdentifiersArePlainData) {
  EXPECT_EQ(8U, sizeof(CfgKey));
  EXPECT_EQ(0U, offsetof(CfgKey, instance));
  EXPECT_EQ(4U, offsetof(CfgKey, rowType));
  EXPECT_EQ(524U, sizeof(MibOid));
  const unsigned int subIds[] = {0x01020304, 0x05060708};
  const MibOid oid(subIds, 2);
  EXPECT_EQ(0x01020304U, WordAt(&oid, 0));
  EXPECT_EQ(0x05060708U, WordAt(&oid, 4));
  EXPECT_EQ(2U, WordAt(&oid, 520));
  EXPECT_EQ(4U, sizeof(CfgItem::ACTION_ITEM_STATE));
  EXPECT_TRUE((std::is_same<int, std::underlying_type<CfgItem::ACTION_ITEM_STATE>::type>::value));
}

constexpr std::size_t BASE = sizeof(void*);
constexpr std::size_t ITEM_FIELDS = sizeof(void*) + 3 * 4;

TEST(Abi, ActionsArePlainRecordsInTheirOrder) {
  CfgRouteEntry entry;
  entry.type = 2;
  entry.destination[0] = 0xD1;
  entry.gateway[15] = 0x6A;
  entry.prefixLen = 3;
  entry.ifIndex = 4;
  entry.metric = 5;
  entry.other = 6;
  entry.pathType = 7;
  entry.rowStatus = 8;
  entry.adminStatus = 9;
  const RouteAction route(entry, 10);
  EXPECT_EQ(2U, WordAt(&route, BASE));
  EXPECT_EQ(0xD1, reinterpret_cast<const unsigned char*>(&route)[BASE + 4]);
  EXPECT_EQ(0x6A, reinterpret_cast<const unsigned char*>(&route)[BASE + 35]);
  for (std::uint32_t i : {0U, 1U}) {
    EXPECT_EQ(3 + i, WordAt(&route, BASE + 36 + 4 * i));
  }
  std::uint16_t metrics[2];
  std::memcpy(metrics, reinterpret_cast<const char*>(&route) + BASE + 44, sizeof metrics);
  EXPECT_EQ(5, metrics[0]);
  EXPECT_EQ(6, metrics[1]);
  for (std::uint32_t i : {0U, 1U, 2U, 3U}) {
    EXPECT_EQ(7 + i, WordAt(&route, BASE + 48 + 4 * i));
  }

  const InterfaceAction interface(1, 2, 3, 4, "e", 5, 6, 7);
  for (std::uint32_t i : {0U, 1U, 2U, 3U}) {
    EXPECT_EQ(1 + i, WordAt(&interface, BASE + 4 * i));
  }
  EXPECT_STREQ("e", reinterpret_cast<const char*>(&interface) + BASE + 16);
  for (std::uint32_t i : {0U, 1U, 2U}) {
    EXPECT_EQ(5 + i, WordAt(&interface, BASE + 16 + 256 + 4 * i));
  }

  const RedistAction redist(1, 2, 3, 4, 5, 6, 7);
  for (std::uint32_t i = 0; i < 7; ++i) {
    EXPECT_EQ(1 + i, WordAt(&redist, BASE + 4 * i));
  }

  const IPv4AddressAction address4(1, 2, 3, Ip4Addr(9, 8, 7, 6), Ip4Addr(255, 0, 0, 0));
  for (std::uint32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(1 + i, WordAt(&address4, BASE + 4 * i));
  }
  EXPECT_EQ(Ip4Addr(9, 8, 7, 6).GetValue(), WordAt(&address4, BASE + 12));
  EXPECT_EQ(Ip4Addr(255, 0, 0, 0).GetValue(), WordAt(&address4, BASE + 16));

  const IPv6AddressAction address6(1, 2, 3, Ip6Addr(), 64);
  EXPECT_EQ(3U, WordAt(&address6, BASE + 8));
  EXPECT_EQ(64U, WordAt(&address6, BASE + 28));
}

TEST(Abi, ItemsArePlainRecordsInTheirOrder) {
  const unsigned char bytes[16] = {0xA1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xA2};
  const StaticRouteItem route(1, 2, 3, 4, bytes, 5, bytes, 6, 7, 8, 9);
  const std::uint32_t head[] = {2, 1, 3, 4};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(head[i], WordAt(&route, ITEM_FIELDS + 4 * i));
  }
  EXPECT_EQ(0, std::memcmp(bytes, reinterpret_cast<const char*>(&route) + ITEM_FIELDS + 16, 16));
  EXPECT_EQ(5U, WordAt(&route, ITEM_FIELDS + 32));
  EXPECT_EQ(0, std::memcmp(bytes, reinterpret_cast<const char*>(&route) + ITEM_FIELDS + 36, 16));
  for (std::uint32_t i : {0U, 1U, 2U, 3U}) {
    EXPECT_EQ(6 + i, WordAt(&route, ITEM_FIELDS + 52 + 4 * i));
  }
  EXPECT_EQ(0U, WordAt(&route, ITEM_FIELDS + 68 + 520));  // the identifier, empty so far

  const RouteRedistributeItem rule(1, 2, 3, 4, 5, 6, 7);
  for (std::uint32_t i = 0; i < 7; ++i) {
    EXPECT_EQ(1 + i, WordAt(&rule, ITEM_FIELDS + 4 * i));
  }
  EXPECT_EQ(0U, WordAt(&rule, ITEM_FIELDS + 28 + 520));
}

TEST(Abi, TheSchedulerIsAPeriodicTimer) {
  EXPECT_TRUE((std::is_convertible<CfgSched*, PeriodicTimer*>::value));
}

}  // namespace
}  // namespace Tarsel
