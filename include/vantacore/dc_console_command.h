// The base of the diagnostic commands that print a table of the routing stack.
#ifndef VANTACORE_DC_CONSOLE_COMMAND_H
#define VANTACORE_DC_CONSOLE_COMMAND_H

#include "host/dc_console.h"
#include "tarsel/address.h"
#include "tarsel/string.h"
#include "vantacore/dcl_ip_address.h"
#include "vantacore/export.h"

namespace Tarsel {

/// "UNKN", which the status helpers return for an unknown value.
extern VANTACORE_API const char* const DclUnknownStr;

/// One invocation of a command. Created with `new`; it owns the console that it is given. If Parse
/// fails, the creator deletes the command. If Parse succeeds, the command belongs to the walk that
/// it started, and deletes itself and its console when the walk ends. The order of the virtual
/// operations is fixed.
class VANTACORE_API DcConsoleCommand {
 public:
  /// One word of a command's grammar. Options are tried in the order of the command's table, each
  /// once. A word matches if it is an abbreviation (a prefix) of the option's name, in any letter
  /// case; the empty word matches every name. Names are borrowed for the life of the option.
  class VANTACORE_API ConsoleCommandOption {
   public:
    /// `name` is the word in full.
    explicit ConsoleCommandOption(const char* name) : m_name(name) {}
    virtual ~ConsoleCommandOption();
    /// Takes the option's words, if they come next: `argc` and `argv` are advanced past them.
    /// Returns false if the words at this place are wrong.
    virtual bool Parse(DcConsoleCommand& cmd, int& argc, char**& argv) const = 0;

   protected:
    /// Whether there is a word (`argc` above 0) and the first one is an abbreviation of the name,
    /// in any letter case. An empty word matches.
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
    /// Called with the command and the word after the keyword, which is valid during the call.
    /// Returns false to refuse the value, and with it the command.
    typedef bool (*Handler)(DcConsoleCommand& cmd, const char* value);

    /// If `mandatory`, Parse fails when the keyword is missing; else the option may be left out.
    /// `handler` may be null.
    ConsoleCommandValueOption(const char* name, bool mandatory, Handler handler);
    bool Parse(DcConsoleCommand& cmd, int& argc, char**& argv) const override;

   private:
    bool m_mandatory;
    Handler m_handler;
  };

  /// Takes ownership of `console`. The texts are borrowed; a null one is printed as the empty text.
  /// The VLAN is m_default_vlan.
  DcConsoleCommand(DcConsole* console, const char* usage, const char* description);
  /// The same for a given VLAN.
  DcConsoleCommand(DcConsole* console, unsigned short vlan, const char* usage,
                   const char* description);
  DcConsoleCommand(const DcConsoleCommand&) = delete;
  DcConsoleCommand& operator=(const DcConsoleCommand&) = delete;
  virtual ~DcConsoleCommand();

  /// Takes the operator's words and starts the walk, as its last act. Returns false if the words
  /// are wrong; no walk has been started then.
  virtual bool Parse(int argc, char** argv) = 0;
  /// Takes one response of the stack. Returns 1 to get the next row, 0 to end and delete the
  /// command, 256 to end this walk and keep the command, because another walk has been started.
  virtual unsigned int Display(unsigned int context, unsigned int result, const void* row);

  /// printf-style output on the console.
  void Print(const char* format, ...) const __attribute__((format(printf, 2, 3)));
  /// Tells the console that the output is complete; deletes nothing.
  void CommandEnd();
  /// Prints "End of Table" and calls CommandEnd.
  void TableEnd();
  /// Prints the message of a stack response code, if it has one, as an error, and calls CommandEnd.
  void ParseError(unsigned int result);

  /// Sets the VLAN from a number, cut to 16 bits. False, with a message, for a text that is not a
  /// number and for null, which is printed as the empty text.
  bool ParseVlan(const char* text);
  /// The same as a handler of an option.
  static bool ParseVlan(DcConsoleCommand& cmd, const char* text);
  /// Reads an address of the family (1 IPv4, any other IPv6) into `addr`. Returns false, with
  /// `addr` untouched, if `text` is null or not such an address.
  static bool DclAddrFromString(int family, DclIpAddress& addr, const char* text);

  /// The callback of every walk; `cmd` is the command.
  static unsigned char ResponseHandler(void* cmd, unsigned int context, unsigned int result,
                                       void* row);

  /// Whether a live command owns the console. A dispatcher asks this when a handler has returned
  /// and the console has not been deleted: it deletes the console if no command owns it. The
  /// pointer is only compared, never used.
  static bool Owns(const DcConsole* console);

  // Texts. Each helper has one static buffer, overwritten by its next call. ToIp6PrefixStr
  // overwrites that of ToIp6Str as well, and IsEqual that of DcIp4ToIp4Str.

  /// "Up" for 1, "Down" for 2 to 5, DclUnknownStr for any other status.
  static const char* OperStatusStr(int status);
  /// "Yes" for 1, "No" for 2, DclUnknownStr for any other value.
  static const char* AmbBoolYesNoStr(int value);
  /// Four address bytes in network order as dotted decimal.
  static const char* DcIp4ToIp4Str(const unsigned char* addr);
  /// Four address bytes and a prefix length, as in "10.1.0.0/16". The length is not checked; the
  /// text is cut after 19 characters.
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
  /// Prints the bytes, `perLine` to a line, as hexadecimal numbers and then as characters; nothing
  /// if `length` or `perLine` is 0. The characters of a short last line are not its bytes: see
  /// HexDumpLine.
  void HexDump(const unsigned char* data, unsigned int length, unsigned int perLine) const;
  /// Prints one line of HexDump: `count` bytes from `cursor` as numbers, then `count` characters,
  /// which begin `perLine - count` bytes before those bytes. `cursor` is left after the characters.
  /// If `count` is `perLine`, numbers and characters are the same bytes; if it is less, the data
  /// must begin at least `perLine - count` bytes before `cursor`.
  void HexDumpLine(const unsigned char*& cursor, unsigned int count, unsigned int perLine) const;

  /// The default VLAN of commands; set by DcRouterMgr::Initialize.
  static unsigned short m_default_vlan;
  /// "vrf <vid>", the first option of every command.
  static const ConsoleCommandValueOption vlan_option;

 protected:
  /// Owned; deleted with the command.
  DcConsole* m_console;
  /// For subclasses, 0 at first. RtmRTCommand sets it to 1 when it has printed the table's header.
  unsigned short m_mark;
  /// The VLAN that the command is about.
  unsigned short m_vlan;
  /// The line after "Usage: "; borrowed, may be null.
  const char* m_usage;
  /// One line for a help text; borrowed, may be null.
  const char* m_description;

 private:
  void DumpLine(const unsigned char*& cursor, unsigned int count, unsigned int perLine,
                unsigned int rewind) const;
};

}  // namespace Tarsel

#endif
