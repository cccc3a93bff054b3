// What is in a store.
#ifndef DEVICE_REVISIONS_STORE_READING_H
#define DEVICE_REVISIONS_STORE_READING_H

#include <string>
#include <vector>

#include "excess.h"
#include "revision_json.h"

namespace revisions {

constexpr const char* STATE_FILE = "/STATE.json";
/// What a file's name ends with until the file is complete.
constexpr const char* UNFINISHED = ".new";
/// The folder of the revision that is being written, and what stands before the number of one that
/// is being removed.
constexpr const char* NEW_REVISION = "/new";
constexpr const char* GONE_REVISION = "/gone-";

struct StoreContents {
  WrittenState written;
  std::vector<Revision> revisions;  // in the order of their numbers
  Contents documents;
};

struct StoreListing {
  bool hasState = false;
  std::vector<unsigned int> revisions;  // in their order
  std::vector<std::string> leftOver;    // paths of what an interrupted write has left
};

/// Lists the store. Names that this program does not give are left alone.
std::string ListStore(const std::string& path, StoreListing& listing);

/// Reads the state and the revisions of the listing; one that the state does not know of, the next
/// in number, becomes a left-over. Returns what is wrong: a file that cannot be read or that nobody
/// has written like that, a revision that the state names and that is not whole.
std::string ReadStore(const std::string& path, StoreListing& listing, StoreContents& contents);

}  // namespace revisions

#endif
