#include "device/views/moments.h"

#include <gtest/gtest.h>

namespace views {
namespace {

TEST(Moments, AreToldInUtcWithMilliseconds) {
  EXPECT_EQ(DescribeMoment(0), "1970-01-01T00:00:00.000Z");
  EXPECT_EQ(DescribeMoment(1795342500123), "2026-11-22T10:15:00.123Z");
  EXPECT_EQ(DescribeMoment(-1), "1969-12-31T23:59:59.999Z");
}

// Of something at 5.9 s of a clock that was begun 94.3 s after the other one.
TEST(Moments, AreTheSameWheneverTheyAreAsked) {
  EXPECT_EQ(FindSecond(5, 5900, 100200), 100);
  EXPECT_EQ(FindSecond(5, 6000, 100300), 100);
  EXPECT_EQ(FindSecond(5, 6800, 101100), 100);
  EXPECT_EQ(FindSecond(5, 1006800, 1101100), 100);
  EXPECT_EQ(FindSecond(5, 5100, 99400), 99);  // never to come
  EXPECT_EQ(FindSecond(6, 6000, 100000), 100);
}

TEST(Moments, SpansGrowCoarser) {
  EXPECT_EQ(DescribeSpan(0), "00:00:00");
  EXPECT_EQ(DescribeSpan(65), "00:01:05");
  EXPECT_EQ(DescribeSpan(86399), "23:59:59");
  EXPECT_EQ(DescribeSpan(86400), "1d00h00m");
  EXPECT_EQ(DescribeSpan(6 * 86400 + 23 * 3600 + 59 * 60 + 59), "6d23h59m");
  EXPECT_EQ(DescribeSpan(7 * 86400), "01w0d00h");
  EXPECT_EQ(DescribeSpan(17 * 86400 + 4 * 3600), "02w3d04h");
}

}  // namespace
}  // namespace views
