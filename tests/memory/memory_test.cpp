// Every allocation of the driver fails in turn, alone and with all behind it. Whatever an
// application then sees is what it sees with memory in plenty, or SQL_ERROR with HY001: never less
// with a success, never a crash or a block that is lost. After a failure the application does it
// all again, and gets it all, or is told that the connection is gone.
#include <malloc.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <tuple>

#include "tests/app_value.h"
#include "tests/bundle_file.h"
#include "tests/handle_calls.h"
#include "tests/memory/allocations.h"
#include "tests/node/certificates.h"
#include "tests/node/node.h"

// ---- The application ----------------------------------------------------------------------------

struct application {
    std::string connection = {}, source = {};  // a string; the data source with the same
    std::u16string wide_connection = {}, wide_source = {};
    bool is_old = false;  // its handles come and go, and it fetches, by the calls of ODBC 2
    SQLHANDLE env = nullptr, conn = nullptr, stmt = nullptr, desc = nullptr;
    SQLHDESC of_stmt = nullptr;  // one of its descriptors
    char bound[3][64] = {};
    SQLLEN lengths[3] = {};
    SQLINTEGER numbers[2] = {3, 4};
    double ratio = 0.1;
    SQLLEN at_exec = SQL_DATA_AT_EXEC;
    SQLPOINTER token = nullptr;
    // Where calls put what they tell; it is taken behind each of them.
    char text[2000] = {};
    SQLWCHAR wide[2000] = {};
    SQLSMALLINT small = 0;
    SQLLEN number = 0;
    SQLULEN size = 0;
};

enum step_mark : unsigned {
    PLAIN = 0,
    QUIET = 1,      // memory does not run out in it
    NO_RECORD = 2,  // where it does, the function has no record of it
    AGAIN = 4,      // here the application begins again
};

struct step {
    std::string name;
    SQLSMALLINT type;  // of the handle whose records tell
    std::function<SQLRETURN(application &, std::string *)> run;
    unsigned marks = PLAIN;
};
using scenario = std::vector<step>;

static SQLHANDLE &handle_of(application &app, SQLSMALLINT type)
{
    SQLHANDLE *by_type[] = {nullptr, &app.env, &app.conn, &app.stmt, &app.desc};
    return *by_type[type];
}

static SQLRETURN alloc_handle(application &app, SQLSMALLINT type)
{
    SQLHANDLE *made = &handle_of(app, type);
    const SQLHANDLE parent = type == SQL_HANDLE_ENV   ? nullptr
                             : type == SQL_HANDLE_DBC ? app.env
                                                      : app.conn;
    if (!app.is_old || type == SQL_HANDLE_DESC)
        return DRIVER(SQLAllocHandle(type, parent, made));
    return DRIVER(type == SQL_HANDLE_ENV   ? SQLAllocEnv(made)
                  : type == SQL_HANDLE_DBC ? SQLAllocConnect(parent, made)
                                           : SQLAllocStmt(parent, made));
}

static void free_handle(application &app, SQLSMALLINT type)
{
    const SQLHANDLE handle = std::exchange(handle_of(app, type), nullptr);
    if (handle != nullptr && type == SQL_HANDLE_DBC)
        DRIVER(SQLDisconnect(handle));
    if (handle != nullptr && (!app.is_old || type == SQL_HANDLE_DESC))
        DRIVER(SQLFreeHandle(type, handle));
    else if (handle != nullptr)
        DRIVER(type == SQL_HANDLE_ENV   ? SQLFreeEnv(handle)
               : type == SQL_HANDLE_DBC ? SQLFreeConnect(handle)
                                        : SQLFreeStmt(handle, SQL_DROP));
}

static void free_all(application &app)
{
    for (const SQLSMALLINT type :
         {SQL_HANDLE_STMT, SQL_HANDLE_DESC, SQL_HANDLE_DBC, SQL_HANDLE_ENV})
        free_handle(app, type);
}

struct answer {
    SQLRETURN code = SQL_SUCCESS;
    std::string data;
    record_list records;
    bool operator==(const answer &) const = default;
};

static answer take_step(const step &step, application &app)
{
    answer told;
    told.code = step.run(app, &told.data);
    allocations.watched = false;
    if (handle_of(app, step.type) != nullptr)
        told.records = records_of(step.type, handle_of(app, step.type));
    // A descriptor's failure may be told on the statement that it serves.
    if (step.type == SQL_HANDLE_DESC)
        std::ranges::copy(stmt_records(app.stmt), std::back_inserter(told.records));
    return told;
}

// ---- The rule -----------------------------------------------------------------------------------

static bool has_record(const answer &told, std::initializer_list<const char *> texts)
{
    const std::string all = ::testing::PrintToString(told.records);
    return std::ranges::any_of(texts, [&](const char *text) { return all.find(text) != all.npos; });
}

// The answer of plenty but for records and their texts that found no memory.
static bool lacks_records_only(const answer &told, const answer &wanted)
{
    return told.code == wanted.code && told.data == wanted.data &&
           told.records.size() <= wanted.records.size();
}

