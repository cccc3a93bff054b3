#include "kernel_links.h"

#include <algorithm>
#include <stdexcept>
#include <tuple>
#include <utility>

#include "device/program/counted.h"
#include "device/program/printable.h"

namespace machine {

namespace {

// Each costs up to a dozen calls of the library.
constexpr std::size_t LINKS_A_TURN = 100;
constexpr std::size_t ALL = static_cast<std::size_t>(-1);
constexpr std::size_t MOST_OF_A_NAME = 64;
constexpr unsigned int IP4_BITS = 32;

constexpr const char* LINKS = "links of the kernel";  // as `verify` calls them

constexpr std::uint32_t FLAG_LOOPBACK = 2;
constexpr std::uint32_t FLAG_POINT_TO_POINT = 4;
constexpr std::uint32_t FLAG_BROADCAST = 8;
constexpr std::uint32_t FLAG_MULTICAST = 16;

std::uint32_t FlagsOf(const kernel::Link& link) {
  return (link.isLoopback ? FLAG_LOOPBACK : 0) | (link.isPointToPoint ? FLAG_POINT_TO_POINT : 0) |
         (link.isBroadcast ? FLAG_BROADCAST : 0) | (link.isMulticast ? FLAG_MULTICAST : 0);
}

// The primary addresses come first, of these the ones of the widest scope. One that stands twice,
// with two lengths or two other ends, counts once. The network of one with another end is the other
// end's, so that only the address counts.
std::vector<documents::Ip4Network> Ip4Of(const kernel::Link& link) {
  std::vector<kernel::LinkAddress> found;
  for (const kernel::LinkAddress& address : link.addresses) {
    if (!address.isIp6) {
      found.push_back(address);
    }
  }
  std::stable_sort(found.begin(), found.end(),
                   [](const kernel::LinkAddress& a, const kernel::LinkAddress& b) {
                     return std::tie(a.isSecondary, a.scope) < std::tie(b.isSecondary, b.scope);
                   });
  std::vector<documents::Ip4Network> networks;
  for (const kernel::LinkAddress& address : found) {
    const unsigned int length = address.other == address.address ? address.length : IP4_BITS;
    const documents::Ip4Network network{Tarsel::Ip4Addr::FromBytes(address.address.data()),
                                        Tarsel::Ip4Addr(Tarsel::Ip6Prefix::s_masks32[length])};
    const bool isNew = std::none_of(
        networks.begin(), networks.end(),
        [&](const documents::Ip4Network& other) { return other.address == network.address; });
    if (isNew) {
      networks.push_back(network);
    }
  }
  return networks;
}

// Their order means nothing; so two readings give the same.
std::vector<Tarsel::Ip6Prefix> Ip6Of(const kernel::Link& link) {
  std::vector<Tarsel::Ip6Prefix> prefixes;
  for (const kernel::LinkAddress& address : link.addresses) {
    if (address.isIp6) {
      prefixes.emplace_back(Tarsel::Ip6Addr::FromBytes(address.address.data()), address.length);
    }
  }
  std::sort(prefixes.begin(), prefixes.end(), documents::Ip6PrefixOrder());
  return prefixes;
}

intent::Link LinkOf(const kernel::Link& link, const kernel::Vrfs& vrfs) {
  const kernel::Vrfs::Vrf* const vrf = link.master != 0 ? vrfs.Find(link.master) : nullptr;
  return {link.index,
          link.name,
          FlagsOf(link),
          link.mtu,
          link.isUp,
          link.tag,
          Ip4Of(link),
          Ip6Of(link),
          link.vrfTable.has_value(),
          vrf != nullptr ? vrf->name : ""};
}

}  // namespace

KernelLinks::KernelLinks(uv_loop_s* loop, keepers::Interfaces& interfaces, Hooks hooks)
    : m_loop(loop), m_interfaces(interfaces), m_hooks(std::move(hooks)), m_handing(loop) {}

KernelLinks::~KernelLinks() = default;

bool KernelLinks::IsNeeded(const documents::Device& device) const {
  return !device.links.taken.empty() || (!device.links.vrfs.empty() && device.kernel.writesRoutes);
}

void KernelLinks::Start(const documents::Device& device) {
  if (IsNeeded(device) && Open()) {
    m_watch->ReadNow();
    while (!m_watch->IsReading() && HasChanges()) {
      HandOn(ALL);
    }
  }
}

void KernelLinks::Apply(const documents::Device& device) {
  if (!IsNeeded(device)) {
    Close();
  } else if (m_watch || Open()) {
    TellProblems();
  }
}

void KernelLinks::TellProblems() {
  for (const auto& [index, link] : m_interfaces.GetLinks()) {
    TellProblem(index);
  }
}

bool KernelLinks::Open() {
  try {
    m_watch = std::make_unique<kernel::LinkWatch>(m_loop, m_hooks.open, m_hooks.log,
                                                  [this] { HandOnSlice(); });
    m_problem.clear();
    return true;
  } catch (const std::runtime_error& problem) {
    m_problem = problem.what();
    m_hooks.complain(std::string("No link of the kernel is an interface: ") + problem.what());
    return false;
  }
}

// The document in force takes none, so no interface goes with this.
void KernelLinks::Close() {
  m_watch.reset();
  m_problem.clear();
  m_told.clear();
  m_going.clear();
  m_coming.clear();
  m_vrfs.Clear();
  m_areVrfsKnown = false;
  intent::LinkChanges changes;
  for (const auto& [index, link] : m_interfaces.GetLinks()) {
    changes.emplace(index, std::nullopt);
  }
  m_interfaces.TakeLinks(changes);
  while (!m_verifications.empty()) {
    EndVerification(m_verifications.begin()->first, std::nullopt);
  }
}

void KernelLinks::HandOnSlice() {
  if (m_watch && m_watch->IsReading()) {
    return;  // its end comes here again
  }
  if (m_watch && !m_areVrfsKnown && !HasChanges()) {
    TakeVrfs({});  // an earlier reading that was given up has shown everything
  }
  if (HasChanges()) {
    HandOn(LINKS_A_TURN);
    m_handing.Post([this] { HandOnSlice(); });
    return;
  }
  for (const auto& call : std::exchange(m_whenHandedOn, {})) {
    call();
  }
}

bool KernelLinks::HasChanges() const {
  return m_watch && (m_watch->HasChanged() || !m_going.empty() || !m_coming.empty());
}

// A link that is enslaved is in the VLAN of its VRF device: it changes with that.
void KernelLinks::TakeVrfs(const std::vector<std::uint32_t>& changed) {
  const kernel::LinkWatch::Links& links = m_watch->GetLinks();
  bool areOthers = !std::exchange(m_areVrfsKnown, m_watch->HasRead()) && m_areVrfsKnown;
  for (const std::uint32_t index : changed) {
    const auto now = links.find(index);
    if (!m_vrfs.Take(index, now != links.end() ? &now->second : nullptr)) {
      continue;
    }
    areOthers = true;
    for (const auto& [slave, link] : links) {
      if (link.master == index) {
        m_coming.insert(slave);
      }
    }
  }
  if (areOthers) {
    m_hooks.vrfsChanged();
  }
}

// The registry finds interfaces by their names as well: a name has to go with one link before it
// comes with another. So what goes goes first, however many slices that takes.
void KernelLinks::HandOn(std::size_t most) {
  const kernel::LinkWatch::Links& links = m_watch->GetLinks();
  const std::vector<std::uint32_t> changed = m_watch->TakeChanged(ALL);
  TakeVrfs(changed);
  for (const std::uint32_t index : changed) {
    const auto now = links.find(index);
    const auto known = m_interfaces.GetLinks().find(index);
    const bool hasGone = known != m_interfaces.GetLinks().end() &&
                         (now == links.end() || now->second.name != known->second.name);
    if (hasGone) {
      m_going.insert(index);
    }
    m_coming.insert(index);
  }
  intent::LinkChanges changes;
  std::set<std::uint32_t>& from = m_going.empty() ? m_coming : m_going;
  const bool areGoing = !m_going.empty();
  while (changes.size() < most && !from.empty()) {
    const std::uint32_t index = *from.begin();
    from.erase(index);
    const auto now = areGoing ? links.end() : links.find(index);
    changes.emplace(index,
                    now != links.end() ? std::optional(LinkOf(now->second, m_vrfs)) : std::nullopt);
  }
  if (m_interfaces.TakeLinks(changes)) {
    m_hooks.interfacesChanged();
  }
  for (const auto& [index, link] : changes) {
    TellProblem(index);
  }
}

// Once for each link that is left out, and again when the reason is another.
void KernelLinks::TellProblem(std::uint32_t index) {
  const auto link = m_interfaces.GetLinks().find(index);
  const auto place =
      link != m_interfaces.GetLinks().end() ? m_interfaces.FindPlaceOf(link->second) : std::nullopt;
  if (!place || place->problem == nullptr) {
    m_told.erase(index);
    return;
  }
  const std::string line = "The link " + program::Printable(link->second.name, MOST_OF_A_NAME) +
                           " is left out: " + place->problem;
  std::string& told = m_told[index];
  if (told != line) {
    told = line;
    m_hooks.complain(line);
  }
}

std::vector<views::LinkState> KernelLinks::Describe() const {
  std::vector<views::LinkState> states;
  if (!m_watch) {
    return states;
  }
  for (const auto& [index, link] : m_interfaces.GetLinks()) {
    if (const auto place = m_interfaces.FindPlaceOf(link)) {
      states.push_back({program::Printable(link.name, MOST_OF_A_NAME), index, link.up, place->vlan,
                        intent::DescribeRule(place->rule),
                        place->problem != nullptr ? place->problem : ""});
    }
  }
  return states;
}

void KernelLinks::Verify(Verified done) {
  if (!m_watch) {
    std::optional<rows::Verdict> verdict;
    if (!m_problem.empty()) {
      verdict = rows::Verdict{LINKS, 0, 1, {"kernel: none of its links is taken: " + m_problem}};
    }
    done(std::move(verdict));
    return;
  }
  const unsigned int number = ++m_lastVerification;
  m_verifications.emplace(number, std::move(done));
  m_watch->Compare([this, number](std::optional<std::size_t> untold) {
    rows::Verdict verdict;
    verdict.kind = LINKS;
    verdict.rows = Describe().size();
    if (!untold) {
      ++verdict.fails;
      verdict.lines.push_back("kernel: its links could not be read");
    } else if (*untold != 0) {
      ++verdict.fails;
      verdict.lines.push_back(
          "kernel: " + program::Counted(*untold, "change of a link was", "changes of links were") +
          " not known, taken now");
    }
    m_whenHandedOn.push_back([this, number, verdict] { EndVerification(number, verdict); });
    m_handing.Post([this] { HandOnSlice(); });
  });
}

void KernelLinks::EndVerification(unsigned int number,
                                  const std::optional<rows::Verdict>& verdict) {
  const auto found = m_verifications.find(number);
  if (found != m_verifications.end()) {
    const Verified done = std::move(found->second);
    m_verifications.erase(found);
    done(verdict);
  }
}

}  // namespace machine
