// How changes are counted.
#ifndef DEVICE_PLAN_COUNT_H
#define DEVICE_PLAN_COUNT_H

#include "change.h"

namespace plan {

/// Counts one change.
void AddTo(Totals& totals, Thing thing, How how);

}  // namespace plan

#endif
