/* What surrounds the calls of a host: Ctrl-C and a deadline end them, long listings show their
 * progress, and failures become advice. */
#ifndef CALLS_H
#define CALLS_H

#include <libvemlo_service_client.h>

/* Prepares the calls of this thread. Returns 0 on failure. */
int prepareCalls(void);

/* Begins a call: it has half a minute, and its failure will be the last one. */
void beginCall(void);

/* Why the last call failed: a vemlo_client_kind. */
int32_t lastKind(void);

/* Prints what failed, why, and what the user can do. */
void printFailure(const char *what);

/* Releases what prepareCalls() has created. */
void releaseCalls(void);

#endif
