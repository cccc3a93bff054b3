// Reads counters in Prometheus' text format, and puts up with nothing that is wrong.
#ifndef TESTS_SUPPORT_EXPOSITION_READER_H
#define TESTS_SUPPORT_EXPOSITION_READER_H

#include <map>
#include <string>

namespace test_support {

struct ReadExposition {
  std::map<std::string, std::string> types;  // of each family
  std::map<std::string, double> samples;     // by name and labels: `a_total{b="c"}`
  std::string problem;                       // the first one; empty if there is none
};

/// Stricter than a scraper: each family has a help, then a type, then samples without a time; the
/// name of a counter, and of nothing else, ends with _total.
ReadExposition ReadMetrics(const std::string& text);

}  // namespace test_support

#endif
