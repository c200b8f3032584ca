// Connection attributes read, by SQLGetConnectAttr in both forms and by the ODBC 2 option.
#ifndef ODBC_SQLGETCONNECTATTRWIDE_H
#define ODBC_SQLGETCONNECTATTRWIDE_H

#include "odbc/entry_frame.h"
#include "odbc/text_form.h"

// Where the value goes; both pointers may be null.
struct attr_target {
    void *value;
    SQLINTEGER size;     // of value in bytes, in both forms; read for texts only
    SQLINTEGER *length;  // of a number 4 or 8, of a text in units (ANSI) or in bytes (wide)
    text_form form;      // TEXT_ANSI or TEXT_WIDE_BYTES
};

// 01004 for a text that was cut, HY092 for an attribute that cannot be read. A few post HY000
// beside their success. `name` is the entry point's, for texts.
SQLRETURN read_connect_attr(cass_conn *conn, const char *name, SQLINTEGER attribute,
                            const attr_target &target);

SQLRETURN get_connect_attr_entry(SQLHDBC handle, const entry_point &entry, SQLINTEGER attribute,
                                 const attr_target &target);

#endif
