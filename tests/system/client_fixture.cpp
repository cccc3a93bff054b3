#include "client_fixture.h"

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "signs.h"

namespace system_test {

Client::Client() {
  folder.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"}]})");
  folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {
      "a": {"vid": 10, "RIPV2": {"enabled": true}}, "b": {"vid": 20}}})");
}

void Client::BeginDaemon(const std::string& tick) {
  daemon = std::make_unique<DaemonProcess>(Arguments{"--config", folder.Path(), "--tick-us", tick,
                                                     "--daemon", "--socket", path, "--lab"},
                                           DaemonProcess::PIPES);
}

bool Client::HasSocket() const {
  struct stat found {};
  return stat(path.c_str(), &found) == 0;
}

void Client::AwaitSocket() const {
  Await("the daemon's socket", [this] { return HasSocket(); });
}

void Client::StartDaemon(const std::string& tick) {
  BeginDaemon(tick);
  AwaitDaemon();
}

void Client::AwaitDaemon() const {
  AwaitSocket();
  RunWhenHeard({"help"});
}

std::string Client::Command() {
  const std::string command = VANTACORECTL_COMMAND;
  std::istringstream folders(command.find('/') == std::string::npos ? std::getenv("PATH") : "");
  for (std::string folder; std::getline(folders, folder, ':');) {
    const std::string program = folder + '/' + command;
    if (access(program.c_str(), X_OK) == 0) {
      return program;
    }
  }
  return command;
}

Arguments Client::With(const Arguments& more) const {
  Arguments arguments = {"--socket", path};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

Result Client::Run(const Arguments& words, const std::string& input) const {
  return RunDaemon(With(words), input, VANTACORECTL_COMMAND);
}

Result Client::RunWhenHeard(const Arguments& words) const {
  Result result{};
  Await("a daemon that listens", [&] {
    result = Run(words);
    return result.status != 3;
  });
  return result;
}

std::unique_ptr<DaemonProcess> Client::Open(DaemonProcess::Streams streams,
                                            const Arguments& words) const {
  return std::make_unique<DaemonProcess>(With(words), streams, VANTACORECTL_COMMAND);
}

void Client::ExpectHealthyDaemon() {
  EXPECT_EQ(Run({"ip", "protocol", "summary"}).output, SUMMARY);
  daemon->Kill(SIGTERM);
  EXPECT_EQ(daemon->Wait(), 0);
  EXPECT_EQ(daemon->Errors(), "");
  EXPECT_FALSE(HasSocket()) << "the socket has stayed";
}

std::string Client::WithRoutes(int count) {
  std::string routes;
  for (int i = 0; i < count; ++i) {
    char route[128];
    std::snprintf(
        route, sizeof route,
        R"(%s"r%d": {"network": "2001:db8:%x:%x::", "prefix": "64", "gateway": "fe80::1"})",
        i == 0 ? "" : ",\n", i, 0x100 + i / 256, i % 256);
    routes += route;
  }
  return R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "STATIC_ROUTES6": {)" + routes + "}}}}";
}

}  // namespace system_test
