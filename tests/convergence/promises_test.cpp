// What a device promises its operator, each as a story of its own: what was asked for comes about,
// a reload ends, and a restart of the stack is nobody's business but the device's.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "stack/sms.h"
#include "tests/convergence/folder_host.h"
#include "tests/convergence/folder_model.h"
#include "tests/convergence/folder_sequence.h"
#include "tests/support/forked_text.h"
#include "tests/support/recording_console.h"
#include "tests/support/scratch_folder.h"
#include "vantacore/dc_router_base.h"

namespace {

using convergence::FolderHost;
using convergence::FolderModel;
using convergence::FolderRoute;
using routing_stack::Answer;
using routing_stack::RowType;
using testing::HasSubstr;
using testing::Not;

constexpr unsigned int EVERY_REQUEST = 1000000;
constexpr Answer BUSY = {Answer::kStatus, 5, 0};
constexpr std::size_t RIPV2 = 1;
constexpr std::size_t BGP = 3;
constexpr std::pair<unsigned short, unsigned int> ETH11 = {10, 11};
/// What the device needs for a reload of a few rows, from the reading to the last answer.
constexpr std::uint64_t SHORT_MILLISECONDS = 1000;

std::size_t CountOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

/// Two VLANs, of which the second is there to go.
class Promises : public testing::Test {
 protected:
  Promises() {
    m_model.mark = 1;
    for (const unsigned short id : {10, 20}) {
      m_model.interfaces[{id, id + 1U}] = {true, false, 1500, 1, 0};
      m_model.vlans[id].hasProfile = true;
      m_model.vlans[id].protocols[RIPV2] = {};
      for (unsigned int network = 0; network < 3; ++network) {
        m_model.vlans[id].routes[{false, network, 0, false}] = 1;
      }
    }
  }

  void Write() {
    for (const auto& [name, text] : m_model.Files()) m_folder.Write(name, text);
  }
  void Start() {
    Write();
    m_host = std::make_unique<FolderHost>(m_folder.Path(), 1);
    ASSERT_TRUE(m_host->Start().hasPassed);
    m_host->TakeCalls();
  }
  void AskForReload() {
    ++m_model.mark;
    m_host->AwaitPool();
    Write();
    m_host->AskForReload();
  }
  void SetRoutes(unsigned short vlan, unsigned int first, unsigned int count, bool are) {
    for (unsigned int i = first; i < first + count; ++i) {
      const FolderRoute route = {false, i, 0, false};
      if (are) {
        m_model.vlans[vlan].routes[route] = 1;
      } else {
        m_model.vlans[vlan].routes.erase(route);
      }
    }
  }
  bool HasVlan(unsigned short vlan) {
    return m_host->stack.GetFacts().FindInstance(vlan).has_value();
  }
  /// Whether the VLAN has any static route, however many others there are.
  bool HasRoute(unsigned short vlan) {
    routing_stack::StaticRoute before;
    before.instance = vlan;
    const auto next = m_host->stack.GetFacts().StaticRoutesAfter(&before, 1);
    return !next.empty() && next.front().instance == vlan;
  }
  std::size_t CountRoutes(unsigned short vlan) {
    std::size_t count = 0;
    for (const amb_cipr_rtm_rib& row : m_host->stack.GetFacts().Rib()) {
      count += row.instance == vlan && row.metric1 == 1 ? 1 : 0;
    }
    return count;
  }
  std::string PendingActions() {
    const auto log = test_support::NewConsoleLog();
    test_support::RecordingConsole console(log);
    m_host->Manager().GetCfgSched().Print(&console);
    return log->output;
  }

  void ReloadBesideABusySecond();
  void VlanGoesBeside(std::uint64_t flapMilliseconds);

