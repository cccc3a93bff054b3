// The file that keeps an operator's lines, whatever has become of it.
#include "device/editor/line_history.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <sstream>

#include "tests/support/scratch_folder.h"

namespace {

using editor::LineHistory;
using testing::ElementsAre;
using testing::IsEmpty;

class Kept : public testing::Test {
 protected:
  using Lines = std::vector<std::string>;

  void Save(const Lines& lines) const {
    LineHistory history(folder);
    for (const std::string& line : lines) {
      history.Add(line);
    }
    history.Save();
  }
  Lines Load() const { return LineHistory(folder).Load(); }
  std::string Text() const {
    std::ifstream stream(file);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
  }
  struct stat Look() const {
    struct stat found {};
    EXPECT_EQ(lstat(file.c_str(), &found), 0);
    return found;
  }

  const test_support::ScratchFolder place;
  const std::string folder = place.PathOf("a/b");
  const std::string file = folder + "/history";
};

TEST_F(Kept, LinesComeBackInOrder) {
  EXPECT_THAT(Load(), IsEmpty());
  Save({"one", "two words", "tw\xc3\xb6"});
  EXPECT_THAT(Load(), ElementsAre("one", "two words", "tw\xc3\xb6"));
  Save({"last"});
  EXPECT_THAT(Load(), ElementsAre("one", "two words", "tw\xc3\xb6", "last"));
}

TEST_F(Kept, LinesAreTheUsersAlone) {
  Save({"one"});
  EXPECT_EQ(Look().st_mode & 0777U, 0600U);
  struct stat found {};
  ASSERT_EQ(stat(folder.c_str(), &found), 0);
  EXPECT_EQ(found.st_mode & 0777U, 0700U);
  chmod(file.c_str(), 0644);
  Save({"two"});
  EXPECT_EQ(Look().st_mode & 0777U, 0600U);
}

TEST_F(Kept, LinesAreNotAddedTwice) {
  LineHistory history(folder);
  history.Add("one");
  history.Add("one");
  history.Save();
  history.Save();
  EXPECT_EQ(Text(), "one\n");
}

TEST_F(Kept, LinesAreThoseOfAllWhoSave) {
  LineHistory first(folder);
  LineHistory second(folder);
  EXPECT_THAT(first.Load(), IsEmpty());
  EXPECT_THAT(second.Load(), IsEmpty());
  first.Add("first");
  second.Add("second");
  first.Save();
  second.Save();
  EXPECT_THAT(Load(), ElementsAre("first", "second"));
}

TEST_F(Kept, LinesAreThoseOfManyWhoSaveAtOnce) {
  constexpr int PROCESSES = 8;
  for (int i = 0; i < PROCESSES; ++i) {
    if (fork() == 0) {
      for (int j = 0; j < 10; ++j) {
        Save({"line " + std::to_string(i) + " " + std::to_string(j)});
      }
      _exit(0);
    }
  }
  for (int i = 0; i < PROCESSES; ++i) {
    int status = 0;
    ASSERT_GT(wait(&status), 0);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(Load().size(), PROCESSES * 10U);
}

TEST_F(Kept, TheOldestGo) {
  Lines lines;
  for (std::size_t i = 0; i < LineHistory::MOST_LINES + 1; ++i) {
    lines.push_back(std::to_string(i));
  }
  Save(lines);
  EXPECT_EQ(Load().size(), LineHistory::MOST_LINES);
  EXPECT_EQ(Load().front(), "1");
  Save({"one more"});
  EXPECT_EQ(Load().size(), LineHistory::MOST_LINES);
  EXPECT_EQ(Load().front(), "2");
  EXPECT_EQ(Load().back(), "one more");
}

// Longer than what is written instead of it.
TEST_F(Kept, WhatIsDamagedIsLeftOut) {
  place.Write("a/b/history", "good\n\x1b[2J\n" + std::string(5000, 'x') + "\n\n" +
                                 std::string("n\0l\n", 4) + "\xff\xfe\nalso good");
  EXPECT_THAT(Load(), ElementsAre("good", "also good"));
  Save({"new"});
  EXPECT_EQ(Text(), "good\nalso good\nnew\n");
}

TEST_F(Kept, WhatNobodyCanHaveEnteredIsNotKept) {
  Save({"", "\x1b", std::string(LineHistory::MOST_BYTES + 1, 'x')});
  EXPECT_NE(access(file.c_str(), F_OK), 0);
  Save({std::string(LineHistory::MOST_BYTES, 'x')});
  EXPECT_EQ(Load().size(), 1U);
}

TEST_F(Kept, ALinkIsNotFollowed) {
  place.Write("target", "secret\n");
  place.Write("a/b/other", "");
  for (const bool isHard : {false, true}) {
    const std::string target = place.PathOf("target");
    ASSERT_EQ(isHard ? link(target.c_str(), file.c_str()) : symlink(target.c_str(), file.c_str()),
              0);
    Save({"new"});
    EXPECT_THAT(Load(), IsEmpty());
    std::ifstream stream(target);
    std::string line;
    std::getline(stream, line);
    EXPECT_EQ(line, "secret");
    EXPECT_FALSE(std::getline(stream, line)) << "somebody's file was written";
    ASSERT_EQ(unlink(file.c_str()), 0);
  }
}

TEST_F(Kept, AFolderThatIsALinkIsNotFollowed) {
  ASSERT_EQ(mkdir(place.PathOf("a").c_str(), 0700), 0);
  ASSERT_EQ(mkdir(place.PathOf("real").c_str(), 0700), 0);
  ASSERT_EQ(symlink(place.PathOf("real").c_str(), folder.c_str()), 0);
  Save({"new"});
  EXPECT_NE(access(place.PathOf("real/history").c_str(), F_OK), 0);
}

TEST_F(Kept, AFifoKeepsNobodyWaiting) {
  place.Write("a/b/other", "");
  ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
  Save({"new"});
  EXPECT_THAT(Load(), IsEmpty());
}

TEST_F(Kept, AFileOfSomebodyElseIsLeftAlone) {
  if (geteuid() != 0) {
    std::cout << "This did not run, since only root can make such a file\n";
    return;
  }
  place.Write("a/b/history", "foreign\n");
  ASSERT_EQ(chown(file.c_str(), 1, 1), 0);
  Save({"new"});
  EXPECT_THAT(Load(), IsEmpty());
  EXPECT_EQ(Text(), "foreign\n");
  ASSERT_EQ(chown(file.c_str(), 0, 0), 0);
  EXPECT_THAT(Load(), ElementsAre("foreign"));
  ASSERT_EQ(chmod(folder.c_str(), 0777), 0);
  EXPECT_THAT(Load(), IsEmpty()) << "everybody may write into its folder";
}

TEST_F(Kept, ALockDoesNotKeepTheOperator) {
  Save({"one"});
  const int fd = open(file.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(flock(fd, LOCK_EX), 0);
  Save({"two"});
  close(fd);
  EXPECT_THAT(Load(), ElementsAre("one", "two"));
}

TEST_F(Kept, NothingIsKeptWithoutAFolder) {
  LineHistory history("");
  history.Add("one");
  history.Save();
  EXPECT_THAT(history.Load(), IsEmpty());
}

TEST_F(Kept, TheFolderFollowsFromTheEnvironment) {
  setenv("XDG_STATE_HOME", "/state", 1);
  setenv("HOME", "/home/who", 1);
  EXPECT_EQ(LineHistory::FindFolder(), "/state/vantacore");
  setenv("XDG_STATE_HOME", "state", 1);
  EXPECT_EQ(LineHistory::FindFolder(), "/home/who/.local/state/vantacore");
  unsetenv("XDG_STATE_HOME");
  EXPECT_EQ(LineHistory::FindFolder(), "/home/who/.local/state/vantacore");
  setenv("HOME", "", 1);
  EXPECT_EQ(LineHistory::FindFolder(), "");
  unsetenv("HOME");
  EXPECT_EQ(LineHistory::FindFolder(), "");
}

}  // namespace
