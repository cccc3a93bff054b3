// A line that is being carried out.
#ifndef DEVICE_CONSOLE_CALL_H
#define DEVICE_CONSOLE_CALL_H

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "device/views/effect.h"
#include "device/views/questions.h"
#include "grammar.h"
#include "running_command.h"

namespace console {

/// The immediate result of a line; its output may still be coming (RunningCommand::IsOver).
struct Reply {
  unsigned short vlan = 0;  // the session's from now on
  bool hasChanged = false;  // it may take a while until the effect is there
  bool isReload = false;    // the session tells what the stack does not have of it
  bool isQuit = false;
  unsigned int hold = 0;  // as LabReply's: to be given back with Dispatcher::EndHold
  bool isHeldUp = false;  // the command goes on when the stack does, which somebody holds
  views::AnyView view;    // for the session to write, which ends the command; null for none
  bool isLive = false;    // the view's output comes as things happen
  /// What is shown instead of the effect's lines when things have settled, or will not; may be empty.
  std::function<views::AnyView(const views::Effect& effect)> document = {};
};

/// What the words of one kind know of a line, and what they say to it.
struct Call {
  const Parse& parse;  // a whole command, without `show`
  const std::shared_ptr<RunningCommand>& command;
  Reply reply = {};
  bool goesOn = false;  // something else will end the command: a console, an asker or a view
  /// A word that fits its place in general and not here, and what is expected instead; without
  /// that, the words that may stand there are told.
  std::size_t misfit = Parse::NONE;
  std::string expected = {};
  Words possible = {};

  const Words& GetWords() const { return parse.words; }
  views::Format GetFormat() const {
    return parse.Has("json") ? views::Format::JSON : views::Format::TEXT;
  }
  void Write(const std::string& text) const { command->Write(text); }
  /// In the format that was asked for. `why` is a line without its end.
  void Refuse(const std::string& why);
  /// Of a word that has changed something and does not log by itself what has become of it.
  void LogIt() const;
  void Misfit(std::size_t at, std::string what) {
    misfit = at;
    expected = std::move(what);
  }
};

}  // namespace console

#endif
