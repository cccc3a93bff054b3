#include "device/views/feed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <uv.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "device/loop/loop.h"

namespace views {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Kind = WatchQuery::Kind;

RouteEvent Route(unsigned short vlan, std::uint32_t metric = 0) {
  RouteEvent event;
  event.target.vlan = vlan;
  event.metric = metric;
  return event;
}

class FeedTest : public testing::Test {
 protected:
  void PublishRoute(unsigned short vlan = 10, std::uint32_t metric = 0) {
    m_feed.Publish(vlan, Cause::STACK, Route(vlan, metric));
  }
  void PublishOneOfEach() {
    PublishRoute(10);
    PublishRoute(20);
    m_feed.Publish(10, Cause::STACK, RequestEvent{rows::InterfaceRow{10, 3}});
    m_feed.Publish(20, Cause::STACK, InterfaceEvent{InterfaceEvent::How::UP, "eth0", ""});
    m_feed.Publish(0, Cause::DOCUMENT, ReloadEvent{"a line"});
    m_feed.Publish(0, Cause::STACK, RestartEvent{});
  }
  /// The kinds and the VLANs of what waits, as "0/10".
  static std::vector<std::string> TakeAll(Watcher& watcher) {
    std::vector<std::string> all;
    while (!watcher.IsEmpty()) {
      const Watcher::Taken taken = watcher.Take();
      all.push_back(std::to_string(taken.event->what.index()) + '/' +
                    std::to_string(taken.event->vlan));
    }
    return all;
  }
  void Turn() { uv_run(m_loop.Get(), UV_RUN_NOWAIT); }

