#include "vlan_document.h"

#include <map>
#include <utility>

#include "json_members.h"

namespace documents {

namespace {

constexpr const char* GROUP = "VLAN_CONFIGURATIONS";

constexpr const char* DISTANCES[] = {"ospfv2_internal",
                                     "ospfv2_external",
                                     "ospfv3_internal",
                                     "ospfv3_external",
                                     "ripv2",
                                     "ripng",
                                     "ebgp",
                                     "ibgp"};
constexpr const char* REDISTRIBUTION_FLAGS[] = {"static", "connected", "bgp", "rip", "ospf"};
constexpr const char* ROUTE_GROUPS[] = {"STATIC_ROUTES", "STATIC_ROUTES6"};

bool IsEmpty(const Json::Value& value) {
  return value.isNull() || ((value.isObject() || value.isArray()) && value.empty());
}

class Checker {
 public:
  Checker(const std::string& file, const program::Report& report, VlanIds& vlans)
      : m_file(file), m_report(report), m_vlans(vlans) {}

  bool Check(Json::Value& document) {
    if (!document.isMember(GROUP) || IsEmpty(document[GROUP])) {
      return true;  // withdraws the document
    }
    Json::Value& group = document[GROUP];
    const Place place = m_file.Member(GROUP);
    if (group.isObject()) {
      for (const std::string& name : group.getMemberNames()) {
        if (!CheckEntry(group[name], place.Member(name))) {
          group.removeMember(name);
        }
      }
    } else if (group.isArray()) {
      Json::Value good(Json::arrayValue);
      for (Json::ArrayIndex i = 0; i < group.size(); ++i) {
        if (CheckEntry(group[i], place.Element(i))) {
          good.append(std::move(group[i]));
        }
      }
      group = std::move(good);
    } else {
      Complain(place, "expected an object of VLANs, found " + Describe(group));
      return false;
    }
    return true;
  }

 private:
  void Complain(const Place& place, const std::string& problem) {
    m_report(place.Text() + ": " + problem);
  }

  // Whether the entry is one that can be applied. An empty one says nothing and is not a mistake.
  bool CheckEntry(const Json::Value& entry, const Place& place) {
    if (IsEmpty(entry)) {
      return false;
    }
    if (!entry.isObject()) {
      Complain(place, "expected an object, found " + Describe(entry));
      return false;
    }
    const Json::Value& vid = entry["vid"];
    if (!vid.isInt()) {
      Complain(place.Member("vid"), "expected a VLAN id, found " +
                                        (vid.isNull() ? std::string("nothing") : Describe(vid)));
      return false;
    }
    CheckVlan(static_cast<unsigned short>(vid.asInt()), place);
    CheckContents(entry, place);
    return true;
  }

  void CheckVlan(unsigned short vlan, const Place& place) {
    m_vlans.insert(vlan);
    const auto [first, isFirst] = m_places.emplace(vlan, place.Text());
    if (!isFirst) {
      Complain(place, "VLAN " + std::to_string(vlan) + " stands twice, also at " + first->second +
                          "; both are applied");
    }
  }

  void CheckContents(const Json::Value& entry, const Place& place) {
    JsonMembers members(entry, place, m_report);
    if (const Json::Value* rtm = members.Object("RTM")) {
      JsonMembers settings(*rtm, members.PlaceOf("RTM"), m_report);
      std::uint32_t number = 0;
      settings.Number("dead_rpm_timer", 0, UINT32_MAX, number);
      if (const Json::Value* distances = settings.Object("ADMIN_DISTANCE")) {
        JsonMembers values(*distances, settings.PlaceOf("ADMIN_DISTANCE"), m_report);
        for (const char* name : DISTANCES) {
          values.Number(name, 0, UINT32_MAX, number);
        }
      }
    }
    if (const Json::Value* redistribution = members.Object("REDISTRIBUTION")) {
      JsonMembers flags(*redistribution, members.PlaceOf("REDISTRIBUTION"), m_report);
      bool flag = false;
      for (const char* name : REDISTRIBUTION_FLAGS) {
        flags.Bool(name, flag);
      }
    }
    for (const char* group : ROUTE_GROUPS) {
      const Json::Value& routes = entry[group];
      if (!routes.isNull() && !routes.isObject() && !routes.isArray()) {
        members.Complain(group, "expected an object of routes, found " + Describe(routes));
      }
    }
  }

  const Place m_file;
  const program::Report& m_report;
  VlanIds& m_vlans;
  std::map<unsigned short, std::string> m_places;
};

}  // namespace

bool CheckVlanDocument(Json::Value& document, const std::string& file,
                       const program::Report& report, VlanIds& vlans) {
  return Checker(file, report, vlans).Check(document);
}

}  // namespace documents
