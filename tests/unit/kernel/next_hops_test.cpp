// Routes with several next hops: as a value, as messages, and in a ledger.

#include <gmock/gmock.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "device/kernel/messages.h"
#include "ledger_driver.h"
#include "tests/models/random_run.h"

namespace {

using kernel::FoundRoute;
using kernel::NextHop;
using kernel::NextHops;
using kernel::OUR_PRIORITIES;
using test_kernel::Hop;
using test_kernel::Hops;
using test_kernel::Key;
using test_kernel::KEY;
using testing::IsEmpty;

const kernel::RouteKey PREFIX6 = Key("2001:db8:9::/48");

std::string Text(const NextHops& nextHops) { return kernel::DescribeNextHops(nextHops, false); }

// ---- the value

TEST(NextHops, AreNoneOneOrSeveral) {
  EXPECT_FALSE(NextHops().AreKnown());
  EXPECT_EQ(0u, NextHops().Count());
  EXPECT_EQ("", Text(NextHops()));
  const NextHops one = Hop("10.1.2.1");
  EXPECT_TRUE(one.AreKnown());
  EXPECT_FALSE(one.AreSeveral());
  EXPECT_EQ("via 10.1.2.1 dev 3", Text(one));
  const NextHops two = Hops("10.1.2.1 10.1.3.1");
  EXPECT_TRUE(two.AreKnown());
  EXPECT_TRUE(two.AreSeveral());
  EXPECT_EQ("via 10.1.2.1 dev 3, via 10.1.3.1 dev 4", Text(two));
}

TEST(NextHops, OfSeveralThatAreEqualOneStands) {
  EXPECT_TRUE(NextHops({Hop("10.1.2.1"), Hop("10.1.2.1")}) == NextHops(Hop("10.1.2.1")));
  EXPECT_EQ(2u, NextHops({Hop("10.1.2.1"), Hop("10.1.2.1"), Hop("10.1.2.1", 4)}).Count());
  EXPECT_FALSE(NextHops(std::vector<NextHop>()).AreKnown());
}

TEST(NextHops, TheirOrderIsKeptAndDoesNotCount) {
  const NextHops forward({Hop("10.1.2.1"), Hop("10.1.2.2")});
  const NextHops backward({Hop("10.1.2.2"), Hop("10.1.2.1")});
  EXPECT_TRUE(forward == backward);
  EXPECT_EQ("via 10.1.2.2 dev 3, via 10.1.2.1 dev 3", Text(backward));
  EXPECT_TRUE(forward != NextHops({Hop("10.1.2.1"), Hop("10.1.2.3")}));
  EXPECT_TRUE(forward != NextHops({Hop("10.1.2.1"), Hop("10.1.2.2"), Hop("10.1.2.3")}));
  EXPECT_TRUE(forward != NextHops(Hop("10.1.2.1")));
  EXPECT_TRUE(NextHops(Hop("10.1.2.1")) != forward);
  EXPECT_TRUE(forward != NextHops());
}

// Sanitizers tell what becomes of what they share.
TEST(NextHops, AreCopiedAndMoved) {
  NextHops a = Hops("10.1.2.1 10.1.3.1");
  NextHops b = a;
  EXPECT_TRUE(a == b);
  NextHops moved = std::move(a);
  EXPECT_TRUE(moved == b);
  b = Hop("10.1.2.9");
  EXPECT_EQ("via 10.1.2.9 dev 3", Text(b));
  b = moved;
  const NextHops& self = b;
  b = self;
  EXPECT_EQ("via 10.1.2.1 dev 3, via 10.1.3.1 dev 4", Text(b));
  moved = NextHops();
  EXPECT_EQ(2u, b.Count());
}

// It would stand for several.
TEST(NextHops, AnInterfaceThatNoKernelHasIsNone) {
  EXPECT_FALSE(NextHops(Hop("10.1.2.1", UINT32_MAX)).AreKnown());
  EXPECT_EQ(0u, NextHops(Hop("10.1.2.1", UINT32_MAX)).Count());
}

// ---- messages

struct Words {
  std::size_t size = 0;
  std::vector<std::uint32_t> words;

