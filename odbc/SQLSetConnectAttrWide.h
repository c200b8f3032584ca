// What the three forms of setting a connection attribute share.
#ifndef ODBC_SQLSETCONNECTATTRWIDE_H
#define ODBC_SQLSETCONNECTATTRWIDE_H

#include "core/diag/cass_err.h"

// How a form differs: its name in the log, its text arguments, and the states that it posts.
struct set_attr_form {
    const char *name;
    bool wide;
    cass_state_row unknown;    // an attribute that cannot be set
    cass_state_row bad_value;  // an isolation level that there is not
    cass_state_row no_memory;
};

// Sets an attribute to the low bits of `value`, or to the text that it points to: string_length
// bytes in both forms, or SQL_NTS.
SQLRETURN cass_set_conn_attr(cass_conn *conn, const set_attr_form *form, SQLINTEGER attribute,
                             SQLPOINTER value, SQLINTEGER string_length);

#endif
