#include "device/program/progress_bar.h"

#include <gtest/gtest.h>

namespace {

TEST(ProgressBar, ShowsTheShareAndTheNumbers) {
  EXPECT_EQ(program::ProgressBar(0, 1000), "[--------------------]   0 %, 0 of 1000");
  EXPECT_EQ(program::ProgressBar(250, 1000), "[#####---------------]  25 %, 250 of 1000");
  EXPECT_EQ(program::ProgressBar(1000, 1000), "[####################] 100 %, 1000 of 1000");
}

TEST(ProgressBar, IsFullWhenAllIsDoneOnly) {
  EXPECT_EQ(program::ProgressBar(999999, 1000000),
            "[###################-]  99 %, 999999 of 1000000");
}

TEST(ProgressBar, StaysInItsBounds) {
  EXPECT_EQ(program::ProgressBar(5, 0), "[--------------------]   0 %, 0 of 0");
  EXPECT_EQ(program::ProgressBar(5, 4), "[####################] 100 %, 4 of 4");
}

}  // namespace
