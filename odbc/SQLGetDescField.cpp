// SQLGetDescField: one field of a descriptor, text as bytes.
#include "odbc/SQLGetDescFieldWide.h"

static constexpr entry_point entry = {
    .name = "SQLGetDescField", .source = "SQLGetDescField.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetDescField(SQLHDESC descriptor_handle, SQLSMALLINT rec,
                                                SQLSMALLINT field_identifier, SQLPOINTER value,
                                                SQLINTEGER buffer_length, SQLINTEGER *string_length)
{
    return get_desc_field_entry(descriptor_handle, entry, TEXT_ANSI, rec, field_identifier, value,
                                buffer_length, string_length);
}
