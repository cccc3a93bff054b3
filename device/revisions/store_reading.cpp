#include "store_reading.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "device/documents/file_text.h"
#include "device/program/decimal.h"

namespace revisions {

namespace {

std::optional<unsigned int> NumberOf(const std::string& name) {
  const auto number = program::ReadDecimal(name, 1, MAX_REVISION);
  return number && std::to_string(*number) == name ? number : std::nullopt;
}

bool IsUnfinished(const std::string& name) {
  const std::string gone = GONE_REVISION + 1;
  return name == NEW_REVISION + 1 || name == std::string(STATE_FILE + 1) + UNFINISHED ||
         name == std::string("FOLDER") + UNFINISHED ||
         (name.compare(0, gone.size(), gone) == 0 && NumberOf(name.substr(gone.size())));
}

std::string Damaged(const std::string& file, const std::string& problem) {
  return file + ": is damaged, " + problem;
}

std::string ReadText(const std::string& file, std::size_t most, std::string& text) {
  documents::FileText found = documents::ReadFileText(file);
  if (!found.problem.empty()) {
    return file + ": " + found.problem;
  }
  if (found.text.size() > most) {
    return Damaged(file, "expected at most " + std::to_string(most) + " bytes");
  }
  text = std::move(found.text);
  return {};
}

std::string ReadOne(const std::string& path, unsigned int number, StoreContents& contents) {
  const std::string file = path + "/" + std::to_string(number) + "/revision.json";
  std::string text;
  std::string problem = ReadText(file, MAX_REVISION_BYTES, text);
  if (!problem.empty()) {
    return problem;
  }
  WrittenRevision written;
  problem = ReadRevision(text, written);
  if (problem.empty() && written.revision.number != number) {
    problem = "expected " + std::to_string(number) + " as \"number\"";
  }
  if (!problem.empty()) {
    return Damaged(file, problem);
  }
  contents.documents[number] = std::move(written.documents);
  contents.revisions.push_back(std::move(written.revision));
  return {};
}

// Whether a revision's documents are there. What they say is looked at when they are read.
std::string LookForDocuments(const std::string& folder, const Documents& documents) {
  for (const Document& document : documents) {
    const std::string file = folder + "/" + document.name;
    struct stat found {};
    if (lstat(file.c_str(), &found) != 0 || !S_ISREG(found.st_mode) ||
        static_cast<std::uint64_t>(found.st_size) != document.size) {
      return Damaged(file, "expected a file of " + std::to_string(document.size) + " bytes");
    }
  }
  return {};
}

std::string LookForNamed(const std::string& path, const StoreContents& contents) {
  for (const unsigned int number : NamedBy(contents.written.state)) {
    const auto found = contents.documents.find(number);
    if (found == contents.documents.end()) {
      return Damaged(path + STATE_FILE,
                     "it names revision " + std::to_string(number) + ", which is not there");
    }
    std::string problem = LookForDocuments(path + "/" + std::to_string(number), found->second);
    if (!problem.empty()) {
      return problem;
    }
  }
  return {};
}

// The state is written after the folder of its revision, so one folder may be too many.
std::string DropUnknown(const std::string& path, unsigned int last, StoreListing& listing) {
  auto& numbers = listing.revisions;
  if (!numbers.empty() && numbers.back() == last + 1) {
    listing.leftOver.push_back(path + "/" + std::to_string(numbers.back()));
    numbers.pop_back();
  }
  return numbers.empty() || numbers.back() <= last
             ? std::string()
             : Damaged(path + STATE_FILE, "there is a revision " + std::to_string(numbers.back()) +
                                              ", expected none after " + std::to_string(last));
}

}  // namespace

std::string ListStore(const std::string& path, StoreListing& listing) {
  std::error_code problem;
  std::filesystem::directory_iterator entry(path, problem);
  while (!problem && entry != std::filesystem::directory_iterator()) {
    const std::string name = entry->path().filename();
    if (const auto number = NumberOf(name)) {
      listing.revisions.push_back(*number);
    } else if (IsUnfinished(name)) {
      listing.leftOver.push_back(path + "/" + name);
    }
    listing.hasState = listing.hasState || name == STATE_FILE + 1;
    entry.increment(problem);
  }
  std::sort(listing.revisions.begin(), listing.revisions.end());
  return problem ? path + ": cannot be listed: " + problem.message() : std::string();
}

std::string ReadStore(const std::string& path, StoreListing& listing, StoreContents& contents) {
  const std::string file = path + STATE_FILE;
  std::string text;
  std::string problem = ReadText(file, MAX_STATE_BYTES, text);
  if (!problem.empty()) {
    return problem;
  }
  problem = ReadState(text, contents.written);
  if (!problem.empty()) {
    return Damaged(file, problem);
  }
  problem = DropUnknown(path, contents.written.last, listing);
  const std::set<unsigned int> named = NamedBy(contents.written.state);
  for (std::size_t i = 0; problem.empty() && i < listing.revisions.size(); ++i) {
    const unsigned int number = listing.revisions[i];
    problem = ReadOne(path, number, contents);
    if (named.count(number) == 0) {
      problem.clear();  // one that nothing depends on is left out, and left alone
    }
  }
  return problem.empty() ? LookForNamed(path, contents) : problem;
}

}  // namespace revisions
