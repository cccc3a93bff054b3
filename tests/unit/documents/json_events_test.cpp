#include "device/documents/json_events.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/documents/text_positions.h"

namespace {

using testing::HasSubstr;

// Writes the events down, each with its offset.
class Events : public documents::JsonEvents {
 public:
  void Name(std::string_view name, std::size_t offset) override { Add("name", name, offset); }
  void Text(std::string_view value, std::size_t offset) override { Add("text", value, offset); }
  void Number(std::string_view digits, std::size_t offset) override {
    Add("number", digits, offset);
  }
  void Flag(bool value, std::size_t offset) override { Add(value ? "true" : "false", "", offset); }
  void Null(std::size_t offset) override { Add("null", "", offset); }
  void BeginObject(std::size_t offset) override { Add("{", "", offset); }
  void EndObject() override { text += "} "; }
  void BeginArray(std::size_t offset) override { Add("[", "", offset); }
  void EndArray() override { text += "] "; }

  std::string text;

 private:
  void Add(const std::string& what, std::string_view value, std::size_t offset) {
    text +=
        what + (value.empty() ? "" : " " + std::string(value)) + "@" + std::to_string(offset) + " ";
  }
};

class Nothing : public documents::JsonEvents {
 public:
  void Name(std::string_view, std::size_t) override {}
  void Text(std::string_view, std::size_t) override {}
  void Number(std::string_view, std::size_t) override {}
  void Flag(bool, std::size_t) override {}
  void Null(std::size_t) override {}
  void BeginObject(std::size_t) override {}
  void EndObject() override {}
  void BeginArray(std::size_t) override {}
  void EndArray() override {}
};

std::string EventsOf(const std::string& text) {
  Events events;
  const auto mistake = documents::ReadJson(text, events);
  return events.text + (mistake ? "mistake" : "");
}

// "LINE:COLUMN: PROBLEM", or nothing.
std::string MistakeOf(const std::string& text) {
  Nothing events;
  const auto mistake = documents::ReadJson(text, events);
  if (!mistake) {
    return {};
  }
  const documents::Position position = documents::TextPositions(text).Find(mistake->offset);
  return std::to_string(position.line) + ":" + std::to_string(position.column) + ": " +
         mistake->problem;
}

std::string Nested(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }

TEST(ReadJson, TellsEverythingWithItsPlace) {
  EXPECT_EQ(
      EventsOf(R"( {"a": [1, -2.5e3,"t"], "b" :{"c":true,"d": false}, "e":null } )"),
      "{@1 name a@2 [@7 number 1@8 number -2.5e3@11 text t@18 ] name b@24 {@29 name c@30 true@34 "
      "name d@39 false@44 } name e@52 null@56 } ");
}

TEST(ReadJson, DecodesNamesAndTexts) {
  EXPECT_EQ(EventsOf(R"({"\u00e4\n": "\ud83d\ude00\"\\\/\b\f\r\t"})"),
            "{@0 name \xC3\xA4\n@1 text \xF0\x9F\x98\x80\"\\/\b\f\r\t@13 } ");
}

TEST(ReadJson, TellsANulThatIsEscaped) {
  EXPECT_EQ(EventsOf(R"(["a\u0000b"])"), std::string("[@0 text a\0b@1 ] ", 17));
}

TEST(ReadJson, TellsTheEventsBeforeAMistake) {
  EXPECT_EQ(EventsOf("{\"a\": 1, \"b\" 2}"), "{@0 name a@1 number 1@6 name b@9 mistake");
}

TEST(ReadJson, TakesAnyRootAndSpace) {
  for (const char* text : {"1", "\"a\"", "true", "null", "[]", " \t\r\n{} \n"}) {
    EXPECT_EQ(MistakeOf(text), "") << text;
  }
}

TEST(ReadJson, PassesOverAByteOrderMark) {
  EXPECT_EQ(EventsOf("\xEF\xBB\xBF{\"a\": 1}"), "{@3 name a@4 number 1@9 } ");
  EXPECT_THAT(MistakeOf("\xEF\xBB\xBF{x}"), HasSubstr("1:2: not JSON: no name of a member"));
  EXPECT_THAT(MistakeOf("\xEF\xBB\xBF\xEF\xBB\xBF{}"), HasSubstr("1:1: not JSON: not a value"));
  EXPECT_THAT(MistakeOf("{\"a\": \xEF\xBB\xBF 1}"), HasSubstr("1:7: not JSON: not a value"));
}

