// The readers of groups: routes, redistribution flags, fields of rows and RTM settings out of JSON.
//
// The input is JSON text, or after a NUL byte decisions from which a value is made. Every reader gets
// it as a group and as a VLAN entry. A failure leaves what it promises to leave; the same group read
// twice is the same record.
#include <cstring>

#include "fuzz/support/bytes.h"
#include "fuzz/support/check.h"
#include "fuzz/support/documents.h"
#include "tests/support/trace_capture.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/dcl_config_object.h"
#include "vantacore/redistribution_profile.h"
#include "vantacore/route_config.h"

namespace {

using fuzz::Check;
using Tarsel::OptionsNode;

const char* const KEYS[] = {"address", "network", "gateway", "metric", "prefix",  "afi",
                            "safi",    "Name",    "vid",     "1",      "enabled", "interface"};

template <class Route>
void CheckRoute(const OptionsNode& group) {
  Route first, second;
  const bool isRead = first.ParseGroup(10, group);
  Check(second.ParseGroup(10, group) == isRead, "a route is read once and not again");
  Check(first == second && first(second), "one group gives two routes");
  // The order is less-or-equal.
  Check(first < second && second < first && Route::Compare(first, second),
        "a route that is not in order with itself");
  Route copy(first);
  Check(copy == first, "a copy differs");
  copy = second;
  Check(copy == first, "an assigned copy differs");
}

void CheckProfile(const OptionsNode& entry) {
  Tarsel::RedistributionProfile profile(false, true, false, true, false);
  const Tarsel::RedistributionProfile before = profile;
  if (!profile.ParseOption(entry)) Check(profile == before, "a failure has changed a profile");
  Tarsel::RedistributionProfile again = profile;
  again.ParseOption(entry);
  Check(again == profile, "a profile changes when it is read again");
}

// The buffers are as large as the contract says, and not a byte larger.
void CheckFields(const OptionsNode& group, const char* key) {
  unsigned char ip4[4] = {9, 9, 9, 9};
  unsigned char ip6[16] = {9};
  unsigned int length = 77;
  const bool isIp4 = Tarsel::ReadDCLMibIpAddress(group, key, ip4, length);
  Check(length == (isIp4 ? 4U : 0U) && (isIp4 || ip4[0] == 9), "a wrong IPv4 field");
  const bool isIp6 = Tarsel::ReadDCLMibIpv6Address(group, key, ip6, length);
  Check(length == (isIp6 ? 16U : 0U) && (isIp6 || ip6[0] == 9), "a wrong IPv6 field");

  int value = 77, valueLength = 78;
  const bool isInt = Tarsel::ReadDCLMibValue(group, key, value, valueLength);
  Check(isInt ? valueLength == 1 : value == 77 && valueLength == 78, "a wrong number");
  unsigned int number = 77;
  valueLength = 78;
  const bool isNumber = Tarsel::ReadDCLMibValue(group, key, number, valueLength);
  Check(isNumber ? valueLength == 1 : number == 77 && valueLength == 78, "a wrong unsigned number");
  Check(!isInt || value < 0 || (isNumber && number == static_cast<unsigned int>(value)),
        "two readings of one number");

  unsigned char text[127];
  Tarsel::ReadDCLMibString(group, key, text, length);
  Check(length <= 127 && std::memchr(text, 0, length) == nullptr, "a text longer than it is");

  int family = 77;
  Tarsel::DclConfigObject::ParseAfiOption(group, family, key);
  Check(family == 1 || family == 2, "an unknown address family");
  Tarsel::DclConfigObject::ParseSafiOption(group, family, key);
  Check(family == 1 || family == 2 || family == 3 || family == 128, "an unknown sub-family");
}

void CheckGroup(const OptionsNode& group) {
  CheckRoute<Tarsel::Ip4RouteConfig>(group);
  CheckRoute<Tarsel::Ip6RouteConfig>(group);
  CheckProfile(group);
  for (const char* key : KEYS) CheckFields(group, key);
  Tarsel::DcRtmMgr::RTMData settings;
  Tarsel::DcRtmMgr::GetInstance()->GetRTMConfig(group, &settings);
  Check(!settings.ready, "a document has made an instance ready");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static test_support::TraceCapture* const traces = new test_support::TraceCapture;
  Json::Value value;
  if (size > 0 && data[0] == 0) {
    fuzz::Bytes bytes(data + 1, size - 1);
    value = fuzz::MakeValue(bytes, 3);
  } else if (!fuzz::ReadJson(std::string(reinterpret_cast<const char*>(data), size), value)) {
    return 0;
  }
  CheckGroup(OptionsNode(value));
  if (value.isObject() || value.isArray()) {
    for (const Json::Value& member : value) CheckGroup(OptionsNode(member));
  }
  traces->Take();
  return 0;
}
