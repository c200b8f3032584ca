// What SQLDriverConnect and SQLDriverConnectW share.
#ifndef ODBC_SQLDRIVERCONNECTWIDE_H
#define ODBC_SQLDRIVERCONNECTWIDE_H

#include "odbc/SQLConnectWide.h"

// Where the completed connection string goes.
struct driver_connect_target {
    void *buffer;         // SQLCHAR or SQLWCHAR, may be null
    SQLSMALLINT size;     // of buffer, in its own characters
    SQLSMALLINT *length;  // full length in code units, may be null
    bool wide;
};

// Reads the connection string, whose text it takes over, prompts where the completion asks for it,
// connects, and writes the output string. The result of cass_connect; SQL_ERROR with HY000 when no
// server is known, with HY001 when memory ran out; what the setup library gave when the user
// cancelled, SQL_NO_DATA without one.
SQLRETURN SQLDriverConnectWide(cass_conn *conn, const connect_argument &connect_string,
                               SQLHWND window, SQLUSMALLINT completion,
                               const driver_connect_target &target);

// Writes the output string of a connected connection. True when it was cut, with 01004 posted; a
// null `text` is not written.
bool driver_connect_write(cass_conn *conn, const cass_string *text,
                          const driver_connect_target &target);

#endif
