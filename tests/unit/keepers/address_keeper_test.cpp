#include "device/keepers/address_keeper.h"

#include <random>

#include "stack/sms.h"
#include "tests/unit/keepers/keeper_fixture.h"
#include "vantacore/dc_interface_mgr.h"

namespace {

using documents::Ip4Network;
using routing_stack::Answer;
using routing_stack::RowType;
using rows::Standing;
using Tarsel::Ip4Addr;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr RowType ADDRESS = RowType::kAddress;
const Ip4Addr MASK(255, 255, 0, 0);
const documents::InterfaceKey ETH3(10, 3);
const char BOTH[] = R"("ipv4": "10.1.0.1/16", "ipv6": ["2001:db8::1/64"])";
const char IP4[] = R"("ipv4": "10.1.0.1/16")";

class AddressKeeper : public keepers_test::KeeperFixture {
 protected:
  // eth3 with these members.
  void WantAndSettle(const std::string& members) {
    Want(R"({"name": "eth3", "vlan": 10, "index": 3, )" + members + "}");
    ASSERT_TRUE(Settle());
    TakeCalls();
  }
  // Of eth3, in the library's registry.
  static std::string RegisteredAddress() {
    Ip4Addr address;
    Ip4Addr mask;
    return Tarsel::DcInterfaceMgr::GetInstance()->GetIfIpAddr(10, 3, address, mask)
               ? address.ToString().c_str()
               : "none";
  }

  keepers::AddressKeeper keeper{port, interfaces};
};

TEST_F(AddressKeeper, FindsNothingWhereTheStackHasWhatIsWanted) {
  EXPECT_THAT(Pass(keeper), IsEmpty());
  EXPECT_EQ(keeper.CountWanted(), 0u);
  WantAndSettle(BOTH);
  EXPECT_THAT(Rows("address"), SizeIs(2));
  EXPECT_THAT(Pass(keeper), IsEmpty());
  EXPECT_EQ(keeper.CountWanted(), 2u);
}

TEST_F(AddressKeeper, AsksForThoseThatTheStackHasNot) {
  Refuse(ADDRESS, 2);
  WantAndSettle(BOTH);
  traces.Take();
  EXPECT_THAT(Pass(keeper), ElementsAre("missing 10/3 10.1.0.1", "missing 10/3 2001:db8::1"));
  AskForAll(keeper);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(1, 10, 1, 3, 10.1.0.1, 16)",
                                       "sms_act_ipaddr(1, 32778, 2, 3, 2001:db8::1, 64)"));
  EXPECT_THAT(Pass(keeper), IsEmpty());
  EXPECT_FALSE(traces.Contains("10:Updating IP Address Change to Interface 3\n"))
      << "for the routers nothing has changed";
}

TEST_F(AddressKeeper, AsksForTheLengthThatTheStackHasNot) {
  WantAndSettle(BOTH);
  sms_act_ipaddr(1, 10, 1, 3, Ip4Addr(10, 1, 0, 1).GetBytes(), 24);
  sms_act_ipaddr(1, 32778, 2, 3, interfaces.Get().at(ETH3).ip6.at(0).GetAddress().GetBytes(), 80);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Pass(keeper), ElementsAre("other 10/3 10.1.0.1", "other 10/3 2001:db8::1"));
  AskForAll(keeper);
  EXPECT_THAT(Pass(keeper), IsEmpty());
  EXPECT_THAT(Rows("address"), ElementsAre("10/3 10.1.0.1/16", "32778/3 2001:db8::1/64"));
}

TEST_F(AddressKeeper, DeletesASecondAddressAndKeepsTheRegistrysOne) {
  WantAndSettle(IP4);
  interfaces.AddAddress(ETH3, Ip4Network{Ip4Addr(10, 2, 0, 1), MASK});
  ASSERT_TRUE(Settle());
  TakeCalls();
  EXPECT_THAT(Rows("address"), ElementsAre("10/3 10.1.0.1/16", "10/3 10.2.0.1/16"));
  EXPECT_THAT(Pass(keeper), ElementsAre("unwanted 10/3 10.1.0.1")) << "the later one counts";
  AskForAll(keeper);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(6, 10, 1, 3, 10.1.0.1, 16)",
                                       "sms_act_ipaddr(1, 10, 1, 3, 10.2.0.1, 16)"));
  EXPECT_THAT(Rows("address"), ElementsAre("10/3 10.2.0.1/16"));
  EXPECT_EQ(RegisteredAddress(), "10.2.0.1");
  EXPECT_THAT(Pass(keeper), IsEmpty());
}

