// The secure connect bundle: a zip file with config.json and PEM members that says where a hosted
// database is and how to trust it.
#ifndef CORE_SESSION_CASS_BUNDLE_H
#define CORE_SESSION_CASS_BUNDLE_H

#include <jansson.h>
#include <zip.h>

#include <cstddef>

#include "core/record/cass_handles.h"

// Reads `bundle_path` into the connection: server, metadata_port, astra, port, keyspace, the three
// PEM blocks, encrypt 1 and trust_server_certificate 0. 0, or -5 with HY000 (HY001 when memory runs
// out) posted; what was taken before a failure stays.
int cass_read_bundle(cass_conn *conn);

// json_loadb of `size` bytes, the fault of a text that is none in *error. Null without a fault
// (error->line 0) when memory runs out. The caller releases it.
json_t *cass_load_json(const void *text, std::size_t size, json_error_t *error);

// The rest of an open member as a new heap block (free with std::free; not NUL-terminated) with its
// size in bytes in *length. Null on a read failure or above 16 MiB, and with a *length of -1 when
// memory runs out.
unsigned char *extract_from_file(zip_file_t *file, std::int32_t *length);

#endif
