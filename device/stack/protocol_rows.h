/* Rows of the routing protocols' own configuration tables, for the protocol routers.
 *
 * 1. A row is named by its table (the routers' own numbering), its instance and a key of 1 to 64
 *    bytes; its content is a text. The stack stores the row, answers the request, and returns the
 *    row to the getters.
 * 2. A request is only queued, like every row request. Its answer comes from nbb_scheduler(): first
 *    the registered answer function, then cRunPendingAction() with the row's identifier.
 * 3. Row status 1 and 4 create or overwrite, 6 destroys. Status of an answer: 1 done; 3 wrong value
 *    (row status, admin status, key); 5 the instance does not exist, to be retried; 6 the row to be
 *    destroyed is not there. A row is removed with its instance.
 * 4. The getters look at the tables as they are now and may be called at any time.
 */
#ifndef DEVICE_STACK_PROTOCOL_ROWS_H
#define DEVICE_STACK_PROTOCOL_ROWS_H

#include "stack/sms.h"

#ifdef __cplusplus
extern "C" {
#endif

enum { SMS_PROTOCOL_KEY_MAX = 64 };

/* `not_shared` as in sms_update_route. A null payload is an empty one. A destroy ignores it. */
SMS_API void sms_act_protocol_row(int not_shared, unsigned int table, int row_status,
                                  int admin_status, unsigned int instance, const unsigned char* key,
                                  unsigned int key_length, const char* payload);

/* The row's identifier; pure. */
SMS_API unsigned int sms_get_protocol_row_oid(unsigned int* buffer, unsigned int table,
                                              unsigned int instance, const unsigned char* key,
                                              unsigned int key_length);

/* The outcome of a request, with its arguments; `key` is valid during the call. */
typedef void (*sms_protocol_answer)(unsigned int table, unsigned int instance,
                                    const unsigned char* key, unsigned int key_length,
                                    int row_status, int admin_status, unsigned int status);

/* One function for the whole process, until another one is registered; null registers none. */
SMS_API void sms_register_protocol_answer(sms_protocol_answer answer);

typedef struct sms_protocol_row {
  unsigned int table;
  unsigned int instance;
  unsigned char key[SMS_PROTOCOL_KEY_MAX];
  unsigned int key_length;
  int admin_status;
  const char* payload; /* valid until the stack runs again */
} sms_protocol_row;

/* One row: 1 with it filled in, 0 (row untouched) when it is not there. */
SMS_API int sms_get_protocol_row(unsigned int table, unsigned int instance,
                                 const unsigned char* key, unsigned int key_length,
                                 sms_protocol_row* row);

/* The row after a key in the table of an instance, in the order of the keys' bytes; the first one
 * for a null key. 1 with the row filled in, 0 (row untouched) when there is none. */
SMS_API int sms_get_next_protocol_row(unsigned int table, unsigned int instance,
                                      const unsigned char* key, unsigned int key_length,
                                      sms_protocol_row* row);

/* The routes that redistribution rules hand to a protocol of an instance: the installed ones of the
 * rules' source protocols. `destination` is a protocol code, the route-protocol code shifted left
 * by 16 bits. The route after the prefix of `previous`, the first one for a null pointer. The two
 * rows may be the same. 1 with the row filled in, 0 (row untouched) when there is none. */
SMS_API int sms_get_next_redistributed(unsigned int instance, unsigned int destination,
                                       const amb_cipr_rtm_route* previous, amb_cipr_rtm_route* row);

#ifdef __cplusplus
}
#endif

#endif
