// The one device of a benchmark's process, and the documents that load it.
#ifndef BENCH_DEVICE_H
#define BENCH_DEVICE_H

#include <string>

#include "tests/support/device_fixture.h"

namespace bench {

/// A started and settled device in virtual time, quiet at level 0. Its singletons live as long as
/// the process, so every benchmark leaves it as it found it.
test_support::Device& TheDevice();

/// A VLAN document of about 850 bytes per VLAN (ids 1 to `vlans`), with at most one row in each list.
/// `changed`, when not 0, is a VLAN whose administrative distances differ.
std::string VlanDocument(unsigned int vlans, unsigned int changed = 0);

/// The document without any VLAN: withdraws the file.
std::string EmptyDocument();

}  // namespace bench

#endif
