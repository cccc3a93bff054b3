#include "lab.h"

#include <map>
#include <utility>

#include "device/documents/device_document.h"
#include "device/program/decimal.h"
#include "device/program/printable.h"
#include "device/stack/stack_control.h"
#include "vlan_id.h"
#include "word_help.h"

namespace console {

using program::Quote;
using routing_stack::Answer;
using routing_stack::RowType;

/// A command that is being carried out.
struct Lab::Call {
  const Parse& parse;
  unsigned short vlan;
  LabReply reply;

  const std::string& Word(std::size_t at) const { return parse.words[at]; }
  const std::string& Value(const char* place) const { return *parse.Find(place); }
  void Refuse(const std::string& text) {
    reply.text = text + "\n";
    reply.isRefused = true;
  }
};

struct Lab::Command {
  const char* pattern;
  const char* description;
  void (Lab::*handler)(Call& call);
};

const Lab::Command Lab::COMMANDS[] = {
    {"interface <interface> up|down [vrf <vid>]", "An interface goes up or down", &Lab::Interface},
    {"address add|change|delete <interface> <address/length> [vrf <vid>]",
     "An interface's address comes, changes or goes", &Lab::Address},
    {"join <interface> [vrf <vid>]", "A remote joins the network", &Lab::Join},
    {"leave <interface> [vrf <vid>]", "A remote leaves it", &Lab::Join},
    {"stack refuse|retry|never|twice|late "
     "rtm|interface|address|route|redistribution|protocol <count> times [vrf <vid>]",
     "How the stack answers its next requests", &Lab::Answers},
    {"stack hold|release", "The stack stands still, or goes on", &Lab::Hold},
    {"stack restart", "The stack loses everything and is told again", &Lab::Restart},
    {"tick fast|normal", "The length of a timer tick", &Lab::Tick},
};

namespace {

constexpr unsigned int STATUS_REFUSED = 3;
constexpr unsigned int STATUS_RETRY = 5;
constexpr std::uint64_t LATE_MILLISECONDS = 500;
constexpr unsigned int FAST_TICK_MICROSECONDS = 10;

const std::map<std::string, RowType> ROW_TYPES = {
    {"rtm", RowType::kRtm},           {"interface", RowType::kInterface},
    {"address", RowType::kAddress},   {"route", RowType::kRoute},
    {"protocol", RowType::kProtocol}, {"redistribution", RowType::kRedistribution},
};

const std::map<std::string, Answer> ANSWERS = {
    {"refuse", {Answer::kStatus, STATUS_REFUSED, 0}},
    {"retry", {Answer::kStatus, STATUS_RETRY, 0}},
    {"never", {Answer::kNever, 0, 0}},
    {"twice", {Answer::kTwice, 0, 0}},
    {"late", {Answer::kLate, 0, LATE_MILLISECONDS}},
};

}  // namespace

Lab::Lab(routing_stack::Control& stack, keepers::Interfaces& device, FixTick fixTick)
    : m_stack(stack), m_hold(stack), m_device(device), m_fixTick(std::move(fixTick)) {}

const Grammar& Lab::Forms() {
  static const Grammar FORMS = [] {
    Grammar forms(false);
    for (const Command& command : COMMANDS) {
      forms.Add(command.pattern);
    }
    return forms;
  }();
  return FORMS;
}

LabReply Lab::Execute(const Words& words, unsigned short vlan) {
  const Parse parse = Read(words);
  Call call{parse, vlan, {}};
  if (parse.form != Parse::NONE) {
    if (const std::string* vid = parse.Find("vid")) {
      call.vlan = *ReadVlan(*vid);
    }
    (this->*COMMANDS[parse.form].handler)(call);
    return call.reply;
  }
  call.reply.isMisunderstood = true;
  for (const std::size_t begun : parse.begun) {
    call.reply.text += std::string("Usage: lab ") + COMMANDS[begun].pattern + "\n";
  }
  return call.reply;
}

void Lab::EndHold(unsigned int hold, bool wasAlone) {
  wasAlone ? m_hold.LeaveAlone(hold) : m_hold.End(hold);
}

std::string Lab::Help() {
  std::string text;
  for (const Command& command : COMMANDS) {
    text += WrapPattern(std::string("lab ") + command.pattern) + "\n      " + command.description +
            "\n";
  }
  return text;
}

bool Lab::FindInterface(Call& call, const std::string& name, documents::InterfaceKey& key) const {
  const auto index = m_device.IndexOf(call.vlan, name);
  if (!index) {
    call.Refuse("VLAN " + std::to_string(call.vlan) + " has no interface " + Quote(name));
    return false;
  }
  key = {call.vlan, *index};
  return true;
}

void Lab::Interface(Call& call) {
  documents::InterfaceKey key;
  if (FindInterface(call, call.Value("interface"), key)) {
    m_device.SetStatus(key, call.Word(2) == "up");
    call.reply.hasChanged = true;
  }
}

void Lab::Address(Call& call) {
  const std::string& verb = call.Word(1);
  const std::string& text = call.Value("address/length");
  documents::Ip4Network network;
  Tarsel::Ip6Prefix prefix;
  const bool ip4 = documents::ReadPrefix(text, network) || !documents::ReadPrefix(text, prefix);
  if (!ip4 && verb == "change") {
    call.Refuse("An interface has any number of IPv6 addresses: add one and delete the other");
    return;
  }
  documents::InterfaceKey key;
  if (!FindInterface(call, call.Value("interface"), key)) {
    return;
  }
  if (verb == "change") {
    m_device.ChangeAddress(key, network);
  } else if (verb == "add") {
    ip4 ? m_device.AddAddress(key, network) : m_device.AddAddress(key, prefix);
  } else {
    ip4 ? m_device.DeleteAddress(key, network) : m_device.DeleteAddress(key, prefix);
  }
  call.reply.hasChanged = true;
}

void Lab::Join(Call& call) {
  documents::InterfaceKey key;
  if (FindInterface(call, call.Value("interface"), key)) {
    m_device.SetJoined(key, call.Word(0) == "join");
    call.reply.hasChanged = true;
  }
}

void Lab::Answers(Call& call) {
  const auto times = program::ReadDecimal(call.Value("count"), 1, UINT32_MAX);
  const RowType type = ROW_TYPES.at(call.Word(2));
  const Answer& answer = ANSWERS.at(call.Word(1));
  if (call.parse.Has("vid")) {
    m_stack.ScriptVlan(type, call.vlan, answer, *times);
  } else {
    m_stack.Script(type, answer, *times);
  }
}

void Lab::Hold(Call& call) {
  if (call.Word(1) == "hold") {
    call.reply.hold = m_hold.Hold();
  } else {
    m_hold.Release();
    call.reply.hasChanged = true;
  }
}

void Lab::Restart(Call& call) {
  m_stack.Restart();
  call.reply.hasChanged = true;
}

void Lab::Tick(Call& call) {
  m_fixTick(call.Word(1) == "fast" ? std::optional(FAST_TICK_MICROSECONDS) : std::nullopt);
}

}  // namespace console
