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

#endif
