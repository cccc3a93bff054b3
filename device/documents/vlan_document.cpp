#include "vlan_document.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "digest.h"
#include "entry_tree.h"
#include "router_members.h"
#include "routes_builder.h"
#include "rows_check.h"
#include "shape_reader.h"
#include "text_positions.h"

namespace documents {

namespace {

// What the tree may take, so that a document with all that belongs to it takes at most eight times its
// bytes and 64 MB.
constexpr std::size_t TREE_BYTES = 32u << 20;
constexpr std::size_t TREE_BYTES_PER_BYTE = 4;

// How deep in a document: the root's list of entries is the first level.
enum Level : std::size_t { IN_LIST = 1, IN_ENTRY = 2, IN_MEMBER = 3, IN_ROWS = 4, IN_ROW = 5 };

class EntriesBuilder : public ShapeVisitor {
 public:
  /// `size` is that of the document's text.
  EntriesBuilder(std::size_t size, ConfigFile& file, DocumentFindings& findings)
      : m_file(file),
        m_findings(findings),
        m_mostBytes(TREE_BYTES + TREE_BYTES_PER_BYTE * size),
        m_tree(m_mostBytes),
        m_routes(findings),
        m_rows(findings) {}

  void SetReader(const ShapeReader& reader) { m_reader = &reader; }

  void BeginObject(const Member& member, std::string_view name, std::size_t offset) override {
    if (m_isInRoutes) {
      m_routes.BeginRoute(name, m_reader->Index(), offset);
      return;
    }
    ++m_depth;
    m_tree.BeginObject(member, name);
    if (m_depth == IN_ENTRY) {
      BeginEntry();
    } else if (m_depth == IN_MEMBER) {
      BeginMember(member, offset);
    } else if (IsRow(member)) {
      m_rows.BeginRow(name, m_reader->Index());
      m_isInRow = true;
    }
  }

  void EndObject(const Member& member, const Outcome& outcome) override {
    if (m_isInRoutes) {
      m_routes.EndRoute(outcome);
      return;
    }
    bool isUsable = true;
    if (m_depth == IN_ENTRY) {
      isUsable = EndEntry(outcome);
      HasRoom(outcome.offset);  // an ANY_OBJECT has no rows that would tell
    } else if (m_depth == IN_MEMBER && Is(member, "REDISTRIBUTION")) {
      EndRedistribution(outcome);
    } else if (m_depth == IN_MEMBER && !Is(member, "RTM")) {
      isUsable = EndProtocol(member, outcome);
    } else if (Is(*m_member, "RTM") && Is(member, "ADMIN_DISTANCE")) {
      TellLeftOut(member, outcome);
    } else if (member.kind == Kind::LIST) {
      isUsable = outcome.isFaultless && HasRoom(outcome.offset);
    }
    if (IsRow(member)) {
      m_rows.EndRow();
      m_isInRow = false;
    }
    m_tree.EndObject(isUsable);
    --m_depth;
  }

  void BeginList(const Member& member, bool isArray, std::size_t) override {
    if (member.kind == Kind::ROUTES) {
      m_isInRoutes = true;
      m_routes.BeginList(m_reader->Path(), isArray, Is(member, "STATIC_ROUTES6"));
      return;
    }
    ++m_depth;
    m_hasList = m_hasList || m_depth == IN_LIST;
    m_tree.BeginList(member, isArray);
    if (m_depth == IN_ROWS) {
      m_rows.BeginList(m_reader->Path(), isArray);
    }
  }

  void EndList(const Member&) override {
    if (m_isInRoutes) {
      m_isInRoutes = false;
      return;
    }
    m_tree.EndList();
    --m_depth;
  }

  JsonEvents& BeginAny(const Member& member) override {
    m_undeclared.push_back(&member);
    return m_tree.BeginAny(member);
  }

  void Take(const Member& member, const Scalar& scalar, const Value& value,
            std::size_t offset) override {
    if (m_isInRoutes) {
      m_routes.Take(member, scalar, value, offset);
      return;
    }
    m_tree.Take(member, scalar, value);
    if (m_depth == IN_ENTRY) {
      m_vid = static_cast<unsigned short>(value.number);  // the only one there
      m_vidOffset = offset;
    } else if (m_depth == IN_MEMBER && member.kind == Kind::FLAG) {
      TakeFlag(member, value.flag);
    } else if (m_isInRow) {
      m_rows.Take(member, value, offset);
    }
  }

