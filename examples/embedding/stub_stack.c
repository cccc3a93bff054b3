/* A routing stack of the smallest kind that a host can be tried with: it takes every request, keeps
 * the routes, interfaces and addresses, says what it was asked for, and answers. It routes nothing.
 *
 * What a real stack does as well, and what the library relies on:
 * - A request is queued and answered later, from nbb_scheduler().
 * - Queueing asks for a run: without cRescheduleNBase() nobody ever calls nbb_scheduler().
 * - cI3Ready() comes first and once. Until then the library holds row requests back.
 * - Each request for a row ends in one cRunPendingAction() with the row's identifier, routes and rules
 *   after their answer with a status. One that is missing stops the row for good.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "device/stack/protocol_rows.h"
#include "stack/sms.h"
#include "vantacore/dcrouter_api.h"

enum { DONE = 1, WRONG = 3, GONE = 6 }; /* status of an answer */
enum { CREATE = 4, DESTROY = 6, ROWS = 1024 };
enum { OK = 1, END_OF_TABLE = 7 };

typedef struct event {
  struct event* next;
  void (*run)(struct event*);
  int row_status, admin_status, type, path_type, source, destination;
  unsigned int instance, if_index, metric, oper_status, flags, mtu, table, length;
  unsigned char address[16], next_hop[16], key[SMS_PROTOCOL_KEY_MAX];
  char name[64];
  sms_response response;
  void* command;
  int row;
} event;

static event *first, *last;
static amb_cipr_rtm_rib routes[ROWS];
static int route_count;
static amb_stubs_i3_ei interfaces[ROWS];
static int interface_count;
static amb_stubs_i3_ea addresses[ROWS];
static int address_count;
static sms_protocol_answer protocol_answer;
unsigned int nbb_os_failures;

static void append(event* e) {
  e->next = NULL;
  *(last ? &last->next : &first) = e;
  last = e;
  if (!cIsNBaseRescheduled()) cRescheduleNBase();
}

static event* queue(void (*run)(event*)) {
  event* e = calloc(1, sizeof *e);
  if (!e) abort();
  e->run = run;
  append(e);
  return e;
}

static void say(const char* what, const event* e) {
  printf("stack: %s of instance %u %s\n", what, e->instance,
         e->row_status == DESTROY ? "destroyed" : "set");
}

static void done(const unsigned int* oid, unsigned int length) {
  cRunPendingAction((unsigned int*)oid, length);
}

/* --- what a run makes of a request --- */

static void run_ready(event* e) {
  (void)e;
  cI3Ready();
}

static void run_rtm(event* e) {
  amb_cipr_rtm_entity row;
  int i;
  say("routing table", e);
  if (e->row_status != DESTROY) {
    if (cGetRtmConfig(e->instance, &row) == 1 && !cIsRtmReady(e->instance)) {
      cSetRtmReady(e->instance);
    }
    return;
  }
  for (i = route_count - 1; i >= 0; --i) {
    if (routes[i].instance == e->instance) routes[i] = routes[--route_count];
  }
}

/* Where the request's route stands, or the first free place. */
static int find_route(const event* e) {
  int i = 0;
  while (i < route_count &&
         (routes[i].instance != e->instance || routes[i].prefix_length != e->length ||
          routes[i].if_index != e->if_index || memcmp(routes[i].destination, e->address, 16) ||
          memcmp(routes[i].next_hop, e->next_hop, 16))) {
    ++i;
  }
  return i;
}

static unsigned int store_route(const event* e) {
  const int at = find_route(e);
  amb_cipr_rtm_rib* row = &routes[at];
  if (e->row_status == DESTROY) {
    if (at == route_count) return GONE;
    memmove(row, row + 1, (size_t)(--route_count - at) * sizeof *row);
    return DONE;
  }
  if (at == ROWS) return WRONG; /* the library gives the request up */
  if (at == route_count) ++route_count;
  memset(row, 0, sizeof *row);
  row->instance = e->instance;
  memcpy(row->destination, e->address, 16);
  memcpy(row->next_hop, e->next_hop, 16);
  row->prefix_length = e->length;
  row->if_index = e->if_index;
  row->route_type = 4;
  row->route_proto = 3;
  row->metric1 = e->metric;
  row->fib_flag = e->admin_status == 1;
  return DONE;
}