  loop::Loop m_loop;
  std::int64_t m_now = 0;
  Feed m_feed{m_loop.Get(), [this] { return m_now; }};
};

TEST_F(FeedTest, HandsEverythingToOneWhoAsksForEverything) {
  Watcher watcher(m_feed, {}, [] {});
  PublishOneOfEach();
  EXPECT_THAT(TakeAll(watcher), ElementsAre("0/10", "0/20", "1/10", "2/20", "3/0", "4/0"));
}

// A restart is the end of everything that was told before.
TEST_F(FeedTest, HandsOneKindToOneWhoAsksForIt) {
  Watcher routes(m_feed, {Kind::ROUTE, {}}, [] {});
  Watcher requests(m_feed, {Kind::REQUEST, {}}, [] {});
  Watcher interfaces(m_feed, {Kind::INTERFACE, {}}, [] {});
  Watcher reloads(m_feed, {Kind::RELOAD, {}}, [] {});
  PublishOneOfEach();
  EXPECT_THAT(TakeAll(routes), ElementsAre("0/10", "0/20", "4/0"));
  EXPECT_THAT(TakeAll(requests), ElementsAre("1/10", "4/0"));
  EXPECT_THAT(TakeAll(interfaces), ElementsAre("2/20", "4/0"));
  EXPECT_THAT(TakeAll(reloads), ElementsAre("3/0", "4/0"));
}

TEST_F(FeedTest, HandsAVlanAndWhatHasNoneToOneWhoAsksForIt) {
  Watcher ten(m_feed, {{}, 10}, [] {});
  Watcher both(m_feed, {Kind::ROUTE, 20}, [] {});
  Watcher zero(m_feed, {{}, 0}, [] {});
  PublishOneOfEach();
  PublishRoute(0);
  EXPECT_THAT(TakeAll(ten), ElementsAre("0/10", "1/10", "3/0", "4/0"));
  EXPECT_THAT(TakeAll(both), ElementsAre("0/20", "4/0"));
  EXPECT_THAT(TakeAll(zero), ElementsAre("3/0", "4/0", "0/0"));
}

// The number 0 is a VLAN's like any other.
TEST_F(FeedTest, HandsTheVlanOfNumberZeroToOneWhoAsksForIt) {
  Watcher zero(m_feed, {{}, 0}, [] {});
  Watcher ten(m_feed, {{}, 10}, [] {});
  PublishRoute(0);
  PublishRoute(10);
  m_feed.Publish(0, Cause::STACK, RequestEvent{rows::InterfaceRow{0, 3}});
  m_feed.Publish(0, Cause::STACK, InterfaceEvent{InterfaceEvent::How::UP, "eth0", ""});
  EXPECT_THAT(TakeAll(zero), ElementsAre("0/0", "1/0", "2/0"));
  EXPECT_THAT(TakeAll(ten), ElementsAre("0/10"));
}

TEST_F(FeedTest, TellsWhatIsWatched) {
  unsigned int changes = 0;
  m_feed.CallWhenWatchedChanges([&] { ++changes; });
  EXPECT_FALSE(m_feed.IsWatched());
  {
    Watcher requests(m_feed, {Kind::REQUEST, {}}, [] {});
    EXPECT_TRUE(m_feed.IsWatched());
    EXPECT_TRUE(m_feed.IsWatched(Kind::REQUEST));
    EXPECT_FALSE(m_feed.IsWatched(Kind::ROUTE));
    {
      Watcher all(m_feed, {}, [] {});
      for (const Kind kind : {Kind::ROUTE, Kind::REQUEST, Kind::INTERFACE, Kind::RELOAD}) {
        EXPECT_TRUE(m_feed.IsWatched(kind));
      }
    }
    EXPECT_TRUE(m_feed.IsWatched(Kind::REQUEST));
    EXPECT_FALSE(m_feed.IsWatched(Kind::RELOAD));
  }
  EXPECT_FALSE(m_feed.IsWatched());
  EXPECT_FALSE(m_feed.IsWatched(Kind::REQUEST));
  EXPECT_EQ(changes, 4u);
}

TEST_F(FeedTest, NotesWhenItWas) {
  Watcher watcher(m_feed, {}, [] {});
  m_now = 123;
  PublishRoute();
  m_now = 456;
  EXPECT_EQ(watcher.Take().event->milliseconds, 123);
}

TEST_F(FeedTest, KeepsAMegabyteAndCountsTheRest) {
  Watcher watcher(m_feed, {}, [] {});
  constexpr std::uint32_t EVENTS = 50000;
  for (std::uint32_t i = 0; i < EVENTS; ++i) {
    PublishRoute(10, i);
  }
  std::uint32_t kept = 0;
  Watcher::Taken taken = watcher.Take();
  for (; taken.event; taken = watcher.Take(), ++kept) {
    EXPECT_EQ(taken.leftOut, 0u);
    EXPECT_EQ(std::get<RouteEvent>(taken.event->what).metric, kept);
  }
  EXPECT_EQ(kept + taken.leftOut, EVENTS);
  EXPECT_LE(kept * sizeof(Event), Watcher::MOST_BYTES);
  EXPECT_GT(kept * sizeof(Event), Watcher::MOST_BYTES * 3 / 4) << "not much less, either";
  EXPECT_TRUE(watcher.IsEmpty());
}

TEST_F(FeedTest, SharesTheMemoryOfManyWatchers) {
  std::vector<std::unique_ptr<Watcher>> watchers;
  for (int i = 0; i < 64; ++i) {
    watchers.push_back(std::make_unique<Watcher>(m_feed, WatchQuery(), [] {}));
  }
  for (int i = 0; i < 20000; ++i) {
    PublishRoute();
  }
  for (const auto& watcher : watchers) {
    std::size_t kept = 0;
    while (watcher->Take().event) {
      ++kept;
    }
    EXPECT_LE(kept * sizeof(Event), Watcher::MOST_BYTES_OF_ALL / watchers.size());
    EXPECT_GT(kept * sizeof(Event), Watcher::MOST_BYTES_OF_ALL / watchers.size() * 3 / 4);
  }
}

TEST_F(FeedTest, CountsTheTextsOfEvents) {
  Watcher watcher(m_feed, {}, [] {});
  const std::string line(100000, 'x');
  for (int i = 0; i < 20; ++i) {
    m_feed.Publish(0, Cause::STACK, ReloadEvent{line});
    m_feed.Publish(0, Cause::STACK, InterfaceEvent{InterfaceEvent::How::UP, line, ""});
    m_feed.Publish(0, Cause::STACK, InterfaceEvent{InterfaceEvent::How::UP, "", line});
    m_feed.Publish(0, Cause::STACK, RequestEvent{rows::ProtocolRow{10, 1, line}});
  }
  int kept = 0;
  while (watcher.Take().event) {
    ++kept;
  }
  EXPECT_EQ(kept, 10);
}

// One event after each that is read would tell of a gap after each.
TEST_F(FeedTest, GoesOnWhenHalfOfItHasBeenRead) {
  Watcher watcher(m_feed, {}, [] {});
  std::uint32_t published = 0;
  for (; published < 20000; ++published) {
    PublishRoute(10, published);
  }
  // Reads one for each that comes, and so never catches up by more than half.
  std::uint64_t seen = 0;
  std::vector<std::uint64_t> gaps;
  const auto take = [&] {
    const Watcher::Taken taken = watcher.Take();
    if (taken.leftOut != 0) {
      gaps.push_back(taken.leftOut);
      seen += taken.leftOut;
    }
    if (taken.event) {
      EXPECT_EQ(std::get<RouteEvent>(taken.event->what).metric, seen) << "the gap is in its place";
      ++seen;
    }
  };
  for (int i = 0; i < 20000; ++i) {
    take();
    PublishRoute(10, published++);
  }
  while (!watcher.IsEmpty()) {
    take();
  }
  EXPECT_EQ(seen, published);
  EXPECT_EQ(gaps.size(), 1u);
}

TEST_F(FeedTest, GoesOnNoSoonerAndNoLaterThanHalfway) {
  Watcher watcher(m_feed, {}, [] {});
  const std::string line(100000, 'x');
  for (int i = 0; i < 20; ++i) {
    m_feed.Publish(0, Cause::STACK, ReloadEvent{line});  // ten of them fit
  }
  for (int i = 0; i < 10; ++i) {
    ASSERT_TRUE(watcher.Take().event);
    m_feed.Publish(0, Cause::STACK, ReloadEvent{"short"});
  }
  // The first of the short ones came when five long ones were left.
  const Watcher::Taken taken = watcher.Take();
  EXPECT_EQ(taken.leftOut, 10u + 4u);
  ASSERT_TRUE(taken.event);
  int more = 1;
  while (watcher.Take().event) {
    ++more;
  }
  EXPECT_EQ(more, 10 - 4);
}

TEST_F(FeedTest, LosesAndInventsNothingWhateverIsReadWhen) {
  const unsigned int seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  Watcher watcher(m_feed, {}, [] {});
  std::uint32_t published = 0;
  std::uint64_t seen = 0;
  for (int i = 0; i < 200; ++i) {
    for (unsigned int count = random() % 3000; count > 0; --count) {
      PublishRoute(10, published++);
    }
    for (unsigned int count = random() % 3000; count > 0 && !watcher.IsEmpty(); --count) {
      const Watcher::Taken taken = watcher.Take();
      seen += taken.leftOut;
      if (taken.event) {
        ASSERT_EQ(std::get<RouteEvent>(taken.event->what).metric, seen);
        ++seen;
      }
    }
  }
  while (!watcher.IsEmpty()) {
    const Watcher::Taken taken = watcher.Take();
    seen += taken.leftOut + (taken.event ? 1 : 0);
  }
  EXPECT_EQ(seen, published);
}

TEST_F(FeedTest, WakesOnceForAllEventsOfATurn) {
  unsigned int wakes = 0;
  Watcher watcher(m_feed, {Kind::ROUTE, {}}, [&] { ++wakes; });
  PublishRoute();
  Turn();
  EXPECT_EQ(wakes, 0u) << "it did not wait";
  TakeAll(watcher);
  watcher.Wait();
  m_feed.Publish(0, Cause::STACK, ReloadEvent{"not watched"});
  Turn();
  EXPECT_EQ(wakes, 0u);
  PublishRoute();
  PublishRoute();
  EXPECT_EQ(wakes, 0u) << "from the loop only";
  Turn();
  EXPECT_EQ(wakes, 1u);
  PublishRoute();
  Turn();
  EXPECT_EQ(wakes, 1u) << "it has not waited again";
}

TEST_F(FeedTest, LetsAWakeDestroyAnyWatcher) {
  std::vector<std::unique_ptr<Watcher>> watchers;
  unsigned int wakes = 0;
  for (int i = 0; i < 5; ++i) {
    watchers.push_back(std::make_unique<Watcher>(m_feed, WatchQuery(), [&] {
      ++wakes;
      watchers.clear();
    }));
    watchers.back()->Wait();
  }
  PublishRoute();
  Turn();
  EXPECT_EQ(wakes, 1u);
  EXPECT_FALSE(m_feed.IsWatched());
  PublishRoute();
  Turn();
  EXPECT_EQ(wakes, 1u);
}

TEST_F(FeedTest, ForgetsOneThatGoesBeforeItIsWoken) {
  unsigned int wakes = 0;
  auto gone = std::make_unique<Watcher>(m_feed, WatchQuery(), [&] { ++wakes; });
  Watcher stays(m_feed, {}, [&] { wakes += 10; });
  gone->Wait();
  stays.Wait();
  PublishRoute();
  gone.reset();
  Turn();
  EXPECT_EQ(wakes, 10u);
}

// A wake that brings about events does not keep the loop in one turn.
TEST_F(FeedTest, WakesAgainInALaterTurn) {
  unsigned int wakes = 0;
  Watcher* self = nullptr;
  Watcher watcher(m_feed, {}, [&] {
    ++wakes;
    TakeAll(*self);
    self->Wait();
    PublishRoute();
  });
  self = &watcher;
  watcher.Wait();
  PublishRoute();
  Turn();
  EXPECT_EQ(wakes, 1u);
  Turn();
  EXPECT_EQ(wakes, 2u);
}

TEST_F(FeedTest, KeepsManyWatchersApart) {
  std::vector<std::unique_ptr<Watcher>> watchers;
  for (unsigned short vlan = 1; vlan <= 100; ++vlan) {
    watchers.push_back(std::make_unique<Watcher>(m_feed, WatchQuery{{}, vlan}, [] {}));
  }
  for (unsigned short vlan = 1; vlan <= 100; ++vlan) {
    PublishRoute(vlan);
  }
  for (unsigned short vlan = 1; vlan <= 100; ++vlan) {
    EXPECT_THAT(TakeAll(*watchers[vlan - 1]), ElementsAre("0/" + std::to_string(vlan)));
  }
}

TEST_F(FeedTest, LosesNothingOfOneWhoReadsBecauseAnotherHasStopped) {
  Watcher stopped(m_feed, {}, [] {});
  Watcher reading(m_feed, {}, [] {});
  std::size_t read = 0;
  for (int second = 0; second < 60; ++second) {
    for (int i = 0; i < 5000; ++i) {
      PublishRoute();
    }
    for (; !reading.IsEmpty(); ++read) {
      ASSERT_TRUE(reading.Take().event);
    }
  }
  EXPECT_EQ(read, 300000u);
}

}  // namespace
}  // namespace views
