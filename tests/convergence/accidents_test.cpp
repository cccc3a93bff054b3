// Every state in which an accident can find a device, and every kind of accident: the device ends
// as a fresh one with the last folder.
//
// In each cell something changes after the accident has begun: an interface goes down, VLAN 20
// goes, VLAN 30 comes, VLAN 10 loses and gets routes, rules and protocol rows. docs/proof.md has
// the table.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <tuple>

#include "stack/sms.h"
#include "tests/convergence/folder_host.h"
#include "tests/convergence/folder_model.h"
#include "tests/support/forked_text.h"
#include "tests/support/recording_console.h"
#include "tests/support/scratch_folder.h"

namespace {

using convergence::FolderHost;
using convergence::FolderModel;
using convergence::FolderRoute;
using routing_stack::Answer;
using routing_stack::RowType;
using testing::AnyOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

enum class State { IDLE, LOAD, WALK, WAITING_RELOAD, HOLD, GIVEN_UP, NEVER_ANSWERED };
enum class Accident { RESTART, BUSY_FOR_A_SECOND, REFUSED_ONCE, ANSWERED_TWICE, ANSWERED_LATE };

constexpr State STATES[] = {State::IDLE,           State::LOAD, State::WALK,
                            State::WAITING_RELOAD, State::HOLD, State::GIVEN_UP,
                            State::NEVER_ANSWERED};
constexpr Accident ACCIDENTS[] = {Accident::RESTART, Accident::BUSY_FOR_A_SECOND,
                                  Accident::REFUSED_ONCE, Accident::ANSWERED_TWICE,
                                  Accident::ANSWERED_LATE};

const char* NameOf(State state) {
  static const char* const NAMES[] = {"Idle", "Load",    "Walk",         "WaitingReload",
                                      "Hold", "GivenUp", "NeverAnswered"};
  return NAMES[static_cast<std::size_t>(state)];
}

const char* NameOf(Accident accident) {
  static const char* const NAMES[] = {"Restart", "BusyForASecond", "RefusedOnce", "AnsweredTwice",
                                      "AnsweredLate"};
  return NAMES[static_cast<std::size_t>(accident)];
}

constexpr unsigned int LOADED_ROUTES = 2000;
constexpr unsigned int OF_LOAD = 1000;  // the first of their networks
constexpr FolderRoute LATER_ROUTE = {false, 60, 0, false};
constexpr unsigned int EVERY_REQUEST = 1000000;
constexpr std::size_t OSPF = 0;
constexpr std::size_t RIPV2 = 1;
constexpr std::pair<unsigned short, unsigned int> FLAPPING = {10, 11};

// --- folders ---

FolderModel Before() {
  FolderModel model;
  model.mark = 1;
  for (const unsigned short id : {10, 20}) {
    model.interfaces[{id, id + 1U}] = {true, false, 1500, 1, 1};
    convergence::FolderVlan& vlan = model.vlans[id];
    vlan.hasProfile = true;
    vlan.protocols[OSPF].rows = {{id + 1U, 5}};
    vlan.protocols[RIPV2].rows = {{id + 1U, 5}};
    for (unsigned int network = 0; network < 5; ++network) {
      vlan.routes[{network % 2 != 0, network, 0, network == 3}] = 5;
    }
  }
  return model;
}

void AddLoad(FolderModel& model) {
  for (unsigned int i = 0; i < LOADED_ROUTES; ++i) {
    model.vlans[10].routes[{false, OF_LOAD + i, 0, false}] = 1;
  }
}

void AddRoute(FolderModel& model) { model.vlans[10].routes[LATER_ROUTE] = 1; }

void ChangeTheRest(FolderModel& model) {
  model.mark = 100;
  model.vlans.erase(20);
  model.interfaces.erase({20, 21});
  model.vlans[30].hasProfile = true;
  model.vlans[30].protocols[RIPV2].rows = {{31, 2}};
  model.vlans[30].routes[{false, 0, 0, true}] = 2;
  model.interfaces[{30, 31}] = {true, true, 1400, 1, 1};
  convergence::FolderVlan& vlan = model.vlans[10];
  vlan.closedSources = {"connected"};
  vlan.protocols[RIPV2].rows = {{11, 7}, {12, 1}};
  vlan.routes.erase({false, 0, 0, false});
  vlan.routes[{false, 50, 0, false}] = 1;
  vlan.routes[{true, 1, 0, false}] = 9;
}

// --- what is seen of a device ---

/// A walk over all candidates, as a table's command makes it.
struct Walk {
  unsigned int rows = 0;
  std::optional<unsigned int> end;

