#include "snapshot.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace revisions_test {

namespace {

void Describe(std::ostream& text, const documents::Digest& digest) {
  text << digest[0] << ":" << digest[1];
}

}  // namespace

std::map<std::string, std::string> ReadFolder(const std::string& path) {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
    std::ostringstream text;
    if (entry.is_directory()) {
      text << "(folder)";
    } else {
      text << std::ifstream(entry.path(), std::ios::binary).rdbuf();
    }
    files[entry.path().lexically_relative(path)] = text.str();
  }
  return files;
}

std::string Describe(const revisions::State& state) {
  std::ostringstream text;
  text << "in force " << state.inForce;
  if (state.unconfirmed) {
    text << ", unconfirmed " << state.unconfirmed->revision << " back " << state.unconfirmed->back
         << " until " << state.unconfirmed->until << " by " << state.unconfirmed->asker;
  }
  if (state.undone) {
    text << ", undone ";
    Describe(text, *state.undone);
  }
  return text.str();
}

std::string Describe(const revisions::RevisionStore& store, const revisions::Revision& revision) {
  std::ostringstream text;
  text << revision.number << ": time " << revision.time << " cause "
       << static_cast<int>(revision.cause) << " of " << revision.of << " by " << revision.asker
       << ": " << revision.change << " digest ";
  Describe(text, revision.digest);
  text << "\n";
  for (const auto& [name, content] : ReadFolder(store.PathOf(revision.number))) {
    if (name != "revision.json") {
      text << "  " << name << ": " << content << "\n";
    }
  }
  return text.str();
}

std::string Describe(const revisions::RevisionStore& store) {
  std::string text =
      Describe(store.GetState()) + ", last " + std::to_string(store.GetLast()) + "\n";
  for (const revisions::Revision& revision : store.GetRevisions()) {
    text += Describe(store, revision);
  }
  return text;
}

}  // namespace revisions_test
