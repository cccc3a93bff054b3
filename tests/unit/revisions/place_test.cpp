// Where a store is, who may have it, and that only one has.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "store_fixture.h"

namespace revisions_test {

namespace {

using testing::EndsWith;
using testing::MatchesRegex;
using testing::StartsWith;

class StorePlace : public Store {
 protected:
  std::string PathFor(const std::string& folder) {
    std::string problem;
    const auto opened = RevisionStore::Open(state.Path(), folder, {}, problem);
    EXPECT_EQ(problem, "") << folder;
    return opened == nullptr ? "" : opened->GetPath();
  }
};

TEST_F(StorePlace, IsNamedAfterTheRealPath) {
  std::filesystem::create_directories(config.PathOf("one/net"));
  std::filesystem::create_directories(config.PathOf("two/net"));
  std::filesystem::create_symlink("one", config.PathOf("three"));
  const std::string one = PathFor(config.PathOf("one/net"));
  EXPECT_THAT(one.substr(state.Path().size()), MatchesRegex("/net-[0-9a-f]+"));
  EXPECT_EQ(one.size(), state.Path().size() + 1 + 3 + 1 + 32);
  EXPECT_EQ(PathFor(config.PathOf("three/net")), one);
  EXPECT_EQ(PathFor(config.PathOf("one/net/")), one);
  EXPECT_EQ(PathFor(config.PathOf("two/../one/./net")), one);
  EXPECT_NE(PathFor(config.PathOf("two/net")), one);
  EXPECT_NE(PathFor(config.PathOf("one")), one);
}

TEST_F(StorePlace, DoesNotNeedTheConfigurationFolder) {
  const std::string one = PathFor(config.PathOf("one"));
  std::filesystem::create_directory(config.PathOf("one"));
  EXPECT_EQ(PathFor(config.PathOf("one")), one);
  std::filesystem::remove(config.PathOf("one"));
  EXPECT_EQ(PathFor(config.PathOf("one/")), one);
  EXPECT_NE(PathFor("/"), one);
}

TEST_F(StorePlace, HasANameThatCanBePrinted) {
  const std::string longName(255, 'x');
  std::filesystem::create_directory(config.PathOf(longName));
  std::filesystem::create_directory(config.PathOf("a\nb"));
  EXPECT_THAT(PathFor(config.PathOf(longName)).substr(state.Path().size()),
              StartsWith("/" + std::string(64, 'x') + "-"));
  EXPECT_THAT(PathFor(config.PathOf("a\nb")).substr(state.Path().size()), StartsWith("/a\\x0ab-"));
}

TEST_F(StorePlace, IsMadeWithTheFoldersAboveIt) {
  std::string problem;
  const std::string deep = state.PathOf("a/b/c");
  const mode_t mask = umask(0);
  EXPECT_NE(RevisionStore::Open(deep, config.Path(), {}, problem), nullptr) << problem;
  umask(mask);
  for (const char* folder : {"a", "a/b", "a/b/c"}) {
    struct stat found {};
    EXPECT_EQ(stat(state.PathOf(folder).c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 07777, 0700u) << folder;
  }
}

TEST_F(StorePlace, IsAnAbsolutePath) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(state.Path());
  std::string problem;
  const auto opened = RevisionStore::Open("below", config.Path(), {}, problem);
  std::filesystem::current_path(before);
  ASSERT_NE(opened, nullptr) << problem;
  EXPECT_EQ(opened->Keep(RevisionOf(1), {}, InForce(1)), "");
  EXPECT_TRUE(std::filesystem::exists(opened->PathOf(1) + "/revision.json"));
}

TEST_F(StorePlace, IsNotAFile) {
  std::string problem;
  state.Write("file", "text");
  EXPECT_EQ(RevisionStore::Open(state.PathOf("file"), config.Path(), {}, problem), nullptr);
  EXPECT_THAT(problem, EndsWith(": cannot be made: Not a directory"));
  Open();
  Close();
  std::filesystem::remove_all(path);
  std::ofstream(path) << "text";
  EXPECT_EQ(OpenInVain(), path + ": cannot keep revisions, expected a folder, found a file");
}

TEST_F(StorePlace, IsNotALink) {
  Open();
  Close();
  std::filesystem::rename(path, path + "x");
  std::filesystem::create_symlink(path + "x", path);
  EXPECT_EQ(OpenInVain(),
            path + ": cannot keep revisions, expected a folder, found a symbolic link");
}

TEST_F(StorePlace, IsNotOpenToOthers) {
  Open();
  Close();
  for (const mode_t mode : {0701, 0702, 0704, 0710, 0720, 0740}) {
    chmod(path.c_str(), mode);
    EXPECT_THAT(OpenInVain(), MatchesRegex(".*: cannot keep revisions, expected a folder with the "
                                           "mode 0700, found 07[0-7][0-7]"));
  }
  chmod(path.c_str(), 0700);
  Open();
}

TEST_F(StorePlace, IsNotAnotherUsers) {
  if (geteuid() != 0) {
    return;  // only root can give a folder away
  }
  Open();
  Close();
  ASSERT_EQ(chown(path.c_str(), 1, 1), 0);
  EXPECT_EQ(OpenInVain(),
            path + ": cannot keep revisions, expected a folder of user 0, found one of user 1");
}

TEST_F(StorePlace, IsNotAnotherFolders) {
  Open();
  ASSERT_EQ(Keep({}), "");
  Close();
  Write("FOLDER", "/elsewhere\n");
  EXPECT_EQ(OpenInVain(), path + "/FOLDER: another folder's revisions are there, expected \"" +
                              std::filesystem::canonical(config.Path()).string() +
                              "\", found \"/elsewhere\\x0a\"");
  std::filesystem::remove(path + "/FOLDER");
  Open();
  EXPECT_EQ(store->GetLast(), 1u);
  EXPECT_EQ(Read("FOLDER"), std::filesystem::canonical(config.Path()).string() + "\n");
}

TEST_F(StorePlace, BelongsToOneAtATime) {
  Open();
  ASSERT_EQ(Keep({}), "");
  const std::string taken = path + ": another daemon keeps its revisions there";
  EXPECT_EQ(OpenInVain(), taken);
  const pid_t other = fork();
  ASSERT_GE(other, 0);
  if (other == 0) {
    std::string problem;
    const auto opened = RevisionStore::Open(state.Path(), config.Path(), {}, problem);
    _exit(opened == nullptr && problem == taken ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(other, &status, 0), other);
  EXPECT_EQ(status, 0);
  Close();
  EXPECT_EQ(Read("LOCK"), "");
  Open();
  EXPECT_EQ(store->GetLast(), 1u);
}

// A process that is killed leaves no lock.
TEST_F(StorePlace, IsFreeWhenItsOwnerHasBeenKilled) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const pid_t other = fork();
  ASSERT_GE(other, 0);
  if (other == 0) {
    std::string problem;
    const auto opened = RevisionStore::Open(state.Path(), config.Path(), {}, problem);
    const char sign = opened == nullptr ? 'n' : 'y';
    _exit(write(ends[1], &sign, 1) == 1 && pause() == 0 ? 1 : 1);
  }
  char sign = 0;
  ASSERT_EQ(read(ends[0], &sign, 1), 1);
  EXPECT_EQ(sign, 'y');
  EXPECT_THAT(OpenInVain(), EndsWith(": another daemon keeps its revisions there"));
  kill(other, SIGKILL);
  waitpid(other, nullptr, 0);
  close(ends[0]);
  close(ends[1]);
  Open();
}

}  // namespace

}  // namespace revisions_test
