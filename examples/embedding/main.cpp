// A host of the smallest kind: an event loop on poll(2), a console on standard input and at a UNIX
// socket, one configuration document. Start here when the library is to live in a process of yours.
//
//   embedding DOCUMENT SOCKET
#include <json/json.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <list>
#include <map>
#include <vector>

#include "console.h"
#include "device/base/timer_loop.h"
#include "vantacore/config_parser.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/route_config.h"
#include "vantacore/static_routes.h"

namespace {

using Tarsel::DcInterfaceMgr;
using Tarsel::DcRouterMgr;
using Tarsel::Ip4Addr;

// The descriptors of the routing stack, for the event loop to watch.
class Descriptors : public Tarsel::DcSckInterface {
 public:
  void RegisterDescriptor(int fd, int mode, int) override { m_modes[fd] = mode; }
  void RemoveDescriptor(int fd, int) override { m_modes.erase(fd); }
  void ChangeDescriptorMode(int fd, int mode) override {
    if (m_modes.count(fd) != 0) m_modes[fd] = mode;
  }

  void Watch(std::vector<pollfd>& polls) const {
    for (const auto& [fd, mode] : m_modes) {
      const int events = mode == 1 ? POLLIN : mode == 2 ? POLLOUT : mode == 3 ? POLLPRI : 0;
      polls.push_back({fd, static_cast<short>(events), 0});
    }
  }
  static void Report(const pollfd& ready) {
    const int events = ((ready.revents & (POLLIN | POLLERR | POLLHUP)) != 0 ? 1 : 0) |
                       ((ready.revents & POLLOUT) != 0 ? 2 : 0) |
                       ((ready.revents & POLLPRI) != 0 ? 4 : 0);
    if (events != 0) DcRouterMgr::GetInstance()->SocketCallback(ready.fd, events);
  }

 private:
  std::map<int, int> m_modes;
};

// What the protocol routers ask about interfaces; ours are always up.
class Interfaces : public Tarsel::DcIpInterface {
 public:
  bool IsInterfaceUp(unsigned short, unsigned int) const override { return true; }
};

// Reads a document of the management plane.
bool Read(const char* path, Tarsel::Options& document) {
  std::ifstream file(path);
  if (!file) {
    std::perror(path);
    return false;
  }
  Json::Value root;
  std::string problems;
  if (!Json::parseFromStream(Json::CharReaderBuilder(), file, &root, &problems)) {
    std::fprintf(stderr, "%s: %s\n", path, problems.c_str());
    return false;
  }
  document = Tarsel::Options(root);
  return true;
}

// Interface 3 of VLAN 10 comes up with an address. The registry tells the stack; the protocol routers
// are told here, and only those of a VLAN that is there already.
void ReportInterface() {
  DcInterfaceMgr* const registry = DcInterfaceMgr::GetInstance();
  DcRouterMgr* const manager = DcRouterMgr::GetInstance();
  const auto type = static_cast<DcInterfaceMgr::IntfType>(1);
  const unsigned int broadcastAndMulticast = 8 | 16, mtu = 1500, up = 1;
  registry->AddInterface(10, 3, "eth0", type, broadcastAndMulticast, mtu, up);
  manager->ProcessInterfaceStatusChange(10, 3, up);
  registry->AddIpAddress(10, 3, Ip4Addr(10, 1, 2, 3), Ip4Addr(255, 255, 255, 0));
  manager->ProcessIPAddressChange(10, 3, Ip4Addr(10, 1, 2, 3));
  registry->SetPrimaryInterface(10, "eth0");
}

// The static routes of a document: the library reads them, the host adds them. This one remembers
// none, so it withdraws none.
class StaticRoutes : public Tarsel::ConfigParser {
 public:
  int ParseVlanOptions(unsigned short vlan, const Tarsel::OptionsNode& routes) override {
    const long type = 0x30000, used = 1;
    for (auto entry = routes.begin(); entry != routes.end(); ++entry) {
      Tarsel::Ip4RouteConfig route;
      unsigned int ifIndex = 0;
      if (!route.ParseGroup(vlan, *entry)) {
        std::fprintf(stderr, "VLAN %u: route %s has a mistake\n", vlan, entry.GetName().c_str());
      } else if (route.interface.get_length() != 0 &&  // without one the stack chooses
                 !DcInterfaceMgr::GetInstance()->GetIfIndex(route.interface.c_str(), ifIndex)) {
        std::fprintf(stderr, "VLAN %u: route %s: there is no interface \"%s\"\n", vlan,
                     entry.GetName().c_str(), route.interface.c_str());
      } else {
        Tarsel::AddRoute(vlan, route.network, route.netmask, route.gateway, ifIndex, route.metric,
                         type, used);
      }
    }
    return 1;
  }
};

std::uint64_t Microseconds() {
  const auto time = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::microseconds>(time).count());
}

