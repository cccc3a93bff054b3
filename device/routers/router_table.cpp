#include "router_table.h"

#include "host/dc_console.h"
#include "vantacore/dc_router_base.h"

namespace Tarsel {

namespace {

class Row : public DcRouterMgr::DcRouterIteratorFunc {
 public:
  explicit Row(DcConsole* console) : m_console(console) {}
  void Invoke(DcRouterBase* router) override { router->GetInterface()->Display(m_console); }

 private:
  DcConsole* m_console;
};

}  // namespace

void ShowRouters(DcConsole* console, const char* tree, DcRouterMgr::ProtocolType type, int argc,
                 char** argv) {
  if (argc > 1) {
    console->Print("Usage: %s %s\n", tree, argv[0]);
    return;
  }
  console->Print("%6s %8s %6s %s\n", "VID", "Enabled", "Ready", "Interfaces up");
  Row row(console);
  DcRouterMgr::GetInstance()->ForEachDcRouter(&row, type);
}

}  // namespace Tarsel
