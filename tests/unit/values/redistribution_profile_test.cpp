#include "vantacore/redistribution_profile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "tests/support/json_text.h"
#include "tests/support/trace_capture.h"

namespace {

using Tarsel::RedistributionProfile;
using test_support::Node;

// The flags in field order: static, connected, rip, ospf, bgp.
std::string Flags(const RedistributionProfile& p) {
  std::string text;
  for (bool flag : {p.static_, p.connected, p.rip, p.ospf, p.bgp}) {
    text += flag ? '1' : '0';
  }
  return text;
}

RedistributionProfile AllOff() { return {false, false, false, false, false}; }

static_assert(sizeof(RedistributionProfile) == 5);
static_assert(offsetof(RedistributionProfile, static_) == 0);
static_assert(offsetof(RedistributionProfile, connected) == 1);
static_assert(offsetof(RedistributionProfile, rip) == 2);
static_assert(offsetof(RedistributionProfile, ospf) == 3);
static_assert(offsetof(RedistributionProfile, bgp) == 4);

TEST(RedistributionProfileTest, EverythingIsOnByDefault) {
  EXPECT_EQ(Flags(RedistributionProfile()), "11111");
}

TEST(RedistributionProfileTest, TheConstructorTakesBgpOspfRip) {
  EXPECT_EQ(Flags({true, false, false, false, false}), "10000");
  EXPECT_EQ(Flags({false, true, false, false, false}), "01000");
  EXPECT_EQ(Flags({false, false, true, false, false}), "00001");
  EXPECT_EQ(Flags({false, false, false, true, false}), "00010");
  EXPECT_EQ(Flags({false, false, false, false, true}), "00100");
  const RedistributionProfile profile(true, true, false, true, true);
  EXPECT_FALSE(profile.bgp);
  EXPECT_TRUE(profile.rip);
}

TEST(RedistributionProfileTest, AssignmentCopiesAllFlags) {
  const RedistributionProfile source(true, false, true, false, true);
  RedistributionProfile target;
  EXPECT_EQ(&(target = source), &target);
  EXPECT_EQ(Flags(target), Flags(source));
  RedistributionProfile& same = target;
  target = same;
  EXPECT_EQ(Flags(target), Flags(source));
  EXPECT_EQ(Flags(RedistributionProfile(source)), Flags(source));
}

TEST(RedistributionProfileTest, EqualMeansAllFiveFlags) {
  const RedistributionProfile on;
  EXPECT_TRUE(on == RedistributionProfile());
  EXPECT_FALSE(on != RedistributionProfile());
  const RedistributionProfile oneOff[] = {{false, true, true, true, true},
                                          {true, false, true, true, true},
                                          {true, true, false, true, true},
                                          {true, true, true, false, true},
                                          {true, true, true, true, false}};
  for (const RedistributionProfile& other : oneOff) {
    EXPECT_FALSE(on == other) << Flags(other);
    EXPECT_TRUE(on != other) << Flags(other);
  }
}

TEST(RedistributionProfileTest, ProfilesThatDifferInRipOnlyAreUnequal) {
  EXPECT_NE(RedistributionProfile(true, true, true, true, true),
            RedistributionProfile(true, true, true, true, false));
}

TEST(RedistributionProfileTest, ResetTurnsEverythingOn) {
  RedistributionProfile profile = AllOff();
  profile.Reset();
  EXPECT_EQ(Flags(profile), "11111");
}

TEST(RedistributionProfileTest, ParsesAllFlags) {
  const Node node(R"({"REDISTRIBUTION": {"static": true, "connected": false, "rip": true,
      "ospf": false, "bgp": true}})");
  RedistributionProfile profile(false, true, false, true, false);
  EXPECT_TRUE(profile.ParseOption(node));
  EXPECT_EQ(Flags(profile), "10101");
}

TEST(RedistributionProfileTest, EachKeySetsItsOwnFlag) {
  const char* const keys[] = {"static", "connected", "rip", "ospf", "bgp"};
  for (std::size_t i = 0; i < 5; ++i) {
    const Node node(std::string(R"({"REDISTRIBUTION": {")") + keys[i] + R"(": true}})");
    RedistributionProfile profile = AllOff();
    EXPECT_TRUE(profile.ParseOption(node));
    std::string expected = "00000";
    expected[i] = '1';
    EXPECT_EQ(Flags(profile), expected) << keys[i];
  }
}

TEST(RedistributionProfileTest, AbsentFlagsKeepTheirValues) {
  const Node node(R"({"REDISTRIBUTION": {"bgp": false}})");
  RedistributionProfile on;
  EXPECT_TRUE(on.ParseOption(node));
  EXPECT_EQ(Flags(on), "11110");
  RedistributionProfile mixed(false, true, true, false, true);
  EXPECT_TRUE(mixed.ParseOption(node));
  EXPECT_EQ(Flags(mixed), "01100");
}

TEST(RedistributionProfileTest, UnreadableFlagsKeepTheirValues) {
  const Node node(R"({"REDISTRIBUTION": {"static": 1, "connected": "false", "rip": null,
      "ospf": {}, "bgp": [true]}})");
  RedistributionProfile on;
  EXPECT_TRUE(on.ParseOption(node));
  EXPECT_EQ(Flags(on), "11111");
  RedistributionProfile off = AllOff();
  EXPECT_TRUE(off.ParseOption(node));
  EXPECT_EQ(Flags(off), "00000");
}

TEST(RedistributionProfileTest, AbsentOrEmptyMemberIsFalseAndChangesNothing) {
  test_support::TraceCapture trace;
  for (const char* json : {"{}", "null", "5", "[1]", R"({"REDISTRIBUTION": null})",
                           R"({"REDISTRIBUTION": {}})", R"({"REDISTRIBUTION": []})"}) {
    const Node node(json);
    RedistributionProfile profile = AllOff();
    EXPECT_FALSE(profile.ParseOption(node)) << json;
    EXPECT_EQ(Flags(profile), "00000") << json;
  }
  EXPECT_THAT(trace.Lines(), testing::IsEmpty());
}

TEST(RedistributionProfileTest, MemberThatIsNoObjectIsTrueAndChangesNothing) {
  for (const char* json :
       {R"({"REDISTRIBUTION": 5})", R"({"REDISTRIBUTION": "off"})", R"({"REDISTRIBUTION": false})",
        R"({"REDISTRIBUTION": [false, false]})"}) {
    const Node node(json);
    RedistributionProfile profile(false, true, false, true, false);
    EXPECT_TRUE(profile.ParseOption(node)) << json;
    EXPECT_EQ(Flags(profile), "01010") << json;
  }
}

}  // namespace
