#include "device_document.h"

#include <fnmatch.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "device/program/printable.h"
#include "document_shapes.h"
#include "json_tree.h"
#include "shape_reader.h"
#include "text_positions.h"

namespace documents {

namespace {

// DcInterfaceMgr::AddInterface's bits, in the order of the declared words.
constexpr std::uint32_t FLAG_BITS[] = {1, 2, 4, 8, 16, 32};

// What the device may take, so that a document with all that belongs to it takes at most eight
// times its bytes and 64 MB. Then about what an interface and an IPv6 address need, each with its
// origin.
constexpr std::size_t DEVICE_BYTES = 40u << 20;
constexpr std::size_t DEVICE_BYTES_PER_BYTE = 5;
constexpr std::size_t INTERFACE_BYTES = 640;
constexpr std::size_t ADDRESS_BYTES = 320;

// Each name of a link is held against each of them.
constexpr std::size_t MOST_PATTERNS = 256;

Tarsel::Ip4Addr Ip4Of(const Value& value) { return Tarsel::Ip4Addr::FromBytes(&value.address[0]); }

Ip4Network NetworkOf(const Value& value) {
  return {Ip4Of(value), Tarsel::Ip4Addr(Tarsel::Ip6Prefix::s_masks32[value.number])};
}

// Not Ip6Prefix::FromString, which clears the host bits: they are the interface's own address.
Tarsel::Ip6Prefix PrefixOf(const Value& value) {
  return {Tarsel::Ip6Addr::FromBytes(&value.address[0]), value.number};
}

class Builder : public ShapeVisitor {
 public:
  /// `size` is that of the document's text.
  Builder(std::size_t size, const std::string& name, DeviceFile& file, DocumentFindings& findings)
      : m_mostBytes(DEVICE_BYTES + DEVICE_BYTES_PER_BYTE * size),
        m_name(name),
        m_device(file.device),
        m_findings(findings) {}

  void SetReader(const ShapeReader& reader) { m_reader = &reader; }

  void BeginObject(const Member&, std::string_view, std::size_t) override { m_draft = Draft(); }

  void EndObject(const Member& member, const Outcome& outcome) override {
    const bool isInterface = !Is(member, "kernel");
    if (isInterface && outcome.isComplete && HasRoom(INTERFACE_BYTES, outcome.offset)) {
      AddInterface(outcome.offset);
    }
    if (!isInterface) {
      JudgeKernel(outcome.offset);
    }
  }

  void BeginList(const Member& member, bool, std::size_t) override { m_list = &member; }
  void EndList(const Member&) override {}
  JsonEvents& BeginAny(const Member&) override { return m_nothing; }

  void Take(const Member& member, const Scalar& scalar, const Value& value,
            std::size_t offset) override {
    switch (member.kind) {
      case Kind::WORD:
        m_draft.interface.flags |= FLAG_BITS[value.number];
        break;
      case Kind::INTERFACE_NAME:
        TakeName(member, std::string(scalar.text), offset);
        break;
      case Kind::FLAG:
        FlagOf(member) = value.flag;
        break;
      case Kind::NUMBER:
        TakeNumber(member, value.number, offset);
        break;
      case Kind::VLANS_BY_NAME:
        TakeVrf(static_cast<unsigned short>(value.number), offset);
        break;
      case Kind::IP4_PREFIX:
        m_draft.interface.ip4 = {NetworkOf(value)};
        m_draft.ip4 = {offset, m_reader->ValuePath()};
        break;
      case Kind::IP6_PREFIX:
        TakeAddress6(value, offset);
        break;
      case Kind::VLAN_NUMBERS:
        TakeMostNextHops(static_cast<unsigned short>(value.row.vlan),
                         static_cast<unsigned char>(value.number), offset);
        break;
      default:
        TakePrimary(static_cast<unsigned short>(value.number),
                    {{offset, m_reader->ValuePath()}, std::string(scalar.text)});
    }
  }

  void Finish(std::string_view text) {
    TakeLinksOut();
    JudgePrimaries();
    PlaceOrigins(text);
  }

