// Ownership of consoles. A handler of the library may delete the console, leave it to a command that
// goes on walking the stack's tables, or leave it to its caller, and it returns nothing. So every
// command gets a console of its own: a deleted one has said so, one that a live command owns is the
// command's, and any other is deleted here.
#include "dispatcher.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <utility>

#include "device/program/printable.h"
#include "host_console.h"
#include "vantacore/config_parser.h"
#include "vantacore/dc_console_command.h"
#include "vantacore/dc_interface_console_command.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/rtm_commands.h"

namespace console {

using program::Quote;
using Tarsel::DcConsole;
using Tarsel::DcConsoleCommand;
using Tarsel::DcRouterMgr;

/// A line that is being carried out.
struct Dispatcher::Call {
  Words words;
  std::size_t at;  // the word whose turn it is
  const std::shared_ptr<RunningCommand>& command;
  Reply reply;
  bool hasConsole = false;  // which will end the command

  const std::string& Current() const { return words[at]; }
  std::size_t CountAfter() const { return words.size() - at - 1; }
  const std::string& Next() const { return words[at + 1]; }
  void Write(const std::string& text) const { command->Write(text); }
  Words Until(std::size_t end) const { return {words.begin(), words.begin() + end}; }
};

struct Dispatcher::Word {
  const char* name;
  void (Dispatcher::*handler)(Call& call) const;
  const char* usage;  // null: another name of a word in the list
  const char* description;
  bool isShown;  // `show` may precede it
};

const Dispatcher::Word Dispatcher::WORDS[] = {
    {"ip", &Dispatcher::Ip, "ip [<word> ...]", "IPv4 commands; alone, lists them", true},
    {"ip6", &Dispatcher::Ip, "ip6 [<word> ...]", "IPv6 commands; alone, lists them", true},
    {"rtm", &Dispatcher::Rtm, "rtm route|rib [ipv6] [<option> ...]",
     "Installed routes, or all candidates", true},
    {"interface", &Dispatcher::Interface, "interface [vrf <vid>]",
     "Interfaces with their IPv4 addresses", true},
    {"interface6", &Dispatcher::Interface, "interface6 [vrf <vid>]",
     "Interfaces with their IPv6 addresses", true},
    {"show", &Dispatcher::Show, "show <command>", "The same as the command alone", false},
    {"vrf", &Dispatcher::Vrf, "vrf <vid>", "Choose the VLAN that commands are about", false},
    {"reload", &Dispatcher::Reload, "reload", "Read the configuration folder again", false},
    {"lab", &Dispatcher::Lab, "lab [<word> ...]",
     "Make things happen to the device; alone, lists how", false},
    {"help", &Dispatcher::Help, "help", "This list; ? does the same", false},
    {"?", &Dispatcher::Help, nullptr, nullptr, false},
    {"quit", &Dispatcher::Quit, "quit", "Leave; exit does the same", false},
    {"exit", &Dispatcher::Quit, nullptr, nullptr, false},
};

namespace {

// What the handlers behind these words understand. They check it themselves; this is for completion
// and for saying what would be possible.
struct Followers {
  const char* before;
  Words words;
};

const Followers FOLLOWERS[] = {
    {"ip protocol", {"database", "mcast-database", "summary", "pending-actions", "ips"}},
    {"ip protocol database", {"vrf", "dest", "proto", "detail"}},
    {"ip protocol pending-actions", {"summary"}},
    {"ip protocol ips", {"on", "off", "status", "set", "reset"}},
    {"ip6 protocol", {"database", "summary"}},
    {"ip6 protocol database", {"vrf", "dest", "proto", "detail"}},
    {"rtm", {"route", "rib"}},
    {"rtm route", {"ipv6", "vrf", "dest", "proto", "detail"}},
    {"rtm rib", {"ipv6", "vrf", "dest", "proto", "detail"}},
    {"interface", {"vrf"}},
    {"interface6", {"vrf"}},
};

const DcRouterMgr::CmdHandlers& Registry(const std::string& tree) {
  const DcRouterMgr* manager = DcRouterMgr::GetInstance();
  return tree == "ip6" ? manager->GetIp6ConCmdHandlers() : manager->GetIp4ConCmdHandlers();
}

bool IsHelp(const std::string& word) { return word == "help" || word == "?"; }

std::string Row(const std::string& left, const std::string& right) {
  return "  " + left + std::string(left.size() < 36 ? 36 - left.size() : 1, ' ') + right + "\n";
}

std::string Joined(const Words& words) {
  std::string text;
  for (const std::string& word : words) {
    text += (text.empty() ? "" : " ") + word;
  }
  return text;
}

// Runs `handler` with a console of its own and with words that it may change.
template <class Handler>
void WithConsole(const std::shared_ptr<RunningCommand>& command, Words words, Handler handler) {
  std::vector<char*> argv;
  for (std::string& word : words) {
    argv.push_back(&word[0]);
  }
  argv.push_back(nullptr);
  DcConsole* console = new HostConsole(command);
  handler(console, static_cast<int>(words.size()), argv.data());
  if (!command->HasLostConsole() && !DcConsoleCommand::Owns(console)) {
    delete console;
  }
}

// A command that refuses its words is deleted, its console with it; one that accepts them lives until
// its walk ends.
void Walk(DcConsoleCommand* command, int argc, char** argv) {
  if (!command->Parse(argc, argv)) {
    delete command;
  }
}

// Reads the id of a VLAN that exists, or says why there is none.
bool ReadVlan(const std::string& text, const std::string& usage, RunningCommand& command,
              unsigned short& vlan) {
  unsigned int number = 0;
  if (text.empty() || !Tarsel::ParseNumber(&number, text.c_str()) || number > 65535) {
    command.Write("Usage: " + usage + "\n");
    return false;
  }
  if (DcRouterMgr::GetInstance()->GetVlans().count(static_cast<unsigned short>(number)) == 0) {
    command.Write("VLAN " + std::to_string(number) + " is not present\n");
    command.Refuse();
    return false;
  }
  vlan = static_cast<unsigned short>(number);
  return true;
}

}  // namespace

Dispatcher::Dispatcher(std::function<void(program::Report)> reload, console::Lab& lab)
    : m_reload(std::move(reload)), m_lab(lab) {}

Words Dispatcher::Split(const std::string& line) {
  std::istringstream stream(line);
  return {std::istream_iterator<std::string>(stream), {}};
}

Reply Dispatcher::Execute(const std::string& line,
                          const std::shared_ptr<RunningCommand>& command) const {
  Call call{Split(line), 0, command, {}};
  call.reply.vlan = command->GetVlan();
  if (line.find('\0') != std::string::npos) {  // handlers take C texts
    call.Write("There is a NUL in " + Quote(line) + "\n");
    call.command->Misunderstand();
  } else if (!call.words.empty()) {
    Run(call);
  }
  if (!call.hasConsole) {
    command->End();
  }
  return call.reply;
}

void Dispatcher::Run(Call& call) const {
  const Word* word = Find(call.Current());
  if (!word || (call.at > 0 && !word->isShown)) {
    Unknown(call);
    return;
  }
  (this->*word->handler)(call);
}

const Dispatcher::Word* Dispatcher::Find(const std::string& name) {
  const auto* found = std::find_if(std::begin(WORDS), std::end(WORDS),
                                   [&](const Word& word) { return word.name == name; });
  return found == std::end(WORDS) ? nullptr : found;
}

// The current word is the first that is not understood.
void Dispatcher::Unknown(Call& call) {
  const Words before = call.Until(call.at);
  call.Write(before.empty() ? Quote(call.Current()) + " is unknown."
                            : Quote(Joined(before)) + " is understood, " + Quote(call.Current()) +
                                  " behind it is not.");
  call.Write(" Possible: " + Joined(Following(before)) + "\n");
  call.command->Misunderstand();
}

Words Dispatcher::Following(Words before) {
  const bool isShow = !before.empty() && before[0] == "show";
  if (isShow) {
    before.erase(before.begin());
  }
  Words words;
  if (before.empty()) {
    for (const Word& word : WORDS) {
      if (word.isShown || !isShow) {
        words.push_back(word.name);
      }
    }
  } else if (before.size() == 1 && (before[0] == "ip" || before[0] == "ip6")) {
    for (const auto& handler : Registry(before[0])) {
      words.push_back(handler.first.c_str());
    }
  } else if (before[0] == "lab" && !isShow) {
    words = console::Lab::Following({before.begin() + 1, before.end()});
  } else {
    const std::string line = Joined(before);
    const auto* found = std::find_if(std::begin(FOLLOWERS), std::end(FOLLOWERS),
                                     [&](const Followers& entry) { return entry.before == line; });
    if (found != std::end(FOLLOWERS)) {
      words = found->words;
    }
  }
  return words;
}

Words Dispatcher::Complete(const std::string& line) {
  const std::size_t word = line.rfind(' ') + 1;  // 0 if there is none
  return Complete(Split(line.substr(0, word)), line.substr(word));
}

Words Dispatcher::Complete(Words before, const std::string& begun) {
  Words words = Following(std::move(before));
  words.erase(std::remove_if(words.begin(), words.end(),
                             [&](const std::string& word) {
                               return word.compare(0, begun.size(), begun) != 0;
                             }),
              words.end());
  return words;
}

void Dispatcher::Help(Call& call) const {
  for (const Word& word : WORDS) {
    if (word.usage) {
      call.Write(Row(word.usage, word.description));
    }
  }
}

void Dispatcher::Quit(Call& call) const { call.reply.isQuit = true; }

void Dispatcher::Vrf(Call& call) const {
  ReadVlan(call.CountAfter() == 1 ? call.Next() : "", "vrf <vid>", *call.command, call.reply.vlan);
}

void Dispatcher::Reload(Call& call) const {
  program::Report asker;
  if (!call.command->SeesLog()) {
    asker = [command = call.command](const std::string& line) { command->Complain(line); };
  }
  m_reload(std::move(asker));
  call.reply.hasChanged = true;
}

void Dispatcher::Ip(Call& call) const {
  const std::string& tree = call.Current();
  if (call.CountAfter() == 0 || IsHelp(call.Next())) {
    for (const auto& [name, entry] : Registry(tree)) {
      call.Write(Row(tree + " " + name.c_str(), entry.description.c_str()));
    }
    return;
  }
  ++call.at;
  const auto found = Registry(tree).find(call.Current().c_str());
  if (found == Registry(tree).end()) {
    Unknown(call);
    return;
  }
  call.hasConsole = true;
  WithConsole(call.command, {call.words.begin() + call.at, call.words.end()},
              [&](DcConsole* console, int argc, char** argv) {
                found->second.handler(nullptr, console, argc, argv);
              });
}

void Dispatcher::Rtm(Call& call) const {
  if (call.CountAfter() == 0 || IsHelp(call.Next())) {
    call.Write(Row("rtm route [ipv6] [<option> ...]", "Installed routes"));
    call.Write(Row("rtm rib [ipv6] [<option> ...]", "All candidates; > marks the installed"));
    call.Write(Row("options, in this order", "vrf <vid>, dest <address>, proto <name>, detail"));
    return;
  }
  ++call.at;
  const bool isRib = call.Current() == "rib";
  if (!isRib && call.Current() != "route") {
    Unknown(call);
    return;
  }
  const bool ip6 = call.CountAfter() > 0 && call.Next() == "ipv6";
  call.hasConsole = true;
  WithConsole(call.command, {call.words.begin() + call.at + (ip6 ? 2 : 1), call.words.end()},
              [&](DcConsole* console, int argc, char** argv) {
                const int family =
                    ip6 ? Tarsel::DcRtmMgr::PROTO_IPV6 : Tarsel::DcRtmMgr::PROTO_IPV4;
                DcConsoleCommand* command = nullptr;
                if (isRib) {
                  command = new Tarsel::RtmRibCommand(console, family);
                } else {
                  command = new Tarsel::RtmRouteCommand(console, family);
                }
                Walk(command, argc, argv);
              });
}

// The command itself takes no words and would show any VLAN, also one that nobody has heard of.
void Dispatcher::Interface(Call& call) const {
  const bool ip6 = call.Current() == "interface6";
  const std::string usage = call.Current() + " [vrf <vid>]";
  unsigned short vlan = call.command->GetVlan();
  if (call.CountAfter() > 0) {
    const bool isChosen = call.CountAfter() == 2 && call.Next() == "vrf";
    if (!ReadVlan(isChosen ? call.words.back() : "", usage, *call.command, vlan)) {
      return;
    }
  }
  call.hasConsole = true;
  WithConsole(call.command, {}, [&](DcConsole* console, int argc, char** argv) {
    Walk(new Tarsel::DcInterfaceConsoleCommand(console, vlan, ip6), argc, argv);
  });
}

void Dispatcher::Show(Call& call) const {
  if (call.CountAfter() == 0 || IsHelp(call.Next())) {
    call.Write("Behind \"show\" stands a command: " + Joined(Following({"show"})) + "\n");
    return;
  }
  ++call.at;
  Run(call);
}

void Dispatcher::Lab(Call& call) const {
  if (call.CountAfter() == 0 || IsHelp(call.Next())) {
    call.Write(console::Lab::Help());
    return;
  }
  const LabReply reply =
      m_lab.Execute({call.words.begin() + call.at + 1, call.words.end()}, call.command->GetVlan());
  call.Write(reply.text);
  if (!reply.text.empty()) {  // one that is carried out prints nothing
    call.command->Refuse();
  }
  call.reply.hasChanged = reply.hasChanged;
  if (reply.unknownAt != std::string::npos) {
    call.at += 1 + reply.unknownAt;
    Unknown(call);
  }
}

}  // namespace console
