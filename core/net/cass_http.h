// The reader for the reply to the driver's one HTTP request (RFC 9112): status line, headers, and a
// body with a length or in chunks.
#ifndef CORE_NET_CASS_HTTP_H
#define CORE_NET_CASS_HTTP_H

#include "core/record/cass_handles.h"

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
    std::int32_t close;  // never set: nothing depends on it
};

// Reads a reply from the connection. A new record, also when the peer breaks off: it then holds
// what came, with the read's failure posted. Null when memory runs out, with HY001 posted, or when
// a length is negative or above 16 MiB. The caller frees it.
http_response *cass_read_response(cass_conn *conn);
// Null is accepted.
void cass_free_response(http_response *response);
using held_response = held<http_response, &cass_free_response>;

#endif
