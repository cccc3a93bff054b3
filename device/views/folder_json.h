// What has become of words about the configuration folder, in JSON.
#ifndef DEVICE_VIEWS_FOLDER_JSON_H
#define DEVICE_VIEWS_FOLDER_JSON_H

#include <optional>
#include <string>
#include <vector>

#include "device/apply/outcome.h"
#include "device/rows/comparer.h"
#include "effect.h"
#include "questions.h"

namespace views {

enum class FolderWord { CHECK, DIFF, RELOAD, UNDO, CONFIRM, HISTORY, REVISION };

/// One document about the outcome, written in pieces. `effect` is of a reload or an undo that has
/// been applied and waited for. Errors and warnings are listed as far as the findings keep them,
/// and counted.
AnyView ShowOutcome(FolderWord word, const apply::SharedOutcome& outcome,
                    const std::optional<Effect>& effect = {});

/// One document about a verification.
AnyView ShowVerdicts(const std::vector<rows::Verdict>& verdicts);

/// One document about a word that could not be carried out: `reason` is a line, with or without its
/// end.
AnyView ShowRefusal(const std::string& word, const std::string& reason);

}  // namespace views

#endif
