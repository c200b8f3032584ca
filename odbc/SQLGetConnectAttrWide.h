// What the three forms of reading a connection attribute share.
#ifndef ODBC_SQLGETCONNECTATTRWIDE_H
#define ODBC_SQLGETCONNECTATTRWIDE_H

#include "core/record/cass_handles.h"

// Reads an attribute. buffer_length and the length stored are bytes; a number is 4 or 8 bytes wide
// and stored so. Any output may be null. `name` is the entry point's, for texts.
SQLRETURN cass_get_conn_attr(cass_conn *conn, const char *name, SQLINTEGER attribute,
                             SQLPOINTER value, SQLINTEGER buffer_length, SQLINTEGER *string_length,
                             bool wide);

#endif
