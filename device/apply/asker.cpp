#include "asker.h"

#include <exception>
#include <new>
#include <set>
#include <utility>

namespace apply {

namespace {

// Somebody who has gone must not keep the others, and the device, from going on.
template <class Call>
void Calmly(Call call) {
  try {
    call();
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception&) {
  }
}

}  // namespace

void Askers::Add(Askers others) {
  for (Asker& asker : others.m_askers) {
    m_askers.push_back(std::move(asker));
  }
}

void Askers::Tell(const std::string& line) const {
  for (const Asker& asker : m_askers) {
    if (asker.report) {
      Calmly([&] { asker.report(line); });
    }
  }
}

void Askers::End(const SharedOutcome& outcome) {
  for (Asker& asker : m_askers) {
    if (const auto take = std::exchange(asker.take, nullptr)) {
      Calmly([&] { take(outcome); });
    }
    if (const auto end = std::exchange(asker.end, nullptr)) {
      Calmly([&] { end(outcome->hasPassed); });
    }
  }
}

std::vector<program::Report> Askers::GetReports() const {
  std::vector<program::Report> reports;
  for (const Asker& asker : m_askers) {
    if (asker.report) {
      reports.push_back(asker.report);
    }
  }
  return reports;
}

std::string Askers::GetNames() const {
  std::string names;
  std::set<std::string> told;
  for (const Asker& asker : m_askers) {
    if (!asker.name.empty() && told.insert(asker.name).second) {
      names += (names.empty() ? "" : ", ") + asker.name;
    }
  }
  return names;
}

}  // namespace apply
