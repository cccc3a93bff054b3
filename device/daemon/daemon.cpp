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

#include <sys/stat.h>
#include <unistd.h>
#include <uv.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <utility>

#include "device/base/trace_control.h"
#include "device/console/batch_session.h"
#include "device/console/terminal_session.h"
#include "device/documents/members.h"
#include "device/logging/asker_log.h"
#include "device/logging/log_components.h"
#include "device/loop/disposal.h"
#include "device/program/counted.h"
#include "device/rows/verify.h"
#include "device/stack/facts.h"
#include "device/views/moments.h"
#include "device/views/status_view.h"
#include "hang_up.h"
#include "passed_sockets.h"
#include "state_place.h"
#include "tarsel/trace.h"
#include "vantacore/dc_router_mgr.h"

namespace vantacored {

using program::Counted;

namespace {

// Shown by default, like the library's own lines about configuration that cannot be used.
void Log(const std::string& line) { logging::LogAs(logging::Severity::NOTICE, line); }

void Complain(documents::Severity severity, const std::string& line) {
  logging::LogAs(severity == documents::Severity::ERROR ? logging::Severity::ERROR
                                                        : logging::Severity::WARNING,
                 line);
}

std::int64_t WallMilliseconds() {
  using std::chrono::milliseconds;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<milliseconds>(now).count();
}

std::uint64_t NowMilliseconds() { return uv_hrtime() / 1000000; }

bool AreSameTerminal(int one, int other) {
  struct stat first {};
  struct stat second {};
  return isatty(one) && isatty(other) && fstat(one, &first) == 0 && fstat(other, &second) == 0 &&
         first.st_rdev == second.st_rdev;
}

}  // namespace

Daemon::Daemon(const CommandLine& line)
    : m_line(line),
      m_startedAt(NowMilliseconds()),
      m_log(m_loop.Get(), STDERR_FILENO,
            logging::LogFormat(line.logFormat.value_or(
                logging::FindLogKind(STDERR_FILENO, std::getenv("JOURNAL_STREAM"))))),
      m_timers(m_loop.Get()),
      m_stack(NowMilliseconds),
      m_descriptors(m_loop.Get()),
      m_walks(m_loop.Get(), m_stack,
              [] { Tarsel::DcRouterMgr::GetInstance()->GetScheduler().SchedNBase(); }),
      m_stackPort(m_stack, NowMilliseconds),
      m_protocolRows(m_stackPort),
      m_feed(m_loop.Get(), WallMilliseconds),
      m_reloader(m_loop.Get(),
                 {line.configDirectory, {documents::DeclaredProtocols(), line.isPartial}},
                 m_interfaces, m_stackPort, m_protocolRows, MakeReloadHooks(), OpenHistory(line),
                 {line.guardPercent, line.isFresh, line.keepOldSeconds}),
      m_tables(m_stack.GetFacts()),
      m_host{m_loop,
             std::time(nullptr),
             console::ConsoleServer::PROTOCOL_VERSION,
             [this] { return CountSessions(); },
             [this] { return m_log.CountLost(); },
             [this] { return m_kernel.Describe(); },
             [this] { return m_kernel.DescribeLinks(); },
             [this](auto vlan, const auto& prefix) { return m_kernel.FindRefusal(vlan, prefix); },
             [this](auto most) { return m_kernel.ListRefusals(most); },
             [this](const auto& prefix) { return m_kernel.Retry(prefix); },
             [this] { return m_kernel.MakeObstacleCheck(); }},
      m_questions({m_reloader, m_interfaces, m_stackPort, m_tables, m_host, m_feed}),
      m_watchTap(m_feed, m_stackPort, m_interfaces, m_reloader),
      m_kernel(m_loop.Get(), m_interfaces, m_stackPort, m_stack.GetFacts(), line.sweepAfterSeconds,
               MakeKernelHooks()),
      m_verification(m_loop.Get(),
                     {m_reloader, m_interfaces, m_stackPort, m_tables, m_host, m_feed}, m_kernel),
      m_settled(m_loop.Get(), Activity()),
      m_pace([this] { return GetTraffic(); }, NowMilliseconds, line.tickMicroseconds),
      m_lab(m_stack.GetControl(), m_interfaces, [this](auto tick) { m_pace.Fix(tick); }),
      m_dispatcher(MakeFolderCommands(), line.hasLab ? &m_lab : nullptr, MakeAnswers()),
      m_viewDispatcher(MakeFolderCommands(), line.hasLab ? &m_lab : nullptr, MakeAnswers(),
                       console::Scope::VIEWS),
      m_folderWatch(m_loop.Get(), line.configDirectory, MakeFolderHooks()),
      m_reload(m_loop.Get()),
      m_afterReload(m_loop.Get()),
      m_memory(m_loop.Get(), Activity(),
               [this] { m_givingBack.Start(loop::GiveBackFreeMemory, [](const auto&) {}); }),
      m_givingBack(m_loop.Get()),
      m_serviceManager(m_loop.Get(), ReadServiceEnvironment(),
                       {[this] { return DescribeState(); }, NowMilliseconds}) {}

Daemon::~Daemon() = default;

// The parts that the hooks use are there when the first of them is called.
apply::ReloadHooks Daemon::MakeReloadHooks() {
  apply::ReloadHooks hooks;
  hooks.log = [this](const std::string& line) {
    Log(line);
    m_watchTap.HearLine(line);
  };
  hooks.overheard = logging::HearWhile;
  hooks.library = [this](const std::function<void()>& work) { m_loop.Apart(work); };
  hooks.begins = [this] { m_serviceManager.ReloadBegins(); };
  hooks.over = [this] {
    m_kernel.Apply(m_reloader.GetIntent().GetDevice());
    m_serviceManager.ReloadIsOver();
    m_memory.Expect();
    m_afterReload.Post([this] { TellLongestTurn(); });
  };
  hooks.restarted = [this] { m_descriptors.Clear(); };
  hooks.requestsASecond = [this] { return m_pace.RequestsASecond(); };
  hooks.complain = [this](documents::Severity severity, const std::string& line) {
    Complain(severity, line);
    m_watchTap.HearLine(line);
  };
  return hooks;
}

int Daemon::Run() {
  WatchSignals();
  const int passed = TakePassedConsole();
  if (passed >= 0) {
    m_server = std::make_unique<console::ConsoleServer>(m_loop.Get(), passed,
                                                        MakeServed(m_dispatcher, "the socket", {}),
                                                        console::ConsoleServer::Limits{});
  } else if (!m_line.socketPath.empty()) {
    m_server =
        OpenSocket(m_line.socketPath, MakeServed(m_dispatcher, "the socket", m_line.socketAccess));
  }
  if (!m_line.viewSocketPath.empty()) {
    m_viewServer = OpenSocket(m_line.viewSocketPath, MakeServed(m_viewDispatcher, "the view socket",
                                                                m_line.viewSocketAccess));
  }
  if (!m_line.metricsPath.empty()) {
    m_metrics = OpenMetrics();
  }
  PrepareLibrary();
  if (m_line.reloadsOnChange) {
    m_folderWatch.Start();
  }
  m_reloader.Start(
      [this](bool isTaken) {
        if (isTaken) {
          InitializeLibrary();
        } else {
          Stop(program::EXIT_FAILED, "nothing that could be applied");
        }
      },
      [this] { Serve(); });
  uv_run(m_loop.Get(), UV_RUN_DEFAULT);
  m_log.ShareTerminal(nullptr);
  m_session.reset();
  m_server.reset();
  m_viewServer.reset();
  if (m_line.flushesOnExit) {
    m_kernel.Flush();
  }
  Tarsel::TRACE("Stopped after %s: %s\n",
                views::DescribeSpan((NowMilliseconds() - m_startedAt) / 1000).c_str(), m_cause);
  m_metrics.reset();
  if (m_problem) {
    std::rethrow_exception(m_problem);
  }
  return m_status;
}

void Daemon::PrepareLibrary() {
  Tarsel::SetTraceLevel(m_line.logLevel);
  Tarsel::TimerLoop::SetCurrent(&m_timers);
  m_loop.AtTurnEnd([this] {
    m_pace.Look();
    m_watchTap.Look();
    m_kernel.Look();
    m_serviceManager.Look();
    m_folderWatch.Look();
  });
  m_stack.MakeCurrent();
}

void Daemon::InitializeLibrary() {
  m_kernel.Start(m_reloader.GetIntent().GetDevice());
  Tarsel::DcRouterMgr* manager = Tarsel::DcRouterMgr::GetInstance();
  manager->Initialize(m_reloader.GetIntent().GetDevice().defaultVlan, &m_interfaces);
  manager->SckInterfaceInitialize(&m_descriptors);
}

// A device that nobody can reach does not go on.
void Daemon::Serve() {
  m_memory.Expect();
  TellStart();
  m_kernel.Started(m_reloader.GetIntent().GetDevice());
  m_folderWatch.Begin();
  try {
    if (m_viewServer) {
      m_viewServer->Start();
    }
    if (m_server) {
      m_server->Start([this] { m_serviceManager.Started(); });
    }
    if (m_metrics) {
      m_metrics->Start();
    }
    if (!m_line.isDaemon) {
      StartSession();
    }
    if (!m_server) {
      m_serviceManager.Started();
    }
  } catch (const std::exception&) {
    m_problem = std::current_exception();
    Stop(program::EXIT_FAILED, "nobody could reach the device");
  }
}

// Which configuration it is, and what became of it, the lines before have told.
void Daemon::TellStart() const {
  const auto& revision = m_reloader.GetInForce();
  const std::string totals =
      Counted(Tarsel::DcRouterMgr::GetInstance()->GetVlans().size(), "VLAN", "VLANs") + ", " +
      Counted(m_interfaces.Get().size(), "interface", "interfaces") + ", " +
      Counted(m_reloader.GetKnowledge().GetRoutes().CountWanted(), "route", "routes");
  Tarsel::TRACE("Started: vantacored %s with %s, %s: %s\n", program::GetVersion(),
                m_line.configDirectory.c_str(),
                revision ? ("revision " + std::to_string(revision->number)).c_str() : "no revision",
                totals.c_str());
}

// Before anything that takes its time: a signal that comes meanwhile waits for the loop.
void Daemon::WatchSignals() {
  std::signal(SIGPIPE, SIG_IGN);  // a reader that has gone is an error of that write
  const auto watch = [this](int number, std::function<void()> callback) {
    m_signals.push_back(std::make_unique<loop::Signal>(m_loop.Get(), number, std::move(callback)));
  };
  watch(SIGINT, [this] {
    if (!m_session || !m_session->StopCommand()) {
      Stop(program::EXIT_DONE, "SIGINT");
    }
  });
  watch(SIGTERM, [this] { Stop(program::EXIT_DONE, "SIGTERM"); });
  if (m_line.isDaemon) {  // however many have come in one turn ask for one reload
    watch(SIGHUP, [this] {
      m_reload.Post([this] { m_reloader.Reload({{}, {}, "SIGHUP"}, {false, 0, true}); });
    });
  } else if (isatty(STDIN_FILENO)) {  // whose terminal goes
    watch(SIGHUP, [this] { Stop(program::EXIT_DONE, "SIGHUP"); });
  }
  AdmitHangUp();
}

void Daemon::StartSession() {
  const console::SessionContext context{
      m_loop.Get(),
      m_dispatcher,
      m_settled,
      m_walks,
      [this](std::size_t most) { return FindEffect(most); },
      [this](int status) {
        Stop(status, m_session->HasQuit() ? "quit" : "the end of its console");
      }};
  const unsigned short vlan = m_reloader.GetIntent().GetDevice().defaultVlan;
  if (isatty(STDIN_FILENO)) {
    m_session = MakeTerminalSession(context, vlan);
  } else {
    m_session = std::make_unique<console::BatchSession>(context, vlan);
  }
  m_session->Start();
}

std::unique_ptr<console::Session> Daemon::MakeTerminalSession(
    const console::SessionContext& context, unsigned short vlan) {
  auto session = std::make_unique<console::TerminalSession>(context, vlan);
  if (AreSameTerminal(STDIN_FILENO, STDERR_FILENO)) {
    m_log.ShareTerminal([terminal = session.get()] { return terminal->MakeWay(); });
  }
  return session;
}

console::ConsoleServer::Context Daemon::MakeServed(const console::Dispatcher& dispatcher,
                                                   const char* place,
                                                   const loop::SocketAccess& access) {
  return {dispatcher,
          [this] { return std::make_unique<loop::SettledWait>(m_loop.Get(), Activity()); },
          [this] { return m_reloader.GetIntent().GetDevice().defaultVlan; },
          m_walks,
          [this](std::size_t most) { return FindEffect(most); },
          place,
          access};
}

std::unique_ptr<console::ConsoleServer> Daemon::OpenSocket(
    const std::string& path, console::ConsoleServer::Context context) {
  return std::make_unique<console::ConsoleServer>(m_loop.Get(), path, std::move(context),
                                                  console::ConsoleServer::Limits{});
}

std::unique_ptr<MetricsServer> Daemon::OpenMetrics() {
  return std::make_unique<MetricsServer>(
      m_loop.Get(), m_line.metricsPath,
      [this] {
        std::string text;
        const views::AnyView view = m_questions.Metrics();
        while (view->Next(text) == views::View::Rest::MORE) {
        }
        return text;
      },
      MetricsServer::Limits{});
}

std::size_t Daemon::CountSessions() const {
  return (m_session ? 1 : 0) + (m_server ? m_server->CountSessions() : 0) +
         (m_viewServer ? m_viewServer->CountSessions() : 0);
}

console::Answers Daemon::MakeAnswers() {
  return {&m_questions, [](unsigned int level, const std::string& component) {
            return logging::SetLogLevel(level, component);
          }};
}

console::FolderCommands Daemon::MakeFolderCommands() {
  using apply::Asker;
  return {[this](Asker asker, const apply::ReloadRequest& request) {
            m_reloader.Reload(std::move(asker), request);
          },
          [this](Asker asker, bool isStrict) { m_reloader.Check(std::move(asker), isStrict); },
          [this](rows::Scope scope, std::size_t mostLines, auto done) {
            m_verification.Verify(scope, mostLines, std::move(done));
          },
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
  return {[this] { return !IsSettled(); },
          [this] {
            const apply::Progress progress = m_reloader.GetProgress();
            return loop::Progress{progress.done, progress.done + progress.open};
          }};
}

machine::KernelSide::Hooks Daemon::MakeKernelHooks() {
  return {Log,
          [this](const std::string& problem) {
            Complain(documents::Severity::WARNING, problem);
            m_watchTap.HearLine(problem);
          },
          [this] { m_reloader.InterfacesChanged(); },
          [this] { return m_reloader.IsSettled() && !m_stack.GetFacts().HasWork(); },
          NowMilliseconds};
}

FolderWatch::Hooks Daemon::MakeFolderHooks() {
  return {
      [this](std::function<void(bool)> end) {
        m_reloader.Reload({{}, std::move(end), "a change of the folder"}, {false, 0, false, true});
      },
      [this] { return m_reloader.GetTrial().has_value(); },
      [this] { return m_reloader.MakeFolderCheck(); },
      [this] { return m_reloader.GetHistory().GetUndone(); },
      [this] { return m_reloader.GetHistory().GetApplied(); },
      [this](const std::string& line) { Complain(documents::Severity::WARNING, line); }};
}

// What an operator sees who asks the service manager.
ServiceManager::State Daemon::DescribeState() const {
  ServiceManager::State state;
  const auto add = [&text = state.text](const std::string& part) {
    text += (text.empty() ? "" : "; ") + part;
  };
  if (!m_reloader.IsSettled()) {
    for (const std::string& reason : views::DescribeUnsettled(m_reloader.FindUnsettled())) {
      add(reason);
    }
  } else if (const char* const reason = m_kernel.FindUnsettled()) {
    add(reason);
  } else {
    add("settled");
    state.isCalm = true;
  }
  if (const std::size_t count = m_reloader.GetKnowledge().GetDifferences().Count()) {
    add(Counted(count, "row differs", "rows differ"));
  }
  if (const auto& trial = m_reloader.GetTrial()) {
    add("revision " + std::to_string(trial->revision) + " is to be confirmed in " +
        std::to_string(m_reloader.CountSecondsOfTrial()) + " s");
    state.isCalm = false;
  }
  return state;
}

views::Effect Daemon::FindEffect(std::size_t mostDifferences) const {
  const keepers::Knowledge& knowledge = m_reloader.GetKnowledge();
  const rows::Differences& differences = knowledge.GetDifferences();
  return {true, rows::DescribeDifferences(differences, mostDifferences), differences.Count(),
          knowledge.GetRoutes().CountKept(), knowledge.GetRoutes().CountSecondsOfKept()};
}

Traffic Daemon::GetTraffic() const {
  const routes::RouteKeeper& routes = m_reloader.GetKnowledge().GetRoutes();
  const routes::RuleKeeper& rules = m_reloader.GetKnowledge().GetRules();
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

void Daemon::Stop(int status, const char* cause) {
  m_status = status;
  m_cause = cause;
  m_serviceManager.Stops();
  uv_stop(m_loop.Get());
}

}  // namespace vantacored
