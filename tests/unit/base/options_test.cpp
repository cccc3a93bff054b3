#include "tarsel/options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "allocation_counter.h"
#include "tests/support/json_text.h"

using Tarsel::Options;
using Tarsel::OptionsNode;
using Tarsel::OptionsNodeIterator;
using Tarsel::string;
using test_support::ParsedJson;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const char NOT_A_CONTAINER[] = "Incorrect Node type for Object or Array operations";
const char NOT_FOUND[] = "cannot find the node element";

// One member for every JSON type and for the numbers at the edges.
const char EVERYTHING[] = R"({
  "null": null, "true": true, "false": false, "text": "abc", "number text": "12",
  "zero": 0, "one": 1, "minus one": -1, "int max": 2147483647, "int min": -2147483648,
  "int max + 1": 2147483648, "int min - 1": -2147483649, "unsigned max": 4294967295,
  "unsigned max + 1": 4294967296, "huge": 18446744073709551615, "beyond": 1e300,
  "fraction": 2.5, "whole double": 7.0, "array": [1], "empty array": [],
  "object": {"a": 1}, "empty object": {} })";

std::vector<std::string> Names(const OptionsNode& node) {
  std::vector<std::string> names;
  for (OptionsNodeIterator i = node.begin(); i != node.end(); ++i) {
    names.push_back(i.GetName().c_str());
  }
  return names;
}

// What a read of "k" gives: its text, or the failure and proof that the result was left alone.
std::string ReadText(const OptionsNode& node, const char* key) {
  string value("before");
  const int result = node.GetAsString(value, key);
  if (result == 0) {
    EXPECT_STREQ(value.c_str(), "before") << key;
    return std::string("failed: ") + node.GetErrorText();
  }
  EXPECT_EQ(result, 1);
  return value.c_str();
}

template <class T>
std::string ReadValue(const OptionsNode& node, const char* key, T before) {
  T value = before;
  const int result = node.AsVal(value, key);
  if (result == 0) {
    EXPECT_EQ(value, before) << key;
    return std::string("failed: ") + node.GetErrorText();
  }
  EXPECT_EQ(result, 1);
  return std::to_string(value);
}

}  // namespace

class OptionsOfEverything : public testing::Test {
 protected:
  OptionsOfEverything() : options(ParsedJson(EVERYTHING)), root(options.GetRootNode()) {}

  const Options options;
  const OptionsNode root;
};

TEST_F(OptionsOfEverything, ReadsText) {
  EXPECT_EQ(ReadText(root, "text"), "abc");
  EXPECT_EQ(ReadText(root, "number text"), "12");
  EXPECT_EQ(ReadText(root, "null"), "");
  EXPECT_EQ(ReadText(root, "true"), "true");
  EXPECT_EQ(ReadText(root, "false"), "false");
  EXPECT_EQ(ReadText(root, "zero"), "0");
  EXPECT_EQ(ReadText(root, "minus one"), "-1");
  EXPECT_EQ(ReadText(root, "huge"), "18446744073709551615");
  EXPECT_EQ(ReadText(root, "fraction"), "2.5");
  EXPECT_EQ(ReadText(root, "beyond").find("failed"), std::string::npos);
}

TEST_F(OptionsOfEverything, ContainersAreNoText) {
  for (const char* key : {"array", "empty array", "object", "empty object"}) {
    EXPECT_EQ(ReadText(root, key), "failed: ") << key;
  }
}

TEST_F(OptionsOfEverything, ReadsBools) {
  EXPECT_EQ(ReadValue(root, "true", false), "1");
  EXPECT_EQ(ReadValue(root, "false", true), "0");
}

TEST_F(OptionsOfEverything, OnlyBoolsAreBools) {
  for (const char* key : {"text", "number text", "zero", "one", "fraction", "beyond", "array",
                          "empty array", "object", "empty object"}) {
    EXPECT_EQ(ReadValue(root, key, true), "failed: ") << key;
    EXPECT_EQ(ReadValue(root, key, false), "failed: ") << key;
  }
}

