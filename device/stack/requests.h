// The row requests, one kind for each type of row: a copy of the call's arguments.
//
// Each kind names its row (GetName for hosts, GetOid for the library), changes the tables by the
// rules of its type and returns the status of the answer (Apply), and reports the outcome (Answer).
// The engine decides when, how often and with which status that happens. After the answer it
// reports the completion of the row, for every kind except the RTM's.
//
// To add a type of row, add an enumerator to RowType and a kind of request to RowRequests, which
// the queue and the engine use; the compiler reports a mismatch. Put its rules into a file beside
// route_rows.cpp and its C function into c_api.cpp.
#ifndef DEVICE_STACK_REQUESTS_H
#define DEVICE_STACK_REQUESTS_H

#include <string>
#include <type_traits>
#include <variant>

#include "facts.h"
#include "oid.h"
#include "tables.h"

namespace routing_stack {

struct Request {
  bool judged = false;      // scripts have been applied to it
  std::uint64_t since = 0;  // when it came, by the clock
};

/// An RTM's row. The stack asks the host for the configuration when the request's turn comes; a new
/// instance is reported ready.
struct RtmRequest : Request {
  static constexpr RowType kType = RowType::kRtm;
  static constexpr bool kIsCompleted = false;

  std::uint32_t instance = 0;
  std::uint32_t rowStatus = 0;
  std::uint32_t family = 0;  // 1 IPv4, 2 IPv6, else the instance's id decides
  bool isNew = false;        // set by Apply

  RowName GetName() const;
  Oid GetOid() const { return RtmOid(instance); }
  unsigned int Apply(Tables& tables);
  void Answer(unsigned int status) const;

 private:
  unsigned int Create(Tables& tables);
};

/// An interface's row. It is stored even if its instance does not exist. The request is never
/// answered with a status: a refusal leaves the table as it is.
struct InterfaceRequest : Request {
  static constexpr RowType kType = RowType::kInterface;
  static constexpr bool kIsCompleted = true;

  int rowStatus = 0;
  std::uint32_t operStatus = 0;
  InterfaceKey key;
  std::string name;
  std::uint32_t flags = 0;
  std::uint32_t extra = 0;  // of a creation: the MTU, 0 for the default

  RowName GetName() const;
  Oid GetOid() const { return InterfaceOid(key.instance, key.ifIndex); }
  unsigned int Apply(Tables& tables) const;
  void Answer(unsigned int) const {}

 private:
  unsigned int Create(Tables& tables) const;
  unsigned int SetStatus(Tables& tables) const;
};

/// An address's row: stored and answered like an interface's.
struct AddressRequest : Request {
  static constexpr RowType kType = RowType::kAddress;
  static constexpr bool kIsCompleted = true;

  int rowStatus = 0;
  int addressType = 0;
  AddressKey key;
  std::uint32_t prefixLength = 0;

  RowName GetName() const;
  Oid GetOid() const;
  unsigned int Apply(Tables& tables) const;
  void Answer(unsigned int) const {}
};

struct RouteRequest : Request {
  static constexpr RowType kType = RowType::kRoute;
  static constexpr bool kIsCompleted = true;

  int rowStatus = 0;
  int adminStatus = 0;
  int addressType = 0;
  int pathType = 0;
  bool hasDestination = true;  // false for a null pointer
  unsigned char destination[16] = {};
  unsigned char nextHop[16] = {};
  std::uint32_t prefixLength = 0;
  std::uint32_t ifIndex = 0;
  std::uint16_t instance = 0;
  std::uint16_t metric = 0;

  RowName GetName() const;
  Oid GetOid() const;
  unsigned int Apply(Tables& tables) const;
  void Answer(unsigned int status) const;

 private:
  unsigned int Check() const;
  CandidateKey Key() const;
  unsigned int Store(Tables& tables) const;
  unsigned int Destroy(Tables& tables) const;
};

struct RedistributionRequest : Request {
  static constexpr RowType kType = RowType::kRedistribution;
  static constexpr bool kIsCompleted = true;

  int rowStatus = 0;
  int adminStatus = 0;
  RedistributionKey key;

  RowName GetName() const;
  Oid GetOid() const { return RedistributionOid(key.instance, key.source, key.destination); }
  unsigned int Apply(Tables& tables) const;
  void Answer(unsigned int status) const;
};

struct ProtocolRequest : Request {
  static constexpr RowType kType = RowType::kProtocol;
  static constexpr bool kIsCompleted = true;

  int rowStatus = 0;
  int adminStatus = 0;
  ProtocolKey key;            // of a key that is too long the first bytes
  std::size_t keyLength = 0;  // as requested
  std::string payload;

  RowName GetName() const;
  Oid GetOid() const;
  unsigned int Apply(Tables& tables) const;
  void Answer(unsigned int status) const;
};

/// A list of kinds of requests.
template <typename... Kinds>
struct RequestList {
  template <typename... Others>
  using VariantWith = std::variant<Others..., Kinds...>;

  /// Whether the list has one kind for each type of row, in the order of RowType.
  static constexpr bool IsComplete() {
    std::size_t place = 0;
    return sizeof...(Kinds) == kRowTypes &&
           ((static_cast<std::size_t>(Kinds::kType) == place++) && ...);
  }
};

using RowRequests = RequestList<RtmRequest, InterfaceRequest, AddressRequest, RouteRequest,
                                RedistributionRequest, ProtocolRequest>;
static_assert(RowRequests::IsComplete(), "each type of row has its kind of request");

}  // namespace routing_stack

#endif
