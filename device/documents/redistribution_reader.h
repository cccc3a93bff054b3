// Redistribution profiles and enabled protocols out of configuration documents.
#ifndef DEVICE_DOCUMENTS_REDISTRIBUTION_READER_H
#define DEVICE_DOCUMENTS_REDISTRIBUTION_READER_H

#include <map>
#include <string>

#include "place.h"
#include "tarsel/options.h"
#include "vantacore/redistribution_profile.h"

namespace documents {

/// What is handed on from one protocol of a VLAN to the others.
struct Profile {
  Tarsel::RedistributionProfile sources;
  Place origin;  // of several entries for the VLAN the last one that has a profile
};

/// The profile of each VLAN that has one.
using Profiles = std::map<unsigned short, Profile>;

/// Sets of protocols by VLAN: bit n stands for the protocol type n.
using ProtocolSets = std::map<unsigned short, unsigned int>;

/// The profiles in a document. It need not have been checked: what has another type is passed over. A
/// VLAN has one when an entry of it has a "REDISTRIBUTION" that is not empty; of several entries each
/// adds what it says.
Profiles ReadProfiles(const Tarsel::Options& document, const std::string& file);

/// The protocols that a document enables, as the routers read it.
ProtocolSets ReadProtocols(const Tarsel::Options& document);

}  // namespace documents

#endif
