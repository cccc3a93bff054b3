// The engine's RIB against the plain model, over random sequences of everything that can move a
// route.

#include <array>
#include <cstring>
#include <optional>
#include <random>

#include "device/stack/upkeep.h"
#include "forwarding_mirror.h"
#include "rib_model.h"
#include "stack_test.h"
#include "tests/models/random_run.h"

namespace stack_test {
namespace {

using routing_stack::Candidate;
using routing_stack::RowType;

// Small pools, so that rows meet: nested and equal prefixes, next hops inside and outside of them.
const char* const kPrefixes4[] = {"10.1.0.0/16", "10.1.2.0/24", "10.1.2.0/25",
                                  "10.9.0.0/16", "0.0.0.0/0",   "10.1.2.4/32"};
const char* const kPrefixes6[] = {"2001:db8:1::/48",     "2001:db8:1:2::/64",
                                  "2001:db8:9::/48",     "::/0",
                                  "2001:db8:1:2::4/128", "2001:db8::/32"};
const char* const kNextHops4[] = {"10.1.2.4", "10.1.2.200", "10.1.9.1",
                                  "0.0.0.0",  "172.16.0.1", "254.128.0.1"};
const char* const kNextHops6[] = {
    "2001:db8:1:2::4", "2001:db8:1:2:8000::1", "2001:db8:1:9::1", "::", "fe80::1", "2001:db9::1"};
const char* const kAddresses4[] = {"10.1.2.3/24",   "10.1.2.5/24", "10.1.2.6/25", "10.1.2.7/16",
                                   "172.16.0.9/31", "10.1.2.3/30", "0.0.0.0/8",   "10.1.2.3/33"};
const char* const kAddresses6[] = {"2001:db8:1:2::3/64",
                                   "2001:db8:1:2::5/64",
                                   "2001:db8:1:2::6/65",
                                   "2001:db8:1::7/48",
                                   "2001:db9::1/128",
                                   "2001:db8:1:2::3/120",
                                   "::/64",
                                   "2001:db8:1:2::3/129"};
constexpr unsigned int kInstances[] = {10, 11, 10 | kIp6Bit};
constexpr unsigned int kProtocols[] = {8, 13, 14};

/// How often the things happened that make the engine's work hard.
struct Occurrences {
  unsigned long flaps = 0;            // an interface that exists changed its status
  unsigned long addressChanges = 0;   // an address came, went or changed its length
  unsigned long instanceChanges = 0;  // an instance came or went
  unsigned long distanceChanges = 0;
  unsigned long overwrites = 0;  // of a route with another metric or admin status
  unsigned long refusals = 0;
  unsigned long removals = 0;
  unsigned long rows = 0;  // of the RIB, summed over all operations
  unsigned long installed = 0;
  unsigned long beside = 0;
  std::array<unsigned long, 3> forwardingChanges{};
  std::array<unsigned long, routing_stack::kRowTypes> causes{};  // of operations that changed it
};

class RandomRibTest : public StackTest {
 protected:
  RandomRibTest() : m_seed(test_models::Random().GetSeed()), m_random(m_seed) {}
  void SetUp() override { Start(); }

  unsigned int Below(unsigned int bound) { return static_cast<unsigned int>(m_random() % bound); }
  bool Chance(unsigned int percent) { return Below(100) < percent; }
  template <typename Value, std::size_t size>
  Value Any(const Value (&values)[size]) {
    return values[Below(size)];
  }
  unsigned int AnyIndex() { return Chance(2) ? 0 : 1 + Below(3); }
  static bool IsIp6(unsigned int instance) { return (instance & kIp6Bit) != 0; }
  static RibModel::Bytes BytesOf(const unsigned char (&bytes)[16]) {
    RibModel::Bytes copy;
    std::copy(bytes, bytes + 16, copy.begin());
    return copy;
  }

  void ChangeInterface();
  void ChangeAddress();
  void ChangeStatic();
  void ChangeProtocol();
  void ChangeInstance();
  void ChangeNextHops();
  void Operate();
  void Compare(bool withAges);
  void ChangeMirror();

