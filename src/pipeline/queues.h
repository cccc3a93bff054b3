// The two queues of the request pipeline, for the code that fills them. The router manager owns
// both and is above their users, so src/manager/rooms_below.cpp defines
// what is declared here.
#ifndef VANTACORE_SRC_PIPELINE_QUEUES_H
#define VANTACORE_SRC_PIPELINE_QUEUES_H

namespace Tarsel {

class CfgSched;
class Serializer;

/// The serializer; null if the router manager cannot be created. The first call creates the
/// manager.
Serializer* CurrentSerializer();
/// The configuration scheduler, under the same conditions.
CfgSched* CurrentCfgSched();

}  // namespace Tarsel

#endif
