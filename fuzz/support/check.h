// How a target says that something is wrong.
#ifndef FUZZ_SUPPORT_CHECK_H
#define FUZZ_SUPPORT_CHECK_H

#include <string>

namespace fuzz {

/// Ends the process with `what` on standard error unless `holds`: a finding, as a crash would be.
void Check(bool holds, const std::string& what);

}  // namespace fuzz

#endif