static void run_route(event* e) {
  unsigned int oid[SMS_OID_MAX];
  const unsigned short instance = (unsigned short)e->instance;
  const unsigned int status = store_route(e);
  say("route", e);
  cSetRouteState(instance, e->type, e->address, e->length, e->next_hop, e->if_index, (int)e->metric,
                 e->path_type, e->row_status, e->admin_status, 0, status);
  done(oid,
       sms_get_route_oid(oid, instance, e->type, e->address, e->length, e->next_hop, e->if_index));
}

static void run_interface(event* e) {
  unsigned int oid[SMS_OID_MAX];
  int i = 0;
  while (i < interface_count &&
         (interfaces[i].instance != e->instance || interfaces[i].if_index != e->if_index)) {
    ++i;
  }
  say("interface", e);
  if (e->row_status == DESTROY) {
    if (i < interface_count) interfaces[i] = interfaces[--interface_count];
  } else if (e->row_status != CREATE) { /* up or down: the rest of the request is empty */
    if (i < interface_count) interfaces[i].oper_status = e->oper_status;
  } else if (i < ROWS) {
    if (i == interface_count) ++interface_count;
    interfaces[i].instance = e->instance;
    interfaces[i].if_index = e->if_index;
    interfaces[i].oper_status = e->oper_status;
    interfaces[i].flags = e->flags;
    interfaces[i].mtu = e->mtu;
    snprintf(interfaces[i].name, sizeof interfaces[i].name, "%s", e->name);
  }
  done(oid, sms_set_i3_ei_oid(oid, e->instance, e->if_index));
}

static void run_address(event* e) {
  unsigned int oid[SMS_OID_MAX];
  int i = 0;
  while (i < address_count &&
         (addresses[i].instance != e->instance || addresses[i].if_index != e->if_index ||
          memcmp(addresses[i].address, e->address, 16))) {
    ++i;
  }
  say("address", e);
  if (e->row_status == DESTROY) {
    if (i < address_count) addresses[i] = addresses[--address_count];
  } else if (i < ROWS) {
    if (i == address_count) ++address_count;
    addresses[i].instance = e->instance;
    addresses[i].if_index = e->if_index;
    addresses[i].address_type = (unsigned int)e->type;
    addresses[i].prefix_length = e->length;
    memcpy(addresses[i].address, e->address, 16);
  }
  done(oid, sms_set_i3_ea_oid(oid, e->instance, e->if_index, e->address, e->type));
}

static void run_rule(event* e) {
  unsigned int oid[SMS_OID_MAX];
  say("redistribution rule", e);
  cSetRedistState((unsigned int)e->row_status, (unsigned int)e->admin_status,
                  (unsigned int)e->source, (unsigned int)e->destination, 0, e->instance, 0, DONE);
  done(oid, sms_set_cipr_redist_oid(oid, e->instance, (unsigned int)e->source,
                                    (unsigned int)e->destination));
}

static void run_protocol_row(event* e) {
  unsigned int oid[SMS_OID_MAX];
  say("protocol row", e);
  if (protocol_answer) {
    protocol_answer(e->table, e->instance, e->key, e->length, e->row_status, e->admin_status, DONE);
  }
  done(oid, sms_get_protocol_row_oid(oid, e->table, e->instance, e->key, e->length));
}

/* A walk reports one row a run. A zero answer ends it, and its command may be gone by then. */
static void walk(event* e, void* row) {
  const unsigned char more = e->response(e->command, 0, row ? OK : END_OF_TABLE, row);
  if (more && row) {
    event* next = queue(e->run);
    next->response = e->response;
    next->command = e->command;
    next->instance = e->instance;
    next->row = e->row + 1;
  }
}

static void walk_routes(event* e) {
  amb_cipr_rtm_rib copy; /* the route table's row is the beginning of the RIB's */
  if (e->row < route_count) copy = routes[e->row];
  walk(e, e->row < route_count ? &copy : NULL);
}

