#include "checked_links.h"

#include "device/program/counted.h"
#include "device/program/printable.h"

namespace apply {

namespace {

constexpr std::size_t MOST_OF_A_NAME = 64;
constexpr std::size_t MOST_LINES = 100;  // as of findings

}  // namespace

std::vector<CheckedLink> CheckLinks(const documents::Device& device, unsigned short defaultVlan,
                                    const intent::Links& links) {
  std::vector<CheckedLink> checked;
  for (const auto& [index, link] : links) {
    if (auto place = intent::FindPlace(device.links, defaultVlan, link)) {
      if (place->problem == nullptr &&
          device.interfaces.count({static_cast<unsigned short>(place->vlan), index}) != 0) {
        place->problem = intent::HAS_NO_PLACE;
      }
      checked.push_back({program::Printable(link.name, MOST_OF_A_NAME), index, place->vlan,
                         intent::DescribeRule(place->rule),
                         place->problem != nullptr ? place->problem : ""});
    }
  }
  return checked;
}

std::vector<std::string> DescribeLinks(const std::vector<CheckedLink>& links) {
  std::vector<std::string> lines;
  for (const CheckedLink& link : links) {
    if (lines.size() == MOST_LINES) {
      lines.push_back("and " +
                      program::Counted(links.size() - MOST_LINES, "more link", "more links"));
      break;
    }
    lines.push_back("link " + link.name +
                    (link.problem.empty()
                         ? " in VLAN " + std::to_string(link.vlan) + " (" + link.rule + ")"
                         : " is left out: " + link.problem));
  }
  return lines;
}

}  // namespace apply
