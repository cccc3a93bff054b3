// A configuration folder, its store, and revisions to keep there.
#ifndef TESTS_UNIT_REVISIONS_STORE_FIXTURE_H
#define TESTS_UNIT_REVISIONS_STORE_FIXTURE_H

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "device/revisions/revision_store.h"
#include "tests/support/scratch_folder.h"

namespace revisions_test {

using revisions::RevisionStore;
using Texts = std::map<std::string, std::string>;  // by the document's name

/// With its text.
revisions::Document DocumentOf(const std::string& name, const std::string& text);
revisions::Documents DocumentsOf(const Texts& texts);
/// The same documents without their texts.
revisions::Documents WithoutTexts(revisions::Documents documents);

/// A revision of which everything depends on the number.
revisions::Revision RevisionOf(unsigned int number);
revisions::State InForce(unsigned int number);

class Store : public testing::Test {
 protected:
  Store();

  /// Opens the store, in place of the one that is open. Fails the test if that is not possible.
  void Open(const RevisionStore::Limits& limits = {});
  /// Why the store cannot be opened. Fails the test if it can.
  std::string OpenInVain();
  void Close() { store.reset(); }
  /// Keeps revision GetLast() + 1 and puts it in force.
  std::string Keep(const revisions::Documents& documents);

  /// The folder of the store. It is there when it has been opened once.
  const std::string& Path() const { return path; }
  /// The names in the store, sorted, with a blank between two.
  std::string Listing() const;
  std::string Read(const std::string& name) const;
  void Write(const std::string& name, const std::string& text) const;

  test_support::ScratchFolder config;
  test_support::ScratchFolder state;
  std::unique_ptr<RevisionStore> store;
  std::string path;
};

}  // namespace revisions_test

#endif
