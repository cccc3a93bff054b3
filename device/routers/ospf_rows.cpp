#include "ospf_rows.h"

#include <cstring>
#include <tuple>

#include "vantacore/config_parser.h"
#include "vantacore/dc_ospf_router_base.h"

namespace routers {

using Tarsel::DclConfigObject;
using Tarsel::DcOspfRouterBase;
using Tarsel::DcRouterBase;
using Tarsel::FormatIp4Addr;
using Tarsel::string;

namespace {

// Area ids are numbers whose first byte is the highest.
unsigned int ToAreaId(const unsigned char* area) {
  return static_cast<unsigned int>(area[0]) << 24 | static_cast<unsigned int>(area[1]) << 16 |
         static_cast<unsigned int>(area[2]) << 8 | area[3];
}

DcOspfRouterBase& OspfRouter(DcRouterBase& router) {
  return static_cast<DcOspfRouterBase&>(router);
}

}  // namespace

// ---- areas

void OspfArea::Read(GroupReader& reader) {
  const unsigned short id = DclConfigObject::ParseKeyFromName(reader.GetName(), 2);
  area[2] = static_cast<unsigned char>(id >> 8);
  area[3] = static_cast<unsigned char>(id & 0xFF);
  reader.ReadDotted(AREA_ID, area);
  reader.ReadWord(AREA_TYPE, type);
  reader.ReadNumber(AREA_DEFAULT_COST, defaultCost);
  reader.ReadFlag(documents::ENABLED, enabled);
}

string OspfArea::GetContents() const {
  string text;
  text.Format("area=%s type=%s default_cost=%u", FormatIp4Addr(area).c_str(), AREA_TYPES[type],
              defaultCost);
  return text;
}

void OspfArea::Enter(DcRouterBase& router, unsigned int) const {
  OspfRouter(router).ActivateArea(ToAreaId(area));
}

void OspfArea::Leave(DcRouterBase& router, unsigned int) const {
  OspfRouter(router).DeactivateArea(ToAreaId(area));
}

bool operator==(const OspfArea& a, const OspfArea& b) {
  return std::memcmp(a.area, b.area, sizeof a.area) == 0 &&
         std::tie(a.type, a.defaultCost, a.enabled) == std::tie(b.type, b.defaultCost, b.enabled);
}

// ---- interfaces

void OspfInterface::Read(GroupReader& reader) {
  number = DclConfigObject::ParseNumber(reader.GetName());
  secondIndex = DclConfigObject::ParseSecondIndex(reader.GetName());
  reader.ReadDotted(OSPF_AREA, area);
  reader.ReadNumber(OSPF_COST, cost);
  reader.ReadNumber(OSPF_PRIORITY, priority);
  reader.ReadNumber(OSPF_HELLO_INTERVAL, helloInterval);
  reader.ReadNumber(OSPF_DEAD_INTERVAL, deadInterval);
  reader.ReadFlag(OSPF_PASSIVE, passive);
  reader.ReadFlag(documents::ENABLED, enabled);
}

bool OspfInterface::IsSameRow(const OspfInterface& other) const {
  return number == other.number && secondIndex == other.secondIndex;
}

std::string OspfInterface::GetKey(unsigned int id) const {
  return std::to_string(id) + "." + std::to_string(number) + "." + std::to_string(secondIndex);
}

string OspfInterface::GetContents() const {
  string text;
  text.Format("area=%s cost=%u priority=%u hello=%u dead=%u%s", FormatIp4Addr(area).c_str(), cost,
              priority, helloInterval, deadInterval, passive ? " passive" : "");
  return text;
}

void OspfInterface::Enter(DcRouterBase& router, unsigned int id) const {
  OspfRouter(router).AddAreaInterface(ToAreaId(area), id);
  OspfRouter(router).SetPassiveInterface(id, passive);
}

void OspfInterface::Leave(DcRouterBase& router, unsigned int id) const {
  OspfRouter(router).RemoveAreaInterface(ToAreaId(area), id);
  OspfRouter(router).SetPassiveInterface(id, false);
}

bool operator==(const OspfInterface& a, const OspfInterface& b) {
  return a.IsSameRow(b) && std::memcmp(a.area, b.area, sizeof a.area) == 0 &&
         std::tie(a.cost, a.priority, a.helloInterval, a.deadInterval, a.passive, a.enabled) ==
             std::tie(b.cost, b.priority, b.helloInterval, b.deadInterval, b.passive, b.enabled);
}

}  // namespace routers
