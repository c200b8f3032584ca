// SQLColAttributes: the ODBC 2 name of SQLColAttribute, with the types of that version.
#include "odbc/SQLColAttributeWide.h"

static constexpr entry_point entry = {
    .name = "SQLColAttributes", .source = "SQLColAttributes.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API
SQLColAttributes(SQLHSTMT statement_handle, SQLUSMALLINT column_number,
                 SQLUSMALLINT field_identifier, SQLPOINTER character_attribute,
                 SQLSMALLINT buffer_length, SQLSMALLINT *string_length, SQLLEN *numeric_attribute)
{
    return col_attribute_entry(statement_handle, entry, TEXT_ANSI, true,
                               {column_number, field_identifier, character_attribute, buffer_length,
                                string_length, numeric_attribute});
}
