// The watch on a loop of its own, with links that change and a socket that loses things.

#include "device/kernel/link_watch.h"

#include <gmock/gmock.h>
#include <uv.h>

#include <algorithm>
#include <optional>
#include <stdexcept>

#include "device/loop/loop.h"
#include "fake_links.h"
#include "tests/models/random_run.h"

namespace {

using kernel::LinkWatch;
using test_kernel::FakeLinkChannel;
using test_kernel::LinkAddressOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using LinkAccident = FakeLinkChannel::Accident;

class Watch : public testing::Test {
 protected:
  void Open(std::vector<LinkAccident> accidents = {}) {
    watch.emplace(
        m_loop.Get(),
        [&](kernel::Subscription subscription) {
          EXPECT_EQ(kernel::Subscription::LINKS_AND_ADDRESSES, subscription);
          auto made = std::make_unique<FakeLinkChannel>(fake);
          made->accidents = std::move(accidents);
          channel = made.get();
          return made;
        },
        [this](const std::string& line) { lines.push_back(line); }, [this] { ++calls; });
  }
  void OpenAndRead() {
    Open();
    RunUntil([this] { return !watch->IsReading(); });
    Turn();
    TakeAll();
  }
  void RunUntil(const std::function<bool()>& isOver) {
    const std::uint64_t end = uv_hrtime() + 10000000000u;
    while (!isOver() && uv_hrtime() < end) {
      uv_run(m_loop.Get(), UV_RUN_ONCE);
    }
    ASSERT_TRUE(isOver());
  }
  /// Until what has been told has been heard.
  void Turn() {
    for (int i = 0; i < 5; ++i) {
      uv_run(m_loop.Get(), UV_RUN_NOWAIT);
    }
  }
  std::vector<std::uint32_t> TakeAll() { return watch->TakeChanged(100); }
  std::optional<std::size_t> Compare() {
    std::optional<std::optional<std::size_t>> result;
    watch->Compare([&](std::optional<std::size_t> untold) { result = untold; });
    RunUntil([&] { return result.has_value(); });
    return *result;
  }
  void ExpectAll() { EXPECT_TRUE(watch->GetLinks() == fake.links); }

