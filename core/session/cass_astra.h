// The metadata service of a hosted database: one HTTP request over TLS that tells the contact
// points.
#ifndef CORE_SESSION_CASS_ASTRA_H
#define CORE_SESSION_CASS_ASTRA_H

#include "core/record/cass_handles.h"

// Asks GET /metadata over the connection's TLS session with HTTP basic authentication (RFC 7617)
// and stores contact_points, contact_sockets, contact_count, region, round_robin_port and, where it
// is 0, port. user and password: UTF-8 or null. 0; -4 if nothing could be written; -5 with HY000
// posted for a reply that is no 200, with HY001 when memory runs out, and without a record for a
// broken one.
int astra_comms(cass_conn *conn, const char *user, const char *password);

#endif
