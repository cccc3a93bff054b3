// What a listener hears of the forwarding table.

#include <set>
#include <utility>

#include "forwarding_mirror.h"
#include "stack_test.h"

namespace stack_test {
namespace {

using routing_stack::Candidate;
using routing_stack::ForwardingChange;
using routing_stack::RowType;

/// Writes down what it hears: "came 10 10.1.2.0/24 ...".
class ForwardingLog : public routing_stack::Listener {
 public:
  bool WantsForwarding() const override { return wants; }
  void ForwardingChanged(ForwardingChange change, const amb_cipr_rtm_route& route,
                         const std::vector<routing_stack::NextHopBeside>&, RowType cause) override {
    causes.insert(cause);
    const char* const words[] = {"came ", "replaced ", "gone "};
    const std::string text = RowText(route);
    const bool hasGone = change == ForwardingChange::kGone;
    lines.push_back(words[static_cast<int>(change)] +
                    (hasGone ? text.substr(0, text.find(" proto")) : text));
  }
  void Restarted() override { lines.push_back("restarted"); }
  Lines Take() {
    Lines taken;
    taken.swap(lines);
    return taken;
  }

  std::set<RowType> TakeCauses() { return std::exchange(causes, {}); }

  bool wants = true;
  std::set<RowType> causes;
  Lines lines;
};

class ForwardingTest : public StackTest {
 protected:
  void SetUp() override {
    Start();
    AddInstance(10);
    AddInterface(10, 3);
    AddAddress(10, 3, "10.1.2.3/24");
    RunAll();
    stack.SetListener(&log);
  }
  Lines Heard() {
    RunAll();
    return log.Take();
  }

  ForwardingLog log;
};

TEST_F(ForwardingTest, RoutesComeAreReplacedAndGo) {
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 0, 5);
  EXPECT_THAT(Heard(), ElementsAre("came 10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 5"));
  AddRoute(10, "10.9.0.0/16", "10.1.2.2", 0, 6);
  EXPECT_THAT(Heard(), IsEmpty()) << "it is not the best";
  AddRoute(10, "10.9.0.0/16", "10.1.2.2", 0, 4);
  EXPECT_THAT(Heard(), ElementsAre("replaced 10 10.9.0.0/16 proto 3 via 10.1.2.2 if 3 metric 4"));
  AddRoute(10, "10.9.0.0/16", "10.1.2.2", 0, 3);
  EXPECT_THAT(Heard(), ElementsAre("replaced 10 10.9.0.0/16 proto 3 via 10.1.2.2 if 3 metric 3"));
  AddRoute(10, "10.9.0.0/16", "10.1.2.2", 0, 3);
  EXPECT_THAT(Heard(), IsEmpty());
  Route(6, 2, 10, "10.9.0.0/16", "10.1.2.2", 0, 0);
  EXPECT_THAT(Heard(), ElementsAre("replaced 10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 5"));
  SetInterface(10, 3, false);
  EXPECT_THAT(Heard(), testing::UnorderedElementsAre("gone 10 10.9.0.0/16", "gone 10 10.1.2.0/24"));
}

TEST_F(ForwardingTest, ARouteThatStaysInstalledIsNotTold) {
  AddInterface(10, 4);
  AddAddress(10, 4, "10.2.2.3/24");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 0, 5);
  AddRoute(10, "10.9.0.0/16", "10.2.2.1", 0, 6);
  Heard();
  SetInterface(10, 4, false);
  EXPECT_THAT(Heard(), ElementsAre("gone 10 10.2.2.0/24"));
  SetInterface(10, 4, true);
  EXPECT_THAT(Heard(), ElementsAre(testing::StartsWith("came 10 10.2.2.0/24 ")));
}

// Its candidate stays the best and is not chosen for again.
TEST_F(ForwardingTest, ANextHopThatIsReachedOverAnotherInterfaceIsTold) {
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  AddInterface(10, 4);
  RunAll();
  log.Take();
  AddAddress(10, 4, "10.1.2.4/25");
  EXPECT_THAT(Heard(), ElementsAre("came 10 10.1.2.0/25 proto 2 via 0.0.0.0 if 4 metric 0",
                                   "replaced 10 10.9.0.0/16 proto 3 via 10.1.2.1 if 4 metric 1"));
}

