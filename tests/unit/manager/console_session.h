// A host's console, as far as the library's handlers can tell.
#ifndef TESTS_UNIT_MANAGER_CONSOLE_SESSION_H
#define TESTS_UNIT_MANAGER_CONSOLE_SESSION_H

#include <memory>
#include <string>
#include <vector>

#include "tests/support/recording_console.h"
#include "vantacore/dc_router_mgr.h"

namespace console_session {

/// To whom a console belongs when its handler has returned.
enum class Owner { kCaller, kCommand, kGone };

/// One command's run: what its console saw, and who had the console afterwards.
struct Execution {
  std::shared_ptr<test_support::ConsoleLog> log;
  Tarsel::DcConsole* console;  // only to be compared unless the caller owns it
  Owner owner;
};

/// Runs a handler with a new console that is bound to `vlan`. A console that is left to the caller
/// is deleted, as a host would.
Execution Execute(Tarsel::DcRouterCmdHandler::Handler handler, std::vector<std::string> words,
                  unsigned short vlan = 10);

/// The handler that stands under the first word of the `ip` or `ip6` tree.
Execution Ip(std::vector<std::string> words, unsigned short vlan = 10);
Execution Ip6(std::vector<std::string> words, unsigned short vlan = 10);

}  // namespace console_session

#endif
