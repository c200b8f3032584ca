// The server's release.
#ifndef CORE_CATALOG_CASS_RELEASE_H
#define CORE_CATALOG_CASS_RELEASE_H

#include "core/record/cass_handles.h"

constexpr std::size_t RELEASE_ROOM = 80;  // bytes, with the terminator

// Asks the server for its release and writes it as ODBC 3.8 wants SQL_DBMS_VER: "##.##.####" and
// behind a blank the release as the server spells it ("05.00.0008 5.0.8"). 0, or -1 with the
// failure posted on the connection. One round trip.
int cass_server_release(cass_conn *conn, char (&release)[RELEASE_ROOM]);

#endif
