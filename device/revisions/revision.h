// A revision: one configuration that has been in force, and what the next start has to know.
#ifndef DEVICE_REVISIONS_REVISION_H
#define DEVICE_REVISIONS_REVISION_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "device/documents/digest.h"

namespace revisions {

/// What made a revision.
enum class Cause { START, RELOAD, UNDO, WAY_BACK };

/// "start", "reload", "undo", "way back".
const char* WordOf(Cause cause);

struct Revision {
  unsigned int number = 0;  // from 1 on, each one more than the last
  std::int64_t time = 0;    // seconds since the epoch
  Cause cause = Cause::START;
  unsigned int of = 0;         // of UNDO and WAY_BACK: the revision whose content it has
  std::string asker;           // who asked for it, for example "alice at the socket"
  std::string change;          // what it changed, in one line: plan::DescribeTotals
  documents::Digest digest{};  // of its documents, documents::DigestOf(Folder)
};

/// A document of a revision that is to be kept.
struct Document {
  std::string name;  // relative to the folder, for example "remote/a.json"
  std::uint64_t size = 0;
  documents::Digest digest{};  // of its text
  /// Null for one that has not been read anew. An older revision has it, or the folder.
  std::shared_ptr<const std::string> text;
};
using Documents = std::vector<Document>;

/// A reload that goes back by itself unless it is confirmed.
struct Unconfirmed {
  unsigned int revision = 0;
  unsigned int back = 0;   // the revision that comes back
  std::int64_t until = 0;  // seconds since the epoch
  std::string asker;
};

/// What the next start has to know besides the revisions.
struct State {
  unsigned int inForce = 0;  // the revision's number; 0 for none
  std::optional<Unconfirmed> unconfirmed;
  /// The digest of the folder as it was when what it says was undone: neither a start nor SIGHUP
  /// applies it again.
  std::optional<documents::Digest> undone;
};

}  // namespace revisions

#endif
