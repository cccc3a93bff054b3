// The revisions of this device: which one is in force, and what comes of the next one.
#ifndef DEVICE_APPLY_HISTORY_H
#define DEVICE_APPLY_HISTORY_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "device/documents/config_folder.h"
#include "device/revisions/revision_store.h"

namespace apply {

/// Knows the revisions, and makes new ones in two steps: Prepare in the loop, Keep in the thread
/// pool, because that writes and waits for the disk, and then Take in the loop again. Only one is
/// made at a time, and nothing else is called between Prepare and Take, except for the functions
/// that tell of an open reload.
///
/// Without a store there are no revisions: nothing is kept, and nothing can be undone.
class History {
 public:
  /// What the device has for its revisions. `store` is null if it has none; `reason` says why then,
  /// for an operator.
  struct Place {
    std::unique_ptr<revisions::RevisionStore> store;
    std::string reason;
    /// Whether the operator expects to have revisions, so that a start has to say if there are
    /// none.
    bool isExpected = false;
    /// Seconds since the epoch. May be empty: then all times are 0.
    std::function<std::int64_t()> clock;
  };

  explicit History(Place&& place);

  bool IsKept() const { return m_store != nullptr; }
  /// Why no revisions are kept; empty if they are.
  const std::string& GetReason() const { return m_reason; }
  /// Whether none are kept though an operator expects it.
  bool IsMissed() const { return m_isExpected && !IsKept(); }

  /// The revision in force; 0 if that is none: before the start, or if it could not be kept.
  unsigned int GetInForce() const { return m_inForce; }
  /// The same, but before the start the one that was in force when the last daemon ended.
  unsigned int GetLastInForce() const { return m_inForce != 0 ? m_inForce : m_state.inForce; }
  /// The reload that waits for its confirmation.
  const std::optional<revisions::Unconfirmed>& GetUnconfirmed() const {
    return m_state.unconfirmed;
  }
  /// Its revision; 0 if there is none.
  unsigned int GetTrial() const { return m_state.unconfirmed ? m_state.unconfirmed->revision : 0; }
  /// The digest of the folder as it was when what it says was undone.
  const std::optional<documents::Digest>& GetUndone() const { return m_state.undone; }
  /// The digest of the folder as it was applied last; nothing before that.
  const std::optional<documents::Digest>& GetApplied() const { return m_applied; }

  /// All of them, the oldest first. Not without a store.
  const std::vector<revisions::Revision>& GetAll() const { return m_store->GetRevisions(); }
  const revisions::Revision* Find(unsigned int number) const;
  /// The revision that stands `back` before the one in force; null if there is none.
  const revisions::Revision* FindBefore(unsigned int back) const;
  std::string PathOf(unsigned int number) const { return m_store->PathOf(number); }
  /// The names of the revision's documents outside remote/ that a start expects in the folder.
  std::set<std::string> FindExpected(unsigned int number) const;

  /// What is to be in force, and what has to be written for it.
  struct Next {
    bool isNew = true;             // a revision; otherwise that of before goes on
    revisions::Revision revision;  // that is to be
    revisions::Documents documents;
    revisions::State state;                   // with it
    std::optional<documents::Digest> folder;  // what the folder says, if that is in force then
  };
  /// How it comes about.
  struct Cause {
    revisions::Cause cause = revisions::Cause::START;
    unsigned int of = 0;  // the revision whose content it has; 0 for the folder's
    std::string asker;
    std::string change;               // plan::DescribeTotals
    unsigned int confirmSeconds = 0;  // 0: it needs no confirmation
  };
  /// A new revision.
  Next Prepare(const Cause& cause, const documents::Reading& reading) const;
  /// None, because nothing changes: only what is known of the folder does.
  Next PrepareNone(const Cause& cause, const documents::Reading& reading) const;
  /// A start goes on with the revision that was in force. `isFolder` says whether the folder says
  /// the same.
  Next PrepareToGoOn(const documents::Reading& reading, bool isFolder) const;
  /// Whether there is anything to write.
  bool IsToBeKept(const Next& next) const;
  /// Writes it. Returns what went wrong, or nothing. For the pool.
  std::string Keep(const Next& next);
  /// It is in force from now on; `isKept` says whether what had to be written has been.
  void Take(const Next& next, bool isKept);

  /// The state after the open reload has been confirmed. Set writes it, in the pool; TakeState
  /// makes it the state, if that has been done.
  revisions::State Confirmed() const;
  std::string Set(const revisions::State& state) { return m_store->Set(state); }
  void TakeState(const revisions::State& state) { m_state = state; }

  /// Lines for an operator, without their ends: all revisions, one revision, and what comes into
  /// force, with its revision if that is kept. `isFolderOther` says whether the folder differs from
  /// what is in force now, which it may not do any more after an undo.
  std::vector<std::string> List(bool isFolderOther = true) const;
  std::vector<std::string> Show(const revisions::Revision& revision) const;
  static std::string Describe(const Next& next, bool isKept);

 private:
  std::optional<documents::Digest> UndoneWith(const Cause& cause,
                                              const documents::Digest& digest) const;

  const std::unique_ptr<revisions::RevisionStore> m_store;
  const std::string m_reason;
  const bool m_isExpected;
  const std::function<std::int64_t()> m_clock;
  revisions::State m_state;
  unsigned int m_inForce = 0;
  std::optional<documents::Digest> m_applied;
};

/// For an operator, after an undo or a way back.
extern const char* const FOLDER_DIFFERS;

/// "2026-11-22 13:05:12Z": in UTC.
std::string DescribeTime(std::int64_t seconds);

}  // namespace apply

#endif