static bool is_refusal(const answer &told, const step &step, const allocation_plan &plan)
{
    if (step.name == "environment")
        return told.data == "none";  // with success, as ever
    if (told.code != SQL_ERROR)
        return false;
    if (plan.all_behind || (step.marks & NO_RECORD) != 0)
        return true;
    // Another library tells what it met in words of its own.
    if (plan.owner == BY_LIBRARY)
        return !told.records.empty();
    // A failure that has a text of its own, or a file that could not be opened.
    return has_record(told, {"HY001 ", "S1001 ", "SASL failed to", "Required SSL (no ssl_info)",
                             "Failed to open bundle", "Loading Certificate", "Loading P"}) ||
           told.records == record_list{"HY000 General error"};
}

static std::string differs(const char *when, const step &step, const answer &told,
                           const answer &wanted)
{
    const auto shown = [](const answer &a) {
        return code_name(a.code) + " " + ::testing::PrintToString(std::tie(a.data, a.records));
    };
    return when + step.name + "\n  gave     " + shown(told) + "\n  expected " + shown(wanted);
}

// The steps from where the application begins again: all as with plenty, up to a connection that is
// gone.
static std::string do_again(const scenario &steps, const std::vector<answer> &wanted,
                            std::size_t failed_at, application *app, const allocation_plan &plan)
{
    const auto begins = [](const step &one) { return (one.marks & AGAIN) != 0; };
    const auto first =
        static_cast<std::size_t>(std::ranges::find_if(steps, begins) - steps.begin());
    for (std::size_t i = first; i < steps.size() && failed_at >= first; i++) {
        const answer told = take_step(steps[i], *app);
        // OpenSSL may keep what it could not decode, until the environment goes.
        const bool gone = has_record(told, {"08S01 ", "08003 "}) ||
                          (plan.owner == BY_LIBRARY && !told.records.empty());
        if (told != wanted[i])
            return told.code == SQL_ERROR && gone ? ""
                                                  : differs("again: ", steps[i], told, wanted[i]);
    }
    return {};
}

// One run, with a failure or without one: what is wrong with it. An empty *wanted is filled.
static std::string run(const scenario &steps, application app, const allocation_plan &plan,
                       std::vector<answer> *wanted)
{
    const bool first = wanted->empty();
    std::string wrong;
    plan_allocations(plan);
    for (std::size_t i = 0; i < steps.size(); i++) {
        allocations.quiet = (steps[i].marks & QUIET) != 0;
        const answer told = take_step(steps[i], app);
        if (first && told.code == SQL_ERROR && steps[i].name.find("refused") == std::string::npos)
            return differs("with plenty: ", steps[i], told, {});
        if (first)
            wanted->push_back(told);
        const answer &whole = (*wanted)[i];
        if (told == whole || (allocations.failed && lacks_records_only(told, whole)))
            continue;
        allocations.quiet = true;
        wrong = allocations.failed && is_refusal(told, steps[i], plan)
                    ? do_again(steps, *wanted, i, &app, plan)
                    : differs("", steps[i], told, whole);
        break;
    }
    free_all(app);
    return wrong;
}

// ---- The server ---------------------------------------------------------------------------------

static const bytes number_type = type_of(NODE_INT), text_type = type_of(NODE_VARCHAR);
static const node_columns several = {{"a", number_type},
                                     {"t", text_type},
                                     {"b", type_of(NODE_BLOB)},
                                     {"d", type_of(NODE_DECIMAL)},
                                     {"l", type_list(number_type)},
                                     {"i", type_of(NODE_INET)}};

static node_row several_cells(std::uint64_t number, const bytes &text)
{
    const bytes list = be32(1) + wire_bytes(be32(7)), decimal = be32(1) + text.substr(0, 3);
    return {be32(number), text, text, decimal, list, from_hex("7f000001")};
}

// What the server answers to a statement, by a word in it; of several pages by the page asked for.
static node_frame answer_to(const bytes &body)
{
    const auto has = [&](std::string_view word) { return body.find(word) != bytes::npos; };
    const bool second = has("page2");
    const node_metadata more = {.paging_state = second ? "" : "page2"};
    const bytes options =
        be32(2) + wire_bytes("target") + wire_bytes("v") + wire_bytes("x") + wire_bytes("y");
    node_columns index(5, {"c", text_type}), parts(6, {"c", text_type});
    index.back().type = type_map(text_type, text_type);
    parts.back().type = number_type;
    const std::pair<const char *, node_frame> answers[] = {
        {"system_virtual", error_frame(0x2200, "no such keyspace")},
        {"type, kind", rows_frame(parts, {{"ks", "t", "v", "map<text, int>", "regular", be32(0)},
                                          {"ks", "t", "id", "int", "partition_key", be32(0)}})},
        {"index_name, options",
         rows_frame({index.end() - 4, index.end()}, {{"ks", "t", "by_v", options}})},
        {"system_schema.tables", text_rows({{"ks", second ? "u" : "t"}}, more)},
        {"system_schema.views", text_rows({{"ks", "view"}})},
        {"system_schema.keyspaces", text_rows({{"ks"}, {"system"}})},
        {"system_schema.columns",
         text_rows({{"id", "partition_key", "int"}, {"v", "regular", "map<text, int>"}})},
        {"system_schema.indexes", rows_frame(index, {{"ks", "t", "by_v", "COMPOSITES", options}})},
        {"use \"", set_keyspace_frame("ks")},
        {"USE ", set_keyspace_frame("ks")},
        {"refused", error_frame(0x2200, "no such thing")},
        {"insert", void_frame()},
        {"INS", void_frame()},
        {"TYP", void_frame()},
    };
    for (const auto &[word, frame] : answers)
        if (has(word))
            return frame;
    const node_frame rows =
        second ? rows_frame(several, {several_cells(3, bytes(100, 'z'))})
               : rows_frame(several, {several_cells(1, "one"), several_cells(2, bytes(300, '2'))},
                            more);
    return has("warned") ? with_warnings(rows, {"slow", "and long"}) : rows;
}

