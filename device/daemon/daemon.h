// The daemon, put together from its parts.
#ifndef DEVICE_DAEMON_DAEMON_H
#define DEVICE_DAEMON_DAEMON_H

#include <exception>
#include <memory>
#include <vector>

#include "command_line.h"
#include "device/apply/reloader.h"
#include "device/base/timer_loop.h"
#include "device/console/console_server.h"
#include "device/console/dispatcher.h"
#include "device/console/lab.h"
#include "device/console/session.h"
#include "device/keepers/interfaces.h"
#include "device/logging/log_writer.h"
#include "device/loop/loop.h"
#include "device/loop/memory_return.h"
#include "device/loop/settled_wait.h"
#include "device/loop/work.h"
#include "device/machine/kernel_side.h"
#include "device/ports/protocol_rows.h"
#include "device/ports/stack_port.h"
#include "device/ports/stack_tables.h"
#include "device/stack/routing_stack.h"
#include "device/views/device_questions.h"
#include "device/views/feed.h"
#include "folder_watch.h"
#include "metrics_server.h"
#include "pace.h"
#include "service_manager.h"
#include "stack_descriptors.h"
#include "verification.h"
#include "walk_runner.h"
#include "watch_tap.h"

namespace vantacored {

/// One device in one process. A process makes one Daemon, once, because the library's managers are
/// never destroyed.
class Daemon {
 public:
  /// `line` names a configuration folder that can be opened (CanOpenFolder).
  explicit Daemon(const CommandLine& line);
  ~Daemon();

  /// Starts everything up and runs until the operator leaves or a signal comes. Returns the exit
  /// status.
  int Run();

 private:
  apply::ReloadHooks MakeReloadHooks();
  void PrepareLibrary();
  void InitializeLibrary();
  void Serve();
  void WatchSignals();
  void StartSession();
  std::unique_ptr<console::Session> MakeTerminalSession(const console::SessionContext& context,
                                                        unsigned short vlan);
  console::ConsoleServer::Context MakeServed(const console::Dispatcher& dispatcher,
                                             const char* place, const loop::SocketAccess& access);
  std::unique_ptr<console::ConsoleServer> OpenSocket(const std::string& path,
                                                     console::ConsoleServer::Context context);
  console::Answers MakeAnswers();
  std::unique_ptr<MetricsServer> OpenMetrics();
  std::size_t CountSessions() const;
  console::FolderCommands MakeFolderCommands();
  loop::Activity Activity();
  bool IsSettled() const { return m_reloader.IsSettled() && m_kernel.IsSettled(); }
  machine::KernelSide::Hooks MakeKernelHooks();
  FolderWatch::Hooks MakeFolderHooks();
  ServiceManager::State DescribeState() const;
  Traffic GetTraffic() const;
  views::Effect FindEffect(std::size_t mostDifferences) const;
  void TellLongestTurn();
  void TellStart() const;
  void Stop(int status, const char* cause);

  const CommandLine m_line;
  const std::uint64_t m_startedAt;  // in milliseconds
  loop::Loop m_loop;
  logging::LogWriter m_log;  // outlives whatever logs
  Tarsel::UvLoop m_timers;
  routing_stack::RoutingStack m_stack;
  keepers::Interfaces m_interfaces;
  StackDescriptors m_descriptors;
  WalkRunner m_walks;
  ports::SoftwareStackPort m_stackPort;
  ports::ProtocolRows m_protocolRows;
  views::Feed m_feed;
  apply::Reloader m_reloader;
  const ports::StackTables m_tables;
  const views::Host m_host;
  views::DeviceQuestions m_questions;
  WatchTap m_watchTap;
  machine::KernelSide m_kernel;
  Verification m_verification;
  loop::SettledWait m_settled;  // the session's
  Pace m_pace;
  console::Lab m_lab;
  const console::Dispatcher m_dispatcher;
  const console::Dispatcher m_viewDispatcher;
  std::unique_ptr<console::Session> m_session;
  std::unique_ptr<console::ConsoleServer> m_server;
  std::unique_ptr<console::ConsoleServer> m_viewServer;
  std::unique_ptr<MetricsServer> m_metrics;
  std::vector<std::unique_ptr<loop::Signal>> m_signals;
  FolderWatch m_folderWatch;
  loop::Task m_reload;
  loop::Task m_afterReload;
  loop::MemoryReturn m_memory;
  loop::Work m_givingBack;
  ServiceManager m_serviceManager;
  int m_status = program::EXIT_DONE;
  const char* m_cause = "";      // why it stops
  std::exception_ptr m_problem;  // that ended the start
};

}  // namespace vantacored

#endif
