// driver_test: a connection made from a settings block and ended again, for the setup library and
// for tools that want to know whether settings work.
#include "dll/driver_test.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "core/diag/cass_err.h"
#include "core/handle/cass_handle.h"
#include "core/session/cass_logon.h"
#include "odbc/entry_frame.h"
#include "support/held.h"

static void say(char *message, const char *format, const char *argument)
{
    if (message != nullptr)
        std::snprintf(message, DRIVER_TEST_MESSAGE_SIZE, format, argument);
}

// The connection's first diagnostic as the reason, if there is one.
static void say_failure(char *message, cass_conn *conn)
{
    const cass_lock_guard hold(&cass_diag_lock);
    const cass_diag_record *record = cass_diag_get(&conn->head, 1);
    const held_text reason(record == nullptr ? nullptr : cass_string_to_utf8(record->text));
    if (reason == nullptr)
        say(message, "%s", "Failed to connect");
    else
        say(message, "Failed to connect: '%s'", reason.get());
}

// A refused keyspace is a success without a record, to which words of our own are added.
static void say_connected(char *message, const cass_conn *conn, SQLRETURN code)
{
    std::string text = std::string("Connected. CQL Version: ") + conn->cql_version;
    if (code == SQL_SUCCESS_WITH_INFO) {
        const held_text keyspace(cass_string_to_utf8(conn->settings.keyspace));
        text += std::string(", but keyspace '") + (keyspace == nullptr ? "" : keyspace.get()) +
                "' cannot be used and the session is closed: is the name right, case included?";
    }
    say(message, "%s", text.c_str());
}

static int try_settings(cass_conn *conn, const cass_settings_block *block, char *message)
{
    SQLRETURN code = SQL_ERROR;
    if (cass_apply_settings_block(conn, block) == 0)
        code = cass_connect(conn, 0);
    if (!SQL_SUCCEEDED(code)) {
        say_failure(message, conn);
        return 1;
    }
    say_connected(message, conn, code);
    cass_logout(conn);
    conn->connected = 0;
    return 0;
}

VHCASS_EXPORT int driver_test(cass_settings_block *block, char *message)
{
    const cass_cancel_guard whole;
    const held<cass_env, &cass_free_env> env(cass_alloc_env());
    if (env == nullptr) {
        say(message, "%s", "Failed to create environment");
        return 1;
    }
    // The environment frees it.
    cass_conn *conn = cass_alloc_conn(env.get(), 2);
    if (conn == nullptr) {
        say(message, "%s", "Failed to create connection");
        return 1;
    }
    try {
        return try_settings(conn, block, message);
    } catch (...) {
        say(message, "%s", "Failed to connect");
        return 1;
    }
}
