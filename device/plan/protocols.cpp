#include <cstring>

#include "comparisons.h"
#include "protocol_side.h"

namespace plan {

using documents::Kind;
using documents::Member;
using documents::Place;

namespace {

// The members that are not of protocols.
bool IsProtocol(const Member& member) {
  return (member.kind == Kind::OBJECT || member.kind == Kind::ANY_OBJECT) &&
         std::strcmp(member.name, "RTM") != 0 && std::strcmp(member.name, "REDISTRIBUTION") != 0;
}

class ProtocolComparison {
 public:
  ProtocolComparison(const VlanPair& pair, const Member& protocol, Teller& teller)
      : m_pair(pair),
        m_protocol(protocol),
        m_now(ReadProtocol(pair.now, protocol)),
        m_then(ReadProtocol(pair.then, protocol)),
        m_teller(teller) {}

  void Run() {
    CompareProtocol();
    CompareRows();
    m_teller.To().TakeRows(m_protocol.name, m_now.rows.size(), m_then.rows.size());
  }

 private:
  void CompareProtocol() {
    Attributes now;
    Attributes then;
    Align(now, then);
    if (m_now.isRunning == m_then.isRunning && IsSame(now, then)) {
      return;
    }
    const How how = !m_now.isRunning ? How::ADDED : !m_then.isRunning ? How::REMOVED : How::CHANGED;
    m_teller.Tell(Thing::PROTOCOL, how, [&] {
      return Line(m_protocol.name, how == How::CHANGED ? Differing(now, then) : Given(then),
                  m_then.isRunning ? PlaceOfProtocol() : Place());
    });
  }

  // A member that one side does not name has its standard there.
  void Align(Attributes& now, Attributes& then) const {
    std::map<std::string, Attribute> all = m_now.members;
    all.insert(m_then.members.begin(), m_then.members.end());
    for (const auto& [name, attribute] : all) {
      const Attribute absent{name, attribute.standard, attribute.standard};
      const auto a = m_now.members.find(name);
      const auto b = m_then.members.find(name);
      now.push_back(a == m_now.members.end() ? absent : a->second);
      then.push_back(b == m_then.members.end() ? absent : b->second);
    }
  }

  Place PlaceOfProtocol() const {
    Place place = m_pair.then.PlaceOf(m_pair.then.entries.front());
    return {place.file, {}, documents::MemberPath(place.path, m_protocol.name)};
  }

  void CompareRows() {
    auto now = m_now.rows.begin();
    auto then = m_then.rows.begin();
    while (!m_teller.IsOver() && (now != m_now.rows.end() || then != m_then.rows.end())) {
      const bool isNow = now != m_now.rows.end();
      const bool willBe = then != m_then.rows.end();
      if (!willBe || (isNow && now->first < then->first)) {
        TakeRemoved(now->first, now->second);
        ++now;
      } else if (!isNow || then->first < now->first) {
        TakeAdded(then->first, then->second);
        ++then;
      } else {
        TakeBoth(then->first, now->second, then->second);
        ++now;
        ++then;
      }
    }
  }

  const Member& ListOf(const RowKey& key) const { return m_protocol.object->members[key.list]; }

  std::string Title(const RowKey& key, const RowAt& at) const {
    const Member& list = ListOf(key);
    const char* const keyMember = FindRowName(list)->row->keyMember;
    return std::string(m_protocol.name) + " " + list.name + " " + at.name +
           (key.more == 0 ? "" : std::string(" ") + keyMember + " " + std::to_string(key.more));
  }

  Place PlaceOfRow(const RowKey& key, const RowAt& at) const {
    return PlaceOf(at, m_pair.vlan, m_protocol, ListOf(key));
  }

  void TakeRemoved(const RowKey& key, const RowAt& at) {
    m_teller.To().AddRequests(m_pair.then.Exists() ? 1 : 0);
    m_teller.Tell(Thing::ROW, How::REMOVED, [&] { return Title(key, at); });
  }

  void TakeAdded(const RowKey& key, const RowAt& at) {
    m_teller.To().AddRequests(1);
    m_teller.Tell(Thing::ROW, How::ADDED, [&] {
      return Line(Title(key, at), Given(AttributesOf(at, *ListOf(key).object)),
                  PlaceOfRow(key, at));
    });
  }

  void TakeBoth(const RowKey& key, const RowAt& nowAt, const RowAt& thenAt) {
    const Attributes now = AttributesOf(nowAt, *ListOf(key).object);
    const Attributes then = AttributesOf(thenAt, *ListOf(key).object);
    if (IsSame(now, then)) {
      return;
    }
    m_teller.To().AddRequests(1);
    m_teller.Tell(Thing::ROW, How::CHANGED, [&] {
      return Line(Title(key, thenAt), Differing(now, then), PlaceOfRow(key, thenAt));
    });
  }

  const VlanPair& m_pair;
  const Member& m_protocol;
  const ProtocolSide m_now;
  const ProtocolSide m_then;
  Teller& m_teller;
};

}  // namespace

void CompareProtocols(const VlanPair& pair, const documents::Object& entry, Teller& teller) {
  for (std::size_t i = 0; i < entry.count && !teller.IsOver(); ++i) {
    if (IsProtocol(entry.members[i])) {
      ProtocolComparison(pair, entry.members[i], teller).Run();
    }
  }
}

}  // namespace plan
