#include "call_log.h"

namespace routing_stack {

namespace {

// In the order of the enumeration.
constexpr const char* kNames[] = {
    "smsi_init",
    "nbb_scheduler",
    "InvokeCallback",
    "nbb_trips_control",
    "nbb_set_ips_filter",
    "nbb_get_ips_tracing",
    "sms_act_rtm",
    "sms_update_route",
    "sms_act_interface",
    "sms_bld_amb_test_i3_ei",
    "sms_act_ipaddr",
    "sms_act_cipr_redist",
    "sms_bld_amb_test_cipr_redist",
    "sms_get_route_oid",
    "sms_set_i3_ei_oid",
    "sms_set_i3_ea_oid",
    "sms_set_cipr_redist_oid",
    "sms_get_next_i3_ei",
    "sms_get_next_i3_ea",
    "sms_get_next_rtm_route",
    "sms_get_next_rtm_rib",
    "sms_act_protocol_row",
};
static_assert(sizeof kNames / sizeof kNames[0] == static_cast<std::size_t>(Call::kCount),
              "every call has a name");

}  // namespace

const char* NameOfCall(Call call) {
  return call < Call::kCount ? kNames[static_cast<std::size_t>(call)] : "";
}

CallLine& CallLine::Text(const char* text) {
  return text == nullptr ? Add("null") : Text(std::string(text));
}

CallLine& CallLine::Bytes(const unsigned char* bytes, int addressType) {
  if (bytes == nullptr) {
    return Add("null");
  }
  const Family family = FamilyOf(addressType);
  return Add(Address::FromBytes(bytes, family).ToText(family));
}

CallLine& CallLine::Words(const amb_cipr_rtm_entity* entity) {
  if (entity == nullptr) {
    return Add("null");
  }
  std::string text;
  for (int i = 0; i < AMB_RTM_ENTITY_WORDS; ++i) {
    if (entity->word[i] != 0) {
      text += (text.empty() ? "" : " ") + std::to_string(i) + "=" + std::to_string(entity->word[i]);
    }
  }
  return Add(text);
}

CallLine& CallLine::Add(const std::string& argument) {
  m_text += (m_isFirst ? "" : ", ") + argument;
  m_isFirst = false;
  return *this;
}

std::uint64_t CallLog::CountOf(Call call) const {
  return call < Call::kCount ? m_counts[static_cast<std::size_t>(call)] : 0;
}

}  // namespace routing_stack
