#include "tables.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

namespace reference {

using documents::Kind;
using documents::Member;
using documents::Object;
using documents::Protocols;

namespace {

constexpr const char* BEGIN = "<!-- members: ";
constexpr const char* END = "<!-- end of members -->\n";

std::string Code(const std::string& text) { return '`' + text + '`'; }

std::string Range(std::uint32_t low, std::uint32_t high) {
  return std::to_string(low) + " to " + std::to_string(high);
}

std::string Line(const std::vector<std::string>& cells) {
  std::string line = "|";
  for (const std::string& cell : cells) {
    line += cell.empty() ? " |" : ' ' + cell + " |";
  }
  return line + '\n';
}

std::string Heading(const std::vector<std::string>& cells) {
  std::string line = "|";
  for (std::size_t i = 0; i < cells.size(); ++i) {
    line += "---|";
  }
  return Line(cells) + line + '\n';
}

std::string Words(const char* const* words) {
  std::string text;
  for (; *words != nullptr; ++words) {
    text += (text.empty() ? "" : ", ") + Code(*words);
  }
  return text;
}

std::string NamePattern(const documents::Row& row) {
  const std::string prefix = *row.prefix == '\0' ? "LETTERS" : row.prefix;
  std::string name = prefix + "_VLAN_" + (row.isInterface ? "INDEX" : "NUMBER");
  for (unsigned int i = 0; i < row.moreNumbers; ++i) {
    name += "[_NUMBER";
  }
  return Code(name + std::string(row.moreNumbers, ']'));
}

// ---- one member

std::string TypeOf(const Member& member) {
  switch (member.kind) {
    case Kind::FLAG:
      return "flag";
    case Kind::NUMBER:
      return "number";
    case Kind::DIGITS:
    case Kind::PREFIX_LENGTH:
      return "number, or text of digits";
    case Kind::OBJECT:
      return member.object->mayBeEmpty ? "object" : "object, not empty";
    case Kind::ANY_OBJECT:
      return "object";
    case Kind::LIST:
    case Kind::ROUTES:
      return "object or array of objects";
    case Kind::ARRAY:
      return member.element->object != nullptr ? "array of objects" : "array of texts";
    case Kind::VLAN_NAMES:
      return "object: VLAN to name";
    case Kind::VLAN_NUMBERS:
      return "object: VLAN to number";
    case Kind::VLANS_BY_NAME:
      return "object: name to VLAN";
    default:
      return "text";
  }
}

std::string TextRange(const Member& member, const char* unit) {
  if (member.high == documents::ANY_LENGTH) {
    return "";
  }
  return (member.low == 0 ? "up to " + std::to_string(member.high)
                          : Range(member.low, member.high)) +
         ' ' + unit;
}

std::string RangeOf(const Member& member) {
  switch (member.kind) {
    case Kind::NUMBER:
    case Kind::DIGITS:
    case Kind::PREFIX_LENGTH:
      return Range(member.low, member.high);
    case Kind::TEXT:
      return TextRange(member, "bytes of UTF-8");
    case Kind::DESCRIPTION:
      return TextRange(member, "bytes of UTF-8; not beginning with `.*`");
    case Kind::INTERFACE_NAME:
      return TextRange(member, "printable characters of ASCII, no blanks");
    case Kind::WORD:
      return Words(member.words);
    case Kind::ANY_CASE_WORD:
      return Words(member.words) + ", in upper or lower case";
    case Kind::ROW_NAME:
      return NamePattern(*member.row);
    case Kind::IP4:
      return "an IPv4 address";
    case Kind::IP6:
      return "an IPv6 address";
    case Kind::IP4_OR_IP6:
      return "an address of the family";
    case Kind::IP4_MASK:
      return "leading one bits only, as an IPv4 address";
    case Kind::IP4_GROUP:
      return "an IPv4 multicast address";
    case Kind::IP6_GROUP:
      return "an IPv6 multicast address";
    case Kind::IP4_PREFIX:
      return "IPv4, length 0 to 32";
    case Kind::IP6_PREFIX:
      return "IPv6, length 0 to 128";
    case Kind::ARRAY:
      return RangeOf(*member.element);
    case Kind::VLAN_NAMES:
      return "VLANs " + Range(member.low, member.high);
    case Kind::VLAN_NUMBERS:
      return "VLANs " + Range(member.low, member.high) + ", numbers " + RangeOf(*member.element);
    case Kind::VLANS_BY_NAME:
      return "names: " + RangeOf(*member.element) + "; VLANs " + Range(member.low, member.high);
    default:
      return "";
  }
}

std::string DefaultOf(const Member& member) {
  if (member.isRequired) {
    return "required";
  }
  if (member.standardText != nullptr) {
    return member.standardText;
  }
  switch (member.kind) {
    case Kind::FLAG:
      return member.standard != 0 ? "true" : "false";
    case Kind::NUMBER:
    case Kind::DIGITS:
    case Kind::PREFIX_LENGTH:
      return std::to_string(member.standard);
    case Kind::WORD:
    case Kind::ANY_CASE_WORD:
      return Code(member.words[member.standard]);
    default:
      return "";
  }
}

std::string MeaningOf(const Member& member) {
  std::string meaning = member.meaning == nullptr ? "" : member.meaning;
  if (member.kind == Kind::ARRAY && member.element->meaning != nullptr) {
    meaning += (meaning.empty() ? "" : "; ") + std::string(member.element->meaning);
  }
  return meaning;
}

std::vector<std::string> CellsOf(const Member& member) {
  return {Code(member.name), TypeOf(member), RangeOf(member), DefaultOf(member), MeaningOf(member)};
}

// ---- whole tables

// Neighbours that differ in their names only share a line.
std::string MembersTable(const Object& object) {
  std::string text = Heading({"member", "type", "range", "default", "meaning"});
  std::vector<std::string> line;
  for (std::size_t i = 0; i < object.count; ++i) {
    std::vector<std::string> cells = CellsOf(object.members[i]);
    if (!line.empty() && std::equal(cells.begin() + 1, cells.end(), line.begin() + 1)) {
      line[0] += ", " + cells[0];
      continue;
    }
    text += line.empty() ? "" : Line(line);
    line = std::move(cells);
  }
  return text + Line(line);
}

bool IsSame(const Member& a, const Member& b) {
  return a.object == b.object && CellsOf(a) == CellsOf(b);
}

const Member* Find(const Object& object, const Member& wanted) {
  const Member* const end = object.members + object.count;
  const Member* const found = std::find_if(
      object.members, end, [&](const Member& member) { return IsSame(member, wanted); });
  return found == end ? nullptr : found;
}

/// Whether all protocols that are declared have the member.
bool IsCommon(const Member& member, const Protocols& protocols) {
  return std::all_of(
      protocols.members, protocols.members + protocols.count,
      [&](const Member& protocol) { return Find(*protocol.object, member) != nullptr; });
}

/// The lists of rows of each protocol.
template <class Visit>
void ForEachList(const Protocols& protocols, Visit visit) {
  for (std::size_t i = 0; i < protocols.count; ++i) {
    const Member& protocol = protocols.members[i];
    for (std::size_t j = 0; j < protocol.object->count; ++j) {
      const Member& member = protocol.object->members[j];
      if (member.kind == Kind::LIST && !IsCommon(member, protocols)) {
        visit(protocol, member);
      }
    }
  }
}

// A row's name is told by the table of protocols; "enabled" is every row's.
bool IsOfEveryRow(const Member& member) {
  return member.kind == Kind::ROW_NAME || IsSame(member, documents::ENABLED);
}

std::string ProtocolsTable(const Protocols& protocols) {
  std::string text = Heading({"protocol", "list", "of", "`Name` of each"});
  ForEachList(protocols, [&](const Member& protocol, const Member& list) {
    const Member* const end = list.object->members + list.object->count;
    const Member* const name = std::find_if(list.object->members, end, [](const Member& member) {
      return member.kind == Kind::ROW_NAME;
    });
    text += Line({Code(protocol.name), Code(list.name), std::string(list.object->title) + 's',
                  name == end ? std::string() : NamePattern(*name->row)});
  });
  return text;
}

// Each protocol has names of its own.
std::string EveryRowTable() {
  return Heading({"member", "type", "range", "default", "meaning"}) +
         Line({Code("Name"), "text", "as above", "required", ""}) +
         Line(CellsOf(documents::ENABLED));
}

// Rows of different protocols that have a member in common share its line.
std::string RowsTable(const Protocols& protocols) {
  std::vector<std::pair<std::string, const Member*>> lines;
  ForEachList(protocols, [&](const Member&, const Member& list) {
    const Object& row = *list.object;
    for (std::size_t i = 0; i < row.count; ++i) {
      const Member& member = row.members[i];
      if (IsOfEveryRow(member)) {
        continue;
      }
      const auto known = std::find_if(lines.begin(), lines.end(), [&](const auto& line) {
        return IsSame(*line.second, member);
      });
      if (known == lines.end()) {
        lines.emplace_back(row.title, &member);
      } else {
        known->first += std::string(", ") + row.title;
      }
    }
  });
  std::string text = Heading({"row", "member", "type", "range", "default", "meaning"});
  for (const auto& [rows, member] : lines) {
    std::vector<std::string> cells = CellsOf(*member);
    cells.insert(cells.begin(), rows);
    if (member->kind == Kind::LIST) {
      cells[3] = "each with " + Code(member->object->members->name) + ", " +
                 RangeOf(*member->object->members);
    }
    text += Line(cells);
  }
  return text;
}

std::string RoutesTable() {
  const Object& route4 = documents::Route4Shape();
  const Object& route6 = documents::Route6Shape();
  std::string text = Heading({"member", "family", "type", "range", "default", "meaning"});
  const auto add = [&text](const Member& member, const char* family) {
    std::vector<std::string> cells = CellsOf(member);
    cells.insert(cells.begin() + 1, family);
    text += Line(cells);
  };
  for (std::size_t i = 0; i < route4.count; ++i) {
    add(route4.members[i], Find(route6, route4.members[i]) != nullptr ? "both" : "IPv4");
  }
  for (std::size_t i = 0; i < route6.count; ++i) {
    if (Find(route4, route6.members[i]) == nullptr) {
      add(route6.members[i], "IPv6");
    }
  }
  return text;
}

using Tables = std::map<std::string, std::string>;

/// The tables of an object and of those within it, by title.
void AddTables(Tables& tables, const Object& object) {
  tables[object.title] = MembersTable(object);
  for (std::size_t i = 0; i < object.count; ++i) {
    const Member& member = object.members[i];
    const Member& inner = member.kind == Kind::ARRAY ? *member.element : member;
    if (inner.object != nullptr) {
      AddTables(tables, *inner.object);
    }
  }
}

/// The members that all protocols have, and those of the groups in them.
void AddCommonTables(Tables& tables, const Protocols& protocols) {
  std::string& text = tables["every protocol"];
  text = Heading({"member", "type", "range", "default", "meaning"});
  const Object& first = *protocols.members->object;
  for (std::size_t i = 0; i < first.count; ++i) {
    const Member& member = first.members[i];
    if (IsCommon(member, protocols)) {
      text += Line(CellsOf(member));
      if (member.object != nullptr) {
        AddTables(tables, *member.object);
      }
    }
  }
}

Tables MakeTables(const Object& entry, const Protocols& protocols) {
  Tables tables;
  AddTables(tables, documents::DeviceShape());
  tables[entry.title] = MembersTable(entry);
  const Member* const end = protocols.members + protocols.count;
  for (std::size_t i = 0; i < entry.count; ++i) {
    const Member& member = entry.members[i];
    const bool isProtocol = std::any_of(protocols.members, end, [&](const Member& protocol) {
      return protocol.object == member.object;
    });
    if (member.kind == Kind::OBJECT && !isProtocol) {
      AddTables(tables, *member.object);
    }
  }
  AddCommonTables(tables, protocols);
  tables["protocols"] = ProtocolsTable(protocols);
  tables["every row"] = EveryRowTable();
  tables["rows"] = RowsTable(protocols);
  tables["routes"] = RoutesTable();
  return tables;
}

}  // namespace

std::string WithTables(const std::string& page, const documents::VlanShapes& shapes,
                       const Protocols& protocols) {
  Tables tables = MakeTables(shapes.VlansEntry(), protocols);
  std::string text;
  std::size_t done = 0;
  for (std::size_t begin = page.find(BEGIN); begin != std::string::npos;
       begin = page.find(BEGIN, done)) {
    const std::size_t title = begin + std::strlen(BEGIN);
    const std::size_t line = page.find(" -->\n", title);
    const std::size_t end = page.find(END, title);
    const auto table = tables.find(page.substr(title, line - title));
    if (end == std::string::npos || table == tables.end()) {
      throw std::runtime_error("no such table, or no end of it: " +
                               page.substr(begin, page.find('\n', begin) - begin));
    }
    text += page.substr(done, line + std::strlen(" -->\n") - done) + table->second;
    done = end;
    tables.erase(table);
  }
  if (!tables.empty()) {
    throw std::runtime_error("the page has no place for the table: " + tables.begin()->first);
  }
  return text + page.substr(done);
}

}  // namespace reference
