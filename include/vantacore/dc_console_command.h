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
    /// `name` is the word in full, as it stands in the table.
    explicit ConsoleCommandOption(const char* name) : m_name(name) {}
    virtual ~ConsoleCommandOption();
    /// False when the words at this place are wrong; consumed words are passed over in argc, argv.
    virtual bool Parse(DcConsoleCommand& cmd, int& argc, char**& argv) const = 0;

   protected:
    /// Whether there is a word (`argc` above 0) and the first one begins the name, letter case
    /// ignored. An empty word matches.
    bool Matches(int argc, char** argv) const;

    /// The word in full; borrowed.
    const char* m_name;
  };

  /// A keyword alone. Never fails.
  class VANTACORE_API ConsoleCommandFlagOption : public ConsoleCommandOption {
   public:
    /// Called with the command when the keyword was given.
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
    /// Called with the command and the word behind the keyword, which is valid during the call.
    /// False refuses the value, and with it the command.
    typedef bool (*Handler)(DcConsoleCommand& cmd, const char* value);

    /// With `mandatory`, words without the keyword are wrong; else the option may be left out.
    /// `handler` may be null.
    ConsoleCommandValueOption(const char* name, bool mandatory, Handler handler);
    bool Parse(DcConsoleCommand& cmd, int& argc, char**& argv) const override;

   private:
    bool m_mandatory;
    Handler m_handler;
  };

  /// Takes ownership of `console`; the texts are borrowed. The VLAN is m_default_vlan.
  DcConsoleCommand(DcConsole* console, const char* usage, const char* description);
  /// The same for a given VLAN.
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
  /// The same as a handler of an option.
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

  // Texts. Each helper has one static buffer, overwritten by its next call. ToIp6PrefixStr overwrites
  // that of ToIp6Str as well, and IsEqual that of DcIp4ToIp4Str.

  /// "Up" for 1, "Down" for 2 to 5, DclUnknownStr for any other status.
  static const char* OperStatusStr(int status);
  /// "Yes" for 1, "No" for 2, DclUnknownStr for any other value.
  static const char* AmbBoolYesNoStr(int value);
  /// Four address bytes in network order as dotted decimal.
  static const char* DcIp4ToIp4Str(const unsigned char* addr);
  /// Four address bytes and a prefix length, as in "10.1.0.0/16". The length is not checked; the text
  /// is cut after 19 characters.
  static const char* ToIp4PrefixStr(const unsigned char* addr, unsigned int len);
  /// Sixteen address bytes in network order as IPv6 text.
  static const char* ToIp6Str(const unsigned char* addr);
  /// Sixteen address bytes and a prefix length, as in "2001:db8::/32". The length is printed as it
  /// is.
  static const char* ToIp6PrefixStr(const unsigned char* addr, unsigned int len);
  /// Whether the four bytes, in network order, are the address.
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
  /// Owned; deleted with the command.
  DcConsole* m_console;
  /// The subclasses' own, 0 at first. RtmRTCommand: 1 below the table's header.
  unsigned short m_mark;
  /// The VLAN that the command is about.
  unsigned short m_vlan;
  /// The line behind "Usage: "; borrowed.
  const char* m_usage;
  /// One line for a help; borrowed.
  const char* m_description;

 private:
  void DumpLine(const unsigned char*& cursor, unsigned int count, unsigned int perLine,
                unsigned int rewind) const;
};

}  // namespace Tarsel

#endif
