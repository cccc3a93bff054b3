// How revisions and the state are written down.
#ifndef DEVICE_REVISIONS_REVISION_JSON_H
#define DEVICE_REVISIONS_REVISION_JSON_H

#include <cstddef>
#include <string>

#include "revision.h"

namespace revisions {

/// The greatest number of a revision.
constexpr unsigned int MAX_REVISION = 999999999;
/// How long the two texts may be, in bytes. The second has room for all documents that a folder can
/// have, with the longest names.
constexpr std::size_t MAX_STATE_BYTES = 64u << 10;
constexpr std::size_t MAX_REVISION_BYTES = 4u << 20;

struct WrittenState {
  State state;
  unsigned int last = 0;  // the number of the last revision there has been
};

struct WrittenRevision {
  Revision revision;
  Documents documents;  // without their texts
};

std::string WriteState(const WrittenState& written);
std::string WriteRevision(const WrittenRevision& written);

// What is read is not trusted. Each function returns what is wrong with the text, "expected a number
// from 1 to 999999999 as \"number\""; empty if nothing is. `written` is a new one, and complete in that case only.
// Texts for people come back printable, whatever the file has.

std::string ReadState(const std::string& text, WrittenState& written);
std::string ReadRevision(const std::string& text, WrittenRevision& written);

}  // namespace revisions

#endif
