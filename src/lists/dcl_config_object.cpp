// Configuration objects: their base operations and what they read out of names.
#include "vantacore/dcl_config_object.h"

#include <cstring>

#include "src/values/decimal.h"
#include "tarsel/trace.h"
#include "vantacore/dc_router_base.h"

namespace Tarsel {

namespace {

const char SOURCE[] = "dcl_config_object";

// Where the fields of an object name stand, as in OSPF_12_3_1_0: protocol, VLAN, id, number, second
// index.
enum NameField : int { FIELD_ID = 2, FIELD_NUMBER = 3, FIELD_SECOND_INDEX = 4 };

// Stands for a member that could not be read: a value that is in none of the readers' tables.
constexpr int UNREADABLE = -1;

// Reads `key` for a family reader; 0 when it is absent, null or not a number.
int ReadFamily(const OptionsNode& node, const char* key, int& value) {
  value = UNREADABLE;
  if (key == nullptr) {
    OnAssert("grp_name != 0", SOURCE, __LINE__);
    return 0;
  }
  return node.AsVal(value, key);
}

// The stack's address family numbers.
int ToAfi(int value) { return value == 1 ? 2 : 1; }

// The stack's subsequent address family numbers.
int ToSafi(int value) {
  switch (value) {
    case 0:
      return 3;
    case 1:
      return 128;
    case 2:
      return 2;
    default:
      return 1;
  }
}

}  // namespace

DclConfigObject::DclConfigObject(DcRouterBase& owner)
    : vlan(0),
      id(0),
      type(VLAN_OPTIONS),
      InMib(false),
      ActionReq(true),
      Suspended(false),
      router(owner) {}

DclConfigObject::DclConfigObject(const DclConfigObject* other)
    : vlan(other->vlan),
      id(other->id),
      type(VLAN_OPTIONS),
      InMib(false),
      ActionReq(true),
      Suspended(false),
      router(other->router) {}

DclConfigObject::~DclConfigObject() = default;

bool DclConfigObject::KeyMatch(DclConfigObject* other) const {
  return vlan == other->vlan && id == other->id;
}

void DclConfigObject::DebugDump(const char* label) {
  TRACE(5, "%s:: ActionReq: %d InMib: %d  Vlan: %d   ID: %d RowStatus %c\n", label, ActionReq,
        InMib, vlan, static_cast<int>(id), DebugRowStatus(GetRowStatus()));
}

unsigned short DclConfigObject::ParseKeyFromName(const char* text, int n) {
  for (int underscores = 0; text != nullptr && underscores < n; ++underscores) {
    text = std::strchr(text, '_');
    if (text != nullptr) {
      ++text;
    }
  }
  if (text == nullptr) {
    return 0;
  }
  const char* end;
  return static_cast<unsigned short>(ReadDecimal(text, &end));
}

unsigned short DclConfigObject::ParseId(const char* text) {
  const unsigned short key = ParseKeyFromName(text, FIELD_ID);
  id = key;
  return key;
}

unsigned short DclConfigObject::ParseNumber(const char* text) {
  return ParseKeyFromName(text, FIELD_NUMBER);
}

unsigned short DclConfigObject::ParseSecondIndex(const char* text) {
  return ParseKeyFromName(text, FIELD_SECOND_INDEX);
}

int DclConfigObject::ParseAfiOption(const OptionsNode& node, int& afi, const char* key) {
  int value;
  const int result = ReadFamily(node, key, value);
  afi = ToAfi(value);
  return result;
}

int DclConfigObject::ParseSafiOption(const OptionsNode& node, int& safi, const char* key) {
  int value;
  const int result = ReadFamily(node, key, value);
  safi = ToSafi(value);
  return result;
}

char DebugRowStatus(unsigned short rowStatus) {
  static const char letters[] = "MUUCUD";
  return rowStatus >= 1 && rowStatus <= 6 ? letters[rowStatus - 1] : 'U';
}

}  // namespace Tarsel
