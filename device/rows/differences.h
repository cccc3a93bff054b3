// The rows of which the stack has something else than is wanted, and when they are asked for again.
#ifndef DEVICE_ROWS_DIFFERENCES_H
#define DEVICE_ROWS_DIFFERENCES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <variant>

#include "device/loop/loop_handles.h"
#include "keeper.h"
#include "stack_port.h"
#include "tarsel/timer.h"

namespace rows {

/// A difference begins when a keeper's row is found to differ, and ends when it does not any more,
/// or is no longer wanted. Each of these is a line in the log. In between the row is asked for
/// again: for the first time after a second, then after twice as long each time, a minute at most.
/// Of one VLAN at most REPEATS_A_VLAN repeats of routes and rules are waited for at a time, because
/// a pass of the library's scheduler looks at twice as many: the others always have the other half.
/// What is under way is not asked again.
class Differences {
 public:
  static constexpr std::size_t REPEATS_A_VLAN = 15;
  static constexpr std::uint64_t FIRST_REPEAT_MILLISECONDS = 1000;
  static constexpr std::uint64_t LONGEST_REPEAT_MILLISECONDS = 60000;

  /// How many rows are looked at in one turn of the loop.
  static constexpr std::size_t LOOKS_A_TURN = 250;

  /// What is known of a difference.
  struct Difference {
    Standing standing;
    std::uint64_t since = 0;   // by the port's clock
    std::uint64_t next = 0;    // when it is looked at again; in the past if it waits for its turn
    unsigned int repeats = 0;  // how often it has been asked for again
    bool isAsked = false;      // and a repeat has not been answered
    bool isRetried = false;    // an operator has wished it, and there has been no answer yet
    bool isHastened = false;   // of one that is retried: its pause would not have been over
  };

  /// Of one kind of rows: how many differ, and of how many of these the stack has refused a
  /// request.
  struct Counts {
    std::size_t all = 0;
    std::size_t refused = 0;
  };
  /// By the kind's index in Row.
  using KindCounts = std::array<Counts, std::variant_size_v<Row>>;

  /// What an operator's wish to have rows asked for again comes to.
  struct Retry {
    std::size_t count = 0;  // that are looked at again as soon as their VLAN has a place for them
    std::size_t underWay = 0;  // whose last repeat has not been answered
  };

  /// `report` takes a line without its end, for the log. `keeperOf` finds the keeper of a row.
  /// `names` is for the words of rows, and may be empty. The port is borrowed.
  Differences(uv_loop_s* loop, const StackPort& port,
              std::function<void(const std::string&)> report,
              std::function<Keeper&(const Row&)> keeperOf, InterfaceNames names = {});
  Differences(const Differences&) = delete;
  Differences& operator=(const Differences&) = delete;

  /// The row differs: found by a comparison, or told by its keeper, whose request was given up.
  /// Calls nobody back. A standing that is not a difference is ignored.
  void Note(const Row& row, const Standing& standing);
  /// Something has been heard of the row: it is looked at in a later turn of the loop, and becomes
  /// a difference or ends to be one. May be called from inside the stack's run.
  void Heard(const Row& row);
  /// Everything has been asked for anew, or is wanted no more: all that differ are looked at in the
  /// next turns of the loop, so that none is left that has ended without anything being heard of
  /// it.
  void LookAtAll();
  /// An operator does not want to wait for the next repeats: the pauses of all that differ are
  /// over. Whatever else holds for repeats holds for these as well. IsRetrying tells how long it
  /// takes.
  Retry RetryAll();
  /// The same for the routes of a prefix in all VLANs. Of the target only the family, the
  /// destination and the length count.
  Retry RetryRoutes(documents::RouteTarget prefix);
  /// Whether rows that an operator wished to have asked for again have had no answer since.
  bool IsRetrying() const { return m_isRetrying || m_retriedRows != 0; }
  /// Whether an operator's wish is why the row is asked for now: its repeat was not due by itself,
  /// and there has been no answer since. May be called from inside the stack's run.
  bool IsHastened(const Row& row) const;
  /// The same for any route of the prefix in its VLAN. The gateway does not count.
  bool IsHastened(documents::RouteTarget prefix) const;
  /// While a line is reported: whether it is about the end of such a row.
  bool IsReportingHastened() const { return m_isReportingHastened; }
  /// The stack has been restarted, so that everything is asked for anew: all of them end, without a
  /// line.
  void Forget();