static node_frame respond(const node_request &request, bool lz4)
{
    static const bytes list_of_types =
        "ListType(UserType(ks,75,6e:IntegerType,76:VectorType(UTF8Type , 2),64:DurationType))";
    const auto prepares = [&](const char *word) {
        return request.opcode == NODE_PREPARE && request.body.find(word) != bytes::npos;
    };
    if (prepares("typed"))
        return prepared_frame("TYP",
                              {{"v", type_of(NODE_VARINT)},
                               {"d", type_of(NODE_DECIMAL)},
                               {"l", type_of(NODE_CUSTOM) + wire_string(list_of_types)},
                               {"t", text_type}},
                              {});
    if (prepares("insert"))
        return prepared_frame("INS", {{"a", number_type}, {"t", text_type}}, {});
    return request.opcode == NODE_OPTIONS         ? stock_supported(lz4)
           : request.opcode == NODE_STARTUP       ? authenticate_frame()
           : request.opcode == NODE_AUTH_RESPONSE ? auth_success_frame()
           : request.opcode == NODE_PREPARE ? prepared_frame("ID", {{"k", number_type}}, several)
                                            : answer_to(request.body);
}

// ---- What an application does -------------------------------------------------------------------

static constexpr SQLSMALLINT NTS = SQL_NTS;

static void put_text(std::string *data, const void *text, SQLLEN length = SQL_NTS)
{
    *data += length == SQL_NULL_DATA ? "NULL" : static_cast<const char *>(text);
    *data += "|";
}

// What the last call told, which is forgotten: the wide text is UTF-16 of no more than a byte a
// unit.
static void take_told(application &s, std::string *data)
{
    for (const SQLWCHAR *unit = s.wide; *unit != 0; unit++)
        *data += static_cast<char>(*unit);
    put_text(data, s.text);
    put_text(data, std::to_string(s.number).c_str());
    std::memset(s.text, 0, sizeof s.text);
    std::memset(s.wide, 0, sizeof s.wide);
    s.number = 0;
}

// A further call of a step, unless one before it failed.
#define THEN(...)                                                                                  \
    do {                                                                                           \
        if (SQL_SUCCEEDED(code))                                                                   \
            code = SQLRETURN(DRIVER(__VA_ARGS__));                                                 \
        take_told(s, data);                                                                        \
    } while (0)

static SQLCHAR *words(const char *text)
{
    return reinterpret_cast<SQLCHAR *>(const_cast<char *>(text));
}

static SQLWCHAR *wide_words(const char16_t *text)
{
    return reinterpret_cast<SQLWCHAR *>(const_cast<char16_t *>(text));
}

// Arguments of the calls, each with its length.
#define NONE       nullptr, 0
#define ANSI(text) words(text), NTS
#define WIDE(text) wide_words(u##text), NTS

// The rows by SQLGetData, and how they end.
static SQLRETURN read_rows(application &app, std::string *data)
{
    SQLSMALLINT columns = 0;
    SQLRETURN code = DRIVER(SQLNumResultCols(app.stmt, &columns));
    while (SQL_SUCCEEDED(code)) {
        code = DRIVER(SQLFetch(app.stmt));
        for (SQLUSMALLINT column = 1; SQL_SUCCEEDED(code) && column <= columns; column++) {
            char text[700] = "";
            SQLLEN length = 0;
            code = DRIVER(SQLGetData(app.stmt, column, SQL_C_CHAR, text, sizeof text, &length));
            put_text(data, text, length);
        }
        *data += "\n";
    }
    return code;
}

static SQLRETURN fetch_bound(application &app, std::string *data)
{
    SQLULEN count = 0;
    SQLUSMALLINT status = 0;
    for (;;) {
        const SQLRETURN code =
            DRIVER(app.is_old ? SQLExtendedFetch(app.stmt, SQL_FETCH_NEXT, 0, &count, &status)
                              : SQLFetch(app.stmt));
        if (!SQL_SUCCEEDED(code))
            return code;
        for (int column = 0; column < 3; column++)
            put_text(data, app.bound[column], app.lengths[column]);
    }
}

// Descriptions of all columns in all forms.
static SQLRETURN describe(application &s, std::string *data)
{
    SQLSMALLINT columns = 0, *n = &s.small;
    SQLRETURN code = DRIVER(SQLNumResultCols(s.stmt, &columns));
    for (SQLUSMALLINT column = 1; SQL_SUCCEEDED(code) && column <= columns; column++) {
        THEN(SQLDescribeCol(s.stmt, column, words(s.text), 64, n, n, &s.size, n, n));
        THEN(SQLDescribeColW(s.stmt, column, s.wide, 64, n, n, &s.size, n, n));
        for (const SQLUSMALLINT field :
             {SQL_DESC_NAME, SQL_DESC_TYPE_NAME, SQL_DESC_TABLE_NAME, SQL_DESC_SCHEMA_NAME,
              SQL_DESC_LITERAL_PREFIX, SQL_DESC_LOCAL_TYPE_NAME, SQL_DESC_LENGTH}) {
            THEN(SQLColAttribute(s.stmt, column, field, s.text, 64, n, &s.number));
            THEN(SQLColAttributeW(s.stmt, column, field, s.wide, 128, n, &s.number));
        }
        THEN(SQLColAttributes(s.stmt, column, SQL_COLUMN_NAME, s.text, 64, n, &s.number));
        THEN(SQLColAttributesW(s.stmt, column, SQL_COLUMN_NAME, s.wide, 128, n, &s.number));
    }
    return code;
}

