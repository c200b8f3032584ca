// The walk through the list of servers, until a session stands.
#ifndef CORE_SESSION_CASS_WALK_H
#define CORE_SESSION_CASS_WALK_H

#include "core/record/cass_handles.h"

// Makes a session of the open socket. 0, or another value with the failure posted on the
// connection.
using cass_session_start = int (*)(cass_conn *conn);

// Tries the addresses of the servers in the setting, in turn or from a random server on, until one
// of them gives a socket on which `start` succeeds; of a hosted database, each contact point of
// each address. `port` 0: the entry's or 9042. logon_ends is shared out equally among these
// attempts and the `later` ones of another walk. 0, with `host` telling the server. -1 without a
// socket, and with what ends any attempt as it was posted (28000 and HY001; 3F000 and 42000 too,
// unless a connection is made whole), or one record for all that was tried: HYT00 when the time is
// up or was for each of them, 08004 when each server has refused, else 08001. The caller holds
// exchange_lock.
int cass_walk_servers(cass_conn *conn, std::int32_t port, cass_session_start start,
                      std::int32_t later);
// Ends the session on the socket, if there is one.
void cass_leave_socket(cass_conn *conn);

#endif
