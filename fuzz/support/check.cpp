#include "check.h"

#include <cstdio>
#include <cstdlib>

namespace fuzz {

void Check(bool holds, const std::string& what) {
  if (!holds) {
    std::fprintf(stderr, "fuzz: %s\n", what.c_str());
    std::abort();
  }
}

}  // namespace fuzz
