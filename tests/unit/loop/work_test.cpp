#include "device/loop/work.h"

#include <gmock/gmock.h>
#include <uv.h>

#include <atomic>
#include <future>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "device/loop/disposal.h"
#include "device/loop/loop.h"
#include "tests/support/trace_capture.h"

namespace {

using testing::ElementsAre;
using testing::Optional;

class Work : public testing::Test {
 protected:
  void RunAll() { uv_run(m_loop.Get(), UV_RUN_DEFAULT); }
  void Count(const std::optional<std::string>&) { ++dones; }

  loop::Loop m_loop;
  std::optional<loop::Work> work{m_loop.Get()};
  int dones = 0;
};

TEST_F(Work, IsCarriedOutElsewhereAndEndsInTheLoop) {
  std::thread::id worker;
  std::thread::id end;
  work->Start([&worker] { worker = std::this_thread::get_id(); },
              [&](const std::optional<std::string>& problem) {
                end = std::this_thread::get_id();
                EXPECT_FALSE(problem);
                EXPECT_FALSE(work->IsUnderWay());
                ++dones;
              });
  EXPECT_TRUE(work->IsUnderWay());
  EXPECT_EQ(dones, 0);
  RunAll();
  EXPECT_EQ(dones, 1);
  EXPECT_NE(worker, std::thread::id());
  EXPECT_NE(worker, std::this_thread::get_id());
  EXPECT_EQ(end, std::this_thread::get_id());
}

TEST_F(Work, HandsOverWhatAnExceptionSays) {
  std::optional<std::string> told;
  work->Start([] { throw std::runtime_error("no such thing"); },
              [&told](const std::optional<std::string>& problem) { told = problem; });
  RunAll();
  EXPECT_THAT(told, Optional(std::string("no such thing")));
}

TEST_F(Work, EndsTheProcessWhenMemoryIsShort) {
  EXPECT_EXIT(
      {
        work->Start([] { throw std::bad_alloc(); }, {});
        RunAll();
      },
      testing::KilledBySignal(SIGABRT), "bad_alloc");
}

TEST_F(Work, LogsWhatItsEndThrows) {
  test_support::TraceCapture trace;
  work->Start([] {}, [](const auto&) { throw std::runtime_error("no such thing"); });
  RunAll();
  EXPECT_THAT(trace.Lines(), ElementsAre("0:An event was not handled: no such thing\n"));
}

TEST_F(Work, NeedsNoEnd) {
  test_support::TraceCapture trace;
  work->Start([] {}, {});
  RunAll();
  EXPECT_FALSE(work->IsUnderWay());
  EXPECT_THAT(trace.Lines(), testing::IsEmpty());
}

TEST_F(Work, IsFreedWhereItWasCarriedOut) {
  std::thread::id freer;
  const auto free = [&freer](int* number) {
    freer = std::this_thread::get_id();
    delete number;
  };
  work->Start([held = std::shared_ptr<int>(new int(7), free)] {}, {});
  RunAll();
  EXPECT_NE(freer, std::thread::id());
  EXPECT_NE(freer, std::this_thread::get_id());
}

TEST_F(Work, MayBeFollowedByTheNextFromItsEnd) {
  work->Start([] {},
              [this](const auto&) { work->Start([] {}, [this](const auto& p) { Count(p); }); });
  RunAll();
  EXPECT_EQ(dones, 1);
}

TEST_F(Work, MayBeDestroyedByItsEnd) {
  work->Start([] {},
              [this](const auto&) {
                work.reset();
                ++dones;
              });
  RunAll();
  EXPECT_EQ(dones, 1);
}

TEST_F(Work, GoesOnAloneWhenItsObjectEnds) {
  std::promise<void> begun;
  std::promise<void> admitted;
  const auto isOver = std::make_shared<std::atomic<bool>>(false);
  work->Start(
      [&begun, isOver, admittance = admitted.get_future().share()] {
        begun.set_value();
        admittance.wait();
        *isOver = true;
      },
      [this](const auto& p) { Count(p); });
  begun.get_future().wait();
  work.reset();
  EXPECT_FALSE(*isOver);
  admitted.set_value();
  RunAll();
  EXPECT_TRUE(*isOver);
  EXPECT_EQ(dones, 0);
}

TEST_F(Work, IsDroppedForTheNext) {
  int firsts = 0;
  work->Start([] {}, [&firsts](const auto&) { ++firsts; });
  work->Start([] {}, [this](const auto& p) { Count(p); });
  RunAll();
  EXPECT_EQ(firsts, 0);
  EXPECT_EQ(dones, 1);
}

TEST(WorkAndLoop, TheLoopDoesNotEndBeforeWorkThatHasBegun) {
  const auto isOver = std::make_shared<std::atomic<bool>>(false);
  std::promise<void> begun;
  {
    loop::Loop loop;
    loop::Work work(loop.Get());
    work.Start(
        [isOver, &begun] {
          begun.set_value();
          uv_sleep(50);
          *isOver = true;
        },
        {});
    begun.get_future().wait();
  }
  EXPECT_TRUE(*isOver);
}

class Disposal : public testing::Test {
 protected:
  using Threads = std::vector<std::thread::id>;

  // Writes down who frees it.
  std::shared_ptr<const void> Thing() {
    return {new int(7), [threads = m_threads](const int* number) {
              threads->push_back(std::this_thread::get_id());
              delete number;
            }};
  }
  void RunAll() { uv_run(m_loop.Get(), UV_RUN_DEFAULT); }
  const Threads& FreedBy() const { return *m_threads; }

  loop::Loop m_loop;
  loop::Disposal disposal{m_loop.Get()};

 private:
  std::shared_ptr<Threads> m_threads = std::make_shared<Threads>();
};

TEST_F(Disposal, FreesElsewhere) {
  std::vector<loop::Disposal::Thing> things;
  things.push_back(Thing());
  things.push_back(Thing());
  disposal.Free(std::move(things));
  RunAll();
  EXPECT_THAT(FreedBy(), testing::SizeIs(2));
  EXPECT_THAT(FreedBy(), testing::Each(testing::Ne(std::this_thread::get_id())));
}

TEST_F(Disposal, LeavesWhatOthersHave) {
  const auto shared = Thing();
  disposal.Free(shared);
  RunAll();
  EXPECT_THAT(FreedBy(), testing::IsEmpty());
}

TEST_F(Disposal, FreesWhatComesMeanwhile) {
  disposal.Free(Thing());
  disposal.Free(Thing());
  disposal.Free(Thing());
  RunAll();
  EXPECT_THAT(FreedBy(), testing::SizeIs(3));
  EXPECT_THAT(FreedBy(), testing::Each(testing::Ne(std::this_thread::get_id())));
}

// The pool has other things to do.
TEST_F(Disposal, KeepsOneThreadBusyAtMost) {
  std::promise<void> admitted;
  disposal.Free({new int(7), [admittance = admitted.get_future().share()](const int* number) {
                   admittance.wait();
                   delete number;
                 }});
  disposal.Free(Thing());
  EXPECT_EQ(m_loop.Get()->active_reqs.count, 1u);
  admitted.set_value();
  RunAll();
  EXPECT_THAT(FreedBy(), testing::SizeIs(1));
}

TEST_F(Disposal, DoesNothingForNothing) {
  disposal.Free(std::vector<loop::Disposal::Thing>());
  EXPECT_EQ(uv_loop_alive(m_loop.Get()), 0) << "nothing is under way";
}

}  // namespace
