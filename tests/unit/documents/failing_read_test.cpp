// A file that opens and cannot be read: the first page of a process's memory is not there.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "device/documents/json_file.h"
#include "tests/support/reported_lines.h"
#include "tests/support/scratch_folder.h"

namespace {

TEST(FailingRead, IsReported) {
  test_support::ScratchFolder folder;
  std::filesystem::create_symlink("/proc/self/mem", folder.PathOf("a.json"));
  test_support::ReportedLines reported;
  Json::Value document = "as before";
  EXPECT_FALSE(
      documents::ReadJsonFile(folder.PathOf("a.json"), "a.json", document, reported.report));
  EXPECT_THAT(reported.lines, testing::ElementsAre("a.json: cannot be read: Input/output error"));
  EXPECT_EQ(document, "as before");
}

}  // namespace
