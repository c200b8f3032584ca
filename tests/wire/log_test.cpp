// The log as an application gets it from the built library: each function's records, the places
// that switch it on, the frames in it, and calls that do not care whether it can be written.
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <set>
#include <sstream>

#include "tests/node/certificates.h"
#include "tests/wire/wire_support.h"

namespace fs = std::filesystem;

struct log_folder : ::testing::Test {
    fs::path folder = fs::temp_directory_path() / ("vhcass_wire_log_" + std::to_string(getpid()));
    std::string file = folder / "driver.log";

    log_folder() { fs::create_directories(folder); }
    ~log_folder() override { fs::remove_all(folder); }
    static std::string content(const std::string &path)
    {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }
};

// A record: "SQLFetch.c:13 (STMT) ENTRY SQLFetch: statement_handle=0x...".
static row_list records_of(const std::string &log)
{
    static const std::regex form("VHSQLODBC:\\[TID=[0-9A-F]+\\]\\[TIME=\\d+\\.000000\\]"
                                 "\\[([^:]*:\\d+)\\]\\[\\w+(\\([A-Z]+\\))\\]\n"
                                 "\t\t([A-Z]+):\t ([^\n]*)\n");
    row_list records;
    for (std::sregex_iterator at(log.begin(), log.end(), form), end; at != end; ++at)
        records.push_back(at->str(1) + " " + at->str(2) + " " + at->str(3) + " " + at->str(4));
    return records;
}

// Whether the file and line that a record names are those of the call that wrote it, or of the
// entry point that it was written for.
static bool is_written_there(const std::string &record)
{
    static const std::regex form("(\\w+)\\.c:(\\d+) \\(\\w+\\) (\\w+) .*");
    std::smatch parts;
    if (!std::regex_match(record, parts, form))
        return false;
    std::istringstream source(
        log_folder::content(VHCASS_SOURCE_DIR "/odbc/" + parts.str(1) + ".cpp"));
    const int last = std::stoi(parts[2]) + 1, first = last - 9;  // a call of the log may be long
    std::string line;
    for (int number = 1; number <= last && std::getline(source, line); number++)
        if (number >= first && (line.find("LOG_" + parts.str(3)) != std::string::npos ||
                                line.find("entry_point entry") != std::string::npos))
            return true;
    return false;
}

// ---- Every function's two records ---------------------------------------------------------------

static SQLCHAR *ansi(const char *text)
{
    return reinterpret_cast<SQLCHAR *>(const_cast<char *>(text));
}

static SQLWCHAR *wide(const char16_t *text)
{
    return reinterpret_cast<SQLWCHAR *>(const_cast<char16_t *>(text));
}

// An output's address, for whatever type a call expects there.
struct any_pointer {
    void *at;

    template <typename Value>
    operator Value *() const
    {
        return static_cast<Value *>(at);
    }
};

// What the calls of the walk are given. The outputs' addresses, st, db and ds stand in the table of
// expected records under these names; "&1" is a[1] and so on.
struct walk_arguments {
    SQLHSTMT st;
    SQLHDBC db;
    SQLHDESC ds;
    SQLLEN out[10][32];

    any_pointer operator[](int number) { return {out[number]}; }
    std::string names(std::string text) const
    {
        const auto name = [&](const void *address, const std::string &label) {
            std::ostringstream form;
            form << address;
            for (std::size_t at; (at = text.find(form.str())) != std::string::npos;)
                text.replace(at, form.str().size(), label);
        };
        name(st, "st"), name(db, "db"), name(ds, "ds");
        for (int i = 0; i < 10; i++)
            name(out[i], "&" + std::to_string(i));
        return text;
    }
};

// One call, the text of its first record and that of its last; "-" is none.
struct walk_row {
    const char *function;
    const char *logged_name;  // in records, and with ".c" their source
    const char *arguments;
    const char *code;
    std::function<SQLRETURN(walk_arguments &)> call;
};

