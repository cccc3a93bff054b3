#include "folder_words.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>

#include "device/program/decimal.h"

namespace console {

/// A line that is being carried out.
struct FolderWords::Call {
  const Words& words;
  const std::shared_ptr<RunningCommand>& command;
  FolderReply reply = {};

  bool Has(const char* word) const {
    return std::find(words.begin(), words.end(), word) != words.end();
  }
};

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
    "This device cannot compare what is wanted with what its stack has\n";
constexpr const char* NO_DIFF = "This device cannot tell what a reload would change\n";
constexpr const char* NO_REVISIONS = "This device keeps no revisions\n";

constexpr const char* A_REVISION = "the number of a revision, from 1 on";
constexpr const char* REVISIONS_BACK = "how many revisions to go back, from 1 on";

// For a command that ends when what was asked for has been judged. `praise` is printed if it has
// passed.
apply::Asker AskerOf(const std::shared_ptr<RunningCommand>& command,
                     const std::string& praise = {}) {
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

// For one that changes the device, about which the log says the same.
apply::Asker ChangerOf(const std::shared_ptr<RunningCommand>& command) {
  apply::Asker asker = AskerOf(command);
  if (command->GetOperator().seesLog) {
    asker.report = nullptr;
  }
  return asker;
}

// Whether the host has the command. It is refused otherwise, for the reason that `without` tells.
template <class Function>
bool CanDo(const Function& function, const std::shared_ptr<RunningCommand>& command,
           const char* without) {
  if (!function) {
    command->Write(without);
    command->Refuse();
  }
  return static_cast<bool>(function);
}

// The word at `at`, which is there, as a number; else it is what is not understood.
std::optional<unsigned int> TakeNumber(const Words& words, std::size_t at, std::uint32_t most,
                                       const std::string& expected, FolderReply& reply) {
  const auto number = program::ReadDecimal(words[at], 1, most);
  if (!number) {
    reply.misfit = at;
    reply.expected = expected;
  }
  return number;
}

}  // namespace

FolderWords::FolderWords(FolderCommands commands) : m_commands(std::move(commands)) {}

FolderReply FolderWords::Execute(const Words& words,
                                 const std::shared_ptr<RunningCommand>& command) const {
  Call call{words, command};
  const Word* found = std::find_if(std::begin(WORDS), std::end(WORDS),
                                   [&](const Word& word) { return word.word == words[0]; });
  if (found != std::end(WORDS)) {
    (this->*found->handler)(call);
  }
  return call.reply;
}

void FolderWords::Reload(Call& call) const {
  apply::ReloadRequest request;
  request.isForced = call.Has("force");
  if (call.Has("confirm")) {
    const auto seconds =
        TakeNumber(call.words, call.words.size() - 1, apply::MAX_CONFIRM_SECONDS,
                   "seconds, from 1 to " + std::to_string(apply::MAX_CONFIRM_SECONDS), call.reply);
    if (!seconds) {
      return;
    }
    request.confirmSeconds = *seconds;
  }
  call.reply.goesOn = true;
  call.reply.hasChanged = true;
  call.reply.isReload = true;
  m_commands.reload(ChangerOf(call.command), request);
}

void FolderWords::Check(Call& call) const {
  const bool isStrict = call.words.size() > 1;
  call.reply.goesOn = true;
  m_commands.check(AskerOf(call.command, isStrict ? "The folder has no errors and no warnings\n"
                                                  : "The folder has no errors\n"),
                   isStrict);
}

void FolderWords::Verify(Call& call) const {
  if (CanDo(m_commands.verify, call.command, NO_VERIFY)) {
    call.reply.goesOn = true;
    m_commands.verify(AskerOf(call.command));
  }
}

void FolderWords::Diff(Call& call) const {
  std::optional<unsigned int> revision;
  if (call.words.size() > 1) {
    revision = TakeNumber(call.words, 1, UINT32_MAX, A_REVISION, call.reply);
    if (!revision) {
      return;
    }
  }
  if (CanDo(m_commands.diff, call.command, NO_DIFF)) {
    call.reply.goesOn = true;
    m_commands.diff(AskerOf(call.command), revision);
  }
}

void FolderWords::Confirm(Call& call) const {
  const auto revision = TakeNumber(call.words, 1, UINT32_MAX, A_REVISION, call.reply);
  if (revision && CanDo(m_commands.confirm, call.command, NO_REVISIONS)) {
    call.reply.goesOn = true;
    m_commands.confirm(ChangerOf(call.command), *revision);
  }
}

void FolderWords::Undo(Call& call) const {
  std::optional<unsigned int> back = 1;
  if (call.words.size() > 1) {
    back = TakeNumber(call.words, 1, UINT32_MAX, REVISIONS_BACK, call.reply);
  }
  if (back && CanDo(m_commands.undo, call.command, NO_REVISIONS)) {
    call.reply.goesOn = true;
    call.reply.hasChanged = true;
    call.reply.isReload = true;
    m_commands.undo(ChangerOf(call.command), *back);
  }
}

void FolderWords::History(Call& call) const {
  if (CanDo(m_commands.history, call.command, NO_REVISIONS)) {
    call.reply.goesOn = true;
    m_commands.history(AskerOf(call.command));
  }
}

void FolderWords::Show(Call& call) const {
  const auto revision = TakeNumber(call.words, 1, UINT32_MAX, A_REVISION, call.reply);
  if (revision && CanDo(m_commands.revision, call.command, NO_REVISIONS)) {
    call.reply.goesOn = true;
    m_commands.revision(AskerOf(call.command), *revision);
  }
}

}  // namespace console
