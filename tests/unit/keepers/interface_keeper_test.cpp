#include "device/keepers/interface_keeper.h"

#include <random>

#include "stack/sms.h"
#include "tests/unit/keepers/keeper_fixture.h"
#include "vantacore/dc_interface_mgr.h"

namespace {

using routing_stack::Answer;
using routing_stack::RowType;
using rows::Standing;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

constexpr RowType INTERFACE = RowType::kInterface;

class InterfaceKeeper : public keepers_test::KeeperFixture {
 protected:
  static std::string Eth(unsigned index, const std::string& members = "") {
    const std::string number = std::to_string(index);
    return R"({"name": "eth)" + number + R"(", "vlan": 10, "index": )" + number +
           (members.empty() ? "" : ", " + members) + "}";
  }
  void WantAndSettle(const std::string& wanted) {
    Want(wanted);
    ASSERT_TRUE(Settle());
    TakeCalls();
  }
  // As if a request had been lost: the request goes past the host.
  static void Register(const char* name, unsigned flags, unsigned mtu, unsigned status) {
    Tarsel::DcInterfaceMgr::GetInstance()->AddInterface(
        10, 3, name, Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, flags, mtu, status);
  }
  Standing::Kind LookAt(unsigned short vlan, std::uint32_t index) {
    return keeper.Look(rows::InterfaceRow{vlan, index}).kind;
  }

