#include "start.h"

#include <set>
#include <string>
#include <utility>

#include "device/documents/digest.h"

namespace apply {

using documents::ConfigFolder;
using documents::Folder;
using documents::Reading;
using documents::Severity;
using revisions::Revision;

namespace {

bool IsEmpty(const Folder& folder) { return !folder.deviceFile && folder.files.empty(); }

// Whether the revision is taken; if not, what is wrong with it is among the findings.
bool TakeRevision(const History& history, const Revision& revision,
                  const ConfigFolder::Options& howToRead, Choice& choice, Reading& reading) {
  Reading old = ReadRevision(history, revision, howToRead, Folder());
  if (old.findings.HasErrors()) {
    choice.findings.Add(old.findings);
    return false;
  }
  reading = std::move(old);
  choice.revision = revision.number;
  return true;
}

}  // namespace

Reading ReadRevision(const History& history, const Revision& revision,
                     const ConfigFolder::Options& howToRead, const Folder& inForce) {
  const ConfigFolder folder(history.PathOf(revision.number), howToRead);
  Reading reading = folder.ReadInstead(inForce);
  if (!reading.findings.HasErrors() && documents::DigestOf(reading.folder) != revision.digest) {
    reading.findings.Add({Severity::ERROR,
                          {".", {}, {}},
                          "not what was kept, expected the documents of revision " +
                              std::to_string(revision.number) + ", found others"});
  }
  return reading;
}

Choice ReadForStart(const ConfigFolder& folder, const ConfigFolder::Options& howToRead,
                    const History& history, bool isFresh, Reading& reading) {
  Choice choice;
  const auto& unconfirmed = history.GetUnconfirmed();
  if (unconfirmed && !isFresh) {
    const Revision* const back = history.Find(unconfirmed->back);
    if (back != nullptr && TakeRevision(history, *back, howToRead, choice, reading)) {
      choice.why = Choice::Why::UNCONFIRMED;
      return choice;
    }
  }
  const Revision* const inForce = history.Find(history.GetLastInForce());
  const bool isGuarded = inForce != nullptr && !isFresh;
  reading =
      folder.ReadFirst(isGuarded ? history.FindExpected(inForce->number) : std::set<std::string>());
  if (isGuarded && IsEmpty(reading.folder) && !reading.findings.HasErrors() &&
      inForce->digest != documents::DigestOf(reading.folder)) {
    reading.findings.Add({Severity::ERROR,
                          {".", {}, {}},
                          "no document, expected those that are in force, found nothing"});
  }
  const bool hasErrors = reading.findings.HasErrors();
  if (inForce == nullptr || (hasErrors && isFresh)) {
    choice.why = hasErrors && !howToRead.isPartial ? Choice::Why::NOTHING : Choice::Why::FOLDER;
    return choice;
  }
  const documents::Digest digest = documents::DigestOf(reading.folder);
  const bool isUndone = !hasErrors && !isFresh && history.GetUndone() == digest;
  if (hasErrors || isUndone) {
    const documents::Findings findings = reading.findings;
    if (TakeRevision(history, *inForce, howToRead, choice, reading)) {
      choice.findings.Add(findings);
      choice.why = hasErrors ? Choice::Why::ERRORS : Choice::Why::UNDONE;
    } else {
      choice.why = hasErrors ? Choice::Why::NOTHING : Choice::Why::FOLDER;
    }
    return choice;
  }
  const bool isSame = digest == inForce->digest && !unconfirmed;
  choice.why = isSame ? Choice::Why::SAME : Choice::Why::FOLDER;
  return choice;
}

std::string DescribeChoice(const Choice& choice) {
  const std::string revision = "Revision " + std::to_string(choice.revision);
  switch (choice.why) {
    case Choice::Why::ERRORS:
      return revision + " is in force, not the folder, which has errors: correct it and `reload`";
    case Choice::Why::UNDONE:
      return revision + " is in force, not the folder: what it says was undone";
    case Choice::Why::UNCONFIRMED:
      return revision + " comes back: the reload after it was not confirmed";
    default:
      return {};
  }
}

}  // namespace apply
