// A file that opens and cannot be read: the first page of a process's memory is not there.
#include <gtest/gtest.h>

#include <filesystem>

#include "device/documents/file_text.h"
#include "tests/support/scratch_folder.h"

namespace {

TEST(FailingRead, IsReported) {
  test_support::ScratchFolder folder;
  std::filesystem::create_symlink("/proc/self/mem", folder.PathOf("a.json"));
  const documents::FileText file = documents::ReadFileText(folder.PathOf("a.json"));
  EXPECT_EQ(file.problem, "cannot be read, expected a readable file, found \"Input/output error\"");
  EXPECT_FALSE(file.isMissing);
}

}  // namespace
