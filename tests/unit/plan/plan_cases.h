// Two configurations, and what the plan says of the way between them.
#ifndef TESTS_UNIT_PLAN_PLAN_CASES_H
#define TESTS_UNIT_PLAN_PLAN_CASES_H

#include <map>
#include <string>
#include <vector>

#include "device/plan/plan.h"

namespace plan_tests {

using Lines = std::vector<std::string>;

/// Documents by their names: "device.json", "vlans.json", "remote/...".
using Texts = std::map<std::string, std::string>;

/// The configuration of these documents, which are read as a folder's are.
intent::Intent IntentOf(const Texts& texts);

/// `"a": {...}` entries as a VLAN document or a remote document.
std::string WithEntries(const std::string& entries);
/// One entry `v` of VLAN 10 with these members, too.
std::string WithMembers(const std::string& members);
/// A device document with these interfaces.
std::string WithInterfaces(const std::string& interfaces);

/// All lines of the list. They have to agree with the plan's totals.
Lines ListAll(const intent::Intent& from, const intent::Intent& to);
Lines ListAll(const Texts& from, const Texts& to);

}  // namespace plan_tests

#endif
