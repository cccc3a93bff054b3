#include "tarsel/trace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "device/base/trace_control.h"
#include "tests/support/trace_capture.h"

using Tarsel::OnAssert;
using Tarsel::TRACE;
using test_support::TraceCapture;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Trace : public testing::Test {
 protected:
  ~Trace() override {
    Tarsel::SetTraceSink({});
    Tarsel::SetAssertSink({});
    Tarsel::SetTraceLevel(1);
  }

  void Collect() {
    Tarsel::SetTraceSink([this](int level, const std::string& message) {
      lines.push_back(std::to_string(level) + ":" + message);
    });
  }

  std::vector<std::string> lines;
};

}  // namespace

TEST_F(Trace, ShowsLevelsUpToOneByDefault) {
  EXPECT_EQ(Tarsel::GetTraceLevel(), 1);
  Collect();
  TRACE(0, "grave\n");
  TRACE(1, "less\n");
  TRACE(2, "hidden\n");
  TRACE(10, "hidden\n");
  EXPECT_THAT(lines, ElementsAre("0:grave\n", "1:less\n"));
}

TEST_F(Trace, ShowsTheChosenLevelAndThoseBelow) {
  Collect();
  Tarsel::SetTraceLevel(5);
  EXPECT_EQ(Tarsel::GetTraceLevel(), 5);
  TRACE(5, "shown\n");
  TRACE(6, "hidden\n");
  EXPECT_THAT(lines, ElementsAre("5:shown\n"));
}

TEST_F(Trace, AlwaysShowsMessagesWithoutALevel) {
  Collect();
  Tarsel::SetTraceLevel(-1);
  TRACE("Failed to get VLAN id: %s\n", "");
  TRACE(0, "hidden\n");
  EXPECT_THAT(lines, ElementsAre("-1:Failed to get VLAN id: \n"));
}

TEST_F(Trace, FormatsLikePrintf) {
  Collect();
  TRACE(1, "%s/%u %d%%\n", "10.0.0.0", 8u, -3);
  TRACE("%5.1f|%-3c|\n", 2.25, 'x');
  EXPECT_THAT(lines, ElementsAre("1:10.0.0.0/8 -3%\n", "-1:  2.2|x  |\n"));
}

TEST_F(Trace, FormatsMessagesOfAnyLength) {
  Collect();
  const std::string text(5000, 'x');
  TRACE(1, "%s\n", text.c_str());
  EXPECT_THAT(lines, ElementsAre("1:" + text + "\n"));
}

// Formatting the argument would read from an address that nothing can be read from.
TEST_F(Trace, DoesNotFormatWhatIsNotShown) {
  Collect();
  const char* volatile unreadable = reinterpret_cast<const char*>(std::uintptr_t{1});
  const char* text = unreadable;
  TRACE(10, "%s\n", text);
  EXPECT_THAT(lines, IsEmpty());
}

TEST_F(Trace, WritesToStandardErrorByDefault) {
  testing::internal::CaptureStderr();
  TRACE(1, "one\n");
  TRACE(2, "two\n");
  TRACE("none\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "one\nnone\n");
}

TEST_F(Trace, AnEmptySinkBringsTheDefaultBack) {
  EXPECT_FALSE(Tarsel::SetTraceSink([](int, const std::string&) {}));
  Collect();
  EXPECT_TRUE(Tarsel::SetTraceSink({}));
  testing::internal::CaptureStderr();
  TRACE(1, "one\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "one\n");
  EXPECT_THAT(lines, IsEmpty());
}

TEST_F(Trace, AssertionsReportAndReturn) {
  Tarsel::SetAssertSink([this](const char* expression, const char* source, int line) {
    lines.push_back(std::string(expression) + " " + source + " " + std::to_string(line));
  });
  OnAssert("res == 1", "dcl_config_object", 42);
  OnAssert(nullptr, nullptr, 0);
  EXPECT_THAT(lines, ElementsAre("res == 1 dcl_config_object 42", "  0"));
}

TEST_F(Trace, AssertionsGoToStandardErrorByDefault) {
  testing::internal::CaptureStderr();
  OnAssert("obj", "dcconsole", 7);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Assertion failed: obj (dcconsole:7)\n");
}

TEST_F(Trace, CaptureWritesLevelsAndAssertionsDown) {
  {
    TraceCapture capture;
    TRACE(10, "Creating VLAN %d\n", 10);
    TRACE("skipped\n");
    TRACE(0, "grave\n");
    OnAssert("obj", "dcconsole", 7);
    EXPECT_THAT(capture.Lines(), ElementsAre("10:Creating VLAN 10\n", "-:skipped\n", "0:grave\n"));
    EXPECT_THAT(capture.AtLevel(10), ElementsAre("Creating VLAN 10\n"));
    EXPECT_THAT(capture.AtLevel(0), ElementsAre("grave\n"));
    EXPECT_THAT(capture.AtLevel(1), IsEmpty());
    EXPECT_THAT(capture.AtLevel(Tarsel::TRACE_NO_LEVEL), ElementsAre("skipped\n"));
    EXPECT_TRUE(capture.Contains("VLAN 10"));
    EXPECT_FALSE(capture.Contains("VLAN 11"));
    EXPECT_EQ(capture.CountOf("0:grave\n"), 1u);
    EXPECT_EQ(capture.CountOf("grave\n"), 0u);
    EXPECT_EQ(capture.Take().size(), 3u);
    EXPECT_THAT(capture.Take(), IsEmpty());
    EXPECT_THAT(capture.TakeAssertions(), ElementsAre("obj|dcconsole|7"));
    EXPECT_THAT(capture.Assertions(), IsEmpty());
  }
  EXPECT_EQ(Tarsel::GetTraceLevel(), 1);
  testing::internal::CaptureStderr();
  TRACE(1, "after\n");
  OnAssert("after", "capture", 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "after\nAssertion failed: after (capture:1)\n");
}
