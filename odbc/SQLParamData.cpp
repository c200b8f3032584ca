// SQLParamData: names the parameters whose values come at execution one by one, and runs the
// waiting execution when none is left.
#include "core/diag/cass_text_out.h"
#include "core/parameter/cass_param.h"
#include "core/statement/cass_stmt.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLParamData.c";
static constexpr entry_point entry = {.name = "SQLParamData", .source = log_source};

// Hands out the parameter's bound address as it was given, without offset or row: the application
// knows it as its token.
static SQLRETURN name_parameter(cass_stmt *stmt, std::int32_t index, SQLPOINTER *value)
{
    cass_store(value, stmt->apd->fields[index].data_ptr);
    return SQL_NEED_DATA;
}

// The parameter at which the pause has begun.
static SQLRETURN name_first(cass_stmt *stmt, SQLPOINTER *value)
{
    stmt->current_dae_first = 0;
    if (stmt->current_dae_param < stmt->apd->field_count)
        return name_parameter(stmt, stmt->current_dae_param, value);
    // The bindings were dropped in the pause.
    CASS_LOG(&stmt->head, LOG_ERROR, "SQLParamData: parameter is not bound");
    cass_post_error(&stmt->head, STATE_HY010, 0, nullptr);
    return SQL_ERROR;
}

static SQLRETURN param_data(cass_stmt *stmt, SQLPOINTER *value)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "SQLParamData: current_dae_param=%d",
             stmt->current_dae_param);
    CASS_LOG(&stmt->head, LOG_DETAIL, "current_dae_op=%d", stmt->current_dae_op);
    CASS_LOG(&stmt->head, LOG_DETAIL, "current_dae_first=%d", stmt->current_dae_first);
    if (!cass_pause_is_open(stmt)) {
        CASS_LOG(&stmt->head, LOG_ERROR, "SQLParamData: no data is awaited");
        cass_post_error(&stmt->head, STATE_HY010, 0, nullptr);
        return SQL_ERROR;
    }
    if (stmt->current_dae_first)
        return name_first(stmt, value);
    // All bound parameters are asked, those without a marker too.
    const std::int32_t bound = stmt->apd->field_count;
    for (std::int32_t index = stmt->current_dae_param + 1; index < bound; index++) {
        const cass_field *field = &stmt->apd->fields[index];
        CASS_LOG(&stmt->head, LOG_DETAIL, "Checking param %d, ind=%p data=%p", index,
                 field->indicator_ptr, field->data_ptr);
        if (!cass_param_at_exec(stmt, index))
            continue;
        stmt->current_dae_param = index;
        CASS_LOG(&stmt->head, LOG_DETAIL, "data at execute param %d", index);
        return name_parameter(stmt, index, value);
    }
    const SQLRETURN code =
        stmt->current_dae_op == OP_EXECUTE ? cass_dae_execute(stmt) : cass_dae_exec_direct(stmt);
    // The next set of an array awaits its data.
    return code == SQL_NEED_DATA ? name_first(stmt, value) : code;
}

VHCASS_EXPORT SQLRETURN SQL_API SQLParamData(SQLHSTMT statement_handle, SQLPOINTER *value)
{
    auto *statement = static_cast<cass_stmt *>(statement_handle);
    if (statement == nullptr)
        return SQL_INVALID_HANDLE;
    // The one call of a statement that goes on whatever operation is marked as running.
    return enter_handle(
        &statement->head, &statement->api_lock, entry, 0,
        [=] {
            CASS_LOG(&statement->head, LOG_ENTRY, "SQLParamData: statement_handle=%p, value=%p",
                     static_cast<void *>(statement), static_cast<void *>(value));
        },
        [=] { return param_data(statement, value); });
}
