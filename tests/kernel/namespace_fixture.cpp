#include "namespace_fixture.h"

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "tests/system/signs.h"

namespace kernel_test {

using system_test::DaemonProcess;

namespace {

const std::string IP = "PATH=$PATH:/usr/sbin:/sbin ip ";

// Somebody who is not root is root in a user namespace of his own.
int EnterNamespace() {
  static const bool isRoot = geteuid() == 0;
  if (isRoot) {
    return unshare(CLONE_NEWNET) == 0 ? 0 : errno;
  }
  static const int problem = [] {
    const std::string user = std::to_string(geteuid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
      return errno;
    }
    std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
    return 0;
  }();
  return problem == 0 && unshare(CLONE_NEWNET) != 0 ? errno : problem;
}

std::string RunShell(const std::string& command, int& status) {
  std::string output;
  FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
  char buffer[4096];
  for (std::size_t size; (size = fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
    output.append(buffer, size);
  }
  status = pclose(pipe);
  return output;
}

std::string Entry(const std::vector<Route>& routes, bool isIp6) {
  std::string text;
  for (const Route& route : routes) {
    if ((route.prefix.find(':') != std::string::npos) != isIp6) {
      continue;
    }
    const std::size_t slash = route.prefix.find('/');
    const std::string length = route.prefix.substr(slash + 1);
    const int bits = std::stoi(length);
    const unsigned int mask = bits == 0 ? 0 : ~0u << (32 - std::min(bits, 32));
    std::ostringstream netmask;
    netmask << (mask >> 24) << '.' << (mask >> 16 & 255) << '.' << (mask >> 8 & 255) << '.'
            << (mask & 255);
    text += (text.empty() ? "" : ", ") + ("\"" + route.prefix + " " + route.gateway) +
            R"(": {"network": ")" + route.prefix.substr(0, slash) +
            (isIp6 ? R"(", "prefix": )" + length : R"(", "netmask": ")" + netmask.str() + '"') +
            R"(, "gateway": ")" + route.gateway + "\"}";
  }
  return text;
}

std::string VlanEntry(const std::string& vlan, const std::vector<Route>& routes) {
  return "\"v" + vlan + R"(": {"vid": )" + vlan + R"(, "STATIC_ROUTES": {)" + Entry(routes, false) +
         R"(}, "STATIC_ROUTES6": {)" + Entry(routes, true) + "}}";
}

}  // namespace

std::vector<std::string> RulesOf(const std::string& link, int table) {
  const std::string lookup =
      "22000: from all iif " + link + " lookup " + std::to_string(table) + " proto 201";
  const std::string end = "22001: from all iif " + link + " unreachable proto 201";
  return {lookup, end, "6 " + lookup, "6 " + end};
}

void KernelTest::SetUp() {
  if (const int problem = EnterNamespace()) {
    FAIL() << std::strerror(problem);
  }
  for (const char* const on : {"ipv4/ip_forward", "ipv6/conf/all/forwarding"}) {
    Switch(on, 1);
  }
  for (const char* const filter : {"ipv4/conf/all/rp_filter", "ipv4/conf/default/rp_filter"}) {
    Switch(filter, 0);
  }
  for (const int number : {1, 2}) {
    const std::string link = "r" + std::to_string(number);
    const std::string peer = "p" + std::to_string(number);
    Ip("link add " + link + " index " + std::to_string(number + 1) + " type veth peer name " +
       peer + " index " + std::to_string(number + 11));
    for (const std::string& end : {link, peer}) {  // no addresses that come when they like
      Ip("link set dev " + end + " addrgenmode none");
    }
    Ip("link set " + peer + " up");
    Ip("link set " + link + " up");
    Ip("address add 10.1.0.1/24 dev " + link);
    AwaitState(link, true);
  }
  Ip("address add 2001:db8:1::1/64 dev r1 nodad");
  WriteDevice();
}

void KernelTest::Switch(const std::string& name, int value) {
  std::ofstream file("/proc/sys/net/" + name);
  file << value << std::flush;
  EXPECT_TRUE(file) << name;
}

void KernelTest::TryIp(const std::string& words) {
  int status = 0;
  RunShell(IP + words, status);
}

std::string KernelTest::Ip(const std::string& words) {
  int status = 0;
  const std::string output = RunShell(IP + words, status);
  EXPECT_EQ(0, status) << "ip " << words << ": " << output;
  return output;
}

void KernelTest::IpBatch(const std::vector<std::string>& lines) {
  const test_support::ScratchFolder scratch;
  std::string text;
  for (const std::string& line : lines) {
    text += line + "\n";
  }
  scratch.Write("batch", text);
  Ip("-batch " + scratch.Path() + "/batch");
}

void KernelTest::FloodWhileStopped(const std::vector<std::string>& lines) {
  std::vector<std::string> all;
  for (int i = 0; i < 10000; ++i) {
    const std::string address =
        "10.7." + std::to_string(i / 200) + "." + std::to_string(i % 200) + "/32 dev r2";
    all.insert(all.end(), {"address add " + address, "address delete " + address});
  }
  all.insert(all.end(), lines.begin(), lines.end());
  daemon->Kill(SIGSTOP);
  IpBatch(all);
  daemon->Kill(SIGCONT);
}

void KernelTest::AwaitState(const std::string& link, bool isUp) {
  system_test::Await(link + (isUp ? " to be up" : " to be down"), [&] {
    return (Ip("link show " + link).find("state UP") != std::string::npos) == isUp;
  });
}

// iproute2 fails for a table that nobody has used.
std::vector<std::string> KernelTest::OurRoutes() {
  std::vector<std::string> routes;
  for (const char* const family : {"-4", "-6"}) {
    std::istringstream lines(Ip(std::string(family) + " route show table all proto 201"));
    for (std::string line; std::getline(lines, line);) {
      for (const char* const noise :
           {" metric 220", " metric 221", " pref medium", " linkdown", " weight 1"}) {
        const std::size_t at = line.find(noise);
        line.erase(std::min(at, line.size()), at == std::string::npos ? 0 : std::strlen(noise));
      }
      line.erase(line.find_last_not_of(' ') + 1);
      if (line.front() == '\t') {  // one of several next hops
        routes.back() += line.replace(0, 1, " ");
      } else {
        routes.push_back(line);
      }
    }
  }
  std::sort(routes.begin(), routes.end());
  return routes;
}

std::vector<std::string> KernelTest::RulesWith(const std::string& words) {
  std::vector<std::string> rules;
  for (const char* const family : {"-4", "-6"}) {
    std::istringstream lines(Ip(std::string(family) + " rule show"));
    for (std::string line; std::getline(lines, line);) {
      if (line.find(words) != std::string::npos) {
        const std::size_t tab = line.find('\t');
        line.replace(tab, 1, " ");
        line.erase(line.find_last_not_of(' ') + 1);
        rules.push_back((family[1] == '6' ? "6 " : "") + line);
      }
    }
  }
  std::sort(rules.begin(), rules.end());  // equal priorities stand as they have come
  return rules;
}

std::string KernelTest::WayTo(const std::string& address) {
  const std::string way = Ip("route get " + address);
  return way.substr(0, way.find(" src"));
}

void KernelTest::WriteDevice(const std::string& kernel, int defaultVlan) {
  folder.Write("device.json", R"({"default_vlan": )" + std::to_string(defaultVlan) +
                                  R"(, "interfaces": [
      {"name": "r1", "vlan": 10, "index": 2, "ipv4": "10.1.0.1/24", "ipv6": ["2001:db8:1::1/64"]},
      {"name": "r2", "vlan": 20, "index": 3, "ipv4": "10.1.0.1/24"}],
      "kernel": )" + kernel + "}");
}

void KernelTest::WriteRoutes(const std::vector<Route>& vlan10, const std::vector<Route>& vlan20) {
  folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {)" + VlanEntry("10", vlan10) + ", " +
                                 VlanEntry("20", vlan20) + "}}");
}

