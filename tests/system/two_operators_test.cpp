// Two operators reload, confirm, undo, edit the folder and kill the daemon. A plain model of what is
// in force goes along, and the daemon agrees with it after each step.
#include <gmock/gmock.h>

#include <csignal>
#include <map>
#include <optional>
#include <string>

#include "signs.h"
#include "tests/models/random_run.h"
#include "transactions_fixture.h"

namespace {

using system_test::Await;
using system_test::Result;
using testing::HasSubstr;

/// A content is the number of its routes; 0 stands for a folder with an error.
struct Model {
  int folder = 1;
  std::map<int, int> revisions;  // the content of each by its number
  int inForce = 0;
  std::optional<int> back;  // of the open reload
  std::optional<int> undone;
  std::optional<int> applied;  // what the folder said when it was applied by this daemon

  int Content() const { return revisions.at(inForce); }
  void Make(int content) {
    inForce = revisions.empty() ? 1 : revisions.rbegin()->first + 1;
    revisions[inForce] = content;
  }
  void TakeFolder() {
    undone.reset();
    applied = folder;
    if (revisions.empty() || Content() != folder) {
      Make(folder);
    }
  }
  void GoBack(int content, int ofFolder) {
    const int says = undone.value_or(ofFolder);
    if (undone == content) {
      applied = content;
    }
    undone = says == content ? std::nullopt : std::optional(says);
  }

  bool Reload(bool isBySignal) {
    if (back || folder == 0 || (isBySignal && undone == folder)) {
      return false;
    }
    TakeFolder();
    return true;
  }
  bool ReloadConfirm() {
    const int before = inForce;
    if (!Reload(false)) {
      return false;
    }
    if (inForce != before) {
      back = before;
    }
    return true;
  }
  bool Confirm(int revision) {
    if (!back || revision != inForce) {
      return false;
    }
    back.reset();
    return true;
  }
  bool Undo(int steps) {
    const auto to = revisions.find(back ? *back : inForce - steps);
    if (to == revisions.end()) {
      return false;
    }
    const int content = to->second;
    if (back || content != Content()) {
      GoBack(content, applied ? *applied : Content());
      Make(content);
    }
    back.reset();
    return true;
  }
  void Start() {
    applied.reset();
    if (back) {
      const int content = revisions.at(*back);
      GoBack(content, Content());
      back.reset();
      Make(content);
    } else if (folder != 0 && undone != folder) {
      TakeFolder();
    }
  }
};

class TwoOperators : public system_test::Transactions {
 protected:
  void RunSequence(unsigned int steps) {
    m_model = {};
    m_model.folder = Draw();
    WriteFolder();
    StartDaemon();
    m_model.Start();
    for (unsigned int i = 0; i < steps && !HasFailure(); ++i) {
      Step();
      ExpectAgreement();
    }
    EndDaemon(SIGTERM);
  }

  int Draw() { return 1 + static_cast<int>(m_random.Below(5)); }
  void WriteFolder() const {
    if (m_model.folder == 0) {
      Spoil();
    } else {
      WriteRoutes(m_model.folder);
    }
  }
  // Either of them: the daemon does not know them apart.
  void Say(const std::string& what, const system_test::Arguments& words, bool isDone) {
    m_text += what + (isDone ? " (done)\n" : " (refused)\n");
    EXPECT_EQ(Ask(words).status, isDone ? 0 : 1) << m_text;
    m_occurrences(what + (isDone ? " done" : " refused"));
  }

  void Step() {
    const unsigned int kind = m_random.Below(100);
    if (kind < 20) {
      m_model.folder = m_random.Percent(15) ? 0 : Draw();
      WriteFolder();
      m_text += "edit: " + std::to_string(m_model.folder) + "\n";
    } else if (kind < 30) {
      Say("reload", {"reload"}, m_model.Reload(false));
    } else if (kind < 47) {
      Say("reload confirm", {"reload", "confirm", "600"}, m_model.ReloadConfirm());
    } else if (kind < 65) {
      const int revision = m_model.inForce - (m_random.Percent(20) ? 1 : 0);
      if (revision > 0) {
        Say("confirm", {"confirm", std::to_string(revision)}, m_model.Confirm(revision));
      }
    } else if (kind < 82) {
      const int steps = 1 + static_cast<int>(m_random.Below(4));
      Say("undo", {"undo", std::to_string(steps)}, m_model.Undo(steps));
    } else if (kind < 86) {
      Signal();
    } else {
      const bool isKill = m_random.Percent(70);
      m_text += isKill ? "kill\n" : "stop\n";
      m_occurrences(isKill ? "kill" : "stop");
      if (m_model.back) {
        m_occurrences("end while one is open");
      }
      Restart(isKill ? SIGKILL : SIGTERM);
      m_model.Start();
    }
  }

  // What it does shows in the log only.
  void Signal() {
    const bool isSpoiled = m_model.folder == 0 && !m_model.back;
    const bool isDone = m_model.Reload(true);
    m_text += isDone ? "SIGHUP (done)\n" : "SIGHUP (refused)\n";
    m_occurrences(isDone ? "SIGHUP done" : "SIGHUP refused");
    daemon->Kill(SIGHUP);
    // With a revision or without.
    daemon->ReadErrorsUntil(isDone      ? "eload by SIGHUP: "
                            : isSpoiled ? "not JSON"
                                        : "Refused to SIGHUP: ");
    if (isDone) {  // nobody else waits for its effect
      Await("what SIGHUP applies", [this] { return CountRoutes() == m_model.Content(); });
    }
  }

  void ExpectAgreement() {
    const Result history = Ask({"history"});
    const std::string number = std::to_string(m_model.inForce);
    EXPECT_THAT(history.output,
                HasSubstr("*" + std::string(6 - number.size(), ' ') + number + "  "))
        << m_text;
    EXPECT_EQ(history.output.find("waits for its confirmation") != std::string::npos,
              m_model.back.has_value())
        << m_text;
    EXPECT_EQ(history.output.find("The folder differs") != std::string::npos,
              m_model.undone.has_value() && m_model.folder != m_model.Content())
        << m_text << history.output;
    EXPECT_EQ(CountRoutes(), m_model.Content()) << m_text << history.output;
  }

  Model m_model;
  test_models::Random m_random;
  test_models::Occurrences m_occurrences;
  std::string m_text;
};

TEST_F(TwoOperators, AgreeWithAPlainModelOfWhatIsInForce) {
  constexpr unsigned int STEPS = 40;
  RunSequence(STEPS * test_models::Scaled(8));
  for (const char* what : {"reload done", "reload confirm done", "undo done", "reload refused",
                           "SIGHUP done", "kill"}) {
    m_occurrences.ExpectAtLeast(1, what);
  }
}

}  // namespace
