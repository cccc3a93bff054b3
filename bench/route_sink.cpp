// What writing routes into the kernel costs by itself: the sink alone, without a stack in front of it.
//
//   bench_route_sink ROUTES GATEWAY IFINDEX
//
// Writes routes of 24 bits from 100.0.0.0 on into the main table of the network namespace that it is
// started in, and leaves them there. Prints as one JSON object: processor time of the process until
// each of them stands ("write"), of a comparison that finds them all ("compare"), in seconds, the
// longest turn of the loop in each of the two, and by how much the process has grown, in bytes.
// Started a second time it finds all routes of the first run: "write" is then what learning costs.
#include <arpa/inet.h>
#include <unistd.h>
#include <uv.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <string>

#include "device/kernel/netlink_socket.h"
#include "device/kernel/route_sink.h"
#include "device/loop/loop.h"
#include "device/views/host.h"

namespace {

constexpr std::uint64_t LONGEST = 60000;  // milliseconds

double ProcessorSeconds(clockid_t clock = CLOCK_PROCESS_CPUTIME_ID) {
  timespec used{};
  clock_gettime(clock, &used);
  return static_cast<double>(used.tv_sec) + 1e-9 * static_cast<double>(used.tv_nsec);
}

std::uint64_t Now() { return uv_hrtime() / 1000000; }

kernel::RouteKey KeyOf(unsigned int number) {
  kernel::RouteKey key;
  key.length = 24;
  key.destination[0] = static_cast<unsigned char>(100 + (number >> 16));
  key.destination[1] = static_cast<unsigned char>(number >> 8);
  key.destination[2] = static_cast<unsigned char>(number);
  return key;
}

struct Spent {
  double seconds = 0;
  double longestTurn = 0;
};

// Until `isOver`, as the daemon's loop does.
template <typename IsOver>
Spent RunUntil(uv_loop_t* loop, const IsOver& isOver) {
  Spent spent;
  const std::uint64_t end = Now() + LONGEST;
  const double begin = ProcessorSeconds();
  while (!isOver()) {
    if (Now() > end) {
      std::fprintf(stderr, "bench_route_sink: it takes longer than a minute\n");
      std::exit(EXIT_FAILURE);
    }
    const double turn = ProcessorSeconds(CLOCK_THREAD_CPUTIME_ID);
    uv_run(loop, UV_RUN_ONCE);
    spent.longestTurn =
        std::max(spent.longestTurn, ProcessorSeconds(CLOCK_THREAD_CPUTIME_ID) - turn);
  }
  spent.seconds = ProcessorSeconds() - begin;
  return spent;
}

int Measure(unsigned int routes, const kernel::NextHop& nextHop) {
  loop::Loop loop;
  kernel::RouteSink sink(loop.Get(), Now, kernel::OpenNetlinkSocket, [](const std::string& line) {
    std::fprintf(stderr, "%s\n", line.c_str());
  });
  const auto isSettled = [&sink] { return sink.IsSettled(); };
  RunUntil(loop.Get(), isSettled);
  const std::uint64_t before = views::FindResidentBytes();
  const double begin = ProcessorSeconds();
  for (unsigned int i = 0; i < routes; ++i) {
    sink.Want(KeyOf(i), nextHop);
  }
  const double wanted = ProcessorSeconds() - begin;
  Spent write = RunUntil(loop.Get(), isSettled);
  write.seconds += wanted;
  const std::uint64_t after = views::FindResidentBytes();
  bool isCompared = false;
  sink.Compare([&](const kernel::RouteSink::Result& result) {
    isCompared = result.isComplete && result.comparison.missing == 0;
  });
  const Spent compare = RunUntil(loop.Get(), [&] { return isCompared; });
  if (sink.GetLedger().CountStanding() != routes) {
    std::fprintf(stderr, "bench_route_sink: %zu of %u routes stand\n",
                 sink.GetLedger().CountStanding(), routes);
    return EXIT_FAILURE;
  }
  std::printf(
      "{\"write\": %.6f, \"write turn\": %.6f, \"compare\": %.6f, \"compare turn\": %.6f, "
      "\"memory\": %lld}\n",
      write.seconds, write.longestTurn, compare.seconds, compare.longestTurn,
      static_cast<long long>(after) - static_cast<long long>(before));
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  kernel::NextHop nextHop;
  const unsigned long routes = argc == 4 ? std::strtoul(argv[1], nullptr, 10) : 0;
  nextHop.ifIndex = argc == 4 ? static_cast<std::uint32_t>(std::atoi(argv[3])) : 0;
  if (routes == 0 || routes > 1u << 22 || nextHop.ifIndex == 0 ||
      inet_pton(AF_INET, argv[2], nextHop.gateway.data()) != 1) {
    std::fprintf(stderr, "Usage: bench_route_sink ROUTES GATEWAY IFINDEX\n");
    return 2;
  }
  try {
    return Measure(static_cast<unsigned int>(routes), nextHop);
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "bench_route_sink: %s\n", problem.what());
    return EXIT_FAILURE;
  }
}
