#include "device/host/daemon.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <uv.h>

#include <stdexcept>

namespace {

TEST(Loop, CannotBeMadeWithoutDescriptors) {
  { const host::Loop first; }  // after it libuv has what it keeps for all loops
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  rlimit none = before;
  none.rlim_cur = 0;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  EXPECT_THROW(host::Loop(), std::runtime_error);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);  // sanitizers need some
}

}  // namespace
