// SQLConnect in both forms.
#ifndef ODBC_SQLCONNECTWIDE_H
#define ODBC_SQLCONNECTWIDE_H

#include "odbc/entry_frame.h"

// Reads the data source's settings and connects. The result of cass_connect, or SQL_ERROR with
// HY000 when no server is known, with HY001 when memory ran out.
SQLRETURN cass_connect_by_name(cass_conn *conn, const text_argument &server_name,
                               const text_argument &user_name, const text_argument &authentication);

SQLRETURN connect_entry(SQLHDBC handle, const entry_point &entry, const text_argument &server_name,
                        const text_argument &user_name, const text_argument &authentication);

#endif
