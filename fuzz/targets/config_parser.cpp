// ConfigParser: the walk over any JSON document, and the names of groups.
//
// The input is a letter that chooses the list's and the group's name, then JSON text. Which VLANs are
// visited, in which order and with what, is worked out once more from the JSON tree itself.
#include <json/value.h>

#include <strings.h>

#include <cstring>

#include "fuzz/support/bytes.h"
#include "fuzz/support/check.h"
#include "fuzz/support/documents.h"
#include "tests/support/trace_capture.h"
#include "vantacore/config_parser.h"

namespace {

using fuzz::Check;
using Tarsel::OptionsNode;

struct Visit {
  unsigned short vlan;
  bool isNull;
  bool operator==(const Visit& other) const { return vlan == other.vlan && isNull == other.isNull; }
};

class Recorder : public Tarsel::ConfigParser {
 public:
  explicit Recorder(const char* name) : ConfigParser(name) {}
  int ParseVlanOptions(unsigned short vlan, const OptionsNode& node) override {
    visits.push_back({vlan, node.IsNull()});
    return static_cast<int>(visits.size());
  }
  std::vector<Visit> visits;
};

std::vector<Visit> Expect(const Json::Value& document, const char* list, const char* group) {
  std::vector<Visit> visits;
  if (!document.isObject()) return visits;
  const Json::Value& entries = document[list];
  if (!entries.isObject() && !entries.isArray()) return visits;
  for (const Json::Value& entry : entries) {
    if (!entry.isObject() || !entry.isMember("vid")) continue;
    const Json::Value& vid = entry["vid"];
    if (!vid.isInt()) continue;
    visits.push_back({static_cast<unsigned short>(vid.asInt()),
                      !entry.isMember(group) || entry[group].isNull()});
  }
  return visits;
}

void CheckGroupNames(const Json::Value& value, unsigned int depth) {
  if (value.isObject()) {
    for (const char* prefix : {"OSPF", "RIP", "BGP_10", ""}) {
      unsigned short vlan = 7777;
      const int answer = Tarsel::ConfigParser::GetVlanFromGroup(prefix, OptionsNode(value), &vlan);
      Check(answer == 0 || answer == 1, "an answer that is neither yes nor no");
      Check(answer == 1 || vlan == 7777, "a foreign name has given a VLAN");
    }
  }
  if (depth == 0 || (!value.isObject() && !value.isArray())) return;
  for (const Json::Value& member : value) CheckGroupNames(member, depth - 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static test_support::TraceCapture* const traces = new test_support::TraceCapture;
  fuzz::Bytes bytes(data, size);
  const unsigned int choice = bytes.Byte();
  const char* const list = (choice & 1) != 0 ? "L" : "VLAN_CONFIGURATIONS";
  const char* const group = (choice & 2) != 0 ? "OSPF" : "BGP";
  Json::Value document;
  if (!fuzz::ReadJson(bytes.Rest(), document)) return 0;

  const std::vector<Visit> expected = Expect(document, list, group);
  CheckGroupNames(document, 4);
  const Tarsel::Options options(document);
  Recorder parser(list);
  const int status = parser.ParseOptions(group, options);
  Check(parser.visits == expected, "other VLANs are visited than the document names");
  Check(status == static_cast<int>(expected.size()), "the status is not the last visit's");
  Check(parser.ParseOptions(nullptr, options) == 0 && parser.visits.size() == expected.size(),
        "a walk without a group");
  traces->Take();
  return 0;
}
