// Ownership of consoles. A handler of the library may delete the console, leave it to a command
// that goes on walking the stack's tables, or leave it to its caller, and it returns nothing. So
// every command gets a console of its own: a deleted one has said so, one that a live command owns
// is the command's, and any other is deleted here.
#include "library_words.h"

#include <algorithm>

#include "device/views/vlans.h"
#include "host_console.h"
#include "passed_over.h"
#include "vantacore/dc_console_command.h"
#include "vantacore/dc_interface_console_command.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/rtm_commands.h"
#include "vlan_id.h"

namespace console {

using Tarsel::DcConsole;
using Tarsel::DcConsoleCommand;
using Tarsel::DcRouterMgr;

namespace {

const DcRouterMgr::CmdHandlers& Registry(const std::string& tree) {
  const DcRouterMgr* manager = DcRouterMgr::GetInstance();
  return tree == "ip6" ? manager->GetIp6ConCmdHandlers() : manager->GetIp4ConCmdHandlers();
}

Words After(const Words& words, std::size_t count) {
  return {words.begin() + static_cast<std::ptrdiff_t>(count), words.end()};
}

// Runs `handler` with a console of its own and with words that it may change.
template <class Handler>
void WithConsole(Call& call, Words words, Handler handler) {
  std::vector<char*> argv;
  for (std::string& word : words) {
    argv.push_back(&word[0]);
  }
  argv.push_back(nullptr);
  call.goesOn = true;
  call.command->ListenToLibrary();
  DcConsole* console = new HostConsole(call.command);
  handler(console, static_cast<int>(words.size()), argv.data());
  if (!call.command->HasLostConsole() && !DcConsoleCommand::Owns(console)) {
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

void RunTree(Call& call) {
  const DcRouterMgr::CmdHandlers& registry = Registry(call.GetWords()[0]);
  Words names;
  for (const auto& handler : registry) {
    names.emplace_back(handler.first.c_str());
  }
  if (!Has(names, call.GetWords()[1])) {
    call.misfit = 1;
    call.possible = names;
    return;
  }
  const auto found = registry.find(call.GetWords()[1].c_str());
  WithConsole(call, After(call.GetWords(), 1), [&](DcConsole* console, int argc, char** argv) {
    found->second.handler(nullptr, console, argc, argv);
  });
}

void RunTable(Call& call) {
  const Words& words = call.GetWords();
  const bool ip6 = words.size() > 2 && words[2] == "ipv6";
  WithConsole(call, After(words, ip6 ? 3 : 2), [&](DcConsole* console, int argc, char** argv) {
    const int family = ip6 ? Tarsel::DcRtmMgr::PROTO_IPV6 : Tarsel::DcRtmMgr::PROTO_IPV4;
    DcConsoleCommand* command = nullptr;
    if (words[1] == "rib") {
      command = new Tarsel::RtmRibCommand(console, family);
    } else {
      command = new Tarsel::RtmRouteCommand(console, family);
    }
    Walk(command, argc, argv);
  });
}

bool IsInterfaceWord(const std::string& word) {
  return word == "interface" || word == "interface6";
}

// The library's command itself takes no words and would show any VLAN, also one that does not
// exist.
void RunInterfaces(Call& call) {
  const bool ip6 = call.GetWords()[0] == "interface6";
  unsigned short vlan = call.command->GetVlan();
  if (call.parse.Has("vid") && !TakeVlan(call, vlan)) {
    return;
  }
  WithConsole(call, {}, [&](DcConsole* console, int argc, char** argv) {
    Walk(new Tarsel::DcInterfaceConsoleCommand(console, vlan, ip6), argc, argv);
  });
}

}  // namespace

std::vector<TreeWord> ReadTree(const std::string& tree) {
  std::vector<TreeWord> words;
  for (const auto& [name, entry] : Registry(tree)) {
    words.push_back({name.c_str(), entry.description.c_str()});
  }
  return words;
}

bool TakeVlan(Call& call, unsigned short& vlan) {
  const unsigned short id = *ReadVlan(*call.parse.Find("vid"));
  const bool exists = views::IsVlanThere(id);
  if (exists) {
    vlan = id;
  } else {
    call.Refuse("VLAN " + std::to_string(id) + " is not present");
  }
  return exists;
}

// A word that the tree does not have is carried out by nobody.
bool MayChange(const Words& words) {
  if (words.size() < 2 || IsInterfaceWord(words[0])) {
    return false;
  }
  if (words[0] == "ip" || words[0] == "ip6") {
    const std::vector<TreeWord> tree = ReadTree(words[0]);
    if (std::none_of(tree.begin(), tree.end(),
                     [&](const TreeWord& word) { return word.name == words[1]; })) {
      return false;
    }
  }
  return !OnlyShows(words);
}

void RunLibraryWords(Call& call) {
  const std::string& first = call.GetWords()[0];
  if (IsInterfaceWord(first)) {
    RunInterfaces(call);
    return;
  }
  const PassedOver passed = FindPassedOver(call.GetWords());
  if (passed.at != Parse::NONE) {
    call.misfit = passed.at;
    call.possible = passed.possible;
  } else if (first == "rtm") {
    RunTable(call);
  } else {
    RunTree(call);
  }
}

std::vector<Atom> FollowLibraryWords(const Words& before) {
  if (before.size() != 1 || before[0] == "rtm") {
    return FollowingOf(before);
  }
  std::vector<Atom> atoms;
  for (const TreeWord& word : ReadTree(before[0])) {
    atoms.push_back({word.name, false});
  }
  return atoms;
}

}  // namespace console
