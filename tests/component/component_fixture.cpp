#include "tests/component/component_fixture.h"

#include <utility>

#include "device/base/trace_control.h"
#include "tests/support/recording_console.h"

const char* const RUN = "10 Scheduling Timer Expired!!! Scheduling Metaswitch";
const char* const ASK = "10 Rescheduling Metaswitch";
const char* const IN_5_MS = "10 Starting Scheduler Timer for 5 ms";
const char* const IN_1000_MS = "10 Starting Scheduler Timer for 1000 ms";
const char* const SET_ALREADY =
    "10 No starting next scheduler timer !!! since Metaswitch restarted it for some action";

namespace {

// A message without its newline; one that has none is marked.
std::string WithoutNewline(const std::string& message) {
  if (message.empty() || message.back() != '\n') {
    return message + " (without a newline)";
  }
  return message.substr(0, message.size() - 1);
}

std::string Level(int level) {
  return level == Tarsel::TRACE_NO_LEVEL ? "-" : std::to_string(level);
}

}  // namespace

ComponentFixture::ComponentFixture() {
  Tarsel::SetTraceLevel(10);
  Tarsel::SetTraceSink([this](int level, const std::string& message) {
    m_events.push_back(Level(level) + " " + WithoutNewline(message));
  });
  Tarsel::SetAssertSink([this](const char* expression, const char* source, int line) {
    m_events.push_back(std::string("! ") + expression + "|" + source + "|" + std::to_string(line));
  });
  Control().SetCallObserver(
      [this](routing_stack::Call, const std::string& line) { m_events.push_back("> " + line); });
}

ComponentFixture::~ComponentFixture() {
  Tarsel::SetTraceSink({});
  Tarsel::SetAssertSink({});
  Control().SetCallObserver({});
}

std::string ComponentFixture::Take() {
  std::string text;
  for (const std::string& event : TakeEvents()) {
    text += event + "\n";
  }
  return text;
}

std::vector<std::string> ComponentFixture::TakeEvents() { return std::exchange(m_events, {}); }

std::string ComponentFixture::After(unsigned int milliseconds) {
  loop.AdvanceMilliseconds(milliseconds);
  return Take();
}

std::string ComponentFixture::Meanwhile(unsigned int milliseconds) {
  std::string events = After(milliseconds);
  const std::string idleRun = Text({RUN, IN_1000_MS});
  for (std::size_t at = events.find(idleRun); at != std::string::npos; at = events.find(idleRun)) {
    events.erase(at, idleRun.size());
  }
  return events;
}

std::string ComponentFixture::Next() {
  std::string events;
  for (int i = 0; i < 1000 && events.empty(); ++i) {
    events = Meanwhile(1);
  }
  return events;
}

void ComponentFixture::Quiet() {
  EXPECT_TRUE(Settle());
  Take();
}

std::string ComponentFixture::Pending() {
  const auto log = test_support::NewConsoleLog();
  test_support::RecordingConsole console(log);
  Manager().GetCfgSched().Print(&console);
  return log->output;
}

std::string ComponentFixture::PendingSummary() {
  const auto log = test_support::NewConsoleLog();
  test_support::RecordingConsole console(log);
  Manager().GetCfgSched().PrintSummary(&console);
  return log->output;
}

void ComponentFixture::LoadVlans(const std::vector<int>& vids, const std::string& member) {
  std::string entries;
  for (const int vid : vids) {
    const std::string id = std::to_string(vid);
    entries +=
        (entries.empty() ? "" : ", ") + ("\"vlan" + id) + "\": {\"vid\": " + id + member + "}";
  }
  Reload("{\"VLAN_CONFIGURATIONS\": {" + entries + "}}", "vlans.json");
}

std::string Text(std::initializer_list<std::string> lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += line + "\n";
  }
  return text;
}

Tarsel::Ip6Addr Address6(const char* text) {
  Tarsel::Ip6Addr address;
  EXPECT_TRUE(Tarsel::ParseIp6Address(address, text)) << text;
  return address;
}
