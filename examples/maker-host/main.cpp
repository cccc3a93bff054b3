// A host of one's own with the rooms of the software device's daemon.
//
//   maker-host FOLDER
//
// It reads and checks a configuration folder and applies it. When everything has been answered that
// tells its answer, it says what the stack does not have. SIGHUP reads the folder again, SIGTERM
// ends it. Of its stack it knows nothing (rows::NoStackPort), so only routes and rules tell their
// answers.
#include <uv.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <string>

#include "device/apply/reloader.h"
#include "device/base/timer_loop.h"
#include "device/documents/members.h"
#include "device/keepers/interfaces.h"
#include "device/loop/loop.h"
#include "device/loop/loop_handles.h"
#include "device/rows/no_protocol_rows.h"
#include "device/rows/no_stack_port.h"
#include "device/rows/verify.h"
#include "device/stack/routing_stack.h"
#include "device/stack/stack_control.h"
#include "vantacore/dc_router_mgr.h"

namespace {

std::uint64_t NowMilliseconds() { return uv_hrtime() / 1000000; }

void Log(const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); }

void Say(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

/// There is one in a process, because the library's managers are never destroyed.
class Host {
 public:
  /// The loop is borrowed. The timers' loop and the stack are current.
  Host(uv_loop_s* loop, const std::string& folder)
      : m_loop(loop),
        m_port(NowMilliseconds),
        m_reloader(loop, {folder, {documents::DeclaredProtocols(), false}}, m_interfaces, m_port,
                   m_protocolRows, Hooks()),
        m_timer(loop),
        m_hangUp(loop, SIGHUP,
                 [this] {
                   m_reloader.Reload({nullptr, SayIfRefused});
                 }),
        m_end(loop, SIGTERM, [this] { uv_stop(m_loop); }) {}

  void Start() {
    m_reloader.Start(
        [this](bool isTaken) {
          SayIfRefused(isTaken);
          if (isTaken) {
            InitializeLibrary();
          } else {
            uv_stop(m_loop);
          }
        },
        [this] { SayWhenSettled(); });
  }

 private:
  apply::ReloadHooks Hooks() {
    apply::ReloadHooks hooks;
    hooks.log = Log;
    hooks.overheard = [](const auto&, const auto& work) { work(); };
    hooks.library = [](const auto& work) { work(); };
    hooks.over = [this] { SayWhenSettled(); };
    hooks.restarted = [] { Log("the stack has been restarted"); };
    return hooks;
  }

  // A stack with descriptors needs SckInterfaceInitialize here, too.
  void InitializeLibrary() {
    Tarsel::DcRouterMgr::GetInstance()->Initialize(m_reloader.GetIntent().GetDevice().defaultVlan,
                                                   &m_interfaces);
  }

  static void SayIfRefused(bool isTaken) {
    if (!isTaken) {
      Say("the folder has errors, and nothing of it is applied");
    }
  }

  void SayWhenSettled() {
    constexpr std::uint64_t LOOK_MILLISECONDS = 20;
    constexpr std::size_t MOST_LINES = 100;
    if (!m_reloader.IsSettled()) {
      m_timer.Start(LOOK_MILLISECONDS, [this] { SayWhenSettled(); });
      return;
    }
    const rows::Differences& differences = m_reloader.GetKnowledge().GetDifferences();
    for (const std::string& line : rows::DescribeDifferences(differences, MOST_LINES)) {
      Say(line);
    }
    const bool isAsWanted = differences.Count() == 0;
    if (!isAsWanted) {
      Say(rows::DescribeCount(differences.Count()));
    }
    Say(isAsWanted ? "settled" : "settled, with differences");
  }

  uv_loop_s* const m_loop;
  keepers::Interfaces m_interfaces;
  rows::NoStackPort m_port;
  rows::NoProtocolRows m_protocolRows;
  apply::Reloader m_reloader;
  loop::Timer m_timer;
  loop::Signal m_hangUp;
  loop::Signal m_end;
};

}  // namespace

int main(int count, char** words) {
  if (count != 2) {
    std::fprintf(stderr, "Usage: %s FOLDER\n", words[0]);
    return 2;
  }
  loop::Loop loop;
  Tarsel::UvLoop timers(loop.Get());
  Tarsel::TimerLoop::SetCurrent(&timers);
  // In the place of a real stack. It has room for two routes, so that there is something to see.
  constexpr unsigned int NO_ROOM = 8;
  routing_stack::RoutingStack stack(NowMilliseconds);
  stack.GetControl().SetLimit(routing_stack::RowType::kRoute, 2, NO_ROOM);
  stack.MakeCurrent();

  Host host(loop.Get(), words[1]);
  host.Start();
  uv_run(loop.Get(), UV_RUN_DEFAULT);
  return 0;
}
