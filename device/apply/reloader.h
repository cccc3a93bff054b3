// Applies the configuration folder, at start-up and at each reload.
#ifndef DEVICE_APPLY_RELOADER_H
#define DEVICE_APPLY_RELOADER_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "applier.h"
#include "asker.h"
#include "confirmation.h"
#include "device/documents/config_folder.h"
#include "device/intent/intent.h"
#include "device/keepers/interfaces.h"
#include "device/keepers/knowledge.h"
#include "device/loop/disposal.h"
#include "device/loop/loop_handles.h"
#include "device/loop/work.h"
#include "device/program/report.h"
#include "device/rows/protocol_rows_port.h"
#include "device/rows/stack_port.h"
#include "guard.h"
#include "history.h"
#include "job.h"
#include "reload_request.h"
#include "start.h"

namespace apply {

/// What the host supplies to the reloader. None of them may be empty. All are called from the loop.
struct ReloadHooks {
  /// Takes a line, without its end, for the log: each finding of a start and of a reload, and each
  /// difference when it begins and when it ends.
  program::Report log;
  /// Carries out `work`, inside this call. Meanwhile the listeners get each line, with its end,
  /// that the host or the library logs without a level. A host that does not catch its log just
  /// calls `work`.
  std::function<void(const std::vector<program::Report>& listeners,
                     const std::function<void()>& work)>
      overheard;
  /// Carries out the library's own work on one document, inside this call. It cannot be divided, so
  /// a host that measures the loop's turns tells it apart from them (loop::Loop::Apart). The others
  /// just call `work`.
  std::function<void(const std::function<void()>& work)> library;
  /// Called once for each reload, when it is over: after it has been applied or refused.
  std::function<void()> over;
  /// The stack has been restarted. Called before it is told everything again. The host forgets what
  /// was the old stack's, such as its descriptors.
  std::function<void()> restarted;
  /// How many requests a second the device makes at its present pace, for `diff`. May be empty.
  std::function<std::uint64_t()> requestsASecond = {};
  /// Takes, instead of `log`, those lines that somebody should look at: findings, refusals, rows
  /// that the stack does not have as wanted, and, as grave as that, that it has them again. May be
  /// empty: `log` takes them too.
  std::function<void(documents::Severity severity, const std::string& line)> complain = {};
  /// Called when something that may change what is in force begins, other than the start; `over`
  /// follows. May be empty.
  std::function<void()> begins = {};
};

struct ReloaderOptions {
  /// The guard's share, in percent.
  unsigned int guardPercent = 50;
  /// The start takes the folder, whatever revision was in force.
  bool isFresh = false;
  /// How long a route that is replaced stays at most until the new one can take its place, 0 to
  /// 86,400; 0 for not at all.
  unsigned int keepOldSeconds = 60;
};

/// How far the requests have come.
struct Progress {
  std::uint64_t done = 0;  // grows with each request and each answer; never goes back
  std::size_t open = 0;    // requests that are still to be made or without an answer
};

/// Reads the folder, judges it and, if it passes, has it applied (Applier). A folder with an error
/// changes nothing, unless it is read partially: then the rest is applied. Reading, comparing,
/// writing and freeing are done in the thread pool, and what the library is told is told in many
/// turns of the loop, so that no turn is long.
///
/// A change of what is in force is a transaction. It has a plan, which the guard judges, and it
/// becomes a revision (History) before anything of it is applied. So whatever ends the process
/// leaves the one configuration or the other. A revision can be undone, and a reload can wait for
/// its confirmation and go back by itself without it.
///
/// All that is asked for is carried out one after the other, in the order in which it was asked
/// for. Equal reloads that are asked for while others wait, with nothing between them, are one
/// reload. Whoever asked hears of the reload that begins after that.
///
/// Each is over, and the next one begins, when everything has been asked for; whether the stack has
/// it, IsSettled and the differences of GetKnowledge tell. When the stack tells of a restart, at
/// any time, everything that is in force is sent again.
class Reloader : private rows::StackListener {
 public:
  /// What the folder is, and how it is read.
  struct Source {
    std::string directory;
    documents::ConfigFolder::Options options;
  };

  /// The loop, `interfaces`, `stack` and `protocolRows` are borrowed. Nothing else may listen to
  /// the stack. Neither the library nor the timers' loop need be there yet.
  Reloader(uv_loop_s* loop, const Source& source, keepers::Interfaces& interfaces,
           rows::StackPort& stack, rows::ProtocolRowsPort& protocolRows, ReloadHooks hooks,
           History::Place history = {}, const ReloaderOptions& options = {});
  /// A reading that is under way is forgotten (loop::Work); no asker is told.
  ~Reloader() override;

