// Texts for the tables. Each helper that builds one does so in a buffer of its own, which its next
// call overwrites; a prefix text is built from an address text and so overwrites that one as well.
#include <cstddef>
#include <cstdio>

#include "vantacore/config_parser.h"
#include "vantacore/dc_console_command.h"

namespace Tarsel {

const char* const DclUnknownStr = "UNKN";

namespace {

template <std::size_t N>
const char* NameOfCode(const char* const (&names)[N], int code) {
  return code >= 0 && static_cast<std::size_t>(code) < N ? names[code] : DclUnknownStr;
}

constexpr unsigned int MINUTE = 60;
constexpr unsigned int HOUR = 60 * MINUTE;
constexpr unsigned int DAY = 24 * HOUR;
constexpr unsigned int WEEK = 7 * DAY;

}  // namespace

const char* DcConsoleCommand::OperStatusStr(int status) {
  static const char* const names[] = {DclUnknownStr, "Up", "Down", "Down", "Down", "Down"};
  return NameOfCode(names, status);
}

const char* DcConsoleCommand::AmbBoolYesNoStr(int value) {
  static const char* const names[] = {DclUnknownStr, "Yes", "No"};
  return NameOfCode(names, value);
}

const char* DcConsoleCommand::DcIp4ToIp4Str(const unsigned char* addr) {
  static char buffer[16];
  return Ip4AddrToStr(buffer, addr);
}

const char* DcConsoleCommand::ToIp4PrefixStr(const unsigned char* addr, unsigned int len) {
  static char buffer[20];
  std::snprintf(buffer, sizeof(buffer), "%u.%u.%u.%u/%u", addr[0], addr[1], addr[2], addr[3], len);
  return buffer;
}

const char* DcConsoleCommand::ToIp6Str(const unsigned char* addr) {
  static char buffer[48];
  return Ip6AddrToStr(buffer, addr);
}

const char* DcConsoleCommand::ToIp6PrefixStr(const unsigned char* addr, unsigned int len) {
  static char buffer[52];
  std::snprintf(buffer, sizeof(buffer), "%s/%u", ToIp6Str(addr), len);
  return buffer;
}

// By way of the text, whose buffer this call is known to overwrite.
bool DcConsoleCommand::IsEqual(const Ip4Addr& a, const unsigned char* bytes) {
  Ip4Addr b;
  ParseAddress(b, DcIp4ToIp4Str(bytes));
  return a == b;
}

string DcConsoleCommand::DclTimerIntervalString(unsigned int seconds) {
  const unsigned int weeks = seconds / WEEK;
  const unsigned int days = seconds / DAY % 7;
  string text;
  if (weeks != 0) {
    text.AppendFmt("%dw", weeks);
  }
  if (days != 0) {
    text.AppendFmt("%dd", days);
  }
  if (text.empty()) {
    text.AppendFmt("%02d:%02d:%02d", seconds / HOUR % 24, seconds / MINUTE % 60, seconds % MINUTE);
  }
  return text;
}

}  // namespace Tarsel
