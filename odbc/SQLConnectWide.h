// What SQLConnect and SQLConnectW share.
#ifndef ODBC_SQLCONNECTWIDE_H
#define ODBC_SQLCONNECTWIDE_H

#include "core/record/cass_handles.h"

// An argument and its text, which is null where nothing was given or memory ran out.
struct connect_argument {
    const void *given;
    cass_string *text;
};

inline bool connect_argument_lost(const connect_argument &argument)
{
    return argument.given != nullptr && argument.text == nullptr;
}

// Reads the data source's settings and connects. Takes the three texts over. The result of
// cass_connect, or SQL_ERROR with HY000 when no server is known, with HY001 when memory ran out.
SQLRETURN SQLConnectWide(cass_conn *conn, const connect_argument &server_name,
                         const connect_argument &user_name, const connect_argument &authentication);

#endif
