// SQLPutData: one more chunk of a value that comes at execution. Chunks are kept on the parameter's
// record until the request is built.
#include <cstdlib>
#include <cstring>

#include "core/statement/cass_stmt.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLPutData.c";
static constexpr entry_point entry = {.name = "SQLPutData", .source = log_source};

static SQLRETURN fail(cass_stmt *stmt, cass_state_row row, const char *log_text)
{
    CASS_LOG(&stmt->head, LOG_ERROR, "SQLPutData: %s", log_text);
    cass_post_error(&stmt->head, row, 0, nullptr);
    return SQL_ERROR;
}

// A chunk with a copy of the bytes, if it has any; null when memory ran out. A negative length,
// SQL_NTS among them, is not measured: it makes the value a null when it is encoded. Applications
// give the length of their text.
static cass_put_chunk *make_chunk(const void *data, SQLLEN length)
{
    auto *chunk = static_cast<cass_put_chunk *>(std::calloc(1, sizeof(cass_put_chunk)));
    if (chunk == nullptr)
        return nullptr;
    chunk->length = static_cast<std::int32_t>(length < INT32_MIN ? INT32_MIN : length);
    if (length < 1)
        return chunk;
    chunk->bytes = static_cast<unsigned char *>(std::malloc(static_cast<std::size_t>(length)));
    if (chunk->bytes == nullptr) {
        std::free(chunk);
        return nullptr;
    }
    std::memcpy(chunk->bytes, data, static_cast<std::size_t>(length));
    return chunk;
}

static SQLRETURN put_data(cass_stmt *stmt, const void *data, SQLLEN length)
{
    if (stmt->current_dae_op != OP_EXEC_DIRECT && stmt->current_dae_op != OP_EXECUTE) {
        CASS_LOG(&stmt->head, LOG_ERROR, "SQLPutData: invalid dae operation %d",
                 stmt->current_dae_op);
        cass_post_error(&stmt->head, STATE_HY010, 0, nullptr);
        return SQL_ERROR;
    }
    if (stmt->current_dae_param >= stmt->apd->field_count)
        return fail(stmt, STATE_HY010, "parameter is not bound");
    if (length > INT32_MAX)
        return fail(stmt, STATE_HY090, "invalid length");
    if (length >= 1 && data == nullptr)
        return fail(stmt, STATE_HY009, "no data pointer");

    cass_put_chunk *chunk = make_chunk(data, length);
    if (chunk == nullptr)
        return fail(stmt, STATE_HY001, "no memory for the chunk");
    cass_field *field = &stmt->apd->fields[stmt->current_dae_param];
    if (field->put_data == nullptr)
        field->put_data = chunk;
    else
        field->put_data_tail->next = chunk;
    field->put_data_tail = chunk;
    return SQL_SUCCESS;
}

VHCASS_EXPORT SQLRETURN SQL_API SQLPutData(SQLHSTMT statement_handle, SQLPOINTER data,
                                           SQLLEN strlen_or_ind)
{
    return enter_stmt(
        statement_handle, entry,
        [=](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLPutData: statement_handle=%p, data=%p, strlen_or_ind=%d",
                     static_cast<void *>(stmt), data, static_cast<int>(strlen_or_ind));
        },
        [=](cass_stmt *stmt) { return put_data(stmt, data, strlen_or_ind); });
}
