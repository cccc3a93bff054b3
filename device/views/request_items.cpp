#include "request_items.h"

#include "device/program/counted.h"
#include "moments.h"
#include "names.h"

namespace views {

namespace {

using State = RequestItem::State;

constexpr std::size_t LINE = 79;  // with room for a comma
const std::string INDENT = "    ";

void AddSeconds(Json& json, const char* key, const std::optional<std::uint64_t>& seconds) {
  json.Key(key);
  seconds ? json.Number(*seconds) : json.Null();
}

}  // namespace

const char* WordOf(State state) {
  constexpr const char* WORDS[RequestItem::STATES] = {"refused", "differs", "under_way", "to_ask",
                                                      "lacking"};
  return WORDS[static_cast<std::size_t>(state)];
}

void AppendText(const RequestItem& item, std::string& text) {
  const std::size_t begin = text.size();
  AppendBent(item.what, INDENT.size(), text);
  text.replace(begin, INDENT.size(), item.state == State::REFUSED ? "! " : "? ");
  text += INDENT + item.reason;
  std::size_t column = INDENT.size() + item.reason.size();
  const auto add = [&](const std::string& part) {
    const bool isBent = column + 2 + part.size() > LINE;
    text += (isBent ? ",\n" + INDENT : ", ") + part;
    column = (isBent ? INDENT.size() : column + 2) + part.size();
  };
  if (item.sinceSeconds) {
    add("for " + DescribeSpan(*item.sinceSeconds));
  }
  if (item.repeats != 0) {
    add("asked again " + program::Times(item.repeats));
  }
  if (item.nextSeconds) {
    add("next try in " + std::to_string(*item.nextSeconds) + " s");
  }
  text += '\n';
}

void AddJson(const RequestItem& item, Json& json) {
  json.BeginObject().Key("state").Text(WordOf(item.state));
  json.Key("vlan").Number(static_cast<int>(item.vlan));
  json.Key("count").Number(std::uint64_t{item.count});
  json.Key("what").Text(item.what).Key("reason").Text(item.reason);
  json.Key("status").NumberOrNull(item.status);
  AddSeconds(json, "since_seconds", item.sinceSeconds);
  json.Key("repeats").Number(item.repeats);
  AddSeconds(json, "next_seconds", item.nextSeconds);
  json.EndObject();
}

}  // namespace views
