// SQLGetStmtAttrW: an attribute of a statement read; none of them is a text.
#include "odbc/SQLGetStmtAttrWide.h"

static constexpr entry_point entry = {
    .name = "SQLGetStmtAttrW", .source = "SQLGetStmtAttrW.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetStmtAttrW(SQLHSTMT statement_handle, SQLINTEGER attribute,
                                                SQLPOINTER value, SQLINTEGER buffer_length,
                                                SQLINTEGER *string_length)
{
    return get_stmt_attr_entry(statement_handle, entry, attribute, value, buffer_length,
                               string_length);
}
