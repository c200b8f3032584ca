// SQLStatistics in both forms.
#ifndef ODBC_SQLSTATISTICSWIDE_H
#define ODBC_SQLSTATISTICSWIDE_H

#include "core/catalog/cass_clist.h"
#include "odbc/entry_frame.h"

struct statistics_call {
    text_argument catalog;
    text_argument schema;
    text_argument table;
    SQLUSMALLINT unique;
    SQLUSMALLINT reserved;
};

// Makes the result current on the statement. Diagnostics go to the statement.
SQLRETURN statistics_entry(SQLHSTMT handle, const entry_point &entry, const statistics_call &call);

#endif
