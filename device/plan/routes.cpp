#include <map>
#include <optional>

#include "comparisons.h"
#include "device/documents/merged_routes.h"
#include "device/program/printable.h"
#include "words.h"

namespace plan {

using documents::Route;
using documents::RouteTarget;

namespace {

constexpr std::size_t MOST_OF_A_NAME = 64;

const char WAITS[] = "waits for its interface";

/// The routes of one side, each once.
class Routes {
 public:
  explicit Routes(const VlanSide& side)
      : m_documents(DocumentsOf(side)), m_merged(m_documents, side.vlan) {
    const auto& all = side.GetInterfaces();
    for (auto i = all.lower_bound({side.vlan, 0}); i != all.end() && i->first.first == side.vlan;
         ++i) {
      m_indexes.emplace(i->second.name, i->first.second);
    }
    Next();
  }

  /// The present one; null at the end.
  const Route* Get() const { return m_route; }
  void Next() {
    do {
      m_route = m_merged.Next();
    } while (m_route != nullptr && !m_merged.IsFirst());
    if (m_route != nullptr && &GetInterface() != m_name) {
      m_name = &GetInterface();
      m_index = IndexOf(*m_name);
    }
  }
  const std::string& GetInterface() const { return m_merged.GetInterface(); }
  /// Of the present one's interface: 0 if it has none, nothing if it has to wait for it.
  std::optional<std::uint32_t> GetIndex() const { return m_index; }
  documents::Place GetPlace() const {
    const documents::ConfigFile& file = m_merged.GetDocument();
    return file.routes.PlaceOf(*m_route, file.name);
  }

 private:
  static documents::ConfigFiles DocumentsOf(const VlanSide& side) {
    documents::ConfigFiles documents;
    for (const Entry& entry : side.entries) {
      documents.push_back(entry.file);
    }
    return documents;
  }

  std::optional<std::uint32_t> IndexOf(const std::string& name) const {
    if (name.empty()) {
      return 0;
    }
    const auto found = m_indexes.find(name);
    return found == m_indexes.end() ? std::nullopt : std::optional(found->second);
  }

  const documents::ConfigFiles m_documents;
  documents::MergedRoutes m_merged;
  std::map<std::string, std::uint32_t> m_indexes;  // of the VLAN's interfaces
  const Route* m_route = nullptr;
  const std::string* m_name = nullptr;  // of the last route's interface: routes share it
  std::optional<std::uint32_t> m_index;
};

/// Tells of prefixes, which come one after the other.
class Prefixes {
 public:
  explicit Prefixes(Teller& teller) : m_teller(teller) {}

  void Add(const RouteTarget& target, bool isNow, bool willBe) {
    if (m_target == nullptr || m_target->ip6 != target.ip6 || m_target->length != target.length ||
        m_target->destination != target.destination) {
      End();
      m_target = &target;
    }
    m_isNow = m_isNow || isNow;
    m_willBe = m_willBe || willBe;
  }
  void End() {
    if (m_isNow) {
      m_teller.To().TakePrefix(
          {m_target->vlan, m_target->ip6, m_target->length, m_target->destination}, m_willBe);
    }
    m_isNow = m_willBe = false;
  }

 private:
  Teller& m_teller;
  const RouteTarget* m_target = nullptr;
  bool m_isNow = false;
  bool m_willBe = false;
};

class RouteComparison {
 public:
  RouteComparison(const VlanPair& pair, Teller& teller)
      : m_now(pair.now), m_then(pair.then), m_teller(teller), m_prefixes(teller) {}

  void Run() {
    while (!m_teller.IsOver() && (m_now.Get() || m_then.Get())) {
      const int order = Order();
      if (order < 0) {
        TakeRemoved();
        m_now.Next();
      } else if (order > 0) {
        TakeAdded();
        m_then.Next();
      } else {
        TakeBoth();
        m_now.Next();
        m_then.Next();
      }
    }
    m_prefixes.End();
  }

 private:
  // Which side's route comes first; 0 if both have the same.
  int Order() const {
    if (!m_now.Get() || !m_then.Get()) {
      return m_now.Get() ? -1 : 1;
    }
    const RouteTarget& a = m_now.Get()->target;
    const RouteTarget& b = m_then.Get()->target;
    if (!(a == b)) {
      return a < b ? -1 : 1;
    }
    return m_now.GetInterface().compare(m_then.GetInterface());
  }

  static std::string Title(const Routes& routes) {
    const RouteTarget& target = routes.Get()->target;
    const std::string& name = routes.GetInterface();
    return "route " + AddressText(target.ip6, target.destination) + "/" +
           std::to_string(target.length) + " via " + AddressText(target.ip6, target.gateway) +
           (name.empty() ? "" : " on " + program::Printable(name, MOST_OF_A_NAME));
  }

  static std::string Metric(const Routes& routes) {
    return "metric " + std::to_string(routes.Get()->metric);
  }

  void TakeRemoved() {
    const bool isAsked = m_now.GetIndex().has_value();
    m_prefixes.Add(m_now.Get()->target, isAsked, false);
    m_teller.To().AddRequests(isAsked ? 1 : 0);
    m_teller.Tell(Thing::ROUTE, How::REMOVED, [&] { return Title(m_now); });
  }

  void TakeAdded() {
    const bool isAsked = m_then.GetIndex().has_value();
    m_prefixes.Add(m_then.Get()->target, false, isAsked);
    m_teller.To().AddRequests(isAsked ? 1 : 0);
    m_teller.Tell(Thing::ROUTE, How::ADDED, [&] {
      return Line(Title(m_then), Metric(m_then) + (isAsked ? "" : std::string(", ") + WAITS),
                  m_then.GetPlace());
    });
  }

  void TakeBoth() {
    const auto now = m_now.GetIndex();
    const auto then = m_then.GetIndex();
    const bool hasOtherMetric = m_now.Get()->metric != m_then.Get()->metric;
    m_prefixes.Add(m_then.Get()->target, now.has_value(), then.has_value());
    if (now == then && !hasOtherMetric) {
      return;
    }
    // Another index makes it another row.
    const std::size_t requests = now == then ? (now ? 1 : 0) : (now ? 1 : 0) + (then ? 1 : 0);
    m_teller.To().AddRequests(requests);
    m_teller.Tell(Thing::ROUTE, How::CHANGED, [&] {
      std::string details;
      if (hasOtherMetric) {
        details = Metric(m_then) + ", was " + std::to_string(m_now.Get()->metric);
      }
      if (now != then) {
        details += (details.empty() ? "" : "; ") + Change(now, then);
      }
      return Line(Title(m_then), details, m_then.GetPlace());
    });
  }

  static std::string Change(const std::optional<std::uint32_t>& now,
                            const std::optional<std::uint32_t>& then) {
    if (!then) {
      return WAITS;
    }
    const std::string index = "interface " + std::to_string(*then);
    return index + (now ? ", was " + std::to_string(*now) : ", waited for it");
  }

  Routes m_now;
  Routes m_then;
  Teller& m_teller;
  Prefixes m_prefixes;
};

}  // namespace

void CompareRoutes(const VlanPair& pair, Teller& teller) { RouteComparison(pair, teller).Run(); }

}  // namespace plan
