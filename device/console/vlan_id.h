// A VLAN's id as an operator's word.
#ifndef DEVICE_CONSOLE_VLAN_ID_H
#define DEVICE_CONSOLE_VLAN_ID_H

#include <optional>
#include <string>

#include "vantacore/config_parser.h"

namespace console {

/// The id, 0 to 65535, that `word` is. Whether there is such a VLAN is another question.
inline std::optional<unsigned short> ReadVlan(const std::string& word) {
  unsigned int number = 0;
  if (!Tarsel::ParseNumber(&number, word.c_str()) || number > 65535) {
    return std::nullopt;
  }
  return static_cast<unsigned short>(number);
}

}  // namespace console

#endif
