// Life of the device.
//
// The library and the stack live on one thread, the event loop's. Everything that the host owns is
// a member of the daemon, in the order in which one part needs another; the library's managers are
// created on first use and stay until the process ends, so they must not be called once the parts
// go.
//
// Start-up follows the order that the library asks for: the router manager, its initialisation,
// which starts the stack, the descriptors, the interfaces, the documents, the routes. It runs in
// the loop: the initialisation needs what the configuration folder says, and reading that takes its
// time. Sessions begin when everything has been requested.
#include "daemon.h"

#include <unistd.h>
#include <uv.h>

#include <csignal>
#include <utility>

#include "asker_log.h"
#include "device/apply/verify.h"
#include "device/base/trace_control.h"
#include "device/console/batch_session.h"
#include "device/console/terminal_session.h"
#include "device/documents/members.h"
#include "device/loop/disposal.h"
#include "device/stack/facts.h"
#include "hang_up.h"
#include "state_place.h"
#include "tarsel/trace.h"
#include "vantacore/dc_router_mgr.h"

namespace vantacored {

namespace {

// Shown by default, like the library's own lines about configuration that cannot be used.
void Log(const std::string& line) { Tarsel::TRACE("%s\n", line.c_str()); }

// Lines about what is not as wanted; the others are counted.
constexpr std::size_t MOST_FAILS = 1000;

std::uint64_t NowMilliseconds() { return uv_hrtime() / 1000000; }

}  // namespace

Daemon::Daemon(const CommandLine& line)
    : m_line(line),
      m_log(m_loop.Get(), STDERR_FILENO),
      m_timers(m_loop.Get()),
      m_stack(NowMilliseconds),
      m_descriptors(m_loop.Get()),
      m_walks(m_loop.Get(), m_stack,
              [] { Tarsel::DcRouterMgr::GetInstance()->GetScheduler().SchedNBase(); }),
      m_stackPort(m_stack, NowMilliseconds),
      m_protocolRows(m_stackPort),
      m_reloader(m_loop.Get(),
                 {line.configDirectory, {documents::DeclaredProtocols(), line.isPartial}},
                 m_interfaces, m_stackPort, m_protocolRows,
                 {Log, HearWhile, [this](const std::function<void()>& work) { m_loop.Apart(work); },
                  [this] {
                    m_memory.Expect();
                    m_afterReload.Post([this] { TellLongestTurn(); });
                  },
                  [this] { m_descriptors.Clear(); }, [this] { return m_pace.RequestsASecond(); }},
                 OpenHistory(line), {line.guardPercent, line.isFresh, line.keepOldSeconds}),
      m_settled(m_loop.Get(), Activity()),
      m_pace([this] { return GetTraffic(); }, NowMilliseconds, line.tickMicroseconds),
      m_lab(m_stack.GetControl(), m_interfaces, [this](auto tick) { m_pace.Fix(tick); }),
      m_dispatcher(MakeFolderCommands(), m_lab),
      m_reload(m_loop.Get()),
      m_afterReload(m_loop.Get()),
      m_memory(m_loop.Get(), Activity(),
               [this] { m_givingBack.Start(loop::GiveBackFreeMemory, [](const auto&) {}); }),
      m_givingBack(m_loop.Get()) {}

Daemon::~Daemon() = default;

int Daemon::Run() {
  WatchSignals();
  if (!m_line.socketPath.empty()) {
    m_server = OpenSocket();
  }
  PrepareLibrary();
  m_reloader.Start(
      [this](bool isTaken) {
        if (isTaken) {
          InitializeLibrary();
        } else {
          Stop(program::EXIT_FAILED);
        }
      },
      [this] { Serve(); });
  uv_run(m_loop.Get(), UV_RUN_DEFAULT);
  m_session.reset();
  m_server.reset();
  if (m_problem) {
    std::rethrow_exception(m_problem);
  }
  return m_status;
}

void Daemon::PrepareLibrary() {
  Tarsel::SetTraceLevel(m_line.logLevel);
  Tarsel::TimerLoop::SetCurrent(&m_timers);
  m_loop.AtTurnEnd([this] { m_pace.Look(); });
  m_stack.MakeCurrent();
}

void Daemon::InitializeLibrary() {
  Tarsel::DcRouterMgr* manager = Tarsel::DcRouterMgr::GetInstance();
  manager->Initialize(m_reloader.GetIntent().GetDevice().defaultVlan, &m_interfaces);
  manager->SckInterfaceInitialize(&m_descriptors);
}

// A device that nobody can reach does not go on.
void Daemon::Serve() {
  m_memory.Expect();
  try {
    if (m_server) {
      m_server->Start();
    }
    if (!m_line.isDaemon) {
      StartSession();
    }
  } catch (const std::exception&) {
    m_problem = std::current_exception();
    Stop(program::EXIT_FAILED);
  }
}

// Before anything that takes its time: a signal that comes meanwhile waits for the loop.
void Daemon::WatchSignals() {
  std::signal(SIGPIPE, SIG_IGN);  // a reader that has gone is an error of that write
  const auto watch = [this](int number, std::function<void()> callback) {
    m_signals.push_back(std::make_unique<loop::Signal>(m_loop.Get(), number, std::move(callback)));
  };
  watch(SIGINT, [this] {
    if (!m_session || !m_session->StopCommand()) {
      Stop(program::EXIT_DONE);
    }
  });
  watch(SIGTERM, [this] { Stop(program::EXIT_DONE); });
  if (m_line.isDaemon) {  // however many have come in one turn ask for one reload
    watch(SIGHUP, [this] {
      m_reload.Post([this] { m_reloader.Reload({{}, {}, "SIGHUP"}, {false, 0, true}); });
    });
  } else if (isatty(STDIN_FILENO)) {  // whose terminal goes
    watch(SIGHUP, [this] { Stop(program::EXIT_DONE); });
  }
  AdmitHangUp();
}

void Daemon::StartSession() {
  const console::SessionContext context{m_loop.Get(),
                                        m_dispatcher,
                                        m_settled,
                                        m_walks,
                                        [this](std::size_t most) { return FindDifferences(most); },
                                        [this](int status) { Stop(status); }};
  const unsigned short vlan = m_reloader.GetIntent().GetDevice().defaultVlan;
  if (isatty(STDIN_FILENO)) {
    m_session = std::make_unique<console::TerminalSession>(context, vlan);
  } else {
    m_session = std::make_unique<console::BatchSession>(context, vlan);
  }
  m_session->Start();
}

std::unique_ptr<console::ConsoleServer> Daemon::OpenSocket() {
  console::ConsoleServer::Context context{
      m_dispatcher,
      [this] { return std::make_unique<loop::SettledWait>(m_loop.Get(), Activity()); },
      [this] { return m_reloader.GetIntent().GetDevice().defaultVlan; }, m_walks,
      [this](std::size_t most) { return FindDifferences(most); }};
  return std::make_unique<console::ConsoleServer>(
      m_loop.Get(), m_line.socketPath, std::move(context), console::ConsoleServer::Limits{});
}

console::FolderCommands Daemon::MakeFolderCommands() {
  using apply::Asker;
  return {[this](Asker asker, const apply::ReloadRequest& request) {
            m_reloader.Reload(std::move(asker), request);
          },
          [this](Asker asker, bool isStrict) { m_reloader.Check(std::move(asker), isStrict); },
          [this](const Asker& asker) { Verify(asker); },
          [this](Asker asker, std::optional<unsigned int> revision) {
            m_reloader.Diff(std::move(asker), revision);
          },
          [this](Asker asker, unsigned int revision) {
            m_reloader.Confirm(std::move(asker), revision);
          },
          [this](Asker asker, unsigned int back) { m_reloader.Undo(std::move(asker), back); },
          [this](Asker asker) { m_reloader.ListRevisions(std::move(asker)); },
          [this](Asker asker, unsigned int revision) {
            m_reloader.ShowRevision(std::move(asker), revision);
          }};
}

loop::Activity Daemon::Activity() {
  return {[this] { return !m_reloader.IsSettled(); },
          [this] {
            const apply::Progress progress = m_reloader.GetProgress();
            return loop::Progress{progress.done, progress.done + progress.open};
          }};
}

std::vector<std::string> Daemon::FindDifferences(std::size_t most) const {
  return apply::DescribeDifferences(m_reloader.GetKnowledge().GetDifferences(), most);
}

void Daemon::Verify(const apply::Asker& asker) {
  m_reloader.Verify(MOST_FAILS, [asker](const std::vector<apply::Verdict>& verdicts) {
    for (const std::string& line : apply::DescribeVerdicts(verdicts, MOST_FAILS)) {
      asker.report(line + "\n");
    }
    asker.end(apply::HavePassed(verdicts));
  });
}

Traffic Daemon::GetTraffic() const {
  const apply::RouteKeeper& routes = m_reloader.GetKnowledge().GetRoutes();
  const apply::RuleKeeper& rules = m_reloader.GetKnowledge().GetRules();
  return {routes.CountUnderWay() + rules.CountUnderWay(),
          routes.CountRetried() + rules.CountRetried(),
          routes.CountConcluded() + rules.CountConcluded(),
          m_reloader.GetKnowledge().GetDifferences().Count()};
}

// From the loop's next turn on, so that the reload's own turn counts.
void Daemon::TellLongestTurn() {
  Tarsel::TRACE(5, "The longest turn of the event loop took %llu us of processor time\n",
                static_cast<unsigned long long>(m_loop.TakeLongestTurn()));
  Tarsel::TRACE(5, "Beside its turns, one document took the library %llu us of processor time\n",
                static_cast<unsigned long long>(m_loop.TakeLongestApart()));
}

void Daemon::Stop(int status) {
  m_status = status;
  uv_stop(m_loop.Get());
}

}  // namespace vantacored
