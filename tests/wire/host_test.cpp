// A process as hosts are: what the driver needs of one and what it must not touch. Each test is a
// child process that is brought into some state and does there what applications do, over all
// roads.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <locale>
#include <thread>

#include "tests/app_value.h"
#include "tests/bundle_file.h"
#include "tests/wire/wire_support.h"

// ---- What the server has ------------------------------------------------------------------------

static const bytes long_text = pattern(1 << 20);

// Two pages, and to a prepared statement whether its parameters came as they are, and long texts.
// It takes its time, so that whoever waits is met by signals.
static std::vector<node_frame> answer(const node_request &request)
{
    const bytes text = type_of(NODE_VARCHAR);
    const node_columns columns = {{"i", type_of(NODE_INT)},
                                  {"d", type_of(NODE_DOUBLE)},
                                  {"n", type_of(NODE_DECIMAL)},
                                  {"t", text}};
    const bool second = request.body.find("second page") != bytes::npos;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    if (request.opcode == NODE_PREPARE)
        return {prepared_frame("id", {{"a", text}, {"b", text}}, one_text)};
    const bool whole =
        request.body.find("0.25") != bytes::npos && request.body.find(long_text) != bytes::npos;
    if (request.opcode == NODE_EXECUTE)
        return {text_page({whole ? long_text : "spoilt"})};
    if (request.opcode != NODE_QUERY)
        return {stock_answer(request, true)};
    if (request.body.find("system_schema") != bytes::npos)
        return {text_rows({{"Title"}})};
    if (request.body.substr(4).starts_with("USE"))
        return {set_keyspace_frame("ks")};
    return {rows_frame(columns, {{be32(second ? 8 : 7), be(1.5), be32(2) + be16(1234), "I"}},
                       {.paging_state = second ? "" : "second page"})};
}

// ---- What an application does -------------------------------------------------------------------

struct application {
    SQLHENV env;
    SQLHDBC conn;
    SQLHSTMT stmt;
    std::string told;  // what was read, and the records of what failed
};

static bool goes(application *app, SQLRETURN code)
{
    if (code == SQL_SUCCESS)
        return true;
    const record_list records =
        app->stmt != nullptr ? stmt_records(app->stmt) : conn_records(app->conn);
    app->told += "<" + (records.empty() ? code_name(code) : records.front()) + ">";
    return false;
}

static void read_row(application *app)
{
    if (goes(app, SQLFetch(app->stmt)))
        app->told += row_text(app->stmt) + "|";
}

static void disconnect(const application &app)
{
    if (app.stmt != nullptr)
        SQLFreeHandle(SQL_HANDLE_STMT, app.stmt);
    SQLDisconnect(app.conn);
    SQLFreeHandle(SQL_HANDLE_DBC, app.conn);
    SQLFreeHandle(SQL_HANDLE_ENV, app.env);
}

using meanwhile = std::function<void(application *)>;

