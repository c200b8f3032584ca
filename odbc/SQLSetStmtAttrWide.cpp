// Statement attributes set. The four cursor properties are kept in step with each other; by default
// none of them changes how rows are fetched.
#include "odbc/SQLSetStmtAttrWide.h"

#include <cstring>

#include "core/handle/cass_cursor_kind.h"

static constexpr char log_source[] = "SQLSetStmtAttrWide.c";

static void set_sensitivity(cass_stmt_attrs *attrs, SQLULEN value)
{
    const bool sensitive = value == SQL_SENSITIVE;
    attrs->cursor_sensitivity = value;
    attrs->cursor_type = sensitive ? SQL_CURSOR_DYNAMIC : SQL_CURSOR_STATIC;
    attrs->concurrency = sensitive ? SQL_CONCUR_LOCK : SQL_CONCUR_READ_ONLY;
}

static void set_scrollable(cass_stmt_attrs *attrs, SQLULEN value)
{
    attrs->cursor_scrollable = value;
    if (value != SQL_SCROLLABLE)
        attrs->cursor_type = SQL_CURSOR_FORWARD_ONLY;
    else
        attrs->cursor_type =
            attrs->cursor_sensitivity == SQL_SENSITIVE ? SQL_CURSOR_DYNAMIC : SQL_CURSOR_STATIC;
}

static SQLULEN sensitivity_of(SQLULEN concurrency)
{
    return concurrency == SQL_CONCUR_READ_ONLY ? SQL_INSENSITIVE : SQL_SENSITIVE;
}

static void set_cursor_type(cass_stmt_attrs *attrs, SQLULEN value)
{
    attrs->cursor_type = value;
    switch (value) {
    case SQL_CURSOR_STATIC:
    case SQL_CURSOR_KEYSET_DRIVEN:
        attrs->cursor_scrollable = SQL_SCROLLABLE;
        attrs->cursor_sensitivity = sensitivity_of(attrs->concurrency);
        break;
    case SQL_CURSOR_DYNAMIC:
        attrs->cursor_scrollable = SQL_SCROLLABLE;
        if (attrs->concurrency != SQL_CONCUR_READ_ONLY)
            attrs->cursor_sensitivity = SQL_SENSITIVE;
        break;
    case SQL_CURSOR_FORWARD_ONLY:
        attrs->cursor_scrollable = SQL_NONSCROLLABLE;
        break;
    default:
        break;
    }
}

// Stores in the width of the member. True when its value changed.
static bool store_value(cass_stmt *stmt, const stmt_attr &attr, SQLULEN value)
{
    const SQLULEN before = stmt_attr_value(stmt, attr);
    unsigned char *member = stmt_attr_member(stmt, attr);
    if (attr.width == sizeof(std::int32_t)) {
        const auto number = static_cast<std::int32_t>(value);
        std::memcpy(member, &number, sizeof number);
    } else {
        std::memcpy(member, &value, sizeof value);
    }
    return stmt_attr_value(stmt, attr) != before;
}

// Applies a row's rule but those of descriptors. True when a count took another value.
static bool apply(cass_stmt *stmt, const stmt_attr &attr, SQLULEN value)
{
    switch (attr.set) {
    case ATTR_STORE:
        store_value(stmt, attr, value);
        return false;
    case ATTR_STORE_COUNT:
        return store_value(stmt, attr, value == 0 ? 1 : value);
    case ATTR_SENSITIVITY:
        set_sensitivity(&stmt->attrs, value);
        return false;
    case ATTR_SCROLLABLE:
        set_scrollable(&stmt->attrs, value);
        return false;
    case ATTR_CURSOR_TYPE:
        set_cursor_type(&stmt->attrs, value);
        return false;
    case ATTR_CONCURRENCY:
        stmt->attrs.concurrency = value;
        stmt->attrs.cursor_sensitivity = sensitivity_of(value);
        return false;
    default:
        return false;
    }
}

static SQLRETURN refuse_desc(cass_stmt *stmt, const entry_point &entry, cass_state_row state,
                             const char *complaint)
{
    CASS_LOG(&stmt->head, LOG_ERROR, "%s: %s", entry.name, complaint);
    cass_post_error(&stmt->head, state, 0, nullptr);
    return SQL_ERROR;
}

// An explicit descriptor that serves several statements names the last one that installed it: only
// that one takes the link away.
static void drop_link(cass_stmt *stmt, cass_desc *desc)
{
    if (!desc->implicit && desc->stmt == stmt)
        desc->stmt = nullptr;
}