  char* Get() { return reinterpret_cast<char*>(words.data()); }
  rtmsg& Route() { return *reinterpret_cast<rtmsg*>(Get() + NLMSG_HDRLEN); }
  rtattr& Nest() {
    auto* attribute = RTM_RTA(&Route());
    int left = static_cast<int>(size - NLMSG_HDRLEN - NLMSG_ALIGN(sizeof(rtmsg)));
    for (; RTA_OK(attribute, left); attribute = RTA_NEXT(attribute, left)) {
      if ((attribute->rta_type & NLA_TYPE_MASK) == RTA_MULTIPATH) {
        return *attribute;
      }
    }
    throw std::out_of_range("no several next hops");
  }
  rtnexthop& First() { return *static_cast<rtnexthop*>(RTA_DATA(&Nest())); }
  rtnexthop& Second() { return *RTNH_NEXT(&First()); }
  std::vector<kernel::Message> Read() { return kernel::ReadMessages(words.data(), size).messages; }
};

Words MessageThatAdds(const kernel::RouteKey& key, const NextHops& nextHops) {
  kernel::Batch batch;
  batch.Add(key, nextHops, 220, 7);
  const std::vector<char> bytes = batch.Finish();
  Words words{bytes.size(), std::vector<std::uint32_t>((bytes.size() + 3) / 4)};
  std::memcpy(words.words.data(), bytes.data(), bytes.size());
  return words;
}

TEST(NextHopMessages, SeveralComeBackAsTheyWereAskedFor) {
  const NextHops mixed({Hop("10.1.2.1"), Hop("", 4), Hop("10.1.2.1", 70000)});
  const NextHops ip6({Hop("2001:db8:1::1"), Hop("fe80::1", 4), Hop("fe80::1", 5)});
  for (const auto& [key, nextHops] : {std::pair(KEY, mixed), std::pair(PREFIX6, ip6)}) {
    Words words = MessageThatAdds(key, nextHops);
    EXPECT_EQ(RT_SCOPE_UNIVERSE, words.Route().rtm_scope);
    const auto found = std::get<FoundRoute>(words.Read().at(0));
    EXPECT_TRUE(found.key == key);
    ASSERT_TRUE(found.nextHops);
    EXPECT_EQ(kernel::DescribeNextHops(nextHops, key.isIp6),
              kernel::DescribeNextHops(*found.nextHops, key.isIp6));
    EXPECT_FALSE(found.hasDeadNextHop);
  }
  const NextHops attached({Hop("", 4), Hop("", 5)});
  Words words = MessageThatAdds(KEY, attached);
  EXPECT_EQ(RT_SCOPE_LINK, words.Route().rtm_scope);
  EXPECT_TRUE(std::get<FoundRoute>(words.Read().at(0)).nextHops == attached);
}

TEST(NextHopMessages, AsManyAsThereMayBeAreOneMessage) {
  std::vector<NextHop> all;
  for (unsigned int i = 1; i <= NextHops::MOST; ++i) {
    all.push_back(Hop("2001:db8::" + std::to_string(i), i));
  }
  const NextHops most(all);
  EXPECT_TRUE(std::get<FoundRoute>(MessageThatAdds(PREFIX6, most).Read().at(0)).nextHops == most);
  all.push_back(Hop("2001:db8::ffff"));
  Words more = MessageThatAdds(PREFIX6, NextHops(std::vector<NextHop>(all.begin() + 2, all.end())));
  EXPECT_TRUE(std::get<FoundRoute>(more.Read().at(0)).nextHops.has_value());
}

TEST(NextHopMessages, ABatchIsNoLongerThanASocketTakes) {
  test_kernel::LedgerDriver driver;
  driver.Begin();
  std::vector<NextHop> all;
  for (unsigned int i = 1; i <= NextHops::MOST; ++i) {
    all.push_back(Hop("10.1.2." + std::to_string(i)));
  }
  const NextHops most(all);
  for (int i = 0; i < 300; ++i) {
    driver.ledger.Want(
        Key("10." + std::to_string(i / 200) + "." + std::to_string(i % 200) + ".0/24"), most);
  }
  kernel::Batch batch;
  driver.ledger.FillBatch(batch, 500);
  EXPECT_TRUE(driver.ledger.HasUnanswered());
  const std::size_t size = batch.Finish().size();
  EXPECT_GT(size, 90000u);
  EXPECT_LT(size, 200000u);
  driver.ledger.LoseAnswers();
  EXPECT_EQ(300u, driver.SendAll(500));
  EXPECT_EQ(300u, driver.ledger.CountStanding());
}

// None of these is like one of ours, so it is not known where it leads.
TEST(NextHopMessages, WhatIsNotInEqualSharesOrOfAnotherFormLeadsElsewhere) {
  const auto changed = [](auto change) {
    Words words = MessageThatAdds(KEY, Hops("10.1.2.1 10.1.3.1"));
    change(words);
    const auto messages = words.Read();
    return messages.size() == 1 && std::get<FoundRoute>(messages[0]).nextHops.has_value();
  };
  const auto attribute = [](rtnexthop& hop) -> rtattr& { return *RTNH_DATA(&hop); };
  EXPECT_TRUE(changed([](Words&) {}));
  EXPECT_TRUE(changed([](Words& w) { w.First().rtnh_flags = RTNH_F_ONLINK; }));
  EXPECT_FALSE(changed([](Words& w) { w.First().rtnh_hops = 1; }));
  EXPECT_FALSE(changed([](Words& w) { w.Second().rtnh_hops = 255; }));
  EXPECT_FALSE(changed([](Words& w) { w.Second().rtnh_ifindex = 0; }));
  EXPECT_FALSE(changed([](Words& w) { w.Second().rtnh_ifindex = -1; }));
  EXPECT_FALSE(changed([](Words& w) { w.Second().rtnh_ifindex = INT32_MIN; }));
  EXPECT_FALSE(changed([](Words& w) { w.Second().rtnh_len = 7; }));
  EXPECT_FALSE(changed([](Words& w) { w.Second().rtnh_len = 0; }));
  EXPECT_FALSE(changed([](Words& w) { w.Second().rtnh_len = 17; })) << "beyond the attribute";
  EXPECT_FALSE(changed([](Words& w) { w.First().rtnh_len = UINT16_MAX; }));
  EXPECT_FALSE(changed([](Words& w) { w.Nest().rta_len -= 4; })) << "a part of one is left";
  EXPECT_FALSE(changed([](Words& w) { w.Nest().rta_len = 4; })) << "none";
  EXPECT_FALSE(changed([&](Words& w) { attribute(w.Second()).rta_type = RTA_VIA; }));
  EXPECT_FALSE(changed([&](Words& w) { attribute(w.Second()).rta_type = RTA_ENCAP; }));
  EXPECT_FALSE(changed([&](Words& w) { attribute(w.Second()).rta_len = 5; })) << "no address";
  EXPECT_FALSE(changed([](Words& w) { w.Route().rtm_type = RTN_BLACKHOLE; }));
}

// What is in its attributes is left alone when one of them says that it is longer than it is.
TEST(NextHopMessages, AnAttributeThatLeavesItsNextHopIsNotRead) {
  Words words = MessageThatAdds(KEY, Hops("10.1.2.1 10.1.3.1"));
  RTNH_DATA(&words.First())->rta_len = 64;
  const auto found = std::get<FoundRoute>(words.Read().at(0));
  ASSERT_TRUE(found.nextHops);
  EXPECT_EQ("dev 3, via 10.1.3.1 dev 4", Text(*found.nextHops));
}

TEST(NextHopMessages, OneThatIsOutOfUseIsTold) {
  Words words = MessageThatAdds(KEY, Hops("10.1.2.1 10.1.3.1"));
  words.Second().rtnh_flags = RTNH_F_LINKDOWN;
  EXPECT_FALSE(std::get<FoundRoute>(words.Read().at(0)).hasDeadNextHop);
  words.Second().rtnh_flags = RTNH_F_DEAD | RTNH_F_LINKDOWN;
  const auto found = std::get<FoundRoute>(words.Read().at(0));
  EXPECT_TRUE(found.hasDeadNextHop);
  EXPECT_TRUE(found.nextHops == Hops("10.1.2.1 10.1.3.1"));
}

TEST(NextHopMessages, AnyBytesAreRead) {
  test_models::Random random;
  std::size_t understood = 0;
  const unsigned int runs = test_models::Scaled(20000);
  for (unsigned int i = 0; i < runs; ++i) {
    Words words = MessageThatAdds(PREFIX6, Hops("2001:db8::1 fe80::1 fe80::2"));
    for (unsigned int changes = random.Below(4); changes > 0; --changes) {
      words.Get()[random.Below(static_cast<unsigned int>(words.size))] =
          static_cast<char>(random.Below(256));
    }
    for (const kernel::Message& message : words.Read()) {
      const auto* const route = std::get_if<FoundRoute>(&message);
      understood += route != nullptr && route->nextHops ? 1 : 0;
    }
  }
  test_models::ExpectAtLeast(understood, runs / 4, "routes with next hops");
}

// ---- the ledger

class NextHopLedger : public testing::Test, protected test_kernel::LedgerDriver {
 protected:
  void SetUp() override { Begin(); }
  /// Where a packet to the key goes, then where the other route leads if there is one.
  std::string Leads(const kernel::RouteKey& key = KEY) {
    std::string text;
    for (const auto& [priority, route] : kernel.tables[key]) {
      text += (text.empty() ? "" : "; ") + ::kernel::DescribeNextHops(route.nextHops, key.isIp6);
    }
    return text;
  }
};

TEST_F(NextHopLedger, ARouteHasOneOrSeveralAndIsNeverGoneWhenTheyChange) {
  ledger.Want(KEY, Hops("10.1.2.1 10.1.3.1"));
  EXPECT_EQ(1u, SendAll());
  EXPECT_EQ("via 10.1.2.1 dev 3, via 10.1.3.1 dev 4", Leads());
  kernel.afterRequest = [this] { EXPECT_NE("", Leads()); };
  ledger.Want(KEY, Hop("10.1.2.1"));
  EXPECT_EQ(2u, SendAll());
  EXPECT_EQ("via 10.1.2.1 dev 3", Leads());
  ledger.Want(KEY, Hops("10.1.2.1 10.1.3.1 10.1.4.1"));
  EXPECT_EQ(2u, SendAll());
  EXPECT_EQ("via 10.1.2.1 dev 3, via 10.1.3.1 dev 4, via 10.1.4.1 dev 5", Leads());
  EXPECT_EQ(1u, ledger.CountStanding());
  ledger.Forgo(KEY);
  kernel.afterRequest = {};
  EXPECT_EQ(1u, SendAll());
  EXPECT_EQ("", Leads());
}

TEST_F(NextHopLedger, TheSameInAnotherOrderCostsNoRequest) {
  ledger.Want(KEY, NextHops({Hop("10.1.2.1"), Hop("10.1.2.2")}));
  SendAll();
  ledger.Want(KEY, NextHops({Hop("10.1.2.2"), Hop("10.1.2.1")}));
  EXPECT_EQ(0u, SendAll());
  kernel.tables[KEY][OUR_PRIORITIES[0]].nextHops = NextHops({Hop("10.1.2.2"), Hop("10.1.2.1")});
  EXPECT_EQ(0u, Compare().missing);
  EXPECT_EQ(0u, SendAll());
}

TEST_F(NextHopLedger, WhatIsWantedAgainBeforeItHasGoneCostsNoRequest) {
  ledger.Want(KEY, Hop("10.1.2.1"));
  SendAll();
  ledger.Want(KEY, Hops("10.1.2.1 10.1.3.1"));
  ledger.Want(KEY, Hop("10.1.2.1"));
  EXPECT_EQ(0u, SendAll());
  EXPECT_EQ(1u, ledger.CountStanding());
  kernel.afterRequest = [this, isFirst = true]() mutable {
    if (std::exchange(isFirst, false)) {
      ledger.Want(KEY, Hop("10.1.2.1"));
    }
  };
  ledger.Want(KEY, Hops("10.1.2.1 10.1.3.1"));
  EXPECT_EQ(2u, SendAll()) << "its addition was under way";
  EXPECT_EQ("via 10.1.2.1 dev 3", Leads());
}

TEST_F(NextHopLedger, OneMoreOrOneLessIsNotAsWanted) {
  for (const char* const there : {"10.1.2.1", "10.1.2.1 10.1.3.1 10.1.4.1", "10.1.2.1 10.1.7.1"}) {
    ledger.Want(KEY, Hops("10.1.2.1 10.1.3.1"));
    SendAll();
    for (auto& route : kernel.tables[KEY]) {
      route.second.nextHops = Hops(there);
    }
    EXPECT_EQ(1u, Compare().missing) << there;
    EXPECT_EQ(2u, SendAll());
    EXPECT_EQ("via 10.1.2.1 dev 3, via 10.1.3.1 dev 4", Leads());
  }
}

// Somebody has put in its place what no route of ours is like, under our number.
TEST_F(NextHopLedger, WhatASlotWasIsForgottenWhenItIsSomethingElse) {
  ledger.Want(KEY, Hops("10.1.2.1 10.1.3.1"));
  SendAll();
  ledger.BeginComparison();
  for (FoundRoute route : kernel.Dump(false)) {
    route.nextHops.reset();
    ledger.TakeFound(route);
  }
  ledger.EndComparison();
  EndPass();
  ledger.Want(KEY, Hop("10.1.2.1"));
  ledger.Want(KEY, Hops("10.1.2.1 10.1.3.1"));
  EXPECT_EQ(0u, ledger.CountStanding());
  kernel.tables[KEY].begin()->second.nextHops = Hops("10.1.7.1 10.1.8.1 10.1.9.1");
  EXPECT_EQ(2u, SendAll());
  EXPECT_EQ("via 10.1.2.1 dev 3, via 10.1.3.1 dev 4", Leads());
}

TEST_F(NextHopLedger, WhatStandsFromAnEarlierRunCostsNoRequest) {
  kernel.tables[KEY][OUR_PRIORITIES[1]] = {::kernel::OUR_PROTOCOL, Hops("10.1.2.1 10.1.3.1"),
                                           false};
  ::kernel::RouteLedger next{[this] { return now; }};
  next.BeginComparison();
  for (const FoundRoute& route : kernel.Dump(false)) {
    next.TakeFound(route);
  }
  next.EndComparison();
  while (next.ContinuePass(100)) {
  }
  next.Want(KEY, Hop("10.1.2.1"));  // candidates come one after the other
  next.Want(KEY, Hops("10.1.2.1 10.1.3.1"));
  next.BeginSweep();
  while (next.ContinuePass(100)) {
  }
  ::kernel::Batch batch;
  next.FillBatch(batch, 100);
  EXPECT_TRUE(batch.IsEmpty());
  EXPECT_EQ(1u, next.CountStanding());
}

// The kernel takes none over a link that is down, and has the one that stood back by itself.
TEST_F(NextHopLedger, ADeadNextHopIsADifferenceUntilItIsBack) {
  ledger.Want(KEY, Hops("10.1.2.1 10.1.3.1"));
  SendAll();
  kernel.tables[KEY][OUR_PRIORITIES[0]].hasDeadNextHop = true;
  kernel.refuse = [](const auto&, bool isDeletion) { return isDeletion ? 0 : ENETDOWN; };
  EXPECT_EQ(1u, Compare().missing);
  SendAll();
  EXPECT_EQ(0u, ledger.CountStanding());
  ASSERT_NE(nullptr, ledger.FindRefusal(KEY));
  EXPECT_EQ(ENETDOWN, ledger.FindRefusal(KEY)->error);
  EXPECT_EQ("via 10.1.2.1 dev 3, via 10.1.3.1 dev 4", Leads()) << "the one that is alive forwards";
  kernel.tables[KEY][OUR_PRIORITIES[0]].hasDeadNextHop = false;
  EXPECT_EQ(0u, Compare().missing);
  EXPECT_EQ(0u, SendAll());
  EXPECT_EQ(1u, ledger.CountStanding());
  EXPECT_EQ(nullptr, ledger.FindRefusal(KEY));
}

TEST_F(NextHopLedger, ADeadOneThatIsNoLongerWantedGoesAsItStands) {
  ledger.Want(KEY, Hops("10.1.2.1 10.1.3.1"));
  SendAll();
  kernel.tables[KEY][OUR_PRIORITIES[0]].hasDeadNextHop = true;
  ledger.Want(KEY, Hop("10.1.2.1"));
  Compare();
  SendAll();
  EXPECT_EQ("via 10.1.2.1 dev 3", Leads());
  EXPECT_EQ(1u, ledger.CountStanding());
}

}  // namespace
