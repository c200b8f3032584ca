// SQLGetData: one cell of the current row, in any order of columns; text and binary piece by piece.
#include "core/cell/cass_data.h"
#include "core/describe/cass_field.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLGetData.c";
static constexpr entry_point entry = {.name = "SQLGetData", .source = log_source};

static SQLRETURN refuse_column(cass_stmt *stmt, SQLUSMALLINT column_number)
{
    CASS_LOG(&stmt->head, LOG_ERROR, "Invalid descriptor index %d",
             static_cast<int>(column_number));
    cass_post_error(&stmt->head, STATE_07009, 0, nullptr);
    return SQL_ERROR;
}

VHCASS_EXPORT SQLRETURN SQL_API SQLGetData(SQLHSTMT statement_handle, SQLUSMALLINT column_number,
                                           SQLSMALLINT target_type, SQLPOINTER target_value,
                                           SQLLEN buffer_length, SQLLEN *strlen_or_ind)
{
    return enter_stmt(
        statement_handle, entry,
        [&](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLGetData: statement_handle=%p, column_number=%d, target_type=%d, "
                     "target_value=%p, buffer_length=%d, strlen_or_ind = %p",
                     static_cast<void *>(stmt), static_cast<int>(column_number),
                     static_cast<int>(target_type), target_value, static_cast<int>(buffer_length),
                     static_cast<void *>(strlen_or_ind));
        },
        [&](cass_stmt *stmt) -> SQLRETURN {
            // The test is of the page and not of the row: before the first fetch it passes, and the
            // empty cell is refused by its conversion.
            if (stmt->page.current_packet == nullptr && stmt->data_waiting == 0) {
                CASS_LOG(&stmt->head, LOG_ERROR, "no current packet or cursor");
                cass_post_error(&stmt->head, stmt->cursor != nullptr ? STATE_24000 : STATE_HY010, 0,
                                nullptr);
                return SQL_ERROR;
            }
            if (column_number > cass_stmt_column_count(stmt->ird))
                return refuse_column(stmt, column_number);
            if (column_number == 0) {
                if (stmt->attrs.use_bookmarks == 0)
                    return refuse_column(stmt, column_number);
                CASS_LOG(
                    &stmt->head, LOG_DETAIL, "returning bookmark use_bookmarks=%d, target_type=%d",
                    static_cast<int>(stmt->attrs.use_bookmarks), static_cast<int>(target_type));
                if (target_type != SQL_C_BOOKMARK && target_type != SQL_C_VARBOOKMARK) {
                    CASS_LOG(&stmt->head, LOG_ERROR, "SQLGetData: invalid bookmark type %d",
                             static_cast<int>(target_type));
                    cass_post_error(&stmt->head, STATE_HY003, 0, nullptr);
                    return SQL_ERROR;
                }
            }
            return cass_get_data(stmt, column_number, target_type, target_value, buffer_length,
                                 strlen_or_ind, nullptr, stmt->ird->fields, stmt->ard->fields);
        });
}
