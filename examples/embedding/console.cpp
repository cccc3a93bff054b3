#include "console.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <sstream>
#include <vector>

#include "vantacore/dc_interface_console_command.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/rtm_commands.h"

using Tarsel::DcConsoleCommand;
using Tarsel::DcRouterMgr;

namespace {

// The output of one command. Whoever ends the command deletes it.
class Console : public Tarsel::DcConsole {
 public:
  explicit Console(Session& session) : m_session(session) { ++m_session.running; }
  ~Console() override { --m_session.running; }

  void Print(const char* format, ...) override {
    std::va_list arguments;
    va_start(arguments, format);
    VPrint(format, arguments);
    va_end(arguments);
  }
  void VPrint(const char* format, std::va_list arguments) override {
    vdprintf(m_session.out, format, arguments);
  }
  void PrintError(const char* text) override { Print("%s", text); }
  void CommandEnd() override {}
  unsigned short GetVlan(int, char**) override { return DcRouterMgr::GetInstance()->GetVlanId(); }

 private:
  Session& m_session;
};

void Run(Session& session, std::vector<std::string> words, std::uint64_t now) {
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(&word[0]);
  argv.push_back(nullptr);
  const int argc = static_cast<int>(words.size());

  Console* const console = new Console(session);
  DcConsoleCommand* command = nullptr;
  const auto& handlers = DcRouterMgr::GetInstance()->GetIp4ConCmdHandlers();
  const auto handler = handlers.find(argc > 1 ? argv[1] : "");
  if (words[0] == "ip" && handler != handlers.end()) {
    handler->second.handler(nullptr, console, argc - 1, &argv[1]);
  } else if (words[0] == "rib") {
    command = new Tarsel::RtmRibCommand(console, 0);
  } else if (words[0] == "interface") {
    command = new Tarsel::DcInterfaceConsoleCommand(console, false);
  } else if (words[0] == "wait" && argc == 2) {
    session.waitsUntil = now + 1000 * std::strtoull(argv[1], nullptr, 10);
  } else if (words[0] == "quit") {
    session.isOver = true;
  } else {
    console->Print(
        "Commands: ip bgp|igmp|ospf|protocol|rip ..., rib ..., interface, wait MILLISECONDS, "
        "quit\n");
  }

  // A command that takes its words lives until its walk ends; one that refuses them is ours.
  if (command != nullptr && !command->Parse(argc - 1, &argv[1])) delete command;
  // The console was deleted, or a walk has it, or it is still ours.
  if (session.running > 0 && !DcConsoleCommand::Owns(console)) delete console;
}

// Whether a host that was killed has left this socket: nobody listens at it.
bool IsLeftBehind(const sockaddr_un& address) {
  struct stat status {};
  if (stat(address.sun_path, &status) != 0 || !S_ISSOCK(status.st_mode)) return false;
  const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  const bool refused =
      connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 &&
      errno == ECONNREFUSED;
  close(fd);
  return refused;
}

}  // namespace

int Listen(const char* path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (std::strlen(path) >= sizeof address.sun_path) {
    errno = ENAMETOOLONG;
    std::perror(path);
    return -1;
  }
  std::strcpy(address.sun_path, path);
  if (IsLeftBehind(address)) unlink(path);
  const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || listen(fd, 4) != 0) {
    std::perror(path);
    return -1;
  }
  return fd;
}

void Session::Read() {
  char bytes[512];
  const ssize_t count = read(in, bytes, sizeof bytes);
  if (count > 0) {
    typed.append(bytes, static_cast<std::size_t>(count));
  } else {
    typed += "\nquit\n";
    in = -1;
  }
}

void Session::RunNext(std::uint64_t now) {
  if (isOver || !IsIdle(now) || !HasLine()) return;
  std::istringstream line(typed.substr(0, typed.find('\n')));
  typed.erase(0, typed.find('\n') + 1);
  const std::vector<std::string> words{std::istream_iterator<std::string>(line), {}};
  if (!words.empty()) Run(*this, words, now);
}
