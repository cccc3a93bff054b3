// The base of the diagnostic commands.
//
// A command is made for one invocation and owns its console. Parse starts a walk over a table of
// the stack, and from then on the walk owns the command: each row arrives through ResponseHandler,
// and the answer 0 of Display ends it all. A stack that answers from inside the call that starts a
// walk may have deleted the command when that call returns, so starting a walk is the last thing
// that any operation does, and ResponseHandler touches the command after Display only in order to
// delete it.
//
// The consoles of all live commands are kept in one place, so that a dispatcher can tell a console
// that a command still owns from one that it has to delete. The table's key is the command: a
// subclass may take the console away from the base, and the entry must still go with the command.
// Otherwise a later console at the same address would count as owned.
//
// The options and the text helpers have files of their own beside this one.
#include "vantacore/dc_console_command.h"

#include <algorithm>
#include <cstdarg>
#include <map>

#include "printed_text.h"
#include "vantacore/config_parser.h"

namespace Tarsel {

namespace {

typedef std::map<const DcConsoleCommand*, const DcConsole*> Consoles;

// Never destroyed: a command may outlive the destruction of static objects at the process's end.
Consoles& HeldConsoles() {
  static Consoles* const consoles = new Consoles;
  return *consoles;
}

struct ResponseMessage {
  unsigned int result;
  const char* text;
};

// What the stack answers instead of a row.
const ResponseMessage RESPONSE_MESSAGES[] = {
    {2, "Gen Error\n"},        {3, "Wrong Value\n"},         {4, "Inconsistent Value\n"},
    {5, "Resource Failure\n"}, {6, "Family is not found\n"}, {7, "End of table\n"},
    {8, "Agent Error\n"},      {9, "Incomplete\n"},          {10, "Partial Family ok\n"},
};

}  // namespace

unsigned short DcConsoleCommand::m_default_vlan = 0;

DcConsoleCommand::DcConsoleCommand(DcConsole* console, const char* usage, const char* description)
    : DcConsoleCommand(console, m_default_vlan, usage, description) {}

DcConsoleCommand::DcConsoleCommand(DcConsole* console, unsigned short vlan, const char* usage,
                                   const char* description)
    : m_console(console), m_mark(0), m_vlan(vlan), m_usage(usage), m_description(description) {
  if (console != nullptr) {
    HeldConsoles().emplace(this, console);
  }
}

DcConsoleCommand::~DcConsoleCommand() {
  HeldConsoles().erase(this);
  delete m_console;
}

bool DcConsoleCommand::Owns(const DcConsole* console) {
  const Consoles& held = HeldConsoles();
  return std::any_of(held.begin(), held.end(),
                     [console](const auto& hold) { return hold.second == console; });
}

unsigned int DcConsoleCommand::Display(unsigned int, unsigned int, const void*) { return 0; }

unsigned char DcConsoleCommand::ResponseHandler(void* cmd, unsigned int context,
                                                unsigned int result, void* row) {
  DcConsoleCommand* const command = static_cast<DcConsoleCommand*>(cmd);
  const unsigned int answer = command->Display(context, result, row);
  if (answer == 0) {
    delete command;
  }
  return static_cast<unsigned char>(answer);
}

void DcConsoleCommand::Print(const char* format, ...) const {
  std::va_list arguments;
  va_start(arguments, format);
  m_console->VPrint(format, arguments);
  va_end(arguments);
}

void DcConsoleCommand::CommandEnd() { m_console->CommandEnd(); }

void DcConsoleCommand::TableEnd() {
  m_console->Print("End of Table\n");
  CommandEnd();
}

void DcConsoleCommand::ParseError(unsigned int result) {
  for (const ResponseMessage& message : RESPONSE_MESSAGES) {
    if (message.result == result) {
      m_console->PrintError(message.text);
    }
  }
  CommandEnd();
}

bool DcConsoleCommand::ParseVlan(const char* text) {
  unsigned int number = 0;
  if (!ParseNumber(&number, text)) {
    Print("Invalid VLAN ID %s\n", PrintedText(text));
    return false;
  }
  m_vlan = static_cast<unsigned short>(number);
  return true;
}

bool DcConsoleCommand::ParseVlan(DcConsoleCommand& cmd, const char* text) {
  return cmd.ParseVlan(text);
}

bool DcConsoleCommand::DclAddrFromString(int family, DclIpAddress& addr, const char* text) {
  return family == 1 ? addr.Ip4AddrFromString(text) : addr.Ip6AddrFromString(text);
}

void DcConsoleCommand::HexDump(const unsigned char* data, unsigned int length,
                               unsigned int perLine) const {
  if (length == 0 || perLine == 0) {
    return;
  }
  const unsigned int fullLines = (length - 1) / perLine;
  const unsigned int last = (length - 1) % perLine + 1;
  const unsigned char* cursor = data;
  for (unsigned int line = 0; line < fullLines; ++line) {
    HexDumpLine(cursor, perLine, perLine);
  }
  // The last line's characters begin before its bytes when it is short, but never before the data.
  DumpLine(cursor, last, perLine, fullLines > 0 ? perLine : last);
}

void DcConsoleCommand::HexDumpLine(const unsigned char*& cursor, unsigned int count,
                                   unsigned int perLine) const {
  DumpLine(cursor, count, perLine, perLine);
}

void DcConsoleCommand::DumpLine(const unsigned char*& cursor, unsigned int count,
                                unsigned int perLine, unsigned int rewind) const {
  for (unsigned int i = 0; i < count; ++i) {
    Print("%02x ", *cursor++);
  }
  for (unsigned int i = count; i < perLine; ++i) {
    Print("   ");
  }
  cursor -= rewind;
  for (unsigned int i = 0; i < count; ++i) {
    Print("%c", *cursor++);
  }
  Print("\n");
}

}  // namespace Tarsel
