// Which VLAN each link of the machine would have.
#ifndef DEVICE_APPLY_CHECKED_LINKS_H
#define DEVICE_APPLY_CHECKED_LINKS_H

#include <cstdint>
#include <string>
#include <vector>

#include "device/documents/device.h"
#include "device/intent/links.h"

namespace apply {

/// A link that a document takes, or would if it could.
struct CheckedLink {
  std::string name;  // printable
  std::uint32_t index = 0;
  std::uint32_t vlan = 0;
  const char* rule = "";  // what the VLAN follows from: as DescribeRule says
  std::string problem;    // why it is left out; empty if it is not
};

/// Of the links that are there, those that the document takes, by index.
std::vector<CheckedLink> CheckLinks(const documents::Device& device, unsigned short defaultVlan,
                                    const intent::Links& links);

/// A line for each; for those behind the first hundred one line together.
std::vector<std::string> DescribeLinks(const std::vector<CheckedLink>& links);

}  // namespace apply

#endif
