// The metadata service of a hosted database: one HTTP request over TLS that tells the contact
// points, and the small HTTP reader for its reply.
#ifndef CORE_CASS_ASTRA_H
#define CORE_CASS_ASTRA_H

#include "odbc/cass_handles.h"

struct http_response {
    cass_conn *conn;
    char *spare_header;  // never set
    char *body;          // NUL-terminated, null if the reply had none
    std::int32_t status;
    char *reason;
    char *spare_trailer;  // never set
    char *location;
    std::int32_t content_length;  // bytes in body, once it was read
    std::int32_t chunked;
    std::int32_t close;
};

// Asks GET /metadata over the connection's TLS session with HTTP basic authentication (RFC 7617)
// and stores contact_points, contact_sockets, contact_count, region, round_robin_port and, where it
// is 0, port. user and password: UTF-8 or null. 0; -4 if nothing could be written; -5 with HY000
// posted for a reply that is no 200, and without a record for a broken one.
int astra_comms(cass_conn *conn, const char *user, const char *password);

// Reads status line, headers and body (RFC 9112) from the connection. A new record; null when
// memory runs out or a length is above 16 MiB or no number. The caller frees it.
http_response *cass_read_response(cass_conn *conn);
// Null is accepted.
void cass_free_response(http_response *response);

// Reads one line without its end into `buffer` of `size` bytes, NUL-terminated; a longer line ends
// early. Bytes stored, also in *length where that is given, or the negative result of the read.
std::int32_t cass_read_line(cass_conn *conn, char *buffer, std::int32_t size, std::int32_t *length);

#endif
