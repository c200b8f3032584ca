// Delivers one diagnostic record. Neither the handle's type nor its lock plays a part, and the list
// stays as it is; the lock over all lists is held while the record is read.
#include "odbc/SQLGetDiagRecWide.h"

#include <cstring>

constexpr std::int32_t STATE_UNITS = 5;

static void deliver_state(const cass_string *state, void *target, bool wide)
{
    SQLWCHAR units[STATE_UNITS + 1] = {};
    char bytes[STATE_UNITS + 1] = {};
    for (std::int32_t i = 0; i < STATE_UNITS && i < cass_string_length(state); i++) {
        units[i] = state->text[i];
        bytes[i] = static_cast<char>(state->text[i]);
    }
    if (wide)
        std::memcpy(target, units, sizeof units);
    else
        std::memcpy(target, bytes, sizeof bytes);
}

static std::int32_t utf8_octets(const cass_string *text)
{
    std::int32_t octets = 0;
    unsigned char sequence[3];
    for (std::int32_t i = 0; i < cass_string_length(text); i++)
        octets += cass_utf8_put(text->text[i], sequence);
    return octets;
}

// An environment has no connection to choose.
static bool a_probe_of_a_record_counts_units(const cass_conn *conn)
{
    return conn == nullptr || conn->conduct->a_probe_of_a_record_counts_units;
}

static SQLRETURN deliver_record(const cass_conn *conn, const cass_diag_record *record,
                                text_form form, const diag_rec_target &target)
{
    cass_store<SQLINTEGER>(target.native, record->native);
    if (target.sqlstate != nullptr)
        deliver_state(record->state, target.sqlstate, is_wide(form));
    const bool cut = text_form_out(record->text, form, target.message_text, target.size);
    // A probe for the length that counts units sees another number than the call that fetches,
    // should the text be longer in UTF-8.
    const bool units =
        is_wide(form) || (target.message_text == nullptr && a_probe_of_a_record_counts_units(conn));
    const std::int32_t length =
        units ? cass_string_length(record->text) : utf8_octets(record->text);
    cass_store(target.length, cass_small_length(length));
    return cut ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS;
}

static SQLRETURN get_diag_rec(cass_handle *handle, text_form form, SQLSMALLINT rec_number,
                              const diag_rec_target &target)
{
    const cass_lock_guard hold(&cass_diag_lock);
    const cass_diag_record *record = cass_diag_get(handle, rec_number);
    return record == nullptr ? SQL_NO_DATA
                             : deliver_record(cass_handle_conn(handle), record, form, target);
}

SQLRETURN get_diag_rec_entry(SQLSMALLINT handle_type, SQLHANDLE handle, const entry_point &entry,
                             text_form form, SQLSMALLINT rec_number, const diag_rec_target &target)
{
    return enter_any(
        handle, entry,
        [&](cass_handle *head) {
            ENTRY_LOG(head, entry, LOG_ENTRY,
                      "%s: handle_type=%d, handle=%p, rec_number=%d, sqlstate=%p, native=%p, "
                      "message_text=%p, buffer_length=%d, text_length_ptr=%p",
                      entry.name, handle_type, handle, rec_number, target.sqlstate,
                      static_cast<void *>(target.native), target.message_text, target.size,
                      static_cast<void *>(target.length));
        },
        [&](cass_handle *head) { return get_diag_rec(head, form, rec_number, target); });
}
