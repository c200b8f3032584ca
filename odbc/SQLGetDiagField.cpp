// SQLGetDiagField: a field of the diagnostics.
#include "odbc/SQLGetDiagFieldWide.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLGetDiagField.c";
static constexpr entry_point entry = {
    .name = "SQLGetDiagField", .source = log_source, .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetDiagField(SQLSMALLINT handle_type, SQLHANDLE handle,
                                                SQLSMALLINT rec_number, SQLSMALLINT diag_identifier,
                                                SQLPOINTER diag_info_ptr, SQLSMALLINT buffer_length,
                                                SQLSMALLINT *string_length_ptr)
{
    auto *head = static_cast<cass_handle *>(handle);
    if (head == nullptr)
        return SQL_INVALID_HANDLE;
    return enter_bare(head, [&] {
        CASS_LOG(head, LOG_ENTRY,
                 "SQLGetDiagField: handle_type=%d, handle=%p, rec_number=%d, diag_identifier=%d, "
                 "diag_info_ptr=%p, buffer_length=%d, string_length_ptr=%p",
                 handle_type, handle, rec_number, diag_identifier, diag_info_ptr, buffer_length,
                 static_cast<void *>(string_length_ptr));
        const SQLRETURN code = cass_get_diag_field(head, rec_number, diag_identifier, diag_info_ptr,
                                                   buffer_length, string_length_ptr, false);
        if (cass_log_is_on(head))
            entry_log_exit(head, entry, code);
        return code;
    });
}
