#include "interface_plan.h"

#include <algorithm>
#include <optional>
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
    Ip4(interface.ip4, std::nullopt);
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
    Ip4(from == nullptr ? std::nullopt : from->ip4, to.ip4);
    Ip6(from == nullptr ? NO_IP6 : from->ip6, to.ip6);
    const bool wasJoined = from != nullptr && from->joined;
    if (wasJoined != to.joined) {
      Add(TellJoined{to.joined});
    }
  }

 private:
  using Ip4Address = std::optional<documents::Ip4Network>;
  using Ip6Addresses = std::vector<Tarsel::Ip6Prefix>;
  using Ip6Set = std::set<Tarsel::Ip6Prefix, documents::Ip6PrefixOrder>;

  inline static const Ip6Addresses NO_IP6;

  void Ip4(const Ip4Address& from, const Ip4Address& to) {
    if (from && to) {
      if (*from != *to) {
        Add(ChangeIp4{*to});
      }
    } else if (to) {
      Add(AddIp4{*to});
      Add(TellIp4{to->address});
    } else if (from) {
      Add(DeleteIp4{*from});
      Add(TellIp4{Tarsel::IP4_ANY});
    }
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
