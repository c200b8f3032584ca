// Steps as lines of text or of JSON, and what to do about a failure.
#include <cstdio>
#include <iterator>
#include <new>

#include "core/diag/cass_err.h"
#include "core/net/cass_conn.h"
#include "tools/vhcass_check.h"

static constexpr const char *outcomes[] = {"ok", "warning", "FAILED"};
static constexpr const char *json_outcomes[] = {"ok", "warning", "failed"};

// By check_advice.
static constexpr const char *advices[] = {
    "",
    "Correct the setting that is named here; docs/connecting.md lists all and what they take.",
    "See with 'odbcinst -q -s' whether the data source is listed and with 'odbcinst -j' which file "
    "is read; it needs Server or SecureConnectionBundlePath.",
    "Name a server: Server=host.",
    "Download the bundle again, and see that the file can be read by this user.",
    "See that the file is PEM without a passphrase and can be read by this user.",
    "Take the key that this certificate was made with: the server sees no certificate otherwise.",
    "See that the name is spelt right and known to this machine: 'getent hosts NAME'.",
    "See that the server is up, on this port, and listens on this address (rpc_address in "
    "cassandra.yaml).",
    "Nothing answers: look at firewalls, security groups and the route to the address.",
    "See that the address is the right one and that this machine has a route to it.",
    "See that the server speaks TLS on this port, 1.2 or 1.3, and whether it wants a client "
    "certificate (PublicKeyFile, PrivateKeyFile); docs/tls.md explains the record.",
    "Set CertificateFile to the PEM file of the CA that signed the server's certificate.",
    "Have the certificate renewed, and look at the clock of this machine.",
    "Write one of the certificate's names as Server, have it made out to this host, or set "
    "VerifyHost=No.",
    "See whether the server wants TLS (Encrypt=Yes), speaks none, or wants a client certificate; "
    "its own log says why it closed the connection.",
    "See that this is the port of the native protocol (9042) of a server that speaks version 4.",
    "The records are the driver's; docs/troubleshooting.md lists them.",
    "Set User and Password right; 'ALTER ROLE name WITH PASSWORD = ...' at the server sets "
    "another.",
    "Correct Keyspace, case included: 'SELECT keyspace_name FROM system_schema.keyspaces' lists "
    "them.",
    "See in the server's log why it does not answer this query.",
    "Set both clocks by NTP: newest-wins writes and certificates depend on them.",
};
static_assert(std::size(advices) == ADVICE_COUNT);

// ---- Texts --------------------------------------------------------------------------------------

// A text that comes from elsewhere must not steer a terminal or break JSON.
static std::string printable(std::string text)
{
    const auto is_control = [](char sign) {
        return static_cast<unsigned char>(sign) < ' ' || sign == '\x7F';
    };
    const held<json_t, &json_decref> valid(json_stringn(text.data(), text.size()));
    for (char &sign : text) {
        if (is_control(sign) || (valid == nullptr && static_cast<signed char>(sign) < 0))
            sign = '?';
    }
    return text;
}

std::string check_text(const cass_string *string)
{
    std::int32_t length = 0;
    const held_text text(cass_string_to_bytes(string, &length));
    return text == nullptr ? std::string() : std::string(text.get());
}

std::int64_t check_ends(const vhcass_check *check)
{
    return cass_monotonic_ms() + check->timeout * std::int64_t{1000};
}

void check_fail(check_step *step, check_outcome outcome, check_advice advice)
{
    step->outcome = outcome;
    step->advice = advice;
}

void check_fail_here(const vhcass_check *check, check_step *step, check_advice advice)
{
    check_fail(step, check->one_place ? CHECK_FAILED : CHECK_WARNING, advice);
}

std::string check_take_records(cass_conn *conn, check_step *step)
{
    std::string first;
    const cass_diag_record *record = cass_diag_get(&conn->head, 1);
    for (; record != nullptr; record = record->next) {
        const std::string state = check_text(record->state);
        step->details.push_back(state + " " + check_text(record->text));
        if (first.empty())
            first = state;
    }
    cass_diag_clear(&conn->head);
    return first;
}

// ---- Output -------------------------------------------------------------------------------------

static void print_text(const check_step &step, double milliseconds)
{
    std::printf("%-8s %-14s %s (%.1f ms)\n", outcomes[step.outcome], step.name,
                printable(step.text).c_str(), milliseconds);
    for (const std::string &detail : step.details)
        std::printf("%-23s %s\n", "", printable(detail).c_str());
    if (step.advice != ADVICE_NONE)
        std::printf("%-23s -> %s\n", "", advices[step.advice]);
    std::fflush(stdout);
}

static json_t *json_of(const check_step &step, double milliseconds)
{
    json_t *details = json_array();
    for (const std::string &detail : step.details)
        json_array_append_new(details, json_string(printable(detail).c_str()));
    json_t *object = json_pack("{s:s, s:s, s:s, s:f, s:o}", "step", step.name, "outcome",
                               json_outcomes[step.outcome], "text", printable(step.text).c_str(),
                               "milliseconds", milliseconds, "details", details);
    if (step.advice != ADVICE_NONE)
        json_object_set_new(object, "advice", json_string(advices[step.advice]));
    return object;
}

void check_add(check_report *report, const check_step &step)
{
    const std::chrono::duration<double, std::milli> took = check_clock::now() - step.began;
    report->failed = report->failed || step.outcome == CHECK_FAILED;
    if (report->steps == nullptr)
        print_text(step, took.count());
    else if (json_array_append_new(report->steps, json_of(step, took.count())) != 0)
        throw std::bad_alloc();
}
