// What helps with a line: the nearest word, words from elsewhere, filters.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/console/foreign_words.h"
#include "device/console/nearest.h"
#include "device/console/output_filter.h"
#include "device/console/word_help.h"

namespace {

using console::CountSlips;
using console::FindForeignWords;
using console::FindNearest;
using console::Split;

TEST(Nearest, CountsSlips) {
  const struct {
    const char* a;
    const char* b;
    std::size_t slips;
  } pairs[] = {{"", "", 0},           {"route", "route", 0},   {"Route", "rOUTE", 0},
               {"rout", "route", 1},  {"routee", "route", 1},  {"ruote", "route", 1},
               {"raute", "route", 1}, {"", "ip", 2},           {"sattus", "status", 1},
               {"abcd", "badc", 2},   {"kitten", "sitting", 3}};
  for (const auto& pair : pairs) {
    EXPECT_EQ(CountSlips(pair.a, pair.b), pair.slips) << pair.a << " " << pair.b;
    EXPECT_EQ(CountSlips(pair.b, pair.a), pair.slips) << pair.b << " " << pair.a;
  }
}

TEST(Nearest, FindsAWord) {
  const console::Words words = {"route", "status", "reload", "ip", "summary"};
  EXPECT_EQ(FindNearest("ruote", words), "route");
  EXPECT_EQ(FindNearest("sumary", words), "summary");
  EXPECT_EQ(FindNearest("relo", words), "reload");
  EXPECT_EQ(FindNearest("IP", words), "ip");
  EXPECT_EQ(FindNearest("stat", words), "status");
  EXPECT_EQ(FindNearest("xy", words), "") << "nothing of it is right";
  EXPECT_EQ(FindNearest("suxxary", words), "summary");
  EXPECT_EQ(FindNearest("suxxxry", words), "") << "three letters are wrong";
  EXPECT_EQ(FindNearest("frob", words), "");
  EXPECT_EQ(FindNearest(std::string(5000, 'r'), words), "");
}

TEST(ForeignWords, AreFoundByWords) {
  EXPECT_EQ(FindForeignWords(Split("show ip route")), "Here it is \"route\"");
  EXPECT_EQ(FindForeignWords(Split("SHOW IP ROUTE eth0")), "Here it is \"route\"");
  EXPECT_EQ(FindForeignWords(Split("show ip route summary")),
            "Here it is \"summary\" or \"route summary\"");
  for (const char* line : {"sh ip ro", "show ip", "route", "undo", "ip", ""}) {
    EXPECT_EQ(FindForeignWords(Split(line)), "") << line;
  }
}

TEST(ForeignWords, AreFoundByBeginningsWhereAWordIsNotUnderstood) {
  EXPECT_EQ(FindForeignWords(Split("sh ip ro"), 2), "Here it is \"route\"");
  EXPECT_THAT(FindForeignWords(Split("sh run"), 1), testing::HasSubstr("\"revision N\""));
  EXPECT_THAT(FindForeignWords(Split("show log"), 1), testing::HasSubstr("\"log level N\""));
  EXPECT_THAT(FindForeignWords(Split("conf t"), 0), testing::HasSubstr("edit it, then \"check\""));
  EXPECT_EQ(FindForeignWords(Split("conf und"), 0), "Here it is \"undo\"");
  EXPECT_THAT(FindForeignWords(Split("wr"), 0), testing::HasSubstr("Nothing is to be saved"));
  EXPECT_EQ(FindForeignWords(Split("log out"), 0), "Here it is \"quit\"");
  EXPECT_EQ(FindForeignWords(Split("log level 11"), 2), "") << "that is another word";
  for (const char* line : {"s ip ro", "show running-configuration", "show ip", "un", ""}) {
    EXPECT_EQ(FindForeignWords(Split(line), 0), "") << line;
  }
}

// Only a value that fits a place is one; another answer follows then.
TEST(ForeignWords, AreAnsweredWithTheValuesOfTheLine) {
  const struct {
    const char* line;
    const char* here;
  } lines[] = {{"show ip route 10.9.3.4", "route 10.9.3.4"},
               {"show ip route 10.0.0.0/8", "route 10.0.0.0/8"},
               {"show ip route 10.0.0.0/8 longer-prefixes", "route 10.0.0.0/8 longer"},
               {"show ip route static", "route proto static"},
               {"show ip route vrf 20", "route vrf 20"},
               {"show ipv6 route 2001:db8::1", "route6 2001:db8::1"},
               {"show route in 10.0.0.0/8", "route 10.0.0.0/8 longer"},
               {"show route in Hamburg", "route PREFIX longer"},
               {"show route for 10.1.2.3 all", "explain 10.1.2.3"},
               {"show route protocol static7", "route proto NAME"},
               {"route default", "route 0.0.0.0/0"},
               {"configure timeout 60", "reload confirm 60"},
               {"configure timeout 0", "reload confirm SECONDS"},
               {"ip route get 10.1.2.3", "route 10.1.2.3"}};
  for (const auto& one : lines) {
    EXPECT_EQ(FindForeignWords(Split(one.line)), "Here it is \"" + std::string(one.here) + "\"")
        << one.line;
  }
  for (const char* line :
       {"ip route 1.2.3.0/24 10.1.0.1", "ip route 1.2.3.4 255.255.255.0 10.1.0.1",
        "ip route add 1.2.3.0/24 via 10.1.0.1", "ipv6 route ::/0 fe80::1",
        "no ip route 1.2.3.0/24 10.1.0.1"}) {
    EXPECT_THAT(FindForeignWords(Split(line)), testing::HasSubstr("edit it")) << line;
  }
}

std::string Filtered(const char* filter, const std::vector<std::string>& pieces) {
  std::string output;
  const auto take = [&](std::string_view text) { output += text; };
  const auto made = console::MakeFilter(filter);
  if (!made) {
    return "no filter";
  }
  for (const std::string& piece : pieces) {
    made->Add(piece, take);
  }
  made->End(take);
  return output;
}

TEST(HelpRow, HasItsColumnAfterASpace) {
  EXPECT_EQ(console::HelpRow("route", "Routes"), "  route" + std::string(31, ' ') + "Routes\n");
  EXPECT_EQ(console::HelpRow("route", ""), "  route\n");
  const std::string widest(35, 'x');
  EXPECT_EQ(console::HelpRow(widest, "Routes"), "  " + widest + " Routes\n");
  EXPECT_EQ(console::HelpRow(widest + "x", "Routes"),
            "  " + widest + "x\n" + std::string(38, ' ') + "Routes\n");
}

TEST(OutputFilter, LetsWholeLinesPass) {
  const std::vector<std::string> pieces = {"one\ntw", "o\n", "three", "", "\nfour"};
  EXPECT_EQ(Filtered("include o", pieces), "one\ntwo\nfour");
  EXPECT_EQ(Filtered("exclude o", pieces), "three\n");
  EXPECT_EQ(Filtered(" count ", pieces), "4 lines\n");
  EXPECT_EQ(Filtered("count", {}), "0 lines\n");
  EXPECT_EQ(Filtered("count", {"x"}), "1 line\n");
  EXPECT_EQ(Filtered("i two", pieces), "two\n");
  EXPECT_EQ(Filtered("include a|b |c", {"a|b |c\n", "a\n"}), "a|b |c\n");
  for (const char* no :
       {"", "include", "exclude ", "count 3", "grep x", "INCLUDE x", "include a | exclude b",
        "include a |exclude b", "include a |", "count | count"}) {
    EXPECT_EQ(Filtered(no, {}), "no filter") << no;
  }
}

TEST(OutputFilter, BeginsWithABarThatIsAWord) {
  EXPECT_EQ(console::SplitPipe("route | count").command, "route ");
  EXPECT_EQ(*console::SplitPipe("route | count").filter, " count");
  EXPECT_EQ(*console::SplitPipe("route |").filter, "");
  EXPECT_EQ(*console::SplitPipe("a | include | b").filter, " include | b");
  EXPECT_FALSE(console::SplitPipe("ip protocol ips set filter type in a|b").filter);
  EXPECT_EQ(*console::SplitPipe("route |count").filter, "count");
  EXPECT_EQ(*console::SplitPipe("route |inc a").filter, "inc a");
  EXPECT_FALSE(console::SplitPipe("ip protocol ips set filter type in |a").filter);
  EXPECT_FALSE(console::SplitPipe("route|count").filter);
}

}  // namespace
