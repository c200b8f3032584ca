// SQLPutData: one more chunk of a value that comes at execution. Chunks are kept on the parameter's
// record until the request is built.
#include <cstdlib>
#include <cstring>

#include "core/parameter/cass_param.h"
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

// A chunk with a copy of the bytes, if it has any; null when memory ran out. A negative length
// makes the value a null when it is encoded.
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

static bool chunks_are_not_judged(const cass_conn *conn)
{
    return conn->conduct->chunks_are_not_judged;
}

// Bytes of what the application points to, by the parameter's C type; SQL_NULL_DATA stays. False
// for a length that is none.
static bool measure_chunk(const cass_field *field, const void *data, SQLLEN *length)
{
    const cass_c_size size = cass_c_type_size(field->consise_type);
    if (*length == SQL_NULL_DATA)
        return true;
    if (size.fixed != 0)
        *length = size.fixed;
    if (*length == SQL_NTS && data != nullptr && field->consise_type != SQL_C_BINARY)
        *length = size.unit == 1
                      ? static_cast<SQLLEN>(std::strlen(static_cast<const char *>(data)))
                      : cass_wide_length(static_cast<const SQLWCHAR *>(data)) * size.unit;
    return *length >= 0;
}

// A null is a value by itself.
static bool joins_a_null(const cass_field *field, SQLLEN length)
{
    return field->put_data != nullptr &&
           (length == SQL_NULL_DATA || field->put_data_tail->length == SQL_NULL_DATA);
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
    cass_field *field = &stmt->apd->fields[stmt->current_dae_param];
    if (!chunks_are_not_judged(stmt_conn(stmt))) {
        if (!measure_chunk(field, data, &length))
            return fail(stmt, STATE_HY090, "invalid length");
        if (joins_a_null(field, length))
            return fail(stmt, STATE_HY020, "a null beside other data");
        if (field->put_data != nullptr && cass_c_type_size(field->consise_type).fixed != 0)
            return fail(stmt, STATE_HY019, "a fixed type in pieces");
    }
    if (length > INT32_MAX)
        return fail(stmt, STATE_HY090, "invalid length");
    if (length >= 1 && data == nullptr)
        return fail(stmt, STATE_HY009, "no data pointer");

    cass_put_chunk *chunk = make_chunk(data, length);
    if (chunk == nullptr)
        return fail(stmt, STATE_HY001, "no memory for the chunk");
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
