// SQLGetTypeInfoW: the types of Cassandra, wide form. It takes the lock of the connection, not the
// statement's.
#include "odbc/SQLGetTypeInfoWide.h"

static constexpr char log_source[] = "SQLGetTypeInfoW.c";
static constexpr entry_point entry = {.name = "SQLGetTypeInfoW", .source = log_source};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetTypeInfoW(SQLHSTMT statement_handle, SQLSMALLINT data_type)
{
    auto *stmt = static_cast<cass_stmt *>(statement_handle);
    if (stmt == nullptr)
        return SQL_INVALID_HANDLE;
    return enter_handle(
        &stmt->head, &stmt_conn(stmt)->api_lock, entry, 0,
        [=] {
            CASS_LOG(&stmt->head, LOG_ENTRY, "SQLGetTypeInfoW: statement_handle=%p, data_type=%d",
                     statement_handle, static_cast<int>(data_type));
        },
        [=] { return cass_get_type_info(stmt, data_type); });
}
