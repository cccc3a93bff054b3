// What the walk from one configuration to another tells.
#ifndef DEVICE_PLAN_CHANGE_H
#define DEVICE_PLAN_CHANGE_H

#include <cstddef>
#include <functional>
#include <string>

#include "plan.h"

namespace plan {

/// Writes a change without its sign. There can be a million, so only who wants the text has it
/// written.
using Words = std::function<std::string()>;

/// Hears of the differences in the order in which they are listed. What is told belongs to the VLAN
/// that has begun last; before the first one, to the device.
class Visitor {
 public:
  virtual ~Visitor() = default;

  /// Changes of the VLAN may come next. `isLeaving`: it exists now, and will not.
  virtual void BeginVlan(unsigned short vlan, bool isLeaving) = 0;
  /// `words` is valid during the call. False: nothing more is to be told.
  virtual bool Take(Thing thing, How how, const Words& words) = 0;
  /// Of the changes that have been told, or will be told next.
  virtual void AddRequests(std::size_t count) = 0;
  /// A prefix of the VLAN that has a route now, and whether it will have one.
  virtual void TakePrefix(const Prefix& prefix, bool isKept) = 0;
  /// How many rows a protocol of the VLAN has now, and will have.
  virtual void TakeRows(const std::string& protocol, std::size_t now, std::size_t then) = 0;
};

/// Passes on to a visitor until that has heard enough.
class Teller {
 public:
  /// The visitor is borrowed.
  explicit Teller(Visitor& visitor) : m_visitor(visitor) {}

  template <class Write>
  void Tell(Thing thing, How how, const Write& write) {
    m_isOver = m_isOver || !m_visitor.Take(thing, how, Words(std::cref(write)));
  }
  Visitor& To() { return m_visitor; }
  bool IsOver() const { return m_isOver; }

 private:
  Visitor& m_visitor;
  bool m_isOver = false;
};

}  // namespace plan

#endif
