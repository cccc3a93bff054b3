// The words of changes.
#ifndef DEVICE_PLAN_WORDS_H
#define DEVICE_PLAN_WORDS_H

#include <array>
#include <string>
#include <vector>

#include "device/documents/place.h"

namespace plan {

/// A property of something, and the value that it has when no document says otherwise.
struct Attribute {
  std::string name;
  std::string value;
  std::string standard;
};
/// Those of two things of one kind have the same names in the same order.
using Attributes = std::vector<Attribute>;

bool IsSame(const Attributes& a, const Attributes& b);

/// "metric 5, passive true": of a new thing, what is not as it is without being said.
std::string Given(const Attributes& attributes);
/// "metric 5, was 1; passive true, was false": what differs.
std::string Differing(const Attributes& now, const Attributes& then);

/// "TITLE: DETAILS (FILE:LINE:COLUMN)", without the parts that there are not. Of a place without a
/// position the member's path is told.
std::string Line(const std::string& title, const std::string& details,
                 const documents::Place& place);

/// An address in network order, an IPv4 one in the first four bytes.
std::string AddressText(bool ip6, const std::array<unsigned char, 16>& address);

}  // namespace plan

#endif
