#include "requests_view.h"

#include <utility>

#include "elsewhere.h"
#include "kept_routes.h"

namespace views {

namespace {

constexpr const char* WORDS[RequestItem::STATES] = {"refused", "differing", "under way",
                                                    "to be asked for",
                                                    "waiting for something that is not there"};

}  // namespace

RequestsView::RequestsView(const Sources& sources, std::optional<unsigned short> vlan,
                           Format format)
    : m_sources(sources), m_vlan(vlan), m_format(format), m_reader(sources, vlan) {}

View::Rest RequestsView::Next(std::string& text) {
  if (!std::exchange(m_hasBegun, true) && m_format == Format::JSON) {
    m_json.BeginObject().Key("view").Text("requests").Key("requests").BeginArray();
  }
  const bool isMore = m_reader.Continue([&](const RequestItem& item) { Show(item, text); });
  if (!isMore) {
    WriteTotals(text);
  }
  m_json.Take(text);
  return isMore ? Rest::MORE : Rest::NONE;
}

void RequestsView::Show(const RequestItem& item, std::string& text) {
  m_totals[static_cast<std::size_t>(item.state)] += item.count;
  if (m_shown == MOST_SHOWN) {
    ++m_left;
    return;
  }
  ++m_shown;
  if (m_format == Format::JSON) {
    AddJson(item, m_json);
  } else {
    AppendText(item, text);
  }
}

void RequestsView::WriteTotals(std::string& text) {
  const routes::RouteKeeper& routes = m_sources.GetRoutes();
  const std::size_t kept = m_vlan ? routes.FindWaiting(*m_vlan).kept : routes.CountKept();
  const std::uint64_t seconds = routes.CountSecondsOfKept();
  if (m_format == Format::JSON) {
    m_json.EndArray().Key("not_shown").Number(std::uint64_t{m_left});
    m_json.Key("totals").BeginObject();
    for (std::size_t i = 0; i < m_totals.size(); ++i) {
      m_json.Key(WordOf(static_cast<RequestItem::State>(i))).Number(std::uint64_t{m_totals[i]});
    }
    m_json.EndObject();
    AddKept(m_json, kept, seconds);
    m_json.EndObject().EndDocument();
    return;
  }
  std::string line;
  for (std::size_t i = 0; i < m_totals.size(); ++i) {
    if (m_totals[i] != 0) {
      line += (line.empty() ? "" : ", ") + std::to_string(m_totals[i]) + ' ' + WORDS[i];
    }
  }
  text += m_left == 0 ? "" : std::to_string(m_left) + " more are not shown\n";
  const std::string elsewhere = m_vlan ? DescribeRowsElsewhere(m_sources, *m_vlan) : "";
  if (line.empty()) {
    line = "Nothing waits";
    line += elsewhere.empty() ? "" : " in VLAN " + std::to_string(*m_vlan);
  }
  text +=
      line + "\n" + (kept != 0 ? "Kept: " + DescribeKept(kept, seconds) + "\n" : "") + elsewhere;
}

}  // namespace views
