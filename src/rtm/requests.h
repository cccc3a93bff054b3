// What the requests for static routes and for redistribution rules have in common.
#ifndef VANTACORE_SRC_RTM_REQUESTS_H
#define VANTACORE_SRC_RTM_REQUESTS_H

#include "vantacore/cfg_sched.h"

namespace Tarsel {

/// What the log says about an answer.
struct OutcomeTexts {
  const char* done;
  const char* retry;
  const char* giveUp;
};

/// Hands an item to the configuration scheduler; without one it is deleted.
void InsertItem(const CfgKey& key, CfgItem* item);

/// An answer of the stack to a row. `probe`, an item of the same values, names the row: the
/// scheduler deletes its own item, sends it again later, or leaves it Issued.
void HandleAnswer(const CfgKey& key, CfgItem& probe, int rowStatus, unsigned int status,
                  const OutcomeTexts& texts);

}  // namespace Tarsel

#endif
