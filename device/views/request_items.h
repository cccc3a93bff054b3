// What `requests` lists.
#ifndef DEVICE_VIEWS_REQUEST_ITEMS_H
#define DEVICE_VIEWS_REQUEST_ITEMS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "json.h"

namespace views {

/// A row of the stack that is not settled, or several that wait for the same.
struct RequestItem {
  static constexpr std::size_t STATES = 5;
  enum class State {
    REFUSED,    // it differs from what is wanted, and the stack has refused a request
    DIFFERS,    // so too, without a refusal
    UNDER_WAY,  // a request has no answer
    TO_ASK,     // requests are still to be made
    LACKING     // nothing can be requested before something else is there
  };
  State state = State::UNDER_WAY;
  unsigned short vlan = 0;
  std::size_t count = 1;                           // rows
  std::string what;                                // "VLAN 10: route 10.9.0.0/16 via 10.1.2.1"
  std::string reason;                              // what it waits for, or how it differs
  unsigned int status = 0;                         // the stack's last answer; 0 for none
  std::optional<std::uint64_t> sinceSeconds = {};  // how long it has been so
  unsigned int repeats = 0;                        // how often it was asked for again
  std::optional<std::uint64_t> nextSeconds = {};   // until it is asked for again
};

/// "refused", "under_way": as machines read it.
const char* WordOf(RequestItem::State state);

/// Two lines, the first with a mark in the first column, the second indented.
void AppendText(const RequestItem& item, std::string& text);
/// An object.
void AddJson(const RequestItem& item, Json& json);

}  // namespace views

#endif
