#include "route_text.h"

#include "moments.h"
#include "names.h"

namespace views {

namespace {

constexpr std::size_t UNDER_A_ROUTE = 4;

// Where the fields of a row begin.
struct Columns {
  std::size_t preference, gateway, interface, age, protocol;
};
constexpr Columns IP4{21, 31, 47, 56, 65};
constexpr Columns IP6{25, 34, 54, 62, 71};
constexpr Columns BENT{4, 14, 47, 56, 65};

// At least one space stands between two fields.
void Pad(std::size_t column, std::size_t begin, std::string& text) {
  const std::size_t length = text.size() - begin;
  text.append(length < column ? column - length : 1, ' ');
}

void AppendPreference(const RouteItem& item, std::string& text) {
  text += '[';
  if (item.isInStack) {
    AppendNumber(item.distance, text);
  } else {
    text += '-';
  }
  text += '/';
  AppendNumber(item.metric, text);
  text += ']';
}

// What follows the prefix: `columns` says where.
void AppendRest(const RouteItem& item, std::string_view interface, const Columns& columns,
                std::size_t begin, std::string& text) {
  Pad(columns.preference, begin, text);
  AppendPreference(item, text);
  Pad(columns.gateway, begin, text);
  if (IsZero(item.target.gateway)) {
    text += '-';
  } else {
    AppendAddress(item.target.ip6, item.target.gateway, text);
  }
  Pad(columns.interface, begin, text);
  text += interface.empty() ? "-" : interface;
  Pad(columns.age, begin, text);
  if (item.isInStack) {
    text += DescribeSpan(item.ageSeconds);
  } else {
    text += '-';
  }
  Pad(columns.protocol, begin, text);
  text += NameOf(item.protocol);
}

}  // namespace

void RouteText::Append(const RouteItem& item, std::string& text) {
  const std::size_t begin = text.size();
  const Columns& columns = item.target.ip6 ? IP6 : IP4;
  text += item.GetMark();
  text += ' ';
  AppendPrefix(item.target, text);
  const std::size_t bend = text.size();
  const std::string_view interface = m_names.Of(item);
  AppendRest(item, interface, columns, begin, text);
  if (text.size() - begin > WIDTH || bend - begin >= columns.preference) {
    text.resize(bend);
    text += '\n';
    std::size_t line = text.size();
    AppendRest(item, interface, BENT, line, text);
    if (text.size() - line > WIDTH) {
      text.resize(line);
      AppendRest(item, {}, BENT, line, text);
      text += '\n';
      text.append(UNDER_A_ROUTE, ' ').append(interface);
    }
  }
  text += '\n';
  if (item.reason != Reason::NONE) {
    AppendBent(DescribeReason(item, m_names), UNDER_A_ROUTE, text);
  }
  if (item.note != Note::NONE) {
    AppendBent(DescribeNote(item), UNDER_A_ROUTE, text);
  }
  if (item.kernel) {
    AppendBent("the kernel " + Describe(*item.kernel), UNDER_A_ROUTE, text);
  }
}

}  // namespace views
