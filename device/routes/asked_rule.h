// Requests of redistribution rules, and what is heard of them.
#ifndef DEVICE_ROUTES_ASKED_RULE_H
#define DEVICE_ROUTES_ASKED_RULE_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "asked_item.h"
#include "vantacore/cfg_items.h"

namespace routes {

class AskedRule;

/// The last request for a row: it is under way, or it has come to nothing.
struct RuleRequest {
  rows::RuleRow row;
  bool isWithdrawal = false;
  bool isRepeat = false;         // of a request that has come to nothing
  bool isRetried = false;        // an answer asked for another try
  bool isGivenUp = false;        // it has come to nothing; the item stays in the scheduler
  unsigned int status = 0;       // of the last answer if that was not a success
  std::uint64_t since = 0;       // by the port's clock
  AskedRule* item = nullptr;     // null once the scheduler has deleted it
  std::optional<ItemNews> news;  // since it was looked at
};

/// The item of a request: the same as the library makes, with one exception. A withdrawal depends
/// on the instance only. So a rule can be withdrawn whose protocol has been disabled.
class AskedRule : public AskedItem<Tarsel::RouteRedistributeItem, RuleRequest> {
 public:
  AskedRule(ItemListener<RuleRequest>& listener, RuleRequest& request, const rows::StackPort& port);

  bool CfgItemReady() override;
  bool RemoveOnNotReady() const override;

 private:
  const bool m_isWithdrawal;
};

/// The requests, at most one for each row.
class RuleRequests : private ItemListener<RuleRequest> {
 public:
  /// `wake` is called when something has been heard, from inside the stack's or the library's run.
  /// The port is borrowed.
  RuleRequests(const rows::StackPort& port, std::function<void()> wake);
  RuleRequests(const RuleRequests&) = delete;
  RuleRequests& operator=(const RuleRequests&) = delete;
  /// Ends all.
  ~RuleRequests();

  /// Null for a row without a request.
  const RuleRequest* Find(const rows::RuleRow& row) const;
  /// Makes a request. It takes the place of another one of its row.
  void Send(const rows::RuleRow& row, bool isWithdrawal, bool isRepeat);
  /// Forgets the row's request, if there is one. The library's item goes as well, at once or with
  /// the scheduler's next pass.
  void End(const rows::RuleRow& row);
  void EndAll();
  /// Nothing will come of the row's request.
  void GiveUp(const rows::RuleRow& row);

  /// What has come of a request that was under way. GIVEN_UP keeps the request, the others end it.
  struct Outcome {
    enum Kind {
      DONE,
      GIVEN_UP,
      DROPPED  // by the scheduler: it has not been made
    };
    rows::RuleRow row;
    bool isWithdrawal = false;
    Kind kind = DONE;
  };
  /// About at most `most` requests.
  std::vector<Outcome> TakeOutcomes(std::size_t most);
  bool HasNews() const { return !m_noted.empty(); }
  /// Whether the request is under way and nothing will be heard of it, because the stack has done
  /// with the row.
  bool IsLost(const RuleRequest& request) const;
  const std::map<rows::RuleRow, RuleRequest>& GetAll() const { return m_all; }

  std::size_t CountUnderWay() const { return m_underWay; }
  /// Of those that are under way.
  std::size_t CountRepeats() const { return m_repeats; }
  std::size_t CountRetried() const { return m_retried; }
  /// How many have been made or answered so far, repeats left out, and how many answered for good,
  /// repeats included.
  std::uint64_t GetProgress() const { return m_progress; }
  std::uint64_t CountConcluded() const { return m_concluded; }

 private:
  void Hear(RuleRequest& request, ItemNews news, unsigned int status) override;
  void Count(const RuleRequest& request, bool isMore);
  static void Drop(RuleRequest& request);

  const rows::StackPort& m_port;
  const std::function<void()> m_wake;
  std::map<rows::RuleRow, RuleRequest> m_all;
  std::deque<rows::RuleRow> m_noted;
  std::size_t m_underWay = 0;
  std::size_t m_repeats = 0;
  std::size_t m_retried = 0;
  std::uint64_t m_progress = 0;
  std::uint64_t m_concluded = 0;
};

}  // namespace routes

#endif
