#include "watch_lines.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <string>
#include <variant>

#include "device/program/counted.h"
#include "device/program/printable.h"
#include "moments.h"
#include "names.h"
#include "prefix.h"
#include "row_names.h"

namespace views {

namespace {

constexpr unsigned int STATUS_DONE = 1;

// For somebody who looks on: of today, in local time.
std::string DescribeTimeOfDay(std::int64_t milliseconds) {
  const std::time_t seconds = milliseconds / 1000;
  std::tm parts{};
  localtime_r(&seconds, &parts);
  char text[64];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03d", parts.tm_hour, parts.tm_min, parts.tm_sec,
                static_cast<int>(milliseconds % 1000));
  return text;
}

const char* WordOf(Cause cause) {
  switch (cause) {
    case Cause::DOCUMENT:
      return "document";
    case Cause::CONSOLE:
      return "console";
    case Cause::INTERFACE:
      return "interface";
    case Cause::STACK:
      break;
  }
  return "stack";
}

struct ChangeWords {
  const char* sign;
  const char* word;
};

ChangeWords WordsOf(RouteEvent::How how) {
  switch (how) {
    case RouteEvent::How::CAME:
      return {"+", "added"};
    case RouteEvent::How::REPLACED:
      return {"=", "replaced"};
    case RouteEvent::How::GONE:
      break;
  }
  return {"-", "removed"};
}

const char* WordOf(InterfaceEvent::How how) {
  constexpr const char* WORDS[] = {"added",  "changed",       "removed",         "up",
                                   "down",   "address_added", "address_changed", "address_removed",
                                   "joined", "left"};
  return WORDS[static_cast<std::size_t>(how)];
}

// "address 10.1.0.1/16 added".
std::string PhraseOf(const InterfaceEvent& event) {
  const std::string word = WordOf(event.how);
  return event.address.empty()
             ? word
             : "address " + event.address + word.substr(word.find('_')).replace(0, 1, " ");
}

// Nothing for none: of an interface that has gone only its number is known.
std::string NameOfInterface(const keepers::Interfaces& interfaces, unsigned short vlan,
                            std::uint32_t ifIndex) {
  const auto& all = interfaces.Get();
  const auto found = all.find({vlan, ifIndex});
  return found == all.end() ? "" : found->second.name;
}

std::string ResultOf(unsigned int status) {
  return status == 0 ? "never answered" : rows::DescribeStatus(status);
}

/// What an event says, between its VLAN and its cause.
class Phrase {
 public:
  Phrase(const keepers::Interfaces& interfaces, unsigned short vlan, std::string& text)
      : m_interfaces(interfaces), m_vlan(vlan), m_text(text) {}

  void operator()(const RouteEvent& route) const {
    m_text +=
        std::string("route ") + WordsOf(route.how).sign + ' ' + Describe(PrefixOf(route.target));
    if (route.how == RouteEvent::How::GONE) {
      return;
    }
    if (!IsZero(route.target.gateway)) {
      m_text += " via " + Describe(Address{route.target.ip6, route.target.gateway});
    }
    if (route.ifIndex != 0) {
      const std::string name = NameOfInterface(m_interfaces, m_vlan, route.ifIndex);
      m_text += ' ' + (name.empty() ? "interface " + std::to_string(route.ifIndex) : name);
    }
    m_text += std::string(" ") + NameOf(route.protocol);
  }
  void operator()(const RequestEvent& request) const {
    m_text += std::string("request ") + (request.isRemoval ? "- " : "+ ");
    m_text += DescribeWithName(request.row, m_interfaces);
    if (std::holds_alternative<rows::InterfaceRow>(request.row)) {
      m_text += request.ip6 ? " in IPv6" : " in IPv4";
    }
    m_text += request.status == STATUS_DONE ? " done" : ": " + ResultOf(request.status);
  }
  void operator()(const InterfaceEvent& event) const {
    m_text += "interface " + event.interface + ' ' + PhraseOf(event);
  }
  void operator()(const ReloadEvent& reload) const { m_text += reload.line; }
  void operator()(const RestartEvent&) const {
    m_text += "the stack has been restarted and has lost everything";
  }

