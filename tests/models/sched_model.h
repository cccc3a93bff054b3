// The configuration scheduler as it is described, word by word: lists that are walked, nothing
// else.
#ifndef TESTS_MODELS_SCHED_MODEL_H
#define TESTS_MODELS_SCHED_MODEL_H

#include <list>
#include <map>
#include <string>
#include <vector>

#include "tests/models/random_run.h"
#include "vantacore/cfg_sched.h"

namespace test_models {

/// Has the operations of CfgSched, writes the messages that it would log into `log`, and counts
/// what makes them hard. For a stack that does not call back from inside.
class SchedModel {
 public:
  SchedModel(std::vector<std::string>& log, Occurrences& occurrences);
  SchedModel(const SchedModel&) = delete;
  SchedModel& operator=(const SchedModel&) = delete;
  ~SchedModel();

  void Insert(Tarsel::CfgKey key, Tarsel::CfgItem* item);
  void Update(Tarsel::CfgKey key, Tarsel::CfgItem* item, unsigned int status, bool retry);
  void Remove(Tarsel::CfgKey key, Tarsel::CfgItem* item, unsigned int status);
  void OnTimeout();
  void Reset();
  int RouteMapInFlight(Tarsel::CfgKey key, unsigned int a, unsigned int b);
  void Print(Tarsel::DcConsole* console);
  void PrintSummary(Tarsel::DcConsole* console);
  bool IsRunning() const { return m_running; }

  Tarsel::CfgKey GetResumeKey() const { return m_resume; }
  /// The items of a bucket in list order.
  std::vector<Tarsel::CfgItem*> ItemsOf(Tarsel::CfgKey key) const;

 private:
  typedef std::list<Tarsel::CfgItem*> List;
  struct Less {
    bool operator()(const Tarsel::CfgKey& a, const Tarsel::CfgKey& b) const {
      return a.instance < b.instance || (a.instance == b.instance && a.rowType < b.rowType);
    }
  };
  typedef std::map<Tarsel::CfgKey, List, Less> Buckets;

  static List::iterator FindFromBack(List& list, Tarsel::CfgItem* item);
  bool Replace(List& list, List::iterator old, Tarsel::CfgItem* item);
  bool WalkList(List& list, unsigned char& counter);
  void Trace(const std::string& message) { m_log.push_back("5:" + message); }

  std::vector<std::string>& m_log;
  Occurrences& m_count;
  Buckets m_buckets;
  Tarsel::CfgKey m_resume;
  bool m_running;
};

}  // namespace test_models

#endif
