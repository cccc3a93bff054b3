// The serializer when there is no memory for a row.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/models/scripted_action.h"
#include "tests/support/failing_new.h"
#include "vantacore/serializer.h"

namespace Tarsel {
namespace {

using test_models::ActionLog;
using test_models::ScriptedAction;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(SerializerMemory, ARowThatCannotBeMadeDropsTheActionWithoutEndingIt) {
  unsigned int row = 7;
  ActionLog log;
  Serializer serializer;
  serializer.RunPendingActions();
  {
    test_support::FailingNew failing(1);
    serializer.Insert(MibOid(&row, 1), new ScriptedAction(log, "a1"));
    EXPECT_TRUE(failing.HasFailed());
  }
  EXPECT_THAT(log.Take(), IsEmpty());
  EXPECT_EQ(1U, log.alive.size());
  EXPECT_EQ(0, serializer.Send(MibOid(&row, 1)));
  EXPECT_EQ(0, serializer.RunPendingAction(&row, 1));
  serializer.Insert(MibOid(&row, 1), new ScriptedAction(log, "a2"));
  EXPECT_THAT(log.Take(), ElementsAre("issue a2", "end a2"));
}

}  // namespace
}  // namespace Tarsel
