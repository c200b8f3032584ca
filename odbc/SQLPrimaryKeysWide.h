// SQLPrimaryKeys in both forms.
#ifndef ODBC_SQLPRIMARYKEYSWIDE_H
#define ODBC_SQLPRIMARYKEYSWIDE_H

#include "core/catalog/cass_clist.h"
#include "odbc/entry_frame.h"

struct primary_keys_call {
    text_argument catalog;
    text_argument schema;
    text_argument table;
};

// Makes the result current on the statement. Diagnostics go to the statement.
SQLRETURN primary_keys_entry(SQLHSTMT handle, const entry_point &entry,
                             const primary_keys_call &call);

#endif
