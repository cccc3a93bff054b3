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
#include <vector>

#include "applier.h"
#include "asker.h"
#include "device/documents/config_folder.h"
#include "device/intent/intent.h"
#include "device/loop/disposal.h"
#include "device/loop/work.h"
#include "device/program/report.h"
#include "interfaces.h"
#include "knowledge.h"
#include "protocol_rows_port.h"
#include "stack_port.h"

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
};

/// How far the requests have come.
struct Progress {
  std::uint64_t done = 0;  // grows with each request and each answer; never goes back
  std::size_t open = 0;    // requests that are still to be made or without an answer
};

/// Reads the folder, judges it and, if it passes, has it applied (Applier). A folder with an error
/// changes nothing, unless it is read partially: then the rest is applied. Reading, comparing and
/// freeing are done in the thread pool, and what the library is told is told in many turns of the
/// loop, so that no turn is long.
///
/// Start, reloads and checks are carried out one after the other, in the order in which they were
/// asked for. Reloads that are asked for while others wait, with no check between them, are one
/// reload. Whoever asked hears of the reload that begins after that.
///
/// Each is over, and the next one begins, when everything has been asked for; whether the stack has
/// it, IsSettled and the differences of GetKnowledge tell. When the stack tells of a restart, at
/// any time, everything that is in force is sent again.
class Reloader : private StackListener {
 public:
  /// What the folder is, and how it is read.
  struct Source {
    std::string directory;
    documents::ConfigFolder::Options options;
  };

  /// The loop, `interfaces`, `stack` and `protocolRows` are borrowed. Nothing else may listen to
  /// the stack. Timers are started with this, so their loop has to be there; the library need not
  /// be.
  Reloader(uv_loop_s* loop, const Source& source, Interfaces& interfaces, StackPort& stack,
           ProtocolRowsPort& protocolRows, ReloadHooks hooks);
  /// A reading that is under way is forgotten (loop::Work); no asker is told.
  ~Reloader() override;

  /// Reads the folder for the first time and applies it. Call it once, before everything else.
  /// Calls `judged` after the findings have been logged, with whether the folder is taken. If it
  /// is, that call is the time to initialise the library, which needs
  /// GetIntent().GetDevice().defaultVlan; the folder is applied after it, and then `applied` is
  /// called. If not, nothing more happens.
  void Start(std::function<void(bool isTaken)> judged, std::function<void()> applied);

  /// Reads the folder again and applies the differences. `asker` passes if there is no error.
  void Reload(Asker asker = {});

  /// The first half of a reload: reads the folder, tells the asker the findings, and changes
  /// nothing; the log gets nothing. The asker passes if there is no error and, if the check is
  /// strict, no warning.
  void Check(Asker asker, bool isStrict);

  /// Whether anything is under way or waits to begin.
  bool IsBusy() const { return m_job.has_value() || m_applier.IsBusy(); }

  /// What is in force or being applied; empty before the start.
  const intent::Intent& GetIntent() const { return *m_intent; }

  /// Whether nothing is under way, every request has been answered and what has changed has been
  /// compared with the stack. A VLAN that waits for the answers to its removals unsettles. A known
  /// difference does not, although it is asked for again now and then.
  bool IsSettled() const;
  Progress GetProgress() const { return {m_knowledge.GetProgress(), m_knowledge.CountOpen()}; }
  const Knowledge& GetKnowledge() const { return m_knowledge; }
  /// Holds everything against the stack at once, mends nothing and waits for nothing (Comparer).
  void Verify(std::size_t mostLines, std::function<void(std::vector<Verdict>)> done) {
    m_knowledge.Verify(mostLines, std::move(done));
  }

 private:
  enum class Kind { START, RELOAD, CHECK, STRICT_CHECK };

  // What has been asked for.
  struct Job {
    Kind kind;
    Askers askers;
  };

  // What a reading came to.
  struct Result {
    documents::Reading reading;
    std::shared_ptr<const intent::Intent> intent;
  };

  void Ask(Kind kind, Asker asker);
  void BeginNext();
  void Judge(Result result);
  void EndJob(bool isTaken);
  void Answered(const Row& row, unsigned int status) override;
  void Restarted() override;
  void BringBack();

  // Shared with the pool.
  const std::shared_ptr<const documents::ConfigFolder> m_folder;
  const bool m_isPartial;
  const ReloadHooks m_hooks;
  std::shared_ptr<const intent::Intent> m_intent;
  std::optional<Job> m_job;  // under way
  std::deque<Job> m_waiting;
  std::vector<program::Report> m_listeners;  // while a reload is applied
  std::function<void(bool)> m_judged;        // of the start
  std::function<void()> m_applied;           // so too
  loop::Work m_reading;
  loop::Disposal m_disposal;
  StackPort& m_stack;
  Knowledge m_knowledge;
  Applier m_applier;
  bool m_isToBringBack = false;  // the stack has been restarted
  loop::Task m_bringBack;
};

}  // namespace apply

#endif
