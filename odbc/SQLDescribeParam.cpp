// SQLDescribeParam: a parameter described, by the server's metadata or by what is bound to it.
#include "core/describe/cass_field.h"
#include "core/diag/cass_text_out.h"
#include "odbc/SQLDescribeColWide.h"

static constexpr char log_source[] = "SQLDescribeParam.c";
static constexpr entry_point entry = {
    .name = "SQLDescribeParam", .source = log_source, .exit_format = EXIT_BY_NAME};

// The IPD's record, else the APD's if something is bound there; null for any other number.
static const cass_field *parameter_record(const cass_stmt *stmt, SQLUSMALLINT number)
{
    if (number == 0)
        return nullptr;
    if (number <= stmt->ipd->field_count)
        return &stmt->ipd->fields[number - 1];
    if (number > stmt->apd->field_count)
        return nullptr;
    const cass_field *field = &stmt->apd->fields[number - 1];
    return field->data_ptr != nullptr || field->indicator_ptr != nullptr ? field : nullptr;
}

static SQLULEN parameter_size_of(const cass_field *field)
{
    switch (field->consise_type) {
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
    case SQL_NUMERIC:
    case SQL_DECIMAL:
        return static_cast<SQLULEN>(field->precision);
    default:
        return static_cast<SQLULEN>(field->display_size);
    }
}

static bool a_surplus_parameter_is_described(const cass_conn *conn)
{
    return conn->conduct->a_surplus_parameter_is_described;
}

static bool parameters_have_display_sizes(const cass_conn *conn)
{
    return conn->conduct->parameters_have_display_sizes;
}

static SQLRETURN describe_param(cass_stmt *stmt, SQLUSMALLINT number, SQLSMALLINT *sql_type,
                                SQLULEN *size, SQLSMALLINT *scale, SQLSMALLINT *nullable)
{
    SQLRETURN code = SQL_SUCCESS;
    if (number > stmt->found_param_count) {
        CASS_LOG(&stmt->head, LOG_ERROR, "SQLDescribeParam: ipar=%d, found_param_count=%d",
                 static_cast<int>(number), static_cast<int>(stmt->found_param_count));
        cass_post_error(&stmt->head, STATE_07009, 0, nullptr);
        if (!a_surplus_parameter_is_described(stmt_conn(stmt)))
            return SQL_ERROR;
        code = SQL_ERROR;
    }

    const cass_field *field = parameter_record(stmt, number);
    if (field == nullptr) {
        CASS_LOG(&stmt->head, LOG_ERROR, "SQLDescribeParam: nothing known of parameter %d",
                 static_cast<int>(number));
        cass_post_error(&stmt->head, STATE_07009, 0, nullptr);
        return SQL_ERROR;
    }
    cass_store(sql_type, static_cast<SQLSMALLINT>(field->consise_type));
    cass_store(size, parameters_have_display_sizes(stmt_conn(stmt)) ? parameter_size_of(field)
                                                                    : cass_field_size(field));
    cass_store(scale, static_cast<SQLSMALLINT>(field->scale));
    cass_store(nullable, static_cast<SQLSMALLINT>(field->nullable));
    return code;
}

VHCASS_EXPORT SQLRETURN SQL_API SQLDescribeParam(SQLHSTMT statement_handle, SQLUSMALLINT ipar,
                                                 SQLSMALLINT *pf_sql_type, SQLULEN *pcb_param_def,
                                                 SQLSMALLINT *pib_scale, SQLSMALLINT *pf_nullable)
{
    return enter_stmt(
        statement_handle, entry,
        [&](cass_stmt *stmt) {
            CASS_LOG(&stmt->head, LOG_ENTRY,
                     "SQLDescribeParam: statement_handle=%p, ipar=%d, pf_sql_type=%p, "
                     "pcb_param_def=%p, pib_scale=%p, pf_nullable=%p",
                     static_cast<void *>(stmt), static_cast<int>(ipar),
                     static_cast<void *>(pf_sql_type), static_cast<void *>(pcb_param_def),
                     static_cast<void *>(pib_scale), static_cast<void *>(pf_nullable));
        },
        [&](cass_stmt *stmt) {
            return describe_param(stmt, ipar, pf_sql_type, pcb_param_def, pib_scale, pf_nullable);
        });
}
