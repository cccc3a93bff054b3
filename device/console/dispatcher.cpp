#include "dispatcher.h"

#include <algorithm>
#include <utility>

#include "device/program/printable.h"
#include "foreign_words.h"
#include "library_words.h"
#include "misunderstanding.h"
#include "places.h"
#include "vlan_id.h"
#include "what_fits.h"
#include "word_help.h"

namespace console {

using program::Quote;

enum class Dispatcher::Kind {
  VIEW,     // changes nothing, except what its own session is about
  CHANGE,   // of the device
  LAB,      // changes it, too, and is there in a laboratory only
  LIBRARY,  // MayChange (library_words.h) tells
};

struct Dispatcher::Entry {
  const char* pattern;
  void (Dispatcher::*handler)(Call& call) const;
  const char* description;  // null: help does not show this form
  bool isShown;             // `show` may precede it
  Kind kind;
};

// The one list of forms. Of several that fit, the first counts. Words in the place of "..." are for
// others to understand. "show <command>" is for help: Read looks at the command itself.
const Dispatcher::Entry Dispatcher::ENTRIES[] = {
    {"route [vrf <vid>|all] [<address>|<prefix> [longer]] [proto <protocol>] [via <gateway>] "
     "[dev <interface>] [installed|waiting|refused] [summary] [json]",
     &Dispatcher::RunView, "IPv4 routes, and why one is not installed", true, Kind::VIEW},
    {"route6 [vrf <vid>|all] [<address>|<prefix> [longer]] [proto <protocol>] [via <gateway>] "
     "[dev <interface>] [installed|waiting|refused] [summary] [json]",
     &Dispatcher::RunView, "IPv6 routes", true, Kind::VIEW},
    {"explain {<address>|<prefix>} [vrf <vid>] [json]", &Dispatcher::RunView,
     "One prefix: who wants it, what came of it", true, Kind::VIEW},
    {"summary [vrf <vid>|all] [json]", &Dispatcher::RunView, "Routes and rows in numbers", true,
     Kind::VIEW},
    {"requests [vrf <vid>|all] [json]", &Dispatcher::RunView, "What waits, and what was refused",
     true, Kind::VIEW},
    {"status [json]", &Dispatcher::RunView, "How the daemon is", true, Kind::VIEW},
    {"version [json]", &Dispatcher::RunView, "Which version it is", true, Kind::VIEW},
    {"watch [route|request|interface|reload] [vrf <vid>|all] [json]", &Dispatcher::RunView,
     "Changes as they come, until Ctrl-C", true, Kind::VIEW},
    {"metrics", &Dispatcher::RunView, "Counters for Prometheus", true, Kind::VIEW},
    {"interface [vrf <vid>]", &Dispatcher::RunLibrary, "Interfaces with their IPv4 addresses", true,
     Kind::VIEW},
    {"interface6 [vrf <vid>]", &Dispatcher::RunLibrary, "Interfaces with their IPv6 addresses",
     true, Kind::VIEW},
    {"ip [<word> ...]", &Dispatcher::RunLibrary, "IPv4 commands; alone, lists them", true,
     Kind::LIBRARY},
    {"ip6 [<word> ...]", &Dispatcher::RunLibrary, "IPv6 commands; alone, lists them", true,
     Kind::LIBRARY},
    {"rtm [help|?]", &Dispatcher::ListTables, nullptr, true, Kind::VIEW},
    {"rtm route|rib [ipv6] [<option> ...]", &Dispatcher::RunLibrary,
     "Installed routes, or all candidates", true, Kind::LIBRARY},
    {"show [help|?]", &Dispatcher::ListShown, nullptr, false, Kind::VIEW},
    {"show <command>", &Dispatcher::ListShown, "The same as the command alone", false, Kind::VIEW},
    {"vrf <vid>", &Dispatcher::ChooseVlan, "Choose the VLAN that commands are about", false,
     Kind::VIEW},
    {"check [strict] [json]", &Dispatcher::RunFolder, "What is wrong in the folder", false,
     Kind::VIEW},
    {"diff [<revision>] [json]", &Dispatcher::RunFolder, "What a reload or a revision would change",
     true, Kind::VIEW},
    {"reload [force] [confirm <seconds>] [json]", &Dispatcher::RunFolder,
     "Apply the folder; with confirm, on trial", false, Kind::CHANGE},
    {"confirm <revision> [json]", &Dispatcher::RunFolder, "Keep what a reload on trial has applied",
     false, Kind::CHANGE},
    {"undo [<changes-back>] [json]", &Dispatcher::RunFolder, "Go back: one change, or so many",
     false, Kind::CHANGE},
    {"history [json]", &Dispatcher::RunFolder, "List the revisions: what has been in force", true,
     Kind::VIEW},
    {"revision <revision> [json]", &Dispatcher::RunFolder, "Show one of them", true, Kind::VIEW},
    {"verify [stack|kernel] [json]", &Dispatcher::RunFolder,
     "Hold the device against what is wanted", false, Kind::VIEW},
    {"retry [<prefix>]", &Dispatcher::RunView, "Ask again now for what was refused", false,
     Kind::CHANGE},
    {"log level <level> [<component>]", &Dispatcher::RunView, "How much is logged", false,
     Kind::CHANGE},
    {"lab [<word> ...]", &Dispatcher::RunLab, "Make things happen; alone, lists how", false,
     Kind::LAB},
    {"help", &Dispatcher::Help, "This list; ? after words tells more", false, Kind::VIEW},
    {"?", &Dispatcher::Help, nullptr, false, Kind::VIEW},
    {"quit", &Dispatcher::Quit, "Leave; exit does the same", false, Kind::VIEW},
    {"exit", &Dispatcher::Quit, nullptr, false, Kind::VIEW},
};

struct Dispatcher::Table {
  Grammar grammar{true};
  std::vector<const Entry*> entries;  // in the grammar's order

