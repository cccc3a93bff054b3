#include "device/program/printable.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

TEST(Quote, HidesWhatATerminalWouldActOn) {
  EXPECT_EQ(program::Quote("a\x1b[2J\x7f\nb"), "\"a\\x1b[2J\\x7f\\x0ab\"");
}

TEST(Quote, HidesTheControlCharactersBehindTheAscii) {
  EXPECT_EQ(program::Quote("\xC2\x9B"
                           "31m\xC2\xA0"),
            "\"\\xc2\\x9b31m\xC2\xA0\"");
}

TEST(Quote, LeavesTextsAsTheyAre) {
  for (const std::string text : {"~", "\xC3\xA4", "\xE2\x82\xAC", "\xEF\xBF\xBF", "\xED\x9F\xBF",
                                 "\xF0\x9F\x98\x80", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_EQ(program::Quote(text), "\"" + text + "\"");
  }
}

TEST(Quote, HidesWhatIsNoUtf8) {
  const std::pair<const char*, const char*> cases[] = {
      {"\x9B", "\\x9b"},                             // nothing before it
      {"\xC3", "\\xc3"},                             // nothing behind it
      {"\xC3(", "\\xc3("},                           // something else behind it
      {"\xE2\x82", "\\xe2\\x82"},                    // cut
      {"\xC1\x9B", "\\xc1\\x9b"},                    // longer than it has to be
      {"\xE0\x82\x9B", "\\xe0\\x82\\x9b"},           // so too
      {"\xF0\x80\x82\x9B", "\\xf0\\x80\\x82\\x9b"},  // and so
      {"\xED\xA0\x80", "\\xed\\xa0\\x80"},           // half of a pair
      {"\xF4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"},  // beyond the last
      {"\xF5\x80\x80\x80", "\\xf5\\x80\\x80\\x80"}};
  for (const auto& [text, shown] : cases) {
    EXPECT_EQ(program::Quote(text), "\"" + std::string(shown) + "\"");
  }
}

TEST(Quote, CutsNoCharacterInTwo) {
  EXPECT_EQ(program::Quote(std::string(59, 'x') + "\xC3\xA4"),
            "\"" + std::string(59, 'x') + "...\"");
  EXPECT_EQ(program::Quote(std::string(58, 'x') + "\xC3\xA4"),
            "\"" + std::string(58, 'x') + "\xC3\xA4\"");
}

TEST(Quote, CutsLongTexts) {
  EXPECT_EQ(program::Quote(std::string(61, 'x')), "\"" + std::string(60, 'x') + "...\"");
  EXPECT_EQ(program::Quote(std::string(60, 'x')), "\"" + std::string(60, 'x') + "\"");
}

}  // namespace