 private:
  const keepers::Interfaces& m_interfaces;
  const unsigned short m_vlan;
  std::string& m_text;
};

/// The members that an event of its kind has, in JSON.
class Members {
 public:
  Members(const keepers::Interfaces& interfaces, unsigned short vlan, Json& json)
      : m_interfaces(interfaces), m_vlan(vlan), m_json(json) {}

  void operator()(const RouteEvent& route) const {
    m_json.Key("change").Text(WordsOf(route.how).word);
    m_json.Key("family").Text(NameOfFamily(route.target.ip6));
    m_json.Key("prefix").Text(Describe(PrefixOf(route.target)));
    if (route.how == RouteEvent::How::GONE) {
      return;
    }
    m_json.Key("protocol").Text(NameOf(route.protocol));
    m_json.Key("metric").Number(route.metric);
    if (!IsZero(route.target.gateway)) {
      m_json.Key("next_hop").Text(Describe(Address{route.target.ip6, route.target.gateway}));
    }
    if (route.ifIndex != 0) {
      m_json.Key("interface_index").Number(route.ifIndex);
      const std::string name = NameOfInterface(m_interfaces, m_vlan, route.ifIndex);
      if (!name.empty()) {
        m_json.Key("interface").Text(name);
      }
    }
  }
  void operator()(const RequestEvent& request) const {
    m_json.Key("request").Text(request.isRemoval ? "remove" : "set");
    m_json.Key("family").Text(NameOfFamily(request.ip6));
    m_json.Key("row").Text(DescribeWithName(request.row, m_interfaces));
    m_json.Key("status").Number(request.status);
    m_json.Key("status_text").Text(ResultOf(request.status));
  }
  void operator()(const InterfaceEvent& event) const {
    m_json.Key("interface").Text(event.interface);
    m_json.Key("change").Text(WordOf(event.how));
    if (!event.address.empty()) {
      m_json.Key("address").Text(event.address);
    }
  }
  void operator()(const ReloadEvent& reload) const { m_json.Key("line").Text(reload.line); }
  void operator()(const RestartEvent&) const {}

 private:
  const keepers::Interfaces& m_interfaces;
  const unsigned short m_vlan;
  Json& m_json;
};

const char* KindOf(const What& what) {
  constexpr const char* WORDS[std::variant_size_v<What>] = {"route", "request", "interface",
                                                            "reload", "restart"};
  return WORDS[what.index()];
}

}  // namespace

// The line of a reload may quote a document.
void EventLines::Write(const Event& event, std::string& text) const {
  std::string line = DescribeTimeOfDay(event.milliseconds) + ' ';
  if (HasVlan(event.what)) {
    line += "VLAN " + std::to_string(event.vlan) + ' ';
  }
  std::visit(Phrase(m_interfaces, event.vlan, line), event.what);
  line += std::string(" (") + WordOf(event.cause) + ")\n";
  text += program::IsPlain(line) ? line : program::PrintableLines(line);
}

void EventLines::Write(const Event& event, Json& json) const {
  json.BeginObject();
  json.Key("time").Text(DescribeMoment(event.milliseconds));
  json.Key("kind").Text(KindOf(event.what));
  json.Key("cause").Text(WordOf(event.cause));
  if (HasVlan(event.what)) {
    json.Key("vlan").Number(static_cast<std::uint32_t>(event.vlan));
  }
  std::visit(Members(m_interfaces, event.vlan, json), event.what);
  json.EndObject().EndDocument();
}

void EventLines::WriteLeftOut(std::uint64_t count, std::string& text) {
  text += "... " + program::Counted(count, "change", "changes") + " left out\n";
}

void EventLines::WriteLeftOut(std::uint64_t count, Json& json) {
  json.BeginObject().Key("left_out").Number(count).EndObject().EndDocument();
}

}  // namespace views
