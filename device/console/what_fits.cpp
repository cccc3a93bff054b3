#include "what_fits.h"

#include "device/program/printable.h"
#include "nearest.h"
#include "places.h"

namespace console {

using program::Quote;

namespace {

// What would fit instead of a word.
std::string Instead(const std::vector<Atom>& atoms, const Words& words) {
  std::string expected;
  for (const Atom& atom : atoms) {
    const Place* place = atom.isPlace ? FindPlace(atom.text) : nullptr;
    const Words values = atom.isPlace ? ValuesOf(atom.text) : Words();
    if (!values.empty()) {
      return " Possible: " + Joined(values);
    }
    expected += place ? (expected.empty() ? "" : ", or ") + std::string(place->expected) : "";
  }
  if (words.empty()) {
    return expected.empty() ? " Nothing may follow." : " Expected: " + expected;
  }
  return " Possible: " + Joined(words) + (expected.empty() ? "" : ", or " + expected);
}

std::string DidYouMean(const std::string& word, const std::vector<Atom>& atoms,
                       const Words& words) {
  std::string nearest = FindNearest(word, words);
  for (const Atom& atom : atoms) {
    nearest = atom.isPlace && nearest.empty() ? MendedFor(atom.text, word) : nearest;
  }
  return nearest.empty() ? "" : " Did you mean " + Quote(nearest) + "?";
}

}  // namespace

Words WordsOf(const std::vector<Atom>& atoms) {
  Words words;
  for (const Atom& atom : atoms) {
    if (!atom.isPlace && !Has(words, atom.text)) {
      words.push_back(atom.text);
    }
  }
  return words;
}

std::string WhatFits(const std::string& word, const std::vector<Atom>& atoms) {
  const Words words = WordsOf(atoms);
  return DidYouMean(word, atoms, words) + Instead(atoms, words);
}

}  // namespace console
