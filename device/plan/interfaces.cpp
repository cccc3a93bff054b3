#include <algorithm>
#include <cstring>
#include <map>
#include <variant>
#include <vector>

#include "comparisons.h"
#include "device/documents/document_shapes.h"
#include "device/intent/interface_plan.h"
#include "words.h"

namespace plan {

using documents::Device;
using documents::Interface;
using documents::InterfaceKey;
using documents::InterfaceOrigin;
using documents::Ip4Network;
using documents::Place;

namespace {

// ---- requests

// The rows that an action asks for. What routers are told is no request.
struct RowsOfAction {
  std::size_t operator()(const intent::Register&) const { return 2; }
  std::size_t operator()(const intent::Unregister&) const { return 2; }
  std::size_t operator()(const intent::SetStatus&) const { return 2; }
  std::size_t operator()(const intent::ChangeIp4&) const { return 2; }  // the old one goes
  std::size_t operator()(const intent::AddIp4&) const { return 1; }
  std::size_t operator()(const intent::DeleteIp4&) const { return 1; }
  std::size_t operator()(const intent::AddIp6&) const { return 1; }
  std::size_t operator()(const intent::DeleteIp6&) const { return 1; }
  std::size_t operator()(const intent::TellStatus&) const { return 0; }
  std::size_t operator()(const intent::TellIp4&) const { return 0; }
  std::size_t operator()(const intent::TellJoined&) const { return 0; }
};

documents::Interfaces Only(const InterfaceKey& key, const Interface* interface) {
  return interface ? documents::Interfaces{{key, *interface}} : documents::Interfaces();
}

std::size_t CountRequests(const InterfaceKey& key, const Interface* now, const Interface* then) {
  std::size_t count = 0;
  for (const auto& step : intent::PlanInterfaces(Only(key, now), Only(key, then))) {
    count += std::visit(RowsOfAction(), step.action);
  }
  return count;
}

// ---- words

const documents::Member& MemberOf(const documents::Object& object, const char* name) {
  const documents::Member* member = object.members;
  while (std::strcmp(member->name, name) != 0) {
    ++member;
  }
  return *member;
}

// The words stand in the order of the bits.
std::string FlagsText(std::uint32_t flags) {
  const documents::Object& interface =
      *MemberOf(documents::DeviceShape(), "interfaces").element->object;
  const char* const* words = MemberOf(interface, "flags").element->words;
  std::string text;
  for (; *words != nullptr; ++words, flags >>= 1) {
    if ((flags & 1) != 0) {
      text += (text.empty() ? "" : "+") + std::string(*words);
    }
  }
  return text.empty() ? "none" : text;
}

std::string YesOrNo(bool value) { return value ? "yes" : "no"; }

bool IsPrimary(const Device& device, const InterfaceKey& key, const Interface& interface) {
  const auto named = device.primaries.find(key.first);
  return named != device.primaries.end() && named->second == interface.name;
}

Attributes AttributesOf(const Device& device, const InterfaceKey& key, const Interface& interface) {
  const Interface standard;
  return {
      {"name", interface.name, interface.name},  // the title has it
      {"flags", FlagsText(interface.flags), FlagsText(standard.flags)},
      {"mtu", std::to_string(interface.mtu), std::to_string(standard.mtu)},
      {"status", interface.up ? "up" : "down", "up"},
      {"joined", YesOrNo(interface.joined), "no"},
      {"primary", YesOrNo(IsPrimary(device, key, interface)), "no"},
  };
}

std::string TextOf(const Ip4Network& network) {
  unsigned int length = 0;
  while (length < 32 && network.mask != Tarsel::Ip4Addr(Tarsel::Ip6Prefix::s_masks32[length])) {
    ++length;
  }
  return std::string(network.address.ToString().c_str()) + "/" + std::to_string(length);
}

// ---- one interface

/// Compares what the two configurations say of one; null where there is none.
class InterfaceComparison {
 public:
  InterfaceComparison(const VlanPair& pair, const InterfaceKey& key, Teller& teller)
      : m_nowDevice(pair.now.intent->GetDevice()),
        m_thenDevice(pair.then.intent->GetDevice()),
        m_key(key),
        m_now(FindIn(m_nowDevice)),
        m_then(FindIn(m_thenDevice)),
        m_teller(teller) {}

  void Run() {
    m_teller.To().AddRequests(CountRequests(m_key, m_now, m_then));
    CompareInterface();
    CompareIp4();
    CompareIp6();
  }

 private:
  using Ip6Indexes = std::map<Tarsel::Ip6Prefix, std::size_t, documents::Ip6PrefixOrder>;

