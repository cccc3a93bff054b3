#include "protocol_side.h"

#include <algorithm>
#include <cstring>

#include "device/documents/member_value.h"
#include "values.h"

namespace plan {

using documents::Kind;
using documents::Member;
using documents::Object;
using Tarsel::OptionsNode;

namespace {

const Member* Find(const Object& object, const char* name) {
  const Member* const end = object.members + object.count;
  const Member* const found =
      std::find_if(object.members, end, [name](const Member& member) { return Is(member, name); });
  return found == end ? nullptr : found;
}

// A list whose rows may have any word in their names is of no table: it says which interfaces take
// part.
bool IsOfTable(const Member& rowName) { return *rowName.row->prefix != '\0'; }

class Reader {
 public:
  Reader(const Member& protocol, ProtocolSide& side) : m_protocol(protocol), m_side(side) {}

  void Read(const documents::ConfigFile& file, const OptionsNode& node) {
    m_file = &file;
    if (m_protocol.object == nullptr) {
      ReadUndeclared(node);
      return;
    }
    for (std::size_t i = 0; i < m_protocol.object->count; ++i) {
      const Member& member = m_protocol.object->members[i];
      if (Is(member, documents::ENABLED.name) || node.GetChildNode(member.name).IsNull()) {
        continue;
      }
      if (FindRowName(member) != nullptr) {
        ReadList(node.GetChildNode(member.name), member, i);
      } else {
        SetMember(member.name, ValueOf(node, member), StandardOf(member));
      }
    }
  }

 private:
  void ReadUndeclared(const OptionsNode& node) {
    const auto end = node.end();
    for (auto child = node.begin(); child != end; ++child) {
      const Tarsel::string name = child.GetName();
      if (std::strcmp(name.c_str(), documents::ENABLED.name) != 0) {
        SetMember(name.c_str(), AnyValueOf(node, name.c_str()), "none");
      }
    }
  }

  void ReadList(const OptionsNode& list, const Member& member, std::size_t place) {
    const Member& rowName = *FindRowName(member);
    std::size_t index = 0;
    const auto end = list.end();
    for (auto element = list.begin(); element != end; ++element, ++index) {
      const OptionsNode node = *element;
      Tarsel::string name;
      documents::Value value;
      node.GetAsString(name, rowName.name);
      documents::ReadScalar(rowName, {documents::Scalar::TEXT, name.c_str()}, value);
      if (IsOfTable(rowName)) {
        const RowKey key{place, value.row.row, KeyNumber(node, *member.object, rowName)};
        m_side.rows[key] = {m_file, node, name.c_str(), element.GetName().c_str(), index};
      } else {
        SetMember(std::string(member.name) + " " + std::to_string(value.row.row[0]),
                  ValueOf(node, documents::ENABLED), StandardOf(documents::ENABLED));
      }
    }
  }

  static std::uint32_t KeyNumber(const OptionsNode& node, const Object& row,
                                 const Member& rowName) {
    const char* const name = rowName.row->keyMember;
    const Member* const member = name == nullptr ? nullptr : Find(row, name);
    unsigned int number = member == nullptr ? 0 : member->standard;
    if (member != nullptr) {
      node.AsVal(number, name);
    }
    return number;
  }

  void SetMember(const std::string& name, std::string value, std::string standard) {
    m_side.members[name] = {name, std::move(value), std::move(standard)};
  }

  const Member& m_protocol;
  ProtocolSide& m_side;
  const documents::ConfigFile* m_file = nullptr;
};

// Of the name of a row that belongs to an interface; unknown for others. Rows are in the order of
// their positions, so those of an entry follow each other.
documents::Position FindPosition(const documents::ConfigFile& file, unsigned short vlan,
                                 const documents::Position& entry, const std::string& path) {
  const auto isBefore = [&entry](const documents::InterfaceRow& row) {
    return std::tie(row.position.line, row.position.column) < std::tie(entry.line, entry.column);
  };
  const std::vector<documents::InterfaceRow>& rows = file.interfaceRows.Get();
  auto row = std::partition_point(rows.begin(), rows.end(), isBefore);
  for (; row != rows.end() && row->vlan == vlan; ++row) {
    if (file.interfaceRows.PlaceOf(*row, file.name).path == path) {
      return row->position;
    }
  }
  return {};
}

}  // namespace

const Member* FindRowName(const Member& list) {
  if (list.kind != Kind::LIST) {
    return nullptr;
  }
  const Member* const end = list.object->members + list.object->count;
  const Member* const found = std::find_if(list.object->members, end, [](const Member& member) {
    return member.kind == Kind::ROW_NAME;
  });
  return found == end ? nullptr : found;
}

ProtocolSide ReadProtocol(const VlanSide& side, const Member& member) {
  ProtocolSide protocol;
  for (const Entry& entry : side.entries) {
    const OptionsNode node = entry.node.GetChildNode(member.name);
    if (&entry == &side.entries.front()) {
      protocol.isRunning =
          !node.IsEmpty() && documents::ReadEnabling(node) == documents::Enabling::YES;
      if (!protocol.isRunning) {
        return protocol;
      }
    }
    if (node.IsObject()) {
      Reader(member, protocol).Read(*entry.file, node);
    }
  }
  return protocol;
}

Attributes AttributesOf(const RowAt& at, const Object& row) {
  const char* keyMember = nullptr;
  for (std::size_t i = 0; i < row.count; ++i) {
    keyMember = row.members[i].kind == Kind::ROW_NAME ? row.members[i].row->keyMember : keyMember;
  }
  Attributes attributes;
  for (std::size_t i = 0; i < row.count; ++i) {
    const Member& member = row.members[i];
    const bool isInKey = keyMember != nullptr && Is(member, keyMember);
    if (member.kind != Kind::ROW_NAME && !isInKey) {
      attributes.push_back(
          {member.name, ValueOf(at.node, member), member.isRequired ? "" : StandardOf(member)});
    }
  }
  return attributes;
}

documents::Place PlaceOf(const RowAt& at, unsigned short vlan, const Member& protocol,
                         const Member& list) {
  documents::Place place = at.file->entries.at(vlan);
  const documents::Position entry = place.position;
  place.path = documents::MemberPath(place.path, protocol.name);
  place.path = documents::MemberPath(place.path, list.name);
  place.path = at.element.empty() ? documents::ElementPath(place.path, at.index)
                                  : documents::MemberPath(place.path, at.element);
  place.position = FindPosition(*at.file, vlan, entry,
                                documents::MemberPath(place.path, FindRowName(list)->name));
  return place;
}

}  // namespace plan
