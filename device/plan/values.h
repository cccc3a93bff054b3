// What members of a document say, in one way of writing.
#ifndef DEVICE_PLAN_VALUES_H
#define DEVICE_PLAN_VALUES_H

#include <string>

#include "device/documents/members.h"
#include "tarsel/options.h"

namespace plan {

/// The value of an object's declared member. However it is written, and whether it stands there or
/// is left to its default, equal values give equal texts.
std::string ValueOf(const Tarsel::OptionsNode& object, const documents::Member& member);

/// The value of an absent member.
std::string StandardOf(const documents::Member& member);

/// The value of a member that nobody has declared, as far as routers can read it.
std::string AnyValueOf(const Tarsel::OptionsNode& object, const char* name);

}  // namespace plan

#endif
