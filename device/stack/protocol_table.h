// The function that reports the outcome of requests for protocol rows.
#ifndef DEVICE_STACK_PROTOCOL_TABLE_H
#define DEVICE_STACK_PROTOCOL_TABLE_H

#include "protocol_rows.h"

namespace routing_stack {

void SetProtocolAnswer(sms_protocol_answer answer);

}  // namespace routing_stack

#endif
