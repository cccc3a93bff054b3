#include "device/views/watch_view.h"

#include <gtest/gtest.h>
#include <uv.h>

#include <cstdlib>
#include <ctime>
#include <memory>
#include <optional>
#include <string>

#include "device/loop/loop.h"
#include "device/rows/row.h"

namespace views {
namespace {

using Rest = View::Rest;

RouteEvent Route(const char* prefix, const char* gateway, std::uint32_t ifIndex,
                 RouteEvent::How how = RouteEvent::How::CAME) {
  const Prefix read = *ReadPrefix(prefix);
  RouteEvent event{how, {10, read.address.ip6, read.length, read.address.bytes, {}}};
  if (*gateway != '\0') {
    event.target.gateway = ReadAddress(gateway)->bytes;
  }
  event.ifIndex = ifIndex;
  event.metric = 5;
  return event;
}

// Without a device: no interface has a name.
class WatchViewTest : public testing::Test {
 protected:
  WatchViewTest() {
    setenv("TZ", "UTC-1", 1);
    tzset();
  }
  ~WatchViewTest() override {
    unsetenv("TZ");
    tzset();
  }

  std::unique_ptr<WatchView> Watch(Format format = Format::TEXT) {
    return std::make_unique<WatchView>(m_feed, m_interfaces, WatchQuery(), format);
  }
  /// What the view says of one event.
  std::string Line(unsigned short vlan, Cause cause, const What& what,
                   Format format = Format::TEXT) {
    const auto view = Watch(format);
    m_feed.Publish(vlan, cause, what);
    return Read(*view);
  }
  std::string Json(unsigned short vlan, Cause cause, const What& what) {
    return Line(vlan, cause, what, Format::JSON);
  }
  static std::string Read(WatchView& view) {
    std::string text;
    while (view.Next(text) == Rest::MORE) {
    }
    return text;
  }
  void Turn() { uv_run(m_loop.Get(), UV_RUN_NOWAIT); }