  std::size_t Count() const { return m_all.size(); }
  /// Kept, not counted.
  const KindCounts& GetCounts() const { return m_counts; }
  /// Those of one VLAN.
  KindCounts GetCounts(unsigned short vlan) const;
  /// How often rows have been asked for again so far.
  std::uint64_t CountRepeats() const { return m_repeats; }
  const std::map<Row, Difference>& GetAll() const { return m_all; }
  /// Null if the row does not differ.
  const Difference* Find(const Row& row) const;
  const InterfaceNames& GetNames() const { return m_names; }
  /// Whether rows that were heard of, or all, have not been looked at yet.
  bool HasHeard() const { return !m_heard.empty() || m_isLookingAtAll; }

 private:
  using All = std::map<Row, Difference>;

  // By the time of the next look. At one time in the order in which rows depend on each other.
  struct IsEarlier {
    bool operator()(All::iterator a, All::iterator b) const;
  };
  using Queue = std::set<All::iterator, IsEarlier>;

  struct Vlan {
    std::size_t asked = 0;  // repeats that are waited for
    Queue waiting;          // those that are due and have no place among them
  };

  // What is forgotten, to be freed in slices.
  struct Remains {
    All all;
    Queue due;
    std::map<unsigned short, Vlan> vlans;
  };

  void Turn();
  void Hear(const Row& row);
  std::size_t LookAtSome(std::size_t most);
  void RetrySome();
  bool EndPause(All::iterator row);
  void SetStanding(Difference& difference, const Row& row, const Standing& standing);
  void CountRow(const Row& row, int change);
  void SetAsked(Difference& difference, bool isAsked);
  void SetRetried(Difference& difference, bool isRetried, bool isHastened = false);
  void LookAtDue(All::iterator row);
  void Begin(const Row& row, const Standing& standing);
  void Answer(All::iterator row, const Standing& standing);
  void Delay(All::iterator row);
  void End(All::iterator row);
  void GiveUpPlace(All::iterator row);
  void LetNextIn(unsigned short number);
  void FreeSlice();
  void Schedule();
  void WhenDue(unsigned int, void*);

  const StackPort& m_port;
  const std::function<void(const std::string&)> m_report;
  const std::function<Keeper&(const Row&)> m_keeperOf;
  const InterfaceNames m_names;
  loop::Task m_turn;
  Tarsel::OneShotTimer m_timer;
  All m_all;
  Queue m_due;                             // each row is in this one or waits in its VLAN
  std::map<unsigned short, Vlan> m_vlans;  // with an asked or waiting row
  std::set<Row> m_heard;
  bool m_isLookingAtAll = false;
  std::optional<Row> m_looked;   // the last one that was
  bool m_isRetrying = false;     // all
  std::optional<Row> m_retried;  // so too
  KindCounts m_counts;
  std::map<unsigned short, KindCounts> m_vlanCounts;  // of VLANs in which rows differ
  std::size_t m_asked = 0;        // that are waited for, in all VLANs and of all kinds
  std::size_t m_retriedRows = 0;  // that are so marked
  bool m_isReportingHastened = false;
  std::uint64_t m_repeats = 0;
  std::deque<Remains> m_forgotten;
  std::uint64_t m_expiry = 0;  // when the timer expires, while it runs
};

/// The difference in words: "VLAN 10: route 10.9.0.0/16 via 10.1.2.1 is missing in the stack: wrong
/// value (status 3)".
std::string Describe(const Row& row, const Standing& standing, const InterfaceNames& names = {});

}  // namespace rows

#endif