TEST_F(AddressKeeper, DeletesWhatIsLeftWhenAnotherAddressWasDeleted) {
  WantAndSettle(IP4);
  interfaces.DeleteAddress(ETH3, Ip4Network{Ip4Addr(10, 9, 9, 9), MASK});
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Pass(keeper), ElementsAre("unwanted 10/3 10.1.0.1"));
  TakeCalls();
  AskForAll(keeper);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(6, 10, 1, 3, 10.1.0.1, 16)"));
  EXPECT_THAT(Rows("address"), IsEmpty());
  EXPECT_EQ(RegisteredAddress(), "0.0.0.0");
}

TEST_F(AddressKeeper, DeletesTheOldOneOfAChange) {
  WantAndSettle(BOTH);
  Refuse(ADDRESS, 4);
  WantAndSettle(R"("ipv4": "10.2.0.1/16", "ipv6": ["2001:db8::2/64"])");
  EXPECT_THAT(Pass(keeper), ElementsAre("missing 10/3 10.2.0.1", "missing 10/3 2001:db8::2",
                                        "unwanted 10/3 10.1.0.1", "unwanted 10/3 2001:db8::1"));
  AskForAll(keeper);
  EXPECT_THAT(Pass(keeper), IsEmpty());
  EXPECT_THAT(Rows("address"), ElementsAre("10/3 10.2.0.1/16", "32778/3 2001:db8::2/64"));
  EXPECT_EQ(RegisteredAddress(), "10.2.0.1");
}

TEST_F(AddressKeeper, DeletesWhatARemovedInterfaceHasLeft) {
  WantAndSettle(BOTH);
  Refuse(ADDRESS, 2);
  Want("");
  ASSERT_TRUE(Settle());
  TakeCalls();
  EXPECT_THAT(Pass(keeper), ElementsAre("unwanted 10/3 10.1.0.1", "unwanted 10/3 2001:db8::1"));
  AskForAll(keeper);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(6, 10, 1, 3, 10.1.0.1, 16)",
                                       "sms_act_ipaddr(6, 32778, 2, 3, 2001:db8::1, 64)"));
  EXPECT_THAT(Rows("address"), IsEmpty());
}

// More than are read at a time, before and after those of another interface.
TEST_F(AddressKeeper, LooksAtAllAddressesOfAnInterfaceAndAtNoOthers) {
  for (unsigned char number = 1; number <= 40; ++number) {
    for (const unsigned index : {3, 4}) {
      sms_act_ipaddr(1, 10, 1, index, Ip4Addr(10, 7, 0, number).GetBytes(), 16);
    }
  }
  ASSERT_TRUE(Settle());
  for (const unsigned index : {3, 4, 5}) {
    std::size_t count = 0;
    keeper.LookAtInterface({10, index}, [&](const rows::Row& row, const Standing& standing) {
      EXPECT_EQ(std::get<rows::AddressRow>(row).ifIndex, index);
      EXPECT_EQ(standing.kind, Standing::Kind::UNWANTED);
      ++count;
    });
    EXPECT_EQ(count, index == 5 ? 0u : 40u);
  }
}

TEST_F(AddressKeeper, WaitsForAnAnswerThatIsLate) {
  Script(ADDRESS, {Answer::kLate, 0, 500}, 1);
  Want(R"({"name": "eth3", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"})");
  loop.AdvanceMilliseconds(400);
  EXPECT_THAT(Pass(keeper), ElementsAre("under way 10/3 10.1.0.1"));
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Pass(keeper), IsEmpty());
}