struct Case {
  std::string text;
  std::string mistake;
};

TEST(ReadJson, NamesTheFirstMistakeAndItsPlace) {
  const std::string value =
      "not JSON: not a value, expected a text, a number, true, false, an object or an array, "
      "found ";
  const std::string name = "not JSON: no name of a member, expected one in double quotes, found ";
  const std::string member = "not JSON: no end of a member, expected ',' or '}', found ";
  const std::string element = "not JSON: no end of an element, expected ',' or ']', found ";
  const std::string comma = "not JSON: a trailing comma, expected none, found ";
  const std::string comment = "not JSON: a comment, expected none, found ";
  const std::string escape =
      "not JSON: an unknown escape, expected one of \\\" \\\\ \\/ \\b \\f \\n \\r \\t \\u, found ";
  const std::string encoding = "not JSON: not UTF-8, expected a character, found ";
  const std::string control =
      "not JSON: a control character in a text, expected an escape for it, found ";
  const std::string large =
      "not JSON: too large a number, expected one that a floating-point number can hold, found ";
  const Case cases[] = {
      {"", "1:1: not JSON: an empty document, expected an object, found the end"},
      {" \n ", "2:2: not JSON: an empty document, expected an object, found the end"},
      {"{\n  \"a\": 1,\n  \"b\" 2,\n  \"c\" 3\n}",
       "3:7: not JSON: no colon after a name, expected ':', found \"2\""},
      {"{} {}", "1:4: not JSON: more after the document, expected its end, found \"{\""},
      {std::string("{}\0", 3),
       "1:3: not JSON: more after the document, expected its end, found a NUL"},
      {std::string("\0{}", 3), "1:1: not JSON: an empty document, expected an object, found a NUL"},
      {std::string("{\"a\": \0}", 8), "1:7: " + value + "a NUL"},
      {std::string("{\"a\0\": 1}", 9),
       "1:4: not JSON: a NUL in a text, expected an escape for it, found a NUL"},
      {"{\"a\": 1,}", "1:9: " + comma + "\"}\""},
      {"{\"a\": [1, 2 ,\n ]}", "2:2: " + comma + "\"]\""},
      {"{,}", "1:2: " + name + "\",\""},
      {"[,]", "1:2: " + value + "\",\""},
      {"{\"a\": ]", "1:7: " + value + "\"]\""},
      {"{ // why\n}", "1:3: " + comment + "\"//\""},
      {"{ /* why */ }", "1:3: " + comment + "\"/*\""},
      {"{\"a\": 1 // why\n}", "1:9: " + comment + "\"//\""},
      {"{a: 1}", "1:2: " + name + "\"a\""},
      {"{'a': 1}", "1:2: " + name + "\"'a'\""},
      {"{\"a\" = 1}", "1:6: not JSON: no colon after a name, expected ':', found \"=\""},
      {"{\"a\": 1 \"b\": 2}", "1:9: " + member + "\"b\""},
      {"{\"a\": 1", "1:8: " + member + "the end"},
      {"{\"a\": 1]", "1:8: " + member + "\"]\""},
      {"[1 2]", "1:4: " + element + "\"2\""},
      {"[1", "1:3: " + element + "the end"},
      {"[tru]", "1:2: " + value + "\"tru\""},
      {"[True]", "1:2: " + value + "\"True\""},
      {"[nul]", "1:2: " + value + "\"nul\""},
      {"[NaN]", "1:2: " + value + "\"NaN\""},
      {"[Infinity]", "1:2: " + value + "\"Infinity\""},
      {"[+1]", "1:2: " + value + "\"+1\""},
      {"[.5]", "1:2: " + value + "\".5\""},
      {"[-]", "1:2: " + value + "\"-\""},
      {"[01]", "1:3: " + element + "\"1\""},
      {"[0x10]", "1:3: " + element + "\"x10\""},
      {"[1.]", "1:2: not JSON: not a number, expected digits after '.', found \"1.\""},
      {"[1.5e]", "1:2: not JSON: not a number, expected digits after 'e', found \"1.5e\""},
      {"[1e400]", "1:2: " + large + "\"1e400\""},
      {"[ -1" + std::string(400, '0') + "]",
       "1:3: " + large + "\"-1" + std::string(18, '0') + "\""},
      {"['a']", "1:2: " + value + "\"'a'\""},
      {"[\"a", "1:2: not JSON: a text without an end, expected '\"', found \"a\""},
      {"[1 \"\"]", "1:4: not JSON: no end of an element, expected ',' or ']', found \"\""},
      {"[\"a\nb\"]", "1:4: " + control + "\"\\x0ab\""},
      {"[\"a\tb\"]", "1:4: " + control + "\"\\x09b\""},
      {"[\"a\\x\"]", "1:4: " + escape + "\"\\x\""},
      {"[\"a\\u12g4\"]",
       "1:4: not JSON: not a character, expected four hexadecimal digits after \\u, found "
       "\"\\u12g4\""},
      {"[1, -1e400]",
       "1:5: not JSON: too large a number, expected one that a floating-point number can hold, "
       "found \"-1e400\""},
      {"[\"\\ud800\"]",
       "1:3: not JSON: half a character, expected two \\u that belong together, found \"\\ud800\""},
      {"[\"\\udc00\"]",
       "1:2: not JSON: half a character in a text, expected two \\u that belong together, found "
       "one"},
      {"[\"\xFF\"]", "1:3: " + encoding + "\"\\xff\""},
      {"[\"\xC3(\"]", "1:3: " + encoding + "\"\\xc3(\""},
      {"[\"\xC0\xAF\"]", "1:3: " + encoding + "\"\\xc0\\xaf\""},
      {"[\"\xED\xA0\x80\"]", "1:3: " + encoding + "\"\\xed\\xa0\\x80\""},
      {"[\"\xC3\xA4\xC3\xA4\", x]", "1:8: " + value + "\"x\""},
      {"[\"\xE2\x82\xAC\xF0\x9F\x98\x80\",\r\n\"\xC3\xA4\" x]", "2:5: " + element + "\"x\""},
  };
  for (const Case& each : cases) {
    EXPECT_EQ(MistakeOf(each.text), each.mistake) << each.text;
  }
}

