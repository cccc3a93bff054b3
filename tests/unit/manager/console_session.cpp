#include "tests/unit/manager/console_session.h"

#include "tests/support/argument_vector.h"
#include "vantacore/dc_console_command.h"

namespace console_session {

using Tarsel::DcConsoleCommand;
using Tarsel::DcRouterMgr;

Execution Execute(Tarsel::DcRouterCmdHandler::Handler handler, std::vector<std::string> words,
                  unsigned short vlan) {
  test_support::ArgumentVector argv(std::move(words));
  Execution run;
  run.log = test_support::NewConsoleLog(vlan);
  run.console = new test_support::RecordingConsole(run.log);
  handler(nullptr, run.console, argv.GetCount(), argv.GetPointers());
  if (run.log->destroyed) {
    run.owner = Owner::kGone;
  } else if (DcConsoleCommand::Owns(run.console)) {
    run.owner = Owner::kCommand;
  } else {
    run.owner = Owner::kCaller;
    delete run.console;
  }
  return run;
}

Execution Ip(std::vector<std::string> words, unsigned short vlan) {
  const auto& handlers = DcRouterMgr::GetInstance()->GetIp4ConCmdHandlers();
  return Execute(handlers.find(words[0].c_str())->second.handler, words, vlan);
}

Execution Ip6(std::vector<std::string> words, unsigned short vlan) {
  const auto& handlers = DcRouterMgr::GetInstance()->GetIp6ConCmdHandlers();
  return Execute(handlers.find(words[0].c_str())->second.handler, words, vlan);
}

}  // namespace console_session
