// Connection attributes set, by SQLSetConnectAttr in both forms and by the ODBC 2 option.
#ifndef ODBC_SQLSETCONNECTATTRWIDE_H
#define ODBC_SQLSETCONNECTATTRWIDE_H

#include "odbc/entry_frame.h"
#include "odbc/text_form.h"

// What the callers differ in: the name in the log, the form of a text, and the states posted.
struct set_attr_form {
    const char *name;
    text_form form;            // TEXT_ANSI or TEXT_WIDE_BYTES
    cass_state_row unknown;    // an attribute that cannot be set
    cass_state_row bad_value;  // an isolation level that there is not
    cass_state_row no_memory;
};

// Sets an attribute to the low bits of `value`, or to the text that it points to: string_length
// bytes in both forms, or SQL_NTS.
SQLRETURN store_connect_attr(cass_conn *conn, const set_attr_form &form, SQLINTEGER attribute,
                             SQLPOINTER value, SQLINTEGER string_length);

SQLRETURN set_connect_attr_entry(SQLHDBC handle, const entry_point &entry, text_form form,
                                 SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER string_length);

#endif
