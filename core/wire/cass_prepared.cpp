#include "core/wire/cass_prepared.h"

#include <algorithm>

#include "core/net/cass_conn_shared.h"

constexpr std::int32_t MOST_BYTES = 32 * 1024;  // of a text and its reply; 8 MiB in all

static bool same_text(const cass_string *left, const cass_string *right)
{
    const std::int32_t length = cass_string_length(left);
    if (left == nullptr || right == nullptr)
        return left == right;
    return length == right->length && left->form == right->form &&
           (length == 0 ||
            std::memcmp(left->text, right->text, sizeof(SQLWCHAR) * std::size_t(length)) == 0);
}

// The entry of the text in the keyspace in use, or null. The caller holds session_lock.
static cass_prepared *find_entry(cass_conn *conn, const cass_string *text)
{
    for (std::int32_t i = 0; i < conn->prepared_count; i++) {
        cass_prepared *entry = &conn->prepared[i];
        if (same_text(entry->text, text) && same_text(entry->keyspace, conn->current_keyspace))
            return entry;
    }
    return nullptr;
}

static void free_entry(cass_conn *conn, cass_prepared *entry)
{
    cass_string_free(entry->keyspace);
    cass_string_free(entry->text);
    std::free(entry->reply);
    *entry = conn->prepared[--conn->prepared_count];
}

cass_packet *cass_prepared_find(cass_stmt *stmt, const cass_string *text)
{
    cass_conn *conn = stmt_conn(stmt);
    const cass_lock_guard hold(&conn->session_lock);
    cass_prepared *entry = find_entry(conn, text);
    if (entry == nullptr)
        return nullptr;
    entry->used = ++conn->prepared_uses;
    cass_packet *reply =
        cass_packet_from_body(stmt, OPCODE_RESULT, entry->reply, entry->reply_length);
    if (reply != nullptr)
        reply->session = conn->session;
    return reply;
}

// Room for one more; null when memory ran out.
static cass_prepared *new_entry(cass_conn *conn)
{
    if (conn->prepared == nullptr)
        conn->prepared =
            static_cast<cass_prepared *>(std::calloc(MOST_PREPARED, sizeof(cass_prepared)));
    if (conn->prepared == nullptr)
        return nullptr;
    if (conn->prepared_count == MOST_PREPARED)
        free_entry(conn,
                   std::min_element(conn->prepared, conn->prepared + MOST_PREPARED,
                                    [](const cass_prepared &left, const cass_prepared &right) {
                                        return left.used < right.used;
                                    }));
    return &conn->prepared[conn->prepared_count];
}

void cass_prepared_keep(cass_conn *conn, const cass_string *text, const cass_packet *reply)
{
    const std::int32_t length = pkt_remaining(reply);
    if (cass_string_octets(text) + length > MOST_BYTES)
        return;
    held_bytes body(
        static_cast<unsigned char *>(std::malloc(static_cast<std::size_t>(length) + 1)));
    held_string kept(cass_string_copy(text));
    if (body == nullptr || kept == nullptr)
        return;
    std::memcpy(body.get(), reply->body + reply->read_pos, static_cast<std::size_t>(length));

    const cass_lock_guard hold(&conn->session_lock);
    held_string keyspace(cass_string_copy(conn->current_keyspace));
    // A keyspace that was changed, or is about to be, would be taken for the one that was in use,
    // and an id of a session that has gone for one of its own.
    if (reply->session != conn->session || reply->keyspace_changes != conn->keyspace_known_at ||
        (keyspace == nullptr && conn->current_keyspace != nullptr))
        return;
    if (cass_prepared *before = find_entry(conn, text))
        free_entry(conn, before);
    cass_prepared *entry = new_entry(conn);
    if (entry == nullptr)
        return;
    *entry = {.keyspace = keyspace.release(),
              .text = kept.release(),
              .reply = body.release(),
              .reply_length = length,
              .used = ++conn->prepared_uses};
    conn->prepared_count++;
}

void cass_prepared_forget(cass_conn *conn, const cass_string *text)
{
    const cass_lock_guard hold(&conn->session_lock);
    if (cass_prepared *entry = find_entry(conn, text))
        free_entry(conn, entry);
}

void cass_prepared_forget_all(cass_conn *conn)
{
    const cass_lock_guard hold(&conn->session_lock);
    while (conn->prepared_count > 0)
        free_entry(conn, &conn->prepared[0]);
    std::free(conn->prepared);
    conn->prepared = nullptr;
}
