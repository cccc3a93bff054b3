#include "store_fixture.h"

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace revisions_test {

revisions::Document DocumentOf(const std::string& name, const std::string& text) {
  return {name, text.size(), documents::DigestOf(text), std::make_shared<const std::string>(text)};
}

revisions::Documents DocumentsOf(const Texts& texts) {
  revisions::Documents documents;
  for (const auto& [name, text] : texts) {
    documents.push_back(DocumentOf(name, text));
  }
  return documents;
}

revisions::Documents WithoutTexts(revisions::Documents documents) {
  for (revisions::Document& document : documents) {
    document.text = nullptr;
  }
  return documents;
}

revisions::Revision RevisionOf(unsigned int number) {
  revisions::Revision revision;
  revision.number = number;
  revision.time = 1700000000 + number;
  revision.cause = static_cast<revisions::Cause>(number % 4);
  revision.of = number / 2;
  revision.asker = "operator " + std::to_string(number);
  revision.change = std::to_string(number) + " routes added";
  revision.digest = {number, ~std::uint64_t{number}};
  return revision;
}

revisions::State InForce(unsigned int number) {
  revisions::State state;
  state.inForce = number;
  return state;
}

Store::Store() {
  config.Write("device.json", "{\"default_vlan\": 10}");
  config.Write("vlans.json", "{}");
}

void Store::Open(const RevisionStore::Limits& limits) {
  Close();
  std::string problem;
  store = RevisionStore::Open(state.Path(), config.Path(), limits, problem);
  ASSERT_NE(store, nullptr) << problem;
  EXPECT_EQ(problem, "");
  path = store->GetPath();
}

std::string Store::OpenInVain() {
  std::string problem;
  EXPECT_EQ(RevisionStore::Open(state.Path(), config.Path(), {}, problem), nullptr);
  EXPECT_NE(problem, "");
  return problem;
}

std::string Store::Keep(const revisions::Documents& documents) {
  const unsigned int number = store->GetLast() + 1;
  return store->Keep(RevisionOf(number), documents, InForce(number));
}

std::string Store::Listing() const {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path)) {
    names.insert(entry.path().filename());
  }
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : " ") + name;
  }
  return text;
}

std::string Store::Read(const std::string& name) const {
  std::ostringstream text;
  text << std::ifstream(path + "/" + name, std::ios::binary).rdbuf();
  return text.str();
}

void Store::Write(const std::string& name, const std::string& text) const {
  std::filesystem::remove(path + "/" + name);  // some file systems wait for what is written over
  std::ofstream(path + "/" + name, std::ios::binary) << text;
}

}  // namespace revisions_test
