// SQLStatistics and SQLStatisticsW behind the form of their arguments.
#ifndef ODBC_SQLSTATISTICSWIDE_H
#define ODBC_SQLSTATISTICSWIDE_H

#include "core/catalog/cass_clist.h"
#include "odbc/entry_frame.h"

// Makes the result current on the statement. Diagnostics go to the statement.
SQLRETURN cass_statistics(cass_stmt *stmt, const catalog_argument &schema_name,
                          const catalog_argument &table_name);

#endif