  loop::Loop m_loop;
  keepers::Interfaces m_interfaces;
  Feed m_feed{m_loop.Get(), [] { return std::int64_t{1740820500123}; }};  // 2025-03-01 09:15
};

TEST_F(WatchViewTest, WritesARouteOnALine) {
  EXPECT_EQ(
      Line(10, Cause::DOCUMENT, Route("10.9.0.0/16", "10.1.2.1", 3)),
      "10:15:00.123 VLAN 10 route + 10.9.0.0/16 via 10.1.2.1 interface 3 static (document)\n");
  EXPECT_EQ(Line(10, Cause::STACK, Route("2001:db8:9::/48", "", 0, RouteEvent::How::REPLACED)),
            "10:15:00.123 VLAN 10 route = 2001:db8:9::/48 static (stack)\n");
  EXPECT_EQ(Line(10, Cause::INTERFACE, Route("0.0.0.0/0", "", 0, RouteEvent::How::GONE)),
            "10:15:00.123 VLAN 10 route - 0.0.0.0/0 (interface)\n");
}

TEST_F(WatchViewTest, WritesEachProtocol) {
  const char* const words[PROTOCOLS] = {"connected", "static", "rip", "ospf", "bgp"};
  for (std::size_t i = 0; i < PROTOCOLS; ++i) {
    RouteEvent event = Route("10.9.0.0/16", "", 0);
    event.protocol = static_cast<Protocol>(i);
    EXPECT_EQ(Line(10, Cause::STACK, event),
              std::string("10:15:00.123 VLAN 10 route + 10.9.0.0/16 ") + words[i] + " (stack)\n");
  }
}

TEST_F(WatchViewTest, WritesARequestWithItsResult) {
  const Prefix prefix = *ReadPrefix("10.9.0.0/16");
  const rows::RouteRow row{{10, false, 16, prefix.address.bytes, ReadAddress("10.1.2.1")->bytes},
                           0};
  EXPECT_EQ(Line(10, Cause::CONSOLE, RequestEvent{row, false, false, 1}),
            "10:15:00.123 VLAN 10 request + route 10.9.0.0/16 via 10.1.2.1 done (console)\n");
  EXPECT_EQ(Line(10, Cause::STACK, RequestEvent{row, false, true, 3}),
            "10:15:00.123 VLAN 10 request - route 10.9.0.0/16 via 10.1.2.1: "
            "wrong value (status 3) (stack)\n");
  EXPECT_EQ(Line(10, Cause::STACK, RequestEvent{rows::InterfaceRow{10, 3}, true, false, 0}),
            "10:15:00.123 VLAN 10 request + interface 3 in IPv6: never answered (stack)\n");
}

TEST_F(WatchViewTest, WritesWhatHappensToInterfaces) {
  using How = InterfaceEvent::How;
  EXPECT_EQ(Line(10, Cause::CONSOLE, InterfaceEvent{How::DOWN, "eth0", ""}),
            "10:15:00.123 VLAN 10 interface eth0 down (console)\n");
  EXPECT_EQ(Line(10, Cause::DOCUMENT, InterfaceEvent{How::ADDRESS_CHANGED, "eth0", "10.1.0.1/16"}),
            "10:15:00.123 VLAN 10 interface eth0 address 10.1.0.1/16 changed (document)\n");
}

TEST_F(WatchViewTest, WritesWhatIsOfVlan0) {
  EXPECT_EQ(Line(0, Cause::STACK, Route("10.9.0.0/16", "", 0)),
            "10:15:00.123 VLAN 0 route + 10.9.0.0/16 static (stack)\n");
  EXPECT_EQ(Line(0, Cause::STACK, RequestEvent{rows::InterfaceRow{0, 3}, false, false, 1}),
            "10:15:00.123 VLAN 0 request + interface 3 in IPv4 done (stack)\n");
  EXPECT_EQ(Json(0, Cause::CONSOLE, InterfaceEvent{InterfaceEvent::How::UP, "eth0", ""}),
            R"({"time":"2025-03-01T09:15:00.123Z","kind":"interface","cause":"console","vlan":0,)"
            R"("interface":"eth0","change":"up"})"
            "\n");
}

TEST_F(WatchViewTest, WritesWhatIsNoVlans) {
  EXPECT_EQ(Line(0, Cause::DOCUMENT, ReloadEvent{"Revision 3"}),
            "10:15:00.123 Revision 3 (document)\n");
  EXPECT_EQ(Line(0, Cause::STACK, RestartEvent{}),
            "10:15:00.123 the stack has been restarted and has lost everything (stack)\n");
}

// The number 0 is a VLAN's like any other.
TEST_F(WatchViewTest, WritesTheVlanOfNumberZero) {
  const InterfaceEvent up{InterfaceEvent::How::UP, "eth0", ""};
  EXPECT_EQ(Line(0, Cause::CONSOLE, up), "10:15:00.123 VLAN 0 interface eth0 up (console)\n");
  EXPECT_EQ(Json(0, Cause::CONSOLE, up),
            R"({"time":"2025-03-01T09:15:00.123Z","kind":"interface","cause":"console",)"
            R"("vlan":0,"interface":"eth0","change":"up"})"
            "\n");
}

TEST_F(WatchViewTest, LetsNoLineObeyItsText) {
  EXPECT_EQ(Line(0, Cause::DOCUMENT, ReloadEvent{"a\x1b[31mb"}),
            "10:15:00.123 a\\x1b[31mb (document)\n");
}

TEST_F(WatchViewTest, WritesAnObjectALine) {
  EXPECT_EQ(Json(10, Cause::DOCUMENT, Route("10.9.0.0/16", "10.1.2.1", 3)),
            R"({"time":"2025-03-01T09:15:00.123Z","kind":"route","cause":"document","vlan":10,)"
            R"("change":"added","family":"ipv4","prefix":"10.9.0.0/16","protocol":"static",)"
            R"("metric":5,"next_hop":"10.1.2.1","interface_index":3})"
            "\n");
  EXPECT_EQ(Json(10, Cause::STACK, Route("2001:db8::/32", "", 0, RouteEvent::How::GONE)),
            R"({"time":"2025-03-01T09:15:00.123Z","kind":"route","cause":"stack","vlan":10,)"
            R"("change":"removed","family":"ipv6","prefix":"2001:db8::/32"})"
            "\n");
  EXPECT_EQ(Json(10, Cause::STACK, RequestEvent{rows::InterfaceRow{10, 3}, true, true, 3}),
            R"({"time":"2025-03-01T09:15:00.123Z","kind":"request","cause":"stack","vlan":10,)"
            R"("request":"remove","family":"ipv6","row":"interface 3","status":3,)"
            R"("status_text":)"
            "\"wrong value (status 3)\"}\n");
  EXPECT_EQ(Json(10, Cause::INTERFACE,
                 InterfaceEvent{InterfaceEvent::How::ADDRESS_ADDED, "eth0", "10.1.0.1/16"}),
            R"({"time":"2025-03-01T09:15:00.123Z","kind":"interface","cause":"interface",)"
            R"("vlan":10,"interface":"eth0","change":"address_added","address":"10.1.0.1/16"})"
            "\n");
  EXPECT_EQ(Json(0, Cause::CONSOLE, ReloadEvent{"a \"line\""}),
            R"({"time":"2025-03-01T09:15:00.123Z","kind":"reload","cause":"console",)"
            R"("line":"a \"line\""})"
            "\n");
  EXPECT_EQ(Json(0, Cause::STACK, RestartEvent{}),
            R"({"time":"2025-03-01T09:15:00.123Z","kind":"restart","cause":"stack"})"
            "\n");
}

