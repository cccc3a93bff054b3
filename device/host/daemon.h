// Everything of the daemon, put together.
#ifndef DEVICE_HOST_DAEMON_H
#define DEVICE_HOST_DAEMON_H

#include <memory>
#include <vector>

#include "command_line.h"
#include "config_folder.h"
#include "console_server.h"
#include "descriptors.h"
#include "device/base/timer_loop.h"
#include "device/stack/routing_stack.h"
#include "device_state.h"
#include "dispatcher.h"
#include "lab.h"
#include "loader.h"
#include "session.h"
#include "settle.h"

namespace host {

/// The event loop, with whatever is still closing when the daemon goes.
class Loop {
 public:
  Loop();
  Loop(const Loop&) = delete;
  Loop& operator=(const Loop&) = delete;
  ~Loop();
  uv_loop_s* Get() const { return m_loop.get(); }

 private:
  std::unique_ptr<uv_loop_s> m_loop;
};

/// One device in one process: there is one daemon, and it is made once, since the library's managers
/// are never destroyed.
class Daemon {
 public:
  explicit Daemon(const CommandLine& line);
  ~Daemon();

  /// Starts everything up and runs until the operator leaves or a signal comes. The exit status.
  int Run();

 private:
  void StartUp();
  void WatchSignals();
  void StartSession();
  std::unique_ptr<ConsoleServer> OpenSocket();
  void RestartStack();
  void Stop(int status);

  const CommandLine m_line;
  Loop m_loop;
  Tarsel::UvLoop m_timers;
  routing_stack::RoutingStack m_stack;
  DeviceState m_device;
  Descriptors m_descriptors;
  ConfigFolder m_folder;
  Settle m_answers;  // the loader's
  Loader m_loader;
  Settle m_settle;  // the session's
  Lab m_lab;
  Dispatcher m_dispatcher;
  std::unique_ptr<Session> m_session;
  std::unique_ptr<ConsoleServer> m_server;
  std::vector<std::unique_ptr<LoopSignal>> m_signals;
  LoopTask m_reload;
  int m_status = EXIT_DONE;
};

}  // namespace host

#endif
