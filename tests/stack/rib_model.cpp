#include "rib_model.h"

#include <algorithm>
#include <set>
#include <tuple>

#include "forwarding_mirror.h"

namespace stack_test {

namespace {

using Bytes = RibModel::Bytes;

bool Bit(const Bytes& bytes, unsigned int index) {
  return (bytes[index / 8] >> (7 - index % 8) & 1) != 0;
}

bool Covers(const Bytes& prefix, unsigned int length, const Bytes& address) {
  for (unsigned int i = 0; i < length; ++i) {
    if (Bit(prefix, i) != Bit(address, i)) {
      return false;
    }
  }
  return true;
}

Bytes WithoutHostBits(Bytes bytes, unsigned int length) {
  for (unsigned int i = length; i < 128; ++i) {
    bytes[i / 8] = static_cast<unsigned char>(bytes[i / 8] & ~(1 << (7 - i % 8)));
  }
  return bytes;
}

bool IsZero(const Bytes& bytes) { return bytes == Bytes{}; }

template <typename Row>
void Fill(const RibModel::CandidateKey& key, unsigned int outInterface, unsigned int metric,
          unsigned long long age, Row* row) {
  row->instance = key.instance;
  std::copy(key.destination.begin(), key.destination.end(), row->destination);
  row->prefix_length = key.length;
  std::copy(key.nextHop.begin(), key.nextHop.end(), row->next_hop);
  row->if_index = outInterface;
  row->route_type = key.proto == 2 ? 3 : 4;
  row->route_proto = key.proto;
  row->age = static_cast<unsigned int>(age / 1000);
  row->metric1 = metric;
}

}  // namespace

bool operator<(const RibModel::AddressKey& a, const RibModel::AddressKey& b) {
  return std::tie(a.instance, a.ifIndex, a.bits, a.address) <
         std::tie(b.instance, b.ifIndex, b.bits, b.address);
}

bool operator<(const RibModel::CandidateKey& a, const RibModel::CandidateKey& b) {
  return std::tie(a.instance, a.destination, a.length, a.proto, a.nextHop, a.ifIndex) <
         std::tie(b.instance, b.destination, b.length, b.proto, b.nextHop, b.ifIndex);
}

void RibModel::DropInstance(unsigned int instance) {
  instances.erase(instance);
  for (auto it = candidates.begin(); it != candidates.end();) {
    it = it->first.instance == instance ? candidates.erase(it) : std::next(it);
  }
}

// Every address of an interface that is up connects its prefix; one candidate for each interface.
std::vector<RibModel::CandidateKey> RibModel::Connected() const {
  std::set<CandidateKey> keys;
  for (const auto& [key, length] : addresses) {
    const auto instance = instances.find(key.instance);
    const auto interface = interfaces.find({key.instance, key.ifIndex});
    if (instance == instances.end() || interface == interfaces.end() || !interface->second ||
        key.bits != instance->second.bits || length > static_cast<unsigned int>(key.bits) ||
        IsZero(key.address)) {
      continue;
    }
    keys.insert({key.instance, WithoutHostBits(key.address, length), length, 2, {}, key.ifIndex});
  }
  return std::vector<CandidateKey>(keys.begin(), keys.end());
}

bool RibModel::IsOnLink(const CandidateKey& key) const {
  const bool isIp6 = instances.at(key.instance).bits == 128;
  const bool isLinkLocal = key.nextHop[0] == 0xFE && (key.nextHop[1] & 0xC0) == 0x80;
  if (IsZero(key.nextHop) || (isIp6 && isLinkLocal)) {
    return true;
  }
  return std::any_of(m_connected.begin(), m_connected.end(), [&](const CandidateKey& connected) {
    return connected.instance == key.instance && connected.ifIndex == key.ifIndex &&
           Covers(connected.destination, connected.length, key.nextHop);
  });
}

unsigned int RibModel::LongestConnected(const CandidateKey& key) const {
  const CandidateKey* best = nullptr;
  for (const CandidateKey& connected : m_connected) {
    if (connected.instance == key.instance &&
        Covers(connected.destination, connected.length, key.nextHop) &&
        (best == nullptr || connected.length > best->length ||
         (connected.length == best->length && connected.ifIndex < best->ifIndex))) {
      best = &connected;
    }
  }
  return best == nullptr ? 0 : best->ifIndex;
}

void RibModel::Resolve(Row* row) const {
  const CandidateKey& key = row->key;
  if (key.ifIndex != 0) {
    const auto interface = interfaces.find({key.instance, key.ifIndex});
    row->outInterface = key.ifIndex;
    row->eligible = interface != interfaces.end() && interface->second && IsOnLink(key);
  } else {
    row->outInterface = IsZero(key.nextHop) ? 0 : LongestConnected(key);
    row->eligible = row->outInterface != 0;
  }
  row->eligible = row->eligible && row->value.up;
}

unsigned int RibModel::DistanceOf(const Row& row) const {
  const Distances& distances = instances.at(row.key.instance).distances;
  switch (row.key.proto) {
    case 2:
      return 0;
    case 3:
      return 1;
    case 8:
      return distances.rip;
    case 13:
      return row.value.internal ? distances.ospfInternal : distances.ospfExternal;
    default:
      return row.value.internal ? distances.internalBgp : distances.externalBgp;
  }
}

bool RibModel::IsBetter(const Row& a, const Row& b) const {
  return std::make_tuple(DistanceOf(a), a.value.metric, a.key) <
         std::make_tuple(DistanceOf(b), b.value.metric, b.key);
}

void RibModel::Update(unsigned long long now) {
  m_now = now;
  m_connected = Connected();
  m_rows.clear();
  for (const CandidateKey& key : m_connected) {
    m_rows.push_back({key, {0, true, false}, true, key.ifIndex, false, 0});
  }
  for (const auto& [key, value] : candidates) {
    m_rows.push_back({key, value, false, 0, false, 0});
    Resolve(&m_rows.back());
  }
  std::sort(m_rows.begin(), m_rows.end(), [](const Row& a, const Row& b) { return a.key < b.key; });

  std::map<CandidateKey, unsigned long long> created;
  std::map<PrefixKey, Row*> best;
  for (Row& row : m_rows) {
    const auto known = m_created.find(row.key);
    created[row.key] = known == m_created.end() ? now : known->second;
    Row*& slot = best[{row.key.instance, row.key.destination, row.key.length}];
    if (row.eligible && (slot == nullptr || IsBetter(row, *slot))) {
      slot = &row;
    }
  }
  m_created.swap(created);

  std::map<PrefixKey, std::pair<CandidateKey, unsigned long long>> installed;
  for (const auto& [prefix, row] : best) {
    if (row == nullptr) {
      continue;
    }
    row->installed = true;
    const auto before = m_installed.find(prefix);
    const bool stays = before != m_installed.end() && !(before->second.first < row->key) &&
                       !(row->key < before->second.first);
    installed[prefix] = {row->key, stays ? before->second.second : now};
  }
  m_installed.swap(installed);
  ChooseBeside();
}

// Each usable candidate is held against the installed one of its prefix, and against all that have
// been taken before it.
void RibModel::ChooseBeside() {
  std::vector<Row*> byPreference;
  for (Row& row : m_rows) {
    byPreference.push_back(&row);
  }
  std::sort(byPreference.begin(), byPreference.end(),
            [this](const Row* a, const Row* b) { return IsBetter(*a, *b); });
  for (const Row& best : m_rows) {
    const auto most = mostNextHops.find(best.key.instance);
    if (!best.installed || IsZero(best.key.nextHop) || most == mostNextHops.end()) {
      continue;
    }
    std::vector<const Row*> taken{&best};
    for (Row* const row : byPreference) {
      const bool isEqual = row->eligible && row->key.instance == best.key.instance &&
                           row->key.destination == best.key.destination &&
                           row->key.length == best.key.length && row->key.proto == best.key.proto &&
                           row->value.metric == best.value.metric &&
                           DistanceOf(*row) == DistanceOf(best) && !IsZero(row->key.nextHop);
      const bool isKnown = std::any_of(taken.begin(), taken.end(), [&](const Row* other) {
        return other->key.nextHop == row->key.nextHop && other->outInterface == row->outInterface;
      });
      if (isEqual && !isKnown && taken.size() < most->second) {
        row->place = taken.size();
        taken.push_back(row);
      }
    }
  }
}

std::vector<amb_cipr_rtm_rib> RibModel::Rib() const {
  std::vector<amb_cipr_rtm_rib> rib;
  for (const Row& row : m_rows) {
    amb_cipr_rtm_rib out = {};
    Fill(row.key, row.outInterface, row.value.metric, m_now - m_created.at(row.key), &out);
    out.fib_flag = row.installed || row.place != 0 ? 1 : 0;
    out.interface_pending = row.outInterface == 0 ? 1 : 0;
    rib.push_back(out);
  }
  return rib;
}

std::vector<amb_cipr_rtm_route> RibModel::Routes() const {
  std::vector<amb_cipr_rtm_route> routes;
  for (const Row& row : m_rows) {
    if (row.installed) {
      const auto& since = m_installed.at({row.key.instance, row.key.destination, row.key.length});
      amb_cipr_rtm_route out = {};
      Fill(row.key, row.outInterface, row.value.metric, m_now - since.second, &out);
      routes.push_back(out);
    }
  }
  return routes;
}

std::vector<std::vector<std::string>> RibModel::Beside() const {
  std::vector<std::vector<std::string>> all;
  for (const Row& best : m_rows) {
    if (!best.installed) {
      continue;
    }
    std::map<std::size_t, std::string> texts;
    for (const Row& row : m_rows) {
      if (row.place != 0 && row.key.instance == best.key.instance &&
          row.key.destination == best.key.destination && row.key.length == best.key.length) {
        texts[row.place] = NextHopText(row.key.nextHop.data(), row.outInterface);
      }
    }
    std::vector<std::string>& inOrder = all.emplace_back();
    for (const auto& text : texts) {
      inOrder.push_back(text.second);
    }
  }
  return all;
}

}  // namespace stack_test