// clang-format off
#define ROW_AS(name, function, arguments, code, ...) \
    {#function, name, arguments, code, [](walk_arguments &a) { return function(__VA_ARGS__); }}
#define ROW(function, arguments, code, ...) ROW_AS(#function, function, arguments, code, __VA_ARGS__)
// A statement's, a connection's or a descriptor's function, and one with the same arguments in both
// forms.
#define ST(function, arguments, code, ...) \
    ROW(function, "statement_handle=st" arguments, code, a.st __VA_OPT__(,) __VA_ARGS__)
#define DB(function, arguments, code, ...) \
    ROW(function, "connection_handle=db" arguments, code, a.db __VA_OPT__(,) __VA_ARGS__)
#define DS(function, arguments, code, ...) \
    ROW(function, "descriptor_handle=ds" arguments, code, a.ds, __VA_ARGS__)
#define BOTH(kind, function, ...) kind(function, __VA_ARGS__), kind(function##W, __VA_ARGS__)

static const walk_row walk[] = {
    // Statements and parameters
    ST(SQLPrepare, ", statement_text='select ?'[SQL_NTS]", "0", ansi("select ?"), SQL_NTS),
    ST(SQLPrepareW, ", statement_text='select ?'[8]", "0", wide(u"select ?"), 8),
    ST(SQLNumParams, ", param_count=&1", "0", a[1]),
    ST(SQLDescribeParam, ", ipar=1, pf_sql_type=&1, pcb_param_def=&2, pib_scale=&3, pf_nullable=&4", "SQL_SUCCESS", 1, a[1], a[2], a[3], a[4]),
    ST(SQLBindParameter, ", parameter_number=1, input_output_type=1, value_type=-16, parameter_type=4, column_size=7, decimal_digits=3, "
        "parameter_value=&1, buffer_length=9, strlen_or_ind=&2", "0", 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 7, 3, a[1], 9, a[2]),
    ST(SQLExecute, "", "0"),
    ST(SQLPutData, ", data=&1, strlen_or_ind=-3", "-1", a[1], SQL_NTS),
    ST(SQLParamData, ", value=&1", "0", a[1]),
    ST(SQLExecDirect, ", statement_text='sel\\xE9ct'[6]", "0", ansi("sel\xE9""ct 1"), 6),
    ST(SQLExecDirectW, ", statement_text='sel\\x20ACct'[SQL_NTS]", "0", wide(u"sel\u20ACct"), SQL_NTS),
    ST(SQLCancel, "", "0"),
    // Results
    ST(SQLNumResultCols, ", column_count=&1", "0", a[1]),
    ST(SQLRowCount, ", row_count=&1", "0", a[1]),
#define COLUMN ", buffer_length=20, name_length=&2, data_type=&3, column_size=&4, decimal_digits=&5, nullable=&6"
    ST(SQLDescribeCol, ", column_number=1, column_name=&1" COLUMN, "SQL_SUCCESS", 1, a[1], 20, a[2], a[3], a[4], a[5], a[6]),
    ST(SQLDescribeColW, ", column_number=2, column_name=&1" COLUMN, "SQL_ERROR", 2, a[1], 20, a[2], a[3], a[4], a[5], a[6]),
#define FIELD ", column_number=1, field_identifier=1011, character_attribute=&1, buffer_length=20, string_length=&2, numeric_attribute=&3"
    BOTH(ST, SQLColAttribute, FIELD, "SQL_SUCCESS", 1, SQL_DESC_NAME, a[1], 20, a[2], a[3]),
    BOTH(ST, SQLColAttributes, FIELD, "SQL_SUCCESS", 1, SQL_DESC_NAME, a[1], 20, a[2], a[3]),
    ST(SQLBindCol, ", column_number=2, target_type = -16, value=&1, buffer_len=8, ind_ptr=&2", "0", 2, SQL_C_SLONG, a[1], 8, a[2]),
    ST(SQLFetch, "", "0"),
    ST(SQLGetData, ", column_number=1, target_type=1, target_value=&1, buffer_length=9, strlen_or_ind = &2", "0", 1, SQL_C_CHAR, a[1], 9, a[2]),
    ST(SQLFetchScroll, ", fetch_orientation=1, fetch_offset=-7", "0", SQL_FETCH_NEXT, -7),
    ST(SQLExtendedFetch, ", f_fetch_type=1, irow=-8, pcrow=&1, rgf_row_status=&2", "100", SQL_FETCH_NEXT, -8, a[1], a[2]),
    ST(SQLMoreResults, ", more_results=0", "100"),
    ST(SQLCloseCursor, "", "0"),
    ST(SQLFreeStmt, ", option=2", "0", SQL_UNBIND),
    ST(SQLSetCursorName, ", cursor_name='nam'[3]", "0", ansi("name"), 3),
    ST(SQLSetCursorNameW, ", cursor_name=(nul)[4]", "-1", nullptr, 4),
    BOTH(ST, SQLGetCursorName, ", cursor_name=&1, buffer_length=20, name_length=&2", "0", a[1], 20, a[2]),
    // Catalog
#define U(text) wide(u##text)
#define NAMES(quote) quote("c"), 1, quote("s"), SQL_NTS, quote("t"), 1
#define LISTS(function, third, more, ...) \
    ST(function, ", catalog_name='c'[1], schema_name='s'[SQL_NTS], " third "='t'[1]" more, "0", NAMES(ansi) __VA_OPT__(,) __VA_ARGS__), \
    ST(function##W, ", catalog_name='c'[1], schema_name='s'[SQL_NTS], " third "='t'[1]" more, "0", NAMES(U) __VA_OPT__(,) __VA_ARGS__)
    LISTS(SQLTables, "table_name", ", table_type=(nul)[0]", nullptr, 0),
    LISTS(SQLColumns, "table_name", ", column_name=(nul)[0]", nullptr, 0),
    LISTS(SQLColumnPrivileges, "table_name", ", column_name=(nul)[0]", nullptr, 0),
    LISTS(SQLProcedureColumns, "proc_name", ", column_name=(nul)[0]", nullptr, 0),
    LISTS(SQLProcedures, "proc_name", ""), LISTS(SQLTablePrivileges, "table_name", ""), LISTS(SQLPrimaryKeys, "table_name", ""),
    LISTS(SQLStatistics, "table_name", ", unique=1, reserved=2", 1, 2),
#define SPECIAL ", identifier_type=2, catalog_name='c'[1], schema_name='s'[SQL_NTS], table_name='t'[1], scope=1, nullable=0"
    ST(SQLSpecialColumns, SPECIAL, "0", 2, NAMES(ansi), 1, 0), ST(SQLSpecialColumnsW, SPECIAL, "0", 2, NAMES(U), 1, 0),
#define FOREIGN ", pk_catalog_name='c'[1], pk_schema_name='s'[SQL_NTS], pk_table_name='t'[1], fk_catalog_name='d'[1], fk_schema_name=(nul)[0], fk_table_name='u'[1]"
    ST(SQLForeignKeys, FOREIGN, "0", NAMES(ansi), ansi("d"), 1, nullptr, 0, ansi("u"), 1),
    ST(SQLForeignKeysW, FOREIGN, "0", NAMES(U), U("d"), 1, nullptr, 0, U("u"), 1),
    BOTH(ST, SQLGetTypeInfo, ", data_type=4", "0", SQL_INTEGER),
    // Descriptors
    BOTH(DS, SQLGetDescField, ", rsc=3, field_identifier=1001, value=&1, buffer_length=6, string_length=&2", "SQL_SUCCESS", 3, SQL_DESC_COUNT, a[1], 6, a[2]),
    DS(SQLSetDescField, ", rec=0, field_identifier=20, value=0x7, buffer_length=-6", "SQL_SUCCESS", 0, SQL_DESC_ARRAY_SIZE, odbc_number(7), -6),
    DS(SQLSetDescFieldW, ", rec=0, field_identifier=20, value=0x1, buffer_length=-6", "SQL_SUCCESS", 0, SQL_DESC_ARRAY_SIZE, odbc_number(1), -6),
    DS(SQLSetDescRec, ", rec=1, type=4, subtype=5, length=6, precision=7, scale=8, data=&1, string_lengt=&2, indicator=&3", "SQL_SUCCESS",
        1, SQL_INTEGER, 5, 6, 7, 8, a[1], a[2], a[3]),
    BOTH(DS, SQLGetDescRec, ", rsc=1, name=&1, buffer_length=6, string_length=&2, type=&3, sub_type=&4, length=&5, precision=&6, scale=&7, nullable=&8",
        "SQL_SUCCESS", 1, a[1], 6, a[2], a[3], a[4], a[5], a[6], a[7], a[8]),
    // Attributes
    BOTH(ST, SQLSetStmtAttr, ", attribute=1, value=0x7, string_length=-6", "SQL_SUCCESS", SQL_ATTR_MAX_ROWS, odbc_number(7), -6),
    BOTH(ST, SQLGetStmtAttr, ", attribute=1, value=&1, buffer_length=6, string_length=&2", "SQL_SUCCESS", SQL_ATTR_MAX_ROWS, a[1], 6, a[2]),
    ST(SQLSetStmtOption, ", option=1, value=7", "SQL_SUCCESS", SQL_MAX_ROWS, 7),
    ST(SQLGetStmtOption, ", option=1, value=&1", "SQL_SUCCESS", SQL_MAX_ROWS, a[1]),
    BOTH(DB, SQLSetConnectAttr, ", attribute=103, value=0x7, string_length=-6", "SQL_SUCCESS", SQL_ATTR_LOGIN_TIMEOUT, odbc_number(7), -6),
    BOTH(DB, SQLGetConnectAttr, ", attribute=103, value=&1, buffer_length=6, string_length=&2", "SQL_SUCCESS", SQL_ATTR_LOGIN_TIMEOUT, a[1], 6, a[2]),
    DB(SQLSetConnectOption, ", option=103, value=7", "SQL_SUCCESS", SQL_LOGIN_TIMEOUT, 7),
    DB(SQLGetConnectOption, ", option=103, value=&1", "SQL_SUCCESS", SQL_LOGIN_TIMEOUT, a[1]),
    // The connection
    BOTH(DB, SQLGetInfo, ", info_type=17, info_value=&1, buffer_length=60, string_length=&2", "0", SQL_DBMS_NAME, a[1], 60, a[2]),
    DB(SQLGetFunctions, ", function_id=13, supported=&1", "0", SQL_API_SQLFETCH, a[1]),
#define NATIVE(length) ", in_statement_text='q'[" length "], out_statement_text=&1, buffer_length=20, text_length2=&2"
    DB(SQLNativeSql, NATIVE("SQL_NTS"), "0", ansi("q"), SQL_NTS, a[1], 20, a[2]), DB(SQLNativeSqlW, NATIVE("1"), "0", wide(u"q"), 1, a[1], 20, a[2]),
    ROW(SQLEndTran, "handle_type=2, handle=db, completion_type=1", "SQL_SUCCESS", SQL_HANDLE_DBC, a.db, SQL_ROLLBACK),
    // Diagnostics and handles
    BOTH(ROW, SQLGetDiagRec, "handle_type=3, handle=st, rec_number=5, sqlstate=&1, native=&2, message_text=&3, buffer_length=20, text_length_ptr=&4",
        "SQL_NO_DATA", SQL_HANDLE_STMT, a.st, 5, a[1], a[2], a[3], 20, a[4]),
    BOTH(ROW, SQLGetDiagField, "handle_type=3, handle=st, rec_number=5, diag_identifier=2, diag_info_ptr=&1, buffer_length=20, string_length_ptr=&2",
        "SQL_SUCCESS", SQL_HANDLE_STMT, a.st, 5, SQL_DIAG_NUMBER, a[1], 20, a[2]),
    ROW(SQLAllocHandle, "input_handle=db, handle type=4", "0", SQL_HANDLE_DESC, a.db, a[0]),
    ROW_AS("SQLAllocHandle", SQLAllocStmt, "input_handle=db, handle type=3", "0", a.db, a[0]),
    ROW(SQLFreeHandle, "input_handle=st, handle type=3", "0", SQL_HANDLE_STMT, a.st),
    // Connecting, with a handle that logs from before
    DB(SQLDisconnect, "", "SQL_SUCCESS"),
#define SOURCE "input_handle=db, server_name = 'none'[4], user_name = 'u'[1], authentication = 'p'[SQL_NTS]"
    ROW(SQLConnect, SOURCE, "SQL_ERROR", a.db, ansi("none"), 4, ansi("u"), 1, ansi("p"), SQL_NTS),
    ROW_AS("SQLConnect", SQLConnectW, SOURCE, "SQL_ERROR", a.db, U("none"), 4, U("u"), 1, U("p"), SQL_NTS),
#define STRING(text) "connection_handle=db, window_handle=&1, in_connection_string=" text ", out_connection_string=&2, buffer_length=20, " \
        "string_length2_ptr=&3, driver_completion=0"
    ROW(SQLDriverConnect, STRING("'PWD=p'[SQL_NTS]"), "SQL_ERROR", a.db, a[1], ansi("PWD=p"), SQL_NTS, a[2], 20, a[3], SQL_DRIVER_NOPROMPT),
    ROW_AS("SQLDriverConnect", SQLDriverConnectW, STRING("'PWD'[3]"), "SQL_ERROR", a.db, a[1], U("PWD=p"), 3, a[2], 20, a[3], SQL_DRIVER_NOPROMPT),
    ROW_AS("SQLFreeHandle", SQLFreeConnect, "input_handle=db, handle type=2", "-", a.db),
};
// clang-format on

// Environments never log, so that these leave no record.
static constexpr const char *silent_functions[] = {"SQLAllocEnv", "SQLAllocConnect",
                                                   "SQLSetEnvAttr", "SQLGetEnvAttr", "SQLFreeEnv"};

static std::set<std::string> exported_functions()
{
    const std::string list = log_folder::content(VHCASS_SOURCE_DIR "/dll/vhcass.map");
    static const std::regex name("\\bSQL\\w+");
    return {std::sregex_token_iterator(list.begin(), list.end(), name), {}};
}

TEST_F(log_folder, every_function_names_its_arguments_and_its_result)
{
    const wire_ptr wire = wire_logged_on({}, "LOGGING=yes;LOGFILE=" + file);
    const node_columns column = {{"name", type_of(NODE_INT)}};
    node_answer_rest(wire->node.get(), [&](const node_request &request) {
        if (request.opcode == NODE_PREPARE)
            return std::vector{prepared_frame("id", column, column)};
        if (request.body.find("system_schema") != bytes::npos)
            return std::vector{rows_frame(column, {})};
        return std::vector{rows_frame(column, {{be32(7)}, {be32(8)}})};
    });
    walk_arguments arguments = {.st = wire->stmt, .db = wire->conn, .ds = nullptr, .out = {}};
    SQLGetStmtAttr(wire->stmt, SQL_ATTR_APP_ROW_DESC, &arguments.ds, 0, nullptr);
    wire->stmt = nullptr;

    std::set<std::string> missing = exported_functions();
    for (const char *name : silent_functions)
        missing.erase(name);
    for (const walk_row &row : walk) {
        SCOPED_TRACE(row.function);
        missing.erase(row.function);
        fs::remove(file);
        row.call(arguments);
        const row_list records = records_of(arguments.names(content(file)));
        ASSERT_FALSE(records.empty());
        const std::string name = row.logged_name;
        // SQLConnect's arguments come as a detail.
        EXPECT_TRUE(records.front().ends_with((name == "SQLConnect" ? ") DETAIL " : ") ENTRY ") +
                                              name + ": " + row.arguments))
            << records.front();
        const std::string source = records.front().substr(0, records.front().find(':'));
        EXPECT_TRUE(source == name + ".c" || source == std::string(row.function) + ".c") << source;
        const std::string exit = std::string(") EXIT ") + name + ": return value=" + row.code;
        EXPECT_TRUE(std::string(row.code) == "-" || records.back().ends_with(exit))
            << records.back();
        for (const std::string &record : {records.front(), records.back()})
            EXPECT_TRUE(is_written_there(record)) << record;
    }
    EXPECT_EQ(missing, std::set<std::string>());
    SQLAllocConnect(wire->env, &wire->conn);
}

// ---- Failures of calls --------------------------------------------------------------------------

// The record in front of each posting, where it is of an error.
static row_list told_before_postings(const std::string &log)
{
    row_list told;
    std::string before;
    for (const std::string &record : records_of(log)) {
        const std::size_t error = before.find(" ERROR ");
        if (record.find(" DETAIL Posting ") != std::string::npos)
            told.push_back(error == std::string::npos ? "nothing" : before.substr(error + 7));
        before = record;
    }
    return told;
}

TEST_F(log_folder, each_failure_of_a_call_is_recorded_before_it_is_posted)
{
    struct failing_call {
        const char *told;
        std::function<void(walk_arguments &)> call;
    };
#define FAILS(told, function, ...)                                                                 \
    {                                                                                              \
        told, [](walk_arguments &a) { function(__VA_ARGS__); }                                     \
    }
#define ATTR(handle, id) a.handle, id, odbc_number(3), 0
    // clang-format off
    static const failing_call calls[] = {
        FAILS("SQLBindCol: no result set", SQLBindCol, a.st, 1, SQL_C_DEFAULT, a[1], 8, a[2]),
        FAILS("SQLDescribeParam: nothing known of parameter 0", SQLDescribeParam, a.st, 0, a[1], a[2], a[3], a[4]),
        FAILS("SQLFreeHandle: implicit descriptor", SQLFreeHandle, SQL_HANDLE_DESC, a.ds),
        FAILS("SQLGetConnectAttr: catalog truncated", SQLGetConnectAttr, a.db, SQL_ATTR_CURRENT_CATALOG, a[1], 3, a[2]),
        FAILS("SQLGetConnectAttrW: attribute 104 is not the driver's", SQLGetConnectAttrW, a.db, SQL_OPT_TRACE, a[1], 3, a[2]),
        FAILS("SQLSetConnectAttr: invalid isolation level 3", SQLSetConnectAttr, ATTR(db, SQL_ATTR_TXN_ISOLATION)),
        FAILS("SQLSetConnectAttr: unexpected attribute 10001", SQLSetConnectAttr, ATTR(db, SQL_ATTR_AUTO_IPD)),
        FAILS("SQLSetStmtAttr: implementation descriptor", SQLSetStmtAttr, ATTR(st, SQL_ATTR_IMP_ROW_DESC)),
        FAILS("SQLSetStmtAttrW: implicit descriptor of another role", SQLSetStmtAttrW, a.st, SQL_ATTR_APP_PARAM_DESC, a.ds, 0),
        FAILS("SQLGetStmtOption: no bookmarks", SQLGetStmtOption, a.st, SQL_GET_BOOKMARK, a[1]),
        FAILS("SQLGetCursorNameW: name truncated", SQLGetCursorNameW, a.st, a[1], 3, a[2]),
        FAILS("SQLGetDescField: invalid record 9 of 1", SQLGetDescField, a.ds, 9, SQL_DESC_NAME, a[1], 3, a[2]),
        FAILS("SQLGetDescRec: invalid record 9 of 1", SQLGetDescRec, a.ds, 9, a[1], 3, a[2], a[3], a[4], a[5], a[6], a[7], a[8]),
        FAILS("SQLGetDescField: unexpected field 7", SQLGetDescField, a.ds, 1, 7, a[1], 3, a[2]),
        FAILS("SQLSetDescFieldW: unexpected field", SQLSetDescFieldW, a.ds, 1, 7, a[1], 3),
        FAILS("SQLSetDescRec: invalid record -1", SQLSetDescRec, a.ds, -1, 4, 0, 4, 0, 0, a[1], a[2], a[3]),
        FAILS("SQLNativeSql: text truncated", SQLNativeSql, a.db, ansi("select"), SQL_NTS, a[1], 3, a[2]),
        FAILS("SQLGetInfo: text truncated", SQLGetInfo, a.db, SQL_DBMS_NAME, a[1], 3, a[2]),
        FAILS("SQLStatistics: table name not supplied", SQLStatistics, a.st, nullptr, 0, nullptr, 0, nullptr, 0, 0, 0),
        {"SQLExecDirectWide: all parameter sets skipped", [](walk_arguments &a) {
            *static_cast<SQLUSMALLINT *>(a[1]) = SQL_PARAM_IGNORE;
            SQLSetStmtAttr(a.st, SQL_ATTR_PARAM_OPERATION_PTR, a[1], 0);
            SQLExecDirect(a.st, ansi("q"), 1); }},
        {"cass_check_cursor_change: cursor type changed", [](walk_arguments &a) {
            SQLSetStmtAttr(a.st, SQL_ATTR_CURSOR_TYPE, odbc_number(SQL_CURSOR_STATIC), 0);
            SQLGetTypeInfo(a.st, SQL_INTEGER); }},
        FAILS("SQLDescribeCol: name truncated", SQLDescribeCol, a.st, 1, a[1], 3, a[2], a[3], a[4], a[5], a[6]),
        FAILS("SQLColAttributeW: text truncated", SQLColAttributeW, a.st, 1, SQL_DESC_NAME, a[1], 6, a[2], a[3]),
        {"SQLExecDirectWide: connection is busy with results of another hstmt", [](walk_arguments &a) {
            SQLHSTMT other = nullptr;
            SQLFreeStmt(a.st, SQL_CLOSE);
            SQLAllocHandle(SQL_HANDLE_STMT, a.db, &other);
            SQLProcedures(other, nullptr, 0, nullptr, 0, nullptr, 0);
            SQLExecDirect(a.st, ansi("q"), 1);
            SQLFreeHandle(SQL_HANDLE_STMT, other); }},
    };
    // clang-format on
    const wire_ptr wire = wire_logged_on({}, "LOGGING=12;LOGFILE=" + file);
    walk_arguments arguments = {.st = wire->stmt, .db = wire->conn, .ds = nullptr, .out = {}};
    SQLGetStmtAttr(wire->stmt, SQL_ATTR_APP_ROW_DESC, &arguments.ds, 0, nullptr);
    for (const failing_call &failing : calls) {
        fs::remove(file);
        failing.call(arguments);
        EXPECT_EQ(told_before_postings(content(file)), row_list{failing.told});
    }
}

// ---- Switching it on ----------------------------------------------------------------------------

static std::string kinds_in(const std::string &log)
{
    std::string list;
    for (const std::string kind : {"DETAIL", "ENTRY", "ERROR", "EXIT", "PKTDUMP"})
        if (log.find("\n\t\t" + kind + ":\t") != std::string::npos)
            list += (list.empty() ? "" : " ") + kind;
    return list;
}

TEST_F(log_folder, three_places_switch_it_on)
{
    constexpr char all[] = "DETAIL ENTRY ERROR EXIT PKTDUMP";
    const std::string to_file = "LogFile=" + file;
    // A section of odbc.ini, and what is added to its name in a connection string; "-" stands for
    // SQLConnect. The word "onerror" is none in a section that a connection string names.
    const struct {
        std::string section, more, kinds;
        bool dumped;
    } cases[] = {
        {"Logging=yes\n" + to_file, "-", all, false},
        {"Logging=3\n" + to_file, "-", "ENTRY EXIT", false},
        {"Logging=onerror\n" + to_file, "-", all, true},
        {"Logging=off\n" + to_file, "-", "", false},
        {"Logging=error\n" + to_file, "", all, true},
        {"Logging=onerror\n" + to_file, "", "", false},
        {"", "LOGGING=on;" + to_file, all, false},
        {"", "LOGGING=onerror;" + to_file, all, true},
        {"Logging=no\nLogFile=/nowhere", "logging=0x14;" + to_file, "DETAIL PKTDUMP", false},
        {"Logging=8\n" + to_file, "logging=no", "ERROR", false},
    };
    const wire_ptr wire = wire_open();
    const std::string ini = folder / "odbc.ini";
    setenv("ODBCINI", ini.c_str(), 1);
    std::ofstream sections(ini);
    for (std::size_t i = 0; i < std::size(cases); i++)
        sections << "[log" << i << "]\nServer=" << node_address(wire->node.get()) << "\n"
                 << cases[i].section << "\n";
    sections.close();
    for (std::size_t i = 0; i < std::size(cases); i++) {
        const auto &c = cases[i];
        SCOPED_TRACE(c.section + " | " + c.more);
        const std::string name = "log" + std::to_string(i);
        SQLFreeHandle(SQL_HANDLE_DBC, wire->conn);
        SQLAllocHandle(SQL_HANDLE_DBC, wire->env, &wire->conn);
        expect_logon(wire->node.get());
        EXPECT_CONN(SQL_SUCCESS, wire->conn,
                    c.more == "-"
                        ? SQLConnect(wire->conn, odbc_text(name), SQL_NTS, nullptr, 0, nullptr, 0)
                        : wire_driver_connect(wire->conn, "DSN=" + name + ";" + c.more));
        wire->stmt = wire_new_stmt(wire.get());
        run_query(wire, "select 1", error_frame(0x2200, "no"), SQL_ERROR);
        const std::string log = content(file);
        EXPECT_EQ(kinds_in(log), c.kinds);
        EXPECT_EQ(log.find("Start of log dump") != std::string::npos, c.dumped);
        SQLFreeHandle(SQL_HANDLE_STMT, wire->stmt);
        wire->stmt = nullptr;
        SQLDisconnect(wire->conn);
        fs::remove(file);
    }
}

// ---- Failures -----------------------------------------------------------------------------------

TEST_F(log_folder, each_failure_of_a_connect_is_recorded_before_it_is_posted)
{
    const wire_ptr wire = wire_open();
    const std::string here = node_address(wire->node.get());
    const std::string dead = std::to_string(node_port(node_start().get()));
    const node_tls tls = {.chain = make_certificate({}).pem, .key = key_pem(KEY_ONE)};
    // Settings, how the server ends the session, and the failures.
    const std::tuple<std::string, node_ending, row_list> cases[] = {
        {"", CLOSE, {"SQLDriverConnect: server name and connect bundle not specified"}},
        {"SERVER=:x", CLOSE, {"cass_open_ipv4: Failed to extract numeric port from 'x'"}},
        {"SERVER=no host", CLOSE, {"Failed to find host address 'no host'"}},
        {"SERVER=127.0.0.1;ipv6=yes",
         CLOSE,
         {"cass_open_ipv6: Failed to find host address '127.0.0.1'"}},
        {"SERVER=127.0.0.1:" + dead + ",127.0.0.1:" + dead,
         CLOSE,
         {"cass_open_ipv4: OS Error: 'Connection refused'",
          "cass_open_ipv4: OS Error: 'Connection refused'"}},
        {"SERVER=" + here,
         CLOSE,
         {"conn_read_raw: read failed (peer shutdown)",
          "cass_establish_connection: failed to return a packet"}},
        {"SERVER=" + here,
         RESET,
         {"conn_read_raw: read failed 104 Connection reset by peer",
          "cass_establish_connection: failed to return a packet"}},
        {"SERVER=" + here + ";Encrypt=yes;TrustServerCertificate=yes",
         RESET,
         {"conn_read_raw: read failed", "cass_establish_connection: failed to return a packet"}},
    };
    for (const auto &[settings, ending, failures] : cases) {
        SCOPED_TRACE(settings);
        node_answer_rest(wire->node.get(), [how = ending](const node_request &) {
            return std::vector{no_answer(how)};
        });
        if (settings.find("Encrypt") != std::string::npos)
            node_use_tls(wire->node.get(), tls);
        wire_driver_connect(wire->conn, settings + ";LOGGING=12;LOGFILE=" + file);
        row_list told;
        std::string before;
        for (const std::string &record : records_of(content(file))) {
            const std::size_t error = before.find(" ERROR ");
            if (record.find("Posting Internal Error") != std::string::npos)
                told.push_back(error == std::string::npos ? "nothing" : before.substr(error + 7));
            before = record;
        }
        EXPECT_EQ(told, failures);
        fs::remove(file);
    }
}

TEST_F(log_folder, each_failure_of_a_result_is_recorded)
{
    const wire_ptr wire = wire_logged_on({}, "LOGGING=8;LOGFILE=" + file);
    const auto row_of = [](int type, const bytes &cell) {
        return rows_frame({{"a", type_of(type)}}, {{cell}});
    };
    const std::pair<node_frame, std::string> cases[] = {
        {row_of(NODE_DURATION, ""), "(STMT) ERROR decode_metadata: type not supported 21"},
        {row_of(NODE_DURATION, ""), "(STMT) ERROR fetch_data_row: type not supported 21"},
        {row_of(NODE_INT, "abc"), "(STMT) ERROR fetch_data_row: unexpected end of packet"},
        {{.opcode = NODE_RESULT, .body = be32(2) + be32(0) + be32(-1)},
         "(STMT) ERROR decode_result_packet: unexpected end of packet"},
        {row_of(NODE_VARCHAR, "x"), "(STMT) ERROR get_slong: text that is no number for column 1"},
        {row_of(NODE_DATE, be32(0)),
         "(STMT) ERROR get_slong: conversion not possible for column 1"},
    };
    for (const auto &[reply, record] : cases) {
        fs::remove(file);
        expect_query(wire->node.get(), "q", {reply});
        exec(wire->stmt, "q");
        SQLFetch(wire->stmt);
        SQLINTEGER value;
        SQLGetData(wire->stmt, 1, SQL_C_SLONG, &value, 0, nullptr);
        const row_list records = records_of(content(file));
        EXPECT_TRUE(std::ranges::any_of(records, [&wanted = record](const std::string &one) {
            return one.ends_with(wanted);
        })) << content(file);
        SQLFreeStmt(wire->stmt, SQL_CLOSE);
    }
}

// ---- Frames -------------------------------------------------------------------------------------

// The bytes of all dumps whose record begins with a title, one behind the other.
static bytes dumps_of(const std::string &log, const std::string &title)
{
    const std::string kind = "\t\tPKTDUMP:\t ", margin(10, ' ');
    bytes dumps;
    bool wanted = false;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(kind))
            wanted = line.starts_with(kind + title);
        else if (wanted && line.starts_with(margin))
            dumps += from_hex(std::string_view(line).substr(10, 48));
    }
    return dumps;
}

