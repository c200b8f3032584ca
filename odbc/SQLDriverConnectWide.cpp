// The road of SQLDriverConnect: settings from the connection string, dialogs of the setup library,
// the session, and the completed string on its way back.
#include "odbc/SQLDriverConnectWide.h"

#include <climits>
#include <cstdlib>
#include <string>

#include "core/handle/cass_handle.h"
#include "core/session/cass_logon.h"
#include "core/session/cass_secrets.h"
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

static bool an_exact_output_string_is_whole(const cass_conn *conn)
{
    return conn->conduct->an_exact_output_string_is_whole;
}

bool driver_connect_write(cass_conn *conn, const cass_string *text,
                          const driver_connect_target &target)
{
    const std::int64_t length = text_form_length(text, target.form);
    cass_store(target.length, static_cast<SQLSMALLINT>(length < SHRT_MAX ? length : SHRT_MAX));
    if (length == 0)
        return false;

    const bool wide = is_wide(target.form);
    const bool cut = text_form_out(text, target.form, target.buffer, target.size);
    // The terminator takes the place of the last semicolon, which a reader can do without.
    const bool exact =
        length == target.size && (wide || is_ascii(text)) && an_exact_output_string_is_whole(conn);
    if (!cut || exact)
        return false;
    cass_post_error(&conn->head, STATE_01004, wide ? 167 : 176, nullptr);
    return true;
}

static bool connecting_forgets_attributes(const cass_conn *conn)
{
    return conn->conduct->connecting_forgets_attributes;
}

// A live session and every earlier setting go, attributes that were set beforehand among them where
// the conduct says so: SQL_ATTR_LOGIN_TIMEOUT then only works with SQLConnect. What the connection
// has followed so far does not count, but what the string asks for. False when memory ran out.
static bool forget_earlier(cass_conn *conn, const cass_string *connect_string)
{
    const bool chosen = cass_choose_conduct_by_string(conn, connect_string);
    if (connecting_forgets_attributes(conn))
        cass_reset_conn(conn);
    else
        cass_forget_settings(conn);
    return chosen;
}

static SQLRETURN driver_connect(cass_conn *conn, SQLHWND window,
                                const text_argument &connect_string, SQLUSMALLINT completion,
                                const driver_connect_target &target)
{
    held_string settings;
    const bool read = cass_string_take_argument(connect_string, &settings);
    if (!forget_earlier(conn, settings.get()) || !read)
        return cass_post_no_memory(&conn->head, log_source, "SQLDriverConnect");
    if (cass_parse_connect_string(conn, settings.get()) != 0)
        return SQL_ERROR;
    settings.reset();

    SQLRETURN code;
    if (!attempt(conn, window, completion, &code) || !SQL_SUCCEEDED(code))
        return code;

    const held_string out(cass_build_out_string(conn));
    if (out == nullptr) {
        cass_logout(conn);
        return cass_post_no_memory(&conn->head, log_source, "SQLDriverConnect");
    }
    if (driver_connect_write(conn, out.get(), target))
        code = SQL_SUCCESS_WITH_INFO;
    if (cass_log_is_on(&conn->head)) {
        held_string hidden;
        CASS_LOG(&conn->head, LOG_DETAIL, "SQLDriverConnect: Output string '%S'",
                 cass_shown_string(conn, out.get(), &hidden));
    }
    return code;
}

SQLRETURN driver_connect_entry(SQLHDBC handle, const entry_point &entry, SQLHWND window,
                               const text_argument &connect_string, SQLUSMALLINT completion,
                               const driver_connect_target &target)
{
    return enter_conn(
        handle, entry,
        [&](cass_conn *conn) {
            held_string hidden;
            const text_argument shown = cass_shown_argument(conn, connect_string, &hidden);
            ENTRY_LOG(&conn->head, entry, LOG_ENTRY,
                      "%s: connection_handle=%p, window_handle=%p, in_connection_string=%A, "
                      "out_connection_string=%p, buffer_length=%d, string_length2_ptr=%p, "
                      "driver_completion=%d",
                      entry.name, static_cast<void *>(conn), static_cast<void *>(window), &shown,
                      target.buffer, static_cast<int>(target.size),
                      static_cast<void *>(target.length), static_cast<int>(completion));
        },
        [&](cass_conn *conn) {
            return driver_connect(conn, window, connect_string, completion, target);
        });
}
