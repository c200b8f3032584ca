// SQLGetStmtAttr: an attribute of a statement read.
#include "odbc/SQLGetStmtAttrWide.h"

static constexpr entry_point entry = {
    .name = "SQLGetStmtAttr", .source = "SQLGetStmtAttr.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetStmtAttr(SQLHSTMT statement_handle, SQLINTEGER attribute,
                                               SQLPOINTER value, SQLINTEGER buffer_length,
                                               SQLINTEGER *string_length)
{
    return get_stmt_attr_entry(statement_handle, entry, attribute, value, buffer_length,
                               string_length);
}