  loop::Loop m_loop;
  test_kernel::FakeLinks fake;
  FakeLinkChannel* channel = nullptr;
  std::vector<std::string> lines;
  int calls = 0;
  std::optional<LinkWatch> watch;
};

TEST_F(Watch, TheFirstReadingTellsOfEverything) {
  fake.Set(2, "eth0");
  fake.Set(3, "eth1", false);
  fake.AddAddress(2, LinkAddressOf("10.1.0.1/24"));
  Open();
  EXPECT_THAT(watch->GetLinks(), IsEmpty());
  watch->ReadNow();
  EXPECT_FALSE(watch->IsReading());
  ExpectAll();
  EXPECT_THAT(TakeAll(), ElementsAre(2, 3));
  EXPECT_FALSE(watch->HasChanged());
  EXPECT_EQ(0u, watch->CountUntold());
}

TEST_F(Watch, AKernelThatDoesNotAnswerAtOnceIsWaitedForInTheLoop) {
  fake.Set(2, "eth0");
  Open({LinkAccident::UNSENT});
  watch->ReadNow();
  EXPECT_THAT(lines, ElementsAre(HasSubstr("The kernel's links cannot be read")));
  RunUntil([this] { return watch->HasChanged(); });
  RunUntil([this] { return !watch->IsReading(); });
  ExpectAll();
  EXPECT_THAT(lines, SizeIs(1));
}

TEST_F(Watch, AFirstReadingWithoutAnythingIsTold) {
  Open();
  EXPECT_FALSE(watch->HasRead());
  RunUntil([this] { return calls != 0; });
  EXPECT_TRUE(watch->HasRead());
  EXPECT_FALSE(watch->HasChanged());
  Compare();
  Turn();
  EXPECT_EQ(1, calls) << "only the first one";
}

TEST_F(Watch, AMasterIsNewsOfTheLink) {
  fake.Set(2, "eth0");
  OpenAndRead();
  fake.links[2].master = 5;
  fake.Set(2, "eth0");
  Turn();
  EXPECT_THAT(TakeAll(), ElementsAre(2));
  EXPECT_EQ(5u, watch->GetLinks().at(2).master);
  fake.links[5].vrfTable = 100;
  fake.Set(5, "blue");
  fake.links[5].vrfTable = 200;
  fake.Set(5, "blue");
  Turn();
  EXPECT_THAT(TakeAll(), ElementsAre(5));
  EXPECT_EQ(watch->GetLinks().at(5).vrfTable, 200u);
}

TEST_F(Watch, NewsAreTakenAndToldOnceATurn) {
  OpenAndRead();
  calls = 0;
  fake.Set(2, "eth0");
  fake.AddAddress(2, LinkAddressOf("10.1.0.1/24"));
  fake.AddAddress(2, LinkAddressOf("2001:db8::1/64"));
  Turn();
  EXPECT_EQ(1, calls);
  ExpectAll();
  EXPECT_THAT(TakeAll(), ElementsAre(2));
  fake.Set(2, "eth0");
  Turn();
  EXPECT_EQ(1, calls) << "nothing is new";
  fake.RemoveAddress(2, LinkAddressOf("10.1.0.1/24"));
  Turn();
  ExpectAll();
  fake.Remove(2);
  Turn();
  ExpectAll();
  EXPECT_THAT(TakeAll(), ElementsAre(2));
}

TEST_F(Watch, AsManyAreTakenAsAreAskedFor) {
  OpenAndRead();
  for (const std::uint32_t index : {2, 3, 4}) {
    fake.Set(index, "eth" + std::to_string(index));
  }
  Turn();
  EXPECT_THAT(watch->TakeChanged(2), ElementsAre(2, 3));
  EXPECT_TRUE(watch->HasChanged());
  EXPECT_THAT(watch->TakeChanged(2), ElementsAre(4));
}

TEST_F(Watch, AnAddressWithAnotherLengthIsAnotherOneInIPv4Only) {
  OpenAndRead();
  fake.Set(2, "eth0");
  fake.AddAddress(2, LinkAddressOf("10.1.0.1/24"));
  fake.AddAddress(2, LinkAddressOf("10.1.0.1/16"));
  fake.RemoveAddress(2, LinkAddressOf("10.1.0.1/24"));
  Turn();
  ExpectAll();
  fake.AddAddress(2, LinkAddressOf("2001:db8::1/64"));
  fake.links[2].addresses.back().length = 48;
  fake.tell(kernel::FoundAddress{2, LinkAddressOf("2001:db8::1/48"), false, 0});
  Turn();
  ExpectAll();
}

TEST_F(Watch, WhatWasLostIsReadAndCounted) {
  OpenAndRead();
  fake.Set(2, "eth0");
  fake.AddAddress(2, LinkAddressOf("10.1.0.1/24"));
  Turn();
  TakeAll();
  channel->Overrun();
  fake.RemoveAddress(2, LinkAddressOf("10.1.0.1/24"));
  fake.Set(3, "eth1");
  RunUntil([this] { return watch->CountOverruns() == 1 && !watch->IsReading(); });
  ExpectAll();
  EXPECT_THAT(TakeAll(), ElementsAre(2, 3));
  EXPECT_EQ(2u, watch->CountUntold());
  EXPECT_THAT(lines, ElementsAre(HasSubstr("had changed without a word")));
}

// A full socket loses what comes until it is empty, and so it may the answer to a question.
TEST_F(Watch, NothingIsAskedBeforeAFullSocketIsEmpty) {
  OpenAndRead();
  fake.Set(2, "eth0");
  channel->Overrun();
  bool isFirst = true;
  channel->beforeDump = [&] {
    if (std::exchange(isFirst, false)) {
      fake.Set(2, "eth0", false);  // heard, if the socket is empty
    }
  };
  RunUntil([this] { return watch->CountOverruns() == 1 && !watch->IsReading(); });
  ExpectAll();
}

TEST_F(Watch, AnAddressThatIsPromotedComesBehindTheOthers) {
  OpenAndRead();
  fake.Set(2, "eth0");
  fake.AddAddress(2, LinkAddressOf("10.1.1.1/24"));
  fake.AddAddress(2, LinkAddressOf("10.1.1.2/24", true));
  fake.AddAddress(2, LinkAddressOf("10.1.2.1/24"));
  fake.RemoveAddress(2, LinkAddressOf("10.1.1.1/24"));
  auto& addresses = fake.links[2].addresses;
  addresses = {LinkAddressOf("10.1.2.1/24"), LinkAddressOf("10.1.1.2/24")};
  fake.tell(kernel::FoundAddress{2, LinkAddressOf("10.1.1.2/24"), false, 0});
  Turn();
  ExpectAll();
}

TEST_F(Watch, AReadingTellsTheOrderOfAddresses) {
  OpenAndRead();
  fake.Set(2, "eth0");
  fake.AddAddress(2, LinkAddressOf("10.1.1.1/24"));
  fake.AddAddress(2, LinkAddressOf("10.1.2.1/24"));
  Turn();
  TakeAll();
  std::swap(fake.links[2].addresses[0], fake.links[2].addresses[1]);
  EXPECT_EQ(std::optional<std::size_t>(0), Compare());
  ExpectAll();
  EXPECT_THAT(TakeAll(), ElementsAre(2));
  Compare();
  EXPECT_THAT(TakeAll(), IsEmpty());
}

TEST_F(Watch, TwoOtherEndsAreTwoAddresses) {
  OpenAndRead();
  fake.Set(2, "eth0");
  kernel::LinkAddress one = LinkAddressOf("10.5.0.1/32");
  one.other = LinkAddressOf("10.5.0.2/32").address;
  kernel::LinkAddress two = LinkAddressOf("10.5.0.1/32");
  two.other = LinkAddressOf("10.5.0.3/32").address;
  fake.AddAddress(2, one);
  fake.AddAddress(2, two);
  fake.RemoveAddress(2, one);
  Turn();
  ExpectAll();
}

TEST_F(Watch, NothingIsHandedOnDuringAReading) {
  OpenAndRead();
  calls = 0;
  bool wasCalled = false;
  channel->beforeDump = [&] {
    fake.Set(2, "eth" + std::to_string(channel->dumps % 10));
    wasCalled = wasCalled || calls != 0;
  };
  Compare();
  EXPECT_FALSE(wasCalled);
  Turn();
  EXPECT_EQ(1, calls);
}

TEST_F(Watch, WhatHasGoneSilentlyIsGoneAfterAComparison) {
  OpenAndRead();
  fake.Set(2, "eth0");
  fake.Set(3, "eth1");
  fake.AddAddress(3, LinkAddressOf("10.1.0.1/24"));
  Turn();
  TakeAll();
  fake.isSilent = true;
  fake.Remove(2);
  fake.RemoveAddress(3, LinkAddressOf("10.1.0.1/24"));
  EXPECT_EQ(std::optional<std::size_t>(2), Compare());
  ExpectAll();
  EXPECT_THAT(TakeAll(), ElementsAre(2, 3));
  EXPECT_EQ(std::optional<std::size_t>(0), Compare());
}

TEST_F(Watch, NewsDuringAReadingStay) {
  OpenAndRead();
  int dumps = 0;
  channel->beforeDump = [&] {
    ++dumps;
    fake.Set(static_cast<std::uint32_t>(1 + dumps), "eth" + std::to_string(dumps));
    fake.AddAddress(static_cast<std::uint32_t>(1 + dumps), LinkAddressOf("10.1.0.1/24"));
  };
  EXPECT_EQ(std::optional<std::size_t>(0), Compare());
  ExpectAll();
  EXPECT_EQ(2, dumps);
}

TEST_F(Watch, AReadingThatChangesUnderItBeginsAnew) {
  OpenAndRead();
  const std::size_t before = channel->dumps;
  channel->accidents = {LinkAccident::INTERRUPTED, LinkAccident::NONE};
  EXPECT_EQ(std::optional<std::size_t>(0), Compare());
  EXPECT_EQ(before + 4, channel->dumps) << "links, addresses, and both again";
  channel->accidents.assign(5, LinkAccident::INTERRUPTED);
  EXPECT_EQ(std::optional<std::size_t>(0), Compare());
  channel->accidents.assign(6, LinkAccident::INTERRUPTED);
  EXPECT_EQ(std::nullopt, Compare());
  EXPECT_EQ(std::optional<std::size_t>(0), Compare());
}

TEST_F(Watch, WhoeverAsksDuringAReadingHearsOfTheNextOne) {
  OpenAndRead();
  std::vector<int> ends;
  watch->Compare([&](std::optional<std::size_t>) { ends.push_back(1); });
  fake.isSilent = true;
  fake.Set(2, "eth0");
  watch->Compare([&](std::optional<std::size_t> untold) {
    ends.push_back(2);
    EXPECT_EQ(std::optional<std::size_t>(1), untold);
  });
  RunUntil([&] { return ends.size() == 2; });
  EXPECT_THAT(ends, ElementsAre(1, 2));
}

TEST_F(Watch, ARefusedReadingIsTriedAgain) {
  OpenAndRead();
  channel->accidents = {LinkAccident::REFUSED};
  EXPECT_EQ(std::nullopt, Compare());
  EXPECT_THAT(lines, SizeIs(1));
  const std::size_t before = channel->dumps;
  RunUntil([&] { return channel->dumps >= before + 2; });
  fake.isSilent = true;
  fake.Set(2, "eth0");
  Compare();
  ExpectAll();
  channel->accidents = {LinkAccident::REFUSED};
  EXPECT_EQ(std::nullopt, Compare());
  EXPECT_EQ(2, std::count_if(lines.begin(), lines.end(),
                             [](const std::string& line) {
                               return line.find("cannot be read") != std::string::npos;
                             }))
      << "each time once";
}

TEST_F(Watch, AfterAFailureEverythingIsRead) {
  OpenAndRead();
  fake.isSilent = true;
  fake.Set(2, "eth0");
  channel->Fail();
  RunUntil([this] { return watch->HasChanged() && !watch->IsReading(); });
  ExpectAll();
  EXPECT_THAT(lines, ElementsAre(HasSubstr("had changed without a word")));
}

// A socket that only fails is asked once a second, not in each turn.
TEST_F(Watch, OneFailureAfterTheOtherIsToldOnce) {
  OpenAndRead();
  const std::size_t before = channel->dumps;
  channel->beforeDump = [this] { channel->Fail(); };
  for (int i = 0; i < 3; ++i) {
    channel->Fail();
    Turn();
  }
  EXPECT_EQ(before + 1, channel->dumps);
  EXPECT_THAT(lines, ElementsAre(HasSubstr("cannot be read")));
  channel->beforeDump = [] {};
  fake.isSilent = true;
  fake.Set(2, "eth0");
  RunUntil([this] { return watch->HasChanged() && !watch->IsReading(); });
  ExpectAll();
}

TEST_F(Watch, WithoutAWayToTheKernelThereIsNone) {
  EXPECT_THROW(
      LinkWatch(
          m_loop.Get(),
          [](auto) -> std::unique_ptr<kernel::Channel> { throw std::runtime_error("none"); },
          [](const std::string&) {}, [] {}),
      std::runtime_error);
}

TEST_F(Watch, WhateverHappensItKnowsAllLinksInTheEnd) {
  test_models::Random random;
  std::uint64_t overruns = 0;
  for (unsigned int run = 0; run < test_models::Scaled(300); ++run) {
    fake = test_kernel::FakeLinks();
    OpenAndRead();
    const auto step = [&](const auto& self) -> void {
      const std::uint32_t index = 2 + random.Below(4);
      const bool isThere = fake.links.count(index) != 0;
      const auto address = LinkAddressOf(
          random.Percent(50) ? "10.1.0." + std::to_string(random.Below(3)) + "/24"
                             : "2001:db8::" + std::to_string(random.Below(3)) + "/64");
      switch (random.Below(8)) {
        case 0:
          if (isThere) {
            fake.Remove(index);
          }
          break;
        case 1:
        case 2:
        case 3:
          if (isThere) {
            const auto& all = fake.links[index].addresses;
            const bool has = std::find(all.begin(), all.end(), address) != all.end();
            has ? fake.RemoveAddress(index, address) : fake.AddAddress(index, address);
          }
          break;
        case 4:
          channel->Overrun();
          ++overruns;
          break;
        case 5:
          channel->accidents.push_back(random.Percent(70) ? LinkAccident::INTERRUPTED
                                                          : LinkAccident::REFUSED);
          break;
        case 6:
          if (!watch->IsReading() && random.Percent(30)) {
            fake.isSilent = true;
            self(self);
            fake.isSilent = false;
          }
          break;
        default:
          fake.Set(index, "eth" + std::to_string(random.Below(6)), random.Percent(60));
      }
    };
    channel->beforeDump = [&] {
      if (random.Percent(20)) {
        step(step);
      }
    };
    for (unsigned int i = 0; i < 40; ++i) {
      step(step);
      if (random.Percent(30)) {
        Turn();
      }
    }
    channel->beforeDump = [] {};
    channel->accidents.clear();
    Compare();
    Compare();
    ASSERT_TRUE(watch->GetLinks() == fake.links) << "run " << run;
    watch.reset();
  }
  test_models::ExpectAtLeast(overruns, 300, "overruns");
}

}  // namespace
