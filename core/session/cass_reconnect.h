// Another session in place of one that is lost, within the request that finds it so.
#ifndef CORE_SESSION_CASS_RECONNECT_H
#define CORE_SESSION_CASS_RECONNECT_H

#include "core/record/cass_handles.h"

// A session has begun: its number, and what belongs to the one before is forgotten. From now on it
// is made whole when it is lost, where conduct and settings want that. The caller holds
// exchange_lock.
//
// Making it whole is one walk through the servers, with the login of before and the keyspace that
// was in use, within the login time-out. When it fails the connection stays broken, and the reasons
// are posted on it. When SQLCancel, or the end of the connection, calls it off, the next request
// makes another attempt.
void cass_session_begins(cass_conn *conn);

#endif