  /// Chooses what is in force from now on, the folder or a revision (ReadForStart), and applies it.
  /// Call it once, before everything else. Timers are started with this, so their loop has to be
  /// current. Calls `judged` after the findings have been logged, with whether anything is taken.
  /// If so, that call is the time to initialise the library, which needs
  /// GetIntent().GetDevice().defaultVlan; it is applied after it, and then `applied` is called. If
  /// not, nothing more happens.
  void Start(std::function<void(bool isTaken)> judged, std::function<void()> applied);

  // Each of the following calls the asker's `end` once, with whether it was done.

  /// Reads the folder again and applies the differences.
  void Reload(Asker asker = {}, const ReloadRequest& request = {}) {
    Ask({Job::RELOAD, {}, request}, std::move(asker));
  }
  /// The first half of a reload: reads the folder, tells the asker the findings, and changes
  /// nothing; the log gets nothing. The asker passes if there is no error and, if the check is
  /// strict, no warning.
  void Check(Asker asker, bool isStrict) { Ask({Job::CHECK, {}, {}, isStrict}, std::move(asker)); }
  /// Tells the asker the way from what is in force to the folder, or to a revision, and what the
  /// guard says of it. Changes nothing. Findings that are errors take the place of the way.
  void Diff(Asker asker, std::optional<unsigned int> revision) {
    Ask({Job::DIFF, {}, {}, false, revision.value_or(0)}, std::move(asker));
  }
  /// Brings back the content of the revision that stands `back` before the one in force. While a
  /// reload waits for its confirmation, it goes back at once, whatever `back` is.
  void Undo(Asker asker, unsigned int back) {
    Ask({Job::UNDO, {}, {}, false, back, m_history->GetTrial()}, std::move(asker));
  }
  /// Confirms the reload that made the revision.
  void Confirm(Asker asker, unsigned int revision) {
    Ask({Job::CONFIRM, {}, {}, false, revision}, std::move(asker));
  }
  /// Tells the asker of the revisions, or of one.
  void ListRevisions(Asker asker) { Ask({Job::HISTORY, {}}, std::move(asker)); }
  void ShowRevision(Asker asker, unsigned int revision) {
    Ask({Job::REVISION, {}, {}, false, revision}, std::move(asker));
  }

  /// Interfaces have come or gone without a document (keepers::Interfaces::TakeLinks): routes that
  /// name them are looked at again.
  void InterfacesChanged();

  /// Whether anything is under way or waits to begin.
  bool IsBusy() const { return m_job.has_value() || m_applier.IsBusy(); }

  /// Whether a configuration is being applied. Cheap, and may be asked from inside the stack's run,
  /// as the next ones.
  bool IsApplying() const { return m_applier.IsApplying(); }
  /// Whether what is in force is about to be sent, or is being sent, to a stack that was restarted.
  bool IsBringingBack() const { return m_isToBringBack || m_applier.IsRestoring(); }
  /// Whether what has been asked for is under way.
  bool HasJob() const { return m_job.has_value(); }

  /// What is in force or being applied; empty before the start.
  const intent::Intent& GetIntent() const { return *m_intent; }

  /// Whether nothing is under way, every request has been answered and what has changed has been
  /// compared with the stack. A VLAN that waits for the answers to its removals unsettles. A known
  /// difference does not, although it is asked for again now and then.
  bool IsSettled() const;
  Progress GetProgress() const { return {m_knowledge.GetProgress(), m_knowledge.CountOpen()}; }
  const keepers::Knowledge& GetKnowledge() const { return m_knowledge; }
  /// While the reloader is busy, its revisions are the pool's and not to be looked at.
  const History& GetHistory() const { return *m_history; }

  // Questions about the device's state.

  /// What keeps it from being settled.
  struct Unsettled {
    bool isApplying = false;       // something that was asked for is under way
    bool isBringingBack = false;   // the stack has been restarted
    std::size_t leavingVlans = 0;  // that wait for the answers to their removals
    bool isHeld = false;           // the stack
    bool isStackReady = true;
    bool isAnswering = false;  // the stack has not finished some request
    std::size_t open = 0;      // Knowledge::CountOpenRoutesAndRules
    bool isComparing = false;  // what has changed, with what the stack has
    bool isRetrying = false;   // an operator's wish to ask again has not had all answers
  };
  Unsettled FindUnsettled() const;

  /// Tells, in any thread, whether the folder differs from what is in force now.
  std::function<bool()> MakeFolderCheck() const;
  /// Returns what holds the folder against what is in force, and what is in force against what the
  /// stack has been asked for, as they are now: two verdicts, in any thread (self_check.h).
  std::function<std::vector<rows::Verdict>()> MakeSelfCheck() const;
  /// The revision in force; nothing before the start, and if it is not kept.
  const std::optional<revisions::Revision>& GetInForce() const { return m_inForce; }
  /// Why no revisions are kept; empty if they are.
  const std::string& WhyNoRevisions() const { return m_history->GetReason(); }
  /// The reload that waits for its confirmation, and how many seconds are left.
  const std::optional<revisions::Unconfirmed>& GetTrial() const {
    return m_history->GetUnconfirmed();
  }
  std::uint64_t CountSecondsOfTrial() const { return m_confirmation.CountSecondsLeft(); }

