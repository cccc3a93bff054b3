// A change of the configuration folder is applied without being asked for.
#ifndef DEVICE_DAEMON_FOLDER_WATCH_H
#define DEVICE_DAEMON_FOLDER_WATCH_H

#include <functional>
#include <optional>
#include <string>

#include "device/documents/folder_content.h"
#include "device/loop/path_watch.h"
#include "device/loop/work.h"
#include "tarsel/timer.h"

namespace vantacored {

/// Asks for a reload when the folder's content has changed and nothing of it has changed for two
/// seconds more. Content that has been judged once, applied or refused, is not judged again before
/// it changes or another one has been applied; what is in force already, and what was undone, is no
/// change. While a reload waits
/// for its confirmation nothing is asked for: it is looked at the folder when that has ended.
///
/// The system tells of changes of the folder, of remote/ in it, and of the folder's own place. What
/// it does not tell, such as changes behind links, is found by looking, every thirty seconds.
/// Belongs to the loop's thread.
class FolderWatch {
 public:
  static constexpr unsigned int QUIET_MILLISECONDS = 2000;
  static constexpr unsigned int LOOK_MILLISECONDS = 30000;

  struct Hooks {
    /// Asks for a reload; `end` is called once with whether the folder has passed.
    std::function<void(std::function<void(bool hasPassed)> end)> reload;
    /// Whether a reload waits for its confirmation.
    std::function<bool()> isOnTrial;
    /// Returns what tells, in any thread, whether the folder differs from what is in force now.
    std::function<std::function<bool()>()> makeFolderCheck;
    /// The digest of a folder that was undone.
    std::function<std::optional<documents::Digest>()> undone;
    /// The digest of the folder as it was applied last, by whomever.
    std::function<std::optional<documents::Digest>()> applied;
    /// Takes a line that somebody should look at.
    std::function<void(const std::string& line)> complain;
  };

  /// The loop is borrowed.
  FolderWatch(uv_loop_s* loop, const std::string& directory, Hooks hooks);
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;

  /// From now on changes are noted; call it before the folder is read by the start. Reads the folder
  /// inside this call. Timers are started with this, so their loop has to be current. A watch that
  /// has not been started does nothing.
  void Start();
  /// The start is over: changes that have been noted, and later ones, are applied.
  void Begin();
  /// At the end of each turn of the loop.
  void Look() {
    if (m_isDue && m_hasBegun && !m_hooks.isOnTrial()) {
      LookAtFolder(true);
    }
  }

 private:
  void WatchPlace();
  void WatchFolder();
  void WatchRemotes();
  void TellProblem(const std::string& problem);
  void Changed(bool isOfADocument);
  void WhenQuiet(unsigned int, void*);
  void WhenToLook(unsigned int, void*);
  void LookAtFolder(bool isQuiet);
  void Seen(const documents::FolderContent& content, bool differs, bool isQuiet);
  void LookAfterRefusal();
  void Judge(bool differs);

  const std::string m_directory;  // ends with a slash
  const std::string m_place;      // the folder that it is in
  const std::string m_name;       // its name there
  const Hooks m_hooks;
  loop::PathWatch m_placeWatch;
  loop::PathWatch m_folderWatch;
  loop::PathWatch m_remoteWatch;
  loop::Work m_looking;
  Tarsel::OneShotTimer m_quiet;
  Tarsel::OneShotTimer m_next;  // look, whatever the system has told
  bool m_isQuietAwaited = false;
  bool m_isBeingWritten = false;  // a document has changed since the last look was begun
  bool m_hasStarted = false;
  bool m_hasBegun = false;
  bool m_isDue = false;             // a look, when the start or a trial is over
  documents::FolderContent m_seen;  // at the last look
  documents::Digest m_judged{};     // the content that was
  // A reload may find another content than the look that led to it. What had been applied by then, and
  // what that look had met, if the reload was refused.
  std::optional<documents::Digest> m_appliedThen;
  std::optional<documents::FolderContent> m_refused;
  std::string m_problem;  // that was told last
};

}  // namespace vantacored

#endif
