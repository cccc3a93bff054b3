#include "folder_words.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>

#include "coming_view.h"
#include "device/program/decimal.h"
#include "device/rows/verify.h"

namespace console {

struct FolderWords::Word {
  const char* word;  // with which the line begins
  void (FolderWords::*handler)(Call& call) const;
};

const FolderWords::Word FolderWords::WORDS[] = {
    {"reload", &FolderWords::Reload},   {"check", &FolderWords::Check},
    {"verify", &FolderWords::Verify},   {"diff", &FolderWords::Diff},
    {"confirm", &FolderWords::Confirm}, {"undo", &FolderWords::Undo},
    {"history", &FolderWords::History}, {"revision", &FolderWords::Show},
};

namespace {

constexpr const char* NO_VERIFY =
    "This device cannot compare what is wanted with what its stack has";
constexpr const char* NO_DIFF = "This device cannot tell what a reload would change";
constexpr const char* NO_REVISIONS = "This device keeps no revisions";

// Lines about what is not as wanted; the others are counted.
constexpr std::size_t MOST_FAILS = 1000;

bool IsJson(const Call& call) { return call.GetFormat() == views::Format::JSON; }

// For a command that ends when what was asked for has been judged. `praise` is printed if it has
// passed.
apply::Asker TextAsker(const std::shared_ptr<RunningCommand>& command, const std::string& praise) {
  return {[command](const std::string& line) { command->Tell(line); },
          [command, praise](bool hasPassed) {
            if (!hasPassed) {
              command->Fail();
            } else if (!praise.empty()) {
              command->Tell(praise);
            }
            command->End();
          },
          command->GetOperator().name};
}

// For one whose outcome is a document, at the end of which the command ends.
apply::Asker JsonAsker(Call& call, views::FolderWord word) {
  const auto arrival = std::make_shared<ComingView::Arrival>();
  call.reply.view = std::make_unique<ComingView>(arrival);
  return {nullptr,
          [command = call.command](bool hasPassed) {
            if (!hasPassed) {
              command->Fail();
            }
          },
          call.command->GetOperator().name,
          [arrival, word](const apply::SharedOutcome& outcome) {
            arrival->Come(views::ShowOutcome(word, outcome));
          }};
}

apply::Asker AskerOf(Call& call, views::FolderWord word, const std::string& praise = {}) {
  return IsJson(call) ? JsonAsker(call, word) : TextAsker(call.command, praise);
}

// For one that changes the device, about which the log says the same.
apply::Asker TextChanger(const Call& call) {
  apply::Asker asker = TextAsker(call.command, {});
  if (call.command->GetOperator().seesLog) {
    asker.report = nullptr;
  }
  return asker;
}

// The document tells the effect, too, so it is made when that is there.
apply::Asker JsonChanger(Call& call, views::FolderWord word) {
  const auto taken = std::make_shared<apply::SharedOutcome>();
  call.reply.document = [taken, word, name = call.GetWords()[0]](const views::Effect& effect) {
    if (!*taken) {
      return views::ShowRefusal(name, "It has not been judged");
    }
    const bool isApplied = (*taken)->hasPassed;
    return views::ShowOutcome(word, *taken, isApplied ? std::optional(effect) : std::nullopt);
  };
  apply::Asker asker = TextAsker(call.command, {});
  asker.report = nullptr;
  asker.take = [taken](const apply::SharedOutcome& outcome) { *taken = outcome; };
  return asker;
}

apply::Asker ChangerOf(Call& call, views::FolderWord word) {
  return IsJson(call) ? JsonChanger(call, word) : TextChanger(call);
}

// Whether the host has the command. It is refused otherwise, for the reason that `without` tells.
template <class Function>
bool CanDo(const Function& function, Call& call, const char* without) {
  if (!function) {
    call.Refuse(without);
    return false;
  }
  call.goesOn = true;
  return true;
}

// The value in a place, which has been judged; nothing if it is left out.
std::optional<unsigned int> NumberOf(const Call& call, const char* place) {
  const std::string* word = call.parse.Find(place);
  return word ? program::ReadDecimal(*word, 1, UINT32_MAX) : std::nullopt;
}

}  // namespace

FolderWords::FolderWords(FolderCommands commands) : m_commands(std::move(commands)) {}

void FolderWords::Execute(Call& call) const {
  const Word* found = std::find_if(std::begin(WORDS), std::end(WORDS), [&](const Word& word) {
    return word.word == call.GetWords()[0];
  });
  if (found != std::end(WORDS)) {
    (this->*found->handler)(call);
  }
}

void FolderWords::Reload(Call& call) const {
  apply::ReloadRequest request;
  request.isForced = call.parse.Has("force");
  request.confirmSeconds = NumberOf(call, "seconds").value_or(0);
  call.goesOn = true;
  call.reply.hasChanged = true;
  call.reply.isReload = true;
  m_commands.reload(ChangerOf(call, views::FolderWord::RELOAD), request);
}

void FolderWords::Check(Call& call) const {
  const bool isStrict = call.parse.Has("strict");
  const char* praise =
      isStrict ? "The folder has no errors and no warnings\n" : "The folder has no errors\n";
  call.goesOn = true;
  m_commands.check(AskerOf(call, views::FolderWord::CHECK, praise), isStrict);
}

void FolderWords::Verify(Call& call) const {
  if (!CanDo(m_commands.verify, call, NO_VERIFY)) {
    return;
  }
  const auto arrival = std::make_shared<ComingView::Arrival>();
  if (IsJson(call)) {
    call.reply.view = std::make_unique<ComingView>(arrival);
  }
  const rows::Scope scope = call.parse.Has("stack")    ? rows::Scope::STACK
                            : call.parse.Has("kernel") ? rows::Scope::KERNEL
                                                       : rows::Scope::ALL;
  m_commands.verify(scope, MOST_FAILS,
                    [command = call.command, arrival,
                     isJson = IsJson(call)](const std::vector<rows::Verdict>& verdicts) {
                      if (!rows::HavePassed(verdicts)) {
                        command->Fail();
                      }
                      if (isJson) {
                        arrival->Come(views::ShowVerdicts(verdicts));
                        return;
                      }
                      for (const std::string& line : rows::DescribeVerdicts(verdicts, MOST_FAILS)) {
                        command->Tell(line + "\n");
                      }
                      command->End();
                    });
}

void FolderWords::Diff(Call& call) const {
  if (CanDo(m_commands.diff, call, NO_DIFF)) {
    m_commands.diff(AskerOf(call, views::FolderWord::DIFF), NumberOf(call, "revision"));
  }
}

void FolderWords::Confirm(Call& call) const {
  if (CanDo(m_commands.confirm, call, NO_REVISIONS)) {
    m_commands.confirm(
        IsJson(call) ? JsonAsker(call, views::FolderWord::CONFIRM) : TextChanger(call),
        *NumberOf(call, "revision"));
  }
}

void FolderWords::Undo(Call& call) const {
  if (CanDo(m_commands.undo, call, NO_REVISIONS)) {
    call.reply.hasChanged = true;
    call.reply.isReload = true;
    m_commands.undo(ChangerOf(call, views::FolderWord::UNDO),
                    NumberOf(call, "changes-back").value_or(1));
  }
}

void FolderWords::History(Call& call) const {
  if (CanDo(m_commands.history, call, NO_REVISIONS)) {
    m_commands.history(AskerOf(call, views::FolderWord::HISTORY));
  }
}

void FolderWords::Show(Call& call) const {
  if (CanDo(m_commands.revision, call, NO_REVISIONS)) {
    m_commands.revision(AskerOf(call, views::FolderWord::REVISION), *NumberOf(call, "revision"));
  }
}

}  // namespace console
