#include "core/handle/cass_cursor_kind.h"

static bool cursor_attributes_are_kept_only(const cass_conn *conn)
{
    return conn->conduct->cursor_attributes_are_kept_only;
}

bool cass_cursors_scroll(const cass_conn *conn)
{
    return !cursor_attributes_are_kept_only(conn);
}

bool cass_ask_for_cursor(cass_stmt_attrs *attrs, SQLINTEGER attribute, SQLULEN value)
{
    bool scrolls = attrs->cursor_type != SQL_CURSOR_FORWARD_ONLY;
    bool granted = true;
    switch (attribute) {
    case SQL_ATTR_CURSOR_TYPE:
        scrolls = value != SQL_CURSOR_FORWARD_ONLY;
        granted = !scrolls || value == SQL_CURSOR_STATIC;
        break;
    case SQL_ATTR_CURSOR_SCROLLABLE:
        scrolls = value == SQL_SCROLLABLE;
        break;
    case SQL_ATTR_CURSOR_SENSITIVITY:
        scrolls = scrolls || value != SQL_UNSPECIFIED;
        granted = value != SQL_SENSITIVE;
        break;
    default:
        granted = value == SQL_CONCUR_READ_ONLY;
        break;
    }
    attrs->cursor_type = scrolls ? SQL_CURSOR_STATIC : SQL_CURSOR_FORWARD_ONLY;
    attrs->cursor_scrollable = scrolls ? SQL_SCROLLABLE : SQL_NONSCROLLABLE;
    attrs->cursor_sensitivity = scrolls ? SQL_INSENSITIVE : SQL_UNSPECIFIED;
    attrs->concurrency = SQL_CONCUR_READ_ONLY;
    return granted;
}

const char *cass_cursor_words(const cass_stmt_attrs *attrs)
{
    return attrs->cursor_type == SQL_CURSOR_STATIC ? "the cursor is static and only reads"
                                                   : "the cursor is forward-only and only reads";
}

void cass_settle_cursor(const cass_conn *conn, cass_stmt_attrs *attrs)
{
    if (!cass_cursors_scroll(conn))
        return;
    const bool scrolls = attrs->cursor_type != SQL_CURSOR_FORWARD_ONLY ||
                         attrs->cursor_scrollable == SQL_SCROLLABLE ||
                         attrs->cursor_sensitivity != SQL_UNSPECIFIED;
    cass_ask_for_cursor(attrs, SQL_ATTR_CURSOR_SCROLLABLE,
                        scrolls ? SQL_SCROLLABLE : SQL_NONSCROLLABLE);
}
