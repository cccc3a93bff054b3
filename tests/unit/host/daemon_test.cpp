#include "device/host/daemon.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <uv.h>

#include <stdexcept>

namespace {

TEST(Loop, CannotBeMadeWithoutDescriptors) {
  { const host::Loop first; }  // after it libuv has what it keeps for all loops
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  limit.rlim_cur = 0;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  EXPECT_THROW(host::Loop(), std::runtime_error);
}

}  // namespace
