#include "words.h"

#include "device/program/printable.h"
#include "tarsel/address.h"

namespace plan {

namespace {

// More of a value would make a line hard to read.
constexpr std::size_t MOST_OF_A_VALUE = 200;

std::string Shown(const std::string& value) {
  return program::Printable(value, MOST_OF_A_VALUE) + (value.size() > MOST_OF_A_VALUE ? "..." : "");
}

}  // namespace

bool IsSame(const Attributes& a, const Attributes& b) {
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i].value != b[i].value) {
      return false;
    }
  }
  return true;
}

std::string Given(const Attributes& attributes) {
  std::string text;
  for (const Attribute& attribute : attributes) {
    if (attribute.value != attribute.standard) {
      text += (text.empty() ? "" : ", ") + attribute.name + " " + Shown(attribute.value);
    }
  }
  return text;
}

std::string Differing(const Attributes& now, const Attributes& then) {
  std::string text;
  for (std::size_t i = 0; i < now.size(); ++i) {
    if (now[i].value != then[i].value) {
      text += (text.empty() ? "" : "; ") + then[i].name + " " + Shown(then[i].value) + ", was " +
              Shown(now[i].value);
    }
  }
  return text;
}

std::string Line(const std::string& title, const std::string& details,
                 const documents::Place& place) {
  documents::Place where = place;
  if (where.position.line != 0) {
    where.path.clear();
  }
  const std::string text = where.Text();
  return title + (details.empty() ? "" : ": " + details) + (text.empty() ? "" : " (" + text + ")");
}

std::string AddressText(bool ip6, const std::array<unsigned char, 16>& address) {
  return ip6 ? Tarsel::Ip6Addr::FromBytes(address.data()).ToString().c_str()
             : Tarsel::Ip4Addr::FromBytes(address.data()).ToString().c_str();
}

}  // namespace plan
