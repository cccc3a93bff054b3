// The daemon is killed at each system call that changes its revisions, or its disk fails there: a
// start afterwards is in one revision, old or new, whole, and says which.
//
// Some calls are tried, chosen by a seed; with VANTACORE_RANDOM_SCALE from 1,000 on they are all tried.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "tests/models/random_run.h"
#include "watched_daemon.h"

namespace crashes {

namespace {

using test_models::Random;
using test_support::CallPlan;
using test_support::Fate;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

constexpr std::size_t KILLS = 5;  // of each change in a short run
constexpr std::size_t FAILURES = 4;

class Crashes : public WatchedDaemon, public testing::WithParamInterface<Change> {
 protected:
  void SetUp() override {
    Prepare(GetParam());
    std::size_t before = 0;
    calls = CountCalls(GetParam(), before);
    for (std::size_t i = before; i < calls.size(); ++i) {
      own.push_back(static_cast<unsigned int>(i) + 1);
    }
    const auto decides = [](const std::string& call) {
      return call.compare(0, 7, "rename ") == 0 && call.find("/STATE.json") != std::string::npos;
    };
    const auto last = std::find_if(calls.rbegin(), calls.rend(), decides);
    decisive = static_cast<unsigned int>(calls.rend() - last);
    std::printf("%s: %zu calls, the decisive one is number %u of %zu\n", GetParam().name.c_str(),
                own.size(), decisive, calls.size());
    ASSERT_GE(own.size(), 5u);
    ASSERT_GT(decisive, before);
  }

  // All, or `count` of them. The first two stay.
  std::vector<CallPlan> Choose(std::vector<CallPlan> plans, std::size_t count) {
    const char* const scale = std::getenv("VANTACORE_RANDOM_SCALE");
    const bool isAll = scale != nullptr && std::atoi(scale) >= 1000;
    while (!isAll && plans.size() > count) {
      plans.erase(plans.begin() + 2 + random.Below(static_cast<unsigned int>(plans.size() - 2)));
    }
    return plans;
  }
  // Each of the change's calls with each of these fates, those of the decisive one first.
  std::vector<CallPlan> PlansWith(const std::vector<Fate>& fates,
                                  const std::vector<int>& problems) const {
    std::vector<CallPlan> plans;
    for (const unsigned int call : own) {
      for (const Fate fate : fates) {
        for (const int problem : problems) {
          plans.push_back({Watched(), call, fate, problem});
        }
      }
    }
    std::stable_partition(plans.begin(), plans.end(),
                          [this](const CallPlan& plan) { return plan.at == decisive; });
    return plans;
  }
  std::string Describe(const CallPlan& plan) const {
    return GetParam().name + ": " + calls[plan.at - 1] + ", call " + std::to_string(plan.at) +
           ", fate " + std::to_string(static_cast<int>(plan.fate)) + " " +
           std::strerror(plan.problem);
  }
  void ExpectOldOrNewAfterFailure(const CallPlan& plan);

  Random random;
  Calls calls;
  std::vector<unsigned int> own;  // numbers of the change's calls
  unsigned int decisive = 0;      // the call after which the new revision is in force
};

TEST_P(Crashes, KillsLeaveOneRevision) {
  const Change& change = GetParam();
  const auto plans =
      PlansWith({Fate::KILLED_AFTER, Fate::KILLED_BEFORE, Fate::KILLED_HALFWAY}, {0});
  for (const CallPlan& plan : Choose(plans, KILLS)) {
    SCOPED_TRACE(Describe(plan));
    Kill(change, plan);
    const bool isNew =
        plan.at > decisive || (plan.at == decisive && plan.fate == Fate::KILLED_AFTER);
    ExpectStart({isNew ? change.fresh : change.old});
  }
}

// What is said decides what has to be there. Only a disk that fails for good, and from the decisive
// call on, may leave either.
void Crashes::ExpectOldOrNewAfterFailure(const CallPlan& plan) {
  const Change& change = GetParam();
  const Failed failed = Fail(change, plan);
  const bool isTold = failed.log.find(std::strerror(plan.problem)) != std::string::npos;
  const bool isLasting = plan.fate == Fate::ALL_FAIL;
  if (isTold) {
    EXPECT_THAT(failed.log,
                AnyOf(HasSubstr("warning: not kept as a revision: "),
                      HasSubstr("warning: no revisions are kept: "),
                      HasSubstr("Refused to pipe: the way back cannot be written: "),
                      HasSubstr("Refused to pipe: the confirmation cannot be written: ")));
  }
  EXPECT_EQ(failed.routes, isTold && change.isRefused ? change.refused : change.applied)
      << failed.log;
  const bool isLink = calls[plan.at - 1].compare(0, 5, "link ") == 0;
  EXPECT_EQ(isTold, plan.at <= decisive + 1 && (isLasting || !isLink)) << failed.log;
  if (isTold && isLasting && plan.at >= decisive) {
    ExpectStart({change.old, change.fresh});
  } else {
    ExpectStart({isTold ? change.old : change.fresh});
  }
}

TEST_P(Crashes, FailingDisksLeaveOneRevision) {
  const auto plans = PlansWith({Fate::FAILS, Fate::ALL_FAIL}, {ENOSPC, EROFS});
  for (const CallPlan& plan : Choose(plans, FAILURES)) {
    SCOPED_TRACE(Describe(plan));
    ExpectOldOrNewAfterFailure(plan);
  }
}

INSTANTIATE_TEST_SUITE_P(Changes, Crashes, testing::ValuesIn(AllChanges()),
                         [](const auto& change) { return change.param.name; });

}  // namespace

}  // namespace crashes
