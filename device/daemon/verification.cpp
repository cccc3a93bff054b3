#include "verification.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace vantacored {

namespace {

void Add(const std::vector<rows::Verdict>& more, std::vector<rows::Verdict>& all) {
  all.insert(all.end(), more.begin(), more.end());
}

}  // namespace

void Verification::Verify(rows::Scope scope, std::size_t mostLines, Done done) {
  switch (scope) {
    case rows::Scope::ALL:
      VerifyAll(mostLines, std::move(done));
      break;
    case rows::Scope::STACK:
      m_sources.reloader.Verify(mostLines, std::move(done));
      break;
    case rows::Scope::KERNEL:
      VerifyKernel(mostLines, done);
      break;
  }
}

// What links have become the stack has to be told, and what the stack does not have the kernel
// cannot; so each of these is looked at right after the one before it. The documents come first,
// since they take a while: what a link's change leads to would be over by then, except in the
// kernel.
void Verification::VerifyAll(std::size_t mostLines, Done done) {
  const auto all = std::make_shared<Verdicts>();
  CheckDocuments([=](const Verdicts& documents) {
    Add(documents, *all);
    m_kernel.VerifyLinks([=](const std::optional<rows::Verdict>& links) {
      m_sources.reloader.Verify(mostLines, [=](const Verdicts& stack) {
        Add(stack, *all);
        if (links) {
          all->push_back(*links);
        }
        m_kernel.VerifyRoutes(mostLines, [=](const Verdicts& kernel) {
          Add(kernel, *all);
          m_requests.Verify(mostLines, [=](const rows::Verdict& requests) {
            all->push_back(requests);
            done(*all);
          });
        });
      });
    });
  });
}

void Verification::VerifyKernel(std::size_t mostLines, const Done& done) {
  m_kernel.VerifyLinks([=](const std::optional<rows::Verdict>& links) {
    m_kernel.VerifyRoutes(mostLines, [=](const Verdicts& kernel) {
      Verdicts all;
      if (links) {
        all.push_back(*links);
      }
      Add(kernel, all);
      if (all.empty()) {
        rows::Verdict none;
        none.kind = "kernel";
        none.note = "nothing of it is taken, and nothing is written";
        all.push_back(none);
      }
      done(all);
    });
  });
}

void Verification::CheckDocuments(Done done) {
  const auto verdicts = std::make_shared<Verdicts>();
  const auto work = m_checks.emplace(m_checks.end(), m_loop);
  work->Start(
      [verdicts, check = m_sources.reloader.MakeSelfCheck()] { *verdicts = check(); },
      [this, work, verdicts, done = std::move(done)](const std::optional<std::string>& problem) {
        if (problem) {
          rows::Verdict failed;
          failed.kind = "folder";
          failed.note = "not read";
          failed.fails = 1;
          failed.lines = {"folder: it cannot be read: " + *problem};
          *verdicts = {failed};
        }
        const auto tell = done;
        m_checks.erase(work);
        tell(*verdicts);
      });
}

}  // namespace vantacored
