#include "walk.h"

#include <map>

#include "comparisons.h"
#include "device/documents/document_shapes.h"
#include "device/program/counted.h"
#include "words.h"

namespace plan {

namespace {

std::string ListOf(const std::vector<std::string>& patterns) {
  std::string text;
  for (const std::string& pattern : patterns) {
    text += (text.empty() ? "" : " ") + pattern;
  }
  return text;
}

std::string LinksText(const documents::LinkSettings& settings) {
  if (settings.taken.empty()) {
    return "no links";
  }
  return "links " + ListOf(settings.taken) +
         (settings.ignored.empty() ? "" : " without " + ListOf(settings.ignored));
}

void CompareNextHops(const std::map<unsigned short, unsigned char>& now,
                     const std::map<unsigned short, unsigned char>& then, Teller& teller) {
  std::map<unsigned short, unsigned char> all = then;
  all.insert(now.begin(), now.end());
  const auto most = [](const auto& settings, unsigned short vlan) {
    const auto found = settings.find(vlan);
    return found == settings.end() ? 1u : found->second;
  };
  for (const auto& one : all) {
    const unsigned short vlan = one.first;
    if (most(now, vlan) != most(then, vlan)) {
      teller.Tell(Thing::SETTING, How::CHANGED, [&] {
        return "routes of VLAN " + std::to_string(vlan) + " have up to " +
               program::Counted(most(then, vlan), "next hop", "next hops") +
               " in the kernel, was " + std::to_string(most(now, vlan));
      });
    }
  }
}

std::string VrfsText(const documents::LinkSettings& settings) {
  std::string text;
  for (const auto& [name, vlan] : settings.vrfs) {
    text += (text.empty() ? "" : ", ") + name + " for VLAN " + std::to_string(vlan);
  }
  return text.empty() ? "none" : text;
}

void CompareSettings(const documents::Device& now, const documents::Device& then, Teller& teller) {
  if (now.defaultVlan != then.defaultVlan) {
    teller.Tell(Thing::SETTING, How::CHANGED, [&] {
      return "default VLAN " + std::to_string(then.defaultVlan) + ", was " +
             std::to_string(now.defaultVlan);
    });
  }
  if (now.links.taken != then.links.taken || now.links.ignored != then.links.ignored) {
    teller.Tell(Thing::SETTING, How::CHANGED, [&] {
      return LinksText(then.links) + " are interfaces, was " + LinksText(now.links);
    });
  }
  if (now.links.vrfs != then.links.vrfs) {
    teller.Tell(Thing::SETTING, How::CHANGED, [&] {
      return "VRF devices: " + VrfsText(then.links) + ", was " + VrfsText(now.links);
    });
  }
  if (now.kernel.writesRoutes != then.kernel.writesRoutes) {
    teller.Tell(Thing::SETTING, How::CHANGED, [&] {
      return then.kernel.writesRoutes ? "routes are written into the kernel's tables"
                                      : "routes are taken out of the kernel's tables";
    });
  }
  if (now.kernel.writesRules != then.kernel.writesRules) {
    teller.Tell(Thing::SETTING, How::CHANGED, [&] {
      return then.kernel.writesRules ? "rules are written into the kernel"
                                     : "rules are taken out of the kernel";
    });
  }
  CompareNextHops(now.kernel.multipath, then.kernel.multipath, teller);
  if (now.kernel.tableBase != then.kernel.tableBase) {
    teller.Tell(Thing::SETTING, How::CHANGED, [&] {
      return "kernel tables from " + std::to_string(then.kernel.tableBase) + " on, was " +
             std::to_string(now.kernel.tableBase);
    });
  }
}

// That of an empty configuration names none.
const documents::Protocols& DeclaredBy(const intent::Intent& now, const intent::Intent& then) {
  const documents::Protocols& declared = then.GetFolder().declared;
  return declared.count != 0 ? declared : now.GetFolder().declared;
}

}  // namespace

bool Walk(const intent::Intent& now, const intent::Intent& then, Visitor& visitor) {
  Teller teller(visitor);
  CompareSettings(now.GetDevice(), then.GetDevice(), teller);
  const documents::VlanIds changed = FindChangedVlans(now, then);
  const documents::VlanShapes shapes(DeclaredBy(now, then));
  const Sides nowSides(now, changed);
  const Sides thenSides(then, changed);
  for (auto vlan = changed.begin(); vlan != changed.end() && !teller.IsOver(); ++vlan) {
    const VlanPair pair{*vlan, nowSides.Get(*vlan), thenSides.Get(*vlan)};
    visitor.BeginVlan(*vlan, pair.now.Exists() && !pair.then.Exists());
    CompareVlan(pair, teller);
    CompareInterfaces(pair, teller);
    CompareProtocols(pair, shapes.VlansEntry(), teller);
    CompareRoutes(pair, teller);
    CompareRules(pair, teller);
  }
  return !teller.IsOver();
}

}  // namespace plan
