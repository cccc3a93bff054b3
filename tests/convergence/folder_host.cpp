#include "tests/convergence/folder_host.h"

#include <arpa/inet.h>
#include <uv.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "device/documents/members.h"
#include "device/stack/upkeep.h"
#include "tests/support/reported_lines.h"

namespace convergence {

namespace {

// The scheduler's period is ten milliseconds with this.
constexpr unsigned int TICK_MICROSECONDS = 100;
constexpr std::uint64_t PATIENCE_NANOSECONDS = 50000000000;

constexpr std::uint64_t LONG_TURN_MILLISECONDS = 10;
constexpr std::uint64_t DONE_MILLISECONDS = 3000;
// Twice the longest time between two repeats, and the first comparison.
constexpr std::uint64_t MOST_MILLISECONDS = 180000;

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
      m_port(stack, [this] { return loop.Now() / 1000; }),
      m_protocolRows(m_port),
      m_reloader(m_loop.Get(), {directory, {documents::DeclaredProtocols(), false}}, m_interfaces,
                 m_port, m_protocolRows,
                 {[this](const std::string& line) {
                    if (!test_support::IsHeadline(line)) m_logged.push_back(line + "\n");
                  },
                  [](const auto&, const auto& work) { work(); }, [](const auto& work) { work(); },
                  [] {}, [] {}},
                 {}, {apply::Guard::OFF}) {
  Tarsel::TimerLoop::SetTickMicroseconds(TICK_MICROSECONDS);
  RecordCalls();
  setenv("UV_THREADPOOL_SIZE", "1", 1);
  uv_sem_init(&m_reached, 0);
}

FolderHost::~FolderHost() { uv_sem_destroy(&m_reached); }

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

// The last line says that a reload is refused; in the log it names who has asked.
bool FolderHost::TakeRefusal(std::vector<std::string>& lines) {
  const bool isThere = !lines.empty() && lines.back().rfind("Refused", 0) == 0;
  if (isThere) lines.pop_back();
  return isThere;
}

FolderHost::Answer FolderHost::Reload() {
  Answer answer;
  m_logged.clear();
  m_reloader.Reload(AskerInto(answer));
  AwaitEnd();
  const bool isRefused = !answer.hasPassed;
  if (TakeRefusal(answer.lines) != isRefused || TakeRefusal(m_logged) != isRefused) {
    Die("a reload that is refused does not say so, or one that is not does");
  }
  if (answer.lines != m_logged) Die("the log tells something else than who has asked is told");
  AwaitSuccessors();
  return answer;
}

apply::Asker FolderHost::AskerInto(Answer& answer) {
  return {[&answer](const std::string& line) {
            if (!test_support::IsHeadline(line)) answer.lines.push_back(line);
          },
          [&answer](bool hasPassed) { answer.hasPassed = hasPassed; }};
}

void FolderHost::TurnWhile(const std::function<bool()>& isGoingOn) {
  const std::uint64_t begin = uv_hrtime();
  while (isGoingOn()) {
    if (uv_hrtime() - begin > PATIENCE_NANOSECONDS) Die("the device does not come to an end");
    Turn();
  }
}

void FolderHost::AskForReload() { m_reloader.Reload(); }

// The pool has one thread, so it has done everything when it comes to a work of the test's own.
void FolderHost::AwaitPool() {
  if (m_loop.Get()->active_reqs.count == m_marks) return;
  auto* const mark = new uv_work_t;
  mark->data = this;
  ++m_marks;
  uv_queue_work(
      m_loop.Get(), mark,
      [](uv_work_t* reached) { uv_sem_post(&static_cast<FolderHost*>(reached->data)->m_reached); },
      [](uv_work_t* ended, int) {
        --static_cast<FolderHost*>(ended->data)->m_marks;
        delete ended;
      });
  uv_sem_wait(&m_reached);
}

void FolderHost::Turn() {
  AwaitPool();
  uv_run(m_loop.Get(), UV_RUN_NOWAIT);
  loop.AdvanceMilliseconds(m_turnMilliseconds);
}

void FolderHost::LetTimePass(std::uint64_t milliseconds) {
  const std::uint64_t end = loop.Now() + milliseconds * 1000;
  while (loop.Now() < end) Turn();
}

bool FolderHost::TurnUntil(const std::function<bool()>& isSo, std::uint64_t limitMilliseconds) {
  const std::uint64_t end = loop.Now() + limitMilliseconds * 1000;
  while (!isSo() && loop.Now() < end) Turn();
  return isSo();
}

void FolderHost::RestartTheStack() { Control().Restart(); }

void FolderHost::EndLostRequests() { stack.GetUpkeep().EndLostRequests(); }

void FolderHost::EndFaults() {
  Control().ClearScripts();
  Control().Release();
  EndLostRequests();
}

bool FolderHost::AwaitDone() {
  const std::uint64_t turn = std::exchange(m_turnMilliseconds, LONG_TURN_MILLISECONDS);
  std::uint64_t done = 0;
  std::uint64_t seen = 0;
  const bool isDone = TurnUntil(
      [&] {
        const std::uint64_t requests = stack.GetFacts().CountRequests();
        done = requests == seen && IsDone() ? done + LONG_TURN_MILLISECONDS : 0;
        seen = requests;
        return done > DONE_MILLISECONDS;
      },
      MOST_MILLISECONDS);
  m_turnMilliseconds = turn;
  return isDone;
}

void FolderHost::ForgetTheLog() {
  TakeCalls();
  m_traces.Take();
  m_logged = {};
}

bool FolderHost::IsDone() const {
  return m_reloader.IsSettled() && m_reloader.GetKnowledge().GetDifferences().Count() == 0 &&
         m_reloader.GetKnowledge().GetRoutes().CountKept() == 0;
}

std::string FolderHost::WhatIsNotDone() const {
  const keepers::Knowledge& known = m_reloader.GetKnowledge();
  std::ostringstream text;
  text << (m_reloader.IsBusy() ? "busy, " : "") << (m_reloader.IsSettled() ? "" : "not settled, ")
       << known.CountOpen() << " open, " << (m_port.IsReady() ? "" : "not ready, ")
       << (m_port.HasUnfinished() ? "unfinished requests" : "") << "\n";
  for (const auto& [row, difference] : known.GetDifferences().GetAll()) {
    text << rows::Describe(row, difference.standing) << ", repeated " << difference.repeats
         << " times" << (difference.isAsked ? ", asked" : "") << "\n";
  }
  return text.str();
}

// A fresh start has no routes that are kept for their successors, so they are waited for.
void FolderHost::AwaitSuccessors() {
  const routes::RouteKeeper& routes = m_reloader.GetKnowledge().GetRoutes();
  const std::uint64_t turn = std::exchange(m_turnMilliseconds, LONG_TURN_MILLISECONDS);
  if (!TurnUntil([&] { return routes.CountKept() == 0 && m_reloader.IsSettled(); },
                 MOST_MILLISECONDS)) {
    Die("old routes are kept for longer than they may");
  }
  m_turnMilliseconds = turn;
}

void FolderHost::AwaitEnd() {
  if (!TurnUntil([this] { return m_reloader.IsSettled(); }, MOST_MILLISECONDS)) {
    Die("the device does not settle");
  }
}

std::string FolderHost::Tables() {
  std::istringstream dump(Dump());
  std::string text;
  for (std::string line; std::getline(dump, line);) {
    text += line.substr(0, line.find(" router-id ")) + "\n";
  }
  for (const auto& vlan : Manager().GetVlans()) {
    text += "vlan " + std::to_string(vlan.first) + "\n";
  }
  for (const std::string& assertion : m_traces.Assertions())
    text += "assertion " + assertion + "\n";
  return text;
}

std::string FolderHost::State() {
  std::string text = Tables();
  for (const intent::ResolvedRoute& route : *m_reloader.GetKnowledge().GetRoutes().GetWanted()) {
    text += RouteLine(route);
  }
  for (const auto& [to, sources] : *m_reloader.GetKnowledge().GetRules().GetWanted()) {
    text += "requested rules " + std::to_string(to.vlan) + (to.ip6 ? " IPv6 " : " IPv4 ") +
            std::to_string(to.code) + " from " + std::to_string(sources) + "\n";
  }
  return text;
}

}  // namespace convergence
