// Each system call that writes fails in turn, or its process is killed before, during or after it:
// what is found afterwards is old or new, and whole.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <set>

#include "snapshot.h"
#include "store_fixture.h"
#include "tests/support/watched_calls.h"

namespace revisions_test {

namespace {

using test_support::CallPlan;
using test_support::Fate;
using test_support::StopWatching;
using test_support::WatchCalls;
using testing::HasSubstr;

using Calls = std::vector<std::string>;

constexpr RevisionStore::Limits LIMITS{2, 1000};
constexpr int PROBLEMS[] = {ENOSPC, EROFS, EACCES, EDQUOT, EIO};
constexpr int LASTING_PROBLEMS[] = {ENOSPC, EROFS};

/// What a store may say.
struct Content {
  std::string head;
  std::map<unsigned int, std::string> revisions;
};

Content ContentOf(const RevisionStore& store) {
  Content content;
  content.head = Describe(store.GetState()) + ", last " + std::to_string(store.GetLast());
  for (const revisions::Revision& revision : store.GetRevisions()) {
    content.revisions[revision.number] = Describe(store, revision);
  }
  return content;
}

// Revisions that could not be removed may be there still.
bool Is(const Content& found, const Content& wanted, const Content& old) {
  std::map<unsigned int, std::string> all = old.revisions;
  all.insert(wanted.revisions.begin(), wanted.revisions.end());
  const auto isIn = [](const Content& content, const auto& one) {
    const auto there = content.revisions.find(one.first);
    return there != content.revisions.end() && there->second == one.second;
  };
  return found.head == wanted.head &&
         std::all_of(wanted.revisions.begin(), wanted.revisions.end(),
                     [&](const auto& one) { return isIn(found, one); }) &&
         std::all_of(found.revisions.begin(), found.revisions.end(), [&](const auto& one) {
           return isIn({"", all}, one);
         });
}

/// What is done to a store; returns what went wrong.
using Operation = std::function<std::string(RevisionStore& store)>;

class FailingCalls : public Store {
 protected:
  FailingCalls() : watched(std::filesystem::canonical(state.Path())) {}

  // A store with two revisions, which is as many as may be.
  void Prepare() {
    Open(LIMITS);
    ASSERT_EQ(Keep(DocumentsOf({{"vlans.json", "one"}, {"remote/a.json", "a"}})), "");
    ASSERT_EQ(Keep(DocumentsOf({{"vlans.json", "two"}, {"remote/a.json", "a"}})), "");
    Save();
  }
  void Save() {
    Close();
    std::filesystem::remove_all(saved.PathOf("state"));
    std::filesystem::copy(state.Path(), saved.PathOf("state"),
                          std::filesystem::copy_options::recursive);
  }
  // What was there is put aside: a file that was written just now takes its time to be removed.
  void Restore() {
    Close();
    for (const auto& entry : std::filesystem::directory_iterator(state.Path())) {
      std::filesystem::rename(entry.path(), saved.PathOf("aside" + std::to_string(++restored)));
    }
    std::filesystem::copy(saved.PathOf("state"), state.Path(),
                          std::filesystem::copy_options::recursive);
  }

  std::vector<std::string> CallsOf(const Operation& operation) {
    Restore();
    Open(LIMITS);
    before = ContentOf(*store);
    WatchCalls({watched, 0, Fate::DONE, 0});
    EXPECT_EQ(operation(*store), "");
    std::vector<std::string> calls = StopWatching();
    after = ContentOf(*store);
    EXPECT_NE(before.head, after.head);
    Open(LIMITS);
    EXPECT_EQ(ContentOf(*store).head, after.head);
    EXPECT_EQ(ContentOf(*store).revisions, after.revisions);
    for (std::string& call : calls) {
      const std::string folder = std::filesystem::path(path).filename();
      const std::size_t found = call.find(folder);
      call = found == std::string::npos ? call
             : call.size() == found + folder.size()
                 ? call.substr(0, found) + "."
                 : call.substr(0, found) + call.substr(found + folder.size() + 1);
    }
    return calls;
  }

  // Opens the store when all is over: it is old or new, and nothing is left over.
  void ExpectWhole(bool mayBeOld, bool mayBeNew) {
    Open(LIMITS);
    const Content found = ContentOf(*store);
    EXPECT_TRUE((mayBeOld && Is(found, before, before)) || (mayBeNew && Is(found, after, before)))
        << Describe(*store);
    std::set<std::string> names = {"FOLDER", "LOCK", "STATE.json"};
    for (const auto& [number, text] : found.revisions) {
      names.insert(std::to_string(number));
    }
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      EXPECT_EQ(names.count(entry.path().filename()), 1u) << entry.path();
    }
  }