TEST(ReadJson, ShowsAWordThatIsTooLongInPart) {
  EXPECT_EQ(MistakeOf("[" + std::string(1000, 'x') + "]").substr(91),
            "found \"" + std::string(20, 'x') + "\"");
}

TEST(ReadJson, TakesOneHundredLevels) {
  EXPECT_EQ(MistakeOf("{\"a\": " + Nested(99) + "}"), "");
  EXPECT_EQ(MistakeOf("[" + Nested(99) + ", " + Nested(99) + "]"), "");
}

TEST(ReadJson, NamesWhereItGetsTooDeep) {
  EXPECT_EQ(MistakeOf("{\n\"a\": " + Nested(100) + "}"),
            "2:105: nested too deep, expected at most 100 levels, found more");
}

TEST(ReadJson, SurvivesWhatIsMuchTooDeep) {
  EXPECT_EQ(MistakeOf("{\"a\": " + std::string(1000000, '[')),
            "1:106: nested too deep, expected at most 100 levels, found more");
}

TEST(ReadJson, CountsNoBracketsInTexts) {
  EXPECT_EQ(MistakeOf("{\"a\\\"" + std::string(200, '[') + "\": 1}"), "");
}

TEST(ReadJson, TakesEightMillionValues) {
  // The array is a value, too.
  std::string text = "[";
  for (std::size_t i = 1; i < documents::MAX_DOCUMENT_VALUES; ++i) {
    text += i == 1 ? "1" : ",1";
  }
  EXPECT_EQ(MistakeOf(text + "]"), "");
  EXPECT_EQ(MistakeOf(text + ",\"\"]"),
            "1:16000000: too many values, expected at most 8000000, found more");
}

}  // namespace
