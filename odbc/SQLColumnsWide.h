// SQLColumns in both forms.
#ifndef ODBC_SQLCOLUMNSWIDE_H
#define ODBC_SQLCOLUMNSWIDE_H

#include "core/catalog/cass_clist.h"
#include "odbc/entry_frame.h"

struct columns_call {
    text_argument catalog;
    text_argument schema;
    text_argument table;
    text_argument column;
};

// Makes the result current on the statement. Diagnostics go to the statement.
SQLRETURN columns_entry(SQLHSTMT handle, const entry_point &entry, const columns_call &call);

#endif
