// Whose line it is, and how much of whose lines is shown.
#include "device/logging/log_components.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "device/base/trace_control.h"
#include "tarsel/trace.h"
#include "vantacore/dc_router_mgr.h"

namespace {

using logging::SetLogLevel;
using testing::ElementsAre;
using testing::IsEmpty;

class LogComponents : public testing::Test {
 protected:
  LogComponents() {
    logging::NameLogComponents();
    Tarsel::DcRouterMgr::GetInstance();
    Tarsel::SetTraceSink([this](int, const std::string& message) {
      lines.push_back(std::string(NameOf(logging::GetLogComponent())) + ": " + message);
    });
  }
  ~LogComponents() override {
    Tarsel::SetTraceSink({});
    Tarsel::SetTraceLevel(1);
  }
  // What is written by both at level 10 and at level 1.
  std::vector<std::string> Write() {
    lines.clear();
    Tarsel::TRACE(10, "ten\n");
    Tarsel::TRACE(1, "one\n");
    Tarsel::DcRouterMgr::GetInstance()->DeleteVlan(4000);
    return lines;
  }

  std::vector<std::string> lines;
};

const char* const ONE = "library: Trying to delete VLAN 4000 which does not exist\n";
const char* const TEN = "library: Deleting VLAN 4000\n";

TEST_F(LogComponents, AreNamed) { EXPECT_THAT(Write(), ElementsAre("host: one\n", ONE)); }

TEST_F(LogComponents, HaveALevelEach) {
  EXPECT_TRUE(SetLogLevel(10, "library"));
  EXPECT_THAT(Write(), ElementsAre("host: one\n", TEN, ONE));
  EXPECT_TRUE(SetLogLevel(0, "library"));
  EXPECT_TRUE(SetLogLevel(10, "host"));
  EXPECT_THAT(Write(), ElementsAre("host: ten\n", "host: one\n"));
}

// The stack is the routing stack with its protocol routers, whose shared object is another.
TEST_F(LogComponents, TheStackHasBothItsObjects) {
  EXPECT_TRUE(SetLogLevel(7, "stack"));
  EXPECT_EQ(Tarsel::GetTraceLevel(2), 7);
  EXPECT_EQ(Tarsel::GetTraceLevel(3), 7);
  EXPECT_THAT(Write(), ElementsAre("host: one\n", ONE));
}

TEST_F(LogComponents, ShareOneLevelWithoutAName) {
  EXPECT_TRUE(SetLogLevel(10, "library"));
  EXPECT_TRUE(SetLogLevel(0, ""));
  EXPECT_THAT(Write(), IsEmpty());
  EXPECT_TRUE(SetLogLevel(10, ""));
  EXPECT_THAT(Write(), ElementsAre("host: ten\n", "host: one\n", TEN, ONE));
}

TEST_F(LogComponents, RefuseANameThatNoneHas) {
  for (const char* const name : {"lib", "library ", "Host", "routers", "all"}) {
    EXPECT_FALSE(SetLogLevel(10, name)) << name;
  }
  EXPECT_THAT(Write(), ElementsAre("host: one\n", ONE));
}

}  // namespace
