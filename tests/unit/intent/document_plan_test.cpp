#include "device/intent/document_plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using documents::ConfigFile;
using Tarsel::DclConfigObject;
using testing::ElementsAre;
using testing::Pair;

std::shared_ptr<ConfigFile> File(const std::string& name) {
  auto file = std::make_shared<ConfigFile>();
  file->name = name;
  return file;
}

TEST(DocumentPlan, HandsOverAllThatAreWantedAndWithdrawsTheOthers) {
  const documents::ConfigFiles wanted = {File("vlans.json"), File("remote/b.json")};
  const intent::DocumentPlan plan =
      intent::PlanDocuments({{"vlans.json", DclConfigObject::VLAN_OPTIONS},
                             {"remote/a.json", DclConfigObject::REMOTE_OPTIONS}},
                            wanted);
  EXPECT_EQ(plan.reload, wanted);
  EXPECT_THAT(plan.withdraw, ElementsAre(Pair("remote/a.json", DclConfigObject::REMOTE_OPTIONS)));
}

}  // namespace
