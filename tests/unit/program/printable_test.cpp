#include "device/program/printable.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

TEST(Quote, HidesWhatATerminalWouldActOn) {
  EXPECT_EQ(program::Quote("a\x1b[2J\x7f\nb"), "\"a\\x1b[2J\\x7f\\x0ab\"");
}

TEST(Quote, HidesTheControlCharactersAboveAscii) {
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
      {"\xC3", "\\xc3"},                             // nothing after it
      {"\xC3(", "\\xc3("},                           // something else after it
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

TEST(Quote, HidesWhatTurnsTextAround) {
  const std::pair<const char*, const char*> cases[] = {
      {"\u061c", "\\xd8\\x9c"},      {"\u200e", "\\xe2\\x80\\x8e"}, {"\u200f", "\\xe2\\x80\\x8f"},
      {"\u202a", "\\xe2\\x80\\xaa"}, {"\u202e", "\\xe2\\x80\\xae"}, {"\u2066", "\\xe2\\x81\\xa6"},
      {"\u2069", "\\xe2\\x81\\xa9"}};
  for (const auto& [text, shown] : cases) {
    EXPECT_EQ(program::Quote("a" + std::string(text) + "b"), "\"a" + std::string(shown) + "b\"");
  }
  for (const std::string text : {"\u061b", "\u061d", "\u200d", "\u2010", "\u2029", "\u202f",
                                 "\u2065", "\u206a", "\u05d0\u0627"}) {
    EXPECT_EQ(program::Quote(text), "\"" + text + "\"");
  }
}

// Each byte at each place of a text, whatever stands around it.
TEST(IsPlain, TakesPrintableAsciiAndEndsOfLinesAndTabs) {
  for (const char* around : {"abcdefghijklmnop~ q", "\t\n\t\n\t\n\t\n\t\n\t\n\t\n\t\n\t\n\t"}) {
    for (int byte = 0; byte < 256; ++byte) {
      for (std::size_t at = 0; at < 19; ++at) {
        std::string text = around;
        text[at] = static_cast<char>(byte);
        EXPECT_EQ(program::IsPlain(text),
                  (byte >= ' ' && byte <= '~') || byte == '\n' || byte == '\t')
            << "byte " << byte << " at " << at;
      }
    }
  }
  EXPECT_TRUE(program::IsPlain(""));
}

TEST(PrintableLines, KeepsLinesAndTabsOnly) {
  EXPECT_EQ(program::PrintableLines("a\tb\n\nc\n"), "a\tb\n\nc\n");
  EXPECT_EQ(program::PrintableLines("a\rb\x1b[2J\x07\x7f\n"), "a\\x0db\\x1b[2J\\x07\\x7f\n");
  EXPECT_EQ(program::PrintableLines(std::string("a\0b", 3)), "a\\x00b");
  EXPECT_EQ(program::PrintableLines("\xc2\x9b\xff\u202e\xc3"),
            "\\xc2\\x9b\\xff\\xe2\\x80\\xae\\xc3");
  EXPECT_EQ(program::PrintableLines(""), "");
  const std::string longText(200000, 'x');
  EXPECT_EQ(program::PrintableLines(longText + "\u00e4"), longText + "\u00e4");
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
