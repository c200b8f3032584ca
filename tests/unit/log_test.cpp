// The driver's log: the formatter within its room, records in files, and the log in memory.
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <regex>

#include "core/log/cass_log.h"
#include "tests/node/certificates.h"
#include "tests/unit/handles.h"

static constexpr char log_source[] = "caller.c";

// What a format makes of its arguments in a room of 1 to 400; checks the count and what is behind.
static std::string formatted(int room, const char *format, ...)
{
    std::string buffer(450, '\x55');
    va_list arguments;
    va_start(arguments, format);
    const int used = cass_log_format(buffer.data(), room, format, arguments);
    va_end(arguments);
    EXPECT_EQ(buffer.find_first_not_of('\x55', static_cast<unsigned>(room)), std::string::npos);
    EXPECT_EQ(static_cast<std::size_t>(used), std::strlen(buffer.data())) << format;
    return buffer.data();
}

struct driver_log : stmt_fixture {
    const file_folder folder;
    const std::string path = folder.path + "/driver.log";

    static cass_handle *log_to(cass_conn *conn, const std::string &file, int mask)
    {
        std::snprintf(conn->settings.log_file, sizeof conn->settings.log_file, "%s", file.c_str());
        conn->head.log_mask = mask;
        return &conn->head;
    }
    // A log, with what changes from run to run blotted out.
    std::string content() const
    {
        return std::regex_replace(file_content(path), std::regex("(TIME=|0x)[0-9a-f]+"), "$1N");
    }
};

static bool has(const std::string &text, const std::string &piece)
{
    return text.find(piece) != std::string::npos;
}

TEST(log_format, no_room_is_ever_exceeded)
{
    const std::string bytes(300, '\xE9');
    const std::u16string units(300, u'\u20AC');
    const owned_string string = string_of(units);
    for (int room = 1; room < 400; room++) {
        formatted(room, "%s%S", bytes.c_str(), string.get());
        formatted(room, "%q %Q", bytes.c_str(), 300, units.data(), 300);
        formatted(room, "%q%q%q%q", "a", -2147483647, "a", -2147483647, "a", -2147483647, "a", 1);
        formatted(room, "%r%r%r%l%l%l", 101, 101, 101, -1LL << 62, -1LL << 62, -1LL << 62);
    }
}

TEST_F(driver_log, a_record_is_header_kind_and_text_and_a_packet_rows_of_sixteen_bytes)
{
    CASS_LOG(log_to(conn, path, 27), LOG_DETAIL, "not asked for");
    CASS_LOG(log_to(conn, path, 27), LOG_CONTINUATION, "nor the rest of it");
    CASS_LOG_PACKET(log_to(conn, path, 15), "ab", 2, "nor a packet");
    cass_handle *head = log_to(conn, path, 31);
    cass_log(head, "cass_pkt.c", 79, LOG_DETAIL, "two %d", 2);
    CASS_LOG(head, LOG_CONTINUATION, "more");
    cass_log(head, "cass_pkt.c", 79, LOG_ERROR, nullptr);
    for (const int length : {0, 16, 17})
        cass_log_packet(head, "cass_pkt.c", 79, LOG_PKTDUMP, "Z]`cfilorux{~\x81\x84\x87\x8A",
                        length, "Sent");
    char tid[32];
    std::snprintf(tid, sizeof tid, "[TID=%X]", static_cast<unsigned>(gettid()));
    const std::string here = std::string("VHSQLODBC:") + tid + "[TIME=N.000000][cass_pkt.c:79]" +
                             "[0xN(CONN)]\n\t\t",
                      margin = "\n" + std::string(10, ' '), packet = here + "PKTDUMP:\t Sent\n",
                      row = margin +
                            "5A 5D 60 63 66 69 6C 6F 72 75 78 7B 7E 81 84 87   "
                            "Z]`cfilorux{~..." +
                            margin;
    EXPECT_EQ(content(), here + "DETAIL:\t two 2\n\t\t" + tid + "+\t more\n" + here +
                             "ERROR:\t \n" + packet + packet + row + "\n" + packet + row + "8A " +
                             std::string(45, ' ') + "  .\n\n");
}

// Not an application's end either: a pipe that is full, a standard error that nobody reads, and
// the file size that the process may have.
TEST_F(driver_log, a_log_that_cannot_be_written_is_silent)
{
    const std::string long_text(4000, 'x');
    ASSERT_EQ(mkfifo((folder.path + "/pipe").c_str(), 0600), 0);
    errno = 12345;
    for (int i = 0; i < 100; i++)  // more than a pipe holds
        CASS_LOG(log_to(conn, folder.path + "/pipe", 31), LOG_ERROR, "%s", long_text.c_str());
    EXPECT_EQ(errno, 12345);
    env->head.log_mask = 31;
    CASS_LOG(&env->head, LOG_ERROR, "no connection, nowhere to log");

    int ends[2] = {-1, -1};
    const int kept = dup(STDERR_FILENO), made = pipe(ends);
    close(ends[0]);
    dup2(ends[1], STDERR_FILENO);
    CASS_LOG(log_to(conn, "", 31), LOG_DETAIL, "nobody hears this");
    dup2(kept, STDERR_FILENO);
    EXPECT_EQ(made + close(ends[1]) + close(kept), 0);

    rlimit usual;
    getrlimit(RLIMIT_FSIZE, &usual);
    const rlimit small = {4096, usual.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    for (int i = 0; i < 100; i++)
        CASS_LOG(log_to(conn, path, 31), LOG_DETAIL, "a record that fills the file");
    setrlimit(RLIMIT_FSIZE, &usual);
    EXPECT_EQ(std::filesystem::file_size(path), 4096u);
}

TEST_F(driver_log, memory_mode_writes_the_last_99999_records_at_an_error)
{
    cass_handle *head = log_to(conn, path, 95);
    CASS_LOG(head, LOG_ENTRY, "first");
    CASS_LOG_PACKET(head, "01", 2, "frame");
    EXPECT_FALSE(std::filesystem::exists(path));
    CASS_LOG(head, LOG_ERROR, "failed");
    const std::string dump = content(), stars(100, '*'), margin = "\n" + std::string(10, ' ');
    EXPECT_TRUE(dump.starts_with(stars + "\n*") && dump.ends_with("*\n" + stars + "\n")) << dump;
    EXPECT_TRUE(has(dump, "\n\t\tENTRY:\t first\n") && has(dump, "ERROR:\t failed\n*"));
    EXPECT_TRUE(has(dump, "PKTDUMP:\t frame\n" + margin + "30 31 " + std::string(42, ' ') +
                              "  01\n\nVHSQLODBC:"));
    // The history starts anew.
    for (int i = 0; i < 100005; i++)
        CASS_LOG(head, LOG_DETAIL, "entry %d.", i);
    CASS_LOG(head, LOG_ERROR, "the end");
    const std::string second = file_content(path).substr(dump.size());
    EXPECT_FALSE(has(second, "first") || has(second, "entry 6."));
    EXPECT_TRUE(has(second, "entry 7.") && has(second, "entry 100004.") && has(second, "the end"));
}