  FolderModel m_model;
  test_support::ScratchFolder m_folder;
  std::unique_ptr<FolderHost> m_host;
};

// --- a stack that is busy, or asks for a retry ---

// Of the three routes that VLAN 10 has, none comes or goes in that second.
void Promises::ReloadBesideABusySecond() {
  m_host->Control().Script(RowType::kRoute, BUSY, EVERY_REQUEST);
  AskForReload();
  m_host->LetTimePass(1000);
  EXPECT_EQ(CountRoutes(10), 3u);
  m_host->Control().ClearScripts();
  EXPECT_TRUE(m_host->AwaitDone()) << m_host->WhatIsNotDone();
}

TEST_F(Promises, StackThatIsBusyForASecondLosesNoNewRoute) {
  Start();
  SetRoutes(10, 10, 20, true);
  ReloadBesideABusySecond();
  EXPECT_EQ(CountRoutes(10), 23u);
}

TEST_F(Promises, StackThatIsBusyForASecondKeepsNoWithdrawnRoute) {
  Start();
  SetRoutes(10, 0, 3, false);
  ReloadBesideABusySecond();
  EXPECT_EQ(CountRoutes(10), 0u);
}

TEST_F(Promises, OneRetryDoesNotLoseAnEventOfAnInterface) {
  Start();
  m_host->Control().Script(RowType::kInterface, BUSY, 2);  // of both instances
  m_host->GetInterfaces().SetStatus(ETH11, false);
  EXPECT_TRUE(m_host->AwaitDone()) << m_host->WhatIsNotDone();
  EXPECT_THAT(m_host->Dump(), HasSubstr("interface 10/11 \"eth11\" flags 0 down"));
  EXPECT_THAT(m_host->Dump(), HasSubstr("interface 32778/11 \"eth11\" flags 0 down"));
}

TEST_F(Promises, OneRetryDoesNotLoseAnAddress) {
  Start();
  m_host->Control().Script(RowType::kAddress, BUSY, 2);  // the old one's end and the new one
  m_host->GetInterfaces().ChangeAddress(
      ETH11, {Tarsel::Ip4Addr(10, 10, 11, 7), Tarsel::Ip4Addr(255, 255, 255, 0)});
  EXPECT_TRUE(m_host->AwaitDone()) << m_host->WhatIsNotDone();
  EXPECT_THAT(m_host->Dump(), HasSubstr("address 10/11 10.10.11.7/24"));
  EXPECT_THAT(m_host->Dump(), Not(HasSubstr("address 10/11 10.10.11.1/24")));
}

// --- a reload that removes a VLAN ---

/// The device's tables, read by consoles that never tire: a walk that begins anew when it ends.
struct EndlessWalk {
  unsigned int rows = 0;
  bool hasEnded = false;