 private:
  /// Where something is, until positions are known.
  struct At {
    std::size_t offset = 0;
    std::string path;
  };
  /// An interface whose members are being read.
  struct Draft {
    Interface interface;
    std::uint32_t vlan = 0;
    std::uint32_t index = 0;
    std::size_t indexOffset = 0;
    std::size_t nameOffset = 0;
    At ip4;
    std::vector<At> ip6;
    std::set<Tarsel::Ip6Prefix, Ip6PrefixOrder> addresses;
  };
  struct Primary {
    At at;
    std::string interface;
  };
  struct Origin {
    InterfaceKey key;
    At interface;
    At ip4;
    std::vector<At> ip6;
  };

  // Documents of few letters take many times their size. What would take too much is not kept.
  bool HasRoom(std::size_t bytes, std::size_t offset) {
    m_bytes += bytes;
    if (m_bytes > m_mostBytes && !m_hasToldRoom) {
      m_hasToldRoom = true;
      m_findings.Add(Severity::ERROR, offset, {},
                     "too much for the memory of a document, expected at most " +
                         std::to_string(m_mostBytes >> 20) + " MiB, found more");
    }
    return m_bytes <= m_mostBytes;
  }

  // What does nothing alone.
  void JudgeKernel(std::size_t offset) {
    const auto warn = [&](const char* name, const char* problem) {
      m_findings.Add(Severity::WARNING, offset, MemberPath(m_reader->Path(), name), problem);
    };
    if (m_device.kernel.writesRules && !m_device.kernel.writesRoutes) {
      warn("rules", "rules without routes, expected \"routes\" as well, found none");
    }
    if (!m_device.kernel.multipath.empty() && !m_device.kernel.writesRoutes) {
      warn("multipath",
           "several next hops without routes, expected \"routes\" as well, found none");
    }
    if (!m_device.links.vrfs.empty() && m_device.links.taken.empty() &&
        !m_device.kernel.writesRoutes) {
      warn("vrfs",
           "VRF devices of no use, expected \"interfaces\" or \"routes\" as well, found none");
    }
  }

  // A name that stands twice the reader finds; there the first one counts, too.
  void TakeVrf(unsigned short vlan, std::size_t offset) {
    if (m_device.links.vrfs.count(m_reader->ValueName()) != 0) {
      return;
    }
    if (m_vrfVlans.insert(vlan).second) {
      m_device.links.vrfs.emplace(m_reader->ValueName(), vlan);
    } else {
      m_findings.Add(Severity::ERROR, offset, m_reader->ValuePath(),
                     "a VLAN that stands twice, expected one VRF device for VLAN " +
                         std::to_string(vlan) + ", found another, " +
                         program::Quote(m_reader->ValueName()));
    }
  }

  // Of an interface, or in a list of patterns, whose elements have no name of their own.
  void TakeName(const Member& member, std::string name, std::size_t offset) {
    if (Is(member, "name")) {
      m_draft.interface.name = std::move(name);
      m_draft.nameOffset = offset;
      return;
    }
    auto& patterns = Is(*m_list, "ignore") ? m_device.links.ignored : m_device.links.taken;
    if (patterns.size() < MOST_PATTERNS) {
      patterns.push_back(std::move(name));
    } else {
      m_findings.Add(
          Severity::ERROR, offset, m_reader->ValuePath(),
          "too many names, expected at most " + std::to_string(MOST_PATTERNS) + ", found more");
    }
  }

  bool& FlagOf(const Member& member) {
    if (Is(member, "routes")) {
      return m_device.kernel.writesRoutes;
    }
    if (Is(member, "rules")) {
      return m_device.kernel.writesRules;
    }
    return Is(member, "up") ? m_draft.interface.up : m_draft.interface.joined;
  }

  void TakeNumber(const Member& member, std::uint32_t number, std::size_t offset) {
    if (Is(member, "default_vlan")) {
      m_device.defaultVlan = static_cast<unsigned short>(number);
    } else if (Is(member, "table_base")) {
      m_device.kernel.tableBase = number;
    } else if (Is(member, "mtu")) {
      m_draft.interface.mtu = number;
    } else if (Is(member, "vlan")) {
      m_draft.vlan = number;
    } else {
      m_draft.index = number;
      m_draft.indexOffset = offset;
    }
  }

