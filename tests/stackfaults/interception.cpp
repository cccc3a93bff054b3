#include "tests/stackfaults/interception.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <type_traits>
#include <utility>

namespace stackfaults {

namespace {

std::map<std::string, Interception>& Interceptions() {
  static std::map<std::string, Interception> all;
  return all;
}

int Pass(const char* function, const CallInTransit& call) {
  const auto found = Interceptions().find(function);
  if (found == Interceptions().end()) {
    return call.forward();
  }
  const Interception interception = found->second;  // it may end itself
  return interception(call);
}

// Calls the stack's own function of that name; 0 when it has no result.
template <typename Function, typename... Arguments>
int CallNext(Function*, const char* name, Arguments... arguments) {
  void* const symbol = dlsym(RTLD_NEXT, name);
  if (symbol == nullptr) {
    std::fprintf(stderr, "the stack lacks %s\n", name);
    std::abort();
  }
  Function* const next = reinterpret_cast<Function*>(symbol);
  if constexpr (std::is_void_v<decltype(next(arguments...))>) {
    next(arguments...);
    return 0;
  } else {
    return next(arguments...);
  }
}

}  // namespace

void Intercept(const std::string& function, Interception interception) {
  Interceptions()[function] = std::move(interception);
}

void EndInterception(const std::string& function) { Interceptions().erase(function); }

}  // namespace stackfaults

using stackfaults::CallNext;
using stackfaults::Pass;

extern "C" {

void smsi_init(char* components) {
  const std::string copy = components;  // whoever calls keeps them for the call only
  Pass("smsi_init", {[copy] {
         std::string writable = copy;
         return CallNext(smsi_init, "smsi_init", writable.data());
       }});
}

int nbb_scheduler(void) {
  return Pass("nbb_scheduler", {[] { return CallNext(nbb_scheduler, "nbb_scheduler"); }});
}

void InvokeCallback(int fd, int events) {
  Pass("InvokeCallback", {[=] { return CallNext(InvokeCallback, "InvokeCallback", fd, events); }});
}

void nbb_trips_control(int on) {
  Pass("nbb_trips_control", {[=] { return CallNext(nbb_trips_control, "nbb_trips_control", on); }});
}

void nbb_set_ips_filter(char* filter, unsigned short value) {
  Pass("nbb_set_ips_filter",
       {[=] { return CallNext(nbb_set_ips_filter, "nbb_set_ips_filter", filter, value); }});
}

int nbb_get_ips_tracing(void) {
  return Pass("nbb_get_ips_tracing",
              {[] { return CallNext(nbb_get_ips_tracing, "nbb_get_ips_tracing"); }});
}

void sms_get_next_i3_ei(unsigned int instance, sms_response response, void* command) {
  Pass("sms_get_next_i3_ei", {[=] {
                                return CallNext(sms_get_next_i3_ei, "sms_get_next_i3_ei", instance,
                                                response, command);
                              },
                              response, command});
}

void sms_get_next_i3_ea(unsigned int instance, sms_response response, void* command) {
  Pass("sms_get_next_i3_ea", {[=] {
                                return CallNext(sms_get_next_i3_ea, "sms_get_next_i3_ea", instance,
                                                response, command);
                              },
                              response, command});
}

void sms_get_next_rtm_route(sms_response response, void* command) {
  Pass("sms_get_next_rtm_route", {[=] {
                                    return CallNext(sms_get_next_rtm_route,
                                                    "sms_get_next_rtm_route", response, command);
                                  },
                                  response, command});
}

void sms_get_next_rtm_rib(sms_response response, void* command) {
  Pass("sms_get_next_rtm_rib",
       {[=] { return CallNext(sms_get_next_rtm_rib, "sms_get_next_rtm_rib", response, command); },
        response, command});
}

}  // extern "C"
