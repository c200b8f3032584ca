// SQLSetStmtAttrW: an attribute of a statement set; none of them is a text.
#include "odbc/SQLSetStmtAttrWide.h"

static constexpr entry_point entry = {
    .name = "SQLSetStmtAttrW", .source = "SQLSetStmtAttrW.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLSetStmtAttrW(SQLHSTMT statement_handle, SQLINTEGER attribute,
                                                SQLPOINTER value, SQLINTEGER string_length)
{
    return set_stmt_attr_entry(statement_handle, entry, attribute, value, string_length);
}
