// How mistakes of JSON itself are told.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/documents/reading.h"

namespace {

using documents_tests::ReadVlans;
using documents_tests::WithEntries;
using testing::ElementsAre;
using testing::HasSubstr;

std::string WithNul(std::string text) {
  text[text.find('#')] = '\0';
  return text;
}

TEST(SyntaxMistake, TellsOfANul) {
  EXPECT_THAT(ReadVlans(WithNul("{\"a#\": 1}")).Lines(),
              ElementsAre("vlans.json:1:4: not JSON: a NUL in a text, expected an escape for it, "
                          "found a NUL"));
  EXPECT_THAT(ReadVlans(WithNul("{\n\"a\": 1 # }")).Lines(),
              ElementsAre("vlans.json:2:8: not JSON: no end of a member, expected ',' or '}', "
                          "found a NUL"));
  EXPECT_THAT(ReadVlans(WithNul("{}\n#")).Lines(),
              ElementsAre("vlans.json:2:1: not JSON: more after the document, expected its end, "
                          "found a NUL"));
  EXPECT_THAT(ReadVlans(WithNul("#{}")).Lines(),
              ElementsAre("vlans.json:1:1: not JSON: an empty document, expected an object, found "
                          "a NUL"));
}

TEST(SyntaxMistake, TellsOfANumberThatIsTooLarge) {
  EXPECT_THAT(ReadVlans("{\"x-a\": 1e999}").Lines(),
              ElementsAre("vlans.json:1:9: not JSON: too large a number, expected one that a "
                          "floating-point number can hold, found \"1e999\""));
}

// What is in the object has been told already.
TEST(EmptyObject, IsNotOneWithAnUnknownMember) {
  EXPECT_THAT(
      ReadVlans(WithEntries(R"("a": {"vid": 1, "REDISTRIBUTION": {"statik": true}})")).Lines(),
      ElementsAre(HasSubstr("unknown member, expected \"static\"")));
  EXPECT_THAT(ReadVlans(WithEntries(R"("a": {"vid": 1, "REDISTRIBUTION": {}})")).Lines(),
              ElementsAre(HasSubstr("an empty object")));
}

}  // namespace
