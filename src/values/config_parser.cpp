// Values from configuration texts, and the walk over a document's VLANs. What a text of an address or
// a prefix looks like is the platform's: Parse_IpAddr, Ip6Addr and Ip6Prefix (tarsel/address.h).
#include "vantacore/config_parser.h"

#include <strings.h>

#include <cstring>

#include "decimal.h"
#include "tarsel/text.h"
#include "tarsel/trace.h"

namespace Tarsel {

namespace {

const char DYNAMIC[] = "dynamic";

bool IsDynamic(const char* text) { return text != nullptr && strcasecmp(text, DYNAMIC) == 0; }

bool IsNameSeparator(char c) { return c == '_' || c == ':'; }

}  // namespace

int ParseAddress(Ip4Addr& addr, const char* text) {
  return text != nullptr ? Parse_IpAddr()(addr, text) : 0;
}

int ParseAddressDynamic(Ip4Addr& addr, const char* text) {
  return IsDynamic(text) ? 1 : ParseAddress(addr, text);
}

int ParseIp6Address(Ip6Addr& addr, const char* text) {
  return text != nullptr && addr.FromString(string(text));
}

int ParseIp6AddressDynamic(Ip6Addr& addr, const char* text) {
  return IsDynamic(text) ? 1 : ParseIp6Address(addr, text);
}

int ParseIp6Prefix(Ip6Prefix& prefix, const char* address, const char* length) {
  if (address == nullptr || length == nullptr) {
    return 0;
  }
  string text;
  text.Format("%s/%s", address, length);
  return prefix.FromString(text);
}

int ParseBool(bool* value, const char* text) {
  if (text == nullptr) {
    return 0;
  }
  if (std::strcmp(text, "0") == 0) {
    *value = false;
    return 1;
  }
  if (std::strcmp(text, "1") == 0) {
    *value = true;
    return 1;
  }
  return 0;
}

int ParseNumber(unsigned int* value, const char* text) {
  if (text == nullptr) {
    return 0;
  }
  const char* end;
  *value = ReadDecimal(text, &end);
  return *end == '\0';
}

int ParseRange(unsigned int* low, unsigned int* high, const char* text) {
  if (text == nullptr) {
    return 0;
  }
  const char* end;
  *low = ReadDecimal(text, &end);
  if (*end == '\0') {
    *high = *low;
    return 1;
  }
  if (*end != '-') {
    return 0;
  }
  return ParseNumber(high, end + 1);
}

ConfigParser::ConfigParser() : m_name("VLAN_CONFIGURATIONS") {}
ConfigParser::ConfigParser(const char* name) : m_name(name) {}
ConfigParser::~ConfigParser() = default;

int ConfigParser::ParseOptions(const char* group, const Options& options) {
  if (group == nullptr) {
    return 0;
  }
  const OptionsNode list = options.GetRootNode().GetChildNode(m_name);
  int status = 0;
  for (OptionsNodeIterator it = list.begin(); it != list.end(); ++it) {
    const OptionsNode entry = *it;
    if (entry.IsEmpty()) {
      TRACE("This option item is invalid\n");
      continue;
    }
    int vid;
    if (!entry.AsVal(vid, "vid")) {
      // The error text is that of a node fresh from the iterator, not of the one that failed: it is
      // empty, and operators' log filters rely on the line as it is.
      TRACE("Failed to get VLAN id: %s\n", (*it).GetErrorText());
      continue;
    }
    status = ParseVlanOptions(static_cast<unsigned short>(vid), entry.GetChildNode(group));
  }
  return status;
}

int ConfigParser::GetVlanFromGroup(const char* prefix, const OptionsNode& group,
                                   unsigned short* vlan) {
  string name;
  group.GetAsString(name, "Name");
  if (!strcasestrstart(prefix, name.c_str())) {
    return 0;
  }
  const char* rest = name.c_str() + std::strlen(prefix);
  if (*rest == '\0') {
    return 1;
  }
  if (!IsNameSeparator(*rest)) {
    return 0;
  }
  const char* end;
  const std::uint32_t number = ReadDecimal(rest + 1, &end);
  if (*end != '\0' && !IsNameSeparator(*end)) {
    return 0;
  }
  *vlan = static_cast<unsigned short>(number);
  return 1;
}

}  // namespace Tarsel
