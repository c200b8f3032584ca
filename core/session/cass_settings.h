// Connection settings: from a DSN of odbc.ini, a connection string or the setup library's block
// into the connection record, and back into the output connection string.
#ifndef CORE_SESSION_CASS_SETTINGS_H
#define CORE_SESSION_CASS_SETTINGS_H

#include <cstddef>

#include "core/record/cass_handles.h"

// The block exchanged with the setup library and driver_test. Texts end at a NUL or at the field's
// end.
struct cass_settings_block {
    char dsn[1024];
    char user[1024];
    char password[1024];
    char server[1024];
    char keyspace[1024];
    char private_key_file[1024];
    char certificate_file[1024];
    char public_key_file[1024];
    char log_file[1024];
    std::int32_t logging;  // above 0: mask 31
    std::int32_t port;
    std::int32_t ipv6;
    std::int32_t encrypt;
    std::int32_t trust_server_certificate;
    char bundle_path[1024];
    std::int32_t metadata_port;
    std::int32_t astra;
    std::int32_t consistency;
};
static_assert(sizeof(cass_settings_block) == 10272);
static_assert(offsetof(cass_settings_block, logging) == 9216 &&
              offsetof(cass_settings_block, bundle_path) == 9236 &&
              offsetof(cass_settings_block, metadata_port) == 10260 &&
              offsetof(cass_settings_block, consistency) == 10268);

// The three ways in give 0, or -1 with HY001 posted: no setting is dropped when memory runs out.
// The first two choose the conduct by what they read, and where settings are judged
// (cass_checked_settings.h) -1 with HY000 posted tells of a value that its key does not take.
//
// SQLConnect: the DSN's section, overridden by the arguments. Null texts are not given.
int cass_read_dsn_settings(cass_conn *conn, const cass_string *dsn, const cass_string *user,
                           const cass_string *password);
// SQLDriverConnect: the string's keys, then what its DSN adds.
int cass_parse_connect_string(cass_conn *conn, const cass_string *connect_string);
// The text of a block's fields replaces the settings; an empty field clears one.
int cass_apply_settings_block(cass_conn *conn, const cass_settings_block *block);
// The conduct that a connection string, or the data source that it names, asks for. False when
// memory ran out.
bool cass_choose_conduct_by_string(cass_conn *conn, const cass_string *connect_string);
// The conduct that the settings ask for. The ways in call it, and cass_connect for whoever has set
// fields by hand.
void cass_choose_conduct(cass_conn *conn);
// The output connection string; the caller owns it. Null when memory ran out.
cass_string *cass_build_out_string(const cass_conn *conn);

#endif
