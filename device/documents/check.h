// Checks single documents, for hosts other than the software device's daemon.
#ifndef DEVICE_DOCUMENTS_CHECK_H
#define DEVICE_DOCUMENTS_CHECK_H

#include <string>
#include <vector>

#include "members.h"
#include "tarsel/export.h"

namespace documents {

enum class DocumentKind { DEVICE, VLANS, REMOTE };

/// What is wrong with a document: lines as `vantacored --check` prints them, in the order of the
/// text. Of each severity there are at most the first hundred.
struct CheckResult {
  std::vector<std::string> errors;
  std::vector<std::string> warnings;
};

/// Checks a document against the declared members. `text` is the whole document; `file` is what the
/// lines call it. `protocols` are those of the VLANs' entries, for example DeclaredProtocols(); a
/// device document has none. They are not kept. It may be called in any thread, and calls neither
/// the library nor the log. What only several documents together can tell is not found.
TARSEL_API CheckResult CheckDocument(DocumentKind kind, const std::string& text,
                                     const std::string& file, const Protocols& protocols);

}  // namespace documents

#endif