// Texts of the driver, in both forms.
static SQLRETURN read_info(application &s, std::string *data)
{
    SQLRETURN code = SQL_SUCCESS;
    for (const SQLUSMALLINT info :
         {SQL_DATA_SOURCE_NAME, SQL_SERVER_NAME, SQL_DBMS_NAME, SQL_DBMS_VER, SQL_DRIVER_NAME,
          SQL_DATABASE_NAME, SQL_USER_NAME, SQL_KEYWORDS, SQL_IDENTIFIER_QUOTE_CHAR}) {
        THEN(SQLGetInfo(s.conn, info, s.text, sizeof s.text, &s.small));
        THEN(SQLGetInfoW(s.conn, info, s.wide, sizeof s.wide, &s.small));
    }
    return code;
}

static SQLRETURN read_diagnostics(application &s, std::string *data)
{
    constexpr SQLSMALLINT type = SQL_HANDLE_STMT;
    SQLRETURN code = SQL_SUCCESS;
    THEN(SQLGetDiagRec(type, s.stmt, 1, nullptr, nullptr, words(s.text), 200, &s.small));
    THEN(SQLGetDiagRecW(type, s.stmt, 1, nullptr, nullptr, s.wide, 200, &s.small));
    for (const SQLSMALLINT field :
         {SQL_DIAG_SQLSTATE, SQL_DIAG_MESSAGE_TEXT, SQL_DIAG_SERVER_NAME, SQL_DIAG_CLASS_ORIGIN}) {
        THEN(SQLGetDiagField(type, s.stmt, 1, field, s.text, 200, &s.small));
        THEN(SQLGetDiagFieldW(type, s.stmt, 1, field, s.wide, 400, &s.small));
    }
    return code;
}

// clang-format off
// A driver's call with what it tells. `s` is the application.
#define CALL(type, marks, ...)                                                                     \
    step{#__VA_ARGS__, type, [](application &s, std::string *data) {                               \
        SQLRETURN code = SQL_SUCCESS; THEN(__VA_ARGS__); return code; }, marks}
// clang-format on
#define ENV(...)    CALL(SQL_HANDLE_ENV, PLAIN, __VA_ARGS__)
#define CONN(...)   CALL(SQL_HANDLE_DBC, PLAIN, __VA_ARGS__)
#define STMT(...)   CALL(SQL_HANDLE_STMT, PLAIN, __VA_ARGS__)
#define DESC(...)   CALL(SQL_HANDLE_DESC, PLAIN, __VA_ARGS__)
#define SQL(text)   STMT(SQLExecDirect(s.stmt, words(text), SQL_NTS))
#define LISTED(...) CALL(SQL_HANDLE_STMT, NO_RECORD, __VA_ARGS__), rows

// A new handle; one that is there already goes first.
static step make(SQLSMALLINT parent, SQLSMALLINT type, const char *name)
{
    const auto run = [=](application &s, std::string *data) {
        free_handle(s, type);
        const SQLRETURN code = alloc_handle(s, type);
        *data = handle_of(s, type) == nullptr ? "none" : "one";
        return code;
    };
    return {name, parent, run, NO_RECORD};
}

static const step make_env = make(SQL_HANDLE_ENV, SQL_HANDLE_ENV, "environment"),
                  make_conn = make(SQL_HANDLE_ENV, SQL_HANDLE_DBC, "connection"),
                  make_stmt = make(SQL_HANDLE_DBC, SQL_HANDLE_STMT, "statement");
static const step odbc3 =
    ENV(SQLSetEnvAttr(s.env, SQL_ATTR_ODBC_VERSION, odbc_number(SQL_OV_ODBC3), 0));
static const step by_string =
    CALL(SQL_HANDLE_DBC, AGAIN,
         SQLDriverConnect(s.conn, nullptr, ANSI(s.connection.c_str()), words(s.text), 1024, nullptr,
                          SQL_DRIVER_NOPROMPT));
static const step by_name =
    CALL(SQL_HANDLE_DBC, AGAIN,
         SQLConnect(s.conn, ANSI(s.source.c_str()), ANSI("user"), ANSI("password")));
static const step info_told = {"info", SQL_HANDLE_DBC, read_info},
                  diagnostics_told = {"diagnostics", SQL_HANDLE_ENV, read_diagnostics, NO_RECORD};
static const step rows = {"rows", SQL_HANDLE_STMT, read_rows},
                  columns_told = {"columns", SQL_HANDLE_STMT, describe},
                  bound_rows = {"bound rows", SQL_HANDLE_STMT, fetch_bound};
