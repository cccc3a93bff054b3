#include "tests/unit/interfaces/interface_fixture.h"

#include <algorithm>
#include <utility>

void InterfaceFixture::InsideOfTheFirst(routing_stack::Call call, std::function<void()> nested) {
  Control().SetCallObserver(
      [call, nested = std::move(nested)](routing_stack::Call seen, const std::string&) mutable {
        if (seen == call && nested) {
          std::exchange(nested, nullptr)();
        }
      });
}

Lines InterfaceFixture::Prefixes(unsigned short vlan, unsigned int ifIndex) {
  const Tarsel::IpInterface* record = registry.FindInterface(vlan, ifIndex);
  Lines texts;
  if (record == nullptr) {
    ADD_FAILURE() << "no such interface";
    return texts;
  }
  for (const Tarsel::Ip6Prefix& prefix : record->prefixes) {
    texts.push_back(prefix.ToString().c_str());
  }
  std::sort(texts.begin(), texts.end());
  return texts;
}

std::string InterfaceFixture::StoredAddress(unsigned short vlan, unsigned int ifIndex) {
  Tarsel::Ip4Addr address;
  Tarsel::Ip4Addr mask;
  if (!registry.GetIfIpAddr(vlan, ifIndex, address, mask)) {
    return "none";
  }
  return std::string(address.ToString().c_str()) + "/" + mask.ToString().c_str();
}
