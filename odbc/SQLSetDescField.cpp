// SQLSetDescField: one field of a descriptor set, a name given as bytes.
#include "odbc/SQLSetDescFieldWide.h"

static constexpr entry_point entry = {
    .name = "SQLSetDescField", .source = "SQLSetDescField.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLSetDescField(SQLHDESC descriptor_handle, SQLSMALLINT rec,
                                                SQLSMALLINT field_identifier, SQLPOINTER value,
                                                SQLINTEGER buffer_length)
{
    return set_desc_field_entry(descriptor_handle, entry, TEXT_ANSI, rec, field_identifier, value,
                                buffer_length);
}