TEST_F(OptionsOfEverything, ReadsInts) {
  EXPECT_EQ(ReadValue(root, "zero", 5), "0");
  EXPECT_EQ(ReadValue(root, "minus one", 5), "-1");
  EXPECT_EQ(ReadValue(root, "int max", 5), "2147483647");
  EXPECT_EQ(ReadValue(root, "int min", 5), "-2147483648");
  EXPECT_EQ(ReadValue(root, "whole double", 5), "7");
}

TEST_F(OptionsOfEverything, OnlyIntegersInTheRangeAreInts) {
  for (const char* key :
       {"true", "text", "number text", "int max + 1", "int min - 1", "unsigned max", "huge",
        "beyond", "fraction", "array", "empty array", "object", "empty object"}) {
    EXPECT_EQ(ReadValue(root, key, 5), "failed: ") << key;
  }
}

TEST_F(OptionsOfEverything, ReadsUnsignedInts) {
  EXPECT_EQ(ReadValue(root, "zero", 5u), "0");
  EXPECT_EQ(ReadValue(root, "int max + 1", 5u), "2147483648");
  EXPECT_EQ(ReadValue(root, "unsigned max", 5u), "4294967295");
  EXPECT_EQ(ReadValue(root, "whole double", 5u), "7");
}

TEST_F(OptionsOfEverything, OnlyIntegersInTheRangeAreUnsignedInts) {
  for (const char* key :
       {"true", "text", "number text", "minus one", "int min", "unsigned max + 1", "huge", "beyond",
        "fraction", "array", "empty array", "object", "empty object"}) {
    EXPECT_EQ(ReadValue(root, key, 5u), "failed: ") << key;
  }
}