  void ExpectKilled(const std::function<void()>& run) {
    Close();
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      run();
      _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
  }
  /// At its i-th call that writes.
  void ExpectWholeAfterAnOpenThatIsKilled(unsigned int i, Fate fate) {
    Restore();
    ExpectKilled([&] {
      WatchCalls({watched, i, fate, 0});
      std::string problem;
      RevisionStore::Open(state.Path(), config.Path(), LIMITS, problem);
    });
    ExpectWhole(true, true);
  }

  void KillAt(unsigned int call, const Operation& operation) {
    for (const Fate fate : {Fate::KILLED_BEFORE, Fate::KILLED_HALFWAY, Fate::KILLED_AFTER}) {
      SCOPED_TRACE("fate " + std::to_string(static_cast<int>(fate)));
      Restore();
      ExpectKilled([&] {
        std::string problem;
        store = RevisionStore::Open(state.Path(), config.Path(), LIMITS, problem);
        WatchCalls({watched, call, fate, 0});
        operation(*store);
      });
      ExpectWhole(true, true);
    }
  }

  void FailAt(unsigned int call, Fate fate, int problem, const Operation& operation) {
    SCOPED_TRACE("fate " + std::to_string(static_cast<int>(fate)) + " " + std::strerror(problem));
    Restore();
    Open(LIMITS);
    const std::string listing = Listing();
    WatchCalls({watched, call, fate, problem});
    const std::string told = operation(*store);
    StopWatching();
    if (!told.empty() && fate == Fate::FAILS) {
      EXPECT_EQ(Listing(), listing) << "what was begun is removed";
    }
    EXPECT_TRUE(Is(ContentOf(*store), told.empty() ? after : before, before)) << told;
    if (!told.empty()) {
      EXPECT_THAT(told, HasSubstr(path));
      EXPECT_THAT(told, HasSubstr(std::strerror(problem)));
    }
    // A disk that fails for good may fail before the old state is back.
    ExpectWhole(!told.empty(), told.empty() || fate == Fate::ALL_FAIL);
  }

  // The same object goes on when the disk does.
  void FailAndGoOn(unsigned int call, Fate fate, const Operation& operation) {
    SCOPED_TRACE("goes on after fate " + std::to_string(static_cast<int>(fate)));
    Restore();
    Open(LIMITS);
    WatchCalls({watched, call, fate, EIO});
    const std::string told = operation(*store);
    StopWatching();
    if (!told.empty()) {
      EXPECT_EQ(operation(*store), "");
    }
    EXPECT_TRUE(Is(ContentOf(*store), after, before));
    ExpectWhole(false, true);
  }

  void Sweep(const Operation& operation) {
    const std::vector<std::string> calls = CallsOf(operation);
    ASSERT_GT(calls.size(), 3u);
    for (unsigned int i = 1; i <= calls.size() && !HasFailure(); ++i) {
      SCOPED_TRACE("call " + std::to_string(i) + ": " + calls[i - 1]);
      KillAt(i, operation);
      for (const int problem : PROBLEMS) {
        FailAt(i, Fate::FAILS, problem, operation);
      }
      for (const int problem : LASTING_PROBLEMS) {
        FailAt(i, Fate::ALL_FAIL, problem, operation);
      }
      FailAndGoOn(i, Fate::FAILS, operation);
      FailAndGoOn(i, Fate::ALL_FAIL, operation);
    }
  }

  static std::string KeepThird(RevisionStore& store) {
    revisions::State wanted = InForce(3);
    wanted.unconfirmed = {3, 2, 100, "alice"};
    return store.Keep(
        RevisionOf(3),
        DocumentsOf({{"device.json", "one"}, {"vlans.json", "three"}, {"remote/a.json", "a"}}),
        wanted);
  }

