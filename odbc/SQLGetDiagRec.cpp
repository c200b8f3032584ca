// SQLGetDiagRec: a diagnostic record.
#include "odbc/SQLGetDiagRecWide.h"
#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLGetDiagRec.c";
static constexpr entry_point entry = {
    .name = "SQLGetDiagRec", .source = log_source, .exit_format = EXIT_BY_NAME};

VHCASS_EXPORT SQLRETURN SQL_API SQLGetDiagRec(SQLSMALLINT handle_type, SQLHANDLE handle,
                                              SQLSMALLINT rec_number, SQLCHAR *sqlstate,
                                              SQLINTEGER *native, SQLCHAR *message_text,
                                              SQLSMALLINT buffer_length,
                                              SQLSMALLINT *text_length_ptr)
{
    auto *head = static_cast<cass_handle *>(handle);
    if (head == nullptr)
        return SQL_INVALID_HANDLE;
    return enter_bare(head, [&] {
        CASS_LOG(head, LOG_ENTRY,
                 "SQLGetDiagRec: handle_type=%d, handle=%p, rec_number=%d, sqlstate=%p, "
                 "native=%p, message_text=%p, buffer_length=%d, text_length_ptr=%p",
                 handle_type, handle, rec_number, static_cast<void *>(sqlstate),
                 static_cast<void *>(native), static_cast<void *>(message_text), buffer_length,
                 static_cast<void *>(text_length_ptr));
        const SQLRETURN code = cass_get_diag_rec(head, rec_number, sqlstate, native, message_text,
                                                 buffer_length, text_length_ptr, false);
        if (cass_log_is_on(head))
            entry_log_exit(head, entry, code);
        return code;
    });
}
