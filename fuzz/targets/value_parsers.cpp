// The value parsers: any text as any value.
//
// The C library decides what an address is; what was read is printed and read again; a failure
// leaves the result alone; numbers are read as a small reader of this file's own reads them.
#include <arpa/inet.h>
#include <strings.h>

#include <cstring>

#include "fuzz/support/bytes.h"
#include "fuzz/support/check.h"
#include "vantacore/config_parser.h"
#include "vantacore/dc_console_command.h"
#include "vantacore/dcl_config_object.h"
#include "vantacore/dcl_ip_address.h"

namespace {

using fuzz::Check;
using Tarsel::Ip4Addr;
using Tarsel::Ip6Addr;
using Tarsel::Ip6Prefix;

// White space, one sign, digits; too large is the largest; a minus sign counts modulo 2^32 as long as
// the number itself fits.
unsigned int ReadNumber(const char*& text) {
  const char* at = text + std::strspn(text, " \t\n\v\f\r");
  const bool isNegative = *at == '-';
  if (*at == '-' || *at == '+') ++at;
  if (*at < '0' || *at > '9') return 0;  // nothing was read, not even the white space
  std::uint64_t value = 0;
  for (; *at >= '0' && *at <= '9'; ++at) {
    if (value <= 0xFFFFFFFF) value = value * 10 + static_cast<unsigned int>(*at - '0');
  }
  text = at;
  if (value > 0xFFFFFFFF) return 0xFFFFFFFF;
  return static_cast<unsigned int>(isNegative ? 0 - value : value);
}

void CheckNumbers(const char* text) {
  unsigned int value = 77;
  const int read = Tarsel::ParseNumber(&value, text);
  const char* end = text;
  const unsigned int expected = ReadNumber(end);
  Check(value == expected, "another number than expected");
  Check((read != 0) == (*end == '\0'), "a wrong answer about a number");

  unsigned int low = 77, high = 78;
  const int isRange = Tarsel::ParseRange(&low, &high, text);
  Check(low == expected, "another low end than expected");
  if (*end == '\0') {
    Check(isRange && high == expected, "a number is a range of itself");
  } else if (*end == '-') {
    const char* rest = end + 1;
    Check(high == ReadNumber(rest), "another high end than expected");
    Check((isRange != 0) == (*rest == '\0'), "a wrong answer about a range");
  } else {
    Check(!isRange && high == 78, "a range where there is none");
  }

  bool flag = true;
  const int isFlag = Tarsel::ParseBool(&flag, text);
  Check((isFlag != 0) == (std::strcmp(text, "0") == 0 || std::strcmp(text, "1") == 0),
        "a wrong answer about a flag");
  Check(flag == (std::strcmp(text, "0") != 0), "another flag than expected");
}

void CheckIp4(const char* text) {
  const Ip4Addr before(1, 2, 3, 4);
  Ip4Addr address = before;
  unsigned char expected[4];
  const bool isAddress = inet_pton(AF_INET, text, expected) == 1;
  Check((Tarsel::ParseAddress(address, text) != 0) == isAddress, "a wrong answer about IPv4");
  if (isAddress) {
    Check(std::memcmp(address.GetBytes(), expected, 4) == 0, "another IPv4 address");
    char buffer[16];
    Check(std::strcmp(Tarsel::Ip4AddrToStr(buffer, address.GetBytes()), text) == 0,
          "an IPv4 address is printed otherwise than it was written");
    Check(Tarsel::FormatIp4Addr(address.GetValue()) == text, "FormatIp4Addr differs");
  } else {
    Check(address == before, "a failure has changed an IPv4 address");
  }
  Ip4Addr dynamic = before;
  const bool isDynamic = strcasecmp(text, "dynamic") == 0;
  Check((Tarsel::ParseAddressDynamic(dynamic, text) != 0) == (isDynamic || isAddress),
        "a wrong answer about a dynamic address");
  Check(dynamic == address, "a dynamic address differs");
}

void CheckIp6(const char* text) {
  Ip6Addr address;
  unsigned char expected[16];
  const bool isAddress = inet_pton(AF_INET6, text, expected) == 1;
  Check((Tarsel::ParseIp6Address(address, text) != 0) == isAddress, "a wrong answer about IPv6");
  Check(isAddress || address == Ip6Addr(), "a failure has changed an IPv6 address");
  if (!isAddress) return;
  Check(std::memcmp(address.GetBytes(), expected, 16) == 0, "another IPv6 address");
  char buffer[48];
  Ip6Addr again;
  Check(Tarsel::ParseIp6Address(again, Tarsel::Ip6AddrToStr(buffer, address.GetBytes())) &&
            again == address,
        "an IPv6 address does not survive being printed");
}

void CheckPrefix(const std::string& address, const std::string& length) {
  Ip6Prefix prefix;
  if (!Tarsel::ParseIp6Prefix(prefix, address.c_str(), length.c_str())) {
    Check(prefix == Ip6Prefix(), "a failure has changed a prefix");
    return;
  }
  Check(prefix.GetLength() <= 128, "a prefix that is too long");
  Ip6Prefix again;
  Check(again.FromString(prefix.ToString()) && again == prefix,
        "a prefix does not survive being printed");
}

void CheckTagged(const char* text) {
  const unsigned char zeros[16] = {};
  Tarsel::DclIpAddress address(zeros, 4);
  if (address.Ip4AddrFromString(text)) {
    Check(address.ToString() == text, "a tagged IPv4 address is printed otherwise");
  }
  if (address.Ip6AddrFromString(text)) {
    Tarsel::DclIpAddress again(zeros, 16);
    Check(again.Ip6AddrFromString(address.ToString().c_str()) && again == address,
          "a tagged IPv6 address does not survive being printed");
  }
}

// Names of rows: the n-th number of any text.
void CheckKeys(const char* text) {
  for (int n = -1; n < 6; ++n) Tarsel::DclConfigObject::ParseKeyFromName(text, n);
  Check(Tarsel::DclConfigObject::ParseNumber(text) ==
            Tarsel::DclConfigObject::ParseKeyFromName(text, 3),
        "the number is another field");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::string first = text.c_str();  // up to the first NUL
  CheckNumbers(first.c_str());
  CheckIp4(first.c_str());
  CheckIp6(first.c_str());
  CheckTagged(first.c_str());
  CheckKeys(first.c_str());
  const std::size_t slash = first.find('/');
  if (slash != std::string::npos) CheckPrefix(first.substr(0, slash), first.substr(slash + 1));
  if (size >= 20) {
    Tarsel::DcConsoleCommand::ToIp4PrefixStr(data, data[4]);
    Tarsel::DcConsoleCommand::ToIp6PrefixStr(data + 4, data[3]);
    Tarsel::DcConsoleCommand::DclTimerIntervalString(fuzz::Bytes(data, size).Long());
  }
  return 0;
}
