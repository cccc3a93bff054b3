// The numbers that the routing stack's rows use, as stack/sms.h lists them.
#ifndef VANTACORE_SRC_VALUES_ROW_CODES_H
#define VANTACORE_SRC_VALUES_ROW_CODES_H

namespace Tarsel {

/// What a request asks for.
enum RowStatus : int { ROW_ACTIVE = 1, ROW_CREATE_AND_GO = 4, ROW_DESTROY = 6 };
/// Whether a row is to be used.
enum AdminStatus : int { ADMIN_UP = 1, ADMIN_DOWN = 2 };
/// Whether an interface works.
enum OperStatus : int { OPER_UP = 1, OPER_DOWN = 2 };
/// An address's family. Any other number is IPv6 as well.
enum AddressType : int { TYPE_IPV4 = 1, TYPE_IPV6 = 2 };

}  // namespace Tarsel

#endif
