#include "tests/convergence/folder_host.h"

#include <arpa/inet.h>
#include <uv.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "device/documents/members.h"
#include "tests/support/stack_activity.h"

namespace convergence {

namespace {

// The scheduler's period is ten milliseconds with this.
constexpr unsigned int TICK_MICROSECONDS = 100;
constexpr std::uint64_t PATIENCE_NANOSECONDS = 50000000000;

[[noreturn]] void Die(const char* what) {
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

std::string RouteLine(const intent::ResolvedRoute& route) {
  const documents::RouteTarget& target = route.target;
  const int family = target.ip6 ? AF_INET6 : AF_INET;
  char destination[INET6_ADDRSTRLEN];
  char gateway[INET6_ADDRSTRLEN];
  inet_ntop(family, target.destination.data(), destination, sizeof destination);
  inet_ntop(family, target.gateway.data(), gateway, sizeof gateway);
  std::ostringstream line;
  line << "requested route " << target.vlan << " " << destination << "/" << int{target.length}
       << " " << gateway << " interface " << route.ifIndex << " metric " << route.metric << "\n";
  return line.str();
}

}  // namespace

FolderHost::FolderHost(const std::string& directory, std::uint64_t turnMilliseconds)
    : m_turnMilliseconds(turnMilliseconds),
      m_answers(m_loop.Get(), test_support::ActivityOf(stack)),
      m_reloader(m_loop.Get(), {directory, {documents::DeclaredProtocols(), false}}, m_interfaces,
                 m_answers,
                 {[this](const std::string& line) { m_logged.push_back(line + "\n"); },
                  [](const auto&, const auto& work) { work(); }, [](const auto& work) { work(); },
                  [] {}}) {
  Tarsel::TimerLoop::SetTickMicroseconds(TICK_MICROSECONDS);
  RecordCalls();
}

FolderHost::~FolderHost() = default;

FolderHost::Answer FolderHost::Start() {
  Answer answer;
  bool isOver = false;
  m_reloader.Start(
      [&](bool isTaken) {
        answer.hasPassed = isTaken;
        isOver = !isTaken;
        if (isTaken) {
          Manager().Initialize(m_reloader.GetIntent().GetDevice().defaultVlan, &m_interfaces);
          Manager().SckInterfaceInitialize(&sockets);
        }
      },
      [&] { isOver = true; });
  TurnWhile([&] { return !isOver; });
  answer.lines = std::exchange(m_logged, {});
  if (answer.hasPassed) AwaitEnd();
  return answer;
}

FolderHost::Answer FolderHost::Check() {
  Answer answer;
  m_reloader.Check(AskerInto(answer), false);
  AwaitEnd();
  return answer;
}

FolderHost::Answer FolderHost::Reload() {
  Answer answer;
  m_logged.clear();
  m_reloader.Reload(AskerInto(answer));
  AwaitEnd();
  if (answer.lines != m_logged) Die("the log tells something else than who has asked is told");
  return answer;
}

apply::Asker FolderHost::AskerInto(Answer& answer) {
  return {[&answer](const std::string& line) { answer.lines.push_back(line); },
          [&answer](bool hasPassed) { answer.hasPassed = hasPassed; }};
}

void FolderHost::TurnWhile(const std::function<bool()>& isGoingOn) {
  const std::uint64_t begin = uv_hrtime();
  while (isGoingOn()) {
    if (uv_hrtime() - begin > PATIENCE_NANOSECONDS) Die("the device does not come to an end");
    uv_run(m_loop.Get(), UV_RUN_NOWAIT);
    loop.AdvanceMilliseconds(m_turnMilliseconds);
  }
}

void FolderHost::AwaitEnd() {
  TurnWhile([this] { return m_reloader.IsBusy(); });
  if (!Settle()) Die("the device does not settle");
}

std::string FolderHost::State() {
  std::istringstream dump(Dump());
  std::string text;
  for (std::string line; std::getline(dump, line);) {
    text += line.substr(0, line.find(" router-id ")) + "\n";
  }
  for (const auto& vlan : Manager().GetVlans()) {
    text += "vlan " + std::to_string(vlan.first) + "\n";
  }
  for (const intent::ResolvedRoute& route : *m_reloader.GetApplier().GetRoutes().GetRoutes()) {
    text += RouteLine(route);
  }
  for (const auto& [to, sources] : m_reloader.GetApplier().GetRedistribution().GetAsked()) {
    text += "requested rules " + std::to_string(to.vlan) + (to.ip6 ? " IPv6 " : " IPv4 ") +
            std::to_string(to.code) + " from " + std::to_string(sources) + "\n";
  }
  for (const std::string& assertion : m_traces.Assertions())
    text += "assertion " + assertion + "\n";
  return text;
}

}  // namespace convergence
