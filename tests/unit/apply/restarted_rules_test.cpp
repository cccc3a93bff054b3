// Rules of redistribution that a stack was asked for which is gone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/unit/apply/reloader_fixture.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class RestartedRules : public apply_test::ReloaderFixture {
 protected:
  void WriteVlan(const std::string& members) { WriteVlans("\"a\": {\"vid\": 10" + members + "}"); }
};

// A rule whose withdrawal was under way when the stack went. The stack that comes next does not
// have it, so it must not be asked for the withdrawal.
TEST_F(RestartedRules, AreNotWithdrawnFromAStackThatNeverHadThem) {
  WriteVlan(R"(, "RIPV2": {"enabled": true}, "REDISTRIBUTION": {"rip": false})");
  BeginToStart();
  TurnUntilDone();
  ASSERT_TRUE(SettleAll());
  ASSERT_THAT(TakeCalls(), Contains(HasSubstr("redist(1, 1, 196608, 524288, 10, 0)")));
  Control().Hold();
  WriteVlan("");
  Reload();
  ASSERT_THAT(Rules().GetAsked(), Not(IsEmpty()));

  Control().Restart();
  TakeCalls();
  Control().Release();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Rules().GetAsked(), IsEmpty());
  EXPECT_THAT(TakeCalls(), Not(Contains(HasSubstr("redist"))));
}

}  // namespace
