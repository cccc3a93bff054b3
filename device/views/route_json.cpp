#include "route_json.h"

#include "device/rows/row.h"
#include "names.h"

namespace views {

namespace {

const char* StateOf(const RouteItem& item) {
  return item.isInstalled                 ? "installed"
         : item.reason == Reason::REFUSED ? "refused"
         : item.reason >= Reason::TO_ASK  ? "waiting"
                                          : "candidate";
}

void AppendMember(std::string_view key, std::uint64_t value, std::string& text) {
  text += key;
  AppendNumber(value, text);
}

}  // namespace

void RouteJson::Append(const RouteItem& item, std::string& text) {
  AppendMember("{\"vlan\":", item.target.vlan, text);
  text += ",\"prefix\":\"";
  AppendPrefix(item.target, text);
  text += "\",\"protocol\":\"";
  text += NameOf(item.protocol);
  text += "\",\"state\":\"";
  text += StateOf(item);
  text += '"';
  if (item.isInStack) {
    AppendMember(",\"distance\":", item.distance, text);
  }
  AppendMember(",\"metric\":", item.metric, text);
  if (!IsZero(item.target.gateway)) {
    text += ",\"next_hop\":\"";
    AppendAddress(item.target.ip6, item.target.gateway, text);
    text += '"';
  }
  AppendInterface(item, text);
  if (item.isInStack) {
    AppendMember(",\"age_seconds\":", item.ageSeconds, text);
  }
  if (item.reason != Reason::NONE || item.note != Note::NONE) {
    AppendReason(item, text);
  }
  if (item.kernel) {
    text.append(R"(,"kernel_refusal":{"deletion":)")
        .append(item.kernel->isOfDeletion ? "true" : "false");
    text += R"(,"reason_text":)";
    AppendText(item.kernel->reason, text);
    AppendMember(R"(,"next_try_seconds":)", item.kernel->nextTry, text);
    text += '}';
  }
  text += '}';
}

void RouteJson::AppendText(std::string_view value, std::string& text) {
  m_json.Text(value).EndDocument();
  m_json.Take(text);
  text.pop_back();
}

// Most rows have the interface of the row before.
void RouteJson::AppendInterface(const RouteItem& item, std::string& text) {
  const std::string_view name = m_names.Of(item);
  if (name.empty()) {
    return;
  }
  if (name != m_name) {
    m_name = name;
    m_quoted.clear();
    AppendText(name, m_quoted);
  }
  text += ",\"interface\":";
  text += m_quoted;
  if (item.interface == nullptr) {
    AppendMember(",\"interface_index\":", item.ifIndex, text);
  }
}

void RouteJson::AppendReason(const RouteItem& item, std::string& text) {
  if (item.reason != Reason::NONE) {
    text.append(",\"reason\":\"").append(WordOf(item.reason)).append("\",\"reason_text\":");
    AppendText(DescribeReason(item, m_names), text);
  }
  if (item.reason == Reason::BEATEN) {
    text.append(",\"beaten_by\":{\"protocol\":\"").append(NameOf(item.rival.protocol)) += '"';
    AppendMember(",\"distance\":", item.rival.distance, text);
    AppendMember(",\"metric\":", item.rival.metric, text);
    text += '}';
  }
  if (item.note != Note::NONE) {
    text.append(",\"note\":\"").append(WordOf(item.note)).append("\",\"note_text\":");
    AppendText(DescribeNote(item), text);
  }
  if (item.status != 0) {
    AppendMember(",\"status\":", item.status, text);
    text += ",\"status_text\":";
    AppendText(rows::DescribeStatus(item.status), text);
  }
  if (item.nextTry) {
    AppendMember(",\"next_try_seconds\":", *item.nextTry, text);
  }
  if (item.leavesIn) {
    AppendMember(",\"leaves_in_seconds\":", *item.leavesIn, text);
  }
}

}  // namespace views
