#include "device/views/prefix.h"

#include <gtest/gtest.h>

namespace views {
namespace {

std::string Reread(const char* text) {
  const auto prefix = ReadPrefix(text);
  return prefix ? Describe(*prefix) : "nothing";
}

TEST(Prefix, IsReadAndDescribed) {
  for (const char* text : {"0.0.0.0/0", "10.9.0.0/16", "10.9.128.0/17", "192.0.2.10/32", "::/0",
                           "2001:db8::/32", "2001:db8:0:8000::/49", "2001:db8::1/128"}) {
    EXPECT_EQ(Reread(text), text);
  }
}

TEST(Prefix, IsNotReadFromAnythingElse) {
  for (const char* text :
       {"", "/", "10.9.0.0", "10.9.0.0/", "10.9.0.0/33", "10.9.0.0/-1", "10.9.0.0/16 ",
        "10.9.0.0/0x10", "10.9.0/16", "2001:db8::/129", "2001:db8::", "/16", "10.9.0.0/16/16"}) {
    EXPECT_EQ(Reread(text), "nothing") << text;
  }
}

TEST(Prefix, WithHostBitsIsNotRead) {
  for (const char* text : {"10.9.0.1/16", "10.9.128.0/16", "0.0.0.1/0", "10.9.0.2/30",
                           "2001:db8::1/127", "8000::/0"}) {
    EXPECT_EQ(Reread(text), "nothing") << text;
  }
}

TEST(Prefix, AddressWithNulIsNotRead) {
  EXPECT_FALSE(ReadAddress(std::string_view("10.0.0.1\0", 9)));
}

TEST(Prefix, HoldsWhatBeginsWithItsBits) {
  const auto holds = [](const char* prefix, const char* address) {
    return Holds(*ReadPrefix(prefix), *ReadAddress(address));
  };
  EXPECT_TRUE(holds("10.9.128.0/17", "10.9.255.255"));
  EXPECT_FALSE(holds("10.9.128.0/17", "10.9.127.255"));
  EXPECT_TRUE(holds("0.0.0.0/0", "255.255.255.255"));
  EXPECT_FALSE(holds("0.0.0.0/0", "::"));
  EXPECT_TRUE(holds("192.0.2.10/32", "192.0.2.10"));
  EXPECT_FALSE(holds("192.0.2.10/32", "192.0.2.11"));
  EXPECT_TRUE(holds("2001:db8::/33", "2001:db8:7fff::"));
  EXPECT_FALSE(holds("2001:db8::/33", "2001:db8:8000::"));
}

TEST(Prefix, HoldsLongerOnesAndItself) {
  const auto holds = [](const char* prefix, const char* other) {
    return Holds(*ReadPrefix(prefix), *ReadPrefix(other));
  };
  EXPECT_TRUE(holds("10.0.0.0/8", "10.9.0.0/16"));
  EXPECT_TRUE(holds("10.0.0.0/8", "10.0.0.0/8"));
  EXPECT_FALSE(holds("10.9.0.0/16", "10.0.0.0/8"));
  EXPECT_FALSE(holds("10.9.0.0/16", "10.8.0.0/16"));
}

}  // namespace
}  // namespace views
