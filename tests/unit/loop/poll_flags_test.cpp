// What watching a descriptor leaves of it for those who share it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <uv.h>

#include "device/loop/loop.h"
#include "device/loop/loop_handles.h"

namespace {

TEST(PollFlags, StayAsTheyWere) {
  loop::Loop loop;
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  for (const int flags : {0, O_NONBLOCK}) {
    ASSERT_EQ(fcntl(ends[0], F_SETFL, flags), 0);
    loop::Poll poll(loop.Get(), ends[0]);
    EXPECT_TRUE(poll.IsUsable());
    EXPECT_EQ(fcntl(ends[0], F_GETFL) & O_NONBLOCK, flags);
  }
  uv_run(loop.Get(), UV_RUN_NOWAIT);
  close(ends[0]);
  close(ends[1]);
}

}  // namespace
