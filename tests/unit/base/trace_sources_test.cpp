// Whose messages are whose: the library's come from its shared object, the test's own from none
// that is named.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "device/base/trace_control.h"
#include "tarsel/trace.h"
#include "vantacore/dc_router_mgr.h"

namespace {

using Tarsel::TRACE;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr Tarsel::TraceSource LIBRARY = 2;
constexpr Tarsel::TraceSource ROUTERS = 3;
constexpr unsigned short NO_VLAN = 4000;

class TraceSources : public testing::Test {
 protected:
  TraceSources() {
    EXPECT_TRUE(Tarsel::NameTraceSource("libvantacore.so", LIBRARY));
    EXPECT_TRUE(Tarsel::NameTraceSource("libprotocol_routers.so", ROUTERS));
    Tarsel::DcRouterMgr::GetInstance();
    Tarsel::SetTraceSink([this](int, const std::string& message) { Take(message); });
    Tarsel::SetAssertSink(
        [this](const char* expression, const char*, int) { Take(std::string(expression) + "\n"); });
  }
  ~TraceSources() override {
    Tarsel::SetTraceSink({});
    Tarsel::SetAssertSink({});
    Tarsel::SetTraceLevel(1);
  }
  void Take(const std::string& message) {
    lines.push_back(std::to_string(Tarsel::GetTraceSource()) + ":" + message);
  }
  // "Deleting ..." at level 10, "Trying to ..." at level 1.
  static void LetTheLibraryWrite() { Tarsel::DcRouterMgr::GetInstance()->DeleteVlan(NO_VLAN); }

  std::vector<std::string> lines;
};

const char* const TRYING = "2:Trying to delete VLAN 4000 which does not exist\n";
const char* const DELETING = "2:Deleting VLAN 4000\n";

TEST_F(TraceSources, TellsWhoseMessageItIs) {
  TRACE("ours\n");
  LetTheLibraryWrite();
  TRACE(1, "ours\n");
  const std::string made = "made at run time\n";
  TRACE("%s", made.c_str());
  EXPECT_THAT(lines, ElementsAre("0:ours\n", TRYING, "0:ours\n", "0:made at run time\n"));
}

TEST_F(TraceSources, TellsWhoseAssertionItIs) {
  Tarsel::OnAssert("a == b", "file.cpp", 7);
  EXPECT_THAT(lines, ElementsAre("0:a == b\n"));
  EXPECT_EQ(Tarsel::GetTraceSource(), Tarsel::TRACE_OTHERS);
}

TEST_F(TraceSources, HaveALevelEach) {
  Tarsel::SetTraceLevel(LIBRARY, 10);
  EXPECT_EQ(Tarsel::GetTraceLevel(LIBRARY), 10);
  EXPECT_EQ(Tarsel::GetTraceLevel(), 1);
  EXPECT_EQ(Tarsel::GetTraceLevel(ROUTERS), 1);
  TRACE(2, "hidden\n");
  LetTheLibraryWrite();
  EXPECT_THAT(lines, ElementsAre(DELETING, TRYING));

  lines.clear();
  Tarsel::SetTraceLevel(LIBRARY, 0);
  Tarsel::SetTraceLevel(Tarsel::TRACE_OTHERS, 2);
  TRACE(2, "shown\n");
  LetTheLibraryWrite();
  EXPECT_THAT(lines, ElementsAre("0:shown\n"));
}

TEST_F(TraceSources, ShareALevelThatIsForAll) {
  Tarsel::SetTraceLevel(LIBRARY, 10);
  Tarsel::SetTraceLevel(0);
  TRACE(1, "hidden\n");
  LetTheLibraryWrite();
  EXPECT_THAT(lines, IsEmpty());
  Tarsel::SetTraceLevel(10);
  EXPECT_EQ(Tarsel::GetTraceLevel(LIBRARY), 10);
}

// A sink may write something of its own; what it is taking remains what it was.
TEST_F(TraceSources, TellIrrespectiveOfWhatASinkWrites) {
  std::vector<Tarsel::TraceSource> sources;
  bool isInner = false;
  Tarsel::SetTraceSink([&](int, const std::string&) {
    if (!isInner) {
      isInner = true;
      TRACE("inner\n");
    }
    sources.push_back(Tarsel::GetTraceSource());
  });
  LetTheLibraryWrite();
  EXPECT_THAT(sources, ElementsAre(Tarsel::TRACE_OTHERS, LIBRARY));
}

TEST_F(TraceSources, RefuseAnObjectThatIsNotThere) {
  EXPECT_FALSE(Tarsel::NameTraceSource("libvantacor.so", 1));
  EXPECT_FALSE(Tarsel::NameTraceSource("libvantacore.so.1.0.0.9", 1));
  EXPECT_FALSE(Tarsel::NameTraceSource("libvanta", LIBRARY));
  LetTheLibraryWrite();
  EXPECT_THAT(lines, ElementsAre(TRYING));
}

}  // namespace
