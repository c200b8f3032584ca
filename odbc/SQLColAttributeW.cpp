// SQLColAttributeW: one attribute of a result column, wide text measured in bytes.
#include "odbc/SQLColAttributeWide.h"

static constexpr entry_point entry = {
    .name = "SQLColAttributeW", .source = "SQLColAttributeW.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API
SQLColAttributeW(SQLHSTMT statement_handle, SQLUSMALLINT column_number,
                 SQLUSMALLINT field_identifier, SQLPOINTER character_attribute,
                 SQLSMALLINT buffer_length, SQLSMALLINT *string_length, SQLLEN *numeric_attribute)
{
    return col_attribute_entry(statement_handle, entry, TEXT_WIDE_BYTES, false,
                               {column_number, field_identifier, character_attribute, buffer_length,
                                string_length, numeric_attribute});
}
