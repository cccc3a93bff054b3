#include "view_words.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "device/program/decimal.h"
#include "places.h"
#include "vlan_id.h"

namespace console {

using views::RouteQuery;
using views::WatchQuery;

struct ViewWords::Word {
  const char* word;  // with which the line begins
  void (ViewWords::*handler)(Call& call) const;
};

const ViewWords::Word ViewWords::WORDS[] = {
    {"route", &ViewWords::Route},     {"route6", &ViewWords::Route},
    {"explain", &ViewWords::Explain}, {"summary", &ViewWords::Summary},
    {"status", &ViewWords::Status},   {"requests", &ViewWords::Requests},
    {"version", &ViewWords::Version}, {"metrics", &ViewWords::Metrics},
    {"watch", &ViewWords::Watch},     {"retry", &ViewWords::Retry},
    {"log", &ViewWords::Log},
};

namespace {

constexpr const char* NO_QUESTIONS = "This device cannot answer that";
constexpr const char* NO_LEVELS = "This device has no such log level";
constexpr std::size_t MOST_VALUES = 200;

constexpr std::pair<const char*, RouteQuery::State> STATES[] = {
    {"installed", RouteQuery::State::INSTALLED},
    {"waiting", RouteQuery::State::WAITING},
    {"refused", RouteQuery::State::REFUSED}};

constexpr std::pair<const char*, WatchQuery::Kind> KINDS[] = {
    {"route", WatchQuery::Kind::ROUTE},
    {"request", WatchQuery::Kind::REQUEST},
    {"interface", WatchQuery::Kind::INTERFACE},
    {"reload", WatchQuery::Kind::RELOAD}};

// The one of the table whose word the line has as an option.
template <class Kind, std::size_t N>
std::optional<Kind> ChosenOf(const std::pair<const char*, Kind> (&table)[N], const Parse& parse) {
  for (const auto& [word, kind] : table) {
    if (parse.Has(word)) {
      return kind;
    }
  }
  return std::nullopt;
}

// The VLAN that the line is about; nothing for all.
std::optional<unsigned short> VlanOf(const Call& call) {
  if (call.parse.Has("all")) {
    return std::nullopt;
  }
  const std::string* vid = call.parse.Find("vid");
  return vid ? ReadVlan(*vid) : call.command->GetVlan();
}

std::optional<views::Address> AddressOf(const Call& call, const char* place) {
  const std::string* word = call.parse.Find(place);
  return word ? views::ReadAddress(*word) : std::nullopt;
}

std::optional<views::Prefix> PrefixOf(const Call& call) {
  const std::string* word = call.parse.Find("prefix");
  return word ? views::ReadPrefix(*word) : std::nullopt;
}

// The place has the words of all protocols, in their order.
std::optional<views::Protocol> ProtocolOf(const Call& call) {
  const std::string* word = call.parse.Find("protocol");
  if (!word) {
    return std::nullopt;
  }
  const Words words = ValuesOf("protocol");
  return static_cast<views::Protocol>(std::find(words.begin(), words.end(), *word) - words.begin());
}

// Whether all addresses of the line are of the family. One that is not is what does not fit.
bool AreOfFamily(Call& call, bool ip6) {
  for (const char* place : {"address", "prefix", "gateway"}) {
    const std::string* word = call.parse.Find(place);
    if (word && (word->find(':') != std::string::npos) != ip6) {
      call.Misfit(call.parse.Where(place),
                  ip6 ? "IPv6; \"route\" is for IPv4" : "IPv4; \"route6\" is for IPv6");
      return false;
    }
  }
  return true;
}

}  // namespace

void ViewWords::Execute(Call& call) const {
  const Word* found = std::find_if(std::begin(WORDS), std::end(WORDS), [&](const Word& word) {
    return word.word == call.GetWords()[0];
  });
  if (found == std::end(WORDS)) {
    return;
  }
  if (m_answers.questions == nullptr && found->handler != &ViewWords::Log) {
    call.Refuse(NO_QUESTIONS);
    return;
  }
  (this->*found->handler)(call);
  call.goesOn = call.reply.view != nullptr;
}

void ViewWords::Route(Call& call) const {
  RouteQuery query;
  query.ip6 = call.GetWords()[0] == "route6";
  if (!AreOfFamily(call, query.ip6)) {
    return;
  }
  query.vlan = VlanOf(call);
  query.address = AddressOf(call, "address");
  query.prefix = PrefixOf(call);
  query.isLonger = call.parse.Has("longer");
  query.protocol = ProtocolOf(call);
  query.via = AddressOf(call, "gateway");
  if (const std::string* name = call.parse.Find("interface")) {
    query.interface = *name;
  }
  query.state = ChosenOf(STATES, call.parse);
  query.isSummary = call.parse.Has("summary");
  call.reply.view = m_answers.questions->Routes(query, call.GetFormat());
}

void ViewWords::Explain(Call& call) const {
  const views::ExplainQuery query{*VlanOf(call), AddressOf(call, "address"), PrefixOf(call)};
  call.reply.view = m_answers.questions->Explain(query, call.GetFormat());
}

void ViewWords::Summary(Call& call) const {
  call.reply.view = m_answers.questions->Summary(VlanOf(call), call.GetFormat());
}

void ViewWords::Requests(Call& call) const {
  call.reply.view = m_answers.questions->Requests(VlanOf(call), call.GetFormat());
}

void ViewWords::Status(Call& call) const {
  call.reply.view = m_answers.questions->Status(call.GetFormat());
}

void ViewWords::Version(Call& call) const {
  call.reply.view = m_answers.questions->Version(call.GetFormat());
}

void ViewWords::Metrics(Call& call) const { call.reply.view = m_answers.questions->Metrics(); }

void ViewWords::Watch(Call& call) const {
  const WatchQuery query{ChosenOf(KINDS, call.parse), VlanOf(call)};
  call.reply.view = m_answers.questions->Watch(query, call.GetFormat());
  call.reply.isLive = true;
}

void ViewWords::Retry(Call& call) const {
  const views::Retried retried = m_answers.questions->Retry(PrefixOf(call));
  call.Write(retried.text);
  call.reply.hasChanged = retried.count > 0;
  call.LogIt();
}

void ViewWords::Log(Call& call) const {
  const auto level = program::ReadDecimal(*call.parse.Find("level"), 0, UINT32_MAX);
  const std::string* component = call.parse.Find("component");
  if (!m_answers.setLogLevel || !m_answers.setLogLevel(*level, component ? *component : "")) {
    call.Refuse(NO_LEVELS);
  } else {
    call.LogIt();
  }
}

Words ViewWords::Complete(const std::string& place, const std::string& begun, unsigned short vlan,
                          const std::string& word) const {
  views::Questions* questions = m_answers.questions;
  if (questions == nullptr) {
    return {};
  }
  if (place == "vid") {
    return questions->CompleteVlan(begun, MOST_VALUES);
  }
  if (place == "interface") {
    return questions->CompleteInterface(vlan, begun, MOST_VALUES);
  }
  Words values;
  if (place == "prefix") {
    for (const bool ip6 : {false, true}) {
      if (word != (ip6 ? "route" : "route6")) {
        const Words found = questions->CompletePrefix(vlan, ip6, begun, MOST_VALUES);
        values.insert(values.end(), found.begin(), found.end());
      }
    }
  }
  return values;
}

}  // namespace console
