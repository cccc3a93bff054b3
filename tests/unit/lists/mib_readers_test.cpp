// The readers that fill row fields from a group.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <type_traits>

#include "tests/support/json_text.h"
#include "tests/support/trace_capture.h"
#include "vantacore/dcl_config_object.h"

namespace {

using test_support::Node;
using test_support::TraceCapture;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace Tarsel;

constexpr unsigned char UNTOUCHED = 0xEE;
constexpr unsigned int NO_LENGTH = 4711;
const char NOT_FOUND[] = "cannot find the node element";
const char WRONG_NODE[] = "Incorrect Node type for Object or Array operations";

// A field of a row, filled with marks, and its length.
struct Field {
  Field() { bytes.fill(UNTOUCHED); }
  std::array<unsigned char, 160> bytes;
  unsigned int length = NO_LENGTH;

  std::string Text(std::size_t size) const {
    return std::string(reinterpret_cast<const char*>(bytes.data()), size);
  }
  bool UntouchedFrom(std::size_t first) const {
    return std::all_of(bytes.begin() + static_cast<std::ptrdiff_t>(first), bytes.end(),
                       [](unsigned char byte) { return byte == UNTOUCHED; });
  }
};

// ---- addresses

TEST(ReadDCLMibIpAddressTest, WritesFourBytes) {
  const Node node(R"({"a": "10.1.2.3"})");
  Field field;
  EXPECT_TRUE(ReadDCLMibIpAddress(node, "a", field.bytes.data(), field.length));
  EXPECT_EQ(field.length, 4u);
  EXPECT_EQ(field.Text(4), std::string("\x0a\x01\x02\x03"));
  EXPECT_TRUE(field.UntouchedFrom(4));
}

TEST(ReadDCLMibIpAddressTest, LengthIsZeroAndBytesUntouchedOtherwise) {
  for (const char* json :
       {R"({"a": ""})", R"({"a": "10.1.2"})", R"({"a": "dynamic"})", R"({"a": "::1"})",
        R"({"a": 5})", R"({"a": {}})", R"({"a": null})", "{}", "null", "[1]", "5"}) {
    const Node node(json);
    Field field;
    EXPECT_FALSE(ReadDCLMibIpAddress(node, "a", field.bytes.data(), field.length)) << json;
    EXPECT_EQ(field.length, 0u) << json;
    EXPECT_TRUE(field.UntouchedFrom(0)) << json;
  }
}

TEST(ReadDCLMibIpv6AddressTest, WritesSixteenBytes) {
  const Node node(R"({"a": "2001:db8::1"})");
  Field field;
  EXPECT_TRUE(ReadDCLMibIpv6Address(node, "a", field.bytes.data(), field.length));
  EXPECT_EQ(field.length, 16u);
  EXPECT_EQ(field.Text(16), std::string("\x20\x01\x0d\xb8\0\0\0\0\0\0\0\0\0\0\0\x01", 16));
  EXPECT_TRUE(field.UntouchedFrom(16));
}

TEST(ReadDCLMibIpv6AddressTest, LengthIsZeroAndBytesUntouchedOtherwise) {
  for (const char* json : {R"({"a": ""})", R"({"a": "1::2::3"})", R"({"a": "dynamic"})",
                           R"({"a": "10.1.2.3"})", R"({"a": "::1\u0000x"})", R"({"a": 5})",
                           R"({"a": []})", R"({"a": null})", "{}", "null", "\"::1\""}) {
    const Node node(json);
    Field field;
    EXPECT_FALSE(ReadDCLMibIpv6Address(node, "a", field.bytes.data(), field.length)) << json;
    EXPECT_EQ(field.length, 0u) << json;
    EXPECT_TRUE(field.UntouchedFrom(0)) << json;
  }
}

TEST(ReadDCLMibAddressTest, AMissingMemberLeavesItsErrorTextOnTheNode) {
  const Node object("{}");
  const Node scalar("5");
  Field field;
  ReadDCLMibIpAddress(object, "a", field.bytes.data(), field.length);
  EXPECT_STREQ(object->GetErrorText(), NOT_FOUND);
  ReadDCLMibIpAddress(scalar, "a", field.bytes.data(), field.length);
  EXPECT_STREQ(scalar->GetErrorText(), WRONG_NODE);
  const Node object6("{}");
  const Node scalar6("5");
  ReadDCLMibIpv6Address(object6, "a", field.bytes.data(), field.length);
  EXPECT_STREQ(object6->GetErrorText(), NOT_FOUND);
  ReadDCLMibIpv6Address(scalar6, "a", field.bytes.data(), field.length);
  EXPECT_STREQ(scalar6->GetErrorText(), WRONG_NODE);
}

// ---- numbers

template <class Number>
class ReadDCLMibValueTest : public testing::Test {};

using NumberTypes = testing::Types<int, unsigned int>;
TYPED_TEST_SUITE(ReadDCLMibValueTest, NumberTypes);

TYPED_TEST(ReadDCLMibValueTest, WritesTheValueAndLengthOne) {
  const Node node(R"({"a": 1234567, "zero": 0})");
  TypeParam value = 77;
  int length = 4711;
  EXPECT_TRUE(ReadDCLMibValue(node, "a", value, length));
  EXPECT_EQ(value, TypeParam{1234567});
  EXPECT_EQ(length, 1);
  EXPECT_TRUE(ReadDCLMibValue(node, "zero", value, length));
  EXPECT_EQ(value, TypeParam{0});
}

TYPED_TEST(ReadDCLMibValueTest, WritesNothingOtherwise) {
  for (const char* json :
       {R"({"a": "5"})", R"({"a": 1.5})", R"({"a": true})", R"({"a": null})", R"({"a": {}})",
        R"({"a": 99999999999})", R"({"a": -2147483649})", "{}", "null", "[5]", "5"}) {
    const Node node(json);
    TypeParam value = 77;
    int length = 4711;
    EXPECT_FALSE(ReadDCLMibValue(node, "a", value, length)) << json;
    EXPECT_EQ(value, TypeParam{77}) << json;
    EXPECT_EQ(length, 4711) << json;
  }
}

TYPED_TEST(ReadDCLMibValueTest, SetsTheErrorTextOfTheNode) {
  const Node object("{}");
  const Node scalar("5");
  TypeParam value = 77;
  int length = 4711;
  ReadDCLMibValue(object, "a", value, length);
  EXPECT_STREQ(object->GetErrorText(), NOT_FOUND);
  ReadDCLMibValue(scalar, "a", value, length);
  EXPECT_STREQ(scalar->GetErrorText(), WRONG_NODE);
}

TEST(ReadDCLMibValueRangeTest, EachFormTakesItsOwnRange) {
  const Node node(R"({"big": 4294967295, "negative": -5})");
  int number = 77;
  unsigned int positive = 77;
  int length = 0;
  EXPECT_TRUE(ReadDCLMibValue(node, "big", positive, length));
  EXPECT_EQ(positive, 4294967295u);
  EXPECT_FALSE(ReadDCLMibValue(node, "big", number, length));
  EXPECT_TRUE(ReadDCLMibValue(node, "negative", number, length));
  EXPECT_EQ(number, -5);
  EXPECT_FALSE(ReadDCLMibValue(node, "negative", positive, length));
  EXPECT_EQ(positive, 4294967295u);
}

// ---- texts

bool ReadText(const std::string& text, Field& field) {
  Json::Value value;
  value["a"] = text;
  const Options document(value);
  return ReadDCLMibString(document.GetRootNode(), "a", field.bytes.data(), field.length);
}

TEST(ReadDCLMibStringTest, CopiesTheText) {
  for (const char* text : {"x", "abc.*", "a b c", ".", ".a*", "*.", " .*", "%s%n"}) {
    TraceCapture trace;
    Field field;
    EXPECT_TRUE(ReadText(text, field)) << text;
    EXPECT_EQ(field.length, std::strlen(text)) << text;
    EXPECT_EQ(field.Text(field.length), text);
    EXPECT_EQ(field.bytes[field.length], 0) << "shorter texts are terminated";
    EXPECT_THAT(trace.Lines(), IsEmpty());
  }
}

TEST(ReadDCLMibStringTest, ReadsANumberAsText) {
  const Node node(R"({"a": 65000})");
  Field field;
  EXPECT_TRUE(ReadDCLMibString(node, "a", field.bytes.data(), field.length));
  EXPECT_EQ(field.Text(field.length), "65000");
}

TEST(ReadDCLMibStringTest, ATextOf126CharactersIsTerminated) {
  Field field;
  EXPECT_TRUE(ReadText(std::string(126, 'x'), field));
  EXPECT_EQ(field.length, 126u);
  EXPECT_EQ(field.Text(126), std::string(126, 'x'));
  EXPECT_EQ(field.bytes[126], 0);
  EXPECT_TRUE(field.UntouchedFrom(127));
}

TEST(ReadDCLMibStringTest, LongerTextsAreCutAt127AndNotTerminated) {
  for (std::size_t size : {127u, 128u, 1000u}) {
    Field field;
    EXPECT_TRUE(ReadText(std::string(size, 'x'), field)) << size;
    EXPECT_EQ(field.length, 127u) << size;
    EXPECT_EQ(field.Text(127), std::string(127, 'x')) << size;
    EXPECT_TRUE(field.UntouchedFrom(127)) << size;
  }
}

TEST(ReadDCLMibStringTest, AbsentOrEmptyIsTheEmptyTextAndSuccess) {
  for (const char* json : {R"({"a": ""})", R"({"a": null})", R"({"a": {}})", R"({"a": ["x"]})",
                           R"({"b": "x"})", "{}", "null", "5", "[1]"}) {
    TraceCapture trace;
    const Node node(json);
    Field field;
    EXPECT_TRUE(ReadDCLMibString(node, "a", field.bytes.data(), field.length)) << json;
    EXPECT_EQ(field.length, 0u) << json;
    EXPECT_EQ(field.bytes[0], 0) << json;
    EXPECT_TRUE(field.UntouchedFrom(1)) << json;
    EXPECT_THAT(trace.Lines(), IsEmpty()) << json;
  }
}

TEST(ReadDCLMibStringTest, RefusesATextThatBeginsWithDotStar) {
  for (const char* text : {".*", ".*abc", ".*.*"}) {
    TraceCapture trace;
    Field field;
    EXPECT_FALSE(ReadText(text, field)) << text;
    EXPECT_EQ(field.length, 0u);
    EXPECT_EQ(field.bytes[0], 0);
    EXPECT_TRUE(field.UntouchedFrom(1));
    EXPECT_THAT(trace.Lines(),
                ElementsAre("0:ReadDCLMibString: Invalid regex string \".*\" in option a\n"));
  }
}

TEST(ReadDCLMibStringTest, TheTextEndsAtItsFirstNul) {
  Field field;
  EXPECT_TRUE(ReadText(std::string("ab\0cd", 5), field));
  EXPECT_EQ(field.length, 2u);
  EXPECT_EQ(field.Text(5), std::string("ab\0\0\0", 5));
}

TEST(ReadDCLMibStringTest, AMissingMemberLeavesItsErrorTextOnTheNode) {
  const Node object("{}");
  const Node scalar("5");
  Field field;
  ReadDCLMibString(object, "a", field.bytes.data(), field.length);
  EXPECT_STREQ(object->GetErrorText(), NOT_FOUND);
  ReadDCLMibString(scalar, "a", field.bytes.data(), field.length);
  EXPECT_STREQ(scalar->GetErrorText(), WRONG_NODE);
}

// ---- the letters of row statuses

TEST(DebugRowStatusTest, LettersOfAllValues) {
  EXPECT_EQ(DebugRowStatus(1), 'M');
  EXPECT_EQ(DebugRowStatus(2), 'U');
  EXPECT_EQ(DebugRowStatus(3), 'U');
  EXPECT_EQ(DebugRowStatus(4), 'C');
  EXPECT_EQ(DebugRowStatus(5), 'U');
  EXPECT_EQ(DebugRowStatus(6), 'D');
  EXPECT_EQ(DebugRowStatus(0), 'U');
  for (unsigned int status = 7; status <= 65535; ++status) {
    ASSERT_EQ(DebugRowStatus(static_cast<unsigned short>(status)), 'U') << status;
  }
}

}  // namespace
