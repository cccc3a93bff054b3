#include <utility>

#include "count.h"
#include "device/program/counted.h"

namespace plan {

using program::Counted;

namespace {

// In the order of Thing.
struct Noun {
  Count Totals::*count;
  const char* one;
  const char* many;
};
constexpr Noun NOUNS[] = {
    {&Totals::vlans, "VLAN", "VLANs"},
    {&Totals::interfaces, "interface", "interfaces"},
    {&Totals::addresses, "address", "addresses"},
    {&Totals::protocols, "protocol", "protocols"},
    {&Totals::rows, "protocol row", "protocol rows"},
    {&Totals::routes, "route", "routes"},
    {&Totals::rules, "rule", "rules"},
    {&Totals::settings, "setting", "settings"},
};

// The noun stands with the first count only: "3 routes removed, 1 changed".
void Add(const Count& count, const Noun& noun, std::string& text) {
  const std::pair<std::size_t, const char*> parts[] = {
      {count.added, "added"}, {count.removed, "removed"}, {count.changed, "changed"}};
  bool isFirst = true;
  for (const auto& [number, verb] : parts) {
    if (number != 0) {
      text += text.empty() ? "" : ", ";
      text += isFirst ? Counted(number, noun.one, noun.many) : std::to_string(number);
      text += std::string(" ") + verb;
      isFirst = false;
    }
  }
}

}  // namespace

void AddTo(Totals& totals, Thing thing, How how) {
  Count& count = totals.*NOUNS[static_cast<std::size_t>(thing)].count;
  ++(how == How::ADDED ? count.added : how == How::REMOVED ? count.removed : count.changed);
}

bool Totals::IsEmpty() const {
  for (const Noun& noun : NOUNS) {
    if (!(this->*noun.count).IsEmpty()) {
      return false;
    }
  }
  return true;
}

std::string DescribeTotals(const Totals& totals) {
  if (totals.IsEmpty()) {
    return "no change";
  }
  std::string text;
  for (const Noun& noun : NOUNS) {
    Add(totals.*noun.count, noun, text);
  }
  return text + "; " + Counted(totals.requests, "request", "requests");
}

}  // namespace plan
