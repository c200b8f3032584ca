// The driver's log: the formatter within its room, records in files, and the log in memory.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "core/cass_handle.h"
#include "core/cass_log.h"

namespace
{

constexpr char log_source[] = "caller.c";

int format_into(char *target, int room, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int used = cass_log_format(target, room, format, arguments);
    va_end(arguments);
    return used;
}

// What a format makes of its arguments in a given room; checks the count and both margins.
template <typename... Arguments>
std::string formatted(int room, const char *format, Arguments... arguments)
{
    std::vector<char> buffer(static_cast<std::size_t>(room) + 32, '\x55');
    const int used = format_into(buffer.data() + 16, room, format, arguments...);
    const std::string margin(16, '\x55');
    EXPECT_EQ(std::string(buffer.data(), 16), margin);
    EXPECT_EQ(std::string(buffer.data() + 16 + room, 16), margin);
    EXPECT_EQ(static_cast<std::size_t>(used), std::strlen(buffer.data() + 16));
    return buffer.data() + 16;
}

std::filesystem::path scratch_folder()
{
    static const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("vhcass_log_" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    return folder;
}

std::string content(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

int count_of(const std::string &text, const std::string &piece)
{
    int count = 0;
    for (std::size_t at = text.find(piece); at != std::string::npos;
         at = text.find(piece, at + piece.size()))
        count++;
    return count;
}

// The text with every digit of its seconds replaced: only their number is known beforehand.
std::string without_seconds(std::string text)
{
    const std::string mark = "[TIME=";
    for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at))
        for (at += mark.size(); at < text.size() && text[at] >= '0' && text[at] <= '9'; at++)
            text[at] = 'N';
    return text;
}

struct driver_log : testing::Test {
    std::unique_ptr<cass_env, void (*)(cass_env *)> env{cass_alloc_env(), cass_free_env};
    cass_conn *conn = cass_alloc_conn(env.get(), 3);
    std::filesystem::path path = scratch_folder() / "driver.log";

    cass_handle *log_to(const std::filesystem::path &file, std::int32_t mask)
    {
        std::snprintf(conn->log_file, sizeof conn->log_file, "%s", file.c_str());
        conn->head.log_mask = mask;
        return &conn->head;
    }
    void TearDown() override { std::filesystem::remove_all(scratch_folder()); }
};

}  // namespace

TEST(log_format, conversions)
{
    SQLWCHAR wide[] = {'a', 0xE9, 0x20AC, 'b', 0};
    const cass_string string = {wide, 4, 1};
    const cass_string empty = {nullptr, 0, 1};
    EXPECT_EQ(formatted(256, "%d|%u|%x|%X|%l|%c", -5, -6, 0xAB, 0xAB, -1LL << 40, 'k'),
              "-5|-6|ab|AB|-1099511627776|k");
    EXPECT_EQ(formatted(256, "%p", reinterpret_cast<void *>(0x1234)), "0x1234");
    EXPECT_EQ(formatted(512, "%r %r %r %r %r %r %r", -1, 0, 1, 100, 101, 2, 99),
              "SQL_ERROR SQL_SUCCESS SQL_SUCCESS_WITH_INFO SQL_NO_DATA SQL_PARAM_DATA_AVAILABLE "
              "2 99");
    EXPECT_EQ(formatted(256, "<%s>", "a\xE9z"), "<a\\xFFFFFFE9z>");
    EXPECT_EQ(formatted(256, "<%S> <%S> <%S>", &string, &empty,
                        static_cast<const cass_string *>(nullptr)),
              "<a\\x00E9\\x20ACb> <> <(nul)>");
    EXPECT_EQ(formatted(256, "%q %q %q", "abc", 2, "abc", SQL_NTS, "a\xE9", 2),
              "'ab'[2] 'abc'[SQL_NTS] 'a\\xE9'[2]");
    EXPECT_EQ(formatted(256, "%q %Q", nullptr, SQL_NTS, nullptr, 7), "(nul)[SQL_NTS] (nul)[7]");
    EXPECT_EQ(formatted(256, "%q %q", "abc", 0, "abc", -5), "''[0] ''[-5]");
    EXPECT_EQ(formatted(256, "%Q %T", wide, SQL_NTS, wide, 2),
              "'a\\x00E9\\x20ACb'[SQL_NTS] 'a\\x00E9'[2]");
    // Wide text at an odd address.
    unsigned char odd[1 + sizeof wide];
    std::memcpy(odd + 1, wide, sizeof wide);
    EXPECT_EQ(formatted(256, "%Q", odd + 1, 1), "'a'[1]");
    EXPECT_EQ(formatted(256, ""), "");
}