// All that a day brings. `then` comes in the midst of a result.
static std::string spend_day(const std::string &settings, const meanwhile &then = {})
{
    application app = {};
    double ratio = 0.25;
    SQLLEN size = static_cast<SQLLEN>(long_text.size());
    SQLHSTMT &stmt = app.stmt;
    SQLAllocHandle(SQL_HANDLE_ENV, nullptr, &app.env);
    SQLSetEnvAttr(app.env, SQL_ATTR_ODBC_VERSION, odbc_number(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, app.env, &app.conn);
    if (goes(&app, wire_driver_connect(app.conn, settings)) &&
        goes(&app, SQLAllocHandle(SQL_HANDLE_STMT, app.conn, &stmt)) &&
        goes(&app, exec(stmt, "select"))) {
        read_row(&app);
        if (then)
            then(&app);
        read_row(&app);
        SQLFreeStmt(stmt, SQL_CLOSE);
        goes(&app, SQLTables(stmt, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0));
        SQLFreeStmt(stmt, SQL_CLOSE);
        goes(&app, prepare(stmt, "insert ? ?"));
        bind(stmt, 1, SQL_C_DOUBLE, SQL_VARCHAR, &ratio);
        bind(stmt, 2, SQL_C_CHAR, SQL_VARCHAR, odbc_text(long_text), &size, size);
        if (goes(&app, SQLExecute(stmt)))
            read_row(&app);
    }
    disconnect(app);
    return app.told;
}

static const std::string a_good_day = "7|1.5|12.34|I|8|1.5|12.34|I|" + long_text + "|";

// ---- The roads and the child process ------------------------------------------------------------

struct roads {
    std::string plain, tls, bundle;
};

// What is wrong with a day on each road, in both conducts. Where sessions may fail, a reason will
// do.
static std::string on_all(const roads &all, const std::string &more = {},
                          const meanwhile &then = {}, bool may_fail = false)
{
    std::string wrong;
    for (const char *conduct : {"", "Standard=Yes;"})
        for (const std::string &road : {all.plain, all.tls, all.bundle}) {
            const std::string day = spend_day(road + more + conduct, then);
            const bool is_told = day.starts_with("<08001 ") || day.starts_with("<HY");
            if (day != a_good_day && !(may_fail && is_told))
                wrong += road + conduct + ": " + day.substr(0, 500) + "\n";
        }
    return wrong;
}

static int open_files()
{
    int count = 0;
    for (int descriptor = 0; descriptor < 1500; descriptor++)
        count += fcntl(descriptor, F_GETFD) != -1;
    return count;
}

static std::string standard_descriptors_closed(const roads &all)
{
    for (const int descriptor : {0, 1, 2})
        close(descriptor);
    // Nothing takes their places: what the application prints would go to the server.
    return on_all(all, "Logging=yes;", [](application *app) {
        for (const int descriptor : {0, 1, 2})
            if (fcntl(descriptor, F_GETFD) != -1)
                app->told += "<" + std::to_string(descriptor) + " is taken>";
    });
}

static void fill_descriptors(rlim_t limit)
{
    const rlimit files = {limit, limit};
    setrlimit(RLIMIT_NOFILE, &files);
    while (open("/dev/null", O_RDONLY | O_CLOEXEC) >= 0) {
    }
}

static std::string descriptors_above_1024(const roads &all)
{
    fill_descriptors(1500);
    for (int descriptor = 1100; descriptor < 1500; descriptor++)
        close(descriptor);
    return on_all(all);
}

// With any number of descriptors left there is a session, or a reason why not; and none is lost.
static std::string few_descriptors_left(const roads &all)
{
    std::string wrong;
    constexpr int limit = 200, most = 8;
    fill_descriptors(limit);
    for (int left = 0; left <= most; close(limit - ++left)) {
        const int files = open_files();
        wrong += on_all(all, "", {}, left < most);
        if (open_files() != files)
            wrong += std::to_string(left) + " left: some stay open\n";
    }
    return wrong;
}

// The child has a session of its own, and then lets go of what it has from its parent.
static std::string forks_within_a_result(const roads &all)
{
    return on_all(all, "", [&](application *app) {
        for (const bool frees : {false, true}) {
            const pid_t child = fork();
            if (child == 0) {
                const bool good = spend_day(all.tls) == a_good_day;
                if (frees)
                    disconnect(*app);
                exit(good ? 0 : 1);
            }
            int status = -1;
            waitpid(child, &status, 0);
            if (status != 0)
                app->told += "<child: " + std::to_string(status) + ">";
        }
    });
}

static std::string a_storm_of_signals(const roads &all)
{
    static std::atomic<int> signals = 0;
    struct sigaction action = {};
    action.sa_handler = [](int) { signals++; };
    sigaction(SIGALRM, &action, nullptr);  // without SA_RESTART
    const itimerval millisecond = {{0, 1000}, {0, 1000}}, never = {};
    setitimer(ITIMER_REAL, &millisecond, nullptr);
    const std::string named = replaced(all.plain, "127.0.0.1", "localhost") + "LogonTimeout=9000;";
    std::string wrong = on_all(all);
    for (int i = 0; i < 5; i++)
        wrong += on_all({named, named, named});
    setitimer(ITIMER_REAL, &never, nullptr);
    return wrong + (signals > 100 ? "" : "no storm\n");
}

// A thread on a small stack. The sanitizers' own frames are larger.
static std::string a_stack_of_64_kib(const roads &all)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr std::size_t size = 1024 * 1024;
#else
    constexpr std::size_t size = 64 * 1024;
#endif
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, size);
    if (pthread_setattr_default_np(&attributes) != 0)
        return "no small stacks\n";
    std::string wrong;
    std::thread([&] { wrong = on_all(all, "LogFile=/dev/null;Logging=yes;"); }).join();
    return wrong;
}

// A decimal comma, and an i whose capital is none of ASCII's.
static std::string a_turkish_locale(const roads &all)
{
    if (setlocale(LC_ALL, "tr_TR.UTF-8") == nullptr)
        return "no such locale\n";
    std::locale::global(std::locale("tr_TR.UTF-8"));
    roads lower = all;
    for (std::string *road : {&lower.plain, &lower.tls, &lower.bundle})
        *road = replaced(replaced(*road, "FILE=", "file="), "BUNDLE=", "bundle=");
    return on_all(all) + on_all(lower, "stringlen=5;uid=i;logging=no;");
}

#define IN(library, name) reinterpret_cast<decltype(&(name))>(dlsym(library, #name))

