#include "summary_view.h"

#include <cstdarg>
#include <cstdio>
#include <numeric>

#include "names.h"

namespace views {

namespace {

constexpr std::size_t VLANS_A_PIECE = 60;
constexpr const char* FAMILY_NAMES[] = {"IPv4", "IPv6"};

std::string Formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));

std::string Formatted(const char* format, ...) {
  char text[128];
  va_list values;
  va_start(values, format);
  std::vsnprintf(text, sizeof text, format, values);
  va_end(values);
  return text;
}

using Numbers = std::array<std::size_t, PROTOCOLS>;

std::size_t Sum(const Numbers& numbers) {
  return std::accumulate(numbers.begin(), numbers.end(), std::size_t{0});
}

std::string RouteLine(const char* label, const Numbers& numbers) {
  std::string line = Formatted("%-14s", label);
  for (const std::size_t number : numbers) {
    line += Formatted("%11zu", number);
  }
  return line + Formatted("%11zu\n", Sum(numbers));
}

std::string WriteScope(const std::string& title, const SummaryCounts& counts) {
  std::string text = Formatted("%-14s", title.c_str());
  for (std::size_t i = 0; i < PROTOCOLS; ++i) {
    text += Formatted("%11s", NameOf(static_cast<Protocol>(i)));
  }
  text += Formatted("%11s\n", "all");
  for (std::size_t family = 0; family < counts.routes.size(); ++family) {
    text += RouteLine(FAMILY_NAMES[family], counts.routes[family].candidates);
    text += RouteLine("  installed", counts.routes[family].installed);
  }
  text += Formatted("\n%-20s%12s%12s%12s%12s%12s\n", "", "wanted", "as wanted", "waiting",
                    "differing", "refused");
  for (std::size_t i = 0; i < counts.kinds.size(); ++i) {
    const SummaryCounts::Kind& kind = counts.kinds[i];
    text += Formatted("%-20s%12zu%12zu%12zu%12zu%12zu\n", KIND_WORDS[i], kind.wanted,
                      kind.CountAsWanted(), kind.waiting, kind.differing, kind.refused);
  }
  return text + Formatted("\ninterfaces: %zu up, %zu down\n", counts.up, counts.down);
}

SummaryCounts::Kind SumOfKinds(const SummaryCounts& counts) {
  SummaryCounts::Kind sum;
  for (const SummaryCounts::Kind& kind : counts.kinds) {
    sum.wanted += kind.wanted;
    sum.waiting += kind.waiting;
    sum.differing += kind.differing;
    sum.refused += kind.refused;
  }
  return sum;
}

std::string VlanLine(unsigned short vlan, const SummaryCounts& counts) {
  const SummaryCounts::Kind sum = SumOfKinds(counts);
  const auto both = [&counts](auto member) {
    return Sum(counts.routes[0].*member) + Sum(counts.routes[1].*member);
  };
  return Formatted("%5u%11zu%11zu%10zu%10zu%10zu%9zu%6zu%6zu\n", vlan,
                   both(&RouteCounts::candidates), both(&RouteCounts::installed), sum.wanted,
                   sum.waiting, sum.differing, sum.refused, counts.up, counts.down);
}

constexpr const char* VLAN_HEAD =
    "\n VLAN     routes  installed      rows   waiting differing  refused    up  down\n";

void AddScope(Json& json, const SummaryCounts& counts) {
  const auto number = [&json](const char* key, std::size_t value) {
    json.Key(key).Number(std::uint64_t{value});
  };
  json.Key("routes").BeginObject();
  for (std::size_t family = 0; family < counts.routes.size(); ++family) {
    json.Key(NameOfFamily(family != 0)).BeginObject();
    for (std::size_t i = 0; i < PROTOCOLS; ++i) {
      json.Key(NameOf(static_cast<Protocol>(i))).BeginObject();
      number("candidates", counts.routes[family].candidates[i]);
      number("installed", counts.routes[family].installed[i]);
      json.EndObject();
    }
    json.EndObject();
  }
  json.EndObject().Key("rows").BeginObject();
  for (std::size_t i = 0; i < counts.kinds.size(); ++i) {
    const SummaryCounts::Kind& kind = counts.kinds[i];
    json.Key(KIND_KEYS[i]).BeginObject();
    number("wanted", kind.wanted);
    number("as_wanted", kind.CountAsWanted());
    number("waiting", kind.waiting);
    number("differing", kind.differing);
    number("refused", kind.refused);
    json.EndObject();
  }
  json.EndObject().Key("interfaces").BeginObject();
  number("up", counts.up);
  number("down", counts.down);
  json.EndObject();
}

}  // namespace

SummaryView::SummaryView(const Sources& sources, std::optional<unsigned short> vlan, Format format)
    : m_vlan(vlan), m_format(format), m_collector(sources, vlan) {}

View::Rest SummaryView::Next(std::string& text) {
  switch (m_stage) {
    case Stage::COLLECTING:
      if (!m_collector.Continue()) {
        m_stage = Stage::TOTALS;
      }
      return Rest::MORE;
    case Stage::TOTALS:
      WriteTotals(text);
      m_next = m_collector.Get().begin();
      m_stage = Stage::VLANS;
      return m_vlan && m_format == Format::TEXT ? Rest::NONE : Rest::MORE;
    case Stage::VLANS:
      break;
  }
  return WriteVlans(text) ? Rest::MORE : Rest::NONE;
}

void SummaryView::WriteTotals(std::string& text) {
  for (const auto& [vlan, counts] : m_collector.Get()) {
    m_totals.Add(counts);
  }
  if (m_format == Format::TEXT) {
    text += WriteScope(m_vlan ? "VLAN " + std::to_string(*m_vlan) : "all VLANs", m_totals);
    text += m_vlan || m_collector.Get().empty() ? "" : VLAN_HEAD;
    return;
  }
  m_json.BeginObject().Key("view").Text("summary").Key("all");
  if (m_vlan) {
    m_json.Null();
  } else {
    m_json.BeginObject();
    AddScope(m_json, m_totals);
    m_json.EndObject();
  }
  m_json.Key("vlans").BeginArray();
}

bool SummaryView::WriteVlans(std::string& text) {
  const auto end = m_collector.Get().end();
  for (std::size_t i = 0; i < VLANS_A_PIECE && m_next != end; ++i, ++m_next) {
    const auto& [vlan, counts] = *m_next;
    if (m_format == Format::TEXT) {
      text += VlanLine(vlan, counts);
      continue;
    }
    m_json.BeginObject().Key("vlan").Number(static_cast<int>(vlan));
    AddScope(m_json, counts);
    m_json.EndObject();
  }
  if (m_format == Format::JSON) {
    if (m_next == end) {
      m_json.EndArray().EndObject().EndDocument();
    }
    m_json.Take(text);
  }
  return m_next != end;
}

}  // namespace views
