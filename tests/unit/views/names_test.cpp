#include "device/views/names.h"

#include <gtest/gtest.h>

namespace views {
namespace {

TEST(Names, AddressesAreWritten) {
  std::string text;
  AppendAddress(false, {10, 0, 255, 1}, text);
  text += ' ';
  AppendAddress(true, {0x20, 0x01, 0x0d, 0xb8}, text);
  EXPECT_EQ(text, "10.0.255.1 2001:db8::");
}

TEST(Names, PrefixesAreTakenApartAndPutTogether) {
  const Prefix prefix = *ReadPrefix("10.9.0.0/16");
  const documents::RouteTarget target = TargetOf(7, prefix);
  EXPECT_EQ(target.vlan, 7);
  EXPECT_TRUE(PrefixOf(target) == prefix);
  std::string text;
  AppendPrefix(target, text);
  EXPECT_EQ(text, "10.9.0.0/16");
}

TEST(Names, LinesBendBeforeAWordThatIsTooLong) {
  std::string text;
  AppendBent(std::string(70, 'a') + " bbbbb cc", 4, text);
  EXPECT_EQ(text, "    " + std::string(70, 'a') + " bbbbb\n    cc\n");
  text.clear();
  AppendBent(std::string(90, 'a') + " b", 4, text);
  EXPECT_EQ(text, "    " + std::string(90, 'a') + "\n    b\n");
}

TEST(Names, LineOfEightyColumnsDoesNotBend) {
  std::string text;
  AppendBent(std::string(74, 'a') + " b", 4, text);
  EXPECT_EQ(text, "    " + std::string(74, 'a') + " b\n");
}

}  // namespace
}  // namespace views