TEST(log_format, what_is_too_long_ends_in_dots)
{
    const std::string text(200, 'x');
    const auto plain = [](int count) { return std::string(static_cast<std::size_t>(count), 'x'); };
    EXPECT_EQ(formatted(100, text.c_str()), plain(80) + "...");
    EXPECT_EQ(formatted(100, "%s", text.c_str()), plain(80) + "...");
    EXPECT_EQ(formatted(100, "%s", plain(80).c_str()), plain(80));
    // An escaped byte counts four of the eighty, although it is printed in ten.
    EXPECT_EQ(formatted(300, "%s", ("\xE9\xE9" + plain(300)).c_str()),
              "\\xFFFFFFE9\\xFFFFFFE9" + plain(272) + "...");

    std::unique_ptr<cass_string, void (*)(cass_string *)> string(
        cass_string_from_cstr(text.c_str()), cass_string_free);
    EXPECT_EQ(formatted(100, "%S", string.get()), plain(80) + "...");
    // 40 or less behind it marks even a text that did fit.
    string->length = 59;
    EXPECT_EQ(formatted(100, "%S", string.get()), plain(59));
    string->length = 60;
    EXPECT_EQ(formatted(100, "%S", string.get()), plain(60) + "...");

    EXPECT_EQ(formatted(100, "%q", text.c_str(), SQL_NTS), "'" + plain(79) + "...'[SQL_NTS]");
    EXPECT_EQ(formatted(100, "%q", text.c_str(), 78), "'" + plain(78) + "'[78]");
    EXPECT_EQ(formatted(100, "%q", text.c_str(), 79), "'" + plain(79) + "...'[79]");
    // Nothing follows the dots between two items.
    EXPECT_EQ(formatted(41, "0123456789012345678%d %d end", 12, 3), "012345678901234567812...");
}

TEST(log_format, no_room_is_ever_exceeded)
{
    const std::string bytes(300, '\xE9');
    std::vector<SQLWCHAR> units(300, 0x20AC);
    const cass_string string = {units.data(), 300, 1};
    const std::string digits(300, '7');
    for (int room = 0; room < 400; room++) {
        SCOPED_TRACE(room);
        if (room > 0) {
            formatted(room, "%s%s", bytes.c_str(), digits.c_str());
            formatted(room, "%S '%S'", &string, &string);
            formatted(room, "%q %Q", bytes.c_str(), 300, units.data(), 2147483647 - 2147483347);
            formatted(room, "%q%q%q%q", "a", -2147483647, "a", -2147483647, "a", -2147483647, "a",
                      -2147483647);
            formatted(room, "%r%r%r%r%r%r%r%r%r%r%r%r%r%r%r%r", 101, 101, 101, 101, 101, 101, 101,
                      101, 101, 101, 101, 101, 101, 101, 101, 101);
            formatted(room, "%l%l%l%l%l", -(1LL << 62), -(1LL << 62), -(1LL << 62), -(1LL << 62),
                      -(1LL << 62));
        }
        char none = 'n';
        EXPECT_EQ(format_into(&none, 0, "abc"), 0);
        EXPECT_EQ(none, 'n');
    }
}

TEST_F(driver_log, a_record_is_header_kind_and_text)
{
    cass_handle *head = log_to(path, 31);
    const int line = __LINE__ + 1;
    CASS_LOG(head, LOG_ENTRY, "SQLFetch: statement_handle=%p", nullptr);
    cass_log(head, "cass_conn.c", 77, LOG_DETAIL, "two %d", 2);
    CASS_LOG(head, LOG_CONTINUATION, "more");
    cass_log(head, "cass_conn.c", 78, LOG_ERROR, nullptr);
    char tid[16], handle[32];
    std::snprintf(tid, sizeof tid, "%X", static_cast<unsigned>(gettid()));
    std::snprintf(handle, sizeof handle, "%p", static_cast<void *>(conn));
    const auto header = [&](const std::string &place) {
        return std::string("VHSQLODBC:[TID=") + tid + "][TIME=NNNNNNNNNN.000000][" + place + "][" +
               handle + "(CONN)]\n\t\t";
    };
    EXPECT_EQ(without_seconds(content(path)), header("caller.c:" + std::to_string(line)) +
                                                  "ENTRY:\t SQLFetch: statement_handle=(nil)\n" +
                                                  header("cass_conn.c:77") + "DETAIL:\t two 2\n" +
                                                  "\t\t[TID=" + tid + "]+\t more\n" +
                                                  header("cass_conn.c:78") + "ERROR:\t \n");
}

