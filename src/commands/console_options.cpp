// The words of a command's grammar.
#include <strings.h>

#include <cstring>

#include "tarsel/trace.h"
#include "vantacore/dc_console_command.h"

namespace Tarsel {

namespace {

void AssertWordCount(int argc) {
  if (argc < 0) {
    OnAssert("argc >= 0", "dcconsole", __LINE__);
  }
}

void ConsumeWord(int& argc, char**& argv) {
  --argc;
  ++argv;
}

}  // namespace

// The option tables of other files may be built before this object, since start-up builds files in
// no certain order. They only store its address.
const DcConsoleCommand::ConsoleCommandValueOption DcConsoleCommand::vlan_option(
    "vrf", false, &DcConsoleCommand::ParseVlan);

DcConsoleCommand::ConsoleCommandOption::~ConsoleCommandOption() = default;

// Whether there is a word and it abbreviates the name; the empty word abbreviates every name.
bool DcConsoleCommand::ConsoleCommandOption::Matches(int argc, char** argv) const {
  return argc > 0 && strncasecmp(argv[0], m_name, std::strlen(argv[0])) == 0;
}

DcConsoleCommand::ConsoleCommandFlagOption::ConsoleCommandFlagOption(const char* name,
                                                                     Handler handler)
    : ConsoleCommandOption(name), m_handler(handler) {}

bool DcConsoleCommand::ConsoleCommandFlagOption::Parse(DcConsoleCommand& cmd, int& argc,
                                                       char**& argv) const {
  AssertWordCount(argc);
  if (!Matches(argc, argv)) {
    return true;
  }
  ConsumeWord(argc, argv);
  if (m_handler != nullptr) {
    m_handler(cmd);
  }
  return true;
}

DcConsoleCommand::ConsoleCommandValueOption::ConsoleCommandValueOption(const char* name,
                                                                       bool mandatory,
                                                                       Handler handler)
    : ConsoleCommandOption(name), m_mandatory(mandatory), m_handler(handler) {}

bool DcConsoleCommand::ConsoleCommandValueOption::Parse(DcConsoleCommand& cmd, int& argc,
                                                        char**& argv) const {
  AssertWordCount(argc);
  if (!Matches(argc, argv)) {
    return !m_mandatory;
  }
  ConsumeWord(argc, argv);
  if (m_handler == nullptr) {
    return true;
  }
  if (argc == 0 || !m_handler(cmd, argv[0])) {
    return false;
  }
  ConsumeWord(argc, argv);
  return true;
}

}  // namespace Tarsel
