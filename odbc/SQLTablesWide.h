// SQLTables in both forms.
#ifndef ODBC_SQLTABLESWIDE_H
#define ODBC_SQLTABLESWIDE_H

#include "core/catalog/cass_clist.h"
#include "odbc/entry_frame.h"

struct tables_call {
    text_argument catalog;
    text_argument schema;
    text_argument table;
    text_argument type;
};

// Makes the result current on the statement. Diagnostics go to the statement.
SQLRETURN tables_entry(SQLHSTMT handle, const entry_point &entry, const tables_call &call);

#endif
