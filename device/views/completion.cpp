#include "completion.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "device/program/decimal.h"
#include "known_routes.h"
#include "names.h"
#include "vantacore/dc_router_mgr.h"

namespace views {

namespace {

bool BeginsWith(const std::string& text, const std::string& begun) {
  return text.compare(0, begun.size(), begun) == 0;
}

// How many characters, at most `most`, the texts begin with alike.
std::size_t CountCommon(const std::string& a, const std::string& b, std::size_t most) {
  const std::size_t length = std::min({a.size(), b.size(), most});
  const auto end = a.begin() + static_cast<std::ptrdiff_t>(length);
  return static_cast<std::size_t>(std::mismatch(a.begin(), end, b.begin()).first - a.begin());
}

/// Collects the prefixes of stretches of routes.
class Prefixes {
 public:
  Prefixes(const routes::RouteKeeper& keeper, unsigned short vlan, bool ip6,
           const std::string& begun, std::size_t most)
      : m_keeper(keeper), m_vlan(vlan), m_ip6(ip6), m_begun(begun), m_most(most) {}

  /// Those whose addresses begin with these bytes.
  void Add(const std::vector<unsigned char>& bytes) {
    Prefix first;
    first.address.ip6 = m_ip6;
    std::copy(bytes.begin(), bytes.end(), first.address.bytes.begin());
    RowKey from;
    from.target = TargetOf(m_vlan, first);
    from.protocol = Protocol::CONNECTED;
    std::optional<Prefix> last;
    for (KnownRoutes known(m_keeper, from);
         known.Get() != nullptr && !IsEnough() && m_looks != LOOKS; known.Advance(), ++m_looks) {
      const Prefix prefix = PrefixOf(known.Get()->target);
      if (!std::equal(bytes.begin(), bytes.end(), prefix.address.bytes.begin())) {
        return;
      }
      if (known.Get()->kind == KnownRoute::Kind::LEAVING || (last && *last == prefix)) {
        continue;
      }
      last = prefix;
      Offer(Describe(prefix));
    }
    if (m_looks == LOOKS && !IsEnough()) {
      OfferLast(bytes);
    }
  }

  std::vector<std::string> Take() { return std::move(m_found); }

 private:
  // Nothing that comes can change what all have in common.
  bool IsEnough() const { return m_found.size() == m_most && m_common == m_begun.size(); }

  // Of those that are too many the one that begins least like the first one takes the last place.
  void Offer(std::string text) {
    if (!BeginsWith(text, m_begun) || m_most == 0) {
      return;
    }
    if (m_found.empty()) {
      m_common = text.size();
    }
    const std::size_t common =
        m_found.empty() ? m_common : CountCommon(m_found.front(), text, m_common);
    if (m_found.size() < m_most) {
      m_found.push_back(std::move(text));
    } else if (common < m_common && m_most > 1) {
      m_found.back() = std::move(text);
    }
    m_common = common;
  }

  // The last wanted one whose address begins with these bytes.
  void OfferLast(const std::vector<unsigned char>& bytes) {
    const intent::ResolvedRoutes& all = *m_keeper.GetWanted();
    const auto isUpTo = [&](const intent::ResolvedRoute& route) {
      const documents::RouteTarget& target = route.target;
      if (target.vlan != m_vlan || target.ip6 != m_ip6) {
        return std::pair(target.vlan, target.ip6) < std::pair(m_vlan, m_ip6);
      }
      return std::memcmp(target.destination.data(), bytes.data(), bytes.size()) <= 0;
    };
    const auto end = std::partition_point(all.begin(), all.end(), isUpTo);
    if (end != all.begin() && std::prev(end)->target.vlan == m_vlan &&
        std::prev(end)->target.ip6 == m_ip6 &&
        std::equal(bytes.begin(), bytes.end(), std::prev(end)->target.destination.begin())) {
      Offer(Describe(PrefixOf(std::prev(end)->target)));
    }
  }

  const routes::RouteKeeper& m_keeper;
  const unsigned short m_vlan;
  const bool m_ip6;
  const std::string& m_begun;
  const std::size_t m_most;
  std::vector<std::string> m_found;
  std::size_t m_common = 0;  // of the beginnings of all that were offered
  std::size_t m_looks = 0;
};

// The last number may be a half one: "1" stands for 1, 10 to 19 and 100 to 199.
void AddIp4(const std::string& begun, Prefixes& prefixes) {
  std::vector<unsigned char> bytes;
  std::string rest = begun.substr(0, begun.find('/'));
  for (std::size_t dot; (dot = rest.find('.')) != std::string::npos; rest.erase(0, dot + 1)) {
    const auto number = program::ReadDecimal(rest.substr(0, dot), 0, 255);
    if (!number || bytes.size() == 3) {
      return;
    }
    bytes.push_back(static_cast<unsigned char>(*number));
  }
  bytes.push_back(0);
  for (unsigned int number = 0; number < 256; ++number) {
    if (BeginsWith(std::to_string(number), rest)) {
      bytes.back() = static_cast<unsigned char>(number);
      prefixes.Add(bytes);
    }
  }
}

// Groups that are whole narrow it down; the texts tell the rest.
void AddIp6(const std::string& begun, Prefixes& prefixes) {
  std::vector<unsigned char> bytes;
  std::string rest = begun;
  for (std::size_t colon; (colon = rest.find(':')) != std::string::npos && colon != 0 &&
                          colon <= 4 && bytes.size() < 16;
       rest.erase(0, colon + 1)) {
    if (rest.find_first_not_of("0123456789abcdef") != colon) {
      return;
    }
    const unsigned long group = std::stoul(rest.substr(0, colon), nullptr, 16);
    bytes.push_back(static_cast<unsigned char>(group >> 8));
    bytes.push_back(static_cast<unsigned char>(group & 0xFFu));
  }
  prefixes.Add(bytes);
}

}  // namespace

std::vector<std::string> FindVlans(const std::string& begun, std::size_t most) {
  std::vector<std::string> found;
  for (const auto& vlan : Tarsel::DcRouterMgr::GetInstance()->GetVlans()) {
    std::string text = std::to_string(vlan.first);
    if (found.size() != most && BeginsWith(text, begun)) {
      found.push_back(std::move(text));
    }
  }
  return found;
}

std::vector<std::string> FindInterfaces(const keepers::Interfaces& interfaces, unsigned short vlan,
                                        const std::string& begun, std::size_t most) {
  const auto& indexes = *interfaces.GetIndexes();
  std::vector<std::string> found;
  for (auto at = indexes.lower_bound({vlan, begun});
       at != indexes.end() && at->first.first == vlan && BeginsWith(at->first.second, begun) &&
       found.size() != most;
       ++at) {
    found.push_back(at->first.second);
  }
  return found;
}

std::vector<std::string> FindPrefixes(const routes::RouteKeeper& keeper, unsigned short vlan,
                                      bool ip6, const std::string& begun, std::size_t most) {
  Prefixes prefixes(keeper, vlan, ip6, begun, most);
  ip6 ? AddIp6(begun, prefixes) : AddIp4(begun, prefixes);
  return prefixes.Take();
}

}  // namespace views
