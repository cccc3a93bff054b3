// The base of the diagnostic commands that print a table of the routing stack.
#ifndef VANTACORE_DC_CONSOLE_COMMAND_H
#define VANTACORE_DC_CONSOLE_COMMAND_H

#include "host/dc_console.h"
#include "tarsel/address.h"
#include "tarsel/string.h"
#include "vantacore/dcl_ip_address.h"
#include "vantacore/export.h"

namespace Tarsel {

/// "UNKN", the word of the status helpers for what they do not know.
extern VANTACORE_API const char* const DclUnknownStr;

/// One invocation of a command. Created with `new` together with a console of its own, which it owns.
/// When Parse fails the creator deletes the command; when it succeeds the command belongs to the walk
/// that it started and deletes itself, and the console, when the walk ends. The order of the virtual
/// operations is fixed.
class VANTACORE_API DcConsoleCommand {
 public:
  /// One word of a command's grammar. Options are tried in the order of the command's table, each
  /// once; a word matches when it begins the option's name, letter case ignored, and so does the
  /// empty word. Names are borrowed for the life of the option.
  class VANTACORE_API ConsoleCommandOption {
   public:
    explicit ConsoleCommandOption(const char* name) : m_name(name) {}
    virtual ~ConsoleCommandOption();
    /// False when the words at this place are wrong; consumed words are passed over in argc, argv.
    virtual bool Parse(DcConsoleCommand& cmd, int& argc, char**& argv) const = 0;

   protected:
    bool Matches(int argc, char** argv) const;

    const char* m_name;
  };

  /// A keyword alone. Never fails.
  class VANTACORE_API ConsoleCommandFlagOption : public ConsoleCommandOption {
   public:
    typedef void (*Handler)(DcConsoleCommand& cmd);

    /// `handler` may be null.
    ConsoleCommandFlagOption(const char* name, Handler handler);
    bool Parse(DcConsoleCommand& cmd, int& argc, char**& argv) const override;

   private:
    Handler m_handler;
  };

  /// A keyword and a value. Without a handler no value is taken.
  class VANTACORE_API ConsoleCommandValueOption : public ConsoleCommandOption {
   public:
    typedef bool (*Handler)(DcConsoleCommand& cmd, const char* value);

    ConsoleCommandValueOption(const char* name, bool mandatory, Handler handler);
    bool Parse(DcConsoleCommand& cmd, int& argc, char**& argv) const override;

   private:
    bool m_mandatory;
    Handler m_handler;
  };

  /// Takes ownership of `console`; the texts are borrowed. The VLAN is m_default_vlan.
  DcConsoleCommand(DcConsole* console, const char* usage, const char* description);
  DcConsoleCommand(DcConsole* console, unsigned short vlan, const char* usage,
                   const char* description);
  DcConsoleCommand(const DcConsoleCommand&) = delete;
  DcConsoleCommand& operator=(const DcConsoleCommand&) = delete;
  virtual ~DcConsoleCommand();

  /// Takes the operator's words and starts the walk, as its last act. False when the words are wrong.
  virtual bool Parse(int argc, char** argv) = 0;
  /// One response of the stack. 1: the next row, please. 0: the end, delete the command. 256: the end
  /// of this walk, but the command lives on (another walk has been started).
  virtual unsigned int Display(unsigned int context, unsigned int result, const void* row);

  /// printf-style output on the console.
  void Print(const char* format, ...) const __attribute__((format(printf, 2, 3)));
  /// The output is complete.
  void CommandEnd();
  /// "End of Table" and CommandEnd.
  void TableEnd();
  /// The message of a stack response code, if it has one, and CommandEnd.
  void ParseError(unsigned int result);

  /// Sets the VLAN from a number, cut to 16 bits; complains and answers false when it is none.
  bool ParseVlan(const char* text);
  static bool ParseVlan(DcConsoleCommand& cmd, const char* text);
  /// Family 1 is IPv4, any other IPv6.
  static bool DclAddrFromString(int family, DclIpAddress& addr, const char* text);

  /// The callback of every walk; `cmd` is the command.
  static unsigned char ResponseHandler(void* cmd, unsigned int context, unsigned int result,
                                       void* row);

  /// Whether a live command owns the console. This is how a dispatcher tells, after a handler has
  /// returned and the console has not been deleted, whether it still has to delete it. The pointer is
  /// compared only, never used.
  static bool Owns(const DcConsole* console);

  // Texts. Each helper has one static buffer, overwritten by its next call.

  static const char* OperStatusStr(int status);
  static const char* AmbBoolYesNoStr(int value);
  static const char* DcIp4ToIp4Str(const unsigned char* addr);
  static const char* ToIp4PrefixStr(const unsigned char* addr, unsigned int len);
  static const char* ToIp6Str(const unsigned char* addr);
  static const char* ToIp6PrefixStr(const unsigned char* addr, unsigned int len);
  static bool IsEqual(const Ip4Addr& a, const unsigned char* bytes);
  /// Weeks and days, or hh:mm:ss below one day.
  static string DclTimerIntervalString(unsigned int seconds);
  /// Nothing is printed for length 0 or perLine 0.
  void HexDump(const unsigned char* data, unsigned int length, unsigned int perLine) const;
  /// One line: `count` bytes at the cursor as numbers, then `count` characters from `perLine` bytes
  /// back, behind which the cursor is left. The data must reach `perLine - count` bytes before the
  /// cursor; HexDump sees to that.
  void HexDumpLine(const unsigned char*& cursor, unsigned int count, unsigned int perLine) const;

  /// The default VLAN of commands; set by DcRouterMgr::Initialize.
  static unsigned short m_default_vlan;
  /// "vrf <vid>", the first option of every command.
  static const ConsoleCommandValueOption vlan_option;

 protected:
  DcConsole* m_console;
  unsigned short m_mark;  // the subclasses' own, 0 at first
  unsigned short m_vlan;
  const char* m_usage;
  const char* m_description;

 private:
  void DumpLine(const unsigned char*& cursor, unsigned int count, unsigned int perLine,
                unsigned int rewind) const;
};

}  // namespace Tarsel

#endif
