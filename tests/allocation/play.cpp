#include "tests/allocation/play.h"

#include <cstddef>
#include <set>
#include <sstream>
#include <utility>

#include "device/routers/row_upkeep.h"
#include "tests/scenarios/events.h"
#include "tests/support/allocated_bytes.h"
#include "tests/support/device_fixture.h"
#include "tests/support/forked_text.h"
#include "tests/support/recording_console.h"
#include "tests/support/trace_capture.h"
#include "vantacore/cfg_sched.h"
#include "vantacore/dc_rtm_mgr.h"

namespace allocation {
namespace {

using routing_stack::RowType;
using scenarios::Scenario;
using scenarios::Step;
using test_support::Device;
using test_support::FailingNew;

bool IsAlarm(const std::string& message) {
  return message.find("llocating ") != std::string::npos ||
         message.find("llocation ") != std::string::npos;
}

std::vector<std::string> Words(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

std::vector<std::string> EventLines(const Scenario& scenario) {
  std::vector<std::string> lines;
  for (const Step& step : scenario.steps) {
    if (scenarios::IsDocument(step)) continue;
    std::istringstream stream(step.text);
    for (std::string line; std::getline(stream, line);) {
      if (!line.empty() && line[0] != '#') lines.push_back(line);
    }
  }
  return lines;
}

// The event that takes away what the line brings; empty when it brings nothing that stays.
std::string Opposite(const std::string& line) {
  const std::vector<std::string> words = Words(line);
  const std::string what = words[0] + " " + words[1];
  const auto from = [&words](std::size_t first, std::size_t count) {
    std::string text;
    for (std::size_t i = first; i < first + count; ++i) text += " " + words[i];
    return text;
  };
  if (what == "interface add") return "interface remove" + from(2, 3);
  if (what == "address add") return "address delete" + from(2, 4);
  if (what == "address6 add") return "address6 delete" + from(2, 4);
  if (what == "route add") return "route remove" + from(2, 5);
  if (what == "route6 add") return "route6 remove" + from(2, 5);
  if (words[0] == "redistribute" && words[4] == "on") return "redistribute" + from(1, 3) + " off";
  if (words[0] == "status" && words[3] == "1") return "status" + from(1, 2) + " 2";
  return "";
}

class Player {
 public:
  // The report has its one block from the beginning, whatever comes to be written into it.
  explicit Player(const Scenario& scenario) : m_scenario(scenario) { m_report.reserve(1 << 20); }

  std::string Run(const Refusal& refusal);

 private:
  void UnderRefusal(const Refusal& refusal);
  void ExpectNoHalfVlan();
  void Rest();
  void PlayAll();
  void AskForEverythingAgain();
  void TakeEverythingAway();
  std::string Seen();

  const Scenario& m_scenario;
  test_support::TraceCapture m_traces;
  Device m_device;
  std::string m_report;
  bool m_isStarted = false;
};

// Scripted answers come to their end, and every row goes on.
void Player::Rest() {
  routing_stack::Control& control = m_device.Control();
  control.ClearScripts();
  for (RowType type : {RowType::kRtm, RowType::kInterface, RowType::kAddress, RowType::kRoute,
                       RowType::kRedistribution, RowType::kProtocol}) {
    control.SetLimit(type, SIZE_MAX, 0);
  }
  control.EndLostRequests();
  if (!m_device.Settle()) m_report += "failure the device does not come to rest\n";
}

void Player::PlayAll() {
  std::ostringstream ignored;
  for (const Step& step : m_scenario.steps) {
    scenarios::ApplyStep(m_device, step, ignored);
    if (!m_device.Settle()) m_report += "failure " + step.file + " does not settle\n";
  }
}

// A VLAN that could not be made has taken back what was made for it.
void Player::ExpectNoHalfVlan() {
  const auto& vlans = m_device.Manager().GetVlans();
  for (const std::uint32_t instance : m_device.Control().Instances()) {
    // An id in the upper half is its own IPv6 instance.
    const auto own = static_cast<unsigned short>(instance);
    const auto vlan = static_cast<unsigned short>(own & ~Tarsel::DcRtmMgr::IP6_INSTANCE_BIT);
    if (vlans.count(own) == 0 && vlans.count(vlan) == 0) {
      m_report += "failure instance " + std::to_string(instance) + " without its VLAN\n";
    }
  }
}

void Player::UnderRefusal(const Refusal& refusal) {
  const FailingNew failing(refusal.first, refusal.extent);
  // A host that gets no manager asks again; it has nothing to work with before.
  m_isStarted = Tarsel::DcRouterMgr::GetInstance() != nullptr ||
                Tarsel::DcRouterMgr::GetInstance() != nullptr;
  if (m_isStarted) {
    m_device.Start();
    PlayAll();
    ExpectNoHalfVlan();
  }
  m_report += "requests " + std::to_string(failing.CountRequests()) + "\n";
  for (const std::string& place : failing.Places()) m_report += "place " + place + "\n";
}

// A lost request leaves a row behind or away; whoever asks for all that there should be, and then takes
// it away, repairs that.
void Player::AskForEverythingAgain() {
  for (const std::string& line : EventLines(m_scenario)) {
    if (!Opposite(line).empty()) scenarios::ApplyEvent(m_device, line);
  }
  Rest();
}

void Player::TakeEverythingAway() {
  const std::vector<std::string> lines = EventLines(m_scenario);
  for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
    const std::string opposite = Opposite(*line);
    if (!opposite.empty()) scenarios::ApplyEvent(m_device, opposite);
  }
  Rest();
  std::set<std::string> names;
  for (const Step& step : m_scenario.steps) {
    if (scenarios::IsDocument(step) && names.insert(step.name).second) {
      m_device.Manager().DeleteOptions(step.name.c_str(), scenarios::TypeOf(step.name));
    }
  }
  Rest();
}

std::string Player::Seen() {
  std::string seen;
  for (const std::string& call : m_device.TakeCalls()) seen += "call " + call + "\n";
  for (const std::string& line : m_traces.Take()) seen += "message " + line;
  for (const std::string& report : m_traces.TakeAssertions()) seen += "assertion " + report + "\n";
  const auto log = test_support::NewConsoleLog();
  {
    test_support::RecordingConsole console(log);
    m_device.Manager().GetCfgSched().Print(&console);
  }
  return seen + "--- pending\n" + log->output + "--- tables\n" + m_device.Dump();
}

std::string Player::Run(const Refusal& refusal) {
  const std::size_t before = test_support::AllocatedBlocks();
  m_device.RecordCalls();
  UnderRefusal(refusal);
  for (const std::string& message : m_traces.Take()) {
    if (IsAlarm(message)) m_report += "alarm " + message;
  }
  if (!m_isStarted) m_device.Start();
  Rest();
  PlayAll();
  AskForEverythingAgain();
  TakeEverythingAway();
  PlayAll();
  AskForEverythingAgain();
  TakeEverythingAway();
  Seen();
  routers::NextRow(nullptr);  // which forgets the rows that have gone with their VLAN
  const std::size_t blocks = test_support::AllocatedBlocks() - before;
  PlayAll();
  const std::string whole = Seen();
  AskForEverythingAgain();
  TakeEverythingAway();
  return m_report + "blocks " + std::to_string(blocks) + "\n--- afterwards\n" + whole + Seen();
}

}  // namespace

Outcome Play(const Scenario& scenario, const Refusal& refusal) {
  const std::string text = test_support::TextOfChild([&] {
    Player player(scenario);
    return player.Run(refusal);
  });
  Outcome outcome;
  std::istringstream lines(text);
  bool isAfterwards = false;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t space = line.find(' ');
    const std::string word = line.substr(0, space);
    const std::string rest = space == std::string::npos ? "" : line.substr(space + 1);
    if (isAfterwards) {
      outcome.afterwards += line + "\n";
    } else if (word == "requests") {
      outcome.requests = static_cast<unsigned int>(std::stoul(rest));
    } else if (word == "place") {
      outcome.places.push_back(rest);
    } else if (word == "alarm") {
      outcome.alarms.push_back(rest);
    } else if (word == "blocks") {
      outcome.blocks = std::stoul(rest);
    } else if (line == "--- afterwards") {
      isAfterwards = true;
    } else {
      outcome.failure += line + "\n";
    }
  }
  return outcome;
}

}  // namespace allocation
