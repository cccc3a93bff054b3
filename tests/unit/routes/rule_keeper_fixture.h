// A device with redistribution rules.
#ifndef TESTS_UNIT_ROUTES_RULE_KEEPER_FIXTURE_H
#define TESTS_UNIT_ROUTES_RULE_KEEPER_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <uv.h>

#include <memory>
#include <string>
#include <vector>

#include "device/loop/loop.h"
#include "device/ports/stack_port.h"
#include "device/routes/rule_keeper.h"
#include "tests/support/device_fixture.h"
#include "tests/support/recording_console.h"
#include "vantacore/dc_rtm_mgr.h"

namespace routes_test {

constexpr intent::Sources STATIC = 1, CONNECTED = 2, OSPF = 8, BGP = 16;

constexpr intent::Destination RIP4{10, false, intent::CODE_RIP};
constexpr intent::Destination BGP4{10, false, intent::CODE_BGP};
constexpr intent::Destination BGP6{10, true, intent::CODE_BGP};
inline const rows::RuleRow STATIC_TO_RIP{RIP4, intent::CODE_STATIC};

class RuleKeeperFixture : public test_support::DeviceFixture {
 protected:
  void SetUp() override { Start(10); }
  void StartWithVlan() {
    LoadVlan();
    ASSERT_TRUE(Settle());
    TakeCalls();
  }

  void LoadVlan(
      const std::string& members = R"("RIPV2": {"enabled": true}, "BGP": {"enabled": true})") {
    Reload(R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, )" + members + "}}}", "vlans.json");
  }
  void Want(const intent::Rules& wanted) {
    keeper.SetWanted(std::make_shared<const intent::Rules>(wanted));
  }
  /// The same, with all that follows.
  void Push(const intent::Rules& wanted) {
    Want(wanted);
    Run(500);
  }
  void Run(std::uint64_t milliseconds) {
    for (std::uint64_t i = 0; i < milliseconds; ++i) {
      Turn();
      loop.AdvanceMilliseconds(1);
    }
    Turn();
  }
  void Turn() { uv_run(turns.Get(), UV_RUN_NOWAIT); }

  /// The next `times` requests for rules are answered with this status, without any effect.
  void Refuse(unsigned int status, unsigned int times) {
    Control().Script(routing_stack::RowType::kRedistribution,
                     {routing_stack::Answer::kStatus, status, 0}, times);
  }
  void AnswerNever() {
    Control().Script(routing_stack::RowType::kRedistribution, {routing_stack::Answer::kNever, 0, 0},
                     1);
  }
  /// As somebody else would do it.
  void ChangeInStack(const rows::RuleRow& row, bool isThere) {
    sms_act_cipr_redist(isThere ? 1 : 6, isThere ? 1 : 2, static_cast<int>(row.source),
                        static_cast<int>(row.destination.code), row.destination.vlan, 0);
    Run(10);
    TakeCalls();
  }

  /// The stack's rules as source, destination, and instance.
  std::vector<std::string> StackRules() {
    std::vector<std::string> rules;
    for (const auto& row : Control().Redistributions()) {
      char line[64];
      std::snprintf(line, sizeof line, "%x to %x in %u", row.source, row.destination, row.vlan);
      rules.push_back(line);
    }
    return rules;
  }
  std::vector<std::string> TakeRequests() {
    std::vector<std::string> requests;
    for (const std::string& call : TakeCalls()) {
      if (call.find("redist") != std::string::npos) {
        requests.push_back(call);
      }
    }
    return requests;
  }
  /// What `pending-actions` shows.
  std::string PendingItems() {
    const auto log = std::make_shared<test_support::ConsoleLog>();
    test_support::RecordingConsole console(log);
    Manager().GetCfgSched().Print(&console);
    return log->output;
  }
  /// What a pass finds.
  std::vector<std::string> Pass(std::size_t most = 100) {
    std::vector<std::string> found;
    keeper.BeginPass();
    while (keeper.ContinuePass(most, [&](const rows::Row& row, const rows::Standing& standing) {
      found.push_back(Describe(row, standing));
    })) {
    }
    return found;
  }
  rows::Standing::Kind Look(const rows::RuleRow& row = STATIC_TO_RIP) const {
    return keeper.Look(row).kind;
  }

  loop::Loop turns;
  ports::SoftwareStackPort port{stack, [this] { return loop.Now() / 1000; }};
  std::vector<std::string> lines;
  rows::Differences differences{turns.Get(), port,
                                [this](const std::string& line) { lines.push_back(line); },
                                [this](const rows::Row&) -> rows::Keeper& { return keeper; }};
  routes::RuleKeeper keeper{turns.Get(), port, differences};
};

}  // namespace routes_test

#endif
