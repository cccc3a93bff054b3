// Small text helpers of the base library.
#ifndef TARSEL_TEXT_H
#define TARSEL_TEXT_H

#include "tarsel/export.h"

namespace Tarsel {

/// Whether `text` begins with `prefix`, letter case ignored. Returns false if either is null.
TARSEL_API bool strcasestrstart(const char* prefix, const char* text);

}  // namespace Tarsel

#endif