static const step close_rows = STMT(SQLFreeStmt(s.stmt, SQL_CLOSE)),
                  unbind = STMT(SQLFreeStmt(s.stmt, SQL_UNBIND)),
                  reset_params = STMT(SQLFreeStmt(s.stmt, SQL_RESET_PARAMS)),
                  execute = STMT(SQLExecute(s.stmt)),
                  row_count = STMT(SQLRowCount(s.stmt, &s.number)),
                  next_param = STMT(SQLParamData(s.stmt, &s.token));

// A session from its beginning.
static scenario session_by(const step &connect)
{
    return {make_env, odbc3, make_conn, connect, make_stmt, SQL("select * from warned"), rows};
}

// Work within a session, which is there already and goes in quiet.
static scenario within(scenario work)
{
    scenario all = {make_env, odbc3, make_conn, by_string, make_stmt, SQL("use \"ks\"")};
    for (step &one : all)
        one.marks = QUIET;
    work.front().marks |= AGAIN;
    all.insert(all.end(), work.begin(), work.end());
    return all;
}

static const scenario statements = within(
    {STMT(SQLPrepare(s.stmt, words("select * from warned where k = ?"), SQL_NTS)),
     STMT(bind(s.stmt, 1, SQL_C_SLONG, SQL_INTEGER, s.numbers)),
     STMT(SQLBindCol(s.stmt, 1, SQL_C_CHAR, s.bound[0], 64, &s.lengths[0])),
     STMT(SQLBindCol(s.stmt, 2, SQL_C_CHAR, s.bound[1], 64, &s.lengths[1])),
     STMT(SQLBindCol(s.stmt, 4, SQL_C_CHAR, s.bound[2], 64, &s.lengths[2])), execute, columns_told,
     bound_rows, close_rows, unbind, execute, STMT(SQLFetchScroll(s.stmt, SQL_FETCH_NEXT, 0)), rows,
     row_count, reset_params, SQL("select * from {fn ucase(t)}"), rows, SQL("refused")});

// Pages and a local result that are kept.
static const scenario scrolling =
    within({STMT(SQLSetStmtAttr(s.stmt, SQL_ATTR_CURSOR_TYPE, odbc_number(SQL_CURSOR_STATIC), 0)),
            SQL("select * from warned"), STMT(SQLFetchScroll(s.stmt, SQL_FETCH_LAST, 0)),
            STMT(SQLFetchScroll(s.stmt, SQL_FETCH_PRIOR, 0)), rows, close_rows,
            CALL(SQL_HANDLE_STMT, NO_RECORD, SQLGetTypeInfo(s.stmt, SQL_VARCHAR)),
            STMT(SQLFetchScroll(s.stmt, SQL_FETCH_LAST, 0))});

static const scenario parameters =
    within({STMT(SQLSetStmtAttr(s.stmt, SQL_ATTR_PARAMSET_SIZE, odbc_number(1), 0)),
            STMT(bind(s.stmt, 1, SQL_C_SLONG, SQL_INTEGER, s.numbers)),
            STMT(bind(s.stmt, 2, SQL_C_CHAR, SQL_VARCHAR, &s.at_exec, &s.at_exec)),
            SQL("insert into t (a, t) values (?, ?)"), next_param,
            STMT(SQLPutData(s.stmt, words("first "), 6)),
            STMT(SQLPutData(s.stmt, words("second"), 6)), next_param, row_count,
            STMT(SQLPrepare(s.stmt, words("insert into t (a, t) values (?, ?)"), SQL_NTS)),
            STMT(SQLNumParams(s.stmt, &s.small)),
            STMT(SQLDescribeParam(s.stmt, 1, nullptr, nullptr, nullptr, nullptr)),
            STMT(bind(s.stmt, 2, SQL_C_SLONG, SQL_VARCHAR, s.numbers)),
            STMT(SQLSetStmtAttr(s.stmt, SQL_ATTR_PARAMSET_SIZE, odbc_number(2), 0)), execute,
            row_count, reset_params});

// Of the server's types, longer than what goes without a block of its own.
static const std::string long_number(300, '7');
static const std::u16string wide_number(300, u'8');
static const std::string long_literal =
    "[{n: " + long_number + ", v: ['a', '" + std::string(300, 'b') + "']}, {d: 1mo2d}]";

static const scenario typed =
    within({STMT(SQLPrepare(s.stmt, words("typed ? ? ? ?"), SQL_NTS)),
            STMT(bind(s.stmt, 1, SQL_C_WCHAR, SQL_WVARCHAR, odbc_wide(wide_number), nullptr, 600)),
            STMT(bind(s.stmt, 2, SQL_C_CHAR, SQL_VARCHAR, &s.at_exec, &s.at_exec)),
            STMT(bind(s.stmt, 3, SQL_C_CHAR, SQL_VARCHAR, odbc_text(long_literal), nullptr, 2000)),
            STMT(bind(s.stmt, 4, SQL_C_DOUBLE, SQL_DOUBLE, &s.ratio)), execute, next_param,
            STMT(SQLPutData(s.stmt, odbc_text(long_number), SQL_NTS)),
            STMT(SQLPutData(s.stmt, words("e-5"), 3)), next_param, reset_params});

static const scenario tables =
    within({LISTED(SQLTables(s.stmt, NONE, NONE, NONE, ANSI("TABLE,VIEW"))),
            LISTED(SQLTables(s.stmt, ANSI(""), ANSI("%"), ANSI(""), NONE)),
            LISTED(SQLTables(s.stmt, ANSI(""), ANSI(""), ANSI(""), ANSI("%")))});
