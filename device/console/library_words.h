// The words of the library's trees: which handler they go to, and what it would pass over.
#ifndef DEVICE_CONSOLE_LIBRARY_WORDS_H
#define DEVICE_CONSOLE_LIBRARY_WORDS_H

#include <string>
#include <vector>

#include "call.h"

namespace console {

/// A word of a tree and what it is for.
struct TreeWord {
  std::string name;
  std::string description;
};

/// The words of `ip` or `ip6`, as the library registers them.
std::vector<TreeWord> ReadTree(const std::string& tree);

/// Carries out a line that begins with `ip` or `ip6` and one of the tree's words at least, with
/// `rtm` and a table, or with an interface word. Words that the library's own grammar passes over
/// without a text are misfits; of all others the library judges itself.
void RunLibraryWords(Call& call);

/// Whether the library may change something when it carries out such a line. Of a word that somebody
/// has registered, and that is not known here, it may.
bool MayChange(const Words& words);

/// What the library's handlers understand after the words, for completion: words and places.
std::vector<Atom> FollowLibraryWords(const Words& before);

/// Takes a value of the line as a VLAN that exists, or says why it is not.
bool TakeVlan(Call& call, unsigned short& vlan);

}  // namespace console

#endif
