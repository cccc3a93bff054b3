#include "device/documents/json_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "device/documents/place.h"
#include "tests/support/reported_lines.h"
#include "tests/support/scratch_folder.h"

namespace {

using test_support::ReportedLines;
using testing::ElementsAre;
using testing::IsEmpty;

class ParseJson : public testing::Test {
 protected:
  bool Parse(const std::string& text) {
    return documents::ParseJson(text, "vlans.json", document, reported.report);
  }

  static std::string Nested(unsigned depth) {
    return std::string(depth, '[') + std::string(depth, ']');
  }

  ReportedLines reported;
  Json::Value document = "as before";
};

TEST_F(ParseJson, GivesTheDocument) {
  EXPECT_TRUE(Parse("{\"a\": [1, 2]}"));
  EXPECT_EQ(document["a"][1].asInt(), 2);
  EXPECT_THAT(reported.lines, IsEmpty());
}

TEST_F(ParseJson, NamesLineAndColumnOfTheFirstError) {
  EXPECT_FALSE(Parse("{\n  \"a\": 1,\n  \"b\" 2,\n  \"c\" 3\n}"));
  EXPECT_THAT(reported.lines, ElementsAre("vlans.json:3:7: not JSON: Missing ':' after object "
                                          "member name"));
  EXPECT_EQ(document, "as before");
}

TEST_F(ParseJson, TakesNoEmptyText) {
  EXPECT_FALSE(Parse(""));
  EXPECT_THAT(reported.lines, ElementsAre("vlans.json:1:1: not JSON: Syntax error: value, object "
                                          "or array expected."));
}

TEST_F(ParseJson, TakesNothingBehindTheDocument) {
  EXPECT_FALSE(Parse("{} {}"));
  EXPECT_THAT(reported.lines, ElementsAre("vlans.json:1:4: not JSON: Extra non-whitespace after "
                                          "JSON value."));
}

TEST_F(ParseJson, TakesNoMemberTwice) {
  EXPECT_FALSE(Parse("{\"a\": 1, \"a\": 2}"));
  EXPECT_THAT(reported.lines, ElementsAre("vlans.json:1:10: not JSON: Duplicate key: 'a'"));
}

TEST_F(ParseJson, TakesNoRootButAnObject) {
  EXPECT_FALSE(Parse("[1]"));
  EXPECT_FALSE(Parse("12"));
  EXPECT_THAT(reported.lines,
              ElementsAre("vlans.json:1:1: expected an object",
                          "vlans.json:1:1: not JSON: A valid JSON document must be either an array "
                          "or an object value."));
}

TEST_F(ParseJson, TakesOneHundredLevels) {
  EXPECT_TRUE(Parse("{\"a\": " + Nested(99) + "}"));
  EXPECT_THAT(reported.lines, IsEmpty());
}

TEST_F(ParseJson, NamesWhereItGetsTooDeep) {
  EXPECT_FALSE(Parse("{\n\"a\": " + Nested(100) + "}"));
  EXPECT_THAT(reported.lines, ElementsAre("vlans.json:2:105: nested deeper than 100 levels"));
}

TEST_F(ParseJson, SurvivesWhatIsMuchTooDeep) {
  EXPECT_FALSE(Parse("{\"a\": " + std::string(1000000, '[')));
  EXPECT_THAT(reported.lines, ElementsAre("vlans.json:1:106: nested deeper than 100 levels"));
}

TEST_F(ParseJson, CountsNoBracketsInTexts) {
  EXPECT_TRUE(Parse("{\"a\\\"" + std::string(200, '[') + "\": 1}"));
  EXPECT_THAT(reported.lines, IsEmpty());
}

class ReadJsonFile : public ParseJson {
 protected:
  bool Read(const std::string& name) {
    return documents::ReadJsonFile(folder.PathOf(name), name, document, reported.report);
  }

  test_support::ScratchFolder folder;
};

TEST_F(ReadJsonFile, GivesTheDocument) {
  folder.Write("a.json", "{\"a\": 1}");
  EXPECT_TRUE(Read("a.json"));
  EXPECT_EQ(document["a"].asInt(), 1);
}

TEST_F(ReadJsonFile, ReportsAMissingFile) {
  EXPECT_FALSE(Read("a.json"));
  EXPECT_THAT(reported.lines, ElementsAre("a.json: cannot be read: No such file or directory"));
}

TEST_F(ReadJsonFile, ReportsAFolder) {
  folder.Write("a.json/b", "");
  EXPECT_FALSE(Read("a.json"));
  EXPECT_THAT(reported.lines, ElementsAre("a.json: is not a regular file"));
}

TEST_F(ReadJsonFile, DoesNotWaitForThePeerOfAPipe) {
  ASSERT_EQ(mkfifo(folder.PathOf("a.json").c_str(), 0600), 0);
  EXPECT_FALSE(Read("a.json"));
  EXPECT_THAT(reported.lines, ElementsAre("a.json: is not a regular file"));
}

TEST_F(ReadJsonFile, ReportsAFileThatIsTooLarge) {
  folder.Write("a.json", "");
  std::filesystem::resize_file(folder.PathOf("a.json"), documents::MAX_DOCUMENT_BYTES + 1);
  EXPECT_FALSE(Read("a.json"));
  EXPECT_THAT(reported.lines, ElementsAre("a.json: is larger than 32 MiB"));
}

TEST(Place, ReadsAsFileAndPath) {
  const documents::Place file("vlans.json");
  EXPECT_EQ(file.Text(), "vlans.json");
  EXPECT_EQ(file.Member("a").Member("b").Element(3).Member("c").Text(), "vlans.json: a.b[3].c");
  EXPECT_EQ(file.Member("a b").Member("").Text(), "vlans.json: \"a b\".\"\"");
}

}  // namespace
