// Runs the router on the software device, in time that moves when it is told to.
#include <json/reader.h>

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <string>

#include "device/base/timer_loop.h"
#include "device/stack/protocol_rows.h"
#include "device/stack/routing_stack.h"
#include "device/stack/stack_control.h"
#include "first_router.h"
#include "host/dc_console.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_router_mgr.h"

namespace {

class Terminal : public Tarsel::DcConsole {
 public:
  void Print(const char* format, ...) override {
    std::va_list arguments;
    va_start(arguments, format);
    VPrint(format, arguments);
    va_end(arguments);
  }
  void VPrint(const char* format, std::va_list arguments) override {
    std::vprintf(format, arguments);
  }
  void PrintError(const char* text) override { std::fputs(text, stdout); }
  void CommandEnd() override {}
  unsigned short GetVlan(int, char**) override { return 10; }
};

Tarsel::Options Parse(const std::string& text) {
  Json::Value document;
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  reader->parse(text.data(), text.data() + text.size(), &document, nullptr);
  return Tarsel::Options(document);
}

void ShowStack() {
  sms_protocol_row row;
  int more = sms_get_next_protocol_row(1000, 10, nullptr, 0, &row);
  while (more) {
    std::printf("  the stack has \"%.*s\": %s\n", static_cast<int>(row.key_length),
                reinterpret_cast<const char*>(row.key), row.payload);
    more = sms_get_next_protocol_row(1000, 10, row.key, row.key_length, &row);
  }
}

}  // namespace

int main() {
  Tarsel::VirtualLoop loop;
  Tarsel::TimerLoop::SetCurrent(&loop);
  routing_stack::RoutingStack stack([&loop] { return loop.Now() / 1000; });
  stack.MakeCurrent();

  // A VLAN, so that the stack has an instance for the rows.
  Tarsel::DcRouterMgr* const manager = Tarsel::DcRouterMgr::GetInstance();
  manager->Initialize(10, nullptr);
  Tarsel::DcInterfaceMgr::GetInstance()->SetPrimaryInterface(10, "lo");
  const Tarsel::Options vlans = Parse(R"({"VLAN_CONFIGURATIONS": {"lab": {"vid": 10}}})");
  manager->Reload(vlans, "vlans.json", Tarsel::DclConfigObject::VLAN_OPTIONS);

  BeaconRouter router(10);
  Terminal terminal;
  const auto apply = [&](const char* what, const char* document) {
    std::printf("%s\n", what);
    const Tarsel::Options options = Parse(document);
    router.Reload(options.GetRootNode(), "vlans.json", Tarsel::DclConfigObject::VLAN_OPTIONS);
    router.Show(&terminal);
    loop.AdvanceMilliseconds(3000);
    std::printf(" a moment later\n");
    router.Show(&terminal);
    ShowStack();
  };

  apply("two beacons", R"({"BEACON": {"IF_LIST": {
      "a": {"Name": "BEACON_10_3", "interval": 5}, "b": {"Name": "BEACON_10_4"}}}})");
  apply("one of them changed", R"({"BEACON": {"IF_LIST": {
      "a": {"Name": "BEACON_10_3", "interval": 5}, "b": {"Name": "BEACON_10_4", "interval": 2}}}})");
  apply("one of them gone", R"({"BEACON": {"IF_LIST": {
      "b": {"Name": "BEACON_10_4", "interval": 2}}}})");
  const auto keepBusy = [&](unsigned int times) {
    stack.GetControl().Script(routing_stack::RowType::kProtocol, routing_stack::Answer(), times);
  };
  keepBusy(9);
  apply("another one while the stack is busy", R"({"BEACON": {"IF_LIST": {
      "b": {"Name": "BEACON_10_4", "interval": 2}, "c": {"Name": "BEACON_10_5"}}}})");
  keepBusy(9);
  apply("it goes while the stack is busy again", R"({"BEACON": {"IF_LIST": {
      "b": {"Name": "BEACON_10_4", "interval": 2}}}})");
  apply("withdrawn", R"({"other": 1})");
  return 0;
}