  const unsigned int m_seed;
  std::mt19937 m_random;
  RibModel m_model;
  std::optional<ForwardingMirror> m_mirror;
  RowType m_cause = RowType::kRtm;  // of the last operation
  Occurrences m_count;
};

void RandomRibTest::ChangeInterface() {
  m_cause = RowType::kInterface;
  const unsigned int instance = Any(kInstances);
  const unsigned int ifIndex = AnyIndex();
  const bool up = Chance(60);
  const auto known = m_model.interfaces.find({instance, ifIndex});
  const bool isKnown = known != m_model.interfaces.end();
  if (Chance(15)) {
    RemoveInterface(instance, ifIndex);
    m_model.interfaces.erase({instance, ifIndex});
    return;
  }
  m_count.flaps += isKnown && known->second != up ? 1 : 0;
  if (Chance(40)) {
    AddInterface(instance, ifIndex, up);
    m_model.interfaces[{instance, ifIndex}] = up;
  } else {
    SetInterface(instance, ifIndex, up);
    if (isKnown) {
      known->second = up;
    }
  }
  if (ifIndex == 0) {
    m_model.interfaces.erase({instance, ifIndex});  // index 0 never takes effect
  }
}

void RandomRibTest::ChangeAddress() {
  m_cause = RowType::kAddress;
  const unsigned int instance = Any(kInstances);
  const unsigned int ifIndex = AnyIndex();
  const bool ip6 = Chance(3) ? !IsIp6(instance) : IsIp6(instance);
  const std::string text = ip6 ? Any(kAddresses6) : Any(kAddresses4);
  const PrefixBytes prefix(text);
  const RibModel::AddressKey key = {instance, ifIndex, ip6 ? 128 : 32,
                                    BytesOf(prefix.address.bytes)};
  ++m_count.addressChanges;
  if (Chance(45)) {
    RemoveAddress(instance, ifIndex, text);
    m_model.addresses.erase(key);
  } else {
    AddAddress(instance, ifIndex, text);
    m_model.addresses[key] = prefix.length;
  }
}

void RandomRibTest::ChangeStatic() {
  m_cause = RowType::kRoute;
  const unsigned int instance = Any(kInstances);
  std::string prefix = IsIp6(instance) ? Any(kPrefixes6) : Any(kPrefixes4);
  if (Chance(3)) {
    prefix = IsIp6(instance) ? "2001:db8::1/64" : "10.1.2.3/24";  // host bits
  }
  const std::string nextHop = IsIp6(instance) ? Any(kNextHops6) : Any(kNextHops4);
  const unsigned int ifIndex = Chance(50) ? 0 : 1 + Below(3);
  const unsigned int metric = Below(4);
  const bool up = Chance(90);
  Route(Chance(80) ? 1 : 4, up ? 1 : 2, instance, prefix, nextHop, ifIndex, metric);

  const PrefixBytes destination(prefix);
  const RibModel::CandidateKey key = {
      instance, BytesOf(destination.address.bytes),   destination.length,
      3,        BytesOf(AddressBytes(nextHop).bytes), ifIndex};
  const bool hasHostBits = destination.address.bytes[3] == 3 || destination.address.bytes[15] == 1;
  if (hasHostBits || m_model.instances.count(instance) == 0) {
    ++m_count.refusals;
    return;
  }
  m_count.overwrites += m_model.candidates.count(key);
  m_model.candidates[key] = {metric, up, false};
}

void RandomRibTest::ChangeProtocol() {
  m_cause = RowType::kProtocol;
  RunAll();  // candidates are put in at once, in front of requests that wait
  const unsigned int instance = Any(kInstances);
  const std::string prefix = IsIp6(instance) ? Any(kPrefixes6) : Any(kPrefixes4);
  const std::string nextHop = IsIp6(instance) ? Any(kNextHops6) : Any(kNextHops4);
  Candidate candidate = MakeCandidate(instance, prefix, nextHop, Any(kProtocols), Below(3),
                                      Chance(70) ? 0 : 1 + Below(3));
  candidate.internal = Chance(50);
  control.PutCandidate(candidate);
  if (m_model.instances.count(instance) != 0) {
    m_model.candidates[{instance, BytesOf(candidate.destination), candidate.prefixLength,
                        candidate.proto, BytesOf(candidate.nextHop), candidate.ifIndex}] = {
        candidate.metric, true, candidate.internal};
  }
}

void RandomRibTest::ChangeInstance() {
  m_cause = RowType::kRtm;
  const unsigned int instance = Any(kInstances);
  const bool isKnown = m_model.instances.count(instance) != 0;
  if (isKnown && Chance(20)) {
    DropInstance(instance);
    m_model.DropInstance(instance);
    ++m_count.instanceChanges;
    return;
  }
  (isKnown ? m_count.distanceChanges : m_count.instanceChanges) += 1;
  AddInstance(instance);
  amb_cipr_rtm_entity& entity = host.configurations[instance];
  for (const int word : {6, 7, 8, 9, 14}) {
    entity.word[word] = Below(5);
  }
  m_model.instances[instance] = {
      IsIp6(instance) ? 128 : 32,
      {entity.word[6], entity.word[7], entity.word[8], entity.word[9], entity.word[14]}};
}

void RandomRibTest::ChangeNextHops() {
  m_cause = RowType::kRtm;
  RunAll();  // requests that wait are not the cause
  const unsigned int vlan = 10 + Below(2);
  const std::size_t most = Chance(80) ? 2 + Below(3) : Below(2);
  stack.GetUpkeep().SetMostNextHops(vlan, most);
  m_model.mostNextHops[vlan] = m_model.mostNextHops[vlan | kIp6Bit] = most;
}

// One change. Rows of protocols and static ones are added a little more often than removed, so that
// each instance holds some dozens.
void RandomRibTest::Operate() {
  const unsigned int dice = Below(100);
  if (dice < 15) {
    ChangeInterface();
  } else if (dice < 27) {
    ChangeAddress();
  } else if (dice < 57) {
    ChangeStatic();
  } else if (dice < 70) {
    ChangeProtocol();
  } else if (dice < 72) {
    ChangeInstance();
  } else if (dice < 74) {
    ChangeNextHops();
  } else if (!m_model.candidates.empty()) {
    const auto row = std::next(m_model.candidates.begin(),
                               Below(static_cast<unsigned int>(m_model.candidates.size())));
    const RibModel::CandidateKey& key = row->first;
    Candidate candidate;
    candidate.instance = key.instance;
    candidate.addressType = IsIp6(key.instance) ? 2 : 1;
    std::copy(key.destination.begin(), key.destination.end(), candidate.destination);
    candidate.prefixLength = key.length;
    std::copy(key.nextHop.begin(), key.nextHop.end(), candidate.nextHop);
    candidate.ifIndex = key.ifIndex;
    candidate.proto = key.proto;
    m_cause = key.proto == 3 ? RowType::kRoute : RowType::kProtocol;
    if (key.proto == 3) {
      sms_update_route(1, 6, 2, candidate.addressType, candidate.destination, key.length,
                       candidate.nextHop, kStaticPath, key.ifIndex,
                       static_cast<unsigned short>(key.instance), 0);
    } else {
      RunAll();
      ASSERT_TRUE(control.RemoveCandidate(candidate));
    }
    m_model.candidates.erase(row);
    ++m_count.removals;
  }
}

template <typename Row>
std::string Difference(const std::vector<Row>& expected, const std::vector<Row>& actual) {
  std::string text;
  for (std::size_t i = 0; i < std::max(expected.size(), actual.size()); ++i) {
    const std::string left =
        i < expected.size() ? RowText(expected[i]) + " age " + std::to_string(expected[i].age) : "";
    const std::string right =
        i < actual.size() ? RowText(actual[i]) + " age " + std::to_string(actual[i].age) : "";
    text += (left == right ? "    " : "!!! ") + left + " | " + right + "\n";
  }
  return "\nmodel | engine\n" + text;
}

template <typename Row>
void ExpectEqual(std::vector<Row> expected, std::vector<Row> actual, bool withAges) {
  if (!withAges) {
    for (std::vector<Row>* rows : {&expected, &actual}) {
      for (Row& row : *rows) {
        row.age = 0;
      }
    }
  }
  const bool equal = expected.size() == actual.size() &&
                     (expected.empty() || std::memcmp(expected.data(), actual.data(),
                                                      expected.size() * sizeof(Row)) == 0);
  ASSERT_TRUE(equal) << Difference(expected, actual);
}

void RandomRibTest::Compare(bool withAges) {
  ASSERT_NO_FATAL_FAILURE(ExpectEqual(m_model.Rib(), control.Rib(), withAges));
  ASSERT_NO_FATAL_FAILURE(ExpectEqual(m_model.Routes(), control.Routes(), withAges));
  if (m_mirror) {
    ASSERT_NO_FATAL_FAILURE(ExpectEqual(m_model.Routes(), m_mirror->Rows(), false));
    ASSERT_EQ(m_model.Beside(), m_mirror->Beside());
  }
}

// Who follows the forwarding table may begin and end at any time.
void RandomRibTest::ChangeMirror() {
  stack.SetListener(nullptr);
  if (m_mirror) {
    for (std::size_t i = 0; i < m_count.forwardingChanges.size(); ++i) {
      m_count.forwardingChanges[i] += m_mirror->counts[i];
    }
    m_mirror.reset();
  } else {
    m_mirror.emplace(stack.GetFacts());
    stack.SetListener(&*m_mirror);
  }
}

TEST_F(RandomRibTest, EveryOperationLeavesTheTablesThatTheModelHas) {
  const unsigned long operations = test_models::Scaled(40000);
  for (unsigned long i = 0; i < operations; ++i) {
    SCOPED_TRACE("operation " + std::to_string(i) + ", VANTACORE_SEED=" + std::to_string(m_seed));
    now += Below(1500);
    ASSERT_NO_FATAL_FAILURE(Operate());
    RunAll();
    host.Take();
    m_model.Update(now);
    ASSERT_NO_FATAL_FAILURE(Compare(true));
    if (m_mirror && !m_mirror->causes.empty()) {
      ASSERT_THAT(m_mirror->causes, ElementsAre(m_cause));
      m_mirror->causes.clear();
      ++m_count.causes[static_cast<std::size_t>(m_cause)];
    }
    if (Chance(1)) {
      ChangeMirror();
    }
    m_count.rows += control.Rib().size();
    m_count.installed += control.Routes().size();
    for (const std::vector<std::string>& beside : m_model.Beside()) {
      m_count.beside += beside.size();
    }
  }
  using test_models::ExpectAtLeast;
  const unsigned long least = test_models::Scaled(400);
  ExpectAtLeast(m_count.flaps, least, "flaps");
  ExpectAtLeast(m_count.addressChanges, least, "changes of addresses");
  ExpectAtLeast(m_count.instanceChanges, least / 4, "changes of instances");
  ExpectAtLeast(m_count.distanceChanges, least / 4, "changes of distances");
  ExpectAtLeast(m_count.overwrites, least / 4, "overwritten routes");
  ExpectAtLeast(m_count.refusals, least / 4, "refusals");
  ExpectAtLeast(m_count.removals, least, "removals");
  // About 45 and some on average.
  ExpectAtLeast(m_count.rows, 8 * operations, "rows, summed up");
  ExpectAtLeast(m_count.installed, 2 * operations, "installed routes, summed up");
  ExpectAtLeast(m_count.beside, operations / 40, "next hops beside installed ones, summed up");
  for (const RowType cause : {RowType::kRtm, RowType::kInterface, RowType::kAddress,
                              RowType::kRoute, RowType::kProtocol}) {
    const auto number = static_cast<std::size_t>(cause);
    ExpectAtLeast(m_count.causes[number], least / 40, "cause " + std::to_string(number));
  }
}

// Changes pile up while earlier ones are still being worked off in slices of a few units.
TEST_F(RandomRibTest, ChangesInTheMiddleOfTheWorkEndInTheSameTables) {
  const unsigned long operations = test_models::Scaled(40000);
  unsigned long comparisons = 0;
  for (unsigned long i = 0; i < operations; ++i) {
    SCOPED_TRACE("operation " + std::to_string(i) + ", VANTACORE_SEED=" + std::to_string(m_seed));
    ASSERT_NO_FATAL_FAILURE(Operate());
    control.SetSliceEvents(1 + Below(6));
    RunOnce();
    if (Chance(1)) {
      ChangeMirror();
    }
    if (Chance(15)) {
      RunAll();
      m_model.Update(now);
      ASSERT_NO_FATAL_FAILURE(Compare(false));
      ++comparisons;
    }
    host.Take();
  }
  test_models::ExpectAtLeast(comparisons, operations / 10, "comparisons");
  for (const unsigned long changes : m_count.forwardingChanges) {
    test_models::ExpectAtLeast(changes, operations / 200, "changes of the forwarding table");
  }
}

}  // namespace
}  // namespace stack_test
