// Session start: OPTIONS, STARTUP, the password authenticator, USE (native protocol v4, section
// 4.1).
#ifndef CORE_SESSION_CASS_LOGON_H
#define CORE_SESSION_CASS_LOGON_H

#include "core/record/cass_handles.h"

// From settings to a session, in place of one that stands. SQL_SUCCESS with `connected` set.
// SQL_ERROR (-1) with diagnostics. A keyspace that the server refuses gives SQL_SUCCESS_WITH_INFO
// without a record, the session closed. Holds exchange_lock, which the callers of the functions
// below hold, from the first socket on: nobody else sees a socket whose session does not stand.
SQLRETURN cass_connect(cass_conn *conn, int flag);
// Opens a socket to the first server that answers. 0, or -1 with a diagnostic.
int cass_single_connect(cass_conn *conn, int flag);
// The handshake on the open socket, then USE. 0, 1 (USE failed) or a negative value.
int cass_establish_connection(cass_conn *conn);
// Answers an AUTHENTICATE body. 0, or -1 with a diagnostic.
int authenticate(cass_conn *conn, const unsigned char *body, std::int32_t length);
// Sends the SASL PLAIN token and reads the server's verdict. Texts are UTF-8; both null: the
// fallback pair. 0, or -1 with a diagnostic.
int cass_send_auth(cass_conn *conn, const char *user, const char *password);
// USE of the configured keyspace; 0 without one.
int cass_use_keyspace(cass_conn *conn);

#endif
