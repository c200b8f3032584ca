// SQLSetDescFieldW: one field of a descriptor set, a name given as wide text.
#include "odbc/SQLSetDescFieldWide.h"

static constexpr entry_point entry = {
    .name = "SQLSetDescFieldW", .source = "SQLSetDescFieldW.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLSetDescFieldW(SQLHDESC descriptor_handle, SQLSMALLINT rec,
                                                 SQLSMALLINT field_identifier, SQLPOINTER value,
                                                 SQLINTEGER buffer_length)
{
    return set_desc_field_entry(descriptor_handle, entry, TEXT_WIDE_BYTES, rec, field_identifier,
                                value, buffer_length);
}
