// Runs the router on the software device, in time that moves when it is told to.
#include <json/reader.h>

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "device/base/timer_loop.h"
#include "device/documents/check.h"
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

/// Whether the document may be applied; says what is wrong with it. The protocol routers that the
/// host is linked with have declared their members; this one's come in addition.
bool Check(const std::string& text) {
  const documents::Protocols declared = documents::DeclaredProtocols();
  std::vector<documents::Member> members(declared.members, declared.members + declared.count);
  members.push_back(BEACON_PROTOCOL);
  const documents::CheckResult result = CheckDocument(
      documents::DocumentKind::VLANS, text, "vlans.json", {members.data(), members.size()});
  for (const auto* lines : {&result.errors, &result.warnings}) {
    for (const std::string& line : *lines) {
      std::printf("%s\n", line.c_str());
    }
  }
  return result.errors.empty();
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
  const auto apply = [&](const char* what, const std::string& members) {
    std::printf("%s\n", what);
    const std::string document = R"({"VLAN_CONFIGURATIONS": {"lab": {"vid": 10)" + members + "}}}";
    if (!Check(document)) {
      return;  // all or nothing: the router keeps what it has
    }
    const Tarsel::Options options = Parse(document);
    const Tarsel::OptionsNode entries = options.GetRootNode().GetChildNode("VLAN_CONFIGURATIONS");
    router.Reload(entries.GetChildNode("lab"), "vlans.json", Tarsel::DclConfigObject::VLAN_OPTIONS);
    router.Show(&terminal);
    loop.AdvanceMilliseconds(3000);
    std::printf(" a moment later\n");
    router.Show(&terminal);
    ShowStack();
  };

  apply("two beacons", R"(, "BEACON": {"IF_LIST": {
      "a": {"Name": "BEACON_10_3", "interval": 5}, "b": {"Name": "BEACON_10_4"}}})");
  apply("one of them changed", R"(, "BEACON": {"IF_LIST": {
      "a": {"Name": "BEACON_10_3", "interval": 5}, "b": {"Name": "BEACON_10_4", "interval": 2}}})");
  apply("one of them with a mistake", R"(, "BEACON": {"IF_LIST": {
      "a": {"Name": "BEACON_10_3", "interval": 5},
      "b": {"Name": "BEACON_11_4", "intervall": 1}}})");
  apply("one of them gone", R"(, "BEACON": {"IF_LIST": {
      "b": {"Name": "BEACON_10_4", "interval": 2}}})");
  const auto keepBusy = [&](unsigned int times) {
    stack.GetControl().Script(routing_stack::RowType::kProtocol, routing_stack::Answer(), times);
  };
  keepBusy(9);
  apply("another one while the stack is busy", R"(, "BEACON": {"IF_LIST": {
      "b": {"Name": "BEACON_10_4", "interval": 2}, "c": {"Name": "BEACON_10_5"}}})");
  keepBusy(9);
  apply("it goes while the stack is busy again", R"(, "BEACON": {"IF_LIST": {
      "b": {"Name": "BEACON_10_4", "interval": 2}}})");
  apply("withdrawn", "");
  return 0;
}
