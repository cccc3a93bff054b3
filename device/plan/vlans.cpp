#include "comparisons.h"
#include "vantacore/dc_rtm_mgr.h"
#include "words.h"

namespace plan {

using Tarsel::DcRtmMgr;
using Tarsel::OptionsNode;

namespace {

constexpr std::size_t INSTANCES = 2;  // one for each family

struct Distance {
  const char* name;
  std::uint32_t DcRtmMgr::RTMData::*field;
};
constexpr Distance DISTANCES[] = {
    {"ospfv2_internal", &DcRtmMgr::RTMData::ospfv2_internal},
    {"ospfv2_external", &DcRtmMgr::RTMData::ospfv2_external},
    {"ospfv3_internal", &DcRtmMgr::RTMData::ospfv3_internal},
    {"ospfv3_external", &DcRtmMgr::RTMData::ospfv3_external},
    {"ripv2", &DcRtmMgr::RTMData::ripv2},
    {"ripng", &DcRtmMgr::RTMData::ripng},
    {"ebgp", &DcRtmMgr::RTMData::ebgp},
    {"ibgp", &DcRtmMgr::RTMData::ibgp},
};

std::uint32_t ReadNumber(const OptionsNode& node, const char* name, std::uint32_t standard) {
  unsigned int number = standard;
  node.AsVal(number, name);
  return number;
}

// As the library reads them: with any distance, an absent one is 0. Only the VLAN document's count.
Attributes SettingsOf(const OptionsNode& entry) {
  const DcRtmMgr::RTMData standard;
  const OptionsNode rtm = entry.GetChildNode("RTM");
  const OptionsNode distances = rtm.GetChildNode("ADMIN_DISTANCE");
  Attributes settings;
  const auto add = [&settings](const char* name, std::uint32_t value, std::uint32_t otherwise) {
    settings.push_back({name, std::to_string(value), std::to_string(otherwise)});
  };
  add("dead_rpm_timer", ReadNumber(rtm, "dead_rpm_timer", standard.dead_rpm_timer),
      standard.dead_rpm_timer);
  for (const Distance& distance : DISTANCES) {
    const std::uint32_t otherwise = standard.*distance.field;
    const std::uint32_t absent = distances.IsObject() ? 0 : otherwise;
    add(distance.name, ReadNumber(distances, distance.name, absent), otherwise);
  }
  return settings;
}

}  // namespace

void CompareVlan(const VlanPair& pair, Teller& teller) {
  const bool isThere = pair.now.Exists();
  const bool willBeThere = pair.then.Exists();
  const Attributes now = isThere ? SettingsOf(pair.now.entries.front().node) : Attributes();
  const Attributes then = willBeThere ? SettingsOf(pair.then.entries.front().node) : Attributes();
  if (isThere == willBeThere && IsSame(now, then)) {
    return;
  }
  const How how = !isThere ? How::ADDED : !willBeThere ? How::REMOVED : How::CHANGED;
  teller.To().AddRequests(INSTANCES);
  teller.Tell(Thing::VLAN, how, [&] {
    const documents::Place place =
        willBeThere ? pair.then.PlaceOf(pair.then.entries.front()) : documents::Place();
    return Line("VLAN", isThere && willBeThere ? Differing(now, then) : Given(then), place);
  });
}

}  // namespace plan
