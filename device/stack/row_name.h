// The identifier of a row that a host names.
#ifndef DEVICE_STACK_ROW_NAME_H
#define DEVICE_STACK_ROW_NAME_H

#include <vector>

#include "facts.h"
#include "oid.h"

namespace routing_stack {

/// The same identifier as that of a request whose row has this name.
Oid OidOf(const RowName& name);

/// An identifier as a key of tables.
using OidWords = std::vector<unsigned int>;
inline OidWords WordsOf(const Oid& oid) { return {oid.words, oid.words + oid.length}; }

}  // namespace routing_stack

#endif
