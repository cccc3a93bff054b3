// The operator's questions, and the words that act on what a question shows.
#ifndef DEVICE_CONSOLE_VIEW_WORDS_H
#define DEVICE_CONSOLE_VIEW_WORDS_H

#include <functional>
#include <string>
#include <utility>

#include "call.h"
#include "device/views/questions.h"

namespace console {

/// What the host answers questions with. What is missing is refused.
struct Answers {
  /// Borrowed; may be null.
  views::Questions* questions = nullptr;
  /// Sets how much is logged, of one component or, with an empty one, of all. Returns false if the
  /// host has no such component or level.
  std::function<bool(unsigned int level, const std::string& component)> setLogLevel = {};
};

class ViewWords {
 public:
  explicit ViewWords(Answers answers) : m_answers(std::move(answers)) {}

  /// Carries out a line that fits one of the dispatcher's forms for these words.
  void Execute(Call& call) const;
  /// Values for a place that begin with `begun`, for a session or a line about `vlan`. `word` is
  /// the line's first one.
  Words Complete(const std::string& place, const std::string& begun, unsigned short vlan,
                 const std::string& word) const;

 private:
  struct Word;
  static const Word WORDS[];

  void Route(Call& call) const;
  void Explain(Call& call) const;
  void Summary(Call& call) const;
  void Requests(Call& call) const;
  void Status(Call& call) const;
  void Version(Call& call) const;
  void Metrics(Call& call) const;
  void Watch(Call& call) const;
  void Retry(Call& call) const;
  void Log(Call& call) const;

  const Answers m_answers;
};

}  // namespace console

#endif
