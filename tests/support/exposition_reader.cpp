#include "tests/support/exposition_reader.h"

#include <cstdlib>
#include <regex>
#include <sstream>

namespace test_support {

namespace {

const std::regex HELP(R"(# HELP ([a-zA-Z_:][a-zA-Z0-9_:]*) (\S.*))");
const std::regex TYPE(R"(# TYPE ([a-zA-Z_:][a-zA-Z0-9_:]*) (counter|gauge))");
const std::regex SAMPLE(
    R"(([a-zA-Z_:][a-zA-Z0-9_:]*)(\{[a-zA-Z_][a-zA-Z0-9_]*="[^"\\\n]*"(,[a-zA-Z_][a-zA-Z0-9_]*="[^"\\\n]*")*\})? ([0-9]+(\.[0-9]+)?))");

bool IsNameOfCounter(const std::string& name) {
  const std::string end = "_total";
  return name.size() > end.size() && name.compare(name.size() - end.size(), end.size(), end) == 0;
}

class Reader {
 public:
  void Take(const std::string& line) {
    std::smatch parts;
    if (std::regex_match(line, parts, HELP)) {
      Expect(m_hasSample, "a family without samples before", line);
      Expect(result.types.count(parts[1]) == 0, "the second family of its name", line);
      m_name = parts[1];
      m_hasType = m_hasSample = false;
    } else if (std::regex_match(line, parts, TYPE)) {
      Expect(parts[1] == m_name && !m_hasType, "a type in a wrong place", line);
      Expect(IsNameOfCounter(m_name) == (parts[2] == "counter"), "a name of another type", line);
      result.types[m_name] = parts[2];
      m_hasType = true;
    } else if (std::regex_match(line, parts, SAMPLE)) {
      Expect(parts[1] == m_name && m_hasType, "a sample in a wrong place", line);
      const double value = std::strtod(parts[4].str().c_str(), nullptr);
      Expect(result.samples.emplace(parts[1].str() + parts[2].str(), value).second,
             "the second sample of its labels", line);
      m_hasSample = true;
    } else {
      Expect(false, "not a line of the format", line);
    }
  }
  void End() { Expect(m_hasSample && !result.types.empty(), "no samples at the end", ""); }

  void Expect(bool isRight, const std::string& problem, const std::string& line) {
    if (!isRight && result.problem.empty()) {
      result.problem = problem + ": " + line;
    }
  }

  ReadExposition result;

 private:
  std::string m_name;
  bool m_hasType = false;
  bool m_hasSample = true;  // of the family before, which the first one does not have
};

}  // namespace

ReadExposition ReadMetrics(const std::string& text) {
  Reader reader;
  reader.Expect(!text.empty() && text.back() == '\n', "no end of the last line", "");
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    reader.Take(line);
  }
  reader.End();
  return reader.result;
}

}  // namespace test_support
