// What a reader complained about.
#ifndef TESTS_UNIT_HOST_REPORTED_LINES_H
#define TESTS_UNIT_HOST_REPORTED_LINES_H

#include <json/reader.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "device/program/report.h"

struct ReportedLines {
  std::vector<std::string> lines;
  program::Report report = [this](const std::string& line) { lines.push_back(line); };
};

/// A test's own JSON; ends the process when it is none.
inline Json::Value ParsedJson(const std::string& text) {
  Json::Value value;
  std::string errors;
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors)) {
    std::abort();
  }
  return value;
}

#endif