static const scenario columns =
    within({LISTED(SQLColumns(s.stmt, NONE, ANSI("ks"), ANSI("%"), ANSI("v"))),
            LISTED(SQLStatistics(s.stmt, NONE, NONE, ANSI("t"), SQL_INDEX_ALL, SQL_QUICK))});
static const scenario keys =
    within({LISTED(SQLPrimaryKeys(s.stmt, NONE, NONE, ANSI("t"))),
            LISTED(SQLSpecialColumns(s.stmt, SQL_BEST_ROWID, NONE, ANSI("ks"), ANSI("t"),
                                     SQL_SCOPE_SESSION, SQL_NULLABLE))});
static const scenario local =
    within({LISTED(SQLForeignKeys(s.stmt, NONE, NONE, ANSI("t"), NONE, NONE, NONE)), columns_told,
            LISTED(SQLGetTypeInfo(s.stmt, SQL_ALL_TYPES)),
            LISTED(SQLProcedures(s.stmt, NONE, NONE, ANSI("t"))),
            LISTED(SQLProcedureColumns(s.stmt, NONE, NONE, NONE, NONE)),
            LISTED(SQLTablePrivileges(s.stmt, NONE, NONE, ANSI("t"))),
            LISTED(SQLColumnPrivileges(s.stmt, NONE, NONE, ANSI("t"), NONE))});

static const scenario wide_catalog =
    within({LISTED(SQLTablesW(s.stmt, NONE, WIDE("ks"), NONE, WIDE("TABLE,VIEW"))),
            LISTED(SQLColumnsW(s.stmt, NONE, WIDE("ks"), WIDE("%"), WIDE("v"))),
            LISTED(SQLStatisticsW(s.stmt, NONE, NONE, WIDE("t"), SQL_INDEX_ALL, SQL_QUICK)),
            LISTED(SQLPrimaryKeysW(s.stmt, NONE, NONE, WIDE("t"))),
            LISTED(SQLSpecialColumnsW(s.stmt, SQL_BEST_ROWID, NONE, WIDE("ks"), WIDE("t"),
                                      SQL_SCOPE_SESSION, SQL_NULLABLE)),
            LISTED(SQLForeignKeysW(s.stmt, NONE, NONE, WIDE("t"), NONE, NONE, NONE)),
            LISTED(SQLGetTypeInfoW(s.stmt, SQL_ALL_TYPES)),
            LISTED(SQLProceduresW(s.stmt, NONE, NONE, WIDE("t"))),
            LISTED(SQLProcedureColumnsW(s.stmt, NONE, NONE, NONE, NONE)),
            LISTED(SQLTablePrivilegesW(s.stmt, NONE, NONE, WIDE("t"))),
            LISTED(SQLColumnPrivilegesW(s.stmt, NONE, NONE, WIDE("t"), NONE))});

// By the calls of ODBC 2 where there are such, and by wide ones.
static const scenario old_and_wide(
    {make_env,
     odbc3,
     ENV(SQLGetEnvAttr(s.env, SQL_ATTR_ODBC_VERSION, &s.number, 0, nullptr)),
     make_conn,
     CALL(SQL_HANDLE_DBC, AGAIN,
          SQLDriverConnectW(s.conn, nullptr, wide_words(s.wide_connection.c_str()), NTS, s.wide,
                            1024, nullptr, SQL_DRIVER_NOPROMPT)),
     CONN(SQLDisconnect(s.conn)),
     CONN(SQLConnectW(s.conn, wide_words(s.wide_source.c_str()), NTS, WIDE("user"),
                      WIDE("password"))),
     make_stmt,
     CONN(SQLSetConnectAttrW(s.conn, SQL_ATTR_CURRENT_CATALOG, WIDE("ks"))),
     CONN(SQLGetConnectAttrW(s.conn, SQL_ATTR_CURRENT_CATALOG, s.wide, 64, nullptr)),
     CONN(SQLSetConnectOption(s.conn, SQL_CURRENT_QUALIFIER, SQLULEN(words("ks")))),
     CONN(SQLGetConnectOption(s.conn, SQL_CURRENT_QUALIFIER, s.text)),
     CONN(SQLGetFunctions(s.conn, SQL_API_SQLTABLES, reinterpret_cast<SQLUSMALLINT *>(&s.small))),
     CONN(SQLNativeSqlW(s.conn, WIDE("select {fn now()}"), s.wide, 64, nullptr)),
     STMT(SQLSetStmtAttrW(s.stmt, SQL_ATTR_QUERY_TIMEOUT, odbc_number(7), 0)),
     STMT(SQLGetStmtAttrW(s.stmt, SQL_ATTR_QUERY_TIMEOUT, &s.number, 0, nullptr)),
     STMT(SQLSetStmtOption(s.stmt, SQL_ROWSET_SIZE, 1)),
     STMT(SQLGetStmtOption(s.stmt, SQL_ROWSET_SIZE, &s.number)),
     CALL(SQL_HANDLE_STMT, NO_RECORD, SQLSetCursorNameW(s.stmt, WIDE("name"))),
     STMT(SQLPrepareW(s.stmt, WIDE("select * from warned where k = ?"))),
     STMT(bind(s.stmt, 1, SQL_C_SLONG, SQL_INTEGER, s.numbers)),
     STMT(SQLBindCol(s.stmt, 2, SQL_C_CHAR, s.bound[1], 64, &s.lengths[1])),
     execute,
     bound_rows,
     STMT(SQLMoreResults(s.stmt)),
     STMT(SQLExecDirectW(s.stmt, WIDE("select * from warned"))),
     STMT(SQLGetStmtAttr(s.stmt, SQL_ATTR_APP_ROW_DESC, &s.of_stmt, 0, nullptr)),
     STMT(SQLSetDescFieldW(s.of_stmt, 5, SQL_DESC_TYPE, odbc_number(SQL_C_CHAR), 0)),
     STMT(SQLCancel(s.stmt)),
     STMT(SQLCloseCursor(s.stmt)),
     CONN(SQLEndTran(SQL_HANDLE_DBC, s.conn, SQL_COMMIT))});

