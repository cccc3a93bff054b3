// Small text helpers of the base library.
#ifndef TARSEL_TEXT_H
#define TARSEL_TEXT_H

#include "tarsel/export.h"

namespace Tarsel {

/// True when `text` begins with `prefix`, letter case ignored. False when either is null.
TARSEL_API bool strcasestrstart(const char* prefix, const char* text);

}  // namespace Tarsel

#endif