  void GoOn() {
    if (std::exchange(hasEnded, false)) Begin();
  }
  void Begin() { sms_get_next_rtm_rib(&EndlessWalk::Handle, this); }
  static unsigned char Handle(void* walk, unsigned int, unsigned int result, void*) {
    EndlessWalk& self = *static_cast<EndlessWalk*>(walk);
    self.hasEnded = result != 1;
    self.rows += result == 1 ? 1 : 0;
    return result == 1 ? 1 : 0;
  }
};

// VLAN 20 goes, whose removals are answered late, and VLAN 30 comes, while an interface flaps and
// two consoles read. What does not depend on VLAN 20 is in force before it goes, and it goes within
// a second of the last answer.
void Promises::VlanGoesBeside(std::uint64_t flapMilliseconds) {
  constexpr std::uint64_t LATE_MILLISECONDS = 2000;
  m_model.vlans.erase(20);
  m_model.vlans[30].routes[{false, 0, 0, false}] = 1;
  m_model.interfaces[{30, 31}] = {true, false, 1500, 1, 0};
  m_host->TakeCalls();
  m_host->Control().ScriptVlan(RowType::kRoute, 20, {Answer::kLate, 0, LATE_MILLISECONDS}, 3);
  AskForReload();

  EndlessWalk walks[2];
  for (EndlessWalk& walk : walks) walk.Begin();
  std::uint64_t nextFlap = 0;
  bool isUp = true;
  std::size_t removals = 0;
  std::uint64_t lastRemoval = 0;
  std::uint64_t lastWait = 0;  // for an answer to one of these
  bool wasInForce = false;
  const bool isGone = m_host->TurnUntil(
      [&] {
        const std::uint64_t now = m_host->loop.Now() / 1000;
        for (EndlessWalk& walk : walks) walk.GoOn();
        if (now >= nextFlap) {
          m_host->GetInterfaces().SetStatus(ETH11, isUp = !isUp);
          nextFlap = now + flapMilliseconds;
        }
        for (const std::string& call : m_host->TakeCalls()) {
          if (call.find("sms_update_route(1, 6, 2, 1, 172.16.") == 0 &&
              call.find(", 10.20.21.100, ") != std::string::npos) {
            ++removals;
            lastRemoval = now;
          }
        }
        if (m_host->GetReloader().GetKnowledge().GetRoutes().HasLeavingRoutes(20)) lastWait = now;
        wasInForce = wasInForce || (HasVlan(20) && HasRoute(30));
        return !HasVlan(20);
      },
      60000);
  ASSERT_TRUE(isGone);
  EXPECT_EQ(removals, 3u);
  // A stack that reckons with 50,000 routes for each flap answers later than it was told to.
  EXPECT_GE(lastWait + 100, lastRemoval + LATE_MILLISECONDS);
  EXPECT_LE(m_host->loop.Now() / 1000, lastWait + 1000);
  EXPECT_TRUE(wasInForce);
  for (const EndlessWalk& walk : walks) EXPECT_GT(walk.rows, 0u);
}

TEST_F(Promises, VlanGoesWhileAnInterfaceFlapsEvery300Milliseconds) {
  Start();
  VlanGoesBeside(300);
}

TEST_F(Promises, VlanGoesAfterSixThousandRoutesHaveCome) {
  Start();
  SetRoutes(10, 1000, 6000, true);
  VlanGoesBeside(1000000);
  EXPECT_GE(CountRoutes(10), 6000u) << "what comes is asked for before what goes";
}

TEST_F(Promises, VlanGoesWhileAnInterfaceFlapsEvery50MillisecondsAndFiftyThousandRoutesCome) {
  Start();
  SetRoutes(10, 1000, 50000, true);
  VlanGoesBeside(50);
  EXPECT_GE(CountRoutes(10), 50000u) << "what comes is asked for before what goes";
}

// --- the end state is a function of the folder ---

/// What a start with this folder ends with. A process that has had a device cannot have another.
std::string TablesOfAStart(const FolderModel& model) {
  return test_support::TextOfChild([&] {
    const test_support::ScratchFolder folder;
    convergence::WriteFiles(model.Files(), folder);
    FolderHost host(folder.Path(), 1);
    return host.Start().hasPassed && host.AwaitDone() ? host.Tables() : "not done";
  });
}

/// VLANs 10 and 20 run RIPV2, and VLAN 10 runs BGP.
class FunctionOfTheFolder : public Promises {
 protected:
  FunctionOfTheFolder() {
    m_model.vlans[10].protocols[RIPV2].rows = {{11, 2}, {12, 3}};
    m_model.vlans[10].protocols[BGP].rows = {{1, 65001}};
  }
  static convergence::FolderRemoteEntry& Remote(FolderModel& model, unsigned short vlan) {
    return model.remotes["remote/one.json"][vlan];
  }
  void AskForReloadOf(const FolderModel& model) {
    m_model = model;
    m_host->AwaitPool();
    convergence::WriteFiles(m_model.Files(), m_folder);
    m_host->AskForReload();
  }
  void Reload(const FolderModel& model) {
    AskForReloadOf(model);
    EXPECT_TRUE(m_host->AwaitDone()) << m_host->WhatIsNotDone();
  }
  /// Starts with the first folder and applies the others. After each the device is as after a start
  /// with it.
  void Play(const std::vector<FolderModel>& models) {
    std::vector<std::string> fresh;
    for (const FolderModel& model : models) fresh.push_back(TablesOfAStart(model));
    m_model = models.front();
    Start();
    for (std::size_t i = 1; i < models.size(); ++i) {
      Reload(models[i]);
      EXPECT_EQ(m_host->Tables(), fresh[i]) << "folder " << i;
    }
  }
  bool Has(const std::string& text) { return m_host->Tables().find(text) != std::string::npos; }
  bool HasRipRow(unsigned int id) {
    return Has("protocol " + std::to_string(id / 10 * 10) + " 6 \"" + std::to_string(id) + "\"");
  }
  bool RunsRip(unsigned short vlan) {
    return m_host->Manager()
        .GetDcRouterByVID(vlan, Tarsel::DcRouterMgr::PROTOCOL_RIPV2)
        ->IsEnabled();
  }
  void AskForReloadWithout(unsigned short vlan) {
    FolderModel without = m_model;
    without.vlans[vlan].protocols[RIPV2].isEnabled = false;
    AskForReloadOf(without);
  }
};

TEST_F(FunctionOfTheFolder, RowsOfAProtocolThatIsDisabledGo) {
  FolderModel disabled = m_model;
  disabled.vlans[10].protocols[RIPV2].isEnabled = false;
  Play({m_model, disabled, m_model, disabled});
  EXPECT_FALSE(HasRipRow(11));
}

TEST_F(FunctionOfTheFolder, RowsOfAMemberThatIsWithdrawnGo) {
  FolderModel without = m_model;
  without.vlans[10].protocols.erase(RIPV2);
  Play({m_model, without});
  EXPECT_FALSE(HasRipRow(11));
  EXPECT_TRUE(Has("protocol 10 1 \"1\"")) << "others do not";
}

TEST_F(FunctionOfTheFolder, RowsOfARemoteDocumentThatIsWithdrawnGo) {
  FolderModel with = m_model;
  Remote(with, 10).protocols[RIPV2].rows = {{11, 9}, {13, 4}};
  Play({with, m_model});
  EXPECT_FALSE(HasRipRow(13));
  EXPECT_TRUE(Has("protocol 10 6 \"11\" \"cost=2\"")) << "the VLAN document has that one, too";
}

TEST_F(FunctionOfTheFolder, RowsOfARemoteEntryThatIsWithdrawnGo) {
  FolderModel without = m_model;
  Remote(without, 20).protocols[RIPV2].rows = {{21, 4}};
  FolderModel with = without;
  Remote(with, 10).protocols[RIPV2].rows = {{13, 4}};
  Play({with, without});
  EXPECT_FALSE(HasRipRow(13));
  EXPECT_TRUE(HasRipRow(21));
}

TEST_F(FunctionOfTheFolder, RemovalThatIsRefusedIsSeenThrough) {
  FolderModel disabled = m_model;
  disabled.vlans[10].protocols[RIPV2].isEnabled = false;
  const std::string fresh = TablesOfAStart(disabled);
  Start();
  m_host->Control().Script(RowType::kProtocol, {Answer::kStatus, 3, 0}, 2);
  Reload(disabled);
  EXPECT_EQ(m_host->Tables(), fresh);
}

TEST_F(FunctionOfTheFolder, VlanThatOnlyARemoteDocumentNamesGoesAndComesBack) {
  Remote(m_model, 20).protocols[RIPV2].rows = {{21, 4}};
  FolderModel without = m_model;
  without.vlans.erase(20);
  Play({m_model, without, m_model});
  EXPECT_TRUE(HasRipRow(21));
}

TEST_F(FunctionOfTheFolder, RemoteEntryComesWithItsVlan) {
  Remote(m_model, 30).protocols[RIPV2].rows = {{31, 4}};
  FolderModel with = m_model;
  with.vlans[30].protocols[RIPV2] = {};
  Play({m_model, with});
  EXPECT_TRUE(HasRipRow(31));
}

TEST_F(FunctionOfTheFolder, RemoteMemberComesWithItsProtocol) {
  Remote(m_model, 20).protocols[RIPV2].rows = {{21, 4}};
  FolderModel without = m_model;
  without.vlans[20].protocols.clear();
  Play({without, m_model});
  EXPECT_TRUE(HasRipRow(21));
}

TEST_F(FunctionOfTheFolder, ProtocolThatOnlyARemoteDocumentNamesStops) {
  Remote(m_model, 10).protocols[RIPV2].rows = {{13, 4}};
  FolderModel without = m_model;
  without.vlans[10].protocols.erase(RIPV2);
  Play({m_model, without});
  EXPECT_FALSE(RunsRip(10));
  EXPECT_FALSE(HasRipRow(13));
}

// A VLAN has another number for a moment.
TEST_F(FunctionOfTheFolder, TypoAndItsMendingLeaveNothing) {
  Remote(m_model, 20).protocols[RIPV2].rows = {{21, 4}};
  FolderModel typo = m_model;
  typo.vlans.erase(20);
  typo.vlans[30] = m_model.vlans[20];
  Play({m_model, typo, m_model});
}

TEST_F(FunctionOfTheFolder, HoldsAfterARestartOfTheStack) {
  Remote(m_model, 20).protocols[RIPV2].rows = {{21, 4}};
  Remote(m_model, 30).protocols[RIPV2].rows = {{31, 4}};
  FolderModel disabled = m_model;
  disabled.vlans[20].protocols[RIPV2].isEnabled = false;
  FolderModel later = m_model;
  later.vlans[10].protocols.erase(RIPV2);
  const std::string fresh = TablesOfAStart(disabled);
  const std::string freshLater = TablesOfAStart(later);
  m_model = disabled;
  Start();
  m_host->RestartTheStack();
  EXPECT_TRUE(m_host->AwaitDone()) << m_host->WhatIsNotDone();
  EXPECT_EQ(m_host->Tables(), fresh);
  m_host->RestartTheStack();
  Reload(later);
  EXPECT_EQ(m_host->Tables(), freshLater);
  EXPECT_TRUE(HasRipRow(21));
}

TEST_F(FunctionOfTheFolder, RulesGoBeforeTheirProtocolStops) {
  Start();
  AskForReloadWithout(10);
  unsigned int withdrawals = 0;
  ASSERT_TRUE(m_host->TurnUntil(
      [&] {
        for (const std::string& call : m_host->TakeCalls()) {
          withdrawals += call.find("sms_act_cipr_redist(") == 0 ? 1 : 0;
        }
        return !RunsRip(10);
      },
      5000));
  EXPECT_EQ(withdrawals, 4u) << "of the rules into RIPV2, one for each source";
}

// A stack that takes nothing does not hold a reload up.
TEST_F(FunctionOfTheFolder, ProtocolStopsThoughTheStackIsBusy) {
  Start();
  for (const RowType type : {RowType::kRedistribution, RowType::kProtocol}) {
    m_host->Control().Script(type, BUSY, EVERY_REQUEST);
  }
  AskForReloadWithout(10);
  EXPECT_TRUE(m_host->TurnUntil([&] { return !RunsRip(10); }, 3000));
  m_host->Control().ClearScripts();
  EXPECT_TRUE(m_host->AwaitDone()) << m_host->WhatIsNotDone();
  EXPECT_FALSE(HasRipRow(11));
  EXPECT_FALSE(Has("redistribution 10 131072 524288"));
}

// --- a restart of the stack ---

TEST_F(Promises, RestartOfTheStackIsNoticed) {
  Start();
  const std::string before = m_host->Tables();
  m_host->RestartTheStack();
  ASSERT_NE(m_host->Tables(), before);
  EXPECT_TRUE(m_host->AwaitDone()) << m_host->WhatIsNotDone();
  EXPECT_EQ(m_host->Tables(), before);
}

// VLAN 20 goes and VLAN 30 comes. The stack restarts after each of the reload's first turns, in a
// device of its own each time.
class RestartDuringAReload : public Promises, public testing::WithParamInterface<unsigned int> {};

TEST_P(RestartDuringAReload, LeavesNothingOfAVlanThatIsGoneAndAsksForNoRouterIdTooEarly) {
  Start();
  m_host->Control().Hold();
  m_model.vlans.erase(20);
  m_model.interfaces.erase({20, 21});
  m_model.vlans[30].routes[{false, 0, 0, false}] = 1;
  m_model.interfaces[{30, 31}] = {true, false, 1500, 1, 0};
  AskForReload();
  for (unsigned int i = 0; i < GetParam(); ++i) m_host->Turn();
  m_host->RestartTheStack();
  m_host->Control().Release();
  EXPECT_TRUE(m_host->AwaitDone()) << m_host->WhatIsNotDone();
  EXPECT_FALSE(HasVlan(20));
  EXPECT_TRUE(HasVlan(30));
  EXPECT_EQ(PendingActions(), "");
  // An assertion of the library fails when the stack asks for a router id too early.
  EXPECT_EQ(CountOf(m_host->Tables(), "assertion"), 0u) << m_host->Tables();
}

INSTANTIATE_TEST_SUITE_P(AfterTurns, RestartDuringAReload, testing::Range(0u, 60u),
                         testing::PrintToStringParamName());

}  // namespace