  void Begin() { sms_get_next_rtm_rib(&Walk::Handle, this); }
  static unsigned char Handle(void* walk, unsigned int, unsigned int result, void*) {
    Walk& self = *static_cast<Walk*>(walk);
    if (result == 1) {
      ++self.rows;
    } else {
      self.end = result;
    }
    return result == 1 ? 1 : 0;
  }
};

std::string PendingActions(FolderHost& host) {
  const auto log = test_support::NewConsoleLog();
  test_support::RecordingConsole console(log);
  host.Manager().GetCfgSched().Print(&console);
  return log->output;
}

std::size_t CountLoaded(FolderHost& host) {
  std::size_t count = 0;
  for (const amb_cipr_rtm_rib& row : host.stack.GetFacts().Rib()) count += row.metric1 == 1 ? 1 : 0;
  return count;
}

class Accidents : public testing::TestWithParam<std::tuple<State, Accident>> {
 protected:
  FolderModel m_model = Before();
  test_support::ScratchFolder m_folder;
  std::unique_ptr<FolderHost> m_host;
  Walk m_walk;

  void Write() {
    for (const auto& [name, text] : m_model.Files()) m_folder.Write(name, text);
  }
  void AskForReload() {
    m_host->AwaitPool();
    Write();
    m_host->AskForReload();
  }
  /// The model as it will be in the end.
  void DrawModel(State state) {
    if (state == State::LOAD || state == State::WALK) AddLoad(m_model);
    if (state == State::GIVEN_UP || state == State::NEVER_ANSWERED) AddRoute(m_model);
    ChangeTheRest(m_model);
  }

