// The places of a command that take a value: what fits, and how they are described.
#ifndef DEVICE_CONSOLE_PLACES_H
#define DEVICE_CONSOLE_PLACES_H

#include <string>

#include "words.h"

namespace console {

/// A place is written "<name>" in a form. One that is not in the table takes any word.
struct Place {
  const char* name;
  bool (*takes)(const std::string& word);  // null: any word
  const char* expected;                    // for a word that does not fit: "Expected: ..."
  const char* description;                 // for help
};

/// Returns the place of that name; a null pointer for one that is not in the table.
const Place* FindPlace(const std::string& name);
bool Takes(const std::string& name, const std::string& word);
/// The value that a word is near which does not fit; an empty text if there is none.
std::string MendedFor(const std::string& name, const std::string& word);
/// The words that are all that may stand in a place; none for a place with other values.
Words ValuesOf(const std::string& name);

}  // namespace console

#endif
