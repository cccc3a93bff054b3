// Rules of redistribution that a stack was asked for which is gone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/unit/apply/reloader_fixture.h"
#include "vantacore/dc_rtm_mgr.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class RestartedRules : public apply_test::ReloaderFixture {
 protected:
  void WriteVlan(const std::string& members) { WriteVlans("\"a\": {\"vid\": 10" + members + "}"); }
};

// A protocol that is disabled while it is not ready keeps its rules in the stack. The stack that comes
// next does not have them, so it must not be asked for their withdrawal later.
TEST_F(RestartedRules, AreNotWithdrawnFromAStackThatNeverHadThem) {
  WriteVlan(R"(, "RIPV2": {"enabled": true}, "REDISTRIBUTION": {"rip": false})");
  BeginToStart();
  TurnUntilDone();
  ASSERT_TRUE(Settle());
  ASSERT_THAT(TakeCalls(), Contains(HasSubstr("redist(1, 1, 196608, 524288, 10, 0)")));
  Tarsel::DcRtmMgr::GetInstance()->DeleteRtmConfig(10);
  WriteVlan("");
  Reload();
  ASSERT_TRUE(Settle());
  ASSERT_THAT(Redistribution().GetAsked(), Not(IsEmpty()));

  RestartTheStack();
  EXPECT_THAT(Redistribution().GetAsked(), IsEmpty());
  TakeCalls();
  WriteVlan(R"(, "RIPV2": {"enabled": true})");
  Reload();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(TakeCalls(), Not(Contains(HasSubstr("redist"))));
}

}  // namespace
