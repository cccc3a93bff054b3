#include "device/daemon/stack_descriptors.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <uv.h>

#include <memory>
#include <vector>

#include "tests/support/device_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned READ = 1;
constexpr unsigned WRITE = 2;
constexpr unsigned URGENT = 4;

// The whole way round: the stack registers a socket, the loop watches it, the stack's handler runs.
class Descriptors : public test_support::DeviceFixture {
 protected:
  Descriptors() {
    uv_loop_init(&m_loop);
    descriptors = std::make_unique<vantacored::StackDescriptors>(&m_loop);
    ConnectPair();
    Start(10);
    Manager().SckInterfaceInitialize(descriptors.get());
  }
  ~Descriptors() override {
    Manager().SckInterfaceInitialize(nullptr);
    descriptors.reset();
    uv_run(&m_loop, UV_RUN_DEFAULT);
    uv_loop_close(&m_loop);
    close(m_pair[0]);
    close(m_pair[1]);
  }

  // TCP, since it knows urgent data.
  void ConnectPair() {
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const where = reinterpret_cast<sockaddr*>(&address);
    socklen_t length = sizeof address;
    ASSERT_EQ(bind(listener, where, length), 0);
    ASSERT_EQ(listen(listener, 1), 0);
    ASSERT_EQ(getsockname(listener, where, &length), 0);
    m_pair[1] = socket(AF_INET, SOCK_STREAM, 0);
    ASSERT_EQ(connect(m_pair[1], where, length), 0);
    m_pair[0] = accept(listener, nullptr, nullptr);
    ASSERT_GE(m_pair[0], 0);
    close(listener);
  }
  int Fd() const { return m_pair[0]; }
  void Register(unsigned mask) {
    Control().RegisterDescriptor(Fd(), 7, mask, [this](int events) { seen.push_back(events); });
    RunStack();
  }
  void RunStack() { loop.AdvanceMilliseconds(200); }
  void RunLoop() { uv_run(&m_loop, UV_RUN_NOWAIT); }
  // The network may deliver a moment later.
  void RunLoopUntil(std::size_t events) {
    for (int i = 0; i < 5000 && seen.size() < events; ++i) {
      RunLoop();
      if (seen.size() < events) usleep(1000);
    }
  }
  void SendByte(int flags = 0) { ASSERT_EQ(send(m_pair[1], "x", 1, flags), 1); }

  uv_loop_t m_loop;
  std::unique_ptr<vantacored::StackDescriptors> descriptors;
  int m_pair[2];
  std::vector<int> seen;
};

TEST_F(Descriptors, TellTheStackThatThereIsSomethingToRead) {
  Register(READ);
  RunLoop();
  EXPECT_THAT(seen, IsEmpty());
  SendByte();
  RunLoopUntil(1);
  EXPECT_THAT(seen, ElementsAre(1));
}

TEST_F(Descriptors, FollowAChangeOfMode) {
  Register(READ);
  Control().ChangeDescriptorMask(Fd(), WRITE);
  RunStack();
  SendByte();
  RunLoop();
  EXPECT_THAT(seen, ElementsAre(2));
  Control().ChangeDescriptorMask(Fd(), 0);
  RunStack();
  RunLoop();
  EXPECT_THAT(seen, ElementsAre(2));
  Control().ChangeDescriptorMask(Fd(), READ);
  RunStack();
  RunLoopUntil(2);
  EXPECT_THAT(seen, ElementsAre(2, 1));
}

TEST_F(Descriptors, SayNothingOnceTheyAreRemoved) {
  Register(READ);
  SendByte();
  Control().UnregisterDescriptor(Fd(), 7);
  RunStack();
  RunLoop();
  EXPECT_THAT(seen, IsEmpty());
}

TEST_F(Descriptors, MayBeRegisteredAgain) {
  Register(READ);
  Register(WRITE);
  RunLoop();
  EXPECT_THAT(seen, ElementsAre(2));
}

TEST_F(Descriptors, SurviveADescriptorThatIsNone) {
  descriptors->RegisterDescriptor(-1, 1, 7);
  descriptors->ChangeDescriptorMode(-1, 2);
  descriptors->RemoveDescriptor(-1, 7);
  EXPECT_THAT(traces.AtLevel(1),
              ElementsAre("Descriptor -1 of the routing stack cannot be watched\n"));
}

TEST_F(Descriptors, ChangeNothingThatIsNotRegistered) {
  descriptors->ChangeDescriptorMode(Fd(), 1);
  SendByte();
  RunLoop();
  EXPECT_THAT(seen, IsEmpty());
}

// The mode for the third event bit, which the stack's own registration never asks for.
TEST_F(Descriptors, TellTheStackOfUrgentData) {
  Register(READ);
  Control().ChangeDescriptorMask(Fd(), URGENT);
  RunStack();
  SendByte();
  RunLoop();
  EXPECT_THAT(seen, IsEmpty());
  SendByte(MSG_OOB);
  RunLoopUntil(1);
  EXPECT_THAT(seen, ElementsAre(4));
}

TEST_F(Descriptors, ForgetsThemWithTheStackThatHadThem) {
  Register(READ);
  SendByte();
  Control().Restart();
  descriptors->Clear();
  RunLoop();
  EXPECT_THAT(seen, IsEmpty());
  EXPECT_EQ(uv_loop_alive(&m_loop), 0);
  Register(READ);
  RunLoopUntil(1);
  EXPECT_EQ(seen.size(), 1u);
}

}  // namespace
