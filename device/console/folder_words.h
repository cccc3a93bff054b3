// The operator's words about the configuration folder and what has become of it.
#ifndef DEVICE_CONSOLE_FOLDER_WORDS_H
#define DEVICE_CONSOLE_FOLDER_WORDS_H

#include <functional>
#include <optional>
#include <vector>

#include "call.h"
#include "device/apply/asker.h"
#include "device/apply/reload_request.h"
#include "device/rows/verify.h"
#include "device/views/folder_json.h"

namespace console {

/// What the host does for these words. Each ends with the asker's `end`, and one that is refused
/// ends with `end(false)`. Of what changes the device (`reload`, `confirm`, `undo`) an operator who
/// sees the log reads there what has become of it: the asker has no `report` then. Neither has one
/// that wants JSON, which takes the outcome.
struct FolderCommands {
  std::function<void(apply::Asker asker, const apply::ReloadRequest& request)> reload;
  std::function<void(apply::Asker asker, bool isStrict)> check;
  /// Holds the device, or this part of it, against what is wanted. May be empty: `verify` is
  /// refused then.
  std::function<void(rows::Scope scope, std::size_t mostLines,
                     std::function<void(const std::vector<rows::Verdict>& verdicts)> done)>
      verify = {};
  // The following may be empty: their words are refused then.
  /// Tells the way from what is in force to the folder, or to a revision.
  std::function<void(apply::Asker asker, std::optional<unsigned int> revision)> diff = {};
  /// Confirms the reload that made the revision.
  std::function<void(apply::Asker asker, unsigned int revision)> confirm = {};
  /// Brings back the content of the revision that stands `back` before the one in force.
  std::function<void(apply::Asker asker, unsigned int back)> undo = {};
  /// Lists the revisions.
  std::function<void(apply::Asker asker)> history = {};
  /// Shows one revision.
  std::function<void(apply::Asker asker, unsigned int revision)> revision = {};
};

class FolderWords {
 public:
  explicit FolderWords(FolderCommands commands);

  /// Carries out a line that fits one of the dispatcher's forms for these words.
  void Execute(Call& call) const;

 private:
  struct Word;
  static const Word WORDS[];

  void Reload(Call& call) const;
  void Check(Call& call) const;
  void Verify(Call& call) const;
  void Diff(Call& call) const;
  void Confirm(Call& call) const;
  void Undo(Call& call) const;
  void History(Call& call) const;
  void Show(Call& call) const;

  const FolderCommands m_commands;
};

}  // namespace console

#endif
