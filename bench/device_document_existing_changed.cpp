// The device's own document at sizes that nobody would write by hand: what one address or interface
// costs among many.
#include <benchmark/benchmark.h>
#include <json/value.h>
#include <json/writer.h>

#include <cstdio>
#include <memory>
#include <string>

#include "device/documents/device_document.h"
#include "device/keepers/interfaces.h"

namespace {

std::string AddressOf(unsigned int number) {
  char text[32];
  std::snprintf(text, sizeof text, "2001:db8::%x:%x/64", number >> 16, number & 0xFFFF);
  return text;
}

void PerItem(benchmark::State& state, const char* name) {
  state.counters[name] = benchmark::Counter(
      static_cast<double>(state.range(0)),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void DeviceAddressesRead(benchmark::State& state) {
  Json::Value document;
  document["default_vlan"] = 10;
  Json::Value& interface = document["interfaces"][0];
  interface["name"] = "eth0";
  interface["vlan"] = 10;
  interface["index"] = 3;
  for (unsigned int i = 0; i < state.range(0); ++i) {
    interface["ipv6"].append(AddressOf(i));
  }
  const std::string text = Json::writeString(Json::StreamWriterBuilder(), document);
  for (auto _ : state) {
    documents::DeviceFile file;
    if (!documents::ReadDeviceDocument(text, "device.json", file) || file.findings.HasErrors()) {
      state.SkipWithError("the document is not taken");
    }
    benchmark::DoNotOptimize(file);
  }
  PerItem(state, "per_address");
}

void DeviceAddressesCompared(benchmark::State& state) {
  documents::Device document;
  documents::Interface& interface = document.interfaces[{10, 3}];
  interface.name = "eth0";
  for (unsigned int i = 0; i < state.range(0); ++i) {
    documents::ReadPrefix(AddressOf(i), interface.ip6.emplace_back());
  }
  const auto device = std::make_shared<keepers::Interfaces>();
  device->Apply(document, {});
  for (auto _ : state) {
    device->Apply(document, {});
  }
  device->Apply({}, {});
  PerItem(state, "per_address");
}

void DeviceInterfacesFound(benchmark::State& state) {
  documents::Device document;
  const auto nameOf = [](unsigned int index) { return "eth" + std::to_string(index); };
  for (unsigned int index = 1; index <= state.range(0); ++index) {
    document.interfaces[{10, index}].name = nameOf(index);
  }
  const auto device = std::make_shared<keepers::Interfaces>();
  device->Apply(document, {});
  for (auto _ : state) {
    for (unsigned int index = 1; index <= state.range(0); ++index) {
      if (device->IndexOf(10, nameOf(index)) != index) {
        state.SkipWithError("an interface is not found");
      }
    }
  }
  device->Apply({}, {});
  PerItem(state, "per_interface");
}

BENCHMARK(DeviceAddressesRead)->ArgName("addresses")->Arg(1000)->Arg(100000);
BENCHMARK(DeviceAddressesCompared)->ArgName("addresses")->Arg(1000)->Arg(100000);
BENCHMARK(DeviceInterfacesFound)->ArgName("interfaces")->Arg(1000)->Arg(10000);

}  // namespace
