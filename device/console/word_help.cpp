#include "word_help.h"

#include <algorithm>

#include "places.h"

namespace console {

namespace {

constexpr std::size_t LEFT = 36;
constexpr std::size_t WIDTH = 78;
constexpr std::size_t INDENT = 6;

struct OptionHelp {
  const char* word;
  const char* description;
};

const OptionHelp OPTIONS[] = {
    {"vrf", "Of one VLAN"},
    {"all", "Of all VLANs"},
    {"longer", "And the prefixes within it"},
    {"proto", "Of one protocol"},
    {"via", "Over one gateway"},
    {"dev", "Over one interface"},
    {"installed", "Those that forward"},
    {"waiting", "Those that wait for something"},
    {"refused", "Those that the stack has refused"},
    {"summary", "Numbers instead of rows"},
    {"json", "As one JSON document"},
    {"route", "Routes"},
    {"request", "Requests to the stack and their answers"},
    {"interface", "Interfaces and their addresses"},
    {"reload", "Reloads and what has become of them"},
    {"level", "How much is logged"},
    {"strict", "Refuse warnings, too"},
    {"force", "Whatever the guard says"},
    {"confirm", "On trial: what was in force comes back"},
    {"stack", "What the stack has, which is all there is"},
    {"ipv6", "The IPv6 table"},
    {"rib", "All candidates"},
    {"dest", "Routes with one network address"},
    {"group", "Of one multicast group"},
    {"detail", "Every field"},
    {"exit", "Leave, as quit does"},
    {"?", "This list, as help"},
};

// The words of a pattern, where those of a bracket stand together.
Words PartsOf(const std::string& pattern) {
  Words parts;
  std::ptrdiff_t depth = 0;
  for (const std::string& word : Split(pattern)) {
    if (depth == 0) {
      parts.push_back(word);
    } else {
      parts.back() += " " + word;
    }
    depth += std::count(word.begin(), word.end(), '[') - std::count(word.begin(), word.end(), ']');
  }
  return parts;
}

}  // namespace

std::string DescribeOption(const Atom& atom) {
  if (atom.isPlace) {
    const Place* place = FindPlace(atom.text);
    return place ? place->description : "";
  }
  for (const OptionHelp& option : OPTIONS) {
    if (option.word == atom.text) {
      return option.description;
    }
  }
  return "";
}

std::string WrapPattern(const std::string& pattern) {
  std::string lines;
  std::string line = " ";
  for (const std::string& part : PartsOf(pattern)) {
    if (line.size() + 1 + part.size() > WIDTH) {
      lines += line + "\n";
      line = std::string(INDENT - 1, ' ');
    }
    line += " " + part;
  }
  return lines + line;
}

std::string HelpRow(const std::string& left, const std::string& right) {
  if (left.size() < LEFT) {
    return "  " + left + std::string(right.empty() ? 0 : LEFT - left.size(), ' ') + right + "\n";
  }
  return WrapPattern(left) + "\n" + std::string(LEFT + 2, ' ') + right + "\n";
}

}  // namespace console