// How long poll may sleep: until a timer expires, or at once when a session has something to do.
int SleepMilliseconds(const Tarsel::VirtualLoop& timers, const std::list<Session>& sessions) {
  std::uint64_t sleep = std::min<std::uint64_t>(timers.MicrosecondsToNext(), 1000000);
  for (const Session& session : sessions) {
    if (session.waitsUntil > timers.Now()) {
      sleep = std::min(sleep, session.waitsUntil - timers.Now());
    } else if (session.IsIdle(timers.Now()) && session.HasLine()) {
      sleep = 0;
    }
  }
  return static_cast<int>((sleep + 999) / 1000);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("Usage: embedding DOCUMENT SOCKET\n", stderr);
    return 2;
  }
  std::signal(SIGPIPE, SIG_IGN);
  std::setvbuf(stdout, nullptr, _IONBF, 0);

  // First the loop on which the timers wait. This one is moved along by the time that has gone by.
  Tarsel::VirtualLoop timers;
  Tarsel::TimerLoop::SetCurrent(&timers);

  // Then the manager, which starts the stack; then documents and events.
  Descriptors descriptors;
  Interfaces interfaces;
  DcRouterMgr* const manager = DcRouterMgr::GetInstance();
  manager->Initialize(10, &interfaces);
  manager->SckInterfaceInitialize(&descriptors);
  Tarsel::Options document;
  if (!Read(argv[1], document)) return 1;
  manager->Reload(document, argv[1], Tarsel::DclConfigObject::VLAN_OPTIONS);
  ReportInterface();
  StaticRoutes().ParseOptions("STATIC_ROUTES", document);
  const int listener = Listen(argv[2]);
  if (listener < 0) return 1;

  std::list<Session> sessions;
  sessions.push_back({STDIN_FILENO, STDOUT_FILENO, {}});
  const Session& operatorSession = sessions.front();
  std::uint64_t then = Microseconds();
  while (!operatorSession.isOver) {
    std::vector<pollfd> polls{{listener, POLLIN, 0}};
    for (const Session& session : sessions) polls.push_back({session.in, POLLIN, 0});
    const std::size_t stacks = polls.size();
    descriptors.Watch(polls);
    poll(polls.data(), polls.size(), SleepMilliseconds(timers, sessions));

    const std::uint64_t now = Microseconds();
    timers.AdvanceMicroseconds(now - then);
    then = now;
    std::for_each(polls.begin() + static_cast<std::ptrdiff_t>(stacks), polls.end(),
                  Descriptors::Report);
    auto ready = polls.begin() + 1;
    for (Session& session : sessions) {
      if (ready++->revents != 0) session.Read();
      session.RunNext(timers.Now());
    }
    if (polls.front().revents != 0) {
      const int fd = accept(listener, nullptr, nullptr);
      if (fd >= 0) sessions.push_back({fd, fd, {}});
    }
    sessions.remove_if([&](const Session& session) {
      if (&session == &operatorSession || !session.isOver || session.running > 0) return false;
      close(session.out);
      return true;
    });
  }
  close(listener);
  unlink(argv[2]);
  return 0;
}