// What is told of a failure, and of the connection, and what descriptors keep.
static const scenario telling =
    within({CALL(SQL_HANDLE_STMT, QUIET, SQLExecDirect(s.stmt, words("refused"), SQL_NTS)),
            diagnostics_told,
            info_told,
            CONN(SQLNativeSql(s.conn, ANSI("select {fn now()}"), words(s.text), 64, nullptr)),
            CALL(SQL_HANDLE_STMT, NO_RECORD, SQLSetCursorName(s.stmt, ANSI("name"))),
            STMT(SQLGetCursorName(s.stmt, words(s.text), 64, nullptr)),
            STMT(SQLGetCursorNameW(s.stmt, s.wide, 64, nullptr)),
            CONN(SQLSetConnectAttr(s.conn, SQL_ATTR_CURRENT_CATALOG, ANSI("x"))),
            CONN(SQLGetConnectAttr(s.conn, SQL_ATTR_CURRENT_CATALOG, s.text, 64, nullptr)),
            make(SQL_HANDLE_DBC, SQL_HANDLE_DESC, "descriptor"),
            STMT(SQLSetStmtAttr(s.stmt, SQL_ATTR_APP_ROW_DESC, s.desc, 0)),
            STMT(SQLBindCol(s.stmt, 3, SQL_C_CHAR, s.bound[0], 64, &s.lengths[0])),
            DESC(SQLSetDescField(s.desc, 5, SQL_DESC_TYPE, odbc_number(SQL_C_CHAR), 0)),
            DESC(SQLSetDescRec(s.desc, 7, SQL_C_CHAR, 0, 64, 0, 0, s.bound[1], nullptr, nullptr)),
            unbind,
            SQL("select * from t"),
            STMT(SQLGetStmtAttr(s.stmt, SQL_ATTR_IMP_ROW_DESC, &s.of_stmt, 0, nullptr)),
            STMT(SQLGetDescField(s.of_stmt, 2, SQL_DESC_NAME, s.text, 64, nullptr)),
            STMT(SQLGetDescFieldW(s.of_stmt, 2, SQL_DESC_TYPE_NAME, s.wide, 128, nullptr)),
            STMT(SQLGetDescRec(s.of_stmt, 1, words(s.text), 64, &s.small, &s.small, nullptr,
                               &s.number, nullptr, nullptr, nullptr)),
            STMT(SQLGetDescRecW(s.of_stmt, 1, s.wide, 64, &s.small, &s.small, nullptr, &s.number,
                                nullptr, nullptr, nullptr)),
            close_rows,
            STMT(SQLSetStmtAttr(s.stmt, SQL_ATTR_APP_ROW_DESC, SQL_NULL_HDESC, 0))});

// ---- The roads ----------------------------------------------------------------------------------

struct road {
    std::string name;
    scenario steps;
    std::string settings = {};  // {address}, {folder}
    // Every so many allocations fail.
    long alone = 1;
    long all_behind = 1;
    long of_library = 0;  // alone and with all behind; 0: none
    bool lz4 = false;
};

struct memory : ::testing::TestWithParam<road> {
    const file_folder folder;
    const certificate ca = make_ca();
    const node_ptr node = node_start();
    application app;

    memory()
    {
        const road &r = GetParam();
        const std::string address = node_address(node.get()), key = key_pem(KEY_TWO),
                          pem = make_certificate({.key = KEY_TWO}, &ca).pem;
        node_answer_rest(node.get(), [&r](const node_request &request) {
            return std::vector{respond(request, r.lz4)};
        });
        if (r.settings.find("Encrypt=yes;") != std::string::npos || r.name == "bundle")
            node_use_tls(node.get(), {.chain = make_certificate({}, &ca).pem,
                                      .key = key_pem(KEY_ONE),
                                      .http = "HTTP/1.1 200 OK\r\nContent-Length: 64\r\n\r\n"
                                              R"({"region": "r", "contact_info": )"
                                              R"({"contact_points": ["a", "b"]}} )"});
        app.connection =
            replaced(replaced(r.settings, "{address}", address), "{folder}", folder.path);
        // The installer library remembers what it has read of a section.
        app.source = r.name;
        app.is_old = r.name.find("old") != std::string::npos;
        app.wide_connection.assign(app.connection.begin(), app.connection.end());
        app.wide_source.assign(app.source.begin(), app.source.end());
        folder.add("ca.pem", ca.pem);
        folder.add("key.pem", key);
        folder.add("cert.pem", pem);
        write_bundle(folder.path + "/bundle.zip",
                     hosted_bundle(node_port(node.get()), ca.pem, pem, key));
        const std::string lines = replaced(app.connection, ";", "\n");
        setenv("ODBCSYSINI", folder.path.c_str(), 1);
        setenv("ODBCINI", folder.add("odbc.ini", "[" + app.source + "]\n" + lines).c_str(), 1);
    }
};

