#include "device/program/peer.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "device/program/owned_descriptor.h"

namespace {

constexpr uid_t ROOT = 0;
constexpr uid_t NO_USER = 0x7ffffffe;  // no system gives it to anybody

TEST(Peer, IsTheUserAtTheOtherEnd) {
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
  const program::OwnedDescriptor one(ends[0]);
  const program::OwnedDescriptor other(ends[1]);
  EXPECT_EQ(program::FindPeer(one.Get()), geteuid());
}

TEST(Peer, IsNotKnownWhereThereIsNoSocket) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const program::OwnedDescriptor read(ends[0]);
  const program::OwnedDescriptor write(ends[1]);
  EXPECT_FALSE(program::FindPeer(read.Get()));
  EXPECT_EQ(errno, ENOTSOCK);
}

TEST(UserName, IsTheSystems) {
  EXPECT_EQ(program::FindUserName(ROOT), "root");
  EXPECT_FALSE(program::FindUserName(NO_USER));
}

}  // namespace
