// Asking again now for what the kernel refuses.

#include <gtest/gtest.h>

#include <cerrno>

#include "ledger_driver.h"

namespace {

using test_kernel::Hop;
using test_kernel::KEY;
using test_kernel::OTHER;

class RefusedRoutes : public testing::Test, protected test_kernel::LedgerDriver {
 protected:
  RefusedRoutes() {
    Begin();
    kernel.refuse = [](const auto&, bool) { return EPERM; };
    ledger.Want(KEY, Hop("10.1.2.1"));
    ledger.Want(OTHER, Hop("10.1.2.1"));
    SendAll();
  }
  static bool Any(const ::kernel::RouteKey&) { return true; }
};

TEST_F(RefusedRoutes, ThoseThatAreMeantAreAskedForAtOnce) {
  kernel.refuse = {};
  EXPECT_EQ(1u, ledger.Retry([](const auto& key) { return key == KEY; }));
  EXPECT_EQ(1u, SendAll());
  EXPECT_EQ(1u, ledger.CountStanding());
  EXPECT_EQ(nullptr, ledger.FindRefusal(KEY));
  EXPECT_NE(nullptr, ledger.FindRefusal(OTHER));
  EXPECT_EQ(1u, ledger.Retry(Any));
  SendAll();
  EXPECT_EQ(2u, ledger.CountStanding());
  EXPECT_EQ(0u, ledger.Retry(Any));
}

TEST_F(RefusedRoutes, OneThatIsUnderWayIsNotAskedForTwice) {
  EXPECT_EQ(2u, ledger.Retry(Any));
  EXPECT_EQ(2u, ledger.Retry(Any));
  EXPECT_EQ(2u, SendAll());
  EXPECT_EQ(2u, ledger.FindRefusal(KEY)->tries);
  EXPECT_EQ(now + 2000, ledger.FindNextTry());
}

TEST_F(RefusedRoutes, ThoseThatAreNotMeantKeepTheirTime) {
  const auto next = ledger.FindNextTry();
  EXPECT_EQ(0u, ledger.Retry([](const auto&) { return false; }));
  EXPECT_EQ(0u, SendAll());
  EXPECT_EQ(next, ledger.FindNextTry());
}

}  // namespace
