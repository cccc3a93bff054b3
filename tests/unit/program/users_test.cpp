#include "device/program/users.h"

#include <gtest/gtest.h>

namespace {

TEST(Users, AreThoseOfTheSystem) {
  EXPECT_EQ(program::FindUser("root"), 0u);
  EXPECT_EQ(program::FindUser("daemon"), 1u);
  EXPECT_EQ(program::FindUser("nobody-by-this-name"), std::nullopt);
  EXPECT_EQ(program::FindUser(""), std::nullopt);
  EXPECT_EQ(program::FindUser("0"), std::nullopt) << "a number is no name";
}

TEST(Groups, AreThoseOfTheSystem) {
  EXPECT_EQ(program::FindGroup("root"), 0u);
  EXPECT_EQ(program::FindGroup("daemon"), 1u);
  EXPECT_EQ(program::FindGroup("no-such-group"), std::nullopt);
  EXPECT_EQ(program::FindGroup(""), std::nullopt);
}

}  // namespace
