#include "misunderstanding.h"

#include "device/views/folder_json.h"

namespace console {

namespace {

// As the schemas call the answers.
std::string ViewOf(const Words& words, const Parse& parse) {
  const bool isShown = words.size() > 1 && words[0] == "show";
  const std::string& typed = words[isShown ? 1 : 0];
  const bool isKnown = !parse.words.empty() && parse.words[0] != "show";
  const std::string& word = isKnown ? parse.words[0] : typed;
  return word == "route6" ? "route" : word;
}

void TellWhy(const Words& words, const Parse& parse, const std::string& why,
             RunningCommand& command) {
  command.Filter(nullptr);
  std::string text;
  if (Has(words, "json")) {
    views::ShowRefusal(ViewOf(words, parse), why)->Next(text);
  } else {
    text = why + "\n";
  }
  command.Write(text);
}

}  // namespace

void Misunderstand(const Words& words, const Parse& parse, const std::string& why,
                   RunningCommand& command) {
  command.Misunderstand();
  TellWhy(words, parse, why, command);
}

void Decline(const Words& words, const Parse& parse, const std::string& why,
             RunningCommand& command) {
  command.Refuse();
  TellWhy(words, parse, why, command);
}

}  // namespace console