  // The length is not part of an address's identity.
  void TakeAddress6(const Value& value, std::size_t offset) {
    if (!HasRoom(ADDRESS_BYTES, offset)) {
      return;
    }
    const Tarsel::Ip6Prefix prefix = PrefixOf(value);
    if (!m_draft.addresses.insert(Tarsel::Ip6Prefix(prefix.GetAddress(), 0)).second) {
      m_findings.Add(Severity::ERROR, offset, m_reader->ValuePath(),
                     "an address that the interface has already, expected another, found " +
                         program::Quote(prefix.GetAddress().ToString().c_str()));
      return;
    }
    m_draft.interface.ip6.push_back(prefix);
    m_draft.ip6.push_back({offset, m_reader->ValuePath()});
  }

  // Routes name their interface by VLAN and name, the stack by VLAN and index: each pair once.
  void AddInterface(std::size_t offset) {
    const InterfaceKey key(static_cast<unsigned short>(m_draft.vlan), m_draft.index);
    const std::string vlan = "VLAN " + std::to_string(key.first);
    const bool isKeyNew = m_device.interfaces.count(key) == 0;
    const bool isNameNew = m_names.count({key.first, m_draft.interface.name}) == 0;
    if (!isKeyNew) {
      m_findings.Add(Severity::ERROR, m_draft.indexOffset, MemberPath(m_reader->Path(), "index"),
                     "an index that stands twice, expected one interface of " + vlan +
                         " with it, found " + std::to_string(key.second) + " again");
    }
    if (!isNameNew) {
      m_findings.Add(Severity::ERROR, m_draft.nameOffset, MemberPath(m_reader->Path(), "name"),
                     "a name that stands twice, expected one interface of " + vlan +
                         " with it, found " + program::Quote(m_draft.interface.name) + " again");
    }
    if (isKeyNew && isNameNew) {
      m_names.insert({key.first, m_draft.interface.name});
      m_device.interfaces.emplace(key, std::move(m_draft.interface));
      m_origins.push_back(
          {key, {offset, m_reader->Path()}, std::move(m_draft.ip4), std::move(m_draft.ip6)});
    }
  }

  void TakeMostNextHops(unsigned short vlan, unsigned char most, std::size_t offset) {
    const std::string path = m_reader->ValuePath();
    const auto [first, isNew] = m_multipathPaths.try_emplace(vlan, path);
    if (!isNew && first->second != path) {
      m_findings.Add(Severity::ERROR, offset, path,
                     "a VLAN that stands twice, expected one number for VLAN " +
                         std::to_string(vlan) + ", found another, " + std::to_string(most));
    } else if (isNew && most > 1) {
      m_device.kernel.multipath[vlan] = most;
    }
  }

  // A name that stands twice in the same letters the reader finds. There can be millions.
  void TakePrimary(unsigned short vlan, Primary primary) {
    const auto [first, isNew] = m_primaries.try_emplace(vlan, std::move(primary));
    if (!isNew && first->second.at.path != primary.at.path) {
      m_findings.Add(Severity::ERROR, primary.at.offset, primary.at.path,
                     "a VLAN that stands twice, expected one name for VLAN " +
                         std::to_string(vlan) + ", found another, " +
                         program::Quote(primary.interface));
    }
  }

  // When all patterns are known. Of a link that the document has twice the first one counts.
  void TakeLinksOut() {
    const auto isLink = [this](const Origin& origin) {
      const auto found = m_device.interfaces.find(origin.key);
      if (!m_device.links.Take(found->second.name)) {
        return false;
      }
      const bool isNew =
          m_device.links.vlans.try_emplace(found->second.name, origin.key.first).second;
      if (!isNew) {
        m_findings.Add(Severity::ERROR, origin.interface.offset, origin.interface.path,
                       "a link that stands twice, expected one VLAN for it, found " +
                           program::Quote(found->second.name) + " again");
      }
      m_device.interfaces.erase(found);
      return true;
    };
    m_origins.erase(std::remove_if(m_origins.begin(), m_origins.end(), isLink), m_origins.end());
  }

