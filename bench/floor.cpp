// The floor beneath any client of these pages: a bare socket, one block for a frame, and every cell
// decoded at once into the storage of its column. No handles, no locks, no conversion.
#include <arpa/inet.h>
#include <lz4.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bench/mixed_rows.h"
#include "bench/replay_node.h"

static constexpr int HEADER_SIZE = 9;

struct floor_column {
    int type;
    bool is_null;
    std::int64_t number;
    double real;
    std::array<unsigned char, 16> bits;
    std::string text;  // keeps its room from row to row
};

struct floor_client {
    int socket;
    std::string frame;       // the body, restored
    std::string compressed;  // the body as it came
    std::array<floor_column, MIXED_COLUMNS> columns;
    std::uint64_t sum;  // of everything decoded, so that nothing is left out
};

[[noreturn]] static void give_up(const char *what)
{
    std::perror(what);
    std::exit(1);
}

static std::int64_t load(const char *at, int size)
{
    std::uint64_t value = static_cast<std::uint64_t>(static_cast<signed char>(at[0]));
    for (int i = 1; i < size; i++)
        value = value << 8 | static_cast<unsigned char>(at[i]);
    return static_cast<std::int64_t>(value);
}

static std::int64_t load_int(const char *at)
{
    std::uint32_t value;
    std::memcpy(&value, at, sizeof value);
    return static_cast<std::int32_t>(__builtin_bswap32(value));
}

static std::int64_t load_long(const char *at)
{
    std::uint64_t value;
    std::memcpy(&value, at, sizeof value);
    return static_cast<std::int64_t>(__builtin_bswap64(value));
}

static void receive_all(int socket, char *buffer, std::size_t count)
{
    while (count > 0) {
        const ssize_t got = recv(socket, buffer, count, 0);
        if (got <= 0)
            give_up("read");
        buffer += got;
        count -= static_cast<std::size_t>(got);
    }
}

// One request out, one frame back into client->frame.
static void exchange(floor_client *client, int opcode, const bytes &body, bool lz4)
{
    const node_frame request = {.opcode = opcode, .body = body, .version = 4};
    const bytes wire = frame_on_wire(request, lz4, 0);
    if (send(client->socket, wire.data(), wire.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(wire.size()))
        give_up("send");
    char header[HEADER_SIZE];
    receive_all(client->socket, header, sizeof header);
    const auto length = static_cast<std::size_t>(load_int(header + 5));
    if ((header[1] & 1) == 0) {
        client->frame.resize(length);
        receive_all(client->socket, client->frame.data(), length);
        return;
    }
    client->compressed.resize(length);
    receive_all(client->socket, client->compressed.data(), length);
    const auto size = static_cast<std::size_t>(load_int(client->compressed.data()));
    client->frame.resize(size);
    if (LZ4_decompress_safe(client->compressed.data() + 4, client->frame.data(),
                            static_cast<int>(length - 4), static_cast<int>(size)) < 0)
        give_up("lz4");
}

static void decode(floor_client *client, floor_column *column, const char *cell, std::size_t length)
{
    switch (column->type) {
    case NODE_VARCHAR:
        column->text.assign(cell, length);
        client->sum += static_cast<unsigned char>(column->text.front());
        return;
    case NODE_UUID:
        std::memcpy(column->bits.data(), cell, column->bits.size());
        client->sum += column->bits[0];
        return;
    case NODE_DOUBLE: {
        const std::int64_t bits = load_long(cell);
        std::memcpy(&column->real, &bits, sizeof column->real);
        client->sum += static_cast<std::uint64_t>(bits);
        return;
    }
    case NODE_INT:
        column->number = load_int(cell);
        break;
    case NODE_DECIMAL:
        column->number = load(cell + 4, static_cast<int>(length) - 4);
        break;
    case NODE_BOOLEAN:
        column->number = *cell;
        break;
    default:
        column->number = load_long(cell);
    }
    client->sum += static_cast<std::uint64_t>(column->number);
}

// All rows of the page in hand. True when more pages follow; the paging state goes to `state`.
static bool read_page(floor_client *client, std::int64_t *rows, bytes *state)
{
    const char *at = client->frame.data() + 4;  // behind the kind
    const std::int64_t flags = load_int(at);
    const std::int64_t column_count = load_int(at + 4);
    at += 8;
    if (flags & 2) {
        const auto length = static_cast<std::size_t>(load_int(at));
        state->assign(at + 4, length);
        at += 4 + length;
    }
    for (std::int64_t i = 0; i < 2; i++)
        at += 2 + load(at, 2);
    for (std::int64_t i = 0; i < column_count; i++) {
        at += 2 + load(at, 2);
        client->columns[static_cast<std::size_t>(i)].type = static_cast<int>(load(at, 2));
        at += 2;
    }
    const std::int64_t count = load_int(at);
    at += 4;
    for (std::int64_t row = 0; row < count; row++) {
        for (floor_column &column : client->columns) {
            const std::int64_t length = load_int(at);
            at += 4;
            column.is_null = length < 0;
            if (column.is_null)
                continue;
            decode(client, &column, at, static_cast<std::size_t>(length));
            at += length;
        }
    }
    *rows += count;
    return flags & 2;
}

int main(int count, char **words)
{
    std::int64_t wanted = 1000000;
    bool lz4 = true;
    for (int i = 1; i < count; i++) {
        const std::string_view word = words[i];
        if (word == "--no-lz4") {
            lz4 = false;
        } else if (word == "--rows" && i + 1 < count) {
            wanted = std::atoll(words[++i]);
        } else {
            std::fputs("floor [--rows N] [--no-lz4]\n", stderr);
            return 2;
        }
    }
    const replay_node node = replay_start(wanted, lz4);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(node.port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    floor_client client = {};
    client.socket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(client.socket, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
        give_up("connect");
    exchange(&client, NODE_OPTIONS, "", false);
    exchange(&client, NODE_STARTUP, startup_body(lz4), false);

    const bytes sql = bytes(MIXED_SELECT) + "t";
    const bench_usage before = usage_now();
    std::int64_t rows = 0;
    bytes state;
    exchange(&client, NODE_QUERY, query_body(sql), lz4);
    while (read_page(&client, &rows, &state))
        exchange(&client, NODE_QUERY, wire_long_string(sql) + page_tail(state), lz4);
    print_usage("floor", rows, before);
    std::printf("sum %016llx\n", static_cast<unsigned long long>(client.sum));
    close(client.socket);
    replay_stop(node);
    return rows == wanted ? 0 : 1;
}
