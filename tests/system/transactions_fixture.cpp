#include "transactions_fixture.h"

#include <csignal>

#include "signs.h"

namespace system_test {

Transactions::Transactions() {
  folder.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"}]})");
  WriteRoutes(1);
}

void Transactions::WriteRoutes(int count, const std::string& gateway) const {
  std::string routes;
  for (int i = 0; i < count; ++i) {
    const std::string number = std::to_string(100 + i);
    routes += std::string(i == 0 ? "" : ",") + "\n\"r" + number + R"(": {"network": "10.)" +
              number + R"(.0.0", "netmask": "255.255.0.0", "gateway": ")" + gateway + "\"}";
  }
  folder.Write("vlans.json",
               R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "STATIC_ROUTES": {)" + routes + "}}}}");
}

void Transactions::Spoil() const { folder.Write("vlans.json", "{\"VLAN_CONFIGURATIONS\": {}}}"); }

Arguments Transactions::With(const Arguments& more) const {
  Arguments arguments = {"--config", folder.Path(), "--state", state.Path(), "--tick-us", "100"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

Result Transactions::Batch(const std::string& lines, const Arguments& more) const {
  return RunDaemon(With(more), lines);
}

void Transactions::StartDaemon(const Arguments& more) {
  Arguments arguments = With({"--daemon", "--socket", path});
  arguments.insert(arguments.end(), more.begin(), more.end());
  daemon = std::make_unique<DaemonProcess>(arguments, DaemonProcess::PIPES);
  Await("a daemon that listens", [this] { return Ask({"help"}).status == 0; });
}

Result Transactions::Ask(const Arguments& words) const {
  Arguments arguments = {"--socket", path};
  arguments.insert(arguments.end(), words.begin(), words.end());
  return RunDaemon(arguments, "", VANTACORECTL_COMMAND);
}

void Transactions::EndDaemon(int number) {
  daemon->Kill(number);
  EXPECT_EQ(daemon->Wait(), number == SIGTERM ? 0 : -number);
  daemon.reset();
}

void Transactions::Restart(int number, const Arguments& more) {
  EndDaemon(number);
  StartDaemon(more);
}

int Transactions::CountRoutes() const { return CountRoutes(Ask({"rtm", "rib"}).output); }

int Transactions::CountRoutes(const std::string& table) {
  int count = 0;
  for (std::size_t at = 0; (at = table.find(" static", at)) != std::string::npos; ++at) {
    ++count;
  }
  return count;
}

}  // namespace system_test
