#include "tarsel/text.h"

#include <gtest/gtest.h>

using Tarsel::strcasestrstart;

TEST(StrCaseStrStart, IgnoresTheLetterCase) {
  EXPECT_TRUE(strcasestrstart("OSPF", "ospf_12"));
  EXPECT_TRUE(strcasestrstart("ospf", "OSPF:12"));
  EXPECT_TRUE(strcasestrstart("OsPf", "oSpF"));
}

TEST(StrCaseStrStart, TakesTheWholeTextAndTheEmptyPrefix) {
  EXPECT_TRUE(strcasestrstart("RIP", "RIP"));
  EXPECT_TRUE(strcasestrstart("", "RIP"));
  EXPECT_TRUE(strcasestrstart("", ""));
}

TEST(StrCaseStrStart, RefusesOtherBeginnings) {
  EXPECT_FALSE(strcasestrstart("RIP", "RI"));
  EXPECT_FALSE(strcasestrstart("RIP", ""));
  EXPECT_FALSE(strcasestrstart("RIP", "xRIP"));
  EXPECT_FALSE(strcasestrstart("RIP", "RIB"));
}

TEST(StrCaseStrStart, RefusesNullTexts) {
  EXPECT_FALSE(strcasestrstart(nullptr, "RIP"));
  EXPECT_FALSE(strcasestrstart("RIP", nullptr));
  EXPECT_FALSE(strcasestrstart(nullptr, nullptr));
}
