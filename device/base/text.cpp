#include "tarsel/text.h"

#include <strings.h>

#include <cstring>

namespace Tarsel {

bool strcasestrstart(const char* prefix, const char* text) {
  return prefix != nullptr && text != nullptr &&
         strncasecmp(prefix, text, std::strlen(prefix)) == 0;
}

}  // namespace Tarsel