TEST_F(WatchViewTest, TellsWhatIsLeftOutInItsPlace) {
  for (const Format format : {Format::TEXT, Format::JSON}) {
    const auto view = Watch(format);
    std::size_t published = 0;
    for (; published < 20000; ++published) {
      m_feed.Publish(0, Cause::STACK, RestartEvent{});
    }
    std::string text;
    ASSERT_EQ(view->Next(text), Rest::MORE);
    while (view->Next(text) == Rest::MORE) {
    }
    m_feed.Publish(0, Cause::STACK, ReloadEvent{"after it"});
    text += Read(*view);
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t end = text.find('\n', at);
      lines.push_back(text.substr(at, end - at));
      at = end + 1;
    }
    const std::size_t leftOut = published - (lines.size() - 2);
    ASSERT_GT(leftOut, 1u);
    EXPECT_EQ(lines[lines.size() - 2], format == Format::TEXT
                                           ? "... " + std::to_string(leftOut) + " changes left out"
                                           : "{\"left_out\":" + std::to_string(leftOut) + "}");
    EXPECT_NE(lines.back().find("after it"), std::string::npos);
  }
}

TEST_F(WatchViewTest, CountsOneChangeAsOne) {
  std::string text;
  EventLines::WriteLeftOut(1, text);
  EXPECT_EQ(text, "... 1 change left out\n");
}

TEST_F(WatchViewTest, ComesInPieces) {
  const auto view = Watch(Format::JSON);
  for (std::size_t i = 0; i < 2 * WatchView::EVENTS_A_PIECE; ++i) {
    m_feed.Publish(10, Cause::DOCUMENT, Route("10.9.0.0/16", "10.1.2.1", 3));
  }
  std::string first;
  EXPECT_EQ(view->Next(first), Rest::MORE);
  EXPECT_LE(first.size(), 65536u);
  EXPECT_EQ(first.back(), '\n');
  std::string second;
  EXPECT_EQ(view->Next(second), Rest::LATER);
  EXPECT_EQ(second, first);
}

TEST_F(WatchViewTest, SaysWhenThereIsMoreAndMayGoThen) {
  auto view = Watch();
  std::string text;
  unsigned int wakes = 0;
  view->CallWhenMore([&] {
    ++wakes;
    view.reset();
  });
  EXPECT_EQ(view->Next(text), Rest::LATER);
  EXPECT_EQ(text, "");
  m_feed.Publish(0, Cause::STACK, RestartEvent{});
  m_feed.Publish(0, Cause::STACK, RestartEvent{});
  EXPECT_EQ(wakes, 0u);
  Turn();
  EXPECT_EQ(wakes, 1u);
  EXPECT_EQ(view, nullptr);
  EXPECT_FALSE(m_feed.IsWatched());
}

TEST_F(WatchViewTest, ShowsWhatItIsAskedForOnly) {
  WatchView view(m_feed, m_interfaces, {WatchQuery::Kind::INTERFACE, 20}, Format::TEXT);
  m_feed.Publish(10, Cause::STACK, InterfaceEvent{InterfaceEvent::How::UP, "eth0", ""});
  m_feed.Publish(20, Cause::STACK, InterfaceEvent{InterfaceEvent::How::UP, "eth1", ""});
  m_feed.Publish(20, Cause::STACK, Route("10.9.0.0/16", "", 0));
  EXPECT_EQ(Read(view), "10:15:00.123 VLAN 20 interface eth1 up (stack)\n");
}

}  // namespace
}  // namespace views
