/* The platform's services: the debug log, the trace buffer, tagged memory, number text, the password cipher. */
#ifndef VNOS_PLATFORM_H
#define VNOS_PLATFORM_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Writes one formatted line to a debug log. The five numbers are reserved and 0. cell belongs to the calling statement:
 * it starts as -1 and caches the platform's filter decision. The first format argument is the mapping context. */
void _vnos_dt_log_filter_adv(void *log, int reserved1, int reserved2, int reserved3, int reserved4, int reserved5,
                             int32_t *cell, const char *format, ...) __attribute__((format(printf, 8, 9)));

/* Appends one line to a trace buffer; the text is copied. */
void _lstrace(void *trace_buffer, uint64_t flags, const char *text);

/* Zeroed memory accounted under the tag (a constant text); null when memory is short. reserved is 0. */
void *vnos_named_calloc_(uint64_t count, uint64_t size, const char *tag, int reserved);
void vnos_named_free(void *memory); /* null is ignored */

/* The decimal (or other base, 2 to 36) text of a number. buffer takes at least 33 bytes; returns buffer. */
char *utoa(uint32_t value, char *buffer, int base);

/* The password cipher. type names the cipher: 7 is the platform's own. The result is allocated, the caller's, and
 * released with vnos_named_free; null when the type is unknown, the key is missing or the text is not one of its own.
 * The memory of a deciphered text is wiped when it is released. */
char *pw_encrypt(int type, const char *clear);
char *pw_decrypt(int type, const char *cipher);

#ifdef __cplusplus
}
#endif

#endif
