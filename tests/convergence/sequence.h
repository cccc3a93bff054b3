// Random sequences of events after which a device is what it would be if it had been started with the
// final configuration.
//
// They keep to what a careful host does: an interface's addresses go before it does, an interface has
// one IPv4 address at a time, a VLAN's routes and rules are withdrawn and answered before it goes,
// rules are asked for when the protocol is ready, a protocol keeps its member while its VLAN lives. What
// remains behind when a host does otherwise has tests of its own.
#ifndef TESTS_CONVERGENCE_SEQUENCE_H
#define TESTS_CONVERGENCE_SEQUENCE_H

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "tests/convergence/configuration.h"

namespace convergence {

struct Step {
  std::string kind;  // for counting
  std::string text;  // for whoever reads a failure
  std::function<void(Host&)> apply;
};

class Sequence {
 public:
  /// The same seed draws the same sequence.
  explicit Sequence(unsigned int seed);

  const std::vector<Step>& Steps() const { return m_steps; }
  const Configuration& Final() const { return m_configuration; }
  std::string Text() const;

 private:
  unsigned int Below(unsigned int below);
  bool Percent(unsigned int percent) { return Below(100) < percent; }
  unsigned short DrawVlan();
  InterfaceKey DrawInterface();
  Route DrawRoute(unsigned short vlan);
  void Add(const std::string& kind, const std::string& text, std::function<void(Host&)> apply);

  void DrawEvent();
  void DrawWait();
  void DrawRefusals();
  void DrawDelays();
  void Load(const std::string& kind, unsigned short vlan);
  void VlanComesOrGoes();
  void WithdrawFromVlan(unsigned short id, Vlan& vlan);
  void DocumentChanges();
  void RuleChanges();
  void InterfaceComesOrGoes();
  void InterfaceIsAddedAgain();
  void StatusChanges();
  void AddressChanges();
  void Address6Changes();
  void RouteChanges();

  std::mt19937 m_engine;
  bool m_synchronous;
  unsigned int m_refusals;  // left to this sequence: fewer than make the library give up
  Configuration m_configuration;
  std::vector<Step> m_steps;
};

}  // namespace convergence

#endif