static void walk_interfaces(event* e) {
  amb_stubs_i3_ei copy;
  while (e->row < interface_count && interfaces[e->row].instance != e->instance) ++e->row;
  if (e->row < interface_count) copy = interfaces[e->row];
  walk(e, e->row < interface_count ? &copy : NULL);
}

static void walk_addresses(event* e) {
  amb_stubs_i3_ea copy;
  while (e->row < address_count && addresses[e->row].instance != e->instance) ++e->row;
  if (e->row < address_count) copy = addresses[e->row];
  walk(e, e->row < address_count ? &copy : NULL);
}

/* --- what the library and the protocol routers call --- */

void smsi_init(char* components) {
  (void)components;
  queue(run_ready);
}

int nbb_scheduler(void) {
  event* e = first;
  if (!e) return -1;
  first = e->next;
  if (!first) last = NULL;
  e->run(e);
  free(e);
  return first ? 0 : -1;
}

void sms_act_rtm(amb_cipr_rtm_entity* row) {
  event* e = queue(run_rtm);
  e->instance = row->word[0];
  e->row_status = (int)row->word[1];
}

void sms_update_route(int not_shared, int row_status, int admin_status, int address_type,
                      const unsigned char* destination, unsigned int prefix_length,
                      const unsigned char* next_hop, int path_type, unsigned int if_index,
                      unsigned short instance, unsigned short metric) {
  event* e = queue(run_route);
  const size_t bytes = address_type == 1 ? 4 : 16;
  (void)not_shared;
  e->row_status = row_status;
  e->admin_status = admin_status;
  e->type = address_type;
  memcpy(e->address, destination, bytes);
  e->length = prefix_length;
  memcpy(e->next_hop, next_hop, bytes);
  e->path_type = path_type;
  e->if_index = if_index;
  e->instance = instance;
  e->metric = metric;
}

void sms_act_interface(int row_status, unsigned int oper_status, unsigned int instance,
                       unsigned int if_index, const char* name, unsigned int if_attr,
                       unsigned int flags, unsigned int extra) {
  event* e = queue(run_interface);
  (void)if_attr;
  e->row_status = row_status;
  e->oper_status = oper_status;
  e->instance = instance;
  e->if_index = if_index;
  e->flags = flags;
  e->mtu = extra; /* ours; the library hands the number on as the host gave it */
  snprintf(e->name, sizeof e->name, "%s", name ? name : "");
}

void sms_bld_amb_test_i3_ei(int row_status, unsigned int oper_status, unsigned int instance,
                            unsigned int if_index, const char* name, unsigned int if_attr,
                            unsigned int flags, unsigned int extra) {
  sms_act_interface(row_status, oper_status, instance, if_index, name, if_attr, flags, extra);
}

void sms_act_ipaddr(int row_status, unsigned int vlan_or_instance, int address_type,
                    unsigned int if_index, const unsigned char* address, unsigned int length) {
  event* e = queue(run_address);
  e->row_status = row_status;
  e->instance = vlan_or_instance;
  e->type = address_type;
  e->if_index = if_index;
  e->length = length;
  memcpy(e->address, address, address_type == 1 ? 4 : 16);
}

void sms_act_cipr_redist(int row_status, int admin_status, int source, int destination,
                         unsigned int vlan, unsigned int zero) {
  event* e = queue(run_rule);
  (void)zero;
  e->row_status = row_status;
  e->admin_status = admin_status;
  e->source = source;
  e->destination = destination;
  e->instance = vlan;
}

void sms_bld_amb_test_cipr_redist(int row_status, int admin_status, int source, int destination,
                                  unsigned int vlan, unsigned int zero) {
  sms_act_cipr_redist(row_status, admin_status, source, destination, vlan, zero);
}

void sms_act_protocol_row(int not_shared, unsigned int table, int row_status, int admin_status,
                          unsigned int instance, const unsigned char* key, unsigned int key_length,
                          const char* payload) {
  event* e = queue(run_protocol_row);
  (void)not_shared, (void)payload;
  e->table = table;
  e->row_status = row_status;
  e->admin_status = admin_status;
  e->instance = instance;
  e->length = key_length < sizeof e->key ? key_length : (unsigned int)sizeof e->key;
  memcpy(e->key, key, e->length);
}