  /// Whether the document had a list of VLANs.
  bool Finish(std::string_view text) {
    m_file.routes = m_routes.Finish(text);
    m_file.document = Tarsel::Options(m_tree.TakeRoot());
    TakeDigests(text);
    FindPositions(text);
    m_file.interfaceRows = m_rows.Finish(text);
    return m_hasList;
  }

 private:
  void BeginEntry() {
    m_routes.BeginEntry();
    m_rows.BeginEntry();
    m_vid.reset();
    m_protocols = 0;
    m_undeclared.clear();
    m_sources.reset();
  }

  void BeginMember(const Member& member, std::size_t offset) {
    m_member = &member;
    m_isEnabled = true;
    if (Is(member, "REDISTRIBUTION")) {
      m_profile = PlaceAt(offset);
    }
  }

  // Whether the object is a row of a protocol; what its members hold is not.
  bool IsRow(const Member& member) const { return m_depth == IN_ROW && member.kind == Kind::LIST; }

  // Rows of few letters take many times their size. One that would take too much is not kept, nor
  // is any after it.
  bool HasRoom(std::size_t offset) {
    const bool hasRoom = m_tree.GetBytes() <= m_mostBytes;
    if (!hasRoom && !m_hasToldRoom) {
      m_hasToldRoom = true;
      m_findings.Add(Severity::ERROR, offset, m_reader->Path(),
                     "too much for the memory of a document, expected at most " +
                         std::to_string(m_mostBytes >> 20) + " MiB, found more");
    }
    return hasRoom;
  }

  // Whether the entry counts: it has a VLAN, and no entry before has the same, or the same name.
  bool EndEntry(const Outcome& outcome) {
    const bool counts = m_vid && !m_tree.HasNamesake() && !IsDoubled();
    m_routes.EndEntry(counts ? &*m_vid : nullptr);
    if (m_vid) {
      m_rows.JudgeEntry(*m_vid);
    }
    if (!counts) {
      return false;
    }
    m_rows.KeepEntry(*m_vid);
    m_file.entries.emplace(*m_vid, PlaceAt(outcome.offset));
    m_file.vlans.insert(*m_vid);
    TakeUndeclared();
    m_file.protocols[*m_vid] = m_protocols;
    if (m_sources) {
      m_file.profiles[*m_vid] = {*m_sources, m_profile};
    }
    return true;
  }

  // A protocol that nobody has declared may have the member that switches it off all the same. To
  // the library an empty member is none.
  void TakeUndeclared() {
    const Json::Value& entry = m_tree.GetCurrent();
    for (const Member* const member : m_undeclared) {
      const Json::Value& value = entry[member->name];
      const bool runs = ReadEnabling(Tarsel::OptionsNode(value)) == Enabling::YES;
      m_protocols |= !value.empty() && (runs || IsRemote()) ? ProtocolBit(member->name) : 0;
    }
  }

  bool IsRemote() const { return m_file.type != Tarsel::DclConfigObject::VLAN_OPTIONS; }

  bool IsDoubled() {
    const auto first = m_file.entries.find(*m_vid);
    if (first != m_file.entries.end() && m_findings.Wants(Severity::ERROR, m_vidOffset)) {
      m_findings.Add(Severity::ERROR, m_vidOffset, MemberPath(m_reader->Path(), "vid"),
                     "a VLAN that stands twice, expected one entry, that of " + first->second.path +
                         ", found another for VLAN " + std::to_string(*m_vid));
    }
    return first != m_file.entries.end();
  }

  void TakeFlag(const Member& member, bool value) {
    static constexpr std::pair<const char*, bool Sources::*> FLAGS[] = {
        {"static", &Sources::fromStatic}, {"connected", &Sources::fromConnected},
        {"bgp", &Sources::fromBgp},       {"rip", &Sources::fromRip},
        {"ospf", &Sources::fromOspf},
    };
    if (!Is(*m_member, "REDISTRIBUTION")) {
      m_isEnabled = Is(member, "enabled") ? value : m_isEnabled;
      return;
    }
    m_sources = m_sources.value_or(Sources());
    for (const auto& [name, flag] : FLAGS) {
      if (Is(member, name)) {
        *m_sources.*flag = value;
      }
    }
  }

