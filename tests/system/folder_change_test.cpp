// A daemon that applies changes of its folder.
#include <gmock/gmock.h>

#include "signs.h"
#include "transactions_fixture.h"

namespace {

using testing::HasSubstr;

using FolderChange = system_test::Transactions;

TEST_F(FolderChange, IsAppliedOrToldAndNamed) {
  StartDaemon({"--reload-on-change"});
  WriteRoutes(2, "10.1.0.3");
  daemon->ReadErrorsUntil("Revision 2, reload by a change of the folder: ");
  Spoil();
  daemon->ReadErrorsUntil("Refused to a change of the folder: 1 error; nothing was changed: ");
  WriteRoutes(3, "10.1.0.3");
  daemon->ReadErrorsUntil("Revision 3, reload by a change of the folder: ");
  EXPECT_THAT(Ask({"history"}).output, HasSubstr("*     3  "));
  system_test::Await("what was applied", [this] { return Ask({"verify"}).status == 0; });
}

TEST_F(FolderChange, WaitsForTheEndOfATrial) {
  StartDaemon({"--reload-on-change"});
  WriteRoutes(2, "10.1.0.3");
  daemon->ReadErrorsUntil("Revision 2, reload by a change of the folder: ");
  EXPECT_EQ(Ask({"undo"}).status, 0);
  EXPECT_EQ(Ask({"reload", "confirm", "3600"}).status, 0);
  WriteRoutes(3, "10.1.0.3");
  EXPECT_EQ(Ask({"confirm", "4"}).status, 0);
  daemon->ReadErrorsUntil("Revision 5, reload by a change of the folder: ");
  system_test::Await("its routes", [this] { return CountRoutes() == 3; });
}

}  // namespace
