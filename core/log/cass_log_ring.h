// The log in memory: one ring of texts for the process, dumped at the first error.
#ifndef CORE_LOG_CASS_LOG_RING_H
#define CORE_LOG_CASS_LOG_RING_H

#include "core/record/cass_handles.h"

// Appends one entry; the oldest goes when 99999 are kept. The first connection that ever adds one
// decides where a dump goes.
void cass_log_ring_add(const cass_conn *conn, const char *text);

// Writes all entries, oldest first, between two banners to that connection's log file (standard
// error without one) and empties the ring. The ring stays as it is if the file cannot be opened.
void cass_log_flush();

#endif
