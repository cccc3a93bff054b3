// The longest match in a large RIB: what finding the route of an address costs.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>

#include "bench/device.h"
#include "stack/sms.h"

namespace {

constexpr std::uint64_t LIMIT_MS = 100000000;
constexpr std::uint32_t VLAN = 20;
constexpr std::uint32_t IP6 = VLAN | 0x8000;
constexpr std::uint32_t INTERFACE = 3;

/// What the RIB holds beside a default route.
enum Table : int {
  NETWORKS,     // each can be installed
  UNREACHABLE,  // none can be installed, and installed ones are asked for
  NESTED        // and of a chain that takes a search for each length, as long as it can be
};

using Address = unsigned char[16];

/// IPv4 networks of 24 bits, IPv6 ones of 64, each as far from the next as there is room.
routing_stack::Candidate CandidateOf(unsigned int n, std::uint32_t instance, Table table) {
  routing_stack::Candidate candidate;
  candidate.instance = instance;
  candidate.addressType = instance == IP6 ? 2 : 1;
  const unsigned char place[4] = {
      static_cast<unsigned char>(instance == IP6 ? 0x20 : 16 + (n >> 16)),
      static_cast<unsigned char>(instance == IP6 ? n >> 16 : n >> 8),
      static_cast<unsigned char>(instance == IP6 ? n >> 8 : n), static_cast<unsigned char>(n)};
  std::memcpy(candidate.destination, place, instance == IP6 ? 4 : 3);
  candidate.prefixLength = instance == IP6 ? 64 : 24;
  candidate.ifIndex = table == UNREACHABLE ? INTERFACE + 1 : INTERFACE;
  candidate.proto = 14;
  return candidate;
}

/// The prefix of `length` bits, all of them ones but the last.
routing_stack::Candidate LinkOf(unsigned int length) {
  routing_stack::Candidate candidate = CandidateOf(0, IP6, NESTED);
  std::memset(candidate.destination, 0, sizeof candidate.destination);
  for (unsigned int i = 0; i + 1 < length; ++i) {
    candidate.destination[i / 8] |= static_cast<unsigned char>(0x80u >> i % 8);
  }
  candidate.prefixLength = length;
  return candidate;
}

routing_stack::Candidate DefaultOf(std::uint32_t instance) {
  routing_stack::Candidate candidate = CandidateOf(0, instance, NETWORKS);
  std::memset(candidate.destination, 0, sizeof candidate.destination);
  candidate.prefixLength = 0;
  return candidate;
}

/// False if the device did not come to rest, or the candidates did not come.
bool Fill(test_support::Device& device, std::uint32_t instance, Table table, unsigned int count) {
  device.Reload("{\"VLAN_CONFIGURATIONS\": {\"a\": {\"vid\": 20}}}", "vlans.json");
  bool isSettled = device.Settle(LIMIT_MS);
  sms_act_interface(4, 1, instance, INTERFACE, "eth", 0, 24, 0);
  isSettled = device.Settle(LIMIT_MS) && isSettled;
  device.Control().PutCandidate(DefaultOf(instance));
  for (unsigned int n = 0; n + 1 < count; ++n) {
    device.Control().PutCandidate(CandidateOf(n, instance, table));
  }
  for (unsigned int length = 1; table == NESTED && length <= 128; ++length) {
    device.Control().PutCandidate(LinkOf(length));
  }
  const std::size_t links = table == NESTED ? 128 : 0;
  return isSettled &&
         device.stack.GetFacts().CountRoutes(instance).candidates.back() == count + links;
}

bool Empty(test_support::Device& device, std::uint32_t instance) {
  sms_act_interface(6, 2, instance, INTERFACE, "eth", 0, 0, 0);
  device.Reload(bench::EmptyDocument(), "vlans.json");
  return device.Settle(LIMIT_MS);
}

void LongestMatch(benchmark::State& state) {
  const auto table = static_cast<Table>(state.range(0));
  const std::uint32_t instance = state.range(1) == 6 ? IP6 : VLAN;
  const auto count = static_cast<unsigned int>(state.range(2));
  test_support::Device& device = bench::TheDevice();
  const routing_stack::Facts& facts = device.stack.GetFacts();
  if (!Fill(device, instance, table, count)) {
    state.SkipWithError("the candidates were not placed");
  }
  std::mt19937 random(1);
  for (auto _ : state) {
    state.PauseTiming();
    Address address = {};
    if (table == NESTED) {
      std::memset(address, 0xFF, sizeof address);
    } else {
      std::memcpy(address, CandidateOf(random() % (count - 1), instance, table).destination, 16);
    }
    state.ResumeTiming();
    const auto prefix = facts.LongestMatch(instance, address, table == UNREACHABLE);
    const std::uint32_t expected = table != NETWORKS ? 0 : instance == IP6 ? 64 : 24;
    if (!prefix || prefix->length != expected) {
      state.SkipWithError("another prefix was found");
      break;
    }
  }
  if (!Empty(device, instance)) {
    state.SkipWithError("the candidates did not go");
  }
}

BENCHMARK(LongestMatch)
    ->ArgNames({"table", "ip", "candidates"})
    ->ArgsProduct({{NETWORKS, UNREACHABLE}, {4, 6}, {1000, 1000000}})
    ->Args({NESTED, 6, 1000000})
    ->Unit(benchmark::kMicrosecond);

}  // namespace
