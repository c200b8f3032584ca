// What the parts of vhcass-check share: the connection that is tried, and the report of its steps.
#ifndef TOOLS_VHCASS_CHECK_H
#define TOOLS_VHCASS_CHECK_H

#include <jansson.h>

#include <chrono>
#include <string>
#include <vector>

#include "core/record/cass_handles.h"

enum check_outcome { CHECK_OK, CHECK_WARNING, CHECK_FAILED };

// What to do about a kind of failure: a sentence for each in vhcass_check_report.cpp.
enum check_advice {
    ADVICE_NONE,
    ADVICE_SETTINGS,
    ADVICE_DATA_SOURCE,
    ADVICE_SERVER,
    ADVICE_BUNDLE,
    ADVICE_FILES,
    ADVICE_KEY_PAIR,
    ADVICE_NAME,
    ADVICE_REFUSED,
    ADVICE_SILENT,
    ADVICE_UNREACHABLE,
    ADVICE_TLS,
    ADVICE_CHAIN,
    ADVICE_DATES,
    ADVICE_HOST,
    ADVICE_NO_REPLY,
    ADVICE_PROTOCOL,
    ADVICE_SESSION,
    ADVICE_CREDENTIALS,
    ADVICE_KEYSPACE,
    ADVICE_QUERY,
    ADVICE_CLOCK,
    ADVICE_COUNT
};

using check_clock = std::chrono::steady_clock;

struct check_step {
    const char *name;
    check_clock::time_point began = check_clock::now();
    check_outcome outcome = CHECK_OK;
    check_advice advice = ADVICE_NONE;
    std::string text = {};
    std::vector<std::string> details = {};
};

struct check_report {
    bool failed;    // some step has
    json_t *steps;  // an array that takes them in place of standard output; null: text
};

struct vhcass_check {
    check_report report;
    cass_conn *conn;
    bool is_standard;
    bool one_place;             // there is one address: a failure there is one of the connection
    int timeout;                // seconds, of each step
    std::string authenticator;  // class that a server has asked for; empty: none has
};

// ---- The report (vhcass_check_report.cpp) -------------------------------------------------------

// A step ends now: it is printed, or kept for JSON. Signs that a terminal would obey, and bytes
// that are no UTF-8, are shown as "?".
void check_add(check_report *report, const check_step &step);
// A step comes out so, for the reason in its text.
void check_fail(check_step *step, check_outcome outcome, check_advice advice);
// The same of one address: where there are several the driver passes it over, which is a warning,
// and its session fails when no other is good.
void check_fail_here(const vhcass_check *check, check_step *step, check_advice advice);
// Moves the records of the connection into the details. The first one's state, empty without one.
std::string check_take_records(cass_conn *conn, check_step *step);
std::string check_text(const cass_string *string);
// By the driver's clock, for attempt_ends.
std::int64_t check_ends(const vhcass_check *check);

// ---- The steps ----------------------------------------------------------------------------------

// The names, addresses, TLS and protocol of each server in the setting (vhcass_check_network.cpp).
void check_servers(vhcass_check *check);
// Over the open socket (vhcass_check_tls.cpp). False when the driver would refuse the session.
bool check_tls(vhcass_check *check, const std::string &host);
// The bundle's files, which are read into the connection. False when that failed.
bool check_bundle(vhcass_check *check);
// The trust anchor and the client's certificate and key, of the bundle or of files.
void check_certificates(vhcass_check *check);
// What the server at the open socket speaks (vhcass_check_session.cpp). Sends no password.
void check_protocol(vhcass_check *check);
// The driver's own session, and a query on it.
void check_session(vhcass_check *check);

#endif
