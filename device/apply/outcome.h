// What has come of something that the reloader was asked for, as data.
#ifndef DEVICE_APPLY_OUTCOME_H
#define DEVICE_APPLY_OUTCOME_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "checked_links.h"
#include "device/documents/findings.h"
#include "device/plan/plan.h"
#include "device/revisions/revision.h"
#include "guard.h"

namespace apply {

/// What an asker is told in lines, without the words. What does not belong to what was asked for is
/// empty.
struct Outcome {
  bool hasPassed = false;
  /// Why it was refused or could not be begun; empty if it was not.
  std::string refusal;
  /// Of the folder, or of the revision that was read; those of a start included.
  documents::Findings findings;

  /// Of a check of a folder that can be used: the VLANs of the machine's links. None are known unless what is
  /// in force takes some.
  std::vector<CheckedLink> links;

  /// Of a diff: the changes, at most MOST_DIFF_LINES lines of them.
  std::vector<plan::Change> changes;
  bool isCut = false;  // there are more
  /// Of a diff, and of what changes what is in force.
  plan::Totals totals;
  /// Of a diff: how long the requests take at the present pace, if that is known.
  std::optional<std::uint64_t> seconds;
  /// Of a diff, and of a reload that the guard has judged.
  Guard::Verdict verdict;
  /// Of a diff: old routes that are in force until others can take their place.
  std::size_t kept = 0;
  /// Of what changes what is in force: those of them that are kept no longer, with or without a
  /// successor.
  std::size_t released = 0;

  /// Of what changes what is in force: the revision that is in force now; its number is 0 if it is
  /// not kept. `isNew` says whether it was made for this.
  std::optional<revisions::Revision> revision;
  bool isNew = false;
  /// Why it could not be kept; empty if it is, or if no revisions are.
  std::string notKept;
  /// The folder says something else than what is in force.
  bool isFolderOther = false;
  /// The reload that waits for its confirmation: this one, or the one that `history` lists.
  std::optional<revisions::Unconfirmed> unconfirmed;

  /// Of `history` all revisions, of `revision` that one, with its folder.
  std::vector<revisions::Revision> revisions;
  unsigned int inForce = 0;  // the number of the one in force; 0 if it could not be kept
  std::string folder;
};

using SharedOutcome = std::shared_ptr<const Outcome>;

}  // namespace apply

#endif
