// What random configuration objects decide, shared by the model of a configuration list and by the
// objects that the real list is run with, so that only the lists themselves can differ.
#ifndef TESTS_MODELS_CONFIG_LIST_SCRIPT_H
#define TESTS_MODELS_CONFIG_LIST_SCRIPT_H

#include <cstdint>
#include <string>
#include <vector>

namespace config_list {

/// One group of a random document.
struct Group {
  enum Kind {
    NORMAL,
    SKIPPED,      // null or {} in the document
    REJECTED,     // the object's parser answers false
    NOT_CREATED,  // the list's factory yields nothing
    NOT_CLONED    // no copy of the temporary object can be made
  };
  Kind kind = NORMAL;
  unsigned int id = 0;
  int content = 0;
  // Makes objects answer a comparison with it by a number that has no meaning when the keys differ.
  int oddAnswer = 2;
};

/// What a concrete object keeps for itself.
struct Concrete {
  unsigned int serial = 0;  // counts the objects of a list's life; 0 is a group's temporary object
  int content = 0;
  int oddAnswer = 2;
  bool destroyed = false;
  unsigned int commits = 0;
};

/// What one commit of an object does.
struct CommitEffect {
  bool clearsActionReq = true;
  bool inMib = true;
  bool finished = false;
  unsigned int wakes = 0;  // the serial of an object that gets something to do; 0 is none
};

/// The answer of an object to a comparison with a group's temporary object.
inline int Compare(const Concrete& mine, bool sameKey, const Concrete& other) {
  if (sameKey) {
    return mine.content == other.content && !mine.destroyed ? 0 : 1;
  }
  return (mine.serial + static_cast<unsigned>(other.content)) % 3 == 0 ? other.oddAnswer : 2;
}

inline std::uint32_t Mix(std::uint32_t x) {
  x ^= x >> 16;
  x *= 0x7feb352du;
  x ^= x >> 15;
  x *= 0x846ca68bu;
  return x ^ (x >> 16);
}

/// Some objects forget to clear their flag, some are not finished by their destruction or are
/// finished without it, and some give another object something to do.
inline CommitEffect Commit(const Concrete& mine) {
  const std::uint32_t dice = Mix(mine.serial * 7919u + mine.commits * 104729u);
  CommitEffect effect;
  effect.clearsActionReq = dice % 5 != 0;
  effect.inMib = !mine.destroyed;
  effect.finished = mine.destroyed ? (dice >> 4) % 4 != 0 : (dice >> 4) % 6 == 0;
  // Objects that were made shortly before are the likeliest to be in the list still.
  const unsigned int back = 1 + (dice >> 12) % 12;
  if ((dice >> 8) % 2 == 0 && mine.serial > back) {
    effect.wakes = mine.serial - back;
  }
  return effect;
}

/// A call of the list on one of its objects.
struct Event {
  enum Kind {
    PARSED,    // a = id, b = 1 when accepted
    DROPPED,   // the temporary object was deleted
    CLONED,    // a = id
    COMPARED,  // a = answer
    UPDATED,   // a = content
    DESTROYED,
    COMMITTED,  // a = ActionReq, b = Suspended, as the commit found them
    DISPLAYED,  // a = the filter's id
    VISITED,
    DELETED
  };
  Kind kind;
  unsigned int serial;
  int a = 0;
  int b = 0;
};

inline bool operator==(const Event& x, const Event& y) {
  return x.kind == y.kind && x.serial == y.serial && x.a == y.a && x.b == y.b;
}

/// The state of one object as its list's users see it.
struct State {
  unsigned int serial = 0;  // 0: no object
  unsigned int vlan = 0;
  unsigned int id = 0;
  std::string name;
  int type = 0;
  bool inMib = false;
  bool actionReq = false;
  bool suspended = false;
};

inline bool operator==(const State& x, const State& y) {
  return x.serial == y.serial && x.vlan == y.vlan && x.id == y.id && x.name == y.name &&
         x.type == y.type && x.inMib == y.inMib && x.actionReq == y.actionReq &&
         x.suspended == y.suspended;
}

/// Everything that an operation shows.
struct Outcome {
  int result = 0;
  std::vector<Event> events;
  std::vector<std::string> traces;
  std::vector<std::string> assertions;
  std::vector<State> objects;
};

}  // namespace config_list

#endif