  // An empty one asks for nothing; flags that it does not have, or that cannot be used, are on.
  void EndRedistribution(const Outcome& outcome) {
    if (!outcome.isEmpty) {
      m_sources = m_sources.value_or(Sources());
    }
  }

  bool EndProtocol(const Member& member, const Outcome& outcome) {
    const bool counts = outcome.isFaultless && (m_isEnabled || IsRemote());
    m_protocols |= counts ? ProtocolBit(member.name) : 0;
    return outcome.isFaultless;
  }

  void TellLeftOut(const Member& member, const Outcome& outcome) {
    std::string missing;
    for (std::size_t i = 0; i < member.object->count; ++i) {
      if ((outcome.seen & std::uint64_t{1} << i) == 0) {
        missing += (missing.empty() ? "" : ", ") + std::string(member.object->members[i].name);
      }
    }
    if (!missing.empty()) {
      m_findings.Add(Severity::WARNING, outcome.offset, m_reader->Path(),
                     "distances left out, each becomes 0, expected all, found no " + missing);
    }
  }

  // Of the object that is being read. Its offset has the place of the line until positions are known.
  Place PlaceAt(std::size_t offset) const {
    return {m_file.name, {static_cast<std::uint32_t>(offset), 0}, m_reader->Path()};
  }

  // While the entries' places still have offsets.
  void TakeDigests(std::string_view text) {
    std::vector<std::pair<std::size_t, unsigned short>> entries;
    for (const auto& [vlan, place] : m_file.entries) {
      entries.emplace_back(place.position.line, vlan);
    }
    std::sort(entries.begin(), entries.end());
    for (std::size_t i = 0; i < entries.size(); ++i) {
      const std::size_t end = i + 1 < entries.size() ? entries[i + 1].first : text.size();
      m_file.digests[entries[i].second] =
          DigestOf(text.substr(entries[i].first, end - entries[i].first));
    }
  }

  void FindPositions(std::string_view text) {
    std::vector<Position*> positions;
    for (auto& entry : m_file.entries) {
      positions.push_back(&entry.second.position);
    }
    for (auto& profile : m_file.profiles) {
      positions.push_back(&profile.second.origin.position);
    }
    std::sort(positions.begin(), positions.end(),
              [](const Position* a, const Position* b) { return a->line < b->line; });
    TextPositions inText(text);
    for (Position* const position : positions) {
      *position = inText.Find(position->line);
    }
  }

  ConfigFile& m_file;
  DocumentFindings& m_findings;
  const ShapeReader* m_reader = nullptr;
  const std::size_t m_mostBytes;
  EntryTree m_tree;
  RoutesBuilder m_routes;
  RowsCheck m_rows;
  std::size_t m_depth = 0;
  bool m_hasList = false;
  bool m_isInRoutes = false;
  bool m_isInRow = false;
  bool m_hasToldRoom = false;
  // The entry that is being read.
  const Member* m_member = nullptr;  // that is an object, the last one of the entry
  std::optional<unsigned short> m_vid;
  std::size_t m_vidOffset = 0;
  unsigned int m_protocols = 0;
  bool m_isEnabled = true;
  std::vector<const Member*> m_undeclared;  // protocols
  std::optional<Sources> m_sources;
  Place m_profile;
};

}  // namespace

bool ReadVlanDocument(std::string_view text, const VlanShapes& shapes, ConfigFile& file) {
  const Object& shape =
      file.type == Tarsel::DclConfigObject::VLAN_OPTIONS ? shapes.Vlans() : shapes.Remote();
  DocumentFindings findings;
  EntriesBuilder builder(text.size(), file, findings);
  ShapeReader reader(text, shape, builder, findings);
  builder.SetReader(reader);
  if (const auto mistake = ReadJson(text, reader)) {
    findings = DocumentFindings();  // of what cannot be read the first mistake is all that counts
    findings.Add(Severity::ERROR, mistake->offset, {}, mistake->problem);
    file.findings = findings.Finish(text, file.name);
    return false;
  }
  const bool isUsable = builder.Finish(text);
  file.findings = findings.Finish(text, file.name);
  return isUsable;
}

}  // namespace documents
