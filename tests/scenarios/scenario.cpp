#include "tests/scenarios/scenario.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "device/stack/facts.h"
#include "tests/scenarios/events.h"
#include "tests/scenarios/readers.h"
#include "tests/support/device_fixture.h"

namespace scenarios {
namespace {

namespace fs = std::filesystem;

std::string ReadFile(const fs::path& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot read " + path.string());
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

void ReadAbout(const fs::path& path, Scenario& scenario) {
  std::istringstream lines(ReadFile(path));
  bool hasBudget = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("budget: ", 0) == 0) {
      scenario.budget = std::stoul(line.substr(8));
      hasBudget = true;
    }
    scenario.allMessages = scenario.allMessages || line == "messages: all";
  }
  if (!hasBudget) throw std::runtime_error(path.string() + ": there is no line \"budget: N\"");
}

bool IsStep(const std::string& file) {
  return file.size() > 3 && std::isdigit(static_cast<unsigned char>(file[0])) &&
         std::isdigit(static_cast<unsigned char>(file[1])) && file[2] == '-';
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// The stack's runs have their own messages, which say nothing about a document.
bool IsAboutRuns(const std::string& line) {
  return line.find("Rescheduling ") != std::string::npos ||
         line.find("Scheduling Timer ") != std::string::npos ||
         line.find("Scheduler Timer ") != std::string::npos;
}

/// What an operator sees by default are messages up to level 1 and those without a level.
void WriteMessages(std::ostream& out, const std::vector<std::string>& lines, bool all) {
  for (const std::string& line : lines) {
    if (!all && (line.rfind("10:", 0) == 0 || line.rfind("5:", 0) == 0)) continue;
    if (IsAboutRuns(line)) continue;
    out << "message " << line;
  }
}

}  // namespace

std::vector<fs::path> Folders() {
  std::vector<fs::path> folders;
  for (const fs::directory_entry& entry : fs::directory_iterator("tests/scenarios")) {
    if (entry.is_directory()) folders.push_back(entry.path());
  }
  std::sort(folders.begin(), folders.end());
  return folders;
}

std::string NameOf(const testing::TestParamInfo<fs::path>& folder) {
  std::string name = folder.param.filename().string();
  for (char& c : name) {
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  }
  return name;
}

Scenario Load(const fs::path& folder) {
  Scenario scenario;
  scenario.folder = folder;
  ReadAbout(folder / "about.txt", scenario);
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    const std::string file = entry.path().filename().string();
    if (IsStep(file)) {
      scenario.steps.push_back({file, file.substr(3), ReadFile(entry.path())});
    } else if (file != "about.txt" && file != "expected.txt") {
      throw std::runtime_error(entry.path().string() + ": neither a step nor a known file");
    }
  }
  if (scenario.steps.empty()) throw std::runtime_error(folder.string() + ": no steps");
  std::sort(scenario.steps.begin(), scenario.steps.end(),
            [](const Step& a, const Step& b) { return a.file < b.file; });
  if (fs::exists(folder / "expected.txt")) scenario.expected = ReadFile(folder / "expected.txt");
  return scenario;
}

bool IsDocument(const Step& step) { return EndsWith(step.name, ".json"); }

Tarsel::DclConfigObject::OptionType TypeOf(const std::string& name) {
  if (name.rfind("remote", 0) == 0) return Tarsel::DclConfigObject::REMOTE_OPTIONS;
  if (name.rfind("other", 0) == 0) return static_cast<Tarsel::DclConfigObject::OptionType>(7);
  return Tarsel::DclConfigObject::VLAN_OPTIONS;
}

void ApplyStep(test_support::Device& device, const Step& step, std::ostream& out) {
  if (IsDocument(step)) {
    if (!ReadDocument(device, step.name, step.text, out)) {
      device.Reload(step.text, step.name, TypeOf(step.name));
    }
    return;
  }
  std::istringstream lines(step.text);
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty() && line[0] != '#') ApplyEvent(device, line);
  }
}

std::string Play(const Scenario& scenario, unsigned long& requests) {
  std::ostringstream out;
  test_support::TraceCapture traces;
  test_support::Device device;
  device.RecordCalls();
  device.Start();
  if (!device.Settle()) throw std::runtime_error("the device does not start");
  device.TakeCalls();
  traces.Take();
  for (const Step& step : scenario.steps) {
    out << "=== " << step.file << "\n";
    ApplyStep(device, step, out);
    const bool settled = device.Settle();
    for (const std::string& call : device.TakeCalls()) out << "call " << call << "\n";
    WriteMessages(out, traces.Take(), scenario.allMessages);
    for (const std::string& report : traces.TakeAssertions()) out << "assertion " << report << "\n";
    if (!settled) out << "not settled\n";
    out << "--- tables\n" << device.Dump();
  }
  requests = static_cast<unsigned long>(device.stack.GetFacts().CountRequests());
  return out.str();
}

}  // namespace scenarios
