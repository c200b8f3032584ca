// What SQLConnect and SQLConnectW share.
#ifndef ODBC_SQLCONNECTWIDE_H
#define ODBC_SQLCONNECTWIDE_H

#include "odbc/cass_handles.h"

// Reads the data source's settings and connects. Takes the three texts over; each may be null, not
// given. The result of cass_connect, or SQL_ERROR with HY000 when no server is known.
SQLRETURN SQLConnectWide(cass_conn *conn, cass_string *server_name, cass_string *user_name,
                         cass_string *authentication);

#endif