  const std::string watched;
  test_support::ScratchFolder saved;
  unsigned int restored = 0;
  Content before;
  Content after;
};

// What is to survive a loss of power is on the disk before anything says that it is there.
TEST_F(FailingCalls, OfAReloadAreInThisOrder) {
  Prepare();
  Calls calls = CallsOf(KeepThird);
  ASSERT_GE(calls.size(), 5u);
  std::sort(calls.end() - 5, calls.end());  // a folder is emptied in no order
  EXPECT_EQ(calls, Calls({"mkdir new",
                          "mkdir new/remote",
                          "link new/device.json",
                          "link new/remote/a.json",
                          "open new/vlans.json",
                          "write new/vlans.json",
                          "fsync new/vlans.json",
                          "open new/revision.json",
                          "write new/revision.json",
                          "fsync new/revision.json",
                          "fsync new/remote",
                          "fsync new",
                          "rename 3",
                          "fsync .",
                          "open STATE.json.new",
                          "write STATE.json.new",
                          "fsync STATE.json.new",
                          "rename STATE.json",
                          "fsync .",
                          "rename gone-1",
                          "fsync .",
                          "remove gone-1",
                          "unlinkat gone-1/remote",
                          "unlinkat gone-1/remote/a.json",
                          "unlinkat gone-1/revision.json",
                          "unlinkat gone-1/vlans.json"}));
}

TEST_F(FailingCalls, OfAConfirmationAreInThisOrder) {
  Prepare();
  EXPECT_EQ(CallsOf([](RevisionStore& opened) { return opened.Set(InForce(1)); }),
            Calls({"open STATE.json.new", "write STATE.json.new", "fsync STATE.json.new",
                   "rename STATE.json", "fsync ."}));
}

TEST_F(FailingCalls, OfTheFirstOpenBringItsFoldersToTheDisk) {
  WatchCalls({watched, 0, Fate::DONE, 0});
  std::string problem;
  store = RevisionStore::Open(state.PathOf("a/b"), config.Path(), LIMITS, problem);
  const std::vector<std::string> calls = StopWatching();
  ASSERT_NE(store, nullptr) << problem;
  const std::string folder = "a/b/" + std::filesystem::path(store->GetPath()).filename().string();
  EXPECT_EQ(calls,
            Calls({"mkdir " + folder, "mkdir a/b", "mkdir a", "fsync .", "mkdir a/b", "fsync a",
                   "mkdir " + folder, "fsync a/b", "open " + folder + "/LOCK",
                   "open " + folder + "/FOLDER.new", "write " + folder + "/FOLDER.new",
                   "fsync " + folder + "/FOLDER.new", "rename " + folder + "/FOLDER",
                   "fsync " + folder, "open " + folder + "/STATE.json.new",
                   "write " + folder + "/STATE.json.new", "fsync " + folder + "/STATE.json.new",
                   "rename " + folder + "/STATE.json", "fsync " + folder}));
}

TEST_F(FailingCalls, OfAReload) {
  Prepare();
  Sweep(KeepThird);
}

TEST_F(FailingCalls, OfTheFirstRevision) {
  Open(LIMITS);
  Save();
  Sweep([](RevisionStore& opened) {
    return opened.Keep(RevisionOf(1), DocumentsOf({{"vlans.json", "one"}}), InForce(1));
  });
}

TEST_F(FailingCalls, OfAConfirmation) {
  Prepare();
  Sweep([](RevisionStore& opened) { return opened.Set(InForce(1)); });
}

// Content that is there already, nothing new to write but what it is.
TEST_F(FailingCalls, OfAWayBack) {
  Prepare();
  Sweep([](RevisionStore& opened) {
    revisions::State wanted = InForce(3);
    wanted.undone = documents::Digest{1, 2};
    return opened.Keep(RevisionOf(3),
                       WithoutTexts(DocumentsOf({{"vlans.json", "one"}, {"remote/a.json", "a"}})),
                       wanted);
  });
}

// A kill has left the most that can be left over; the next start is killed, too.
TEST_F(FailingCalls, OfAStart) {
  Prepare();
  const std::vector<std::string> writes = CallsOf(KeepThird);
  const auto named = std::find(writes.begin(), writes.end(), "rename STATE.json");
  const auto gone = std::find(writes.begin(), writes.end(), "unlinkat gone-1/remote");
  const std::vector<unsigned int> kills = {3, 8,
                                           static_cast<unsigned int>(named - writes.begin() + 1),
                                           static_cast<unsigned int>(gone - writes.begin() + 1)};
  const test_support::ScratchFolder first;
  std::filesystem::copy(saved.PathOf("state"), first.PathOf("state"),
                        std::filesystem::copy_options::recursive);
  for (const unsigned int kill : kills) {
    SCOPED_TRACE("left by a kill before " + writes[kill - 1]);
    Restore();
    ExpectKilled([&] {
      std::string problem;
      store = RevisionStore::Open(state.Path(), config.Path(), LIMITS, problem);
      WatchCalls({watched, kill, Fate::KILLED_BEFORE, 0});
      KeepThird(*store);
    });
    Save();
    WatchCalls({watched, 0, Fate::DONE, 0});
    Open(LIMITS);
    const std::vector<std::string> calls = StopWatching();
    EXPECT_GE(calls.size(), 2u);
    for (unsigned int i = 1; i <= calls.size(); ++i) {
      SCOPED_TRACE("call " + std::to_string(i) + ": " + calls[i - 1]);
      for (const Fate fate : {Fate::KILLED_BEFORE, Fate::KILLED_AFTER}) {
        ExpectWholeAfterAnOpenThatIsKilled(i, fate);
      }
      for (const int problem : PROBLEMS) {
        for (const Fate fate : {Fate::FAILS, Fate::ALL_FAIL}) {
          Restore();
          WatchCalls({watched, i, fate, problem});
          Open(LIMITS);
          StopWatching();
          EXPECT_TRUE(Is(ContentOf(*store), before, before) ||
                      Is(ContentOf(*store), after, before));
          ExpectWhole(true, true);
        }
      }
    }
    std::filesystem::remove_all(saved.PathOf("state"));
    std::filesystem::copy(first.PathOf("state"), saved.PathOf("state"),
                          std::filesystem::copy_options::recursive);
  }
}

// The first start of all.
TEST_F(FailingCalls, OfAFirstStart) {
  WatchCalls({watched, 0, Fate::DONE, 0});
  Open(LIMITS);
  const std::vector<std::string> calls = StopWatching();
  before = after = ContentOf(*store);
  Close();
  std::filesystem::remove_all(path);
  Save();
  for (unsigned int i = 1; i <= calls.size(); ++i) {
    SCOPED_TRACE("call " + std::to_string(i) + ": " + calls[i - 1]);
    for (const Fate fate : {Fate::KILLED_BEFORE, Fate::KILLED_HALFWAY, Fate::KILLED_AFTER}) {
      ExpectWholeAfterAnOpenThatIsKilled(i, fate);
    }
    for (const int problem : PROBLEMS) {
      Restore();
      WatchCalls({watched, i, Fate::FAILS, problem});
      EXPECT_THAT(OpenInVain(), HasSubstr(std::strerror(problem)));
      StopWatching();
      ExpectWhole(true, true);
    }
  }
}

// Revisions can be read where nothing can be written.
TEST_F(FailingCalls, OfAReadOnlyDisk) {
  Prepare();
  ExpectKilled([&] {
    std::string problem;
    store = RevisionStore::Open(state.Path(), config.Path(), LIMITS, problem);
    WatchCalls({watched, 5, Fate::KILLED_BEFORE, 0});
    KeepThird(*store);
  });
  WatchCalls({watched, 1, Fate::ALL_FAIL, EROFS});
  Open(LIMITS);
  EXPECT_EQ(store->GetRevisions().size(), 2u);
  EXPECT_THAT(KeepThird(*store), HasSubstr("Read-only file system"));
  EXPECT_THAT(store->Set(InForce(1)), HasSubstr("Read-only file system"));
  EXPECT_EQ(store->GetState().inForce, 2u);
  StopWatching();
  EXPECT_EQ(KeepThird(*store), "");
}

TEST_F(FailingCalls, OfAWriteThatGoesOn) {
  Prepare();
  const Calls calls = CallsOf(KeepThird);
  const auto write = std::find(calls.begin(), calls.end(), "write new/vlans.json");
  const auto number = static_cast<unsigned int>(write - calls.begin() + 1);
  for (const CallPlan& plan : {CallPlan{watched, number, Fate::CUT_SHORT, 0},
                               CallPlan{watched, number, Fate::FAILS, EINTR}}) {
    Restore();
    Open(LIMITS);
    WatchCalls(plan);
    EXPECT_EQ(KeepThird(*store), "");
    EXPECT_EQ(StopWatching().size(), calls.size() + 1) << "once more";
    EXPECT_EQ(Read("3/vlans.json"), "three");
  }
}

// Where there are no hard links every document is a copy.
TEST_F(FailingCalls, OfADiskWithoutLinks) {
  Prepare();
  const std::vector<std::string> calls = CallsOf(KeepThird);
  const Content linked = after;
  Restore();
  Open(LIMITS);
  const auto link = std::find(calls.begin(), calls.end(), "link new/device.json");
  WatchCalls({watched, static_cast<unsigned int>(link - calls.begin() + 1), Fate::FAILS, EPERM});
  EXPECT_EQ(KeepThird(*store), "");
  StopWatching();
  EXPECT_EQ(ContentOf(*store).revisions, linked.revisions);
  struct stat found {};
  ASSERT_EQ(stat((path + "/3/device.json").c_str(), &found), 0);
  EXPECT_EQ(found.st_nlink, 1u);
}

}  // namespace

}  // namespace revisions_test
