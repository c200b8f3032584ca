// Session start: OPTIONS, STARTUP, the password authenticator, USE (native protocol v4, section
// 4.1).
#ifndef CORE_SESSION_CASS_LOGON_H
#define CORE_SESSION_CASS_LOGON_H

#include "core/record/cass_handles.h"

// From settings to a session, in place of one that stands. SQL_SUCCESS with `connected` set.
// SQL_ERROR (-1) with diagnostics. A keyspace that the server refuses gives SQL_SUCCESS_WITH_INFO
// without a record, the session closed. Holds exchange_lock from the first socket on: nobody else
// sees a socket whose session does not stand.
SQLRETURN cass_connect(cass_conn *conn, int flag);
// Settles until when a session is to stand that is asked for now, by the login time-out.
void cass_limit_logon(cass_conn *conn);
// The part of it that opens a session until then, in place of none: 0 with the
// session standing; 1 when its keyspace was refused without a record; a negative value. Of a
// connection that is made whole (`mended_for`) the keyspace is the one that was in use. The caller
// holds exchange_lock.
int cass_open_session(cass_conn *conn);

#endif