  keepers::InterfaceKeeper keeper{port, interfaces};
};

TEST_F(InterfaceKeeper, FindsNothingWhereTheStackHasWhatIsWanted) {
  EXPECT_THAT(Pass(keeper), IsEmpty());
  EXPECT_EQ(keeper.CountWanted(), 0u);
  WantAndSettle(Eth(3, R"("flags": ["broadcast", "unnumbered"])") + "," +
                Eth(4, R"("up": false, "mtu": 9000)"));
  EXPECT_THAT(Rows("interface"), SizeIs(4));
  EXPECT_THAT(Pass(keeper), IsEmpty()) << "the IPv6 instance has no unnumbered interfaces";
  EXPECT_EQ(keeper.CountWanted(), 2u);
  EXPECT_EQ(LookAt(10, 3), Standing::Kind::EQUAL);
  EXPECT_EQ(LookAt(10, 5), Standing::Kind::EQUAL) << "neither wanted nor there";
}

TEST_F(InterfaceKeeper, AsksForOneThatTheStackHasNot) {
  Refuse(INTERFACE, 2);
  WantAndSettle(Eth(3, R"("flags": ["broadcast"], "mtu": 9000, "up": false)"));
  EXPECT_THAT(Pass(keeper), ElementsAre("missing 10/3"));
  AskForAll(keeper);
  EXPECT_THAT(TakeCalls(), ElementsAre(R"(sms_act_interface(4, 2, 10, 3, "eth3", 0, 8, 9000))",
                                       R"(sms_act_interface(4, 2, 32778, 3, "eth3", 0, 8, 9000))"));
  EXPECT_THAT(Pass(keeper), IsEmpty());
}

TEST_F(InterfaceKeeper, AsksForOneThatOneInstanceHasNot) {
  for (const unsigned instance : {10u, 32778u}) {
    const unsigned oid[] = {1, instance, 3};
    Control().ScriptRow(oid, 3, {Answer::kStatus, 3, 0}, 1);
    WantAndSettle(Eth(3));
    EXPECT_THAT(Rows("interface"), SizeIs(1));
    EXPECT_THAT(Pass(keeper), ElementsAre("missing 10/3"));
    AskForAll(keeper);
    EXPECT_THAT(Rows("interface"), SizeIs(2));
    WantAndSettle("");
  }
}

TEST_F(InterfaceKeeper, AsksForTheStatusThatOneInstanceHasNot) {
  for (const unsigned instance : {10u, 32778u}) {
    for (const bool up : {false, true}) {
      WantAndSettle(Eth(3, up ? R"("up": false)" : ""));
      const unsigned oid[] = {1, instance, 3};
      Control().ScriptRow(oid, 3, {Answer::kStatus, 3, 0}, 1);
      interfaces.SetStatus({10, 3}, up);
      ASSERT_TRUE(Settle());
      EXPECT_THAT(Pass(keeper), ElementsAre("other 10/3")) << instance << up;
      AskForAll(keeper);
      EXPECT_THAT(Pass(keeper), IsEmpty());
      EXPECT_THAT(Rows("interface"), testing::Each(HasSubstr(up ? " up " : " down ")));
    }
  }
}

TEST_F(InterfaceKeeper, AsksForFlagsMtuAndName) {
  WantAndSettle(Eth(3, R"("flags": ["broadcast"])"));
  const std::vector<std::string> wanted = Rows("interface");
  const auto expectMended = [&] {
    ASSERT_TRUE(Settle());
    ASSERT_NE(Rows("interface"), wanted);
    EXPECT_THAT(Pass(keeper), ElementsAre("other 10/3"));
    AskForAll(keeper);
    EXPECT_THAT(Pass(keeper), IsEmpty());
    EXPECT_EQ(Rows("interface"), wanted);
  };
  Register("eth3", 24, 1500, 1);
  expectMended();
  Register("eth3", 8, 1400, 1);
  expectMended();
  Register("eth33", 8, 1500, 1);
  expectMended();
  Register("eth", 8, 1500, 1);
  expectMended();
  EXPECT_STREQ(Tarsel::DcInterfaceMgr::GetInstance()->GetIfName(10, 3), "eth3");
}

TEST_F(InterfaceKeeper, RemovesOneThatIsNotWanted) {
  WantAndSettle(Eth(3) + "," + Eth(4));
  Refuse(INTERFACE, 2);
  WantAndSettle(Eth(4));
  EXPECT_THAT(Pass(keeper), ElementsAre("unwanted 10/3")) << "told once for both instances";
  AskForAll(keeper);
  EXPECT_THAT(TakeCalls(), ElementsAre(R"(sms_act_interface(6, 2, 10, 3, "eth3", 0, 0, 0))",
                                       R"(sms_act_interface(6, 2, 32778, 3, "eth3", 0, 0, 0))"));
  EXPECT_THAT(Pass(keeper), IsEmpty());
  EXPECT_THAT(Rows("interface"), SizeIs(2));
}

TEST_F(InterfaceKeeper, RemovesOneThatOneInstanceHasStill) {
  for (const unsigned instance : {10u, 32778u}) {
    WantAndSettle(Eth(3));
    const unsigned oid[] = {1, instance, 3};
    Control().ScriptRow(oid, 3, {Answer::kStatus, 3, 0}, 1);
    WantAndSettle("");
    EXPECT_THAT(Pass(keeper), ElementsAre("unwanted 10/3"));
    AskForAll(keeper);
    EXPECT_THAT(Rows("interface"), IsEmpty());
  }
}

// The index of names is one for all VLANs: what is not registered must not take a name away.
TEST_F(InterfaceKeeper, KeepsTheNameOfAnotherInterface) {
  WantAndSettle(Eth(3));
  Refuse(INTERFACE, 2);
  WantAndSettle(R"({"name": "eth3", "vlan": 11, "index": 7})");
  EXPECT_THAT(Pass(keeper), ElementsAre("unwanted 10/3"));
  AskForAll(keeper);
  unsigned int index = 0;
  EXPECT_TRUE(Tarsel::DcInterfaceMgr::GetInstance()->GetIfIndex("eth3", index));
  EXPECT_EQ(index, 7u);
}

TEST_F(InterfaceKeeper, WaitsForAnAnswerThatIsLate) {
  Script(INTERFACE, {Answer::kLate, 0, 500}, 2);
  Want(Eth(3));
  EXPECT_THAT(Pass(keeper), ElementsAre("under way 10/3"));
  loop.AdvanceMilliseconds(400);
  EXPECT_THAT(Pass(keeper), ElementsAre("under way 10/3"));
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Pass(keeper), IsEmpty());
}

TEST_F(InterfaceKeeper, OneThatIsNeverAnsweredIsUnderWayUntilItsEndIsReported) {
  Script(INTERFACE, {Answer::kNever, 0, 0}, 1);
  WantAndSettle(Eth(3));
  EXPECT_THAT(Pass(keeper), ElementsAre("under way 10/3"));
  EXPECT_THAT(Rows("interface"), SizeIs(1)) << "that of the IPv6 instance";
  EndLostRequests();
  EXPECT_THAT(Pass(keeper), ElementsAre("missing 10/3"));
  AskForAll(keeper);
  EXPECT_THAT(Pass(keeper), IsEmpty());
}

