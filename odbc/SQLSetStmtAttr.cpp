// SQLSetStmtAttr: an attribute of a statement set.
#include "odbc/SQLSetStmtAttrWide.h"

static constexpr entry_point entry = {
    .name = "SQLSetStmtAttr", .source = "SQLSetStmtAttr.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLSetStmtAttr(SQLHSTMT statement_handle, SQLINTEGER attribute,
                                               SQLPOINTER value, SQLINTEGER string_length)
{
    return set_stmt_attr_entry(statement_handle, entry, attribute, value, string_length);
}
