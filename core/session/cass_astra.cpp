// One question to the metadata service of a hosted database: the request as text, and what its JSON
// reply says of contact points and ports.
#include "core/session/cass_astra.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/diag/cass_err.h"
#include "core/handle/cass_handle.h"
#include "core/log/cass_log.h"
#include "core/net/cass_conn.h"
#include "core/net/cass_http.h"
#include "core/net/cass_ssl.h"
#include "core/session/cass_bundle.h"
#include "support/base64.h"
#include "support/held.h"

static constexpr char log_source[] = "cass_logon.c";

constexpr int NOTHING_WRITTEN = -4;
constexpr int ASKING_FAILED = -5;
constexpr char AUTHORISATION[] = "Authorization: Basic ";  // the password follows
constexpr std::int32_t STATUS_OK = 200;
constexpr std::int32_t STATUS_BAD_REQUEST = 400;

using held_json = held<json_t, &json_decref>;

// ---- The request -------------------------------------------------------------------------------

// New text of a printf format; null when memory runs out.
__attribute__((format(printf, 1, 2))) static char *compose(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    char *text = nullptr;
    const int length = vasprintf(&text, format, arguments);
    va_end(arguments);
    return length < 0 ? nullptr : text;
}

// Lines end in a bare line feed, which the service takes.
static char *compose_request(const cass_conn *conn, const char *user, const char *password)
{
    if (user == nullptr && password == nullptr)
        user = password = FALLBACK_CREDENTIAL;
    const held_text pair(
        compose("%s:%s", user != nullptr ? user : "", password != nullptr ? password : ""));
    const held_text host(cass_string_to_ascii(conn->settings.server));
    const held_text encoded(pair == nullptr ? nullptr : cass_base64(pair.get()));
    if (host == nullptr || encoded == nullptr)
        return nullptr;
    return compose("GET /metadata HTTP/1.1\n"
                   "Host: %s\n"
                   "Accept: application/json\n"
                   "%s%s\n"
                   "\n",
                   host.get(), AUTHORISATION, encoded.get());
}

// ---- The reply ---------------------------------------------------------------------------------

// The body of a 200, or null with the failure posted as far as it has a text.
static http_response *read_answer(cass_conn *conn)
{
    held_response response(cass_read_response(conn));
    if (response == nullptr)
        return nullptr;
    CASS_LOG(&conn->head, LOG_DETAIL, "Resonse Code: %d", response->status);
    if (response->status == STATUS_OK)
        return response.release();
    if (response->status == STATUS_BAD_REQUEST) {
        CASS_LOG(&conn->head, LOG_ERROR, "Response Body: %s", response->body);
        cass_post_error(&conn->head, STATE_HY000, 0, "Failed in Astra connection '%s'",
                        response->body);
    } else {
        CASS_LOG(&conn->head, LOG_ERROR, "astra_comms: Failed in Astra connection code: %d",
                 response->status);
        cass_post_error(&conn->head, STATE_HY000, 0, "Failed in Astra connection code: %d",
                        response->status);
    }
    return nullptr;
}

// Empty where there is no such text.
static const char *text_member(const json_t *object, const char *name)
{
    const char *text = json_string_value(json_object_get(object, name));
    return text != nullptr ? text : "";
}

// The texts in front of the first element that is none.
static std::size_t count_texts(const json_t *points)
{
    std::size_t count = 0;
    while (json_is_string(json_array_get(points, count)))
        count++;
    return count;
}

// An array without texts leaves no array: whoever finds one takes its first element. False when
// memory ran out.
static bool store_contact_points(cass_conn *conn, const json_t *points)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "Round Robin Count: %d",
             static_cast<int>(json_array_size(points)));
    const std::size_t count = count_texts(points);
    if (count == 0)
        return true;
    conn->contact_points = static_cast<cass_string **>(std::calloc(count, sizeof(cass_string *)));
    conn->contact_sockets = static_cast<std::int32_t *>(std::malloc(count * sizeof(std::int32_t)));
    if (conn->contact_points == nullptr || conn->contact_sockets == nullptr)
        return false;
    for (std::size_t i = 0; i < count; i++) {
        const char *text = json_string_value(json_array_get(points, i));
        conn->contact_points[i] = cass_string_from_cstr(text);
        conn->contact_sockets[i] = -1;
        conn->contact_count++;
        if (conn->contact_points[i] == nullptr)
            return false;
        CASS_LOG(&conn->head, LOG_DETAIL, "Round Robin[ %d ]: '%s'", static_cast<int>(i), text);
    }
    return true;
}

// Replaces what an earlier reply said. False when memory ran out.
static bool store_metadata(cass_conn *conn, const json_t *root)
{
    const json_t *info = json_object_get(root, "contact_info");
    const json_t *points = json_object_get(info, "contact_points");
    const json_t *port = json_object_get(info, "round_robin_port");
    const char *region = text_member(root, "region");
    CASS_LOG(&conn->head, LOG_DETAIL, "Region: %s", region);
    // The proxy is the bundle's own host: this address is for the reader of the log.
    CASS_LOG(&conn->head, LOG_DETAIL, "Proxy Address: %s", text_member(info, "sni_proxy_address"));

    cass_free_contact_points(conn);
    conn->round_robin_port =
        port == nullptr ? DEFAULT_PORT : static_cast<std::int32_t>(json_integer_value(port));
    CASS_LOG(&conn->head, LOG_DETAIL, "Port: %d", conn->round_robin_port);
    if (conn->settings.port == 0)
        conn->settings.port = conn->round_robin_port != 0 ? conn->round_robin_port : DEFAULT_PORT;
    if (points == nullptr)
        return true;
    conn->region = cass_string_from_cstr(region);
    return conn->region != nullptr && store_contact_points(conn, points);
}

int astra_comms(cass_conn *conn, const char *user, const char *password)
{
    CASS_LOG(&conn->head, LOG_DETAIL, "astra_comms()");
    const held_text request(compose_request(conn, user, password));
    if (request == nullptr)
        return cass_post_no_memory(&conn->head, log_source, "astra_comms", ASKING_FAILED);
    // A failed write has posted its record; the read that follows fails in turn.
    const auto size = static_cast<std::int32_t>(std::strlen(request.get()));
    const char *secret = std::strstr(request.get(), AUTHORISATION);
    if (conn_write_secret(conn, request.get(), size,
                          static_cast<std::int32_t>(secret - request.get())) == 0)
        return NOTHING_WRITTEN;
    const held_response response(read_answer(conn));
    if (response == nullptr || response->body == nullptr)
        return ASKING_FAILED;
    json_error_t error;
    const held_json root(cass_load_json(response->body, std::strlen(response->body), &error));
    if (root == nullptr && error.line != 0)
        return ASKING_FAILED;
    return root != nullptr && store_metadata(conn, root.get())
               ? 0
               : cass_post_no_memory(&conn->head, log_source, "astra_comms", ASKING_FAILED);
}