  // When all interfaces are known. Which VLAN a link has is known when it is there.
  void JudgePrimaries() {
    for (auto& [vlan, primary] : m_primaries) {
      if (m_names.count({vlan, primary.interface}) != 0 || m_device.links.Take(primary.interface)) {
        m_device.primaries[vlan] = std::move(primary.interface);
      } else {
        m_findings.Add(Severity::ERROR, primary.at.offset, primary.at.path,
                       "not an interface of VLAN " + std::to_string(vlan) +
                           ", expected the name of one, found " +
                           program::Quote(primary.interface));
      }
    }
  }

  void PlaceOrigins(std::string_view text) {
    std::vector<std::pair<std::size_t, Place*>> places;
    const auto add = [&](const At& at, Place& place) {
      place = {m_name, {}, at.path};
      places.emplace_back(at.offset, &place);
    };
    for (const Origin& origin : m_origins) {
      InterfaceOrigin& result = m_device.origins[origin.key];
      add(origin.interface, result.place);
      add(origin.ip4, result.ip4);
      result.ip6.resize(origin.ip6.size());
      for (std::size_t i = 0; i < origin.ip6.size(); ++i) {
        add(origin.ip6[i], result.ip6[i]);
      }
    }
    std::sort(places.begin(), places.end());
    TextPositions positions(text);
    for (const auto& [offset, place] : places) {
      place->position = positions.Find(offset);
    }
  }

  const std::size_t m_mostBytes;
  std::size_t m_bytes = 0;
  bool m_hasToldRoom = false;
  const std::string& m_name;
  Device& m_device;
  DocumentFindings& m_findings;
  const ShapeReader* m_reader = nullptr;
  const Member* m_list = nullptr;  // that began last
  Draft m_draft;
  std::set<std::pair<unsigned short, std::string>> m_names;
  std::map<unsigned short, Primary> m_primaries;           // by VLAN, the first of each
  std::map<unsigned short, std::string> m_multipathPaths;  // so too
  std::vector<Origin> m_origins;
  std::set<unsigned short> m_vrfVlans;
  JsonTree m_nothing;  // nothing in the document is left undeclared
};

}  // namespace

bool LinkSettings::Take(const std::string& name) const {
  const auto isAmong = [&name](const std::vector<std::string>& patterns) {
    return std::any_of(patterns.begin(), patterns.end(), [&name](const std::string& pattern) {
      return fnmatch(pattern.c_str(), name.c_str(), FNM_NOESCAPE) == 0;
    });
  };
  return isAmong(taken) && !isAmong(ignored);
}

bool Ip6PrefixOrder::operator()(const Tarsel::Ip6Prefix& a, const Tarsel::Ip6Prefix& b) const {
  const int order = std::memcmp(a.GetAddress().GetBytes(), b.GetAddress().GetBytes(), 16);
  return order != 0 ? order < 0 : a.GetLength() < b.GetLength();
}

bool ReadPrefix(const std::string& text, Ip4Network& network) {
  Value value;
  const Member member{"", Kind::IP4_PREFIX};
  const bool isPrefix = ReadScalar(member, {Scalar::TEXT, text}, value) == nullptr;
  network = isPrefix ? NetworkOf(value) : network;
  return isPrefix;
}

bool ReadPrefix(const std::string& text, Tarsel::Ip6Prefix& prefix) {
  Value value;
  const Member member{"", Kind::IP6_PREFIX};
  const bool isPrefix = ReadScalar(member, {Scalar::TEXT, text}, value) == nullptr;
  prefix = isPrefix ? PrefixOf(value) : prefix;
  return isPrefix;
}

bool ReadDeviceDocument(std::string_view text, const std::string& name, DeviceFile& file) {
  DocumentFindings findings;
  Builder builder(text.size(), name, file, findings);
  ShapeReader reader(text, DeviceShape(), builder, findings);
  builder.SetReader(reader);
  if (const auto mistake = ReadJson(text, reader)) {
    findings = DocumentFindings();  // of what cannot be read the first mistake is all that counts
    findings.Add(Severity::ERROR, mistake->offset, {}, mistake->problem);
    file.findings = findings.Finish(text, name);
    return false;
  }
  builder.Finish(text);
  file.findings = findings.Finish(text, name);
  return reader.IsUsable();
}

}  // namespace documents
