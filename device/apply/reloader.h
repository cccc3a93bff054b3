// Applies the configuration folder, at start-up and at each reload.
#ifndef DEVICE_APPLY_RELOADER_H
#define DEVICE_APPLY_RELOADER_H

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
#include "device/loop/settled_wait.h"
#include "device/loop/work.h"
#include "device/program/report.h"
#include "interfaces.h"

namespace apply {

/// What the host supplies to the reloader.
struct ReloadHooks {
  /// Takes each finding of a start and of a reload, without the line's end, for the log.
  program::Report log;
  /// Carries out `work`. Meanwhile the listeners get each line, with its end, that the host or the
  /// library logs without a level.
  std::function<void(const std::vector<program::Report>& listeners,
                     const std::function<void()>& work)>
      overheard;
  /// Carries out the library's own work on one document, which is told apart from the loop's turns.
  std::function<void(const std::function<void()>& work)> library;
  /// Called once for each reload, when it is over: after it has been applied or refused.
  std::function<void()> over;
};

/// Reads the folder, judges it and, if it passes, has it applied (Applier). A folder with an error
/// changes nothing, unless it is read partially: then the rest is applied. Reading, comparing and
/// freeing are done in the thread pool, and what the library is told is told in many turns of the
/// loop, so that no turn is long.
///
/// Start, reloads and checks are carried out one after the other, in the order in which they were
/// asked for. Reloads that are asked for while others wait, with no check between them, are one
/// reload. Whoever asked hears of the reload that begins after that.
class Reloader {
 public:
  /// What the folder is, and how it is read.
  struct Source {
    std::string directory;
    documents::ConfigFolder::Options options;
  };

  /// The loop, `interfaces` and `answers` are borrowed. Nothing else may use `answers`.
  Reloader(uv_loop_s* loop, const Source& source, Interfaces& interfaces,
           loop::SettledWait& answers, ReloadHooks hooks);
  /// A reading that is under way is forgotten (loop::Work); no asker is told.
  ~Reloader();

  /// Reads the folder for the first time and applies it. Call it once, before everything else. Calls
  /// `judged` after the findings have been logged, with whether the folder is taken. If it is, that
  /// call is the time to initialise the library, which needs GetIntent().GetDevice().defaultVlan;
  /// the folder is applied after it, and then `applied` is called. If not, nothing more happens.
  void Start(std::function<void(bool isTaken)> judged, std::function<void()> applied);

  /// Reads the folder again and applies the differences. `asker` passes if there is no error.
  void Reload(Asker asker = {});

  /// The first half of a reload: reads the folder, tells the asker the findings, and changes
  /// nothing; the log gets nothing. The asker passes if there is no error and, if the check is
  /// strict, no warning.
  void Check(Asker asker, bool isStrict);

  /// The stack has been restarted and knows nothing: sends it everything that is in force again (see
  /// Applier). A reload that is being applied is applied after that. May be called at any time after
  /// Start's `judged`.
  void BringBack() { m_applier.BringBack(); }

  /// Whether anything is under way or waits to begin.
  bool IsBusy() const { return m_job.has_value() || m_applier.IsBusy(); }

  /// What is in force or being applied; empty before the start.
  const intent::Intent& GetIntent() const { return *m_intent; }
  const Applier& GetApplier() const { return m_applier; }

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
  Applier m_applier;
};

}  // namespace apply

#endif
