// SQLDriverConnect in both forms.
#ifndef ODBC_SQLDRIVERCONNECTWIDE_H
#define ODBC_SQLDRIVERCONNECTWIDE_H

#include "odbc/entry_frame.h"
#include "odbc/text_form.h"

// Where the completed connection string goes.
struct driver_connect_target {
    void *buffer;         // SQLCHAR or SQLWCHAR, may be null
    SQLSMALLINT size;     // of buffer, in its own characters
    SQLSMALLINT *length;  // full length in code units, may be null
    text_form form;       // TEXT_ANSI or TEXT_WIDE_UNITS
};

// Writes the output string of a connected connection. True when it was cut, with 01004 posted; a
// null `text` is not written.
bool driver_connect_write(cass_conn *conn, const cass_string *text,
                          const driver_connect_target &target);

// Reads the connection string, prompts where the completion asks for it, connects, and writes the
// output string. The result of cass_connect; SQL_ERROR with HY000 when no server is known, with
// HY001 when memory ran out; what the setup library gave when the user cancelled, SQL_NO_DATA
// without one.
SQLRETURN driver_connect_entry(SQLHDBC handle, const entry_point &entry, SQLHWND window,
                               const text_argument &connect_string, SQLUSMALLINT completion,
                               const driver_connect_target &target);

#endif