  const Interface* FindIn(const Device& device) const {
    const auto found = device.interfaces.find(m_key);
    return found == device.interfaces.end() ? nullptr : &found->second;
  }

  // A link has none.
  const InterfaceOrigin& Origin() const {
    static const InterfaceOrigin NONE;
    const auto found = m_thenDevice.origins.find(m_key);
    return m_then->isLink || found == m_thenDevice.origins.end() ? NONE : found->second;
  }

  Place PlaceOfIp6(std::size_t i) const {
    return i < Origin().ip6.size() ? Origin().ip6[i] : Place();
  }

  std::string OfInterface() const { return " of interface " + std::to_string(m_key.second); }

  void CompareInterface() {
    const Attributes now = m_now ? AttributesOf(m_nowDevice, m_key, *m_now) : Attributes();
    const Attributes then = m_then ? AttributesOf(m_thenDevice, m_key, *m_then) : Attributes();
    if (m_now && m_then && IsSame(now, then)) {
      return;
    }
    const How how = !m_now ? How::ADDED : !m_then ? How::REMOVED : How::CHANGED;
    m_teller.Tell(Thing::INTERFACE, how, [&] {
      const std::string& name = m_then ? m_then->name : m_now->name;
      return Line("interface " + std::to_string(m_key.second) + " " + name,
                  m_now && m_then ? Differing(now, then) : Given(then),
                  m_then ? Origin().place : Place());
    });
  }

  // What takes the place of a document's one address changes it.
  void CompareIp4() {
    static const std::vector<Ip4Network> NONE;
    const std::vector<Ip4Network>& now = m_now ? m_now->ip4 : NONE;
    const std::vector<Ip4Network>& then = m_then ? m_then->ip4 : NONE;
    const bool isChanged = now.size() == 1 && then.size() == 1 && now != then;
    for (const Ip4Network& network : now) {
      if (!isChanged && std::find(then.begin(), then.end(), network) == then.end()) {
        TellIp4(How::REMOVED, network, "", Place());
      }
    }
    for (std::size_t i = 0; i < then.size(); ++i) {
      if (std::find(now.begin(), now.end(), then[i]) == now.end()) {
        TellIp4(isChanged ? How::CHANGED : How::ADDED, then[i],
                isChanged ? "was " + TextOf(now[0]) : "", i == 0 ? Origin().ip4 : Place());
      }
    }
  }

  void TellIp4(How how, const Ip4Network& network, const std::string& was, const Place& place) {
    m_teller.Tell(Thing::ADDRESS, how,
                  [&] { return Line("address " + TextOf(network) + OfInterface(), was, place); });
  }

  void CompareIp6() {
    const Ip6Indexes now = IndexesOf(m_now);
    const Ip6Indexes then = IndexesOf(m_then);
    Ip6Indexes all = now;
    all.insert(then.begin(), then.end());
    for (const auto& entry : all) {
      const Tarsel::Ip6Prefix& prefix = entry.first;
      const auto wanted = then.find(prefix);
      if (now.count(prefix) != 0 && wanted != then.end()) {
        continue;
      }
      const bool isAdded = wanted != then.end();
      m_teller.Tell(Thing::ADDRESS, isAdded ? How::ADDED : How::REMOVED, [&] {
        return Line(std::string("address ") + prefix.ToString().c_str() + OfInterface(), {},
                    isAdded ? PlaceOfIp6(wanted->second) : Place());
      });
    }
  }

  static Ip6Indexes IndexesOf(const Interface* interface) {
    Ip6Indexes indexes;
    for (std::size_t i = 0; interface && i < interface->ip6.size(); ++i) {
      indexes.emplace(interface->ip6[i], i);
    }
    return indexes;
  }

  const Device& m_nowDevice;
  const Device& m_thenDevice;
  const InterfaceKey m_key;
  const Interface* const m_now;
  const Interface* const m_then;
  Teller& m_teller;
};

void AddKeys(const VlanSide& side, std::set<InterfaceKey>& keys) {
  const documents::Interfaces& all = side.GetInterfaces();
  for (auto i = all.lower_bound({side.vlan, 0}); i != all.end() && i->first.first == side.vlan;
       ++i) {
    keys.insert(i->first);
  }
}

}  // namespace

void CompareInterfaces(const VlanPair& pair, Teller& teller) {
  if (&pair.now.intent->GetDevice() == &pair.then.intent->GetDevice()) {
    return;
  }
  std::set<InterfaceKey> keys;
  AddKeys(pair.now, keys);
  AddKeys(pair.then, keys);
  for (auto key = keys.begin(); key != keys.end() && !teller.IsOver(); ++key) {
    InterfaceComparison(pair, *key, teller).Run();
  }
}

}  // namespace plan