// Makes a descriptor of the application the current one of a role, or with a null value the
// statement's own. `loses_link` is the descriptor that is cut off when another one comes in.
static SQLRETURN install_desc(cass_stmt *stmt, const entry_point &entry, cass_desc **current,
                              cass_desc *own, cass_desc *loses_link, void *value)
{
    if (value == SQL_NULL_HDESC) {
        drop_link(stmt, *current);
        *current = own;
        return SQL_SUCCESS;
    }
    std::int32_t tag;
    std::memcpy(&tag, value, sizeof tag);
    if (tag != CASS_DESCRIPTOR_HANDLE)
        return refuse_desc(stmt, entry, STATE_HY024, "not a descriptor");
    auto *desc = static_cast<cass_desc *>(value);
    if (desc->implicit && desc != own)
        return refuse_desc(stmt, entry, STATE_HY017, "implicit descriptor of another role");
    if (desc_conn(desc) != stmt_conn(stmt))
        return refuse_desc(stmt, entry, STATE_HY024, "descriptor of another connection");

    drop_link(stmt, loses_link);
    *current = desc;
    desc->stmt = stmt;
    return SQL_SUCCESS;
}

static bool a_new_apd_unlinks_the_ard(const cass_conn *conn)
{
    return conn->conduct->a_new_apd_unlinks_the_ard;
}

static bool is_of_cursor(const stmt_attr &attr)
{
    return attr.set == ATTR_SENSITIVITY || attr.set == ATTR_SCROLLABLE ||
           attr.set == ATTR_CURSOR_TYPE || attr.set == ATTR_CONCURRENCY;
}

// One of the four, where the cursor that they describe is real.
static SQLRETURN ask_for_cursor(cass_stmt *stmt, const entry_point &entry, const stmt_attr &attr,
                                SQLULEN value)
{
    if (cass_ask_for_cursor(&stmt->attrs, attr.id, value))
        return SQL_SUCCESS;
    ENTRY_LOG(&stmt->head, entry, LOG_ERROR, "%s: cursor type changed", entry.name);
    cass_post_error(&stmt->head, STATE_01S02, 0, "%s", cass_cursor_words(&stmt->attrs));
    return SQL_SUCCESS_WITH_INFO;
}

SQLRETURN stmt_attr_apply(cass_stmt *stmt, const entry_point &entry, const stmt_attr &attr,
                          SQLULEN value, bool *rebinds)
{
    cass_state_row state;
    *rebinds = false;
    const cass_conn *conn = stmt_conn(stmt);
    if (judge_attr_value(conn, attr.values, value, &state) == VALUE_IS_REFUSED) {
        ENTRY_LOG(&stmt->head, entry, LOG_ERROR, "%s: unexpected value %d of attribute %d",
                  entry.name, static_cast<int>(value), static_cast<int>(attr.id));
        cass_post_error(&stmt->head, state, 0, nullptr);
        return SQL_ERROR;
    }
    if (is_of_cursor(attr) && cass_cursors_scroll(conn))
        return ask_for_cursor(stmt, entry, attr, value);
    *rebinds = apply(stmt, attr, value) && stmt->prepared;
    return SQL_SUCCESS;
}

static SQLRETURN set_stmt_attr(cass_stmt *stmt, const entry_point &entry, SQLINTEGER attribute,
                               void *value)
{
    const stmt_attr attr = find_stmt_attr(attribute);
    switch (attr.set) {
    case ATTR_UNKNOWN:
        CASS_LOG(&stmt->head, LOG_ERROR, "%s: unexpected attribute %d", entry.name,
                 static_cast<int>(attribute));
        cass_post_error(&stmt->head, STATE_HY092, 0, nullptr);
        return SQL_ERROR;
    case ATTR_REFUSE:
        return refuse_desc(stmt, entry, STATE_HY017, "implementation descriptor");
    case ATTR_INSTALL_ARD:
        return install_desc(stmt, entry, &stmt->ard, stmt->implicit_ard, stmt->ard, value);
    case ATTR_INSTALL_APD:
        // An ARD that is cut off refuses its header fields from then on.
        return install_desc(stmt, entry, &stmt->apd, stmt->implicit_apd,
                            a_new_apd_unlinks_the_ard(stmt_conn(stmt)) ? stmt->ard : stmt->apd,
                            value);
    default:
        break;
    }
    bool rebinds;
    const SQLRETURN code =
        stmt_attr_apply(stmt, entry, attr, reinterpret_cast<SQLULEN>(value), &rebinds);
    if (rebinds)
        stmt->params_rebound = 1;
    return code;
}

SQLRETURN set_stmt_attr_entry(SQLHSTMT handle, const entry_point &entry, SQLINTEGER attribute,
                              void *value, SQLINTEGER string_length)
{
    return enter_stmt(
        handle, entry,
        [&](cass_stmt *stmt) {
            ENTRY_LOG(&stmt->head, entry, LOG_ENTRY,
                      "%s: statement_handle=%p, attribute=%d, value=%p, string_length=%d",
                      entry.name, static_cast<void *>(stmt), static_cast<int>(attribute), value,
                      static_cast<int>(string_length));
        },
        [&](cass_stmt *stmt) { return set_stmt_attr(stmt, entry, attribute, value); });
}
