// A request becomes an item of the configuration scheduler, which sends it once the VLAN's RTM
// instance is ready. The stack answers with the row's values and a status; here it is decided which
// answers ask for another attempt. How many attempts there are is decided by CfgSched::Update.
#include "requests.h"

#include "src/pipeline/queues.h"
#include "src/values/row_codes.h"
#include "tarsel/trace.h"

namespace Tarsel {

namespace {

constexpr unsigned int STATUS_DONE = 1;
constexpr unsigned int STATUS_RETRY = 5;
constexpr unsigned int STATUS_GONE = 6;

}  // namespace

void InsertItem(const CfgKey& key, CfgItem* item) {
  CfgSched* scheduler = CurrentCfgSched();
  if (scheduler == nullptr) {
    delete item;
    return;
  }
  scheduler->Insert(key, item);
}

void HandleAnswer(const CfgKey& key, CfgItem& probe, int rowStatus, unsigned int status,
                  const OutcomeTexts& texts) {
  const bool destroy = rowStatus == ROW_DESTROY;
  const bool done = status == STATUS_DONE || (status == STATUS_GONE && destroy);
  const bool retry = status == STATUS_RETRY || destroy;
  // The log tells the outcome first: asking for the scheduler may create the manager, or fail.
  TRACE(10, "%s", done ? texts.done : retry ? texts.retry : texts.giveUp);
  CfgSched* scheduler = CurrentCfgSched();
  if (scheduler == nullptr) {
    return;
  }
  if (done) {
    scheduler->Remove(key, &probe, status);
  } else {
    scheduler->Update(key, &probe, status, retry);
  }
}

}  // namespace Tarsel
