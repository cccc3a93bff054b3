// Lines of an operator through the grammar of the host's words, and through their filters.
//
// The input is lines. Each is read by forms of every kind; nothing is carried out. What a parse says
// must hold: abbreviations that have been written out are read as the same command, what may follow
// is taken, values fit their places. A filter gives the same however its input is cut.
#include "device/console/grammar.h"

#include <cstdint>

#include "device/console/foreign_words.h"
#include "device/console/nearest.h"
#include "device/console/output_filter.h"
#include "device/console/places.h"
#include "fuzz/support/bytes.h"
#include "fuzz/support/check.h"

namespace {

using console::Grammar;
using console::Parse;
using console::Words;
using fuzz::Check;

const char* const PATTERNS[] = {
    "route [vrf <vid>|all] [<address>|<prefix> [longer]] [proto <protocol>] [via <gateway>] "
    "[dev <interface>] [installed|waiting|refused] [summary] [json]",
    "route6 [vrf <vid>|all] [<address>|<prefix> [longer]] [json]",
    "explain {<address>|<prefix>} [vrf <vid>] [json]",
    "requests [vrf <vid>|all] [json]",
    "reload [force] [confirm <seconds>] [json]",
    "revision <revision>",
    "undo [<changes-back>]",
    "retry [<prefix>]",
    "log level <level> [<component>]",
    "rtm [help|?]",
    "rtm route|rib [ipv6] [<option> ...]",
    "ip [<word> ...]",
    "lab address add|change|delete <interface> <address/length> [vrf <vid>]",
    "lab stack refuse|retry rtm|route <count> times [vrf <vid>]",
};

const Grammar& Forms(bool canAbbreviate) {
  const auto make = [](bool can) {
    Grammar grammar(can);
    for (const char* pattern : PATTERNS) {
      grammar.Add(pattern);
    }
    return grammar;
  };
  static const Grammar SHORT = make(true);
  static const Grammar WHOLE = make(false);
  return canAbbreviate ? SHORT : WHOLE;
}

bool AreSame(const Parse& a, const Parse& b) {
  bool same = a.form == b.form && a.begun == b.begun && a.given.size() == b.given.size();
  for (std::size_t i = 0; same && i < a.given.size(); ++i) {
    same = a.given[i].name == b.given[i].name && a.given[i].word == b.given[i].word &&
           a.given[i].at == b.given[i].at && a.given[i].isValue == b.given[i].isValue;
  }
  return same;
}

void CheckParse(const Parse& parse, const Words& words, const Grammar& grammar) {
  const bool fits = parse.misfit == Parse::NONE;
  Check(parse.words.size() == (fits ? words.size() : parse.misfit), "words are lost");
  Check(!fits || parse.form != Parse::NONE || !parse.following.empty(), "a line without an end");
  for (const console::Given& one : parse.given) {
    Check(one.at < parse.words.size() && parse.words[one.at] == one.word, "a value elsewhere");
    Check(!one.isValue || console::Takes(one.name, one.word), "a value that does not fit");
  }
  const Parse again = grammar.Read(parse.words);
  Check(again.misfit == Parse::NONE && again.words == parse.words, "what is written out is new");
  Check(!fits || AreSame(parse, again), "what is written out is another command");
  for (const console::Atom& atom : parse.following) {
    if (!atom.isPlace) {
      Words more = parse.words;
      more.push_back(atom.text);
      Check(grammar.Read(more).misfit == Parse::NONE, "what may follow is refused");
    }
  }
}

void CheckFilter(const std::string& filter, const std::string& text, std::size_t piece) {
  const auto run = [&](std::size_t size) {
    std::string output;
    const auto take = [&](std::string_view some) { output += some; };
    const auto made = console::MakeFilter(filter);
    for (std::size_t at = 0; made && at < text.size(); at += size) {
      made->Add(std::string_view(text).substr(at, size), take);
    }
    if (made) {
      made->End(take);
    }
    return output;
  };
  Check(run(piece) == run(text.size() + 1), "a filter depends on how its input is cut");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  for (const std::string& line : fuzz::Split(text, '\n')) {
    const console::PipedLine piped = console::SplitPipe(line);
    const Words words = console::Split(piped.command);
    for (const bool canAbbreviate : {true, false}) {
      const Grammar& grammar = Forms(canAbbreviate);
      const Parse parse = grammar.Read(words);
      CheckParse(parse, words, grammar);
      if (parse.misfit != Parse::NONE) {
        console::FindNearest(words[parse.misfit], {"route", "requests", "longer", "json"});
        console::FindForeignWords(words, parse.misfit);
      }
    }
    if (piped.filter) {
      CheckFilter(*piped.filter, text, 1 + line.size() % 7);
    }
  }
  return 0;
}
