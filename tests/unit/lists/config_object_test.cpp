// What all configuration objects have in common.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "test_objects.h"
#include "tests/support/json_text.h"
#include "tests/support/trace_capture.h"

namespace {

using config_test::TestObject;
using config_test::TestRouter;
using config_test::World;
using test_support::Node;
using test_support::TraceCapture;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using namespace Tarsel;

const char NOT_FOUND[] = "cannot find the node element";
const char WRONG_NODE[] = "Incorrect Node type for Object or Array operations";

static_assert(std::is_abstract_v<DclConfigObject>);
static_assert(DclConfigObject::VLAN_OPTIONS == 0 && DclConfigObject::REMOTE_OPTIONS == 1);
static_assert(std::is_same_v<std::underlying_type_t<DclConfigObject::OptionType>, int>,
              "other kinds of documents are legal values");

class ConfigObjectTest : public testing::Test {
 protected:
  World world;
  TestRouter router{12};
};

TEST_F(ConfigObjectTest, Defaults) {
  const TestObject object(router, world);
  EXPECT_EQ(object.GetVlan(), 0);
  EXPECT_EQ(object.GetId(), 0u);
  EXPECT_EQ(object.GetName(), "");
  EXPECT_EQ(object.GetType(), 0);
  EXPECT_FALSE(object.GetInMib());
  EXPECT_TRUE(object.GetActionReq());
  EXPECT_FALSE(object.GetSuspended());
  EXPECT_EQ(&object.GetRouter(), &router);
}

TEST_F(ConfigObjectTest, TheCopyTakesKeyAndRouterOnly) {
  TestObject source(router, world);
  source.SetKey(12, 70000);
  source.SetSource("file", DclConfigObject::REMOTE_OPTIONS);
  source.SetInMib(true);
  source.SetActionReq(false);
  source.SetSuspended(true);
  const TestObject copy(&source);
  EXPECT_EQ(copy.GetVlan(), 12);
  EXPECT_EQ(copy.GetId(), 70000u);
  EXPECT_EQ(&copy.GetRouter(), &router);
  EXPECT_EQ(copy.GetName(), "");
  EXPECT_EQ(copy.GetType(), 0);
  EXPECT_FALSE(copy.GetInMib());
  EXPECT_TRUE(copy.GetActionReq());
  EXPECT_FALSE(copy.GetSuspended());
}

TEST_F(ConfigObjectTest, KeysMatchByVlanAndId) {
  TestObject a(router, world);
  TestObject b(router, world);
  a.SetKey(1, 2);
  b.SetKey(1, 2);
  b.SetSource("other", DclConfigObject::REMOTE_OPTIONS);
  b.value = "other";
  EXPECT_TRUE(a.KeyMatch(&b));
  b.SetKey(2, 2);
  EXPECT_FALSE(a.KeyMatch(&b));
  b.SetKey(1, 3);
  EXPECT_FALSE(a.KeyMatch(&b));
  b.SetKey(2, 1);
  EXPECT_FALSE(a.KeyMatch(&b));
  b.SetKey(1, 65536 + 2);
  EXPECT_FALSE(a.KeyMatch(&b)) << "an id has 32 bits";
}

TEST_F(ConfigObjectTest, DebugDumpTracesOneLineAtLevel5) {
  TraceCapture trace;
  TestObject object(router, world);
  object.SetKey(12, 345);
  object.DebugDump("Label");
  object.SetInMib(true);
  object.SetActionReq(false);
  object.DebugDump("Label");
  object.SetKey(65535, 4294967295u);
  object.SetDestroy();
  object.DebugDump("");
  EXPECT_THAT(trace.Lines(),
              ElementsAre("5:Label:: ActionReq: 1 InMib: 0  Vlan: 12   ID: 345 RowStatus C\n",
                          "5:Label:: ActionReq: 0 InMib: 1  Vlan: 12   ID: 345 RowStatus M\n",
                          "5::: ActionReq: 0 InMib: 1  Vlan: 65535   ID: -1 RowStatus D\n"));
}

// ---- names

TEST(ObjectNameTest, FieldsFollowUnderscores) {
  const char name[] = "OSPF_12_3_1_0";
  EXPECT_EQ(DclConfigObject::ParseKeyFromName(name, 1), 12);
  EXPECT_EQ(DclConfigObject::ParseKeyFromName(name, 2), 3);
  EXPECT_EQ(DclConfigObject::ParseKeyFromName(name, 3), 1);
  EXPECT_EQ(DclConfigObject::ParseKeyFromName(name, 4), 0);
  EXPECT_EQ(DclConfigObject::ParseKeyFromName("A_1_22_333_4444_55555", 5), 55555);
}

TEST(ObjectNameTest, AMissingFieldIsZero) {
  EXPECT_EQ(DclConfigObject::ParseKeyFromName("A_5", 2), 0);
  EXPECT_EQ(DclConfigObject::ParseKeyFromName("A", 1), 0);
  EXPECT_EQ(DclConfigObject::ParseKeyFromName("", 1), 0);
  EXPECT_EQ(DclConfigObject::ParseKeyFromName("A_5_6", 1000000), 0);
  EXPECT_EQ(DclConfigObject::ParseKeyFromName(nullptr, 1), 0);
}

struct KeyCase {
  const char* name;
  unsigned short value;
};

TEST(ObjectNameTest, NumbersAreReadLenientlyAndCutTo16Bits) {
  for (const KeyCase& c :
       {KeyCase{"A_5_70000", 4464}, KeyCase{"A_5_65536", 0}, KeyCase{"A_5_", 0},
        KeyCase{"A_5__7", 0}, KeyCase{"A_5_7x", 7}, KeyCase{"A_5_x7", 0}, KeyCase{"A_5_ 7", 7},
        KeyCase{"A_5_-1", 65535}, KeyCase{"A_5_4294967298", 65535}, KeyCase{"A_5_7:8", 7}}) {
    EXPECT_EQ(DclConfigObject::ParseKeyFromName(c.name, 2), c.value) << c.name;
  }
}

TEST_F(ConfigObjectTest, TheIdIsFieldTwo) {
  TestObject object(router, world);
  EXPECT_EQ(object.ParseId("OSPF_12_3_1_0"), 3);
  EXPECT_EQ(object.GetId(), 3u);
  EXPECT_EQ(object.ParseId("A_5_70000"), 4464);
  EXPECT_EQ(object.GetId(), 4464u);
  EXPECT_EQ(object.ParseId("A_5"), 0);
  EXPECT_EQ(object.GetId(), 0u);
}

TEST(ObjectNameTest, NumberAndSecondIndexAreFieldsThreeAndFour) {
  EXPECT_EQ(DclConfigObject::ParseNumber("OSPF_12_3_11_22"), 11);
  EXPECT_EQ(DclConfigObject::ParseSecondIndex("OSPF_12_3_11_22"), 22);
  EXPECT_EQ(DclConfigObject::ParseNumber("OSPF_12_3"), 0);
  EXPECT_EQ(DclConfigObject::ParseSecondIndex("OSPF_12_3_11"), 0);
}

// ---- address families

struct FamilyCase {
  const char* json;
  int result;
  int afi;
  int safi;
};

TEST(AddressFamilyTest, Translations) {
  for (const FamilyCase& c :
       {FamilyCase{R"({"a": 0})", 1, 1, 3}, FamilyCase{R"({"a": 1})", 1, 2, 128},
        FamilyCase{R"({"a": 2})", 1, 1, 2}, FamilyCase{R"({"a": 3})", 1, 1, 1},
        FamilyCase{R"({"a": -1})", 1, 1, 1}, FamilyCase{R"({"a": 2147483647})", 1, 1, 1},
        // What cannot be read is translated too, as "anything else".
        FamilyCase{"{}", 0, 1, 1}, FamilyCase{"null", 0, 1, 1}, FamilyCase{"5", 0, 1, 1},
        FamilyCase{"[1]", 0, 1, 1}, FamilyCase{R"({"a": null})", 0, 1, 1},
        FamilyCase{R"({"a": "1"})", 0, 1, 1}, FamilyCase{R"({"a": "0"})", 0, 1, 1},
        FamilyCase{R"({"a": {}})", 0, 1, 1}, FamilyCase{R"({"a": true})", 0, 1, 1},
        FamilyCase{R"({"a": 4294967296})", 0, 1, 1}, FamilyCase{R"({"a": 4294967297})", 0, 1, 1}}) {
    for (int before : {0, 1, 2, 77}) {
      const Node node(c.json);
      int afi = before;
      EXPECT_EQ(DclConfigObject::ParseAfiOption(node, afi, "a"), c.result) << c.json;
      EXPECT_EQ(afi, c.afi) << c.json;
      int safi = before;
      EXPECT_EQ(DclConfigObject::ParseSafiOption(node, safi, "a"), c.result) << c.json;
      EXPECT_EQ(safi, c.safi) << c.json;
    }
  }
}

TEST(AddressFamilyTest, AMissingMemberLeavesItsErrorTextOnTheNode) {
  const Node object("{}");
  const Node scalar("5");
  int value;
  DclConfigObject::ParseAfiOption(object, value, "a");
  EXPECT_STREQ(object->GetErrorText(), NOT_FOUND);
  DclConfigObject::ParseAfiOption(scalar, value, "a");
  EXPECT_STREQ(scalar->GetErrorText(), WRONG_NODE);
  const Node object2("{}");
  const Node scalar2("[1]");
  DclConfigObject::ParseSafiOption(object2, value, "a");
  EXPECT_STREQ(object2->GetErrorText(), NOT_FOUND);
  DclConfigObject::ParseSafiOption(scalar2, value, "a");
  EXPECT_STREQ(scalar2->GetErrorText(), WRONG_NODE);
}

TEST(AddressFamilyTest, ANullKeyIsReportedAndCountsAsAbsent) {
  TraceCapture trace;
  const Node node(R"({"a": 1})");
  int afi = 77;
  int safi = 77;
  EXPECT_EQ(DclConfigObject::ParseAfiOption(node, afi, nullptr), 0);
  EXPECT_EQ(afi, 1);
  EXPECT_EQ(DclConfigObject::ParseSafiOption(node, safi, nullptr), 0);
  EXPECT_EQ(safi, 1);
  EXPECT_THAT(trace.Assertions(), ElementsAre(StartsWith("grp_name != 0|dcl_config_object|"),
                                              StartsWith("grp_name != 0|dcl_config_object|")));
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

}  // namespace
