#include "tarsel/string.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>

using Tarsel::string;

TEST(String, IsEmptyAtFirst) {
  const string text;
  EXPECT_TRUE(text.empty());
  EXPECT_EQ(text.get_length(), 0u);
  EXPECT_STREQ(text.c_str(), "");
}

TEST(String, TakesANullTextAsTheEmptyText) {
  const char* null = nullptr;
  string text(null);
  EXPECT_TRUE(text.empty());
  EXPECT_STREQ(text.c_str(), "");
  EXPECT_TRUE(string(null, 5).empty());
  text = "abc";
  text += null;
  EXPECT_STREQ(text.c_str(), "abc");
  text = null;
  EXPECT_TRUE(text == null);
  EXPECT_FALSE(text != null);
  EXPECT_FALSE(string("a") == null);
  EXPECT_TRUE(string("a") != null);
}

TEST(String, CopiesTheTextThatItIsMadeFrom) {
  char buffer[] = "eth0";
  const string text(buffer);
  buffer[0] = 'x';
  EXPECT_STREQ(text.c_str(), "eth0");
}

TEST(String, TakesACountedText) {
  const string text("10.0.0.0/8", 8);
  EXPECT_STREQ(text.c_str(), "10.0.0.0");
  EXPECT_EQ(text.get_length(), 8u);
}

TEST(String, KeepsEmbeddedNuls) {
  const string text("a\0b", 3);
  EXPECT_EQ(text.get_length(), 3u);
  EXPECT_FALSE(text == "a");
  EXPECT_TRUE(text == string("a\0b", 3));
  EXPECT_FALSE(text == string("a\0c", 3));
  EXPECT_EQ(std::memcmp(text.c_str(), "a\0b", 4), 0);
}

TEST(String, CopiesAreIndependent) {
  string first("first");
  string second(first);
  string third;
  third = first;
  first += "!";
  EXPECT_STREQ(second.c_str(), "first");
  EXPECT_STREQ(third.c_str(), "first");
  EXPECT_STREQ(first.c_str(), "first!");
}

TEST(String, MovesItsText) {
  string first("a text that is too long to be kept inside the object itself");
  const char* characters = first.c_str();
  string second(std::move(first));
  EXPECT_EQ(second.c_str(), characters);
  string third;
  third = std::move(second);
  EXPECT_EQ(third.c_str(), characters);
}

TEST(String, SurvivesItselfAsOperand) {
  string text("0123456789012345678901234567890123456789");
  const std::string before = text.c_str();
  text += text;
  EXPECT_EQ(text.c_str(), before + before);
  text = before.c_str();
  text += text.c_str();
  EXPECT_EQ(text.c_str(), before + before);
  text = text.c_str() + before.size();
  EXPECT_EQ(text.c_str(), before);
  text.Format("<%s>", text.c_str());
  EXPECT_EQ(text.c_str(), "<" + before + ">");
  text.AppendFmt("%s", text.c_str());
  EXPECT_EQ(text.c_str(), "<" + before + "><" + before + ">");
  string& same = text;
  text = same;
  EXPECT_EQ(text.c_str(), "<" + before + "><" + before + ">");
}

TEST(String, AppendsTextsAndCharacters) {
  string text("ip");
  text += ' ';
  text += "protocol";
  text += string(" summary");
  EXPECT_STREQ(text.c_str(), "ip protocol summary");
}

TEST(String, FormatReplacesAndReturnsTheText) {
  string text("before");
  EXPECT_EQ(&text.Format("%s=%d", "vlan", 10), &text);
  EXPECT_STREQ(text.c_str(), "vlan=10");
}

TEST(String, AppendFmtAppendsAndReturnsTheText) {
  string text("vlan");
  EXPECT_EQ(&text.AppendFmt("=%u", 10u), &text);
  EXPECT_EQ(&text.AppendFmt("/%c", 'x'), &text);
  EXPECT_STREQ(text.c_str(), "vlan=10/x");
}

// Around the size of the buffer in which short results are made, and far beyond.
TEST(String, FormatsResultsOfAnyLength) {
  for (const int length : {0, 1, 510, 511, 512, 513, 100000}) {
    const std::string want(static_cast<std::size_t>(length), 'x');
    string text;
    text.Format("%s", want.c_str());
    EXPECT_EQ(text.c_str(), want);
    EXPECT_EQ(text.get_length(), want.size());
    text.AppendFmt("%s!", want.c_str());
    EXPECT_EQ(text.c_str(), want + want + "!");
    EXPECT_EQ(text.get_length(), 2 * want.size() + 1);
  }
}

TEST(String, ClearsToTheEmptyText) {
  string text("abc");
  text.clear();
  EXPECT_TRUE(text.empty());
  EXPECT_STREQ(text.c_str(), "");
  text += 'd';
  EXPECT_STREQ(text.c_str(), "d");
}

TEST(String, ComparesForEquality) {
  EXPECT_TRUE(string("eth0") == string("eth0"));
  EXPECT_FALSE(string("eth0") == string("eth1"));
  EXPECT_FALSE(string("eth0") == string("eth"));
  EXPECT_FALSE(string("eth0") == string("ETH0"));
  EXPECT_TRUE(string("eth0") != string("eth1"));
  EXPECT_FALSE(string("eth0") != string("eth0"));
  EXPECT_TRUE(string("eth0") == "eth0");
  EXPECT_FALSE(string("eth0") == "eth");
  EXPECT_FALSE(string("eth") == "eth0");
  EXPECT_TRUE(string("eth0") != "eth");
}

TEST(String, OrdersByBytesAndAPrefixFirst) {
  const char* ordered[] = {"", "B", "a", "a10", "a9", "aa", "b", "z", "\x7f", "\x80", "\xff"};
  for (std::size_t i = 0; i < std::size(ordered); ++i) {
    for (std::size_t j = 0; j < std::size(ordered); ++j) {
      EXPECT_EQ(string(ordered[i]) < string(ordered[j]), i < j) << ordered[i] << ' ' << ordered[j];
    }
  }
}
