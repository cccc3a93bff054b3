// Counts the calls that the stack receives, and shows them to an observer.
#ifndef DEVICE_STACK_CALL_LOG_H
#define DEVICE_STACK_CALL_LOG_H

#include <array>
#include <string>

#include "address.h"
#include "stack_control.h"

namespace routing_stack {

const char* NameOfCall(Call call);

/// An address argument: its bytes, which may be missing, and its type.
struct AddressArgument {
  const unsigned char* bytes;
  int type;
};

/// A call as text: the function's name with its arguments in order.
class CallLine {
 public:
  explicit CallLine(Call call) : m_text(std::string(NameOfCall(call)) + "(") {}

  void Add(long long number) { Append(std::to_string(number)); }
  void Add(const char* text);
  void Add(const std::string& text) { Append("\"" + text + "\""); }
  void Add(const AddressArgument& address);
  /// The words that are not zero as "index=value", separated by blanks.
  void Add(const amb_cipr_rtm_entity* entity);

  std::string Get() const { return m_text + ")"; }

 private:
  void Append(const std::string& argument);

  std::string m_text;
  bool m_isFirst = true;
};

class CallLog {
 public:
  void Count(Call call) { ++m_counts[static_cast<std::size_t>(call)]; }
  /// Counts the call and shows it, with its arguments, to the observer. Without an observer no text
  /// is built.
  template <typename... Arguments>
  void Note(Call call, const Arguments&... arguments) {
    Count(call);
    if (m_observer) {
      CallLine line(call);
      (line.Add(arguments), ...);
      const Control::CallObserver observer = m_observer;  // it may replace itself
      observer(call, line.Get());
    }
  }

  std::uint64_t CountOf(Call call) const;
  /// The calls that request a row, over all resets.
  std::uint64_t CountRequests() const { return m_requestsBeforeReset + CountRequestsSinceReset(); }
  void Reset();
  void SetObserver(Control::CallObserver observer) { m_observer = std::move(observer); }

 private:
  std::uint64_t CountRequestsSinceReset() const;

  std::array<std::uint64_t, static_cast<std::size_t>(Call::kCount)> m_counts{};
  std::uint64_t m_requestsBeforeReset = 0;
  Control::CallObserver m_observer;
};

}  // namespace routing_stack

#endif