TEST_F(driver_log, the_mask_decides_which_kinds_are_written)
{
    const struct {
        std::int32_t mask, kind;
        bool written;
    } cases[] = {
        {20, LOG_ENTRY, false},       {20, LOG_DETAIL, true}, {20, LOG_ERROR, false},
        {20, LOG_CONTINUATION, true}, {8, LOG_ERROR, true},   {8, LOG_CONTINUATION, false},
        {31, LOG_EXIT, true},         {0, LOG_ERROR, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "mask " << c.mask << " kind " << c.kind);
        std::filesystem::remove(path);
        CASS_LOG(log_to(path, c.mask), c.kind, "text");
        EXPECT_EQ(count_of(content(path), "text"), c.written ? 1 : 0);
    }
    std::filesystem::remove(path);
    CASS_LOG_PACKET(log_to(path, 15), "ab", 2, "packet");
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(driver_log, a_packet_is_dumped_sixteen_bytes_a_row)
{
    const std::string margin(10, ' ');
    std::vector<unsigned char> bytes;
    for (int i = 0; i < 17; i++)
        bytes.push_back(static_cast<unsigned char>(0x5A + 3 * i));
    const std::string row =
        "5A 5D 60 63 66 69 6C 6F 72 75 78 7B 7E 81 84 87   Z]`cfilorux{~...\n" + margin;
    const struct {
        int length;
        std::string dump;
    } cases[] = {
        {0, ""},
        {2, "\n" + margin + "5A 5D " + std::string(42, ' ') + "  Z]\n\n"},
        {16, "\n" + margin + row + "\n"},
        {17, "\n" + margin + row + "8A " + std::string(45, ' ') + "  .\n\n"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.length);
        std::filesystem::remove(path);
        CASS_LOG_PACKET(log_to(path, 16), bytes.data(), c.length, "Sent");
        const std::string text = content(path);
        const std::size_t start = text.find("PKTDUMP:\t Sent\n");
        ASSERT_NE(start, std::string::npos);
        EXPECT_EQ(text.substr(start), "PKTDUMP:\t Sent\n" + c.dump);
    }
}

TEST_F(driver_log, without_a_file_records_go_to_standard_error)
{
    testing::internal::CaptureStderr();
    CASS_LOG(log_to("", 31), LOG_DETAIL, "said aloud");
    EXPECT_EQ(count_of(testing::internal::GetCapturedStderr(), "DETAIL:\t said aloud\n"), 1);
}

TEST_F(driver_log, process_mode_names_the_file_by_process_and_thread)
{
    CASS_LOG(log_to(path, 63), LOG_DETAIL, "mine");
    char suffix[32];
    std::snprintf(suffix, sizeof suffix, ".%08X.%08X", static_cast<unsigned>(getpid()),
                  static_cast<unsigned>(gettid()));
    EXPECT_EQ(count_of(content(path.string() + suffix), "mine"), 1);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(driver_log, a_log_that_cannot_be_written_is_silent)
{
    const std::string long_text(4000, 'x');
    const auto fifo = scratch_folder() / "pipe";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::filesystem::path files[] = {scratch_folder() / "missing" / "file", scratch_folder(),
                                           "/dev/full", fifo};
    for (const auto &file : files) {
        SCOPED_TRACE(file);
        cass_handle *head = log_to(file, 31);
        for (int i = 0; i < 100; i++) {  // more than a pipe holds
            errno = 12345;
            CASS_LOG(head, LOG_ERROR, "%s", long_text.c_str());
            CASS_LOG_PACKET(head, long_text.data(), 100, nullptr);
            EXPECT_EQ(errno, 12345);
        }
    }
    // Handles that reach no connection have nowhere to log.
    env->head.log_mask = 31;
    CASS_LOG(&env->head, LOG_ERROR, "lost");
}

// What would otherwise end an application: its own file size limit, and a standard error that
// nobody reads any more. Gives the child's exit code.
static int log_under_bad_conditions(cass_handle *file_head, cass_handle *error_head)
{
    const rlimit limit = {4096, 4096};
    setrlimit(RLIMIT_FSIZE, &limit);
    for (int i = 0; i < 100; i++)
        CASS_LOG(file_head, LOG_DETAIL, "a record that fills the file");
    int ends[2];
    if (pipe(ends) != 0)
        return 2;
    close(ends[0]);
    dup2(ends[1], STDERR_FILENO);
    CASS_LOG(error_head, LOG_DETAIL, "nobody hears this");
    sigset_t blocked;
    sigprocmask(SIG_BLOCK, nullptr, &blocked);
    return sigismember(&blocked, SIGPIPE) == 1 ? 3 : 0;
}

TEST_F(driver_log, writing_raises_no_signal)
{
    cass_conn *second = cass_alloc_conn(env.get(), 3);
    second->head.log_mask = 31;
    cass_handle *head = log_to(path, 31);
    EXPECT_EXIT(_exit(log_under_bad_conditions(head, &second->head)), testing::ExitedWithCode(0),
                "");
    EXPECT_EQ(std::filesystem::file_size(path), 4096u);
}

TEST_F(driver_log, memory_mode_writes_the_history_at_an_error)
{
    cass_handle *head = log_to(path, 95);
    CASS_LOG(head, LOG_ENTRY, "first");
    CASS_LOG_PACKET(head, "0123456789abcdefXY", 18, "frame");
    CASS_LOG_PACKET(head, "", 0, nullptr);
    EXPECT_FALSE(std::filesystem::exists(path));
    CASS_LOG(head, LOG_ERROR, "failed");

    const std::string stars(100, '*'), blank = "*" + std::string(98, ' ') + "*";
    const auto banner = [&](std::string text) {
        text.resize(99, ' ');
        return stars + "\n" + blank + "\n" + text + "*\n" + blank + "\n" + stars + "\n";
    };
    const std::string dump = content(path);
    const std::string start = banner("*   Start of log dump"), end = banner("*   End of log dump");
    EXPECT_EQ(dump.substr(0, start.size()), start);
    EXPECT_EQ(dump.substr(dump.size() - std::min(dump.size(), end.size())), end);
    const std::size_t rows = dump.find("PKTDUMP:\t frame\n");
    ASSERT_NE(rows, std::string::npos);
    const std::string margin(10, ' ');
    const std::string expected_rows =
        "PKTDUMP:\t frame\n\n" + margin +
        "30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66   0123456789abcdef\n" + margin + "58 59 " +
        std::string(42, ' ') + "  XY\n\nVHSQLODBC:";
    EXPECT_EQ(dump.substr(rows, expected_rows.size()), expected_rows);
    EXPECT_LT(dump.find("ENTRY:\t first\n"), rows);
    EXPECT_LT(rows, dump.find("ERROR:\t failed\n" + end));
    const std::size_t seconds = without_seconds(dump).find("[TIME=NNNNNNNNNN.");
    ASSERT_NE(seconds, std::string::npos);
    EXPECT_EQ(dump[seconds + std::strlen("[TIME=NNNNNNNNNN.mmm")], ']');

    // The history starts anew, and standard error has stayed open.
    CASS_LOG(head, LOG_ERROR, "again");
    EXPECT_EQ(count_of(content(path), "first"), 1);
    EXPECT_EQ(count_of(content(path), "again"), 1);
    EXPECT_NE(fcntl(STDERR_FILENO, F_GETFD), -1);
}

TEST_F(driver_log, the_memory_log_keeps_the_last_99999_entries)
{
    cass_handle *head = log_to(path, 95);
    for (int i = 0; i < 100005; i++)
        CASS_LOG(head, LOG_DETAIL, "entry %d.", i);
    CASS_LOG(head, LOG_ERROR, "the end");
    const std::string dump = content(path);
    EXPECT_EQ(count_of(dump, "VHSQLODBC:"), 99999);
    EXPECT_EQ(count_of(dump, "entry 6."), 0);
    EXPECT_EQ(count_of(dump, "entry 7."), 1);
    EXPECT_EQ(count_of(dump, "entry 100004."), 1);
}

TEST_F(driver_log, the_dump_survives_the_connection_that_first_wrote)
{
    CASS_LOG(log_to(path, 95), LOG_DETAIL, "from the first");
    cass_free_conn(conn, 0);
    conn = cass_alloc_conn(env.get(), 3);
    CASS_LOG(log_to(scratch_folder() / "other.log", 95), LOG_ERROR, "from the second");
    EXPECT_EQ(count_of(content(path), "from the first"), 1);
    EXPECT_EQ(count_of(content(path), "from the second"), 1);
    EXPECT_FALSE(std::filesystem::exists(scratch_folder() / "other.log"));
}
