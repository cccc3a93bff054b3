#include "device.h"

#include "check.h"
#include "tests/support/recording_console.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/dcrouter_api.h"

namespace fuzz {

namespace {

constexpr std::uint64_t SECOND_MICROSECONDS = 1000000;
constexpr unsigned int SCHEDULER_TICKS = 100;

std::string FirstDifference(const std::string& a, const std::string& b) {
  std::size_t at = 0;
  while (at < a.size() && at < b.size() && a[at] == b[at]) ++at;
  const std::size_t from = at > 300 ? at - 300 : 0;
  return "first: ..." + a.substr(from, 600) + "\nsecond: ..." + b.substr(from, 600);
}

}  // namespace

Device& Device::Get() {
  static Device* device = new Device;
  return *device;
}

Device::Device() {
  Start(10);
  RecordCalls();
  Align();
  // The first item starts the scheduler's timer for good.
  Tarsel::DcRtmMgr::GetInstance()->Redistribute(1, 1, 0x30000, 0x80000, 10);
  Reload(R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10}}})", "first");
  Check(Settle(), "the device does not come to rest");
  Withdraw("first", Tarsel::DclConfigObject::VLAN_OPTIONS);
  Check(Settle(), "the device does not come to rest");
  TakeTrace();
  Check(IsEmpty(), "the device does not begin empty");
}

std::string Device::TakeTrace() {
  std::string trace = std::move(m_notes);
  m_notes.clear();
  for (const std::string& line : TakeCalls()) trace += line + "\n";
  for (const std::string& line : m_traces.Take()) trace += line;
  for (const std::string& line : m_traces.TakeAssertions()) trace += line + "\n";
  for (const std::string& line : sockets.calls) trace += line + "\n";
  sockets.calls.clear();
  return trace;
}

void Device::Align() {
  const std::uint64_t gone = loop.Now() % SECOND_MICROSECONDS;
  loop.AdvanceMicroseconds(SECOND_MICROSECONDS - gone);
  // The stack's runs are counted from the last request for one; the scheduler's passes from its start,
  // which a change of the tick's length moves.
  cRescheduleNBase();
  Manager().GetCfgSched().Start(SCHEDULER_TICKS);
  loop.AdvanceMicroseconds(SECOND_MICROSECONDS);
}

bool Device::IsEmpty() {
  const auto log = test_support::NewConsoleLog();
  {
    test_support::RecordingConsole console(log);
    Manager().GetCfgSched().Print(&console);
  }
  return Manager().GetVlans().empty() && Control().Instances().empty() &&
         Control().Interfaces().empty() && Control().Addresses().empty() &&
         Control().Rib().empty() && Control().Redistributions().empty() && log->all.empty();
}

void Device::EndRequests() {
  Control().EndLostRequests();
  Check(Settle(), "the device does not come to rest when lost requests end");
  Manager().GetSerializer().Reset();
}

void Device::Withdraw(const std::string& name, Tarsel::DclConfigObject::OptionType type) {
  Manager().DeleteOptions(Tarsel::string(name.c_str()), type);
}

void RunTwice(const std::function<void()>& run) {
  Device& device = Device::Get();
  std::string traces[2];
  for (std::string& trace : traces) {
    device.Align();
    device.TakeTrace();
    run();
    trace = device.TakeTrace();
  }
  Check(traces[0] == traces[1],
        "two runs of one input differ\n" + FirstDifference(traces[0], traces[1]));
}

}  // namespace fuzz
