#include "device/program/counted.h"

#include <gtest/gtest.h>

namespace {

TEST(Counted, OneThingHasAWordOfItsOwn) {
  EXPECT_EQ("0 entries", program::Counted(0, "entry", "entries"));
  EXPECT_EQ("1 entry", program::Counted(1, "entry", "entries"));
  EXPECT_EQ("2 entries", program::Counted(2, "entry", "entries"));
  EXPECT_EQ("18446744073709551615 entries", program::Counted(UINT64_MAX, "entry", "entries"));
}

TEST(Counted, OneTimeIsOnce) {
  EXPECT_EQ("0 times", program::Times(0));
  EXPECT_EQ("once", program::Times(1));
  EXPECT_EQ("11 times", program::Times(11));
}

}  // namespace
