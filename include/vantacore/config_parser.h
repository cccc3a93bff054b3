// Reading values out of configuration texts, and writing addresses as text.
#ifndef VANTACORE_CONFIG_PARSER_H
#define VANTACORE_CONFIG_PARSER_H

#include "tarsel/address.h"
#include "tarsel/options.h"
#include "tarsel/string.h"
#include "vantacore/export.h"

namespace Tarsel {

// Each parser returns non-zero on success and writes its result through the first argument. A null
// text is a failure and changes nothing.

/// Dotted IPv4.
VANTACORE_API int ParseAddress(Ip4Addr& addr, const char* text);
/// The same, or "dynamic" in any letter case, which succeeds and leaves `addr` alone.
VANTACORE_API int ParseAddressDynamic(Ip4Addr& addr, const char* text);
/// IPv6 text.
VANTACORE_API int ParseIp6Address(Ip6Addr& addr, const char* text);
/// The same, or "dynamic" in any letter case, which succeeds and leaves `addr` alone.
VANTACORE_API int ParseIp6AddressDynamic(Ip6Addr& addr, const char* text);
/// Address and length as separate texts.
VANTACORE_API int ParseIp6Prefix(Ip6Prefix& prefix, const char* address, const char* length);
/// "0" or "1" and nothing else.
VANTACORE_API int ParseBool(bool* value, const char* text);
/// A decimal number. The value is stored even when something follows it and the call fails. Leading
/// white space and a sign are taken; the empty text is 0. Numbers beyond 32 bits are the largest
/// 32-bit number, on every machine.
VANTACORE_API int ParseNumber(unsigned int* value, const char* text);
/// N or N-M, each as ParseNumber reads it; "5-" is 5 to 0. Which is larger is not checked.
VANTACORE_API int ParseRange(unsigned int* low, unsigned int* high, const char* text);

/// Four bytes in memory order as "a.b.c.d" into `buffer` (16 bytes), which is returned.
VANTACORE_API char* Ip4AddrToStr(char* buffer, const void* address);
/// Sixteen bytes as IPv6 text into `buffer` (48 bytes), which is returned.
VANTACORE_API char* Ip6AddrToStr(char* buffer, const void* address);
/// Dotted decimal of the word as it lies in memory.
VANTACORE_API string FormatIp4Addr(unsigned int address);
/// Four bytes in memory order.
VANTACORE_API string FormatIp4Addr(const void* address);
/// Sixteen bytes in memory order.
VANTACORE_API string FormatIp6Addr(const void* address);

/// Walks the per-VLAN list of a document. The order of the virtual operations is fixed.
class VANTACORE_API ConfigParser {
 public:
  /// Reads the list under "VLAN_CONFIGURATIONS".
  ConfigParser();
  /// Reads the list under `name`, which is borrowed and must outlive the parser.
  explicit ConfigParser(const char* name);
  virtual ~ConfigParser();

  /// Calls ParseVlanOptions for each VLAN entry, in document order, with the entry's member `group`
  /// (a null node when it has none). Entries without a usable "vid" are traced and skipped. Returns
  /// what the last call returned, or 0 if there was none or `group` is null.
  virtual int ParseOptions(const char* group, const Options& options);
  /// Takes the group of one VLAN.
  virtual int ParseVlanOptions(unsigned short vlan, const OptionsNode& node) = 0;

  /// Whether the group's "Name" is `prefix`, or `prefix` and a VLAN as in OSPF_12 or ospf:12_area
  /// (letter case ignored). The VLAN, cut to 16 bits, is stored when the name has one.
  static int GetVlanFromGroup(const char* prefix, const OptionsNode& group, unsigned short* vlan);

 private:
  const char* m_name;
};

}  // namespace Tarsel

#endif