  void Add(const Entry& entry) {
    grammar.Add(entry.pattern);
    entries.push_back(&entry);
  }
};

/// The forms that a dispatcher has.
struct Dispatcher::Tables {
  Table all;
  Table shown;     // after `show`
  Table withheld;  // those that it does not have

  Tables(Scope scope, bool hasLab) {
    for (const Entry& entry : ENTRIES) {
      const bool changes = entry.kind == Kind::CHANGE || entry.kind == Kind::LAB;
      if ((changes && scope == Scope::VIEWS) || (entry.kind == Kind::LAB && !hasLab)) {
        withheld.Add(entry);
      } else {
        all.Add(entry);
        if (entry.isShown) {
          shown.Add(entry);
        }
      }
    }
  }
};

/// What a line means.
struct Dispatcher::Line {
  Words before;  // `show`, or nothing
  Parse parse;   // of the command after it
  const Table& table;

  const Entry& GetEntry() const { return *table.entries[parse.form]; }
};

namespace {

constexpr const char* BAR = "|";
constexpr const char* NO_LAB = " is unknown: the daemon was started without --lab";
constexpr const char* VIEWS_ONLY = " changes something, and this socket is for views only";

bool IsHelp(const std::string& word) { return word == "help" || word == "?"; }

Words operator+(Words words, const Words& more) {
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

Words Tail(const Words& words) { return {words.begin() + 1, words.end()}; }

// Whether the words after the first one are for others to understand.
bool IsOthers(const Parse& parse) {
  const std::string& first = parse.words[0];
  return first == "ip" || first == "ip6" || first == "rtm" || first == "lab";
}

}  // namespace

Dispatcher::Dispatcher(FolderCommands folder, Lab* lab, Answers answers, Scope scope)
    : m_folder(std::move(folder)),
      m_views(std::move(answers)),
      m_lab(lab),
      m_scope(scope),
      m_tables(std::make_unique<const Tables>(scope, lab != nullptr)) {}

Dispatcher::~Dispatcher() = default;

void Dispatcher::EndHold(unsigned int hold, bool wasAlone) const {
  if (m_lab != nullptr) {
    m_lab->EndHold(hold, wasAlone);
  }
}

Reply Dispatcher::Execute(const std::string& line,
                          const std::shared_ptr<RunningCommand>& command) const {
  Reply reply;
  reply.vlan = command->GetVlan();
  bool goesOn = false;
  PipedLine piped = SplitPipe(line);
  const Words words = Split(piped.command);
  auto filter = piped.filter ? MakeFilter(*piped.filter) : nullptr;
  if (line.find('\0') != std::string::npos) {  // handlers take C texts
    console::Misunderstand(words, {}, "There is a NUL in " + Quote(line), *command);
  } else if (piped.filter && (!filter || words.empty())) {
    console::Misunderstand(words, {}, ExplainFilter(*piped.filter), *command);
  } else if (!words.empty()) {
    command->Filter(std::move(filter));
    Run(words, command, reply, goesOn);
  }
  if (!goesOn) {
    command->End();
  }
  return reply;
}

Dispatcher::Line Dispatcher::Read(const Words& words) const {
  Line line{{}, m_tables->all.grammar.Read(words), m_tables->all};
  const bool isShow = words.size() > 1 && !line.parse.words.empty() &&
                      line.parse.words[0] == "show" && !IsHelp(words[1]);
  if (isShow) {
    return {{"show"}, m_tables->shown.grammar.Read(Tail(words)), m_tables->shown};
  }
  if (!line.parse.words.empty() && line.parse.words[0] == "lab" && words.size() > 1 &&
      !IsHelp(words[1])) {
    const Parse lab = Lab::Read(Tail(words));
    line.parse.following = lab.following;
    line.parse.misfit = lab.misfit == Parse::NONE ? Parse::NONE : lab.misfit + 1;
    if (lab.misfit != Parse::NONE) {
      line.parse.words.resize(lab.misfit + 1);
    }
  }
  return line;
}

// Whether a line of the library has what this dispatcher does not have.
bool Dispatcher::IsWithheld(const Words& libraryWords) const {
  return m_scope == Scope::VIEWS && MayChange(libraryWords);
}

// A line that another dispatcher would carry out: says why this one does not.
bool Dispatcher::Withhold(const Line& line, const Words& words, RunningCommand& command) const {
  if (line.parse.form != Parse::NONE && line.GetEntry().kind == Kind::LIBRARY) {
    if (IsWithheld(line.parse.words)) {
      Decline(words, line.parse, Quote(Joined(line.parse.words)) + VIEWS_ONLY, command);
      return true;
    }
    return false;
  }
  const bool isUnknown = line.before.empty() && line.parse.misfit == 0;
  const Parse first = isUnknown ? m_tables->withheld.grammar.Read({words[0]}) : Parse();
  if (first.begun.empty()) {
    return false;
  }
  const bool isLab = m_tables->withheld.entries[first.begun[0]]->kind == Kind::LAB;
  if (isLab && m_lab == nullptr) {
    console::Misunderstand(words, {}, Quote(words[0]) + NO_LAB, command);
  } else {
    Decline(words, {}, Quote(words[0]) + VIEWS_ONLY, command);
  }
  return true;
}

void Dispatcher::Run(const Words& words, const std::shared_ptr<RunningCommand>& command,
                     Reply& reply, bool& goesOn) const {
  if (const std::string answer = FindForeignWords(words); !answer.empty()) {
    console::Misunderstand(words, {}, answer, *command);
    return;
  }
  Line line = Read(words);
  if (Withhold(line, words, *command)) {
    return;
  }
  const bool asksForHelp = words.size() > 1 && words.back() == "?" &&
                           line.parse.misfit + line.before.size() + 1 == words.size();
  if (asksForHelp && !Following(line).empty()) {
    command->Write(HelpOf(line));
    return;
  }
  if (line.parse.misfit != Parse::NONE) {
    Misunderstand(line, words, *command);
    return;
  }
  if (line.parse.form == Parse::NONE) {
    TellUsage(line, words, *command);
    return;
  }
  if (command->IsFiltered() && line.parse.Has("json")) {
    console::Misunderstand(words, line.parse, "A JSON document is not filtered by lines", *command);
    return;
  }
  Call call{line.parse, command};
  call.reply.vlan = command->GetVlan();
  (this->*line.GetEntry().handler)(call);
  goesOn = call.goesOn;
  reply = std::move(call.reply);
  if (call.misfit != Parse::NONE) {
    TellMisfit(call, line, words);
  }
}

// The line fits its form, and its handler does not take one of the words.
void Dispatcher::TellMisfit(const Call& call, Line line, const Words& words) const {
  line.parse.misfit = call.misfit;
  line.parse.words.resize(call.misfit);
  line.parse.following.clear();
  for (const std::string& word : call.possible) {
    line.parse.following.push_back({word, false});
  }
  if (call.expected.empty()) {
    Misunderstand(line, words, *call.command);
    return;
  }
  console::Misunderstand(words, line.parse,
                         Quote(Joined(line.before + line.parse.words)) + " is understood, " +
                             Quote(words[line.before.size() + call.misfit]) +
                             " after it is not. Expected: " + call.expected,
                         *call.command);
}

// The word at the misfit is the first that is not understood.
void Dispatcher::Misunderstand(const Line& line, const Words& words,
                               RunningCommand& command) const {
  const Parse& parse = line.parse;
  const std::size_t misfit = line.before.size() + parse.misfit;
  if (const std::string answer = FindForeignWords(words, misfit); !answer.empty()) {
    console::Misunderstand(words, parse, answer, command);
    return;
  }
  const std::string& word = words[misfit];
  const Words before = line.before + parse.words;
  const std::string head = before.empty() ? "" : Quote(Joined(before)) + " is understood, ";
  if (parse.ambiguous.size() > 1) {
    console::Misunderstand(words, parse,
                           head + Quote(word) + (before.empty() ? "" : " after it") +
                               " is ambiguous: " + Joined(parse.ambiguous),
                           command);
    return;
  }
  const std::vector<Atom> following = Following(line);
  console::Misunderstand(words, parse,
                         head + Quote(word) +
                             (before.empty() ? " is unknown." : " after it is not.") +
                             WhatFits(word, following),
                         command);
}

void Dispatcher::TellUsage(const Line& line, const Words& words, RunningCommand& command) {
  std::string usage;
  for (const std::size_t begun : line.parse.begun) {
    usage +=
        (usage.empty() ? "Usage: " : "\nUsage: ") + std::string(line.table.entries[begun]->pattern);
  }
  console::Misunderstand(words, line.parse, usage, command);
}

// What may stand after the words of the line that are understood. Help may stand after a word that
// lists others, and is not one of these.
std::vector<Atom> Dispatcher::Following(const Line& line) const {
  std::vector<Atom> atoms = line.parse.following;
  if (line.parse.words.empty()) {
    return atoms;
  }
  if (line.parse.words == Words{"lab"}) {
    atoms = Lab::Read({}).following;
  } else if (line.parse.words == Words{"show"}) {
    atoms = m_tables->shown.grammar.Read({}).following;
  } else if (IsOthers(line.parse) && line.parse.words[0] != "lab") {
    for (const Atom& atom : FollowLibraryWords(line.parse.words)) {
      if (atom.isPlace || !IsWithheld(line.parse.words + Words{atom.text})) {
        atoms.push_back(atom);
      }
    }
  }
  atoms.erase(std::remove_if(atoms.begin(), atoms.end(),
                             [](const Atom& atom) {
                               return IsHelp(atom.text) || atom.text == "word" ||
                                      atom.text == "option";
                             }),
              atoms.end());
  return atoms;
}

Words Dispatcher::Complete(const std::string& text, unsigned short vlan) const {
  const std::size_t at = text.rfind(' ') + 1;  // 0 if there is none
  const std::string begun = text.substr(at);
  const PipedLine piped = SplitPipe(begun == BAR ? text : text.substr(0, at));
  Words words;
  if (piped.filter) {
    words = Split(*piped.filter).empty() ? FilterWords() : Words();
    for (std::string& word : words) {
      word = begun == BAR ? BAR + (" " + word) : word;
    }
  } else {
    const Line line = Read(Split(piped.command));
    if (line.parse.misfit != Parse::NONE) {
      return {};
    }
    const std::string* vid = line.parse.Find("vid");
    const unsigned short about = vid ? ReadVlan(*vid).value_or(vlan) : vlan;
    const std::string first = line.parse.words.empty() ? "" : line.parse.words[0];
    for (const Atom& atom : Following(line)) {
      words = words + (!atom.isPlace ? Words{atom.text}
                                     : ValuesOf(atom.text) +
                                           m_views.Complete(atom.text, begun, about, first));
    }
  }
  words.erase(std::remove_if(words.begin(), words.end(),
                             [&](const std::string& word) { return !BeginsWith(word, begun); }),
              words.end());
  return words;
}

std::string Dispatcher::HelpAt(const std::string& text) const {
  const std::size_t at = text.rfind(' ') + 1;
  const PipedLine piped = SplitPipe(text.substr(at) == BAR ? text : text.substr(0, at));
  if (piped.filter) {
    return HelpRow("include <text>", "Lines that contain the text") +
           HelpRow("exclude <text>", "Lines that do not") + HelpRow("count", "How many lines");
  }
  const Line line = Read(Split(piped.command));
  return line.parse.misfit == Parse::NONE ? HelpOf(line, text.substr(at)) : "";
}

std::string Dispatcher::HelpOf(const Line& line, const std::string& begun) const {
  std::string text;
  const bool isFirst = line.parse.words.empty() || line.parse.words == Words{"show"};
  for (const Atom& atom : Following(line)) {
    if (atom.isPlace ? !isFirst : BeginsWith(atom.text, begun)) {
      text +=
          HelpRow(atom.isPlace ? "<" + atom.text + ">" : atom.text, DescriptionOf(atom, isFirst));
    }
  }
  return text;
}

std::string Dispatcher::DescriptionOf(const Atom& atom, bool isFirst) {
  for (const Entry& entry : ENTRIES) {
    if (isFirst && entry.description && Split(entry.pattern)[0] == atom.text) {
      return entry.description;
    }
  }
  return DescribeOption(atom);
}

void Dispatcher::Help(Call& call) const {
  for (const Entry* entry : m_tables->all.entries) {
    if (entry->description) {
      call.Write(HelpRow(entry->pattern, entry->description));
    }
  }
}

void Dispatcher::Quit(Call& call) const { call.reply.isQuit = true; }

void Dispatcher::ChooseVlan(Call& call) const { TakeVlan(call, call.reply.vlan); }

void Dispatcher::RunView(Call& call) const { m_views.Execute(call); }

void Dispatcher::RunFolder(Call& call) const { m_folder.Execute(call); }

void Dispatcher::RunLibrary(Call& call) const {
  const Words& words = call.GetWords();
  const bool isTree = words[0] == "ip" || words[0] == "ip6";
  if (!isTree || (words.size() > 1 && !IsHelp(words[1]))) {
    RunLibraryWords(call);
    const bool isOver = !call.goesOn || call.command->IsOver();
    call.reply.isHeldUp = !isOver && m_lab != nullptr && m_lab->IsHolding();
    if (call.misfit == Parse::NONE && MayChange(words) &&
        call.command->GetResult() == Result::DONE) {
      call.LogIt();
    }
  } else if (words.size() > 2) {
    call.misfit = 2;
  } else {
    for (const TreeWord& word : ReadTree(words[0])) {
      call.Write(HelpRow(words[0] + " " + word.name, word.description));
    }
  }
}

void Dispatcher::ListTables(Call& call) const {
  call.Write(HelpRow("rtm route [ipv6] [<option> ...]", "Installed routes"));
  call.Write(HelpRow("rtm rib [ipv6] [<option> ...]", "All candidates; > marks the installed"));
  call.Write(HelpRow("options, in this order", "vrf <vid>, dest <address>, proto <name>, detail"));
}

void Dispatcher::ListShown(Call& call) const {
  call.Write("After \"show\" comes a command: " +
             Joined(WordsOf(m_tables->shown.grammar.Read({}).following)) + "\n");
}

void Dispatcher::RunLab(Call& call) const {
  const Words words = Tail(call.GetWords());
  if (words.empty() || IsHelp(words[0])) {
    if (words.size() > 1) {
      call.misfit = 2;
    } else {
      call.Write(Lab::Help());
    }
    return;
  }
  const LabReply reply = m_lab->Execute(words, call.command->GetVlan());
  call.Write(reply.text);
  if (reply.isRefused) {
    call.command->Refuse();
  }
  if (reply.isMisunderstood) {
    call.command->Misunderstand();
  } else if (!reply.isRefused) {
    call.LogIt();
  }
  call.reply.hasChanged = reply.hasChanged;
  call.reply.hold = reply.hold;
}

}  // namespace console
