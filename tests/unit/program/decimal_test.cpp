#include "device/program/decimal.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr std::uint32_t MOST = 0xFFFFFFFF;

TEST(ReadDecimal, TakesDigitsOnly) {
  for (const std::string& text :
       {std::string(), std::string(" "), std::string("x"), std::string("1x"), std::string("1 "),
        std::string(" 1"), std::string("+1"), std::string("-1"), std::string("-0"),
        std::string("0x1"), std::string("1.0"), std::string("1e1"), std::string("1,0"),
        std::string("1\0", 2), std::string("\xd9\xa1")}) {
    EXPECT_FALSE(program::ReadDecimal(text, 0, MOST)) << text;
  }
}

TEST(ReadDecimal, HoldsItsBounds) {
  EXPECT_FALSE(program::ReadDecimal("0", 1, 10));
  EXPECT_EQ(program::ReadDecimal("1", 1, 10), 1u);
  EXPECT_EQ(program::ReadDecimal("10", 1, 10), 10u);
  EXPECT_FALSE(program::ReadDecimal("11", 1, 10));
  EXPECT_EQ(program::ReadDecimal("0", 0, 0), 0u);
}

TEST(ReadDecimal, TakesNoNumberThatIsTooLargeForItsType) {
  EXPECT_EQ(program::ReadDecimal("4294967295", 0, MOST), MOST);
  for (const char* text :
       {"4294967296", "4294967297", "18446744073709551617", "99999999999999999999999999"}) {
    EXPECT_FALSE(program::ReadDecimal(text, 0, MOST)) << text;
  }
}

TEST(ReadDecimal, PassesOverLeadingZeros) {
  EXPECT_EQ(program::ReadDecimal("010", 0, 10), 10u);
  EXPECT_EQ(program::ReadDecimal("00000000000000000007", 0, 10), 7u);
}

}  // namespace