  void Reach(State state);
  void Begin(Accident accident);
  void End(Accident accident);
  void ScriptAll(const Answer& answer, unsigned int times) {
    for (std::size_t type = 0; type < routing_stack::kRowTypes; ++type) {
      m_host->Control().Script(static_cast<RowType>(type), answer, times);
    }
  }
  std::string FreshTables(State state);
};

std::string Accidents::FreshTables(State state) {
  DrawModel(state);
  Write();
  const std::string tables = test_support::TextOfChild([this] {
    FolderHost host(m_folder.Path(), 1);
    if (!host.Start().hasPassed) return std::string("the folder is refused");
    host.GetInterfaces().SetStatus(FLAPPING, false);
    return host.AwaitDone() ? host.Tables() : "the fresh device is not done";
  });
  m_model = Before();
  Write();
  return tables;
}

void Accidents::Reach(State state) {
  FolderHost& host = *m_host;
  switch (state) {
    case State::IDLE:
      ASSERT_TRUE(host.AwaitDone());
      ASSERT_TRUE(host.stack.IsIdle());
      break;
    case State::LOAD:
      AddLoad(m_model);
      AskForReload();
      ASSERT_TRUE(host.TurnUntil([&] { return CountLoaded(host) > LOADED_ROUTES / 4; }, 60000));
      ASSERT_LT(CountLoaded(host), LOADED_ROUTES / 2);
      break;
    case State::WALK:
      AddLoad(m_model);
      AskForReload();
      ASSERT_TRUE(host.AwaitDone());
      host.Control().SetSliceEvents(10);
      m_walk.Begin();
      ASSERT_TRUE(host.TurnUntil([&] { return m_walk.rows > 0; }, 1000));
      ASSERT_FALSE(m_walk.end);
      break;
    case State::WAITING_RELOAD:
      host.Control().Script(RowType::kRoute, {Answer::kLate, 0, 3000}, EVERY_REQUEST);
      ChangeTheRest(m_model);
      AskForReload();
      host.LetTimePass(1000);
      ASSERT_EQ(host.Manager().GetVlans().count(20), 1u);
      ASSERT_THAT(host.Calls(), Contains(HasSubstr("sms_update_route(1, 6, 2, 1, 172.16.")));
      host.Control().ClearScripts();
      break;
    case State::HOLD:
      host.Control().Hold();
      host.GetInterfaces().SetStatus(FLAPPING, true);
      host.LetTimePass(500);
      ASSERT_FALSE(host.stack.IsIdle());
      break;
    case State::GIVEN_UP:
      host.Control().Script(RowType::kRoute, {Answer::kStatus, 5, 0}, 10);
      AddRoute(m_model);
      AskForReload();
      ASSERT_TRUE(host.TurnUntil(
          [&] {
            return PendingActions(host).find("ActionState(Issued) ReasonCode(5)") !=
                   std::string::npos;
          },
          2000));
      break;
    case State::NEVER_ANSWERED:
      host.Control().Script(RowType::kRoute, {Answer::kNever, 0, 0}, 1);
      AddRoute(m_model);
      AskForReload();
      host.LetTimePass(500);
      ASSERT_THAT(PendingActions(host), HasSubstr("ActionState(Issued) ReasonCode(0)"));
      ASSERT_TRUE(host.stack.IsIdle());
  }
}

void Accidents::Begin(Accident accident) {
  switch (accident) {
    case Accident::RESTART:
      m_host->RestartTheStack();
      break;
    case Accident::BUSY_FOR_A_SECOND:
      ScriptAll({Answer::kStatus, 5, 0}, EVERY_REQUEST);
      break;
    case Accident::REFUSED_ONCE:
      ScriptAll({Answer::kStatus, 3, 0}, 1);
      break;
    case Accident::ANSWERED_TWICE:
      ScriptAll({Answer::kTwice, 0, 0}, 5);
      break;
    case Accident::ANSWERED_LATE:
      ScriptAll({Answer::kLate, 0, 700}, 5);
  }
}

// A hold ends while the stack is still busy.
void Accidents::End(Accident accident) {
  m_host->LetTimePass(500);
  m_host->Control().Release();
  if (accident == Accident::BUSY_FOR_A_SECOND) {
    m_host->LetTimePass(1000);
    m_host->Control().ClearScripts();
  }
}

TEST_P(Accidents, EndAsAFreshStart) {
  const auto [state, accident] = GetParam();
  const std::string fresh = FreshTables(state);
  ASSERT_THAT(fresh, HasSubstr("instance 30 "));
  ASSERT_THAT(fresh, Not(HasSubstr("instance 20 ")));

  m_host = std::make_unique<FolderHost>(m_folder.Path(), 1);
  ASSERT_TRUE(m_host->Start().hasPassed);
  ASSERT_NO_FATAL_FAILURE(Reach(state));
  Begin(accident);
  if (state != State::WAITING_RELOAD) {
    ChangeTheRest(m_model);
    AskForReload();
  }
  // An event of an interface counts from the moment at which the folder's interfaces are in force.
  const auto hasInterfaces = [&] {
    return m_host->GetInterfaces().IndexOf(10, convergence::MARK_NAME) == 100u;
  };
  End(accident);
  ASSERT_TRUE(m_host->TurnUntil(hasInterfaces, 60000));
  m_host->GetInterfaces().SetStatus(FLAPPING, false);
  m_host->EndFaults();
  EXPECT_TRUE(m_host->AwaitDone()) << m_host->WhatIsNotDone();
  EXPECT_EQ(m_host->Tables(), fresh);
  if (accident == Accident::RESTART && state == State::WALK) {
    EXPECT_EQ(m_walk.end.value_or(0), 8u) << m_walk.rows << " rows";
  }
}

INSTANTIATE_TEST_SUITE_P(All, Accidents,
                         testing::Combine(testing::ValuesIn(STATES), testing::ValuesIn(ACCIDENTS)),
                         [](const auto& cell) {
                           return std::string(NameOf(std::get<0>(cell.param))) +
                                  NameOf(std::get<1>(cell.param));
                         });

}  // namespace
