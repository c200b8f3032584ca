// Delivers one diagnostic record. Neither the handle's type nor its lock plays a part, and the list
// stays as it is; the lock over all lists is held while the record is read.
#include "odbc/SQLGetDiagRecWide.h"

#include <cstring>

#include "core/diag/cass_err.h"
#include "core/diag/cass_text_out.h"

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

static SQLRETURN deliver_record(const cass_diag_record *record, void *sqlstate, SQLINTEGER *native,
                                void *message_text, SQLSMALLINT buffer_length,
                                SQLSMALLINT *text_length, bool wide)
{
    cass_store<SQLINTEGER>(native, record->native);
    if (sqlstate != nullptr)
        deliver_state(record->state, sqlstate, wide);
    auto *units = static_cast<SQLWCHAR *>(message_text);
    const bool cut = wide ? cass_wide_text_out(record->text, units, buffer_length)
                          : cass_ansi_text_out(record->text, message_text, buffer_length);
    // The ANSI form without a buffer counts units: a probe for the length sees another number than
    // the call that fetches, should the text be longer in UTF-8.
    const std::int32_t length = wide || message_text == nullptr ? cass_string_length(record->text)
                                                                : utf8_octets(record->text);
    cass_store(text_length, cass_small_length(length));
    return cut ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS;
}

SQLRETURN cass_get_diag_rec(cass_handle *handle, SQLSMALLINT rec_number, void *sqlstate,
                            SQLINTEGER *native, void *message_text, SQLSMALLINT buffer_length,
                            SQLSMALLINT *text_length, bool wide)
{
    const cass_lock_guard hold(&cass_diag_lock);
    const cass_diag_record *record = cass_diag_get(handle, rec_number);
    return record == nullptr ? SQL_NO_DATA
                             : deliver_record(record, sqlstate, native, message_text, buffer_length,
                                              text_length, wide);
}
