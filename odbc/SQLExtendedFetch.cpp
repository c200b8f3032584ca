// SQLExtendedFetch: the ODBC 2 rowset, with its own size, counter and status array.
#include "core/statement/cass_fetch.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLExtendedFetch.c";
static constexpr entry_point entry = {.name = "SQLExtendedFetch", .source = log_source};

// cass_fetch with the call's outputs and SQL_ROWSET_SIZE in place of the descriptors' fields.
static SQLRETURN extended_fetch(cass_stmt *stmt, SQLUSMALLINT fetch_type, SQLLEN row,
                                SQLULEN *row_count, SQLUSMALLINT *row_status)
{
    cass_desc *ird = stmt->ird;
    cass_desc *ard = stmt->ard;
    void *const saved_bookmark = stmt->fetch_bookmark_ptr;
    void *const saved_processed = ird->rows_processed_ptr;
    SQLUSMALLINT *const saved_status = ird->array_status_ptr;
    const SQLULEN saved_size = ard->array_size;

    SQLLEN offset = row;
    if (fetch_type == SQL_FETCH_BOOKMARK) {
        stmt->fetch_bookmark_ptr = &row;
        offset = 0;
    }
    ird->rows_processed_ptr = row_count;
    ird->array_status_ptr = row_status;
    ard->array_size = stmt->attrs.rowset_size;

    const SQLRETURN code = cass_fetch(stmt, static_cast<SQLSMALLINT>(fetch_type), offset);

    ird->rows_processed_ptr = saved_processed;
    ird->array_status_ptr = saved_status;
    ard->array_size = saved_size;
    stmt->fetch_bookmark_ptr = saved_bookmark;
    return code;
}

VHCASS_EXPORT SQLRETURN SQL_API SQLExtendedFetch(SQLHSTMT statement_handle,
                                                 SQLUSMALLINT f_fetch_type, SQLLEN irow,
                                                 SQLULEN *pcrow, SQLUSMALLINT *rgf_row_status)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLExtendedFetch: statement_handle=%p, f_fetch_type=%d, irow=%d, pcrow=%p, "
                     "rgf_row_status=%p",
                     static_cast<void *>(stmt), f_fetch_type, static_cast<int>(irow),
                     static_cast<void *>(pcrow), static_cast<void *>(rgf_row_status));
        },
        [=](cass_stmt *stmt) {
            return extended_fetch(stmt, f_fetch_type, irow, pcrow, rgf_row_status);
        });
}
