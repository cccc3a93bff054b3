// Lines of the log that tell what became of a request, as lists of events have them: the level, a
// space and the message without its newline.
#ifndef TESTS_SUPPORT_TRACE_TEXTS_H
#define TESTS_SUPPORT_TRACE_TEXTS_H

namespace test_support {

// An item of the scheduler.
constexpr const char* SENDING = "5 OnTIMEOUT Sending MIB ACTION";
constexpr const char* REMOVED = "5 Removing the handle";
constexpr const char* REPLACED = "5 REPLACED ------- 2 item.............";

// How the answer to a request was taken: done, to be asked again, or given up.
constexpr const char* ROUTE_DONE = "10 Route Programmed Successfully";
constexpr const char* ROUTE_AGAIN = "10 Route Not programmed!!! Retrying...";
constexpr const char* ROUTE_NEVER = "10 Unable to set route. No retry!!!";
constexpr const char* REDISTRIBUTION_DONE = "10 Redistribution Request Success";
constexpr const char* REDISTRIBUTION_AGAIN = "10 Redistribution Request Not success!! Retrying...";
constexpr const char* REDISTRIBUTION_NEVER = "10 Unable to set redistribution. No retry!!!";

// The answer for the route to 10.9.0.0/16 over 10.1.2.1 in VLAN 10.
constexpr const char* ROUTE_RESPONSE =
    "10 Route Update Response from Metaswitch: vlan = 10, dest= 10.9.0.0/16 nexthop: 10.1.2.1";

}  // namespace test_support

#endif
