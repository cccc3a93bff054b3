#include "interface_plan.h"

#include <algorithm>
#include <set>
#include <utility>

namespace intent {

using documents::Interface;
using documents::InterfaceKey;

namespace {

/// Writes the steps for one interface.
class Steps {
 public:
  Steps(const InterfaceKey& key, InterfacePlan& plan) : m_key(key), m_plan(plan) {}

  // Of a remote that had joined nothing is told: a router keeps an interface that a remote has left.
  void Remove(const Interface& interface) {
    Ip6(interface.ip6, {});
    Ip4(interface.ip4, {}, interface.isLink);
    Add(TellStatus{false});
    Add(Unregister{interface.name});
  }

  /// From an interface of the same name, or from none, which is null. Each member of an interface is
  /// looked at here, and nowhere else.
  void Change(const Interface* from, const Interface& to) {
    const bool hasNewStatus = from == nullptr || from->up != to.up;
    if (from == nullptr || from->flags != to.flags || from->mtu != to.mtu) {
      Add(Register{to.name, to.flags, to.mtu, to.up});
    } else if (hasNewStatus) {
      Add(SetStatus{to.name, to.up});
    }
    if (hasNewStatus) {
      Add(TellStatus{to.up});
    }
    Ip4(from == nullptr ? NO_IP4 : from->ip4, to.ip4,
        to.isLink || (from != nullptr && from->isLink));
    Ip6(from == nullptr ? NO_IP6 : from->ip6, to.ip6);
    const bool wasJoined = from != nullptr && from->joined;
    if (wasJoined != to.joined) {
      Add(TellJoined{to.joined});
    }
  }

 private:
  using Ip4Addresses = std::vector<documents::Ip4Network>;
  using Ip6Addresses = std::vector<Tarsel::Ip6Prefix>;
  using Ip6Set = std::set<Tarsel::Ip6Prefix, documents::Ip6PrefixOrder>;

  inline static const Ip4Addresses NO_IP4;
  inline static const Ip6Addresses NO_IP6;

  void Ip4(const Ip4Addresses& from, const Ip4Addresses& to, bool isLink) {
    if (isLink) {
      Ip4OfLink(from, to);
    } else if (!from.empty() && !to.empty()) {
      if (from != to) {
        Add(ChangeIp4{to.front()});
      }
    } else if (!to.empty()) {
      Add(AddIp4{to.front()});
      Add(TellIp4{to.front().address});
    } else if (!from.empty()) {
      Add(DeleteIp4{from.front()});
      Add(TellIp4{Tarsel::IP4_ANY});
    }
  }

  static bool Has(const Ip4Addresses& all, const documents::Ip4Network& network) {
    return std::find(all.begin(), all.end(), network) != all.end();
  }
  static bool HasAddress(const Ip4Addresses& all, const Tarsel::Ip4Addr& address) {
    return std::any_of(all.begin(), all.end(), [&](const documents::Ip4Network& network) {
      return network.address == address;
    });
  }

  // A link may have several, of which the registry keeps the one that was added last, and none once
  // any has been deleted. So the primary one is added last, again if need be. As with IPv6 addresses
  // what comes is there before anything goes, but for one whose length alone changes.
  void Ip4OfLink(const Ip4Addresses& from, const Ip4Addresses& to) {
    if (from == to) {
      return;
    }
    const auto remove = [&](bool isReplaced) {
      for (const documents::Ip4Network& network : from) {
        if (!Has(to, network) && HasAddress(to, network.address) == isReplaced) {
          Add(DeleteIp4{network});
        }
      }
    };
    remove(true);
    for (std::size_t i = 1; i < to.size(); ++i) {
      if (!Has(from, to[i])) {
        Add(AddIp4{to[i]});
      }
    }
    if (!to.empty() && !Has(from, to.front())) {
      Add(AddIp4{to.front()});
    }
    remove(false);
    if (!to.empty() && !IsLastAdded(to.front())) {
      Add(AddIp4{to.front()});
    }
    const Tarsel::Ip4Addr was = from.empty() ? Tarsel::IP4_ANY : from.front().address;
    const Tarsel::Ip4Addr is = to.empty() ? Tarsel::IP4_ANY : to.front().address;
    if (was != is) {
      Add(TellIp4{is});
    }
  }

  bool IsLastAdded(const documents::Ip4Network& network) const {
    if (m_plan.empty() || m_plan.back().key != m_key) {
      return false;
    }
    const auto* const added = std::get_if<AddIp4>(&m_plan.back().action);
    return added != nullptr && added->network == network;
  }

  // What comes is there before anything goes, because routes may depend on either. An address whose
  // length alone changes goes first: the length is not part of its identity.
  void Ip6(const Ip6Addresses& from, const Ip6Addresses& to) {
    const Ip6Set before(from.begin(), from.end());
    const Ip6Set after(to.begin(), to.end());
    const auto comes = [&](const Tarsel::Ip6Addr& address) {
      return std::any_of(to.begin(), to.end(), [&](const Tarsel::Ip6Prefix& prefix) {
        return prefix.GetAddress() == address;
      });
    };
    const auto remove = [&](bool isReplaced) {
      for (const Tarsel::Ip6Prefix& prefix : from) {
        if (after.count(prefix) == 0 && comes(prefix.GetAddress()) == isReplaced) {
          Add(DeleteIp6{prefix});
        }
      }
    };
    remove(true);
    for (const Tarsel::Ip6Prefix& prefix : to) {
      if (before.count(prefix) == 0) {
        Add(AddIp6{prefix});
      }
    }
    remove(false);
  }

  void Add(InterfaceAction action) { m_plan.push_back({m_key, std::move(action)}); }

  const InterfaceKey m_key;
  InterfacePlan& m_plan;
};

// The interface with this index if it has this name, else null.
const Interface* Find(const documents::Interfaces& interfaces, const InterfaceKey& key,
                      const std::string& name) {
  const auto found = interfaces.find(key);
  return found != interfaces.end() && found->second.name == name ? &found->second : nullptr;
}

}  // namespace

bool InterfaceStep::IsForRouters() const {
  return std::holds_alternative<TellStatus>(action) || std::holds_alternative<TellIp4>(action) ||
         std::holds_alternative<TellJoined>(action);
}

InterfacePlan PlanInterfaces(const documents::Interfaces& present,
                             const documents::Interfaces& wanted) {
  InterfacePlan plan;
  for (const auto& [key, interface] : present) {
    if (!Find(wanted, key, interface.name)) {
      Steps(key, plan).Remove(interface);
    }
  }
  for (const auto& [key, interface] : wanted) {
    Steps(key, plan).Change(Find(present, key, interface.name), interface);
  }
  return plan;
}

InterfacePlan PlanNew(const InterfaceKey& key, const Interface& interface) {
  InterfacePlan plan;
  Steps(key, plan).Change(nullptr, interface);
  return plan;
}

}  // namespace intent
