// The log as an application gets it from the built library: each function's records, failures, the
// frames in it, and where it goes.
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <regex>
#include <sstream>

#include "tests/wire/wire_support.h"

namespace fs = std::filesystem;

struct log_folder : ::testing::Test {
    const file_folder folder;
    const std::string file = folder.path + "/driver.log";
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

// ---- Every function's two records ---------------------------------------------------------------

static constexpr auto &ansi = odbc_text;
static constexpr auto &wide = odbc_wide;

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
            text = replaced(text, form.str(), label);
        };
        name(st, "st"), name(db, "db"), name(ds, "ds");
        for (int i = 0; i < 10; i++)
            name(out[i], "&" + std::to_string(i));
        return text;
    }
};

// A function with its handle and nothing else.
template <typename... Arguments>
static SQLRETURN bare(SQLRETURN (*function)(SQLHANDLE, Arguments...), SQLHANDLE handle)
{
    return function(handle, Arguments{}...);
}

struct walk_row {
    const char *function;
    std::function<SQLRETURN(walk_arguments &)> call;
    const char *arguments;  // how they begin in the first record, or with "." behind them all
    const char *logged_name = function;  // in records, and with ".c" their source
};

// clang-format off
// A statement's, a connection's or a descriptor's function, and one that is there in both forms.
#define ST(f) {#f, [](walk_arguments &a) { return bare(f, a.st); }, "statement_handle=st"}
#define DB(f) {#f, [](walk_arguments &a) { return bare(f, a.db); }, "connection_handle=db"}
#define DS(f) {#f, [](walk_arguments &a) { return bare(f, a.ds); }, "descriptor_handle=ds"}
#define BOTH(KIND, f) KIND(f), KIND(f##W)
#define CALL(arguments, f, ...) {#f, [](walk_arguments &a) { return f(__VA_ARGS__); }, arguments}
#define CALL_AS(name, arguments, f, ...) \
    {#f, [](walk_arguments &a) { return f(__VA_ARGS__); }, arguments, name}

static const walk_row walk[] = {
    CALL("statement_handle=st, column_number=1", SQLBindCol, a.st, 1, SQL_C_DEFAULT, a[1], 8, a[2]),
    BOTH(ST, SQLPrepare), ST(SQLNumParams), ST(SQLDescribeParam), ST(SQLExecute), ST(SQLPutData), ST(SQLParamData), ST(SQLCancel),
    CALL("statement_handle=st, parameter_number=1, input_output_type=1, value_type=-16, parameter_type=4, column_size=7, decimal_digits=3, "
        "parameter_value=&1, buffer_length=9, strlen_or_ind=&2.", SQLBindParameter, a.st, 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 7, 3, a[1], 9, a[2]),
    CALL("statement_handle=st, statement_text='sel\\xE9ct'[6].", SQLExecDirect, a.st, ansi("sel\xE9""ct 1"), 6),
    CALL("statement_handle=st, statement_text='sel\\x20ACct'[SQL_NTS].", SQLExecDirectW, a.st, wide(u"sel\u20ACct"), SQL_NTS),
    ST(SQLNumResultCols), ST(SQLRowCount), ST(SQLDescribeColW), BOTH(ST, SQLColAttributes), ST(SQLColAttributeW),
    CALL("statement_handle=st", SQLDescribeCol, a.st, 1, a[1], 3, a[2], a[3], a[4], a[5], a[6]),
    CALL("statement_handle=st, column_number=1, field_identifier=1011, character_attribute=&1, buffer_length=3, string_length=&2, numeric_attribute=&3.",
        SQLColAttribute, a.st, 1, SQL_DESC_NAME, a[1], 3, a[2], a[3]),
    ST(SQLFetch), ST(SQLGetData), ST(SQLFetchScroll), ST(SQLExtendedFetch), ST(SQLMoreResults), ST(SQLCloseCursor), ST(SQLFreeStmt),
    BOTH(ST, SQLSetCursorName), ST(SQLGetCursorName), CALL("statement_handle=st", SQLGetCursorNameW, a.st, a[1], 3, a[2]),
    BOTH(ST, SQLTables), BOTH(ST, SQLColumns), BOTH(ST, SQLColumnPrivileges), BOTH(ST, SQLProcedureColumns), BOTH(ST, SQLProcedures),
    BOTH(ST, SQLTablePrivileges), BOTH(ST, SQLPrimaryKeys), BOTH(ST, SQLStatistics), BOTH(ST, SQLSpecialColumns), ST(SQLForeignKeysW),
    CALL("statement_handle=st, pk_catalog_name='c'[1], pk_schema_name='s'[SQL_NTS], pk_table_name='t'[1], fk_catalog_name='d'[1], "
        "fk_schema_name=(nul)[0], fk_table_name='u'[1].", SQLForeignKeys, a.st, ansi("c"), 1, ansi("s"), SQL_NTS, ansi("t"), 1, ansi("d"), 1, nullptr, 0, ansi("u"), 1),
    // Type information has a cursor of its own.
    CALL("statement_handle=st, attribute=6", SQLSetStmtAttr, a.st, SQL_ATTR_CURSOR_TYPE, odbc_number(SQL_CURSOR_STATIC), 0),
    BOTH(ST, SQLGetTypeInfo),
    BOTH(DS, SQLGetDescField), BOTH(DS, SQLSetDescField), DS(SQLGetDescRecW),
    CALL("descriptor_handle=ds", SQLGetDescRec, a.ds, 99, a[1], 3, a[2], a[3], a[4], a[5], a[6], a[7], a[8]),
    CALL("descriptor_handle=ds, rec=-1, type=4, subtype=5, length=6, precision=7, scale=8, data=&1, string_lengt=&2, indicator=&3.", SQLSetDescRec,
        a.ds, -1, SQL_INTEGER, 5, 6, 7, 8, a[1], a[2], a[3]),
    CALL("statement_handle=st", SQLSetStmtAttrW, a.st, SQL_ATTR_IMP_ROW_DESC, a[1], 0),
    BOTH(ST, SQLGetStmtAttr), ST(SQLSetStmtOption), CALL("statement_handle=st", SQLGetStmtOption, a.st, SQL_GET_BOOKMARK, a[1]),
    DB(SQLGetConnectAttrW), DB(SQLSetConnectOption), DB(SQLGetConnectOption), DB(SQLSetConnectAttrW),
    CALL("connection_handle=db", SQLSetConnectAttr, a.db, SQL_ATTR_AUTO_IPD, odbc_number(3), 0),
    CALL("connection_handle=db", SQLGetConnectAttr, a.db, SQL_ATTR_CURRENT_CATALOG, a[1], 3, a[2]),
    DB(SQLGetInfoW), DB(SQLGetFunctions), DB(SQLNativeSqlW), CALL("connection_handle=db", SQLGetInfo, a.db, SQL_DBMS_NAME, a[1], 3, a[2]),
    CALL("connection_handle=db", SQLNativeSql, a.db, ansi("select"), SQL_NTS, a[1], 3, a[2]),
    CALL("handle_type=2, handle=db", SQLEndTran, SQL_HANDLE_DBC, a.db, SQL_ROLLBACK),
    CALL("handle_type=3, handle=st", SQLGetDiagRec, SQL_HANDLE_STMT, a.st, 5, a[1], a[2], a[3], 20, a[4]),
    CALL("handle_type=3, handle=st", SQLGetDiagRecW, SQL_HANDLE_STMT, a.st, 5, a[1], a[2], a[3], 20, a[4]),
    CALL("handle_type=3, handle=st", SQLGetDiagField, SQL_HANDLE_STMT, a.st, 5, 2, a[1], 20, a[2]),
    CALL("handle_type=3, handle=st, rec_number=5, diag_identifier=2, diag_info_ptr=&1, buffer_length=20, string_length_ptr=&2.", SQLGetDiagFieldW,
        SQL_HANDLE_STMT, a.st, 5, SQL_DIAG_NUMBER, a[1], 20, a[2]),
    CALL("input_handle=db, handle type=4", SQLAllocHandle, SQL_HANDLE_DESC, a.db, a[0]),
    CALL_AS("SQLAllocHandle", "input_handle=db, handle type=3", SQLAllocStmt, a.db, a[0]),
    CALL("input_handle=ds, handle type=4", SQLFreeHandle, SQL_HANDLE_DESC, a.ds),
    CALL("input_handle=st, handle type=3", SQLFreeHandle, SQL_HANDLE_STMT, a.st),
    // Connecting, with a handle that logs from before.
    DB(SQLDisconnect),
    CALL("input_handle=db, server_name = 'none'[4], user_name = 'u'[1], authentication = 'p'[SQL_NTS].", SQLConnect,
        a.db, ansi("none"), 4, ansi("u"), 1, ansi("p"), SQL_NTS),
    CALL_AS("SQLConnect", "input_handle=db", SQLConnectW, a.db, nullptr, 0, nullptr, 0, nullptr, 0),
    CALL("connection_handle=db, window_handle=&1, in_connection_string='PWD=p'[SQL_NTS], out_connection_string=&2, buffer_length=20, "
        "string_length2_ptr=&3, driver_completion=0.", SQLDriverConnect, a.db, a[1], ansi("PWD=p"), SQL_NTS, a[2], 20, a[3], SQL_DRIVER_NOPROMPT),
    CALL_AS("SQLDriverConnect", "connection_handle=db", SQLDriverConnectW, a.db, nullptr, wide(u"PWD"), 3, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT),
    // Refused by the text, and by a port on which nobody listens.
    CALL("connection_handle=db", SQLDriverConnect, a.db, nullptr, ansi("SERVER=:x"), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT),
    CALL("connection_handle=db", SQLDriverConnect, a.db, nullptr, ansi("SERVER=127.0.0.1:1"), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT),
    CALL_AS("SQLFreeHandle", "input_handle=db", SQLFreeConnect, a.db),
};
// clang-format on

TEST_F(log_folder, every_function_names_its_arguments_and_its_result)
{
    const wire_ptr wire = wire_logged_on({}, "LOGGING=yes;LOGFILE=" + file);
    const node_columns column = {{"name", type_of(NODE_INT)}};
    node_answer_rest(wire->node, [&](const node_request &request) {
        if (request.opcode == NODE_PREPARE)
            return std::vector{prepared_frame("id", column, column)};
        if (request.body.find("system_schema") != bytes::npos)
            return std::vector{rows_frame(column, {})};
        return std::vector{rows_frame(column, {{be32(7)}, {be32(8)}})};
    });
    walk_arguments arguments = {.st = wire->stmt, .db = wire->conn, .ds = nullptr, .out = {}};
    SQLGetStmtAttr(wire->stmt, SQL_ATTR_APP_ROW_DESC, &arguments.ds, 0, nullptr);
    wire->stmt = nullptr;

    for (const walk_row &row : walk) {
        SCOPED_TRACE(row.function);
        fs::remove(file);
        const SQLRETURN code = row.call(arguments);
        const row_list records = records_of(arguments.names(file_content(file)));
        ASSERT_FALSE(records.empty());
        // What fails is recorded before it is posted.
        for (std::size_t i = 0; i < records.size(); i++)
            EXPECT_TRUE(records[i].find(" DETAIL Posting ") == std::string::npos ||
                        (i > 0 && records[i - 1].find(" ERROR ") != std::string::npos))
                << records[i];
        const std::string name = row.logged_name, first = records.front() + ".";
        // SQLConnect's arguments come as a detail.
        const std::size_t at = first.find(name == "SQLConnect" ? ") DETAIL " : ") ENTRY ");
        EXPECT_TRUE(first.substr(at).find(" " + name + ": " + row.arguments) < 10) << first;
        const std::string source = first.substr(0, first.find(':'));
        EXPECT_TRUE(source == name + ".c" || source == std::string(row.function) + ".c") << source;
        const std::string exit = ") EXIT " + name + ": return value=";
        EXPECT_TRUE(std::string_view(row.function) == "SQLFreeConnect" ||
                    records.back().ends_with(exit + std::to_string(code)) ||
                    records.back().ends_with(exit + code_name(code)))
            << records.back();
    }
    SQLAllocConnect(wire->env, &wire->conn);
}

// ---- Places ------------------------------------------------------------------------------------

// Without a file it goes to standard error, with "process" to files of other names, and "no" makes
// none.
TEST_F(log_folder, goes_where_the_settings_say)
{
    const auto fetch_logged = [](const std::string &settings) {
        const wire_ptr wire = wire_logged_on({}, settings);
        run_query(wire, "q", void_frame());
        SQLFetch(wire->stmt);
    };
    testing::internal::CaptureStderr();
    fetch_logged("LOGGING=yes");
    EXPECT_NE(testing::internal::GetCapturedStderr().find("EXIT:\t SQLFetch: return value=100"),
              std::string::npos);
    fetch_logged("LOGGING=no;LOGFILE=" + file);
    fetch_logged("LOGGING=process;LOGFILE=" + file);
    char own_name[32];
    std::snprintf(own_name, sizeof own_name, ".%08X.%08X", static_cast<unsigned>(getpid()),
                  static_cast<unsigned>(gettid()));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path), {}), 1);
    EXPECT_NE(file_content(file + own_name), "");
}