TEST_F(ForwardingTest, EachChangeNamesTheRequestThatBroughtIt) {
  const auto causes = [this] {
    control.SetSliceEvents(1);  // consequences are worked off in runs of their own
    RunAll();
    return log.TakeCauses();
  };
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  EXPECT_THAT(causes(), ElementsAre(RowType::kRoute));
  SetInterface(10, 3, false);
  EXPECT_THAT(causes(), ElementsAre(RowType::kInterface));
  SetInterface(10, 3, true);
  EXPECT_THAT(causes(), ElementsAre(RowType::kInterface));
  RemoveAddress(10, 3, "10.1.2.3/24");
  EXPECT_THAT(causes(), ElementsAre(RowType::kAddress));
  AddAddress(10, 3, "10.1.2.3/24");
  EXPECT_THAT(causes(), ElementsAre(RowType::kAddress));
  Route(6, 2, 10, "10.9.0.0/16", "10.1.2.1", 0, 0);
  EXPECT_THAT(causes(), ElementsAre(RowType::kRoute));
  const Candidate bgp = MakeCandidate(10, "10.9.0.0/16", "10.1.2.1", 14, 1);
  control.PutCandidate(bgp);
  control.PutCandidate(MakeCandidate(10, "10.9.0.0/16", "10.1.2.1", 13, 1));
  EXPECT_THAT(causes(), ElementsAre(RowType::kProtocol));
  host.configurations[10].word[7] = 250;  // OSPF was better, and BGP is now
  SendEntity(10, 1);
  EXPECT_THAT(causes(), ElementsAre(RowType::kRtm));
  control.RemoveCandidate(bgp);
  EXPECT_THAT(causes(), ElementsAre(RowType::kProtocol));
  DropInstance(10);
  EXPECT_THAT(causes(), ElementsAre(RowType::kRtm));
  AddInstance(10);
  EXPECT_THAT(causes(), ElementsAre(RowType::kRtm)) << "its addresses take effect";
}

// It is put in at once, whatever is being worked off.
TEST_F(ForwardingTest, AProtocolsCandidateDoesNotLendItsNameToTheWorkThatGoesOn) {
  for (int i = 0; i < 20; ++i) {
    AddRoute(10, "10.9." + std::to_string(i) + ".0/24", "10.1.2.1");
  }
  RunAll();
  log.TakeCauses();
  control.SetSliceEvents(1);
  SetInterface(10, 3, false);
  for (int i = 0; i < 12; ++i) {
    RunOnce();
  }
  EXPECT_THAT(log.TakeCauses(), ElementsAre(RowType::kInterface));
  ASSERT_FALSE(stack.IsIdle());
  AddInterface(10, 5);
  control.PutCandidate(MakeCandidate(10, "10.8.0.0/16", "0.0.0.0", 14, 1, 5));
  control.RemoveCandidate(MakeCandidate(10, "10.8.0.0/16", "0.0.0.0", 14, 1, 5));
  RunOnce();
  EXPECT_THAT(log.TakeCauses(), ElementsAre(RowType::kInterface));
}

TEST_F(ForwardingTest, WithAnInstanceAllItsRoutesGo) {
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  AddRoute(10, "10.8.0.0/16", "172.16.0.1");
  RunAll();
  log.Take();
  DropInstance(10);
  AddInstance(10);
  EXPECT_THAT(Heard(), ElementsAre("gone 10 10.1.2.0/24", "gone 10 10.9.0.0/16",
                                   "came 10 10.1.2.0/24 proto 2 via 0.0.0.0 if 3 metric 0"));
}

TEST_F(ForwardingTest, ARestartIsToldOnceAndNotRouteByRoute) {
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  RunAll();
  log.Take();
  control.Restart();
  EXPECT_THAT(log.Take(), ElementsAre("restarted"));
  EXPECT_THAT(Heard(), IsEmpty());
}

TEST_F(ForwardingTest, WhatLeavesWhenAListenerComesHasGoneForIt) {
  for (int i = 0; i < 100; ++i) {
    AddRoute(10, "10.9." + std::to_string(i) + ".0/24", "10.1.2.1");
  }
  RunAll();
  stack.SetListener(nullptr);
  log.Take();
  control.SetSliceEvents(3);
  DropInstance(10);
  RunOnce();
  ASSERT_FALSE(stack.IsIdle());
  EXPECT_THAT(Routes(), IsEmpty());
  stack.SetListener(&log);
  EXPECT_THAT(Heard(), IsEmpty());
}

TEST_F(ForwardingTest, WhoDoesNotWantItHearsNothing) {
  log.wants = false;
  stack.SetListener(&log);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  EXPECT_THAT(Heard(), IsEmpty());
  stack.SetListener(nullptr);
  AddRoute(10, "10.8.0.0/16", "10.1.2.1");
  EXPECT_THAT(Heard(), IsEmpty());
}

}  // namespace
}  // namespace stack_test
