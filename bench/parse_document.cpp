// The yardstick of checking a document: what jsoncpp's strict reader takes for the same file.
//
//   bench_parse_document FILE            prints the processor time of parsing and freeing, in seconds
//   bench_parse_document --vlans N FILE  writes a document of N VLANs, about 820 bytes each
#include <json/reader.h>
#include <json/value.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/json_text.h"
#include "tests/support/vlan_document.h"

namespace {

double ProcessorSeconds() {
  timespec used{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) + 1e-9 * static_cast<double>(used.tv_nsec);
}

int Write(unsigned int vlans, const char* path) {
  std::ofstream file(path);
  file << test_support::VlanDocument(vlans);
  file.close();
  return file ? 0 : 1;
}

int Parse(const char* path) {
  std::ifstream file(path);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  Json::CharReaderBuilder strict;
  Json::CharReaderBuilder::strictMode(&strict.settings_);
  std::string problem;
  const double begin = ProcessorSeconds();
  bool isRead = false;
  {
    Json::Value value;
    isRead = test_support::ReadJson(strict, text, value, problem);
  }
  const double end = ProcessorSeconds();
  if (!isRead) {
    std::fprintf(stderr, "%s: %s\n", path, problem.c_str());
    return 1;
  }
  std::printf("%.6f\n", end - begin);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], "--vlans") == 0) {
    return Write(static_cast<unsigned int>(std::atoi(argv[2])), argv[3]);
  }
  if (argc == 2) {
    return Parse(argv[1]);
  }
  std::fprintf(stderr, "usage: bench_parse_document FILE, or --vlans N FILE\n");
  return 2;
}
