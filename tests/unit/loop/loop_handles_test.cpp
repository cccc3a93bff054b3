#include "device/loop/loop_handles.h"

#include <gmock/gmock.h>
#include <uv.h>

#include <new>
#include <stdexcept>

#include "tests/support/trace_capture.h"

namespace {

using testing::ElementsAre;

class LoopHandles : public testing::Test {
 protected:
  LoopHandles() { uv_loop_init(&m_loop); }
  ~LoopHandles() override { uv_loop_close(&m_loop); }

  // One callback, and what remains of its handle.
  void Run(std::function<void()> callback) {
    {
      loop::Task task(&m_loop);
      task.Post(std::move(callback));
      uv_run(&m_loop, UV_RUN_NOWAIT);
    }
    uv_run(&m_loop, UV_RUN_DEFAULT);
  }

 private:
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

}  // namespace
