// SQLGetDescRecW: a record of a descriptor, its name as wide text measured in characters.
#include "odbc/SQLGetDescRecWide.h"

static constexpr entry_point entry = {
    .name = "SQLGetDescRecW", .source = "SQLGetDescRecW.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetDescRecW(SQLHDESC descriptor_handle, SQLSMALLINT rec,
                                               SQLWCHAR *name, SQLSMALLINT buffer_length,
                                               SQLSMALLINT *string_length, SQLSMALLINT *type,
                                               SQLSMALLINT *sub_type, SQLLEN *length,
                                               SQLSMALLINT *precision, SQLSMALLINT *scale,
                                               SQLSMALLINT *nullable)
{
    return get_desc_rec_entry(
        descriptor_handle, entry, TEXT_WIDE_UNITS, rec,
        {name, buffer_length, string_length, type, sub_type, length, precision, scale, nullable});
}
