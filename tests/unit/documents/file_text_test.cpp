#include "device/documents/file_text.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <ctime>
#include <filesystem>

#include "tests/support/scratch_folder.h"
#include "tests/unit/documents/clock.h"

namespace {

using documents::FileStamp;
using documents_tests::Clock;
using documents_tests::SECOND;

class ReadFileText : public testing::Test {
 protected:
  documents::FileText Read(const std::string& name) const {
    return documents::ReadFileText(folder.PathOf(name));
  }

  test_support::ScratchFolder folder;
};

TEST_F(ReadFileText, GivesTheText) {
  const std::string text = std::string("{\"a\": 1}\0\n", 10) + std::string(200000, 'x');
  folder.Write("a.json", text);
  const documents::FileText file = Read("a.json");
  EXPECT_EQ(file.text, text);
  EXPECT_EQ(file.problem, "");
  EXPECT_FALSE(file.isMissing);
  EXPECT_EQ(file.stamp.size, text.size());
  EXPECT_EQ(file.stamp.digest, documents::DigestOf(text));
}

TEST_F(ReadFileText, GivesAnEmptyText) {
  folder.Write("a.json", "");
  EXPECT_EQ(Read("a.json").text, "");
  EXPECT_EQ(Read("a.json").problem, "");
}

TEST_F(ReadFileText, ReportsAMissingFile) {
  const documents::FileText file = Read("a.json");
  EXPECT_TRUE(file.isMissing);
  EXPECT_EQ(file.problem,
            "cannot be read, expected a readable file, found \"No such file or directory\"");
}

TEST_F(ReadFileText, ReportsALinkInACircle) {
  std::filesystem::create_symlink("a.json", folder.PathOf("a.json"));
  const documents::FileText file = Read("a.json");
  EXPECT_FALSE(file.isMissing);
  EXPECT_EQ(
      file.problem,
      "cannot be read, expected a readable file, found \"Too many levels of symbolic links\"");
}

TEST_F(ReadFileText, ReportsAFolder) {
  folder.Write("a.json/b", "");
  EXPECT_EQ(Read("a.json").problem, "not a regular file, expected one, found a folder");
  EXPECT_FALSE(Read("a.json").isMissing);
}

TEST_F(ReadFileText, ReportsADevice) {
  std::filesystem::create_symlink("/dev/zero", folder.PathOf("a.json"));
  EXPECT_EQ(Read("a.json").problem, "not a regular file, expected one, found a device");
}

TEST_F(ReadFileText, DoesNotWaitForThePeerOfAPipe) {
  ASSERT_EQ(mkfifo(folder.PathOf("a.json").c_str(), 0600), 0);
  EXPECT_EQ(Read("a.json").problem, "not a regular file, expected one, found a pipe");
}

TEST_F(ReadFileText, ReportsAFileThatIsTooLarge) {
  folder.Write("a.json", "");
  std::filesystem::resize_file(folder.PathOf("a.json"), documents::MAX_FILE_BYTES);
  EXPECT_EQ(Read("a.json").problem, "");
  EXPECT_EQ(Read("a.json").text.size(), documents::MAX_FILE_BYTES);
  std::filesystem::resize_file(folder.PathOf("a.json"), documents::MAX_FILE_BYTES + 1);
  EXPECT_EQ(Read("a.json").problem, "too large, expected at most 32 MiB, found more");
}

// ---- stamps

class Stamp : public ReadFileText {
 protected:
  Stamp() { folder.Write("a.json", "one"); }

  void SetModified(std::time_t seconds, long nanoseconds) const {
    const timespec times[2] = {{seconds, nanoseconds}, {seconds, nanoseconds}};
    ASSERT_EQ(utimensat(AT_FDCWD, folder.PathOf("a.json").c_str(), times, 0), 0);
  }
  FileStamp Look() const { return *documents::LookAt(folder.PathOf("a.json")); }
};

TEST_F(Stamp, IsWhatTheFileSystemTells) {
  SetModified(1000, 7);
  struct stat status;
  ASSERT_EQ(stat(folder.PathOf("a.json").c_str(), &status), 0);
  const FileStamp stamp = Look();
  EXPECT_EQ(stamp.device, status.st_dev);
  EXPECT_EQ(stamp.inode, status.st_ino);
  EXPECT_EQ(stamp.size, 3u);
  EXPECT_EQ(stamp.modified, 1000000000007);
  EXPECT_EQ(stamp.changed, std::int64_t{status.st_ctim.tv_sec} * SECOND + status.st_ctim.tv_nsec);
  EXPECT_TRUE(stamp.LooksLike(Read("a.json").stamp));
}

TEST_F(Stamp, LooksAnotherAfterAnyChange) {
  const FileStamp stamp = Look();
  EXPECT_TRUE(stamp.LooksLike(stamp));
  for (auto member : {&FileStamp::device, &FileStamp::inode, &FileStamp::size}) {
    FileStamp other = stamp;
    ++(other.*member);
    EXPECT_FALSE(stamp.LooksLike(other));
  }
  for (auto member : {&FileStamp::modified, &FileStamp::changed}) {
    FileStamp other = stamp;
    ++(other.*member);
    EXPECT_FALSE(stamp.LooksLike(other));
  }
  FileStamp other = stamp;
  other.isSettled = !other.isSettled;
  ++other.digest[0];
  EXPECT_TRUE(stamp.LooksLike(other));
}

TEST_F(Stamp, TellsTextsApartBySizeAndDigest) {
  const FileStamp stamp = Read("a.json").stamp;
  EXPECT_TRUE(stamp.HasTextOf(stamp));
  FileStamp other = stamp;
  ++other.size;
  EXPECT_FALSE(stamp.HasTextOf(other));
  other = stamp;
  ++other.digest[1];
  EXPECT_FALSE(stamp.HasTextOf(other));
  folder.Write("b.json", "one");
  EXPECT_TRUE(stamp.HasTextOf(Read("b.json").stamp));
  EXPECT_FALSE(stamp.LooksLike(Read("b.json").stamp));
}

TEST_F(Stamp, IsSettledTwoSecondsAfterTheLastChange) {
  SetModified(1000, 0);
  const std::int64_t changed = Look().changed;
  Clock::stands = changed + 2 * SECOND - 1;
  EXPECT_FALSE(Look().isSettled);
  EXPECT_FALSE(Read("a.json").stamp.isSettled);
  Clock::stands = changed + 2 * SECOND;
  EXPECT_TRUE(Look().isSettled);
  EXPECT_TRUE(Read("a.json").stamp.isSettled);
}

TEST_F(Stamp, IsNotSettledBeforeAModificationInTheFuture) {
  SetModified(2000000000, 0);  // fits a device of 32 bits
  Clock::stands = 2000000000 * SECOND + 2 * SECOND - 1;
  EXPECT_FALSE(Look().isSettled);
  Clock::stands += 1;
  EXPECT_TRUE(Look().isSettled);
}

TEST_F(Stamp, IsNotThereForAMissingFile) {
  EXPECT_FALSE(documents::LookAt(folder.PathOf("b.json")));
}

}  // namespace
