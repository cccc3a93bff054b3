#include "documents.h"

#include "tests/support/json_text.h"

namespace fuzz {

namespace {

const char* const ROUTERS[] = {"BGP", "OSPF", "OSPFV3", "RIPV2", "RIPNG", "IGMP", "MLD"};
// What the names of each one's rows begin with.
const char* const ROW_NAMES[] = {"BGP", "OSPF", "OSPF", "RIP", "RIP", "IGMP", "MLD"};
const char* const LISTS[] = {"PEERS", "IF_LIST", "AREA_LIST", "GROUPS", "INTERFACES"};
const char* const MEMBERS[] = {"Name",
                               "address",
                               "afi",
                               "safi",
                               "as",
                               "description",
                               "enabled",
                               "area",
                               "type",
                               "default_cost",
                               "cost",
                               "priority",
                               "passive",
                               "metric",
                               "version",
                               "hello_interval",
                               "dead_interval",
                               "query_interval",
                               "group",
                               "interface",
                               "network",
                               "netmask",
                               "gateway",
                               "prefix",
                               "vid",
                               "1",
                               "3",
                               "routemetricmode"};
const char* const TEXTS[] = {
    "OSPF_10_3_1_0", "OSPF_20_3_1_0", "BGP_10_1",    "10.1.2.1",    "2001:db8::1",
    "0.0.0.1",       "stub",          "nssa",        "dynamic",     "5",
    "RIP_70000_1",   ".*x",           "239.1.1.1",   "eth0",        "1",
    "OSPF_12x",      "10.9.0.0",      "255.255.0.0", "passthrough", "IGMP_10_3"};
const char* const DISTANCES[] = {"ospfv2_internal",
                                 "ospfv2_external",
                                 "ospfv3_internal",
                                 "ospfv3_external",
                                 "ripv2",
                                 "ripng",
                                 "ebgp",
                                 "ibgp"};
const char* const FLAGS[] = {"static", "connected", "bgp", "rip", "ospf"};

template <std::size_t N>
const char* Pick(Bytes& bytes, const char* const (&words)[N]) {
  return words[bytes.Choice(N)];
}

Json::Value MakeText(Bytes& bytes) {
  if (bytes.Choice(4) != 0) return Pick(bytes, TEXTS);
  return bytes.Text(200);
}

// One row: mostly a usable name, then members with values of any type.
Json::Value MakeGroup(Bytes& bytes, const char* rowName, unsigned int vid) {
  if (bytes.Choice(16) == 15) return MakeValue(bytes, 1);
  Json::Value group(Json::objectValue);
  group["Name"] = std::string(rowName) + "_" + std::to_string(vid) + "_" +
                  std::to_string(bytes.Choice(8)) + "_1_0";
  const unsigned int members = bytes.Choice(8);
  for (unsigned int i = 0; i < members; ++i) {
    const char* member = Pick(bytes, MEMBERS);
    group[member] = MakeValue(bytes, 0);
  }
  return group;
}

Json::Value MakeRouter(Bytes& bytes, const char* rowName, unsigned int vid) {
  if (bytes.Choice(16) == 15) return MakeValue(bytes, 2);
  Json::Value value(Json::objectValue);
  if (bytes.Flag()) value["enabled"] = bytes.Flag();
  const unsigned int lists = bytes.Choice(3);
  for (unsigned int i = 0; i < lists; ++i) {
    Json::Value& list = value[Pick(bytes, LISTS)];
    const unsigned int groups = bytes.Choice(6);
    for (unsigned int k = 0; k < groups; ++k) {
      const unsigned int name = bytes.Choice(8);
      list["g" + std::to_string(name)] = MakeGroup(bytes, rowName, vid);
    }
  }
  return value;
}

Json::Value MakeSettings(Bytes& bytes) {
  if (bytes.Choice(8) == 7) return MakeValue(bytes, 2);
  Json::Value rtm(Json::objectValue);
  if (bytes.Flag()) rtm["dead_rpm_timer"] = MakeValue(bytes, 0);
  const unsigned int distances = bytes.Choice(9);
  for (unsigned int i = 0; i < distances; ++i) {
    const char* name = Pick(bytes, DISTANCES);
    rtm["ADMIN_DISTANCE"][name] = MakeValue(bytes, 0);
  }
  return rtm;
}

Json::Value MakeEntry(Bytes& bytes) {
  if (bytes.Choice(16) == 15) return MakeValue(bytes, 2);
  static const unsigned int VIDS[] = {10, 20, 0, 1, 4094, 65535, 65546, 10};
  const unsigned int vid = VIDS[bytes.Choice(8)];
  Json::Value entry(Json::objectValue);
  entry["vid"] = bytes.Choice(16) == 15 ? MakeValue(bytes, 1) : Json::Value(vid);
  if (bytes.Flag()) entry["RTM"] = MakeSettings(bytes);
  if (bytes.Flag()) {
    const char* flag = Pick(bytes, FLAGS);
    entry["REDISTRIBUTION"][flag] = MakeValue(bytes, 0);
  }
  const unsigned int routers = bytes.Choice(8);
  for (unsigned int i = 0; i < routers; ++i) {
    const unsigned int router = bytes.Choice(sizeof ROUTERS / sizeof ROUTERS[0]);
    entry[ROUTERS[router]] = MakeRouter(bytes, ROW_NAMES[router], vid);
  }
  return entry;
}

}  // namespace

bool ReadJson(const std::string& text, Json::Value& document) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  builder.settings_["stackLimit"] = 100;
  builder.settings_["allowSpecialFloats"] = false;
  std::string problem;
  try {
    return test_support::ReadJson(builder, text, document, problem);
  } catch (const std::exception&) {  // too deep
    return false;
  }
}

Json::Value MakeValue(Bytes& bytes, unsigned int depth) {
  switch (bytes.Choice(depth > 0 ? 10 : 8)) {
    case 0:
      return Json::Value();
    case 1:
      return bytes.Flag();
    case 2:
      return Json::Value(static_cast<Json::Int>(bytes.Number()));
    case 3:
      return Json::Value(static_cast<Json::UInt>(bytes.Number()));
    case 4:
      return Json::Value(static_cast<Json::UInt64>(bytes.Number()) << 20);
    case 5:
      return static_cast<double>(bytes.Number()) / 4;
    case 6:
    case 7:
      return MakeText(bytes);
    case 8: {
      Json::Value array(Json::arrayValue);
      const unsigned int count = bytes.Choice(4);
      for (unsigned int i = 0; i < count; ++i) array.append(MakeValue(bytes, depth - 1));
      return array;
    }
    default: {
      Json::Value object(Json::objectValue);
      const unsigned int count = bytes.Choice(4);
      for (unsigned int i = 0; i < count; ++i) {
        const char* member = Pick(bytes, MEMBERS);
        object[member] = MakeValue(bytes, depth - 1);
      }
      return object;
    }
  }
}

Json::Value MakeDocument(Bytes& bytes) {
  if (bytes.Choice(32) == 31) return MakeValue(bytes, 3);
  Json::Value document(Json::objectValue);
  Json::Value& list = document["VLAN_CONFIGURATIONS"];
  if (bytes.Choice(16) == 15) {
    list = MakeValue(bytes, 3);
    return document;
  }
  list = Json::Value(Json::objectValue);
  const unsigned int entries = bytes.Choice(5);
  for (unsigned int i = 0; i < entries; ++i) {
    list["v" + std::to_string(i)] = MakeEntry(bytes);
  }
  return document;
}

}  // namespace fuzz
