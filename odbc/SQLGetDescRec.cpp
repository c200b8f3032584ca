// SQLGetDescRec: a record of a descriptor, its name as bytes.
#include "odbc/SQLGetDescRecWide.h"

static constexpr entry_point entry = {
    .name = "SQLGetDescRec", .source = "SQLGetDescRec.c", .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetDescRec(SQLHDESC descriptor_handle, SQLSMALLINT rec,
                                              SQLCHAR *name, SQLSMALLINT buffer_length,
                                              SQLSMALLINT *string_length, SQLSMALLINT *type,
                                              SQLSMALLINT *sub_type, SQLLEN *length,
                                              SQLSMALLINT *precision, SQLSMALLINT *scale,
                                              SQLSMALLINT *nullable)
{
    return get_desc_rec_entry(
        descriptor_handle, entry, TEXT_ANSI, rec,
        {name, buffer_length, string_length, type, sub_type, length, precision, scale, nullable});
}
