// Redistribution profiles and enabled protocols out of configuration documents.
#ifndef DEVICE_DOCUMENTS_REDISTRIBUTION_READER_H
#define DEVICE_DOCUMENTS_REDISTRIBUTION_READER_H

#include <map>
#include <string>

#include "place.h"
#include "tarsel/options.h"
#include "vantacore/redistribution_profile.h"

namespace documents {

/// Which routes of a VLAN are handed to its protocols.
struct Profile {
  Tarsel::RedistributionProfile sources;
  Place origin;  // of several entries for the VLAN the last one that has a profile
};

/// The profile of each VLAN that has one.
using Profiles = std::map<unsigned short, Profile>;

/// Sets of protocols by VLAN: bit n stands for the protocol type n.
using ProtocolSets = std::map<unsigned short, unsigned int>;

/// Returns the profiles in a document. The document need not have been checked: members of wrong
/// types are skipped. A VLAN has a profile if an entry for it has a "REDISTRIBUTION" that is not
/// empty. If there are several such entries, each sets the flags that it names.
Profiles ReadProfiles(const Tarsel::Options& document, const std::string& file);

/// Returns the protocols that a document enables, as the routers read it.
ProtocolSets ReadProtocols(const Tarsel::Options& document);

}  // namespace documents

#endif
