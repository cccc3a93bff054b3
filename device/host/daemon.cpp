// Life of the device.
//
// The library and the stack live on one thread, the event loop's. Everything that the host owns is a
// member of the daemon, in the order in which one part needs another; the library's managers are
// created on first use and stay until the process ends, so they must not be called once the parts go.
//
// Start-up follows the order that the library asks for: the router manager, its initialisation, which
// starts the stack, the descriptors, the interfaces, the documents, the routes, and then the loop.
// Requests that are made before the loop runs wait: the stack answers from its scheduler only.
#include "daemon.h"

#include <unistd.h>
#include <uv.h>

#include <csignal>
#include <stdexcept>

#include "batch_session.h"
#include "device/base/trace_control.h"
#include "device/stack/stack_control.h"
#include "tarsel/trace.h"
#include "terminal_session.h"
#include "vantacore/dc_router_mgr.h"

namespace host {

namespace {

// Shown by default, like the library's own lines about configuration that cannot be used.
void Log(const std::string& line) { Tarsel::TRACE("%s\n", line.c_str()); }

std::uint64_t NowMilliseconds() { return uv_hrtime() / 1000000; }

}  // namespace

Loop::Loop() : m_loop(new uv_loop_s) {
  if (const int problem = uv_loop_init(m_loop.get())) {
    throw std::runtime_error(std::string("the event loop: ") + uv_strerror(problem));
  }
}

Loop::~Loop() {
  // Lets handles close; what the library still holds on to may stay.
  uv_run(m_loop.get(), UV_RUN_NOWAIT);
  uv_loop_close(m_loop.get());
}

Daemon::Daemon(const CommandLine& line)
    : m_line(line),
      m_timers(m_loop.Get()),
      m_stack(NowMilliseconds),
      m_descriptors(m_loop.Get()),
      m_folder(line.configDirectory, Log),
      m_answers(m_loop.Get(), m_stack),
      m_loader(m_folder, m_device, m_answers, Log),
      m_settle(m_loop.Get(), m_stack, [this] { return m_loader.IsBusy(); }),
      m_lab(m_stack.GetControl(), m_device, line.tickMicroseconds, [this] { RestartStack(); }),
      m_dispatcher([this](Report asker) { m_loader.Reload(std::move(asker)); }, m_lab),
      m_reload(m_loop.Get()) {}

Daemon::~Daemon() = default;

int Daemon::Run() {
  if (access((m_line.configDirectory + "/").c_str(), R_OK | X_OK) != 0) {
    std::perror(m_line.configDirectory.c_str());
    return EXIT_FAILED;
  }
  WatchSignals();
  if (!m_line.socketPath.empty()) {
    m_server = OpenSocket();
  }
  StartUp();
  if (m_server) {
    m_server->Start();
  }
  if (!m_line.isDaemon) {
    StartSession();
  }
  uv_run(m_loop.Get(), UV_RUN_DEFAULT);
  m_session.reset();
  m_server.reset();
  return m_status;
}

void Daemon::StartUp() {
  Tarsel::SetTraceLevel(m_line.logLevel);
  Tarsel::TimerLoop::SetTickMicroseconds(m_line.tickMicroseconds);
  Tarsel::TimerLoop::SetCurrent(&m_timers);
  m_stack.MakeCurrent();

  m_folder.Read();
  Tarsel::DcRouterMgr* manager = Tarsel::DcRouterMgr::GetInstance();
  manager->Initialize(m_folder.GetDevice().defaultVlan, &m_device);
  manager->SckInterfaceInitialize(&m_descriptors);
  m_loader.Start();
}

// Before anything that takes its time: a signal that comes meanwhile waits for the loop.
void Daemon::WatchSignals() {
  std::signal(SIGPIPE, SIG_IGN);  // a reader that has gone is an error of that write
  const auto watch = [this](int number, std::function<void()> callback) {
    m_signals.push_back(std::make_unique<LoopSignal>(m_loop.Get(), number, std::move(callback)));
  };
  watch(SIGINT, [this] {
    if (!m_session || !m_session->StopCommand()) {
      Stop(EXIT_DONE);
    }
  });
  watch(SIGTERM, [this] { Stop(EXIT_DONE); });
  if (m_line.isDaemon) {  // however many have come in one turn ask for one reload
    watch(SIGHUP, [this] { m_reload.Post([this] { m_loader.Reload(); }); });
  } else if (isatty(STDIN_FILENO)) {  // whose terminal goes
    watch(SIGHUP, [this] { Stop(EXIT_DONE); });
  }
}

void Daemon::StartSession() {
  const SessionContext context{m_loop.Get(), m_dispatcher, m_settle,
                               [this](int status) { Stop(status); }};
  const unsigned short vlan = m_folder.GetDevice().defaultVlan;
  if (isatty(STDIN_FILENO)) {
    m_session = std::make_unique<TerminalSession>(context, vlan);
  } else {
    m_session = std::make_unique<BatchSession>(context, vlan);
  }
  m_session->Start();
}

std::unique_ptr<ConsoleServer> Daemon::OpenSocket() {
  ConsoleServer::Context context{m_dispatcher,
                                 [this] {
                                   return std::make_unique<Settle>(
                                       m_loop.Get(), m_stack, [this] { return m_loader.IsBusy(); });
                                 },
                                 [this] { return m_folder.GetDevice().defaultVlan; }};
  return std::make_unique<ConsoleServer>(m_loop.Get(), m_line.socketPath, std::move(context));
}

void Daemon::RestartStack() {
  m_stack.GetControl().Restart();
  m_descriptors.Clear();
  m_loader.BringBack();
}

void Daemon::Stop(int status) {
  m_status = status;
  uv_stop(m_loop.Get());
}

}  // namespace host
