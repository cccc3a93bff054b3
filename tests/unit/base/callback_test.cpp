#include "tarsel/callback.h"

#include <gtest/gtest.h>

namespace {

class Counted : public Tarsel::CallbackBuffer2<int, int> {
 public:
  explicit Counted(bool& gone) : m_gone(gone) {}
  ~Counted() override { m_gone = true; }
  void Dispatch(int a, int b) override { sum = a + b; }

  int sum = 0;

 private:
  bool& m_gone;
};

class Target {
 public:
  void Take(int a, int b) {
    first = a;
    second = b;
  }

  int first = 0;
  int second = 0;
};

}  // namespace

TEST(Callback, LivesUntilTheLastRelease) {
  bool gone = false;
  Counted* callback = new Counted(gone);
  callback->AddReference();
  callback->AddReference();
  callback->Dispatch(2, 3);
  EXPECT_EQ(callback->sum, 5);
  callback->Release();
  EXPECT_FALSE(gone);
  callback->Release();
  EXPECT_TRUE(gone);
}

TEST(Callback, CallsTheMemberWithBothArguments) {
  Target target;
  auto* callback = new Tarsel::MemberCallback2<Target, int, int>(&target, &Target::Take);
  callback->AddReference();
  static_cast<Tarsel::CallbackBuffer2<int, int>*>(callback)->Dispatch(7, 8);
  EXPECT_EQ(target.first, 7);
  EXPECT_EQ(target.second, 8);
  callback->Release();
}
