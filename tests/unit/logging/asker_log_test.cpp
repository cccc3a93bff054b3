// What askers hear of the log, and that the log gets it all the same.
#include "device/logging/asker_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tarsel/trace.h"
#include "tests/support/trace_capture.h"

namespace {

using testing::ElementsAre;
using Lines = std::vector<std::string>;

program::Report WriteTo(Lines& lines) {
  return [&lines](const std::string& line) { lines.push_back(line); };
}

void Say() {
  Tarsel::TRACE("of the %s\n", "folder");
  Tarsel::TRACE(1, "of the library\n");
}

TEST(AskerLog, LetsAllAskersHearWhatHasNoLevel) {
  const test_support::TraceCapture log;
  Lines one;
  Lines other;
  logging::HearWhile({WriteTo(one), WriteTo(other)}, Say);
  Say();
  EXPECT_THAT(one, ElementsAre("of the folder\n"));
  EXPECT_EQ(other, one);
  EXPECT_THAT(log.Lines(), ElementsAre("-:of the folder\n", "1:of the library\n",
                                       "-:of the folder\n", "1:of the library\n"));
}

TEST(AskerLog, LetsTheOthersHearWhenOneFails) {
  const test_support::TraceCapture log;
  Lines other;
  logging::HearWhile(
      {[](const std::string&) { throw std::runtime_error("has gone"); }, WriteTo(other)}, Say);
  EXPECT_THAT(other, ElementsAre("of the folder\n"));
  EXPECT_EQ(log.Lines().size(), 2u);
}

TEST(AskerLog, WorksWithoutAskers) {
  const test_support::TraceCapture log;
  logging::HearWhile({}, Say);
  EXPECT_EQ(log.Lines().size(), 2u);
}

// Where nobody has set a log, it is standard error.
TEST(AskerLog, WritesToStandardErrorWithoutALog) {
  Lines heard;
  testing::internal::CaptureStderr();
  logging::HearWhile({WriteTo(heard)}, Say);
  Say();
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "of the folder\nof the library\nof the folder\nof the library\n");
  EXPECT_THAT(heard, ElementsAre("of the folder\n"));
}

}  // namespace
