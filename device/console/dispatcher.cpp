// Ownership of consoles. A handler of the library may delete the console, leave it to a command
// that goes on walking the stack's tables, or leave it to its caller, and it returns nothing. So
// every command gets a console of its own: a deleted one has said so, one that a live command owns
// is the command's, and any other is deleted here.
#include "dispatcher.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <utility>

#include "device/program/printable.h"
#include "host_console.h"
#include "vantacore/dc_console_command.h"
#include "vantacore/dc_interface_console_command.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/rtm_commands.h"
#include "vlan_id.h"

namespace console {

using program::Quote;
using Tarsel::DcConsole;
using Tarsel::DcConsoleCommand;
using Tarsel::DcRouterMgr;

/// A line that is being carried out.
struct Dispatcher::Call {
  Words before;  // `show`, or nothing
  Words words;   // the command after it; there is one
  const std::shared_ptr<RunningCommand>& command;
  const char* pattern = nullptr;  // the form of the command
  Reply reply = {};
  bool goesOn = false;  // and something else will end the command: a console, or an asker

  void Write(const std::string& text) const { command->Write(text); }
  Words After(std::size_t count) const {
    return {words.begin() + static_cast<std::ptrdiff_t>(count), words.end()};
  }
};

struct Dispatcher::Entry {
  const char* pattern;
  void (Dispatcher::*handler)(Call& call) const;
  const char* description;  // null: help does not show this form
  bool isShown;             // `show` may precede it
};

// The one list of forms. Of several that fit, the first counts. Words in the place of "..." are for
// others to understand. "show <command>" is for help: Run looks at the command itself.
const Dispatcher::Entry Dispatcher::ENTRIES[] = {
    {"ip [help|?]", &Dispatcher::ListTree, nullptr, true},
    {"ip [<word> ...]", &Dispatcher::RunTree, "IPv4 commands; alone, lists them", true},
    {"ip6 [help|?]", &Dispatcher::ListTree, nullptr, true},
    {"ip6 [<word> ...]", &Dispatcher::RunTree, "IPv6 commands; alone, lists them", true},
    {"rtm [help|?]", &Dispatcher::ListTables, nullptr, true},
    {"rtm route|rib [ipv6] [<option> ...]", &Dispatcher::ShowTable,
     "Installed routes, or all candidates", true},
    {"interface [vrf <vid>]", &Dispatcher::ShowInterfaces, "Interfaces with their IPv4 addresses",
     true},
    {"interface6 [vrf <vid>]", &Dispatcher::ShowInterfaces, "Interfaces with their IPv6 addresses",
     true},
    {"show [help|?]", &Dispatcher::ListShown, nullptr, false},
    {"show <command>", &Dispatcher::ListShown, "The same as the command alone", false},
    {"vrf <vid>", &Dispatcher::ChooseVlan, "Choose the VLAN that commands are about", false},
    {"check [strict]", &Dispatcher::RunFolder, "Find what is wrong in the folder; change nothing",
     false},
    {"diff [<revision>]", &Dispatcher::RunFolder,
     "What a reload would change, or the way to a revision", false},
    {"reload [force] [confirm <seconds>]", &Dispatcher::RunFolder,
     "Apply the folder; with confirm, on trial", false},
    {"confirm <revision>", &Dispatcher::RunFolder, "Keep what a reload on trial has applied",
     false},
    {"undo [<n>]", &Dispatcher::RunFolder, "Bring back what was in force n changes ago (1)", false},
    {"history", &Dispatcher::RunFolder, "List the revisions: what has been in force", false},
    {"revision <n>", &Dispatcher::RunFolder, "Show one of them", false},
    {"verify [stack]", &Dispatcher::RunFolder, "Compare what is wanted with what the stack has",
     false},
    {"lab [help|?]", &Dispatcher::ListLab, nullptr, false},
    {"lab [<word> ...]", &Dispatcher::RunLab, "Make things happen to the device; alone, lists how",
     false},
    {"help", &Dispatcher::Help, "This list; ? does the same", false},
    {"?", &Dispatcher::Help, nullptr, false},
    {"quit", &Dispatcher::Quit, "Leave; exit does the same", false},
    {"exit", &Dispatcher::Quit, nullptr, false},
};

struct Dispatcher::Table {
  Grammar grammar;
  std::vector<const Entry*> entries;  // in the grammar's order
};

const Dispatcher::Table& Dispatcher::TableOf(bool isShow) {
  static const auto Make = [](bool shownOnly) {
    Table table;
    for (const Entry& entry : ENTRIES) {
      if (entry.isShown || !shownOnly) {
        table.grammar.Add(entry.pattern);
        table.entries.push_back(&entry);
      }
    }
    return table;
  };
  static const Table ALL = Make(false);
  static const Table SHOWN = Make(true);
  return isShow ? SHOWN : ALL;
}

namespace {

// What the library's handlers understand after these words. They check it themselves; this is for
// completion only.
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
    {"rtm route", {"vrf", "dest", "proto", "detail"}},
    {"rtm route ipv6", {"vrf", "dest", "proto", "detail"}},
    {"rtm rib", {"vrf", "dest", "proto", "detail"}},
    {"rtm rib ipv6", {"vrf", "dest", "proto", "detail"}},
};

const DcRouterMgr::CmdHandlers& Registry(const std::string& tree) {
  const DcRouterMgr* manager = DcRouterMgr::GetInstance();
  return tree == "ip6" ? manager->GetIp6ConCmdHandlers() : manager->GetIp4ConCmdHandlers();
}

bool IsHelp(const std::string& word) { return word == "help" || word == "?"; }

Words operator+(Words words, const Words& more) {
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

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

// A command that refuses its words is deleted, its console with it; one that accepts them lives
// until its walk ends.
void Walk(DcConsoleCommand* command, int argc, char** argv) {
  if (!command->Parse(argc, argv)) {
    delete command;
  }
}

}  // namespace

Dispatcher::Dispatcher(FolderCommands folder, Lab& lab) : m_folder(std::move(folder)), m_lab(lab) {}

Words Dispatcher::Split(const std::string& line) {
  std::istringstream stream(line);
  return {std::istream_iterator<std::string>(stream), {}};
}

Reply Dispatcher::Execute(const std::string& line,
                          const std::shared_ptr<RunningCommand>& command) const {
  Call call{{}, Split(line), command};
  call.reply.vlan = command->GetVlan();
  if (line.find('\0') != std::string::npos) {  // handlers take C texts
    call.Write("There is a NUL in " + Quote(line) + "\n");
    command->Misunderstand();
  } else if (!call.words.empty()) {
    Run(call);
  }
  if (!call.goesOn) {
    command->End();
  }
  return call.reply;
}

void Dispatcher::Run(Call& call) const {
  const bool isShow = call.words[0] == "show" && call.words.size() > 1 && !IsHelp(call.words[1]);
  if (isShow) {
    call.before = {"show"};
    call.words.erase(call.words.begin());
  }
  const Table& table = TableOf(isShow);
  const Match match = table.grammar.Find(call.words);
  if (match.misfit != Match::NONE) {
    Misunderstand(call, match.misfit);
  } else if (match.form == Match::NONE) {
    for (const std::size_t begun : match.begun) {
      WriteUsage(call, table.entries[begun]->pattern);
    }
  } else if (call.words.size() > 2 && IsHelp(call.words[1])) {  // in the place of "..."
    Misunderstand(call, 2);
  } else {
    call.pattern = table.entries[match.form]->pattern;
    (this->*table.entries[match.form]->handler)(call);
  }
}

// The word at `misfit` is the first that is not understood. Instead of it comes what is `expected`,
// or one of the words that are possible there.
void Dispatcher::Misunderstand(Call& call, std::size_t misfit, const std::string& expected) {
  const std::string word = Quote(call.words[misfit]);
  call.words.resize(misfit);
  const Words before = call.before + call.words;
  const Words possible = Following(before);
  call.Write(before.empty()
                 ? word + " is unknown."
                 : Quote(Joined(before)) + " is understood, " + word + " after it is not.");
  if (!expected.empty()) {
    call.Write(" Expected: " + expected + "\n");
  } else if (possible.empty()) {
    call.Write(" Nothing may follow.\n");
  } else {
    call.Write(" Possible: " + Joined(possible) + "\n");
  }
  call.command->Misunderstand();
}

void Dispatcher::WriteUsage(const Call& call, const char* pattern) {
  call.Write(std::string("Usage: ") + pattern + "\n");
}

Words Dispatcher::Following(Words before) {
  const bool isShow = !before.empty() && before[0] == "show";
  if (isShow) {
    before.erase(before.begin());
  }
  Words words = TableOf(isShow).grammar.Following(before);
  if (!before.empty()) {  // help may stand after a word that lists others, and is not one of these
    words.erase(std::remove_if(words.begin(), words.end(), IsHelp), words.end());
  }
  if (before.size() == 1 && (before[0] == "ip" || before[0] == "ip6")) {
    for (const auto& handler : Registry(before[0])) {
      words.push_back(handler.first.c_str());
    }
  } else if (!before.empty() && before[0] == "lab" && !isShow) {
    words = Lab::Following({before.begin() + 1, before.end()});
  }
  const std::string line = Joined(before);
  const auto* found = std::find_if(std::begin(FOLLOWERS), std::end(FOLLOWERS),
                                   [&](const Followers& entry) { return entry.before == line; });
  return found == std::end(FOLLOWERS) ? words : words + found->words;
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
  for (const Entry& entry : ENTRIES) {
    if (entry.description) {
      call.Write(Row(entry.pattern, entry.description));
    }
  }
}

void Dispatcher::Quit(Call& call) const { call.reply.isQuit = true; }

// Takes the word for the id of a VLAN that exists, or says why it is not.
bool Dispatcher::TakeVlan(Call& call, const std::string& word, unsigned short& vlan) {
  const auto id = ReadVlan(word);
  if (!id) {
    WriteUsage(call, call.pattern);
    return false;
  }
  if (DcRouterMgr::GetInstance()->GetVlans().count(*id) == 0) {
    call.Write("VLAN " + std::to_string(*id) + " is not present\n");
    call.command->Refuse();
    return false;
  }
  vlan = *id;
  return true;
}

void Dispatcher::ChooseVlan(Call& call) const { TakeVlan(call, call.words[1], call.reply.vlan); }

void Dispatcher::RunFolder(Call& call) const {
  const FolderReply reply = m_folder.Execute(call.words, call.command);
  call.goesOn = reply.goesOn;
  call.reply.hasChanged = reply.hasChanged;
  call.reply.isReload = reply.isReload;
  if (reply.misfit != Match::NONE) {
    Misunderstand(call, reply.misfit, reply.expected);
  }
}

void Dispatcher::ListTree(Call& call) const {
  const std::string& tree = call.words[0];
  for (const auto& [name, entry] : Registry(tree)) {
    call.Write(Row(tree + " " + name.c_str(), entry.description.c_str()));
  }
}

void Dispatcher::RunTree(Call& call) const {
  const DcRouterMgr::CmdHandlers& registry = Registry(call.words[0]);
  const auto found = registry.find(call.words[1].c_str());
  if (found == registry.end()) {
    Misunderstand(call, 1);
    return;
  }
  call.goesOn = true;
  WithConsole(call.command, call.After(1), [&](DcConsole* console, int argc, char** argv) {
    found->second.handler(nullptr, console, argc, argv);
  });
}

void Dispatcher::ListTables(Call& call) const {
  call.Write(Row("rtm route [ipv6] [<option> ...]", "Installed routes"));
  call.Write(Row("rtm rib [ipv6] [<option> ...]", "All candidates; > marks the installed"));
  call.Write(Row("options, in this order", "vrf <vid>, dest <address>, proto <name>, detail"));
}

void Dispatcher::ShowTable(Call& call) const {
  const bool ip6 = call.words.size() > 2 && call.words[2] == "ipv6";
  call.goesOn = true;
  WithConsole(
      call.command, call.After(ip6 ? 3 : 2), [&](DcConsole* console, int argc, char** argv) {
        const int family = ip6 ? Tarsel::DcRtmMgr::PROTO_IPV6 : Tarsel::DcRtmMgr::PROTO_IPV4;
        DcConsoleCommand* command = nullptr;
        if (call.words[1] == "rib") {
          command = new Tarsel::RtmRibCommand(console, family);
        } else {
          command = new Tarsel::RtmRouteCommand(console, family);
        }
        Walk(command, argc, argv);
      });
}

// The library's command itself takes no words and would show any VLAN, also one that does not
// exist.
void Dispatcher::ShowInterfaces(Call& call) const {
  const bool ip6 = call.words[0] == "interface6";
  unsigned short vlan = call.command->GetVlan();
  if (call.words.size() > 1 && !TakeVlan(call, call.words[2], vlan)) {
    return;
  }
  call.goesOn = true;
  WithConsole(call.command, {}, [&](DcConsole* console, int argc, char** argv) {
    Walk(new Tarsel::DcInterfaceConsoleCommand(console, vlan, ip6), argc, argv);
  });
}

void Dispatcher::ListShown(Call& call) const {
  call.Write("After \"show\" comes a command: " + Joined(Following({"show"})) + "\n");
}

void Dispatcher::ListLab(Call& call) const { call.Write(Lab::Help()); }

void Dispatcher::RunLab(Call& call) const {
  const LabReply reply = m_lab.Execute(call.After(1), call.command->GetVlan());
  call.Write(reply.text);
  if (!reply.text.empty()) {  // one that is carried out prints nothing
    call.command->Refuse();
  }
  call.reply.hasChanged = reply.hasChanged;
  call.reply.hold = reply.hold;
  if (reply.unknownAt != Match::NONE) {
    Misunderstand(call, 1 + reply.unknownAt);
  }
}

}  // namespace console
