// What a reader complained about.
#ifndef TESTS_SUPPORT_REPORTED_LINES_H
#define TESTS_SUPPORT_REPORTED_LINES_H

#include <string>
#include <vector>

#include "device/program/report.h"

namespace test_support {

/// Keeps the complaints in their order; must outlive the reader that has the report.
struct ReportedLines {
  std::vector<std::string> lines;
  program::Report report = [this](const std::string& line) { lines.push_back(line); };
};

}  // namespace test_support

#endif