void KernelTest::Start(const system_test::Arguments& more) {
  system_test::Arguments arguments = {"--config", folder.Path(), "--fresh", "--lab"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  daemon = std::make_unique<DaemonProcess>(arguments, DaemonProcess::PIPES);
}

std::string KernelTest::Ask(const std::string& command, const std::string& last) {
  daemon->Send(command + "\n");
  return daemon->ReadUntil(last);
}

std::string KernelTest::Verify() {
  daemon->Send("verify\nversion\n");
  return daemon->ReadUntil("console protocol");
}

void KernelTest::AwaitPass() {
  std::string last;
  for (int i = 0; i < 100; ++i) {
    last = Verify();
    if (last.find("FAIL") == std::string::npos) {
      return;
    }
    usleep(100000);
  }
  FAIL() << last;
}

void KernelTest::Reload(const std::string& how) {
  daemon->Send("reload" + how + "\n");
  daemon->ReadErrorsUntil("Reload by pipe");
}

void KernelTest::End() {
  daemon->CloseInput();
  daemon->Wait();
  daemon.reset();
}

void KernelTest::Kill() {
  daemon->Kill(SIGKILL);
  daemon->Wait();
  daemon.reset();
}

/// Ends the suite, aloud, where it could not run at all.
class NamespacesAreThere : public testing::Environment {
 public:
  void SetUp() override {
    const int problem = EnterNamespace();
    if (problem == 0) {
      return;
    }
    std::printf("NOT RUN: no network namespace can be made here: %s\n", std::strerror(problem));
    std::fflush(stdout);
    _exit(std::getenv("VANTACORE_NEED_NAMESPACES") != nullptr ? EXIT_FAILURE : NOT_RUN);
  }

 private:
  static constexpr int NOT_RUN = 77;  // as CMakeLists.txt tells ctest
};

const auto* const s_namespaces = testing::AddGlobalTestEnvironment(new NamespacesAreThere);

}  // namespace kernel_test
