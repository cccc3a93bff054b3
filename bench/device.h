// The one device of a benchmark's process, and the documents that load it.
#ifndef BENCH_DEVICE_H
#define BENCH_DEVICE_H

#include "tests/support/device_fixture.h"
#include "tests/support/vlan_document.h"

namespace bench {

/// A started and settled device in virtual time, quiet at level 0. Its singletons live as long as
/// the process, so every benchmark leaves it as it found it.
test_support::Device& TheDevice();

using test_support::EmptyDocument;
using test_support::FullVlanDocument;
using test_support::VlanDocument;

}  // namespace bench

#endif