TEST_F(InterfaceKeeper, OneThatIsAnsweredTwiceIsThere) {
  Script(INTERFACE, {Answer::kTwice, 0, 0}, 2);
  WantAndSettle(Eth(3));
  EXPECT_THAT(Pass(keeper), IsEmpty());
}

TEST_F(InterfaceKeeper, KnowsWhyTheStackRefused) {
  Control().SetLimit(INTERFACE, 0, 4);
  WantAndSettle(Eth(3));
  EXPECT_EQ(keeper.Look(rows::InterfaceRow{10, 3}).status, 4u);
  Control().SetLimit(INTERFACE, static_cast<std::size_t>(-1), 4);
  AskForAll(keeper);
  EXPECT_EQ(keeper.Look(rows::InterfaceRow{10, 3}).status, 0u);
}

TEST_F(InterfaceKeeper, FindsNoDifferenceWhileTheStackIsNotReady) {
  WantAndSettle(Eth(3));
  Control().Restart();
  EXPECT_THAT(Pass(keeper), ElementsAre("under way 10/3"));
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Pass(keeper), ElementsAre("missing 10/3"));
}

TEST_F(InterfaceKeeper, TellsSinceWhenOneIsUnderWay) {
  const std::uint64_t begin = port.Now();
  Script(INTERFACE, {Answer::kLate, 0, 500}, 2);
  Want(Eth(3));
  loop.AdvanceMilliseconds(400);
  const Standing standing = keeper.Look(rows::InterfaceRow{10, 3});
  ASSERT_EQ(standing.kind, Standing::Kind::UNDER_WAY);
  EXPECT_EQ(standing.since, begin);
}

// Twenty that are wanted, and forty rows.
TEST_F(InterfaceKeeper, KeepsToTheSizeOfASlice) {
  std::string wanted = Eth(1);
  for (unsigned index = 2; index <= 20; ++index) {
    wanted += "," + Eth(index);
  }
  WantAndSettle(wanted);
  EXPECT_EQ(CountSlices(keeper, 1), 61u) << "and one that is empty";
  EXPECT_EQ(CountSlices(keeper, 7), 10u);
  EXPECT_EQ(CountSlices(keeper, 1000), 2u);
}

// Whatever comes and goes between two slices, what differs all the time is found once, and what is
// right all the time is not.
TEST_F(InterfaceKeeper, PassesInSlicesWhileInterfacesComeAndGo) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const auto draw = [&](unsigned below) { return static_cast<unsigned>(random() % below); };
  constexpr unsigned STRAYS = 20;
  constexpr unsigned COUNT = 60;  // the first ones are strays, then missing and right ones in turn
  std::string wanted;
  for (unsigned i = 0; i < COUNT; ++i) {
    if (i >= STRAYS) {
      wanted += (wanted.empty() ? "" : ",") + Eth(10 * i);
    }
    if (i < STRAYS || i % 2 == 0) {
      for (const unsigned instance : {10u, 32778u}) {
        sms_act_interface(4, 1, instance, 10 * i, ("eth" + std::to_string(10 * i)).c_str(), 0, 0,
                          1500);
      }
    }
  }
  ASSERT_TRUE(Settle());
  Refuse(INTERFACE, 1000);
  WantAndSettle(wanted);
  Control().ClearScripts();
  std::vector<std::string> expected;
  for (unsigned i = 0; i < COUNT; ++i) {
    const std::string row = " 10/" + std::to_string(10 * i);
    if (i < STRAYS) {
      expected.push_back("unwanted" + row);
    } else if (i % 2 != 0) {
      expected.push_back("missing" + row);
    }
  }
  for (int pass = 0; pass < 20; ++pass) {
    std::vector<std::string> lines;
    keeper.BeginPass();
    while (keeper.ContinuePass(1 + draw(7), [&](const rows::Row& row, const Standing& standing) {
      const std::string text = keepers_test::RowText(row);
      if (text.back() == '0') {
        lines.push_back(keepers_test::KindText(standing.kind) + " " + text);
      }
    })) {
      const unsigned passer = 10 * draw(COUNT) + 1 + draw(9);
      sms_act_interface(draw(2) != 0 ? 4 : 6, 1, draw(2) != 0 ? 10 : 32778, passer, "x", 0, 0, 0);
      loop.AdvanceMilliseconds(20);
    }
    ASSERT_THAT(lines, testing::UnorderedElementsAreArray(expected));
  }
}

}  // namespace
