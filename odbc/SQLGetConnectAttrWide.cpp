// Reads a connection attribute.
#include "odbc/SQLGetConnectAttrWide.h"

#include <cstring>
#include <iterator>

#include "core/diag/cass_err.h"
#include "core/diag/cass_text_out.h"
#include "core/log/cass_log.h"
#include "odbc/cass_conn_attrs.h"

static constexpr char log_source[] = "SQLGetConnectAttrWide.c";

static SQLRETURN give_number(SQLPOINTER value, SQLINTEGER *string_length, const void *number,
                             SQLINTEGER width)
{
    if (value != nullptr)
        std::memcpy(value, number, static_cast<std::size_t>(width));
    cass_store(string_length, width);
    return SQL_SUCCESS;
}

static SQLRETURN give_integer(SQLPOINTER value, SQLINTEGER *string_length, SQLUINTEGER number)
{
    return give_number(value, string_length, &number, sizeof number);
}

// The name of the one catalog, whatever an application has set.
static SQLRETURN give_catalog(cass_conn *conn, const char *name, SQLPOINTER value,
                              SQLINTEGER buffer_length, SQLINTEGER *string_length, bool wide)
{
    SQLWCHAR units[] = {'C', 'A', 'S', 'S', 'A', 'N', 'D', 'R', 'A'};
    const cass_string catalog = {.text = units, .length = std::size(units), .borrowed = 1, .form = TEXT_BYTES};
    cass_store(string_length, static_cast<SQLINTEGER>(wide ? sizeof units : std::size(units)));
    const bool cut =
        wide ? cass_wide_text_out(&catalog, static_cast<SQLWCHAR *>(value), buffer_length / 2)
             : cass_ansi_text_out(&catalog, value, buffer_length);
    if (!cut)
        return SQL_SUCCESS;
    CASS_LOG(&conn->head, LOG_ERROR, "%s: catalog truncated", name);
    cass_post_error(&conn->head, STATE_01004, 0, nullptr);
    return SQL_SUCCESS_WITH_INFO;
}

SQLRETURN cass_get_conn_attr(cass_conn *conn, const char *name, SQLINTEGER attribute,
                             SQLPOINTER value, SQLINTEGER buffer_length, SQLINTEGER *string_length,
                             bool wide)
{
    const conn_attr attr = find_conn_attr(attribute);
    switch (attr.get) {
    case GET_STORED:
        return give_number(value, string_length, reinterpret_cast<char *>(conn) + attr.offset,
                           attr.width);
    case GET_ZERO:
        return give_integer(value, string_length, 0);
    case GET_DEAD:
        return give_integer(value, string_length, conn->connected ? SQL_CD_FALSE : SQL_CD_TRUE);
    case GET_CATALOG:
        return give_catalog(conn, name, value, buffer_length, string_length, wide);
    case GET_NO_TYPE:
        // Stores nothing, and the record stands beside a success: the Driver Manager answers these
        // itself, and applications that come here by another way go on.
        CASS_LOG(&conn->head, LOG_ERROR, "%s: attribute %d is not the driver's", name, attribute);
        cass_post_error(&conn->head, STATE_HY000, 0,
                        "unexpected internal error in %s, unknown type %d", name, 0);
        return SQL_SUCCESS;
    case GET_UNKNOWN:
        break;
    }
    CASS_LOG(&conn->head, LOG_ERROR, "%s: unexpected attribute %d", name, attribute);
    cass_post_error(&conn->head, STATE_HY092, 0, nullptr);
    return SQL_ERROR;
}
