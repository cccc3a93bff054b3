// Console words through every command tree, with the lab's words between them.
//
// The input is a sequence of lines, carried out on a device with two VLANs, interfaces and routes;
// time goes by between lines where a line is empty. Words after "ips" and "peers" go to the two
// handlers that no tree names. Each command must end, and its console must be deleted exactly once;
// the same lines give the same output. The device is built up and taken down by each run: that makes
// an input slow and its result its own.
#include "device/console/dispatcher.h"

#include "device/base/timer_loop.h"
#include "device/console/host_console.h"
#include "device/documents/device_document.h"
#include "fuzz/support/bytes.h"
#include "fuzz/support/check.h"
#include "fuzz/support/device.h"
#include "tests/support/json_text.h"
#include "vantacore/static_routes.h"

namespace {

using console::RunningCommand;
using fuzz::Check;
using fuzz::Device;

constexpr std::size_t MAX_LINES = 12;
constexpr unsigned int TICK_MICROSECONDS = 1000;

const char INTERFACES[] = R"({"default_vlan": 10,
  "interfaces": [
    {"name": "lo", "vlan": 10, "index": 1, "flags": ["loopback"], "ipv4": "127.0.0.1/8"},
    {"name": "eth0", "vlan": 10, "index": 3, "flags": ["broadcast"], "ipv4": "10.1.0.1/16",
     "ipv6": ["2001:db8:1::1/64"]},
    {"name": "eth1", "vlan": 20, "index": 4, "joined": true, "ipv4": "10.2.0.1/16"}],
  "primary_interfaces": {"10": "eth0"}})";

const char VLANS[] = R"({"VLAN_CONFIGURATIONS": {
  "a": {"vid": 10, "RIPV2": {"enabled": true}, "RIPNG": {"enabled": true},
    "OSPF": {"IF_LIST": {"i": {"Name": "OSPF_10_3_1_0", "cost": 5}},
             "AREA_LIST": {"a": {"Name": "OSPF_10_0"}}},
    "BGP": {"PEERS": {"p": {"Name": "BGP_10_1", "address": "10.1.2.1", "as": 65001}}},
    "IGMP": {"IF_LIST": {"i": {"Name": "IGMP_10_3"}}}},
  "b": {"vid": 20, "OSPFV3": {"IF_LIST": {"i": {"Name": "OSPF_20_4_1_0"}}}, "MLD": {}}}})";

documents::Device Interfaces() {
  documents::DeviceFile file;
  Check(documents::ReadDeviceDocument(INTERFACES, "device.json", file), "no device document");
  return file.device;
}

void ForRoutes(bool add) {
  const Tarsel::Ip4Addr mask(255, 255, 0, 0);
  for (unsigned int i = 0; i < 3; ++i) {
    const Tarsel::Ip4Addr destination(10, 9 + i, 0, 0), gateway(10, 1, 2, 1);
    if (add) {
      Tarsel::AddRoute(10, destination, mask, gateway, 3, 5, 0x30000, 1);
    } else {
      Tarsel::RemoveRoute(10, destination, mask, gateway, 3);
    }
  }
}

// The words of a command that no tree names; the console stays here.
void ExecuteDirectly(const console::Words& words, const std::shared_ptr<RunningCommand>& command) {
  console::Words rest(words.begin() + 1, words.end());
  std::vector<char*> argv;
  for (std::string& word : rest) argv.push_back(&word[0]);
  argv.push_back(nullptr);
  const int argc = static_cast<int>(rest.size());
  if (words[0] == "ips") {
    console::HostConsole console(command);
    Device::Get().Manager().ConCmdIpsTrace(&console, argc, argv.data());
  } else {
    Device::Get().Manager().BgpPeerAct(command->GetVlan(), argc, argv.data());
    command->End();
  }
}

class Session {
 public:
  Session() {
    m_state.Apply(Interfaces(), {10, 20});
    Device::Get().Reload(VLANS, "vlans.json");
    Check(Device::Get().Settle(), "the device does not come up");
    ForRoutes(true);
    Check(Device::Get().Settle(), "the routes do not come up");
  }

  void Execute(const std::string& line) {
    auto command = std::make_shared<RunningCommand>(
        m_vlan, console::Operator{"fuzz", true},
        [](std::string_view text) { Device::Get().Note(std::string(text)); },
        [] { Device::Get().Note("over"); });
    const console::Words words = console::Split(line);
    if (words.empty()) {
      Device::Get().loop.AdvanceMilliseconds(10);
    } else if (words[0] == "ips" || words[0] == "peers") {
      ExecuteDirectly(words, command);
      Check(command->IsOver(), "a direct command that is not over: " + line);
    } else {
      m_dispatcher.Complete(line, m_vlan);
      m_dispatcher.HelpAt(line);
      m_vlan = m_dispatcher.Execute(line, command).vlan;
      m_commands.push_back(std::move(command));
    }
  }

  // Everything comes to an end and is taken down.
  void Finish() {
    Device& device = Device::Get();
    Tarsel::TimerLoop::SetCurrent(&device.loop);
    Tarsel::TimerLoop::SetTickMicroseconds(TICK_MICROSECONDS);
    device.Control().ClearScripts();
    device.Control().Release();
    device.Manager().TripsControl(false);
    device.EndRequests();
    device.Control().Restart();
    device.Align();
    Check(device.Settle(), "the device does not come to rest");
    for (const auto& command : m_commands) {
      Check(command->IsOver(), "a command that is not over");
      Check(command.use_count() == 1, "a console that was not deleted");
    }
    m_state.Apply({}, {10, 20});
    device.Withdraw("vlans.json", Tarsel::DclConfigObject::VLAN_OPTIONS);
    Check(device.Settle(), "the device does not come to rest at the end");
    Check(device.IsEmpty(), "something is left behind:\n" + device.Dump());
  }

 private:
  static void Noted(const char* what, const apply::Asker& asker) {
    Device::Get().Note(what);
    asker.end(true);
  }

  keepers::Interfaces m_state;
  console::Lab m_lab{Device::Get().Control(), m_state, [](auto tick) {
                       Tarsel::TimerLoop::SetTickMicroseconds(tick.value_or(TICK_MICROSECONDS));
                     }};
  console::Dispatcher m_dispatcher{
      {[](const apply::Asker& asker, const apply::ReloadRequest&) { Noted("reload", asker); },
       [](const apply::Asker& asker, bool) { Noted("check", asker); }},
      &m_lab};
  unsigned short m_vlan = 10;
  std::vector<std::shared_ptr<RunningCommand>> m_commands;
};

void Run(const std::vector<std::string>& lines) {
  // The library keeps the host's interfaces for the life of the process, but not this session's.
  Session session;
  for (const std::string& line : lines) session.Execute(line);
  session.Finish();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> lines =
      fuzz::Split(std::string(reinterpret_cast<const char*>(data), size), '\n');
  if (lines.size() > MAX_LINES) return 0;
  for (std::string& line : lines) line = line.c_str();  // a line of the console holds no NUL
  fuzz::RunTwice([&] { Run(lines); });
  return 0;
}
