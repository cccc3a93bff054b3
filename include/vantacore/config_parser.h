// Reading values out of configuration texts, and writing addresses as text.
#ifndef VANTACORE_CONFIG_PARSER_H
#define VANTACORE_CONFIG_PARSER_H

#include "tarsel/address.h"
#include "tarsel/options.h"
#include "tarsel/string.h"
#include "vantacore/export.h"

namespace Tarsel {

// Each parser returns non-zero on success and writes its result through its first arguments. A null
// text is a failure and changes nothing.

/// Reads a dotted IPv4 address; a failure changes nothing.
VANTACORE_API int ParseAddress(Ip4Addr& addr, const char* text);
/// The same, or "dynamic" in any letter case, which succeeds and leaves `addr` alone.
VANTACORE_API int ParseAddressDynamic(Ip4Addr& addr, const char* text);
/// Reads an IPv6 address; a failure changes nothing.
VANTACORE_API int ParseIp6Address(Ip6Addr& addr, const char* text);
/// The same, or "dynamic" in any letter case, which succeeds and leaves `addr` alone.
VANTACORE_API int ParseIp6AddressDynamic(Ip6Addr& addr, const char* text);
/// Reads an IPv6 prefix whose address and length are separate texts; its host bits are cleared. A
/// failure changes nothing.
VANTACORE_API int ParseIp6Prefix(Ip6Prefix& prefix, const char* address, const char* length);
/// Reads "0" or "1" and nothing else; a failure changes nothing.
VANTACORE_API int ParseBool(bool* value, const char* text);
/// Reads a decimal number. The value is stored even when something follows it and the call fails.
/// Leading white space and a sign are taken; the empty text is 0. A number that does not fit 32
/// bits is read as 4294967295, on every machine; -1 is read as 4294967295 as well.
VANTACORE_API int ParseNumber(unsigned int* value, const char* text);
/// Reads N (low and high are then equal) or N-M, each as ParseNumber reads it. The order of the two
/// is not checked, and a missing second number is 0: "5-" is 5 to 0.
VANTACORE_API int ParseRange(unsigned int* low, unsigned int* high, const char* text);

/// Four bytes in memory order as "a.b.c.d" into `buffer` (16 bytes), which is returned.
VANTACORE_API char* Ip4AddrToStr(char* buffer, const void* address);
/// Sixteen bytes as IPv6 text into `buffer` (48 bytes), which is returned.
VANTACORE_API char* Ip6AddrToStr(char* buffer, const void* address);
/// The four bytes of `address`, in memory order, as dotted decimal.
VANTACORE_API string FormatIp4Addr(unsigned int address);
/// Four bytes in memory order, as dotted decimal.
VANTACORE_API string FormatIp4Addr(const void* address);
/// Sixteen bytes in memory order, as IPv6 text.
VANTACORE_API string FormatIp6Addr(const void* address);

/// Visits the VLAN entries of a document. The order of the virtual operations is fixed.
class VANTACORE_API ConfigParser {
 public:
  /// Reads the list under "VLAN_CONFIGURATIONS".
  ConfigParser();
  /// Reads the list under `name`, which is borrowed and must outlive the parser.
  explicit ConfigParser(const char* name);
  virtual ~ConfigParser();

  /// Calls ParseVlanOptions for each VLAN entry, in document order, with the member of the entry
  /// that is named `group` (a null node if there is none). Entries without a usable "vid" are
  /// traced and skipped. Returns the result of the last call; 0 if no call was made or `group` is
  /// null.
  virtual int ParseOptions(const char* group, const Options& options);
  /// Takes that member for one VLAN. `node` is valid during the call.
  virtual int ParseVlanOptions(unsigned short vlan, const OptionsNode& node) = 0;

  /// Whether the group's "Name" is `prefix`, or `prefix` and a VLAN as in OSPF_12 or ospf:12_area
  /// (letter case ignored). The VLAN, cut to 16 bits, is stored when the name has one.
  static int GetVlanFromGroup(const char* prefix, const OptionsNode& group, unsigned short* vlan);

 private:
  const char* m_name;
};

}  // namespace Tarsel

#endif
