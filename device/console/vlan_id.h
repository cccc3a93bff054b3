// A VLAN's id as an operator's word.
#ifndef DEVICE_CONSOLE_VLAN_ID_H
#define DEVICE_CONSOLE_VLAN_ID_H

#include <optional>
#include <string>

#include "device/program/decimal.h"

namespace console {

/// Returns the id, 0 to 65535, that `word` is; nothing for another word. The VLAN need not exist.
inline std::optional<unsigned short> ReadVlan(const std::string& word) {
  const auto number = program::ReadDecimal(word, 0, 65535);
  return number ? std::optional(static_cast<unsigned short>(*number)) : std::nullopt;
}

}  // namespace console

#endif
