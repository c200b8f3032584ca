// SQLColAttributesW: the ODBC 2 name of SQLColAttributeW, with the types of that version.
#include "odbc/SQLColAttributeWide.h"

static constexpr entry_point entry = {
    .name = "SQLColAttributesW", .source = "SQLColAttributesW.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API
SQLColAttributesW(SQLHSTMT statement_handle, SQLUSMALLINT column_number,
                  SQLUSMALLINT field_identifier, SQLPOINTER character_attribute,
                  SQLSMALLINT buffer_length, SQLSMALLINT *string_length, SQLLEN *numeric_attribute)
{
    return col_attribute_entry(statement_handle, entry, TEXT_WIDE_BYTES, true,
                               {column_number, field_identifier, character_attribute, buffer_length,
                                string_length, numeric_attribute});
}
