// What SQLNativeSql and SQLNativeSqlW share.
#ifndef ODBC_SQLNATIVESQLWIDE_H
#define ODBC_SQLNATIVESQLWIDE_H

#include "odbc/entry_frame.h"

// Where a text result goes: bytes (UTF-8) or code units, `size` counted in the same.
struct native_sql_target {
    SQLCHAR *bytes;
    SQLWCHAR *units;
    SQLINTEGER size;
    SQLINTEGER *length;  // receives the full length in code units
};

// Gives back a text that it consumes, as it stands: the dialect on the wire is CQL, and nothing is
// translated. 01004 when it was cut; a null text posts HY001.
SQLRETURN cass_native_sql(cass_conn *conn, const entry_point &entry, cass_string *text,
                          const native_sql_target &target);

#endif
