// The soak: a network lives on one device for days of virtual time, and memory is looked at every hour.
//
//   soak [--vlans N] [--routes N] [--days N] [--seed N] [--leak BYTES]
//
// The first seventh of the time is the warm-up: the population comes, every kind of event happens, and
// the allocator finds its size. Every six hours all is restored as it was, and the stack must hold
// every route. tests/support/flatness.h says what counts as flat. --leak loses memory at each flap of a
// link, to see that the soak notices. Prints a line per sample; exit status 0: flat, 1: not, 2: could
// not be run.
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "bench/soak/network.h"
#include "tests/support/allocated_bytes.h"
#include "tests/support/flatness.h"

namespace {

constexpr std::uint64_t HOUR = 3600000;
constexpr unsigned int HOURS_TO_RESTORE = 6;

struct Options {
  unsigned int vlans = 4094;
  unsigned int routes = 50000;
  unsigned int days = 7;
  unsigned int seed = 1;
  unsigned int leak = 0;
};

bool Read(int argc, char** argv, Options& options) {
  const struct {
    const char* name;
    unsigned int& value;
    unsigned int least, most;
  } known[] = {{"--vlans", options.vlans, 2, 4094},
               {"--routes", options.routes, 1, 200 * 65536},
               {"--days", options.days, 1, 365},
               {"--seed", options.seed, 0, 0xFFFFFFFF},
               {"--leak", options.leak, 0, 1000000}};
  for (int i = 1; i < argc; i += 2) {
    bool taken = false;
    for (const auto& option : known) {
      if (std::strcmp(argv[i], option.name) != 0 || i + 1 == argc) continue;
      char* end = nullptr;
      const unsigned long long value = std::strtoull(argv[i + 1], &end, 10);
      taken = end != argv[i + 1] && *end == '\0' && argv[i + 1][0] != '-' &&
              value >= option.least && value <= option.most;
      option.value = static_cast<unsigned int>(value);
    }
    if (!taken) return false;
  }
  return true;
}

// The second number of the kernel's line, in pages.
std::size_t ResidentBytes() {
  std::FILE* file = std::fopen("/proc/self/statm", "r");
  unsigned long size = 0;
  unsigned long resident = 0;
  if (file == nullptr || std::fscanf(file, "%lu %lu", &size, &resident) != 2) {
    std::fprintf(stderr, "soak: the resident memory cannot be read\n");
    std::exit(2);
  }
  std::fclose(file);
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

double CpuSeconds() {
  timespec now;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

test_support::Sample Take(double hours, bool restored) {
  const test_support::Sample sample{hours, ResidentBytes(), test_support::AllocatedBytes(),
                                    test_support::AllocatedBlocks(), restored};
  std::printf("%6.0f h  resident %8zu kB  allocated %10zu B in %8zu blocks  cpu %7.1f s%s\n", hours,
              sample.resident / 1024, sample.allocated, sample.blocks, CpuSeconds(),
              restored ? "  restored" : "");
  std::fflush(stdout);
  return sample;
}

void Print(const char* what, std::uint64_t count) {
  std::printf("%-20s %llu\n", what, static_cast<unsigned long long>(count));
}

/// Whether every kind of event happened, the commands printed, and the refusals had their effect.
bool EverythingHappened(soak::Network& network) {
  bool all = true;
  for (int kind = 0; kind < soak::KINDS; ++kind) {
    const std::uint64_t count = network.Happened()[static_cast<std::size_t>(kind)];
    Print(soak::Network::NameOf(static_cast<soak::Kind>(kind)), count);
    all = all && count > 1;  // one of them was the rehearsal
  }
  Print("lines on consoles", network.LinesPrinted());
  Print("routes asked for", network.RoutesAsked());
  Print("route requests", network.RouteRequests());
  Print("routes refused", network.RoutesRefused());
  return all && network.LinesPrinted() != 0 && network.RouteRequests() > network.RoutesAsked() &&
         network.RoutesRefused() != 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!Read(argc, argv, options)) {
    std::fprintf(stderr,
                 "usage: soak [--vlans N] [--routes N] [--days N] [--seed N] [--leak BYTES]\n");
    return 2;
  }
  const unsigned int hours = 24 * options.days;
  const double warmUp = hours / 7.0;
  std::printf("%u VLANs, %u routes, %u days, seed %u\n", options.vlans, options.routes,
              options.days, options.seed);
  std::vector<test_support::Sample> samples;
  samples.reserve(hours + 2);  // before the first sample, so that it does not count as growth
  soak::Network network(options.vlans, options.routes, options.seed, options.leak);
  network.Rehearse();
  for (unsigned int hour = 1; hour <= hours; ++hour) {
    network.Run(HOUR);
    const bool restore = hour % HOURS_TO_RESTORE == 0;
    if (restore) {
      const std::string wrong = network.Restore();
      if (!wrong.empty()) {
        std::printf("FAILED after %u hours: %s\n", hour, wrong.c_str());
        return 1;
      }
    }
    samples.push_back(Take(hour, restore));
  }
  if (!EverythingHappened(network)) {
    std::printf("FAILED: something never happened\n");
    return 1;
  }
  const std::string grown = test_support::WhatGrows(samples, warmUp);
  std::printf("%s%s\n", grown.empty() ? "flat" : "FAILED: ", grown.c_str());
  return grown.empty() ? 0 : 1;
}
