// What the routers get from the host.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "vantacore/dc_router_base.h"

namespace {

using testing::ElementsAre;
using namespace Tarsel;

class Sockets : public DcSckInterface {
 public:
  void RegisterDescriptor(int fd, int mode, int id) override { Note(1, {fd, mode, id}); }
  void RemoveDescriptor(int fd, int id) override { Note(2, {fd, id}); }
  void ChangeDescriptorMode(int fd, int mode) override { Note(3, {fd, mode}); }

  std::vector<std::vector<int>> calls;

 private:
  void Note(int operation, std::vector<int> arguments) {
    arguments.insert(arguments.begin(), operation);
    calls.push_back(arguments);
  }
};

class Interfaces : public DcIpInterface {
 public:
  bool IsInterfaceUp(unsigned short, unsigned int) const override { return true; }
};

// One test, since both pointers belong to the process.
TEST(HostInterfacesTest, AreStoredAndForwardedTo) {
  EXPECT_EQ(DcRouterBase::GetIpInterface(), nullptr);
  DcRouterBase::SetSckDescriptor(1, 2, 3);
  DcRouterBase::RemoveSckDescriptor(1, 2);
  DcRouterBase::ChangeWorkMask(1, 2);

  Interfaces interfaces;
  Sockets sockets;
  DcRouterBase::Initialize(&interfaces);
  DcRouterBase::SocketInitialize(&sockets);
  EXPECT_EQ(DcRouterBase::GetIpInterface(), &interfaces);
  DcRouterBase::SetSckDescriptor(10, 11, 12);
  DcRouterBase::RemoveSckDescriptor(20, 21);
  DcRouterBase::ChangeWorkMask(30, 31);
  DcRouterBase::SetSckDescriptor(-1, -2, -3);
  EXPECT_THAT(sockets.calls, ElementsAre(ElementsAre(1, 10, 11, 12), ElementsAre(2, 20, 21),
                                         ElementsAre(3, 30, 31), ElementsAre(1, -1, -2, -3)));

  DcRouterBase::SocketInitialize(nullptr);
  DcRouterBase::SetSckDescriptor(1, 2, 3);
  EXPECT_EQ(sockets.calls.size(), 4u);
  DcRouterBase::Initialize(nullptr);
  EXPECT_EQ(DcRouterBase::GetIpInterface(), nullptr);
}

}  // namespace
