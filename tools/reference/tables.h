// The tables of the reference, docs/documents.md, made of the members' declarations.
#ifndef TOOLS_REFERENCE_TABLES_H
#define TOOLS_REFERENCE_TABLES_H

#include <string>

#include "device/documents/document_shapes.h"

namespace reference {

/// The page with all its tables written anew. A table stands between the lines
/// `<!-- members: TITLE -->` and `<!-- end of members -->`. TITLE is that of an object, or "every
/// protocol", "protocols", "every row", "rows" or "routes". Throws std::runtime_error if the page
/// has not exactly the tables that there are.
std::string WithTables(const std::string& page, const documents::VlanShapes& shapes,
                       const documents::Protocols& protocols);

}  // namespace reference

#endif
