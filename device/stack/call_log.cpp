#include "call_log.h"

namespace routing_stack {

namespace {

enum Kind { kRowRequest, kOther };

struct Description {
  const char* name;
  Kind kind;
};

// In the order of the enumeration.
constexpr Description kDescriptions[] = {
    {"smsi_init", kOther},
    {"nbb_scheduler", kOther},
    {"InvokeCallback", kOther},
    {"nbb_trips_control", kOther},
    {"nbb_set_ips_filter", kOther},
    {"nbb_get_ips_tracing", kOther},
    {"sms_act_rtm", kRowRequest},
    {"sms_update_route", kRowRequest},
    {"sms_act_interface", kRowRequest},
    {"sms_bld_amb_test_i3_ei", kRowRequest},
    {"sms_act_ipaddr", kRowRequest},
    {"sms_act_cipr_redist", kRowRequest},
    {"sms_bld_amb_test_cipr_redist", kRowRequest},
    {"sms_get_route_oid", kOther},
    {"sms_set_i3_ei_oid", kOther},
    {"sms_set_i3_ea_oid", kOther},
    {"sms_set_cipr_redist_oid", kOther},
    {"sms_get_next_i3_ei", kOther},
    {"sms_get_next_i3_ea", kOther},
    {"sms_get_next_rtm_route", kOther},
    {"sms_get_next_rtm_rib", kOther},
    {"sms_act_protocol_row", kRowRequest},
};
constexpr std::size_t kCalls = static_cast<std::size_t>(Call::kCount);
static_assert(sizeof kDescriptions / sizeof kDescriptions[0] == kCalls, "every call is described");

}  // namespace

const char* NameOfCall(Call call) {
  return call < Call::kCount ? kDescriptions[static_cast<std::size_t>(call)].name : "";
}

void CallLine::Add(const char* text) {
  if (text == nullptr) {
    Append("null");
  } else {
    Add(std::string(text));
  }
}

void CallLine::Add(const AddressArgument& address) {
  const Family family = FamilyOf(address.type);
  Append(address.bytes == nullptr ? "null"
                                  : Address::FromBytes(address.bytes, family).ToText(family));
}

void CallLine::Add(const amb_cipr_rtm_entity* entity) {
  if (entity == nullptr) {
    Append("null");
    return;
  }
  std::string text;
  for (int i = 0; i < AMB_RTM_ENTITY_WORDS; ++i) {
    if (entity->word[i] != 0) {
      text += (text.empty() ? "" : " ") + std::to_string(i) + "=" + std::to_string(entity->word[i]);
    }
  }
  Append(text);
}

void CallLine::Append(const std::string& argument) {
  m_text += (m_isFirst ? "" : ", ") + argument;
  m_isFirst = false;
}

std::uint64_t CallLog::CountOf(Call call) const {
  return call < Call::kCount ? m_counts[static_cast<std::size_t>(call)] : 0;
}

std::uint64_t CallLog::CountRequestsSinceReset() const {
  std::uint64_t count = 0;
  for (std::size_t call = 0; call < kCalls; ++call) {
    count += kDescriptions[call].kind == kRowRequest ? m_counts[call] : 0;
  }
  return count;
}

void CallLog::Reset() {
  m_requestsBeforeReset = CountRequests();
  m_counts = {};
}

}  // namespace routing_stack
