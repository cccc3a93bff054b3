#include "passed_over.h"

#include <strings.h>

#include <algorithm>

#include "vantacore/config_parser.h"

namespace console {

namespace {

/// An option of the library, in the order in which it is taken.
struct Option {
  const char* name;
  const char* place;  // of its value; null for none
};

using Options = std::vector<Option>;

const Options ROUTE_OPTIONS = {
    {"vrf", "vid"}, {"dest", "address"}, {"proto", "protocol"}, {"detail", nullptr}};
const Options VLAN_OPTION = {{"vrf", "vid"}};
const Options GROUP_OPTIONS = {{"vrf", "vid"}, {"group", "address"}};

enum class Rest {
  LEFT_OVER,  // the library prints nothing of further words
  TOLD        // it prints a text
};

/// A line of the library's and what may follow it.
struct LibraryLine {
  const char* words;
  Options options;
  Words followers;
  bool ip6;
  Rest rest;
  Words changing = {};  // those of the followers that change something
};

const LibraryLine LIBRARY_LINES[] = {
    {"ip protocol",
     {},
     {"database", "mcast-database", "summary", "pending-actions", "ips"},
     false,
     Rest::TOLD},
    {"ip protocol database", ROUTE_OPTIONS, {}, false, Rest::LEFT_OVER},
    {"ip protocol mcast-database", GROUP_OPTIONS, {}, false, Rest::TOLD},
    {"ip protocol pending-actions", {}, {"summary"}, false, Rest::TOLD},
    {"ip protocol ips",
     {},
     {"on", "off", "status", "set", "reset"},
     false,
     Rest::TOLD,
     {"on", "off", "set", "reset"}},
    {"ip bgp", VLAN_OPTION, {}, false, Rest::TOLD},
    {"ip igmp", VLAN_OPTION, {}, false, Rest::TOLD},
    {"ip ospf", VLAN_OPTION, {}, false, Rest::TOLD},
    {"ip rip", VLAN_OPTION, {}, false, Rest::TOLD},
    {"ip6 protocol", {}, {"database", "summary"}, true, Rest::TOLD},
    {"ip6 protocol database", ROUTE_OPTIONS, {}, true, Rest::LEFT_OVER},
    {"ip6 bgp", VLAN_OPTION, {}, true, Rest::TOLD},
    {"ip6 ospf", VLAN_OPTION, {}, true, Rest::TOLD},
    {"ip6 rip", {}, {}, true, Rest::LEFT_OVER},
    {"rtm route ipv6", ROUTE_OPTIONS, {}, true, Rest::LEFT_OVER},
    {"rtm route", ROUTE_OPTIONS, {}, false, Rest::LEFT_OVER},
    {"rtm rib ipv6", ROUTE_OPTIONS, {}, true, Rest::LEFT_OVER},
    {"rtm rib", ROUTE_OPTIONS, {}, false, Rest::LEFT_OVER},
};

// As the library compares a word with the one at `at` of a line: the third word of the `ip` tree by
// two letters, that of the `ip6` tree whole.
bool IsWord(const Words& line, std::size_t at, const std::string& word) {
  if (at < 2 || line[0] == "rtm") {
    return line[at] == word;
  }
  return line[0] == "ip" && line[at] != "ips" ? strncasecmp(line[at].c_str(), word.c_str(), 2) == 0
                                              : strcasecmp(line[at].c_str(), word.c_str()) == 0;
}

// Returns the line that the words begin with, the longest one; null if there is none.
const LibraryLine* FindLine(const Words& words, std::size_t& size) {
  for (std::size_t count = std::min<std::size_t>(words.size(), 3); count >= 2; --count) {
    for (const LibraryLine& line : LIBRARY_LINES) {
      const Words own = Split(line.words);
      bool fits = own.size() == count;
      for (std::size_t i = 0; fits && i < count; ++i) {
        fits = IsWord(own, i, words[i]);
      }
      if (fits) {
        size = count;
        return &line;
      }
    }
  }
  return nullptr;
}

bool IsValue(const std::string& place, const std::string& word, bool ip6) {
  if (place == "vid") {
    unsigned int number = 0;
    return Tarsel::ParseNumber(&number, word.c_str()) != 0;
  }
  if (place == "protocol") {
    return Has({"bgp", "connected", "ospf", "rip", "static"}, word);
  }
  Tarsel::Ip6Addr address6;
  Tarsel::Ip4Addr address4;
  return ip6 ? address6.FromString(word.c_str())
             : static_cast<bool>(Tarsel::ParseAddress(address4, word.c_str()));
}

/// How far the options of a line go.
struct Way {
  std::size_t at;     // the first word that no option takes
  std::size_t next;   // the first option that may stand there
  const char* place;  // of a value that is missing there; null for none
  bool isWrong;       // a value does not fit: the library says so
};

Way Follow(const LibraryLine& line, const Words& words, std::size_t begin) {
  Way way = {begin, 0, nullptr, false};
  for (std::size_t i = 0; i < line.options.size() && way.at < words.size(); ++i) {
    const Option& option = line.options[i];
    const std::string& word = words[way.at];
    if (strncasecmp(word.c_str(), option.name, word.size()) != 0) {
      continue;
    }
    way.next = i + 1;
    ++way.at;
    if (option.place == nullptr) {
      continue;
    }
    if (way.at == words.size() || !IsValue(option.place, words[way.at], line.ip6)) {
      way.isWrong = true;
      way.place = way.at == words.size() ? option.place : nullptr;
      return way;
    }
    ++way.at;
  }
  return way;
}

}  // namespace

PassedOver FindPassedOver(const Words& words) {
  std::size_t begin = 0;
  const LibraryLine* line = FindLine(words, begin);
  if (line == nullptr || line->rest == Rest::TOLD) {
    return {};
  }
  const Way way = Follow(*line, words, begin);
  if (way.isWrong || way.at == words.size()) {
    return {};
  }
  PassedOver passed;
  passed.at = way.at;
  for (std::size_t i = way.next; i < line->options.size(); ++i) {
    passed.possible.emplace_back(line->options[i].name);
  }
  return passed;
}

bool OnlyShows(const Words& words) {
  std::size_t size = 0;
  const LibraryLine* line = FindLine(words, size);
  if (line == nullptr) {
    return false;
  }
  return words.size() == size ||
         std::none_of(line->changing.begin(), line->changing.end(), [&](const std::string& word) {
           return strcasecmp(word.c_str(), words[size].c_str()) == 0;
         });
}

std::vector<Atom> FollowingOf(const Words& before) {
  std::size_t begin = 0;
  const LibraryLine* line = FindLine(before, begin);
  if (line == nullptr) {
    return {};
  }
  const Way way = Follow(*line, before, begin);
  if (way.at != before.size()) {
    return {};
  }
  if (way.isWrong) {
    return way.place ? std::vector<Atom>{{way.place, true}} : std::vector<Atom>();
  }
  std::vector<Atom> atoms;
  if (begin == before.size()) {
    for (const std::string& word : line->followers) {
      atoms.push_back({word, false});
    }
  }
  for (std::size_t i = way.next; i < line->options.size(); ++i) {
    atoms.push_back({line->options[i].name, false});
  }
  return atoms;
}

}  // namespace console
