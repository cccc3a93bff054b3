// Interfaces at the size of a large device: registered and confirmed by the stack, listed for one VLAN
// among all, and flapping under the routes that use them.
#include <benchmark/benchmark.h>

#include <string>

#include "bench/device.h"
#include "tests/support/recording_console.h"
#include "vantacore/cfg_items.h"
#include "vantacore/dc_interface_console_command.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/static_routes.h"

namespace {

using Tarsel::DcInterfaceMgr;
using Tarsel::Ip4Addr;

constexpr std::uint64_t LIMIT_MS = 100000000;
constexpr unsigned int BROADCAST_MULTICAST = 24;
const Ip4Addr MASK24(255, 255, 255, 0);

std::string NameOf(unsigned int index) { return "eth" + std::to_string(index); }

Tarsel::Ip6Addr Ip6Of(unsigned int vlan, unsigned int index) {
  unsigned char bytes[16] = {0x20, 0x01, 0x0d, 0xb8};
  bytes[4] = static_cast<unsigned char>(vlan >> 8);
  bytes[5] = static_cast<unsigned char>(vlan);
  bytes[7] = static_cast<unsigned char>(index);
  bytes[15] = 1;
  return Tarsel::Ip6Addr::FromBytes(bytes);
}

/// Two interfaces with an IPv4 and an IPv6 address each.
void AddInterfacesOf(unsigned short vlan) {
  DcInterfaceMgr* registry = DcInterfaceMgr::GetInstance();
  for (unsigned int index = 1; index <= 2; ++index) {
    registry->AddInterface(vlan, index, NameOf(index).c_str(), DcInterfaceMgr::INTF_TYPE_NONE,
                           BROADCAST_MULTICAST, 1500, 1);
    registry->AddIpAddress(vlan, index, Ip4Addr(10, vlan >> 8, vlan & 0xFF, 64 * index), MASK24);
    registry->AddIpAddress(vlan, index, Ip6Of(vlan, index), 64);
  }
}

void RemoveInterfacesOf(unsigned short vlan) {
  DcInterfaceMgr* registry = DcInterfaceMgr::GetInstance();
  for (unsigned int index = 1; index <= 2; ++index) {
    registry->DeleteIpAddress(vlan, index, Ip4Addr(10, vlan >> 8, vlan & 0xFF, 64 * index), MASK24);
    registry->DeleteIpAddress(vlan, index, Ip6Of(vlan, index), 64);
    registry->RemoveInterface(vlan, index, NameOf(index).c_str());
  }
}

void Settle(benchmark::State& state) {
  if (!bench::TheDevice().Settle(LIMIT_MS)) state.SkipWithError("the device does not settle");
}

void ForEachVlan(benchmark::State& state, void (*act)(unsigned short)) {
  for (unsigned int vlan = 1; vlan <= state.range(0); ++vlan) {
    act(static_cast<unsigned short>(vlan));
  }
}

void RegisterInterfaces(benchmark::State& state) {
  test_support::Device& device = bench::TheDevice();
  device.Reload(bench::VlanDocument(static_cast<unsigned int>(state.range(0))), "vlans.json");
  Settle(state);
  for (auto _ : state) {
    ForEachVlan(state, AddInterfacesOf);
    Settle(state);
    state.PauseTiming();
    ForEachVlan(state, RemoveInterfacesOf);
    Settle(state);
    state.ResumeTiming();
  }
  device.Reload(bench::EmptyDocument(), "vlans.json");
  Settle(state);
}

void ListInterfacesOfOneVlan(benchmark::State& state) {
  test_support::Device& device = bench::TheDevice();
  device.Reload(bench::VlanDocument(static_cast<unsigned int>(state.range(0))), "vlans.json");
  ForEachVlan(state, AddInterfacesOf);
  Settle(state);
  const auto vlan = static_cast<unsigned short>(state.range(0) / 2 + 1);
  for (auto _ : state) {
    const auto log = test_support::NewConsoleLog(vlan);
    auto* command =
        new Tarsel::DcInterfaceConsoleCommand(new test_support::RecordingConsole(log), vlan, false);
    command->Parse(0, nullptr);
    Settle(state);
    if (!log->destroyed || log->output.find("eth2") == std::string::npos) {
      state.SkipWithError("the table is not complete");
    }
  }
  ForEachVlan(state, RemoveInterfacesOf);
  device.Reload(bench::EmptyDocument(), "vlans.json");
  Settle(state);
}

/// `existing` routes by way of one interface, `changed` by way of the other, which goes down and up.
void FlapUnderRoutes(benchmark::State& state) {
  constexpr unsigned short VLAN = 10;
  test_support::Device& device = bench::TheDevice();
  device.Reload("{\"VLAN_CONFIGURATIONS\": {\"v\": {\"vid\": 10}}}", "vlans.json");
  DcInterfaceMgr* registry = DcInterfaceMgr::GetInstance();
  for (unsigned int index = 1; index <= 2; ++index) {
    registry->AddInterface(VLAN, index, NameOf(index).c_str(), DcInterfaceMgr::INTF_TYPE_NONE,
                           BROADCAST_MULTICAST, 1500, 1);
    registry->AddIpAddress(VLAN, index, Ip4Addr(10, index, 0, 1), MASK24);
  }
  const auto routes = static_cast<unsigned int>(state.range(0) + state.range(1));
  const auto forEachRoute = [&](auto act) {
    for (unsigned int n = 0; n < routes; ++n) {
      const unsigned int index = n < state.range(0) ? 1 : 2;
      act(Ip4Addr(20 + (n >> 16), (n >> 8) & 0xFF, n & 0xFF, 0), Ip4Addr(10, index, 0, 2), index);
    }
  };
  forEachRoute([](const Ip4Addr& destination, const Ip4Addr& gateway, unsigned int index) {
    Tarsel::AddRoute(VLAN, destination, MASK24, gateway, index, 1, Tarsel::PATH_TYPE_STATIC, 1);
  });
  Settle(state);
  if (device.Control().Routes().size() != routes + 2) state.SkipWithError("routes are missing");
  for (auto _ : state) {
    registry->SetInterfaceDown(VLAN, 2, "eth2");
    Settle(state);
    registry->SetInterfaceUp(VLAN, 2, "eth2");
    Settle(state);
  }
  if (device.Control().Routes().size() != routes + 2) state.SkipWithError("routes were lost");
  forEachRoute([](const Ip4Addr& destination, const Ip4Addr& gateway, unsigned int index) {
    Tarsel::RemoveRoute(VLAN, destination, MASK24, gateway, index);
  });
  Settle(state);
  for (unsigned int index = 1; index <= 2; ++index) {
    registry->DeleteIpAddress(VLAN, index, Ip4Addr(10, index, 0, 1), MASK24);
    registry->RemoveInterface(VLAN, index, NameOf(index).c_str());
  }
  device.Reload(bench::EmptyDocument(), "vlans.json");
  Settle(state);
}

BENCHMARK(RegisterInterfaces)->ArgName("vlans")->Arg(100)->Arg(4094)->Unit(benchmark::kMillisecond);
BENCHMARK(ListInterfacesOfOneVlan)
    ->ArgName("vlans")
    ->Arg(100)
    ->Arg(4094)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(FlapUnderRoutes)
    ->ArgNames({"existing", "changed"})
    ->Args({0, 100})
    ->Args({10000, 100})
    ->Args({0, 10000})
    ->Unit(benchmark::kMicrosecond);

}  // namespace
