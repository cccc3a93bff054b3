#include "device/loop/loop_handles.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>
#include <uv.h>

#include <csignal>
#include <memory>
#include <new>
#include <stdexcept>

#include "tests/support/trace_capture.h"

namespace {

using testing::ElementsAre;

class LoopHandles : public testing::Test {
 protected:
  LoopHandles() { uv_loop_init(&m_loop); }
  ~LoopHandles() override { EXPECT_EQ(uv_loop_close(&m_loop), 0) << "a handle is left"; }

  // One callback, and what remains of its handle.
  void Run(std::function<void()> callback) {
    {
      loop::Task task(&m_loop);
      task.Post(std::move(callback));
      uv_run(&m_loop, UV_RUN_NOWAIT);
    }
    uv_run(&m_loop, UV_RUN_DEFAULT);
  }

  uv_loop_t m_loop;
};

TEST_F(LoopHandles, LogAnExceptionThatNobodyTook) {
  test_support::TraceCapture trace;
  Run([] { throw std::runtime_error("no such thing"); });
  EXPECT_THAT(trace.Lines(), ElementsAre("0:An event was not handled: no such thing\n"));
}

TEST_F(LoopHandles, EndTheProcessWhenMemoryIsShort) {
  EXPECT_EXIT(Run([] { throw std::bad_alloc(); }), testing::KilledBySignal(SIGABRT), "bad_alloc");
}

// What a callback holds must not wait for the loop, which closes handles some turns later.
TEST_F(LoopHandles, GiveUpTheirCallbacksWhenTheyEnd) {
  const auto held = std::make_shared<int>(7);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  {
    loop::Timer timer(&m_loop);
    timer.Start(1000, [held] {});
    loop::Task task(&m_loop);
    task.Post([held] {});
    loop::Poll poll(&m_loop, ends[0]);
    poll.Start(UV_READABLE, [held](int) {});
    const loop::Signal signal(&m_loop, SIGUSR1, [held] {});
    EXPECT_EQ(held.use_count(), 5);
  }
  EXPECT_EQ(held.use_count(), 1);
  uv_run(&m_loop, UV_RUN_DEFAULT);
  close(ends[0]);
  close(ends[1]);
}

// A file is always ready, so that the system does not watch it.
TEST_F(LoopHandles, DoNotWatchWhatCannotBeWatched) {
  const int null = open("/dev/null", O_RDONLY);
  for (const int fd : {null, -1}) {
    loop::Poll poll(&m_loop, fd);
    EXPECT_FALSE(poll.IsUsable());
    poll.Start(UV_READABLE, [](int) { FAIL(); });
    uv_run(&m_loop, UV_RUN_NOWAIT);
    poll.Start(0, {});
  }
  close(null);
}

}  // namespace
