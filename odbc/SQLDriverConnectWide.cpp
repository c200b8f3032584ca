// The road of SQLDriverConnect: settings from the connection string, dialogs of the setup library,
// the session, and the completed string on its way back.
#include "odbc/SQLDriverConnectWide.h"

#include <climits>
#include <cstdlib>
#include <string>

#include "core/diag/cass_err.h"
#include "core/diag/cass_text_out.h"
#include "core/handle/cass_handle.h"
#include "core/log/cass_log.h"
#include "core/session/cass_logon.h"
#include "core/session/cass_settings.h"
#include "dll/setup_library.h"

static constexpr char log_source[] = "SQLDriverConnectWide.c";

// Asks the user for the settings. 0, or what ends the call: the setup library's refusal, or
// SQL_ERROR with HY001 posted.
static int prompt(cass_conn *conn, SQLHWND window)
{
    cass_settings_block block = {};
    const int refused = cass_prompt_settings(conn, window, &block);
    if (refused == 0 && cass_apply_settings_block(conn, &block) != 0)
        return SQL_ERROR;
    return refused;
}

// The connection's diagnostics, a line each.
static std::string diagnostics_text(cass_conn *conn)
{
    std::string text;
    const cass_lock_guard hold(&cass_diag_lock);
    const cass_diag_record *record;
    for (std::int32_t row = 1; (record = cass_diag_get(&conn->head, row)) != nullptr; row++) {
        const held_text line(cass_string_to_utf8(record->text));
        if (line != nullptr)
            text.append(line.get()).append("\n");
    }
    return text;
}

// Shows and forgets them.
static void show_diagnostics(cass_conn *conn, SQLHWND window)
{
    cass_show_errors(conn, diagnostics_text(conn).c_str(), window);
    cass_diag_clear(&conn->head);
}

// Connects, with at most one dialog before and one after a failure. True with the result of the
// attempt in *code, false when a dialog ended the call with *code.
static bool attempt(cass_conn *conn, SQLHWND window, SQLUSMALLINT completion, SQLRETURN *code)
{
    bool prompted = false;
    for (;;) {
        const bool reachable =
            conn->settings.server != nullptr || conn->settings.bundle_path != nullptr;
        bool ask = false;
        if (reachable && (completion != SQL_DRIVER_PROMPT || prompted)) {
            *code = cass_connect(conn, 0);
        } else if (!reachable && completion == SQL_DRIVER_NOPROMPT) {
            CASS_LOG(&conn->head, LOG_ERROR,
                     "SQLDriverConnect: server name and connect bundle not specified");
            cass_post_error(&conn->head, STATE_HY000, 0,
                            "server name and connect bundle not specified");
            *code = SQL_ERROR;
        } else {
            ask = true;
        }

        if (!ask) {
            CASS_LOG(&conn->head, LOG_DETAIL, "SQLDriverConnect: cass_connect returns %r",
                     static_cast<int>(*code));
            // One chance to mend settings that failed, for a user who was not asked yet.
            if (*code != SQL_ERROR || window == nullptr || completion == SQL_DRIVER_NOPROMPT ||
                prompted)
                return true;
            show_diagnostics(conn, window);
        }

        prompted = true;
        const int refused = prompt(conn, window);
        if (refused != 0) {
            *code = static_cast<SQLRETURN>(refused);
            return false;
        }
    }
}

static bool is_ascii(const cass_string *text)
{
    for (std::int32_t i = 0; i < text->length; i++) {
        if (text->text[i] >= 0x80)
            return false;
    }
    return true;
}

bool driver_connect_write(cass_conn *conn, const cass_string *text,
                          const driver_connect_target &target)
{
    const std::int32_t length = cass_string_length(text);
    cass_store(target.length, static_cast<SQLSMALLINT>(length < SHRT_MAX ? length : SHRT_MAX));
    if (length == 0)
        return false;

    auto *units = static_cast<SQLWCHAR *>(target.buffer);
    const bool cut = target.wide ? cass_wide_text_out(text, units, target.size)
                                 : cass_ansi_text_out(text, target.buffer, target.size);
    // A buffer of just the text's length counts as big enough. The terminator then takes the place
    // of the last semicolon, which every reader of such a string can do without.
    const bool exact = length == target.size && (target.wide || is_ascii(text));
    if (!cut || exact)
        return false;
    cass_post_error(&conn->head, STATE_01004, target.wide ? 167 : 176, nullptr);
    return true;
}

static SQLRETURN no_memory(cass_conn *conn)
{
    CASS_LOG(&conn->head, LOG_ERROR, "SQLDriverConnect: failed to allocate memory");
    cass_post_error(&conn->head, STATE_HY001, 0, nullptr);
    return SQL_ERROR;
}

SQLRETURN SQLDriverConnectWide(cass_conn *conn, const connect_argument &connect_string,
                               SQLHWND window, SQLUSMALLINT completion,
                               const driver_connect_target &target)
{
    // A live session and every earlier setting go, attributes that were set beforehand among them:
    // SQL_ATTR_LOGIN_TIMEOUT only works with SQLConnect.
    cass_reset_conn(conn);
    if (connect_argument_lost(connect_string))
        return no_memory(conn);
    const int parsed = cass_parse_connect_string(conn, connect_string.text);
    cass_string_free(connect_string.text);
    if (parsed != 0)
        return SQL_ERROR;

    SQLRETURN code;
    if (!attempt(conn, window, completion, &code) || !SQL_SUCCEEDED(code))
        return code;

    const held_string out(cass_build_out_string(conn));
    if (out == nullptr) {
        cass_logout(conn);
        return no_memory(conn);
    }
    if (driver_connect_write(conn, out.get(), target))
        code = SQL_SUCCESS_WITH_INFO;
    CASS_LOG(&conn->head, LOG_DETAIL, "SQLDriverConnect: Output string '%S'", out.get());
    return code;
}
