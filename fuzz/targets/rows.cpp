// Rows of the stack's tables handed to the console commands: any values, results and order.
//
// The target is the stack's walks itself: the four functions below take the place of the stack's own
// (an executable's symbols come first), keep the response function and play rows to it as the input
// says. A row is as large as its type and no byte larger; the one promise that is kept for the library
// is that an interface's name ends. The command must delete itself and its console exactly when it
// asks for no further row. Commands are the only state; an input ends them all.
#include <cstring>
#include <memory>
#include <set>

#include "fuzz/support/bytes.h"
#include "fuzz/support/check.h"
#include "stack/sms.h"
#include "tests/support/recording_console.h"
#include "tests/support/trace_capture.h"
#include "vantacore/dc_interface_console_command.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/rtm_commands.h"

namespace {

using fuzz::Bytes;
using fuzz::Check;

constexpr unsigned short VLAN = 10;
constexpr unsigned int RESULT_ROW = 1;
constexpr unsigned int RESULT_END = 7;
constexpr unsigned int MAX_ROWS = 64;

enum class Table { NONE, INTERFACES, ADDRESSES, ROUTES, RIB };

struct Walk {
  Table table = Table::NONE;
  sms_response response = nullptr;
  void* command = nullptr;
};
Walk g_walk;

void Begin(Table table, sms_response response, void* command) {
  Check(g_walk.table == Table::NONE || g_walk.command == command, "two walks at once");
  g_walk = {table, response, command};
}

// Mostly rows that belong to the VLAN, so that they come through the filters.
template <class Row>
std::unique_ptr<Row> MakeRow(Bytes& bytes) {
  auto row = std::make_unique<Row>();
  const unsigned int kind = bytes.Byte();
  bytes.Fill(row.get(), sizeof *row);
  if ((kind & 3) != 0) row->instance = (kind & 4) != 0 ? VLAN | 0x8000 : VLAN;
  if ((kind & 8) != 0) row->if_index = 3;
  return row;
}

std::unique_ptr<amb_stubs_i3_ei> MakeInterface(Bytes& bytes) {
  auto row = std::make_unique<amb_stubs_i3_ei>();
  row->instance = bytes.Flag() ? VLAN | 0x8000 : VLAN;
  row->if_index = bytes.Choice(8) == 7 ? bytes.Number() : bytes.Choice(4);
  row->flags = bytes.Number();
  row->oper_status = bytes.Number();
  row->mtu = bytes.Number();
  const std::string name = bytes.Text(sizeof row->name - 1);
  std::memcpy(row->name, name.data(), name.size());
  return row;
}

unsigned char Hand(const Walk& walk, Bytes& bytes, unsigned int context) {
  const auto respond = [&](void* row) {
    return walk.response(walk.command, context, RESULT_ROW, row);
  };
  switch (walk.table) {
    case Table::INTERFACES:
      return respond(MakeInterface(bytes).get());
    case Table::ADDRESSES: {
      auto row = MakeRow<amb_stubs_i3_ea>(bytes);
      return respond(row.get());
    }
    case Table::ROUTES:
      return respond(MakeRow<amb_cipr_rtm_route>(bytes).get());
    default:
      return respond(MakeRow<amb_cipr_rtm_rib>(bytes).get());
  }
}

// Plays the walk until the command asks for no more; a failure or the end has no row. A command may
// begin another walk with its last answer, and lives on then.
void Play(Bytes& bytes, const test_support::ConsoleLog& log) {
  for (unsigned int rows = 0; g_walk.table != Table::NONE; ++rows) {
    const Walk walk = g_walk;
    g_walk = {};
    const unsigned int choice = bytes.Byte();
    const unsigned int context = bytes.Byte();
    if (bytes.IsEmpty() || rows == MAX_ROWS || choice >= 240) {
      unsigned int result = choice == 255 ? bytes.Number() : RESULT_END;
      if (result == RESULT_ROW) result = RESULT_END;
      Check(walk.response(walk.command, context, result, nullptr) == 0,
            "a command asks for rows behind the end");
      rows = 0;
    } else if (Hand(walk, bytes, context) != 0) {
      Check(!log.destroyed && g_walk.table == Table::NONE, "a command that goes on, and does not");
      g_walk = walk;
      continue;
    }
    Check(log.destroyed != (g_walk.table != Table::NONE),
          "a command that neither ended nor walks on, or both");
  }
}

// Words for the walks of routes; the interface command takes none.
bool Start(Tarsel::DcConsoleCommand* command, Bytes& bytes) {
  static const char* const WORDS[] = {
      "vrf", "10", "dest", "10.9.0.0", "2001:db8::", "proto", "ospf", "bgp", "static", "detail"};
  std::vector<std::string> words;
  const unsigned int count = bytes.Choice(6);
  for (unsigned int i = 0; i < count; ++i) words.push_back(WORDS[bytes.Choice(10)]);
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(&word[0]);
  argv.push_back(nullptr);
  if (command->Parse(static_cast<int>(count), argv.data())) return true;
  delete command;
  return false;
}

Tarsel::DcConsoleCommand* MakeCommand(unsigned int kind, Tarsel::DcConsole* console) {
  const unsigned short family = (kind & 1) != 0 ? 41 : 0;
  switch (kind >> 1) {
    case 0:
      return new Tarsel::RtmRouteCommand(console, family);
    case 1:
      return new Tarsel::RtmRibCommand(console, family);
    default:
      return new Tarsel::DcInterfaceConsoleCommand(console, VLAN, family != 0);
  }
}

std::string Run(Bytes bytes) {
  const auto log = test_support::NewConsoleLog(VLAN);
  const unsigned int kind = bytes.Choice(6);
  Tarsel::DcConsole* console = new test_support::RecordingConsole(log);
  if (Start(MakeCommand(kind, console), bytes)) Play(bytes, *log);
  Check(log->destroyed, "a console that was not deleted");
  Check(!Tarsel::DcConsoleCommand::Owns(console), "a console that is owned although it has gone");
  Check(g_walk.table == Table::NONE, "a walk that nobody ends");
  return log->all;
}

}  // namespace

extern "C" {

void sms_get_next_i3_ei(unsigned int, sms_response response, void* command) {
  Begin(Table::INTERFACES, response, command);
}
void sms_get_next_i3_ea(unsigned int, sms_response response, void* command) {
  Begin(Table::ADDRESSES, response, command);
}
void sms_get_next_rtm_route(sms_response response, void* command) {
  Begin(Table::ROUTES, response, command);
}
void sms_get_next_rtm_rib(sms_response response, void* command) {
  Begin(Table::RIB, response, command);
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static test_support::TraceCapture* traces = nullptr;
  if (traces == nullptr) {
    traces = new test_support::TraceCapture;
    Tarsel::DcRtmMgr::GetInstance()->SetRtmReady(VLAN);
    Tarsel::DcInterfaceMgr::GetInstance()->AddInterface(
        VLAN, 3, "eth0", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, 8, 0, 1);
  }
  const std::string first = Run(Bytes(data, size));
  Check(first == Run(Bytes(data, size)), "two runs of one input print differently");
  traces->Take();
  return 0;
}

}  // extern "C"
