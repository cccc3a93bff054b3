#include "vantacore/dc_ospf_router_base.h"

namespace Tarsel {

DcOspfRouterBase::DcOspfRouterBase(const string& protocol, unsigned short vid,
                                   DcProtoConfigBase* config)
    : DcRouterBase(protocol, vid, config) {}

DcOspfRouterBase::~DcOspfRouterBase() = default;

}  // namespace Tarsel