// A copy that nothing else holds comes and goes, at times with its handles open.
static std::string comes_and_goes(const roads &all)
{
    constexpr int times = 200;
    const std::string copy = all.bundle.substr(7, all.bundle.find(".zip") - 7) + ".so";
    std::filesystem::copy_file(VHCASS_LIBRARY, copy);
    int files = 0;
    for (int i = 0; i < times; i++) {
        void *library = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr)
            return dlerror();
        SQLHANDLE env, conn, stmt;
        const std::string settings =
            (i % 2 == 0 ? all.plain : all.tls) + (i % 4 < 2 ? "Standard=Yes" : "");
        IN(library, SQLAllocHandle)(SQL_HANDLE_ENV, nullptr, &env);
        IN(library, SQLAllocHandle)(SQL_HANDLE_DBC, env, &conn);
        IN(library, SQLDriverConnect)
        (conn, nullptr, odbc_text(settings), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
        IN(library, SQLAllocHandle)(SQL_HANDLE_STMT, conn, &stmt);
        IN(library, SQLExecDirect)(stmt, odbc_text("select"), SQL_NTS);
        if (IN(library, SQLFetch)(stmt) != SQL_SUCCESS)
            return settings + ": no row\n";
        if (i < times - 10) {
            IN(library, SQLDisconnect)(conn);
            IN(library, SQLFreeHandle)(SQL_HANDLE_STMT, stmt);
            IN(library, SQLFreeHandle)(SQL_HANDLE_DBC, conn);
            IN(library, SQLFreeHandle)(SQL_HANDLE_ENV, env);
        }
        dlclose(library);
        if (dlopen(copy.c_str(), RTLD_NOW | RTLD_NOLOAD) != nullptr)
            return "it stays\n";
        files = i == 4 ? open_files() : files;
        if (i > 4 && i < times - 10 && open_files() != files)
            return "a descriptor stays\n";
    }
    const auto threads = std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
    return threads == 1 ? "" : "a thread stays\n";
}

// ---- The parent ---------------------------------------------------------------------------------

using environment = std::pair<const char *, std::string (*)(const roads &all)>;
using host = ::testing::TestWithParam<environment>;

// To AddressSanitizer memory of threads that a child has not is lost.
static bool is_child;
extern "C" __attribute__((visibility("default"))) int __lsan_is_turned_off()
{
    return is_child;
}

TEST_P(host, may_be_of_any_kind)
{
    const node_ptr plain = node_start(), encrypted = node_start();
    const certificate ca = make_ca();
    const certificate own = make_certificate({.names = "IP:127.0.0.1"}, &ca);
    const file_folder folder;
    for (scripted_node *node : {plain.get(), encrypted.get()}) {
        node_answer_rest(node, answer);
        node_expect_stream(node, ANY_STREAM);
    }
    node_use_tls(encrypted.get(),
                 {.chain = own.pem,
                  .key = key_pem(own.key),
                  .http = "HTTP/1.1 200 OK\r\nContent-Length: 64\r\n\r\n"
                          R"({"region": "r", "contact_info": {"contact_points": ["a", "b"]}} )"});
    const std::string bundle = folder.path + "/bundle.zip";
    const std::string key = key_pem(KEY_TWO);
    write_bundle(bundle, hosted_bundle(node_port(encrypted.get()), ca.pem,
                                       make_certificate({.key = KEY_TWO}, &ca).pem, key));
    const roads all = {.plain = "SERVER=" + node_address(plain.get()) + ";",
                       .tls = "SERVER=" + node_address(encrypted.get()) +
                              ";Encrypt=yes;CERTIFICATEFILE=" + folder.add("ca.pem", ca.pem) + ";",
                       .bundle = "BUNDLE=" + bundle + ";UID=u;PWD=p;"};
    if (GetParam().second == a_turkish_locale) {
        const bool low_first = std::endian::native == std::endian::little;
        const std::string make = "localedef -i tr_TR -f UTF-8 --" +
                                 std::string(low_first ? "little" : "big") + "-endian " +
                                 folder.path + "/tr_TR.UTF-8";
        if (std::system((make + " >" + folder.path + "/log 2>&1").c_str()) != 0)
            GTEST_SKIP() << "not run: " << file_content(folder.path + "/log");
        setenv("LOCPATH", folder.path.c_str(), 1);
    }
    const pid_t child = fork();
    if (child == 0) {
        is_child = true;
        folder.add("wrong", "wrong: " + GetParam().second(all));
        exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(file_content(folder.path + "/wrong"), "wrong: ");
    EXPECT_EQ(node_finish(plain.get()), "");
    EXPECT_EQ(node_finish(encrypted.get()), "");
}

#define OF(work) environment(#work, work)
INSTANTIATE_TEST_SUITE_P(all, host,
                         ::testing::Values(OF(standard_descriptors_closed),
                                           OF(descriptors_above_1024), OF(few_descriptors_left),
                                           OF(forks_within_a_result), OF(a_storm_of_signals),
                                           OF(a_stack_of_64_kib), OF(a_turkish_locale),
                                           OF(comes_and_goes)),
                         [](const auto &given) { return std::string(given.param.first); });