void sms_register_protocol_answer(sms_protocol_answer answer) { protocol_answer = answer; }

/* Identifiers name a row: same arguments, same numbers; other arguments, other numbers. */

static unsigned int put(unsigned int* buffer, unsigned int n, const void* bytes, size_t size) {
  memset(buffer + n, 0, 16);
  memcpy(buffer + n, bytes, size);
  return n + 4;
}

unsigned int sms_get_route_oid(unsigned int* buffer, unsigned short instance, int address_type,
                               const unsigned char* destination, unsigned int prefix_length,
                               const unsigned char* next_hop, unsigned int if_index) {
  const size_t bytes = address_type == 1 ? 4 : 16;
  buffer[0] = 1;
  buffer[1] = instance;
  buffer[2] = prefix_length;
  buffer[3] = if_index;
  return put(buffer, put(buffer, 4, destination, bytes), next_hop, bytes);
}

unsigned int sms_set_i3_ei_oid(unsigned int* buffer, unsigned int instance, unsigned int if_index) {
  buffer[0] = 2;
  buffer[1] = instance;
  buffer[2] = if_index;
  return 3;
}

unsigned int sms_set_i3_ea_oid(unsigned int* buffer, unsigned int instance, unsigned int if_index,
                               const void* address, int address_type) {
  buffer[0] = 3;
  buffer[1] = instance;
  buffer[2] = if_index;
  return put(buffer, 3, address, address_type == 1 ? 4 : 16);
}

unsigned int sms_set_cipr_redist_oid(unsigned int* buffer, unsigned int vlan, unsigned int source,
                                     unsigned int destination) {
  buffer[0] = 4;
  buffer[1] = vlan;
  buffer[2] = source;
  buffer[3] = destination;
  return 4;
}

unsigned int sms_get_protocol_row_oid(unsigned int* buffer, unsigned int table,
                                      unsigned int instance, const unsigned char* key,
                                      unsigned int key_length) {
  const unsigned int length = key_length < SMS_PROTOCOL_KEY_MAX ? key_length : SMS_PROTOCOL_KEY_MAX;
  unsigned int i;
  buffer[0] = 5;
  buffer[1] = table;
  buffer[2] = instance;
  for (i = 0; i < length; ++i) buffer[3 + i] = key[i];
  return 3 + length;
}

static void queue_walk(void (*run)(event*), unsigned int instance, sms_response response,
                       void* command) {
  event* e = queue(run);
  e->instance = instance;
  e->response = response;
  e->command = command;
}

void sms_get_next_i3_ei(unsigned int instance, sms_response response, void* command) {
  queue_walk(walk_interfaces, instance, response, command);
}
void sms_get_next_i3_ea(unsigned int instance, sms_response response, void* command) {
  queue_walk(walk_addresses, instance, response, command);
}
void sms_get_next_rtm_route(sms_response response, void* command) {
  queue_walk(walk_routes, 0, response, command);
}
void sms_get_next_rtm_rib(sms_response response, void* command) {
  queue_walk(walk_routes, 0, response, command);
}

/* Nothing to trace, no descriptors, no protocol tables to look into. */

void InvokeCallback(int fd, int events) { (void)fd, (void)events; }
void nbb_trips_control(int on) { (void)on; }
void nbb_set_ips_filter(char* filter, unsigned short value) { (void)filter, (void)value; }
int nbb_get_ips_tracing(void) { return 0; }
int sms_get_protocol_row(unsigned int table, unsigned int instance, const unsigned char* key,
                         unsigned int key_length, sms_protocol_row* row) {
  (void)table, (void)instance, (void)key, (void)key_length, (void)row;
  return 0;
}
int sms_get_next_protocol_row(unsigned int table, unsigned int instance, const unsigned char* key,
                              unsigned int key_length, sms_protocol_row* row) {
  (void)table, (void)instance, (void)key, (void)key_length, (void)row;
  return 0;
}
int sms_get_next_redistributed(unsigned int instance, unsigned int destination,
                               const amb_cipr_rtm_route* previous, amb_cipr_rtm_route* row) {
  (void)instance, (void)destination, (void)previous, (void)row;
  return 0;
}
