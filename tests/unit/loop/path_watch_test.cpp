#include "device/loop/path_watch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <uv.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "device/loop/loop.h"
#include "tests/support/scratch_folder.h"

namespace {

using testing::Contains;
using testing::IsEmpty;

class PathWatch : public testing::Test {
 protected:
  // The system has noted what has happened before.
  void Turn() {
    for (int i = 0; i < 5; ++i) {
      uv_run(loop.Get(), UV_RUN_NOWAIT);
    }
  }
  std::string Start() {
    return watch->Start(folder.Path(), [this](const std::string& name) { names.push_back(name); });
  }

  loop::Loop loop;
  test_support::ScratchFolder folder;
  std::unique_ptr<loop::PathWatch> watch = std::make_unique<loop::PathWatch>(loop.Get());
  std::vector<std::string> names;
};

TEST_F(PathWatch, NamesWhatHasChanged) {
  EXPECT_EQ(Start(), "");
  folder.Write("a", "1");
  Turn();
  EXPECT_THAT(names, Contains("a"));
  names.clear();
  std::filesystem::rename(folder.PathOf("a"), folder.PathOf("b"));
  Turn();
  EXPECT_THAT(names, testing::UnorderedElementsAre("a", "b"));
  names.clear();
  watch->Stop();
  folder.Write("c", "1");
  Turn();
  EXPECT_THAT(names, IsEmpty());
  EXPECT_EQ(Start(), "");
  std::filesystem::remove(folder.PathOf("c"));
  Turn();
  EXPECT_THAT(names, Contains("c"));
}

TEST_F(PathWatch, SaysWhyItCannotWatch) {
  EXPECT_EQ(watch->Start(folder.PathOf("none"), [](const std::string&) {}), uv_strerror(UV_ENOENT));
  EXPECT_EQ(Start(), "") << "it can be started again";
}

TEST_F(PathWatch, MayEndInItsOwnCallback) {
  ASSERT_EQ(watch->Start(folder.Path(),
                         [this](const std::string& name) {
                           names.push_back(name);
                           watch.reset();
                         }),
            "");
  folder.Write("a", "1");
  folder.Write("b", "1");
  Turn();
  EXPECT_THAT(names, testing::ElementsAre("a"));
}

TEST_F(PathWatch, MayBeginAnewInItsOwnCallback) {
  int restarts = 0;
  ASSERT_EQ(watch->Start(folder.Path(),
                         [&](const std::string&) {
                           ++restarts;
                           Start();
                         }),
            "");
  folder.Write("a", "1");
  Turn();
  EXPECT_EQ(restarts, 1);
  folder.Write("b", "1");
  Turn();
  EXPECT_THAT(names, Contains("b"));
}

}  // namespace