TEST_F(AddressKeeper, OneThatIsNeverAnsweredIsUnderWayUntilItsEndIsReported) {
  Script(ADDRESS, {Answer::kNever, 0, 0}, 1);
  WantAndSettle(IP4);
  EXPECT_THAT(Pass(keeper), ElementsAre("under way 10/3 10.1.0.1"));
  EndLostRequests();
  EXPECT_THAT(Pass(keeper), ElementsAre("missing 10/3 10.1.0.1"));
  AskForAll(keeper);
  EXPECT_THAT(Pass(keeper), IsEmpty());
}

TEST_F(AddressKeeper, OneThatIsAnsweredTwiceIsThere) {
  Script(ADDRESS, {Answer::kTwice, 0, 0}, 2);
  WantAndSettle(BOTH);
  EXPECT_THAT(Pass(keeper), IsEmpty());
}

TEST_F(AddressKeeper, KnowsWhyTheStackRefused) {
  Control().SetLimit(ADDRESS, 0, 4);
  WantAndSettle(IP4);
  const rows::AddressRow row{10, 3, false, {10, 1, 0, 1}};
  EXPECT_EQ(keeper.Look(row).status, 4u);
}

// Ten interfaces with an address each; one without any is looked at as well.
TEST_F(AddressKeeper, KeepsToTheSizeOfASlice) {
  std::string wanted = R"({"name": "eth0", "vlan": 10, "index": 20})";
  for (unsigned index = 1; index <= 10; ++index) {
    const std::string number = std::to_string(index);
    wanted += R"(, {"name": "eth)" + number + R"(", "vlan": 10, "index": )" + number +
              R"(, "ipv4": "10.)" + number + R"(.0.1/16"})";
  }
  Want(wanted);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(CountSlices(keeper, 1), 22u) << "and one that is empty";
  EXPECT_EQ(CountSlices(keeper, 4), 7u);
  EXPECT_EQ(CountSlices(keeper, 1000), 2u);
}

// Whatever comes and goes between two slices, what differs all the time is found once, and what is
// right all the time is not.
TEST_F(AddressKeeper, PassesInSlicesWhileAddressesComeAndGo) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const auto draw = [&](unsigned below) { return static_cast<unsigned>(random() % below); };
  constexpr unsigned COUNT = 40;
  std::string wanted;
  std::vector<std::string> expected;
  for (unsigned i = 1; i <= COUNT; ++i) {
    const std::string index = std::to_string(i);
    const std::string address = "10." + index + ".0.1";
    const bool isWanted = i % 4 < 2;
    const bool isThere = i % 2 == 0;
    if (isWanted) {
      wanted += std::string(wanted.empty() ? "" : ",") + R"({"name": "eth)" + index +
                R"(", "vlan": 10, "index": )" + index + R"(, "ipv4": ")" + address + "/16\"}";
    }
    if (isThere) {
      sms_act_ipaddr(1, 10, 1, i, Ip4Addr(10, i, 0, 1).GetBytes(), 16);
    }
    if (isWanted != isThere) {
      expected.push_back((isWanted ? "missing 10/" : "unwanted 10/") + index + " " + address);
    }
  }
  ASSERT_TRUE(Settle());
  Refuse(ADDRESS, 1000);
  Want(wanted);
  ASSERT_TRUE(Settle());
  Control().ClearScripts();
  for (int pass = 0; pass < 20; ++pass) {
    std::vector<std::string> lines;
    keeper.BeginPass();
    while (keeper.ContinuePass(1 + draw(7), [&](const rows::Row& row, const Standing& standing) {
      const std::string text = keepers_test::RowText(row);
      if (text.substr(text.size() - 4) == ".0.1") {
        lines.push_back(keepers_test::KindText(standing.kind) + " " + text);
      }
    })) {
      const unsigned index = 1 + draw(COUNT);
      const Ip4Addr passer(10, index, 7, draw(200));
      sms_act_ipaddr(draw(2) != 0 ? 1 : 6, 10, 1, index, passer.GetBytes(), 24);
      loop.AdvanceMilliseconds(20);
    }
    ASSERT_THAT(lines, testing::UnorderedElementsAreArray(expected));
  }
}

}  // namespace
