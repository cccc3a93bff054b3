// The schemas of documents (JSON Schema, draft 7), made of the members' declarations.
#ifndef TOOLS_REFERENCE_SCHEMA_H
#define TOOLS_REFERENCE_SCHEMA_H

#include <string>

#include "device/documents/members.h"

namespace reference {

/// The schema of documents whose root is `root`, as a text that ends with a line feed. `name` is
/// that of the file. A schema refers to no other one.
std::string Schema(const std::string& name, const documents::Object& root);

}  // namespace reference

#endif
