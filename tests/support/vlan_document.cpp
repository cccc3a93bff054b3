#include "tests/support/vlan_document.h"

namespace test_support {

namespace {

// A protocol's group with one row.
std::string Group(const std::string& protocol, const std::string& row) {
  return "  \"" + protocol + R"(": {"enabled": true, "IF_LIST": {"i1": {"Name": ")" + row + "\"}}}";
}

// `full` gives the routers without a list of their own in the short document a row too.
std::string Document(unsigned int vlans, unsigned int changed, bool full) {
  std::string text = R"({"VLAN_CONFIGURATIONS": {)";
  for (unsigned int vid = 1; vid <= vlans; ++vid) {
    const std::string id = std::to_string(vid);
    const std::string second = std::to_string(vid / 256) + "." + std::to_string(vid % 256);
    const std::string rip =
        full ? Group("RIPV2", "RIP_" + id + "_3") + ",\n" + Group("RIPNG", "RIPNG_" + id + "_3")
             : R"(  "RIPV2": {"enabled": true}, "RIPNG": {"enabled": false})";
    const std::string multicast =
        full ? Group("IGMP", "IGMP_" + id + "_3") + ",\n" + Group("MLD", "MLD_" + id + "_3")
             : R"(  "IGMP": {"enabled": true}, "MLD": {"enabled": true})";
    if (vid != 1) text += ",";
    text += "\n \"vlan" + id + R"(": {"vid": )" + id +
            ",\n  \"RTM\": {\"dead_rpm_timer\": " + (vid == changed ? "61" : "60") +
            R"(, "ADMIN_DISTANCE": {"ospfv2_internal": 40, "ospfv2_external": 110, )"
            R"("ospfv3_internal": 40, "ospfv3_external": 110, "ripv2": 120, "ripng": 120, )"
            "\"ebgp\": 200, \"ibgp\": 20}},\n"
            R"(  "REDISTRIBUTION": {"static": true, "connected": true, "bgp": false, )"
            "\"rip\": true, \"ospf\": true},\n" +
            rip +
            ",\n"
            R"(  "OSPF": {"enabled": true, "IF_LIST": {"i1": {"Name": "OSPF_)" +
            id +
            "_3_1_0\", \"area\": \"0.0.0.0\", \"cost\": 10}}},\n"
            R"(  "OSPFV3": {"enabled": true, "IF_LIST": {"i1": {"Name": "OSPF_)" +
            id +
            "_4_1_0\", \"area\": \"0.0.0.0\", \"cost\": 10}}},\n"
            R"(  "BGP": {"enabled": true, "PEERS": {"p1": {"Name": "BGP_)" +
            id + R"(_1", "afi": 0, "safi": 3, "address": "10.)" + second +
            R"(.2", "as": 65001, "description": "upstream of vlan )" + id + "\"}}},\n" + multicast +
            "}";
  }
  return text + "}}";
}

}  // namespace

std::string VlanDocument(unsigned int vlans, unsigned int changed) {
  return Document(vlans, changed, false);
}

std::string FullVlanDocument(unsigned int vlans) { return Document(vlans, 0, true); }

std::string EmptyDocument() { return R"({"VLAN_CONFIGURATIONS": {}})"; }

}  // namespace test_support
