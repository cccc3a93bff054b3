/* A client in C: the callback header and the stack's headers compile as C, and the functions are
 * reached under their C names. */

#include <stdio.h>

#include "stack/sms.h"
#include "vantacore/dcrouter_api.h"

static int failures;

static void expect(int holds, const char* what) {
  if (!holds) {
    printf("does not hold: %s\n", what);
    ++failures;
  }
}

int main(void) {
  unsigned int address = 7;

  expect(cIsIpv6Instance(0x8005) == 1, "0x8005 is an IPv6 instance");
  expect(cIsIpv6Instance(5) == 0, "5 is no IPv6 instance");
  expect(cGetIp4Instance(0x8005) == 5, "the IPv4 instance of 0x8005 is 5");
  expect(cGetIp6Instance(5) == 0x8005, "the IPv6 instance of 5 is 0x8005");
  expect(cIsRtmReady(5) == 0, "an unknown instance is not ready");
  cSetRtmReady(5);
  expect(cIsRtmReady(5) == 1, "an instance is ready once reported");
  expect(cGetVlanAddress(5, &address) == 0 && address == 7, "no interface, no address");
  expect(cGetVlanAddress(5, NULL) == 0, "no place for the address");
  return failures != 0;
}
