// Many sessions and statements on real nodes, in clear and over TLS, in both conducts: the process
// ends with the memory and the descriptors that it had after a tenth of them. VHCASS_SOAK=full runs
// 2,000 sessions of 100 statements and more.
#include <malloc.h>

#include <filesystem>
#include <fstream>

#include "tests/app_value.h"
#include "tests/live/live_support.h"

struct footprint {
    long resident, allocated;  // bytes
    long descriptors;
};

static footprint measure()
{
    malloc_trim(0);
    long size = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return {resident * 4096, static_cast<long>(mallinfo2().uordblks),
            std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {})};
}

static const std::string every_type =
    "INSERT INTO live_soak.every (k, c_ascii, c_bigint, c_blob, c_boolean, c_date, c_decimal, "
    "c_double, c_duration, c_float, c_inet, c_int, c_list, c_map, c_set, c_smallint, c_text, "
    "c_time, c_timestamp, c_timeuuid, c_tinyint, c_tuple, c_udt, c_uuid, c_varint, c_vector) "
    "VALUES (1, 'a', 2, 0x0304, true, '2024-02-29', 1.25, 0.5, 1mo2d, 0.25, '127.0.0.1', 3, "
    "[1, 2], {'x': 1}, {'x', 'y'}, 4, 'text', '01:02:03', '2024-02-29 01:02:03', now(), 5, "
    "(1, 'x'), {a: 1, b: 'y'}, uuid(), 12345678901234567890, [1, 2, 3])";

// Statements of all kinds, those among them that are refused. The number of them.
static int work(SQLHDBC conn, bool standard)
{
    const SQLHSTMT stmt = new_stmt(conn);
    int count = 0;
    const auto done = [&](bool wanted, SQLRETURN code) {
        EXPECT_EQ(SQL_SUCCEEDED(code), wanted) << code_and_record(code, stmt);
        count++;
    };
    const auto read = [&](std::size_t rows, SQLRETURN code) {
        done(true, code);
        EXPECT_GE(fetch_all(stmt).size(), rows);
        SQLFreeStmt(stmt, SQL_CLOSE);
    };
    const std::string text(1000, 'x'),
        insert = "INSERT INTO live_soak.p (k, n, v) VALUES (1, ?, ?)",
        select = "SELECT v, n FROM live_soak.p WHERE k = 1";
    SQLINTEGER number = 1;
    SQLLEN at_execution = SQL_DATA_AT_EXEC;
    SQLPOINTER token;
    for (int round = 0; round < 3; round++) {
        done(true, exec(stmt, every_type));
        read(1, exec(stmt, "SELECT * FROM live_soak.every WHERE k = 1"));
        done(true, exec(stmt, "UPDATE live_soak.c SET n = n + 1 WHERE k = 1"));
        read(1, exec(stmt, "SELECT * FROM live_soak.c WHERE k = 1"));
        for (const char *refused : {"SELEC", "SELECT * FROM live_soak.none",
                                    "INSERT INTO live_soak.p (k, n) VALUES ('x', 1)"})
            done(false, exec(stmt, refused));
        bind(stmt, 1, SQL_C_SLONG, SQL_INTEGER, &number);
        bind(stmt, 2, SQL_C_CHAR, SQL_VARCHAR, odbc_text(text), nullptr, 0, text.size());
        done(true, prepare(stmt, insert));
        for (number = 0; number < 20; number++)
            done(true, SQLExecute(stmt));
        bind(stmt, 2, SQL_C_CHAR, SQL_VARCHAR, &token, &at_execution);
        EXPECT_EQ(exec(stmt, insert), SQL_NEED_DATA);
        SQLParamData(stmt, &token);
        SQLPutData(stmt, odbc_text(text), 1000);
        done(true, SQLParamData(stmt, &token));
        SQLFreeStmt(stmt, SQL_RESET_PARAMS);
        for (int n = 0; n < 10; n++)
            read(20, exec(stmt, select));
        if (standard) {
            SQLSetStmtAttr(stmt, SQL_ATTR_CURSOR_TYPE, odbc_number(SQL_CURSOR_STATIC), 0);
            done(true, exec(stmt, select));
            done(true, SQLFetchScroll(stmt, SQL_FETCH_LAST, 0));
            SQLFreeStmt(stmt, SQL_CLOSE);
            SQLSetStmtAttr(stmt, SQL_ATTR_CURSOR_TYPE, odbc_number(SQL_CURSOR_FORWARD_ONLY), 0);
        }
        read(3,
             SQLTables(stmt, nullptr, 0, odbc_text("live_soak"), SQL_NTS, nullptr, 0, nullptr, 0));
    }
    return count;
}

TEST(live_soak, ends_with_the_memory_of_its_beginning)
{
    NEED_NODE("VHCASS_SERVER");
    const char *const size = std::getenv("VHCASS_SOAK");
    const int sessions = size != nullptr && std::string(size) == "full" ? 2000 : 100;
    std::vector<std::string> roads = {node_settings()};
    if (!filled("{files}").empty() && !filled("{host}", "VHCASS_TLS_SERVER").empty())
        roads.push_back(node_settings("VHCASS_TLS_SERVER") +
                        filled("Encrypt=yes;VerifyHost=no;CertificateFile={files}/ca.pem;"
                               "PublicKeyFile={files}/client.pem;"
                               "PrivateKeyFile={files}/client.key;"));
    for (const std::string &road : roads) {
        const live_session live;
        ASSERT_EQ(driver_connect(live.conn, road), SQL_SUCCESS);
        const SQLHSTMT stmt = new_stmt(live.conn);
        if (!make_every_type(stmt, "live_soak"))
            GTEST_SKIP() << "not run: the server has no vectors";
        run(stmt, "CREATE TABLE live_soak.c (k int PRIMARY KEY, n counter)");
        run(stmt, "CREATE TABLE live_soak.p (k int, n int, v text, PRIMARY KEY (k, n))");
    }
    footprint begin = {}, end = {};
    int statements = 0;
    for (int i = 0; i < sessions; i++) {
        const bool standard = i % 2 == 1;
        const std::string conduct = standard ? "Standard=Yes;PageSize=7" : "PageSize=7";
        {
            const live_session live;
            const std::string settings = roads[i / 2 % roads.size()] + conduct;
            EXPECT_CONN(SQL_SUCCESS, live.conn, driver_connect(live.conn, settings, i % 3 == 0));
            statements += work(live.conn, standard);
        }
        if (i == sessions / 10)
            begin = measure();
    }
    end = measure();
    std::printf(
        "%d sessions, %d statements: %ld KiB resident, then %ld; %ld KiB in use, then %ld\n",
        sessions, statements, begin.resident / 1024, end.resident / 1024, begin.allocated / 1024,
        end.allocated / 1024);
    EXPECT_EQ(end.descriptors, begin.descriptors);
#ifndef __SANITIZE_ADDRESS__  // which keeps what was freed, and looks for leaks itself
    // Blocks that malloc keeps for its thread count as in use, at most some 236 KiB.
    EXPECT_LE(end.resident, begin.resident + 1024 * 1024);
    EXPECT_LE(end.allocated, begin.allocated + 256 * 1024);
#endif
}
