#include "device/documents/place.h"

#include <gtest/gtest.h>

namespace {

using documents::ElementPath;
using documents::MemberPath;
using documents::Place;

TEST(Place, ReadsAsFilePositionAndPath) {
  EXPECT_EQ((Place{"vlans.json", {}, {}}.Text()), "vlans.json");
  EXPECT_EQ((Place{"vlans.json", {3, 14}, {}}.Text()), "vlans.json:3:14");
  EXPECT_EQ((Place{"vlans.json", {}, "a.b"}.Text()), "vlans.json: a.b");
  EXPECT_EQ((Place{"vlans.json", {3, 14}, "a.b"}.Text()), "vlans.json:3:14: a.b");
}

TEST(Place, PutsPathsTogether) {
  EXPECT_EQ(MemberPath(ElementPath(MemberPath(MemberPath("", "a"), "b"), 3), "c"), "a.b[3].c");
}

TEST(Place, QuotesNamesThatAreNoPlainWords) {
  EXPECT_EQ(MemberPath("", "eth0/1-a_B$"), "eth0/1-a_B$");
  EXPECT_EQ(MemberPath("a", "b c"), "a.\"b c\"");
  EXPECT_EQ(MemberPath("a", "b.c"), "a.\"b.c\"");
  EXPECT_EQ(MemberPath("a", ""), "a.\"\"");
  EXPECT_EQ(MemberPath("a", "\x1B"), "a.\"\\x1b\"");
  EXPECT_EQ(MemberPath("", "\xC3\xA4"), "\"\xC3\xA4\"");
  EXPECT_EQ(MemberPath("", std::string(60, 'n')), std::string(60, 'n'));
  EXPECT_EQ(MemberPath("", std::string(61, 'n')), "\"" + std::string(60, 'n') + "...\"");
}

}  // namespace