TEST_F(OptionsOfEverything, AMissingMemberIsNotFound) {
  const std::string want = std::string("failed: ") + NOT_FOUND;
  for (const char* key : {"absent", "", "Text", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(ReadText(root, key), want);
    EXPECT_EQ(ReadValue(root, key, false), want);
    EXPECT_EQ(ReadValue(root, key, 5), want);
    EXPECT_EQ(ReadValue(root, key, 5u), want);
  }
}

TEST_F(OptionsOfEverything, ANullMemberIsNotFoundByTypedReads) {
  const std::string want = std::string("failed: ") + NOT_FOUND;
  EXPECT_EQ(ReadValue(root, "null", false), want);
  EXPECT_EQ(ReadValue(root, "null", 5), want);
  EXPECT_EQ(ReadValue(root, "null", 5u), want);
}

TEST_F(OptionsOfEverything, NothingButAnObjectHasMembers) {
  const std::string want = std::string("failed: ") + NOT_A_CONTAINER;
  for (const char* key : {"null", "true", "text", "one", "minus one", "huge", "fraction", "array",
                          "empty array", "absent"}) {
    const OptionsNode node = root.GetChildNode(key);
    EXPECT_FALSE(node.IsObject()) << key;
    EXPECT_EQ(ReadText(node, "a"), want) << key;
    EXPECT_EQ(ReadValue(node, "a", false), want) << key;
    EXPECT_EQ(ReadValue(node, "a", 5), want) << key;
    EXPECT_EQ(ReadValue(node, "a", 5u), want) << key;
    EXPECT_TRUE(node.GetChildNode("a").IsNull()) << key;
  }
}

TEST_F(OptionsOfEverything, TellsNullEmptyAndObject) {
  const struct {
    const char* key;
    bool isNull, isEmpty, isObject;
  } cases[] = {
      {"null", true, true, false},         {"absent", true, true, false},
      {"true", false, false, false},       {"false", false, false, false},
      {"text", false, false, false},       {"zero", false, false, false},
      {"fraction", false, false, false},   {"array", false, false, false},
      {"empty array", false, true, false}, {"object", false, false, true},
      {"empty object", false, true, true},
  };
  for (const auto& c : cases) {
    const OptionsNode node = root.GetChildNode(c.key);
    EXPECT_EQ(node.IsNull(), c.isNull) << c.key;
    EXPECT_EQ(node.IsEmpty(), c.isEmpty) << c.key;
    EXPECT_EQ(node.IsObject(), c.isObject) << c.key;
  }
}

TEST_F(OptionsOfEverything, ScalarsHaveNoChildren) {
  for (const char* key : {"null", "absent", "true", "text", "zero", "huge", "fraction",
                          "empty array", "empty object"}) {
    EXPECT_THAT(Names(root.GetChildNode(key)), IsEmpty()) << key;
  }
}

TEST(OptionsNode, ADefaultNodeIsNull) {
  const OptionsNode node;
  EXPECT_TRUE(node.IsNull());
  EXPECT_TRUE(node.IsEmpty());
  EXPECT_FALSE(node.IsObject());
  EXPECT_TRUE(node.begin() == node.end());
  EXPECT_STREQ(node.GetErrorText(), "");
  EXPECT_EQ(ReadText(node, "a"), std::string("failed: ") + NOT_A_CONTAINER);
}

TEST(OptionsNode, DefaultOptionsHaveANullRoot) {
  const Options options;
  EXPECT_TRUE(options.GetRootNode().IsNull());
  EXPECT_TRUE(options.GetRootNode().GetChildNode("a").IsNull());
}

TEST(OptionsNode, ARootNeedsNotBeAnObject) {
  for (const char* text : {"null", "true", "1", "2.5", "\"text\"", "[]", "[1]"}) {
    const Options options(ParsedJson(text));
    const OptionsNode root = options.GetRootNode();
    EXPECT_TRUE(root.GetChildNode("VLAN_CONFIGURATIONS").IsNull()) << text;
    EXPECT_STREQ(root.GetErrorText(), NOT_A_CONTAINER) << text;
  }
}

TEST(OptionsNode, KeepsTheErrorTextOfTheLastFailure) {
  const Options options(ParsedJson(R"({"a": "x", "b": 1})"));
  const OptionsNode root = options.GetRootNode();
  int value = 0;
  EXPECT_STREQ(root.GetErrorText(), "");
  EXPECT_EQ(root.AsVal(value, "absent"), 0);
  EXPECT_STREQ(root.GetErrorText(), NOT_FOUND);
  EXPECT_EQ(root.AsVal(value, "b"), 1);
  EXPECT_STREQ(root.GetErrorText(), NOT_FOUND);
  EXPECT_EQ(root.AsVal(value, "a"), 0);
  EXPECT_STREQ(root.GetErrorText(), "");
  EXPECT_TRUE(root.GetChildNode("absent").IsNull());
  EXPECT_STREQ(root.GetErrorText(), NOT_FOUND);
}

TEST(OptionsNode, AFreshNodeOfTheSameElementHasNoErrorText) {
  const Options options(ParsedJson(R"({"list": [1]})"));
  const OptionsNode list = options.GetRootNode().GetChildNode("list");
  const OptionsNodeIterator position = list.begin();
  const OptionsNode element = *position;
  int value = 0;
  EXPECT_EQ(element.AsVal(value, "vid"), 0);
  EXPECT_STREQ(element.GetErrorText(), NOT_A_CONTAINER);
  EXPECT_STREQ((*position).GetErrorText(), "");
}

// The keys stand in an order that is not the sorted one: the document's order is the sorted one all
// the same.
TEST(OptionsNodeIterator, WalksObjectsInKeyOrder) {
  const Options options(ParsedJson(R"({"z": 1, "b": 2, "aa": 3, "a10": 4, "a9": 5, "B": 6})"));
  EXPECT_THAT(Names(options.GetRootNode()), ElementsAre("B", "a10", "a9", "aa", "b", "z"));
}

TEST(OptionsNodeIterator, WalksArraysInIndexOrder) {
  const Options options(ParsedJson(
      R"({"list": [{"n": 5}, null, {"n": 3}, {"n": 4}, {}, {}, {}, {}, {}, {}, {"n": 1}]})"));
  const OptionsNode list = options.GetRootNode().GetChildNode("list");
  std::vector<int> numbers;
  for (OptionsNodeIterator i = list.begin(); i != list.end(); ++i) {
    int number = -1;
    (*i).AsVal(number, "n");
    numbers.push_back(number);
    EXPECT_STREQ(i.GetName().c_str(), "");
  }
  EXPECT_THAT(numbers, ElementsAre(5, -1, 3, 4, -1, -1, -1, -1, -1, -1, 1));
}

TEST(OptionsNodeIterator, ComparesPositions) {
  const Options options(ParsedJson(R"({"a": 1, "b": 2})"));
  const OptionsNode root = options.GetRootNode();
  OptionsNodeIterator first = root.begin();
  OptionsNodeIterator second = root.begin();
  EXPECT_TRUE(first == second);
  EXPECT_FALSE(first != second);
  ++second;
  EXPECT_FALSE(first == second);
  EXPECT_TRUE(first != second);
  EXPECT_TRUE(++ ++first == root.end());
}

TEST(OptionsNodeIterator, ElementsOutliveTheirNodesAndIterators) {
  const Options options(ParsedJson(R"({"a": {"b": {"c": 7}}})"));
  OptionsNode inner;
  {
    const OptionsNode outer = options.GetRootNode().GetChildNode("a");
    inner = *outer.begin();
  }
  int value = 0;
  EXPECT_EQ(inner.AsVal(value, "c"), 1);
  EXPECT_EQ(value, 7);
}

TEST(OptionsNode, GoesDownADeepDocument) {
  const int depth = 900;
  std::string text;
  for (int i = 0; i < depth; ++i) {
    text += "{\"a\":";
  }
  text += "1" + std::string(depth, '}');
  const Options options(ParsedJson(text));
  OptionsNode node = options.GetRootNode();
  for (int i = 0; i < depth - 1; ++i) {
    node = node.GetChildNode("a");
    ASSERT_TRUE(node.IsObject());
  }
  int value = 0;
  EXPECT_EQ(node.AsVal(value, "a"), 1);
  EXPECT_EQ(value, 1);
}

TEST(OptionsNode, KeepsTextsWithEmbeddedNulsWhole) {
  const Options options(ParsedJson(R"({"a": "x\u0000y"})"));
  string value;
  EXPECT_EQ(options.GetRootNode().GetAsString(value, "a"), 1);
  EXPECT_EQ(value.get_length(), 3u);
}

// A large document is walked all over without copying any of it.
TEST(OptionsNode, CopiesNothingOfTheDocument) {
  Json::Value document(Json::objectValue);
  for (int i = 0; i < 300; ++i) {
    Json::Value& entry = document["VLAN_CONFIGURATIONS"]["vlan" + std::to_string(i)];
    entry["vid"] = i;
    for (int j = 0; j < 10; ++j) {
      entry["RIPV2"]["IF_LIST"]["i" + std::to_string(j)]["enabled"] = true;
    }
  }
  const Options options(std::move(document));

  const std::size_t before = AllocationCount();
  int enabledRows = 0;
  int vidSum = 0;
  const OptionsNode vlans = options.GetRootNode().GetChildNode("VLAN_CONFIGURATIONS");
  for (OptionsNodeIterator i = vlans.begin(); i != vlans.end(); ++i) {
    const OptionsNode vlan = *i;
    int vid = 0;
    EXPECT_EQ(vlan.AsVal(vid, "vid"), 1);
    vidSum += vid;
    const OptionsNode rows = vlan.GetChildNode("RIPV2").GetChildNode("IF_LIST");
    for (OptionsNodeIterator row = rows.begin(); row != rows.end(); ++row) {
      bool enabled = false;
      enabledRows += (*row).AsVal(enabled, "enabled") != 0 && enabled;
    }
  }
  const std::size_t after = AllocationCount();

  EXPECT_EQ(after, before);
  EXPECT_EQ(enabledRows, 3000);
  EXPECT_EQ(vidSum, 299 * 300 / 2);
}