TEST_P(memory, that_runs_out_is_told_and_costs_nothing_else)
{
    const road &r = GetParam();
    // The first run meets what is made once in a process.
    std::vector<answer> first, wanted;
    ASSERT_EQ(run(r.steps, app, {}, &first), "");
    ASSERT_EQ(run(r.steps, app, {}, &wanted), "");
    const long total[] = {allocations.seen[BY_DRIVER], allocations.seen[BY_LIBRARY]};
    const auto fail = [&](const allocation_plan &plan) {
        EXPECT_EQ(run(r.steps, app, plan, &wanted), "")
            << "allocation " << plan.number << " of owner " << plan.owner
            << (plan.all_behind ? " and all behind" : "");
    };
    for (const bool all_behind : {false, true}) {
        const long stride = all_behind ? r.all_behind : r.alone;
        for (long number = 1; stride > 0 && number <= total[BY_DRIVER]; number += stride)
            fail({BY_DRIVER, number, all_behind});
        for (long number = 1; r.of_library > 0 && number <= total[BY_LIBRARY];
             number += r.of_library)
            fail({BY_LIBRARY, number, all_behind});
    }
    EXPECT_EQ(node_finish(node.get()), "");
}

static std::vector<road> all_roads()
{
    const std::string there = "SERVER={address};UID=user;PWD=password;KEYSPACE=ks;",
                      by_tls = there + "Encrypt=yes;CertificateFile={folder}/ca.pem;";
    // A record's own allocations are many, and a handshake takes long.
    std::vector<road> roads = {
        {"session", session_by(by_string), there + "Logging=0;StringLen=300"},
        {"data_source", session_by(by_name),
         "Server={address}\nKeyspace=ks\nEncrypt=no\nStringLen=300\n"},
        {"odbc_session", session_by(by_string),
         "Standard=Yes;Server={address};UID={us;er};PWD={pass}}word};Database=ks;"},
        {"odbc_data_source", session_by(by_name),
         "Standard=yes\nHost={address}\nKeyspace=ks\nPWD=word\n"},
        {"logged", session_by(by_string), "LogFile={folder}/log;Logging=yes;" + there, 7, 31},
        {"logged_at_error", statements, "LogFile={folder}/log;Logging=onerror;" + there, 13, 61},
        {"lz4", statements, there, 1, 1, 0, true},
        {"scrolling", scrolling, there + "Standard=Yes"},
        {"typed", typed, there + "Standard=Yes", 1, 1, 1},
        {"bundle", session_by(by_string), "BUNDLE={folder}/bundle.zip;UID=user;PWD=password", 3, 13,
         613},
    };
    const road works[] = {
        {"statements", statements},
        {"parameters", parameters},
        {"tables", tables},
        {"columns", columns},
        {"keys", keys},
        {"local", local},
        {"telling", telling},
        {"old_and_wide", old_and_wide},
        {"wide_catalog", wide_catalog, "", 7, 23},
    };
    for (const bool standard : {false, true}) {
        const std::string start = standard ? "odbc_" : "",
                          conduct = standard ? "Standard=Yes;" : "",
                          tls = by_tls + conduct + (standard ? "VerifyHost=No;" : "");
        for (const road &work : works) {
            roads.push_back(
                {start + work.name, work.steps, there + conduct, work.alone, work.all_behind});
            roads.push_back({start + "tls_" + work.name, work.steps, tls, 29, 67});
        }
        roads.push_back({start + "tls_data_source", session_by(by_name), tls, 13, 61});
        roads.push_back({start + "tls", session_by(by_string),
                         tls + "PublicKeyFile={folder}/cert.pem;PrivateKeyFile={folder}/key.pem", 1,
                         7, 311});
    }
    return roads;
}

INSTANTIATE_TEST_SUITE_P(all, memory, ::testing::ValuesIn(all_roads()),
                         [](const auto &given) { return given.param.name; });

// A page that was read is given back: many pages take no more memory than a few.
TEST(pages, are_given_back_when_they_are_read)
{
    const node_ptr node = node_start();
    const node_frame page =
        rows_frame(several, std::vector(100, several_cells(1, "one")), {.paging_state = "p"});
    node_answer_rest(node.get(), [page](const node_request &request) {
        return std::vector{request.opcode == NODE_QUERY ? page : respond(request, true)};
    });
    application s = {.connection = "UID=u;SERVER=" + node_address(node.get())};
    for (const step &one : {make_env, odbc3, make_conn, by_string, make_stmt})
        EXPECT_EQ(take_step(one, s).code, SQL_SUCCESS);
    EXPECT_STMT(SQL_SUCCESS, s.stmt, exec(s.stmt, "q"));
    std::size_t few = 0;
    for (int row = 0; row < 20000; row++) {
        ASSERT_STMT(SQL_SUCCESS, s.stmt, SQLFetch(s.stmt));
        few = row == 1000 ? mallinfo2().uordblks : few;
    }
    EXPECT_LE(mallinfo2().uordblks, few + 200000);
    free_all(s);
}