TEST_F(log_folder, frames_are_dumped_in_both_directions)
{
    const wire_ptr wire = wire_logged_on({}, "LOGGING=16;LOGFILE=" + file);
    const bytes text = pattern(1000);
    const node_frame reply = rows_frame({{"v", type_of(NODE_VARCHAR)}}, {{text}});
    run_query(wire, "select v from t", reply);
    EXPECT_EQ(fetch_all(wire->stmt), row_list{text});

    const std::string log = content(file);
    EXPECT_EQ(kinds_in(log), "PKTDUMP");
    const auto request = [](int opcode, const bytes &body) {
        return frame_on_wire({.opcode = opcode, .body = body, .version = 4}, false, 0);
    };
    EXPECT_EQ(dumps_of(log, "Sent "), request(NODE_OPTIONS, "") +
                                          request(NODE_STARTUP, startup_body(false)) +
                                          request(NODE_QUERY, query_body("select v from t")));
    const bytes received = dumps_of(log, "Packet recieved ");
    EXPECT_TRUE(received.ends_with(reply.body));
    EXPECT_EQ(dumps_of(log, "Read "), received);
}

// ---- A log that cannot be written ---------------------------------------------------------------

// What an application sees of two queries, one of them refused.
static std::string seen_with(const std::string &settings)
{
    const wire_ptr wire = wire_logged_on({}, settings);
    run_query(wire, "select v from t", rows_frame({{"v", type_of(NODE_INT)}}, {{be32(7)}}));
    const std::string seen = ::testing::PrintToString(fetch_all(wire->stmt));
    run_query(wire, "selec", error_frame(0x2000, "no"), SQL_ERROR);
    return seen + ::testing::PrintToString(stmt_records(wire->stmt));
}

TEST_F(log_folder, a_log_that_cannot_be_written_changes_nothing)
{
    const std::string seen = seen_with("");
    EXPECT_EQ(seen, "{ \"7\" }{ \"" + link_failure + "error code 8192 'no'\" }");
    for (const std::string &target : {folder.string(), file + "/missing", std::string("/dev/full")})
        for (const std::string word : {"yes", "onerror"})
            EXPECT_EQ(seen_with("LOGGING=" + word + ";LOGFILE=" + target), seen) << target;
    fs::remove(file);  // the memory log goes where the process's first one was to go

    // Without a file it goes to standard error, with "process" to files of other names.
    testing::internal::CaptureStderr();
    EXPECT_EQ(seen_with("LOGGING=yes"), seen);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("EXIT:\t SQLFetch: return value=100"),
              std::string::npos);
    EXPECT_EQ(seen_with("LOGGING=process;LOGFILE=" + file), seen);
    char own_name[32];
    std::snprintf(own_name, sizeof own_name, ".%08X.%08X", static_cast<unsigned>(getpid()),
                  static_cast<unsigned>(gettid()));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
    EXPECT_NE(kinds_in(content(file + own_name)), "");
}
