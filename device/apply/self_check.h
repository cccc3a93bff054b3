// Whether the folder, what is in force and what the stack is asked for agree, for `verify`.
#ifndef DEVICE_APPLY_SELF_CHECK_H
#define DEVICE_APPLY_SELF_CHECK_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "device/documents/config_folder.h"
#include "device/intent/intent.h"
#include "device/intent/redistribution_plan.h"
#include "device/intent/route_resolution.h"
#include "device/rows/comparer.h"

namespace apply {

/// What is in force, as it was when it was looked at.
struct InForce {
  std::shared_ptr<const intent::Intent> intent;
  /// The digest of a folder that was undone, as revisions::State has it.
  std::optional<documents::Digest> undone;
  unsigned int revision = 0;  // 0 if none is kept
  unsigned int trial = 0;     // the one that waits for its confirmation; 0 for none
  std::uint64_t secondsOfTrial = 0;
};

/// What the library is there for and the stack has been asked for, so too.
struct Asked {
  bool isBeingTold = false;    // a configuration is being applied or brought back
  documents::VlanIds vlans;    // of the library
  documents::VlanIds leaving;  // of these, those that wait for the answers to their removals
  documents::ProtocolSets running;
  std::shared_ptr<const intent::InterfaceIndexes> interfaces;
  intent::SharedRoutes routes;  // that are asked for, or will be
  std::size_t toAsk = 0;        // of routes, to be there or to go
  std::shared_ptr<const intent::Rules> rules;
};

/// Holds the folder against what is in force. It fails if it has been changed since and not
/// applied, or cannot be used. A folder that says what was undone, and nothing else, has passed: an
/// operator wants it to differ. So does one with an error that is left out (`howToRead`). For any
/// thread.
rows::Verdict VerifyFolder(const std::string& directory,
                           const documents::ConfigFolder::Options& howToRead,
                           const InForce& inForce);

/// Holds what the documents in force want against what has been asked for, or waits for something
/// that is not there. For any thread.
rows::Verdict VerifyAsked(const intent::Intent& intent, const Asked& asked);

}  // namespace apply

#endif
