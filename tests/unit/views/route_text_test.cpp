// Rows as text: where they bend, and reasons that no device gives quickly.
#include "device/views/route_text.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "device/views/names.h"

namespace views {
namespace {

class RouteTextTest : public testing::Test {
 protected:
  static RouteItem Item(const char* prefix, const char* gateway) {
    RouteItem item;
    item.target = TargetOf(10, *ReadPrefix(prefix));
    item.target.gateway = ReadAddress(gateway)->bytes;
    item.isInStack = true;
    item.isInstalled = true;
    item.distance = 1;
    item.metric = 5;
    return item;
  }
  std::string Show(const RouteItem& item) {
    std::string text;
    RouteText(m_interfaces).Append(item, text);
    return text;
  }
  std::string ReasonOf(Reason reason) {
    RouteItem item = Item("10.9.0.0/16", "10.1.2.1");
    item.isInstalled = false;
    item.reason = reason;
    const std::string text = Show(item);
    return text.substr(0, 1) + text.substr(text.find('\n') + 1);
  }

  keepers::Interfaces m_interfaces;
};

TEST_F(RouteTextTest, WidestRowOfIp4FitsIntoEightyColumns) {
  RouteItem item = Item("255.255.255.128/25", "255.255.255.255");
  item.protocol = Protocol::CONNECTED;
  item.distance = 110;
  item.metric = 9999;
  const std::string name = "ethernet";
  item.interface = &name;
  item.ageSeconds = 3 * 7 * 86400;
  EXPECT_EQ(Show(item),
            "> 255.255.255.128/25 [110/9999] 255.255.255.255 ethernet 03w0d00h connected\n");
}

TEST_F(RouteTextTest, LongRowBendsAfterItsPrefix) {
  RouteItem item =
      Item("2001:db8:1111:2222:3333:4444:5555:6666/128", "2001:db8:1111:2222:3333:4444:5555:6667");
  const std::string name = "a-very-long-name-of-an-interface-with-sixty-three-characters-xx";
  EXPECT_EQ(Show(item),
            "> 2001:db8:1111:2222:3333:4444:5555:6666/128\n"
            "    [1/5]     2001:db8:1111:2222:3333:4444:5555:6667 -  00:00:00 static\n");
  item.interface = &name;
  EXPECT_EQ(Show(item),
            "> 2001:db8:1111:2222:3333:4444:5555:6666/128\n"
            "    [1/5]     2001:db8:1111:2222:3333:4444:5555:6667 -  00:00:00 static\n"
            "    a-very-long-name-of-an-interface-with-sixty-three-characters-xx\n");
}

// Whatever is in it.
TEST_F(RouteTextTest, NoLineIsLongerThanEightyColumns) {
  const std::string names[] = {"", "eth0", "ethernet0/1.100", std::string(64, 'x')};
  const char* prefixes[][2] = {
      {"0.0.0.0/0", "0.0.0.0"},
      {"255.255.255.255/32", "255.255.255.255"},
      {"::/0", "::"},
      {"2001:db8:1:2::/64", "fe80::1"},
      {"2001:db8:1111:2222:3333:4444:5555:6666/128", "2001:db8:1111:2222:3333:4444:5555:6667"}};
  for (const auto& prefix : prefixes) {
    for (const std::string& name : names) {
      for (const std::uint32_t metric : {0u, 65535u, UINT32_MAX}) {
        for (int reason = 0; reason <= static_cast<int>(Reason::REFUSED); ++reason) {
          RouteItem item = Item(prefix[0], prefix[1]);
          item.metric = item.rival.metric = item.wantedMetric = metric;
          item.interface = &name;
          item.reason = static_cast<Reason>(reason);
          item.isRivalTold = true;
          item.rival.gateway.fill(0xEE);
          item.status = 4;
          item.nextTry = 60;
          item.note = static_cast<Note>(reason % (static_cast<int>(Note::STRAY) + 1));
          std::istringstream text(Show(item));
          for (std::string line; std::getline(text, line);) {
            ASSERT_LE(line.size(), 80u) << line;
          }
        }
      }
    }
  }
}

TEST_F(RouteTextTest, TellsRareReasons) {
  EXPECT_EQ(ReasonOf(Reason::SWITCHED_OFF), "     switched off\n");
  EXPECT_EQ(ReasonOf(Reason::CHOOSING), "     the stack is choosing\n");
  EXPECT_EQ(ReasonOf(Reason::ACCEPTED), "     accepted by the stack, which tells no more\n");
  EXPECT_EQ(ReasonOf(Reason::REFUSED), "!    refused\n");
}

TEST_F(RouteTextTest, TellsWhatWaits) {
  EXPECT_EQ(ReasonOf(Reason::MISSING), "?    missing in the stack\n");
  EXPECT_EQ(ReasonOf(Reason::VLAN), "?    waits for VLAN 10\n");
}

}  // namespace
}  // namespace views
