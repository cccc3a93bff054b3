// The library's calls for interfaces.
#ifndef DEVICE_KEEPERS_INTERFACE_CALLS_H
#define DEVICE_KEEPERS_INTERFACE_CALLS_H

#include "device/documents/device.h"
#include "device/intent/interface_plan.h"

namespace keepers {

/// An interface's status, as the library and the stack number it.
constexpr unsigned int STATUS_UP = 1;
constexpr unsigned int STATUS_DOWN = 2;

/// Tells the library what one action of a plan says, about one interface. The library's managers
/// may call the host back meanwhile, and the stack if it answers at once.
void Tell(const documents::InterfaceKey& key, const intent::InterfaceAction& action);

}  // namespace keepers

#endif
