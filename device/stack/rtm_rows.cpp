// Routing Table Manager entities. Row status 1 or 4 creates an instance or changes its distances, 6
// drops it with its routes, its redistribution rules and its protocol rows.
//
// The distances of the row that was sent do not count: the stack asks for the configuration when
// the request's turn comes, and takes what it is told then. If there is none any more, the request
// is forgotten.

#include <cstring>

#include "requests.h"
#include "vantacore/dcrouter_api.h"

namespace routing_stack {

namespace {

enum EntityWord {
  kOspfInternalWord = 6,
  kOspfExternalWord = 7,
  kExternalBgpWord = 8,
  kInternalBgpWord = 9,
  kRipWord = 14
};

constexpr std::uint32_t kHighestInstance = 0xFFFF;

Family FamilyOfInstance(std::uint32_t word, std::uint32_t instance) {
  if (word == 1 || word == 2) {
    return word == 1 ? Family::kIp4 : Family::kIp6;
  }
  return (instance & kIp6InstanceBit) != 0 ? Family::kIp6 : Family::kIp4;
}

Distances DistancesOf(const amb_cipr_rtm_entity& entity) {
  Distances distances;
  distances.ospfInternal = entity.word[kOspfInternalWord];
  distances.ospfExternal = entity.word[kOspfExternalWord];
  distances.externalBgp = entity.word[kExternalBgpWord];
  distances.internalBgp = entity.word[kInternalBgpWord];
  distances.rip = entity.word[kRipWord];
  return distances;
}

// The address of the primary interface, or of the interface that every VLAN of the device has.
std::uint32_t AskRouterId(std::uint32_t instance) {
  unsigned int address = 0;
  if (cGetAddress(instance, &address) == 0 && cGetVlanAddress(instance, &address) == 0) {
    return 0;
  }
  return address;
}

}  // namespace

unsigned int RtmRequest::Apply(Tables& tables) {
  if (instance > kHighestInstance) {
    return kWrongValue;
  }
  if (rowStatus == kDestroy) {
    tables.RemoveInstance(instance);
    return kDone;
  }
  return Creates(static_cast<int>(rowStatus)) ? Create(tables) : kWrongValue;
}

unsigned int RtmRequest::Create(Tables& tables) {
  amb_cipr_rtm_entity entity;
  std::memset(&entity, 0, sizeof entity);
  if (cGetRtmConfig(instance, &entity) != 1) {
    return kAbsent;
  }
  if (tables.FindInstance(instance) == nullptr) {
    const unsigned int room = tables.RoomFor(kType, tables.Instances().size());
    if (room != kDone) {
      return room;
    }
    tables.AddInstance(instance, FamilyOfInstance(family, instance), AskRouterId(instance));
    isNew = true;
  }
  tables.SetDistances(instance, DistancesOf(entity));
  return kDone;
}

void RtmRequest::Answer(unsigned int) const {
  if (isNew) {
    cSetRtmReady(instance);
  }
}

}  // namespace routing_stack