  /// How many reloads, undos and ways back have been applied, and how many were refused.
  struct ReloadCounts {
    std::uint64_t applied = 0;
    std::uint64_t refused = 0;
  };
  const ReloadCounts& GetReloadCounts() const { return m_reloads; }

  /// See rows::Differences.
  rows::Differences::Retry RetryAll() { return m_knowledge.RetryAll(); }
  rows::Differences::Retry RetryRoutes(const documents::RouteTarget& prefix) {
    return m_knowledge.RetryRoutes(prefix);
  }

  /// How many restarts of the stack have found requests whose end could not be reported
  /// (StackPort::EndLostRequests). What waits in the library for such a request is lost memory.
  unsigned int CountLosses() const { return m_losses; }
  /// Holds everything against the stack at once, mends nothing and waits for nothing (Comparer).
  void Verify(std::size_t mostLines, std::function<void(std::vector<rows::Verdict>)> done) {
    m_knowledge.Verify(mostLines, std::move(done));
  }

 private:
  // What a reading came to.
  struct Result {
    documents::Reading reading;
    std::shared_ptr<const intent::Intent> intent;
    plan::Plan plan;                    // from what is present
    bool changesWhatIsInForce = false;  // or else only what has happened since
    std::vector<std::string> lines;     // of a diff
    Choice choice;                      // of a start
  };
  using SharedResult = std::shared_ptr<Result>;

  void Ask(Job job, Asker asker);
  void BeginNext();
  void Begin();
  void Refuse(const std::string& reason, const SharedResult& result = nullptr);
  void TellRefusal(const std::string& reason);
  void TellErrors(const documents::Findings& findings);
  void Tell(const std::string& line);
  void Announce(const std::string& line);
  void Complain(documents::Severity severity, const std::string& line) const;

  void Read(std::function<void(Result& result)> read);
  std::shared_ptr<const intent::Intent> FindPresent() const;
  void ReadFolder();
  void ReadRevision(const revisions::Revision* revision);
  void Judge(const SharedResult& result);
  void TellFindings(const documents::Findings& findings);
  void Guarded(const SharedResult& result, const Guard::Verdict& verdict);
  void RefuseByGuard(const SharedResult& result, const std::vector<std::string>& reasons);
  void TellDiff(const SharedResult& result);
  void TellLines(const SharedResult& result, std::size_t first);
  void TellRevision(const History::Next& next, bool isKept, const std::string& problem);
  void TellWhatIsNoMore(bool isOpen);
  void LookAtFolder();
  void TellRevisions();
  void EndAskers(bool hasPassed);

  History::Next Prepare(const Result& result) const;
  void Keep(const SharedResult& result);
  void Kept(const SharedResult& result, const History::Next& next, const std::string& problem);
  void Take(const SharedResult& result);
  void Forgo(const SharedResult& result);
  void EndJob(bool isTaken);

  void ConfirmInPool();
  void Confirmed(const revisions::State& state, const std::string& problem);
  void Arm();
  void TryAgain();
  bool KnowsWhatIsInstalled(unsigned short vlan) const;

  void Answered(const rows::Row& row, unsigned int status) override;
  void Restarted() override;
  void BringBack();

  // Shared with the pool.
  const std::shared_ptr<History> m_history;
  const std::shared_ptr<const documents::ConfigFolder> m_folder;
  const std::string m_directory;
  const documents::ConfigFolder::Options m_howToRead;
  const ReloaderOptions m_options;
  const ReloadHooks m_hooks;
  const keepers::Interfaces& m_interfaces;
  std::shared_ptr<const intent::Intent> m_intent;
  std::optional<revisions::Revision> m_inForce;
  ReloadCounts m_reloads;
  std::optional<Job> m_job;  // under way
  std::deque<Job> m_waiting;
  std::vector<program::Report> m_listeners;  // while a reload is applied
  std::function<void(bool)> m_judged;        // of the start
  std::function<void()> m_applied;           // so too
  loop::Work m_reading;
  loop::Disposal m_disposal;
  rows::StackPort& m_stack;
  keepers::Knowledge m_knowledge;
  Applier m_applier;
  Guard m_guard;
  loop::Task m_telling;
  Confirmation m_confirmation;
  bool m_isToBringBack = false;  // the stack has been restarted
  unsigned int m_losses = 0;
  loop::Task m_bringBack;
};

}  // namespace apply

#endif
