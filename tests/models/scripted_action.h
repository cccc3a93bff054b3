// A row request that writes down what happens to it.
#ifndef TESTS_MODELS_SCRIPTED_ACTION_H
#define TESTS_MODELS_SCRIPTED_ACTION_H

#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "vantacore/mib_action.h"

namespace test_models {

class ScriptedAction;

/// What happened to the actions of one serializer, and the actions that still live: those that are
/// never issued stay behind, and the test ends them.
struct ActionLog {
  ActionLog() = default;
  ActionLog(const ActionLog&) = delete;
  ActionLog& operator=(const ActionLog&) = delete;
  ~ActionLog();

  std::vector<std::string> Take() { return std::exchange(lines, {}); }

  std::vector<std::string> lines;
  std::set<ScriptedAction*> alive;
};

/// Writes "issue NAME shared" or "issue NAME" when it is issued, and "end NAME" when it is deleted.
class ScriptedAction : public Tarsel::MibAction {
 public:
  /// `onIssue` runs inside IssueReq, behind the line.
  ScriptedAction(ActionLog& log, std::string name, std::function<void()> onIssue = {})
      : m_log(log), m_name(std::move(name)), m_onIssue(std::move(onIssue)) {
    m_log.alive.insert(this);
  }
  ~ScriptedAction() override {
    m_log.lines.push_back("end " + m_name);
    m_log.alive.erase(this);
  }
  void IssueReq(bool shared) override {
    m_log.lines.push_back("issue " + m_name + (shared ? " shared" : ""));
    if (m_onIssue) {
      m_onIssue();
    }
  }

 private:
  ActionLog& m_log;
  std::string m_name;
  std::function<void()> m_onIssue;
};

inline ActionLog::~ActionLog() {
  while (!alive.empty()) {
    delete *alive.begin();
  }
}

}  // namespace test_models

#endif
