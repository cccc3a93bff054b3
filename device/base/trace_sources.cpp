// The caller's address would be wrong where a call is the last thing that a function does: the
// compiler makes a jump of it. A message's format is a literal, which lies in the object that has
// the call.
#include "trace_sources.h"

#include <link.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace Tarsel {

namespace {

// What an object occupies; nothing before it is named.
struct Span {
  std::uintptr_t begin = 0;
  std::uintptr_t end = 0;
};

std::array<Span, TRACE_SOURCES> g_spans;  // of each source; the first has none

struct Search {
  const char* object;
  Span found;
};

// "libfar.so" names libfar.so and libfar.so.1.
bool HasName(const char* path, const char* object) {
  const char* const slash = std::strrchr(path, '/');
  const char* const name = slash != nullptr ? slash + 1 : path;
  const std::size_t size = std::strlen(object);
  return std::strncmp(name, object, size) == 0 && (name[size] == '\0' || name[size] == '.');
}

int Look(dl_phdr_info* info, std::size_t, void* data) {
  Search& search = *static_cast<Search*>(data);
  if (!HasName(info->dlpi_name, search.object)) {
    return 0;
  }
  search.found.begin = UINTPTR_MAX;
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const auto& segment = info->dlpi_phdr[i];
    if (segment.p_type == PT_LOAD) {
      const std::uintptr_t begin = info->dlpi_addr + segment.p_vaddr;
      search.found.begin = std::min(search.found.begin, begin);
      search.found.end = std::max(search.found.end, begin + segment.p_memsz);
    }
  }
  return 1;
}

}  // namespace

bool NameTraceSource(const char* object, TraceSource source) {
  Search search{object, {}};
  if (dl_iterate_phdr(Look, &search) == 0) {
    return false;
  }
  g_spans[source] = search.found;
  return true;
}

TraceSource SourceOf(const char* text) {
  const auto address = reinterpret_cast<std::uintptr_t>(text);
  for (TraceSource source = 1; source < TRACE_SOURCES; ++source) {
    if (address >= g_spans[source].begin && address < g_spans[source].end) {
      return source;
    }
  }
  return TRACE_OTHERS;
}

}  // namespace Tarsel
