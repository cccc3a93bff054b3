#include "console.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
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

}  // namespace

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
