// The log in memory. Records of all connections in memory mode collect here, whatever their
// environment; an error writes the history out. The ring has a lock of its own, inside log_lock,
// and is never released.
#include "core/log/cass_log_ring.h"

#include <pthread.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/log/cass_log.h"
#include "core/log/cass_log_file.h"

constexpr int RING_SLOTS = 100000;
constexpr int BANNER_WIDTH = 100;

static struct cass_log_ring {
    char **slots;
    int head;  // next slot to fill
    int tail;  // oldest entry; equal to head when the ring is empty
    bool has_target;
    const cass_conn *conn;                           // names the dump's file while it lives
    char log_file[sizeof(cass_settings::log_file)];  // its name and mask when it is gone
    std::int32_t log_mask;
} ring;

static pthread_mutex_t ring_mutex = PTHREAD_MUTEX_INITIALIZER;

static int next_slot(int slot)
{
    return slot + 1 == RING_SLOTS ? 0 : slot + 1;
}

static void drop_entry(int slot)
{
    std::free(ring.slots[slot]);
    ring.slots[slot] = nullptr;
}

static void add_entry(const char *text)
{
    drop_entry(ring.head);
    ring.slots[ring.head] = strdup(text);
    if (ring.slots[ring.head] == nullptr)
        return;
    ring.head = next_slot(ring.head);
    if (ring.head == ring.tail) {
        drop_entry(ring.tail);
        ring.tail = next_slot(ring.tail);
    }
}

void cass_log_ring_add(const cass_conn *conn, const char *text)
{
    pthread_mutex_lock(&ring_mutex);
    if (!ring.has_target) {
        ring.has_target = true;
        ring.conn = conn;
    }
    if (ring.slots == nullptr)
        ring.slots = static_cast<char **>(std::calloc(RING_SLOTS, sizeof(char *)));
    if (ring.slots != nullptr)
        add_entry(text);
    pthread_mutex_unlock(&ring_mutex);
}

// A line of a banner, its text filled with `fill` between the two stars.
static void write_banner_line(FILE *file, const char *text, char fill)
{
    char line[BANNER_WIDTH + 2];
    std::memset(line, fill, BANNER_WIDTH);
    std::memcpy(line + 1, text, std::strlen(text));
    line[0] = '*';
    line[BANNER_WIDTH - 1] = '*';
    line[BANNER_WIDTH] = '\n';
    line[BANNER_WIDTH + 1] = '\0';
    std::fputs(line, file);
}

static void write_banner(FILE *file, const char *text)
{
    write_banner_line(file, "", '*');
    write_banner_line(file, "", ' ');
    write_banner_line(file, text, ' ');
    write_banner_line(file, "", ' ');
    write_banner_line(file, "", '*');
}

static void remember_target(const cass_conn *conn)
{
    std::snprintf(ring.log_file, sizeof ring.log_file, "%s", conn->settings.log_file);
    ring.log_mask = shared_get(&conn->head.log_mask);
}

static void dump_ring()
{
    if (ring.slots == nullptr)
        return;
    if (ring.conn != nullptr)
        remember_target(ring.conn);
    cass_log_stream stream;
    if (!cass_log_stream_open(&stream, ring.log_file, ring.log_mask))
        return;
    write_banner(stream.file, "   Start of log dump");
    for (; ring.tail != ring.head; ring.tail = next_slot(ring.tail)) {
        std::fprintf(stream.file, "%s\n", ring.slots[ring.tail]);
        drop_entry(ring.tail);
    }
    ring.head = ring.tail = 0;
    write_banner(stream.file, "   End of log dump");
    cass_log_stream_close(&stream);
}

void cass_log_flush()
{
    pthread_mutex_lock(&ring_mutex);
    dump_ring();
    pthread_mutex_unlock(&ring_mutex);
}

void cass_log_forget_conn(const cass_conn *conn)
{
    pthread_mutex_lock(&ring_mutex);
    if (ring.conn == conn) {
        remember_target(conn);
        ring.conn = nullptr;
    }
    pthread_mutex_unlock(&ring_mutex);
}
