#include "switches.h"

#include <algorithm>
#include <fstream>
#include <optional>

namespace kernel {

namespace {

constexpr int STRICT = 1;

class Finder {
 public:
  explicit Finder(const std::string& root) : m_root(root) {}

  // What comes in on a link is forwarded if that link's switch says so. The one for all of them sets
  // the others when it is written.
  void LookAtIp4(const std::vector<Entrance>& entrances) {
    const std::string all = m_root + "/ipv4/ip_forward";
    const bool isOff = Read(all) == 0;
    const bool areAllOff =
        isOff && std::all_of(entrances.begin(), entrances.end(), [this](const Entrance& entrance) {
          return Read(ForwardingOf(entrance)) == 0;
        });
    if (areAllOff) {
      Add(all, 0, "nothing of IPv4 is forwarded");
    }
    for (const Entrance& entrance : entrances) {
      if (!areAllOff && Read(ForwardingOf(entrance)) == 0) {
        Add(ForwardingOf(entrance), 0, "nothing that comes in there is forwarded");
      }
      if (entrance.hasOwnTable) {
        LookAtFilter(entrance);
      }
    }
  }

  // Here the one for all of them decides.
  void LookAtIp6() {
    const std::string all = m_root + "/ipv6/conf/all/forwarding";
    if (Read(all) == 0) {
      Add(all, 0, "nothing of IPv6 is forwarded");
    }
  }

  Obstacles Take() { return std::move(m_found); }

 private:
  std::string ForwardingOf(const Entrance& entrance) const {
    return m_root + "/ipv4/conf/" + entrance.name + "/forwarding";
  }

  // The way back is looked up as if the packet had come from this machine, in the main table.
  void LookAtFilter(const Entrance& entrance) {
    const std::string own = m_root + "/ipv4/conf/" + entrance.name + "/rp_filter";
    const std::string all = m_root + "/ipv4/conf/all/rp_filter";
    const auto ownValue = Read(own);
    const auto allValue = Read(all);
    if (std::max(ownValue.value_or(0), allValue.value_or(0)) == STRICT) {
      Add(ownValue == STRICT ? own : all, STRICT,
          "what comes in on " + entrance.name +
              " is dropped unless the main table leads back there");
    }
  }

  std::optional<int> Read(const std::string& path) {
    std::ifstream file(path);
    int value = 0;
    if (!(file >> value)) {
      return std::nullopt;
    }
    ++m_found.switches;
    return value;
  }

  void Add(const std::string& path, int value, const std::string& effect) {
    m_found.lines.push_back(path + " is " + std::to_string(value) + ": " + effect);
  }

  const std::string& m_root;
  Obstacles m_found;
};

}  // namespace

Obstacles FindObstacles(const std::vector<Entrance>& entrances, const Families& families,
                        const std::string& root) {
  Finder finder(root);
  if (families.ip4) {
    finder.LookAtIp4(entrances);
  }
  if (families.ip6) {
    finder.LookAtIp6();
  }
  return finder.Take();
}

}  // namespace kernel
