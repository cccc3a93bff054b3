// The words that the library's grammars pass over without a text, and those that change something.
#ifndef DEVICE_CONSOLE_PASSED_OVER_H
#define DEVICE_CONSOLE_PASSED_OVER_H

#include <vector>

#include "grammar.h"

namespace console {

/// A table of the library takes its options in one order, each once, and any beginning of their
/// names in any letter case. Of an option that it does not like it prints the usage; words that are
/// left over after the options make it print nothing at all. A VLAN that is not there does not
/// change that.
struct PassedOver {
  std::size_t at = Parse::NONE;  // the first word that is left over
  Words possible;                // options that may stand there
};

/// `words` is the line without `show`.
PassedOver FindPassedOver(const Words& words);
/// Whether it is known that the library changes nothing when it carries the words out.
bool OnlyShows(const Words& words);
/// What may follow `before`, as far as the library's usage texts say.
std::vector<Atom> FollowingOf(const Words& before);

}  // namespace console

#endif
