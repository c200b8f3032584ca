// Connection attributes read.
#include "odbc/SQLGetConnectAttrWide.h"

#include <cstring>

#include "core/catalog/cass_clist.h"
#include "core/net/cass_conn.h"
#include "odbc/cass_conn_attrs.h"

static constexpr char log_source[] = "SQLGetConnectAttrWide.c";

static SQLRETURN give_number(const attr_target &target, const void *number, SQLINTEGER width)
{
    if (target.value != nullptr)
        std::memcpy(target.value, number, static_cast<std::size_t>(width));
    cass_store(target.length, width);
    return SQL_SUCCESS;
}

static SQLRETURN give_integer(const attr_target &target, SQLUINTEGER number)
{
    return give_number(target, &number, sizeof number);
}

// The name of the one catalog, whatever an application has set; empty where there is none.
static SQLRETURN give_catalog(cass_conn *conn, const char *name, const attr_target &target)
{
    cass_constant_text made;
    const char *text = catalog_name(conn);
    const cass_string *catalog = cass_constant_string(text != nullptr ? text : "", &made);
    cass_store(target.length, static_cast<SQLINTEGER>(text_form_length(catalog, target.form)));
    if (!text_form_out(catalog, target.form, target.value, target.size))
        return SQL_SUCCESS;
    CASS_LOG(&conn->head, LOG_ERROR, "%s: catalog truncated", name);
    cass_post_error(&conn->head, STATE_01004, 0, nullptr);
    return SQL_SUCCESS_WITH_INFO;
}

static bool a_connection_is_dead_when_closed(const cass_conn *conn)
{
    return conn->conduct->a_connection_is_dead_when_closed;
}

static bool is_dead(cass_conn *conn)
{
    if (!conn->connected || a_connection_is_dead_when_closed(conn))
        return !conn->connected;
    return shared_get(&conn->socket_dead) != 0 || !conn_peer_is_there(conn);
}

static bool foreign_attributes_read_as_success(const cass_conn *conn)
{
    return conn->conduct->foreign_attributes_read_as_success;
}

SQLRETURN read_connect_attr(cass_conn *conn, const char *name, SQLINTEGER attribute,
                            const attr_target &target)
{
    const conn_attr attr = find_conn_attr(attribute);
    switch (attr.get) {
    case GET_STORED:
        return give_number(target, reinterpret_cast<char *>(conn) + attr.offset, attr.width);
    case GET_ZERO:
        return give_integer(target, 0);
    case GET_DEAD:
        return give_integer(target, is_dead(conn) ? SQL_CD_TRUE : SQL_CD_FALSE);
    case GET_CATALOG:
        return give_catalog(conn, name, target);
    case GET_NO_TYPE:
        if (!foreign_attributes_read_as_success(conn))
            break;
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

SQLRETURN get_connect_attr_entry(SQLHDBC handle, const entry_point &entry, SQLINTEGER attribute,
                                 const attr_target &target)
{
    return enter_conn(
        handle, entry,
        [&](cass_conn *conn) {
            ENTRY_LOG(&conn->head, entry, LOG_ENTRY,
                      "%s: connection_handle=%p, attribute=%d, value=%p, buffer_length=%d, "
                      "string_length=%p",
                      entry.name, handle, attribute, target.value, target.size,
                      static_cast<void *>(target.length));
        },
        [&](cass_conn *conn) { return read_connect_attr(conn, entry.name, attribute, target); });
}
