// The log as an application gets it from the built library: each function's records, the places
// that switch it on, the frames in it, and calls that do not care whether it can be written.
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <set>
#include <sstream>

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

// A record: "SQLFetch.c (STMT) ENTRY SQLFetch: statement_handle=0x...".
static std::vector<std::string> records_of(const std::string &log)
{
    static const std::regex form("VHSQLODBC:\\[TID=[0-9A-F]+\\]\\[TIME=\\d+\\.000000\\]"
                                 "\\[([^:]*):\\d+\\]\\[\\w+(\\([A-Z]+\\))\\]\n"
                                 "\t\t([A-Z]+):\t ([^\n]*)\n");
    std::vector<std::string> records;
    for (std::sregex_iterator at(log.begin(), log.end(), form), end; at != end; ++at)
        records.push_back(at->str(1) + " " + at->str(2) + " " + at->str(3) + " " + at->str(4));
    return records;
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

// What the calls of the walk are given. The outputs' addresses, st, db and ds stand in the table of
// expected records under these names; "1" is out[1] and so on.
struct walk_arguments {
    SQLHSTMT st;
    SQLHDBC db;
    SQLHDESC ds;
    SQLLEN out[10][32];

    template <typename Value = void>
    Value *to(int number)
    {
        return static_cast<Value *>(static_cast<void *>(out[number]));
    }
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

#define ROW_AS(name, function, arguments, code, ...)                                               \
    {                                                                                              \
#function, name, arguments, code, [](walk_arguments & a) { return function(__VA_ARGS__); } \
    }
#define ROW(function, arguments, code, ...)                                                        \
    ROW_AS(#function, function, arguments, code, __VA_ARGS__)

// clang-format off
static const walk_row walk[] = {
    // Statements and parameters
    ROW(SQLPrepare, "statement_handle=st, statement_text='select ?'[SQL_NTS]", "0", a.st, ansi("select ?"), SQL_NTS),
    ROW(SQLPrepareW, "statement_handle=st, statement_text='select ?'[8]", "0", a.st, wide(u"select ?"), 8),
    ROW(SQLNumParams, "statement_handle=st, param_count=&1", "0", a.st, a.to<SQLSMALLINT>(1)),
    ROW(SQLDescribeParam, "statement_handle=st, ipar=1, pf_sql_type=&1, pcb_param_def=&2, pib_scale=&3, pf_nullable=&4", "SQL_SUCCESS",
        a.st, 1, a.to<SQLSMALLINT>(1), a.to<SQLULEN>(2), a.to<SQLSMALLINT>(3), a.to<SQLSMALLINT>(4)),
    ROW(SQLBindParameter, "statement_handle=st, parameter_number=1, input_output_type=1, value_type=-16, parameter_type=4, "
        "column_size=7, decimal_digits=3, parameter_value=&1, buffer_length=9, strlen_or_ind=&2", "0",
        a.st, 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 7, 3, a.to(1), 9, a.to<SQLLEN>(2)),
    ROW(SQLExecute, "statement_handle=st", "0", a.st),
    ROW(SQLPutData, "statement_handle=st, data=&1, strlen_or_ind=-3", "-1", a.st, a.to(1), SQL_NTS),
    ROW(SQLParamData, "statement_handle=st, value=&1", "0", a.st, a.to<SQLPOINTER>(1)),
    ROW(SQLExecDirect, "statement_handle=st, statement_text='sel\\xE9ct'[6]", "0", a.st, ansi("sel\xE9""ct 1"), 6),
    ROW(SQLExecDirectW, "statement_handle=st, statement_text='sel\\x20ACct'[SQL_NTS]", "0", a.st, wide(u"sel\u20ACct"), SQL_NTS),
    ROW(SQLCancel, "statement_handle=st", "0", a.st),
    // Results
    ROW(SQLNumResultCols, "statement_handle=st, column_count=&1", "0", a.st, a.to<SQLSMALLINT>(1)),
    ROW(SQLRowCount, "statement_handle=st, row_count=&1", "0", a.st, a.to<SQLLEN>(1)),
    ROW(SQLDescribeCol, "statement_handle=st, column_number=1, column_name=&1, buffer_length=20, name_length=&2, data_type=&3, "
        "column_size=&4, decimal_digits=&5, nullable=&6", "SQL_SUCCESS",
        a.st, 1, a.to<SQLCHAR>(1), 20, a.to<SQLSMALLINT>(2), a.to<SQLSMALLINT>(3), a.to<SQLULEN>(4), a.to<SQLSMALLINT>(5), a.to<SQLSMALLINT>(6)),
    ROW(SQLDescribeColW, "statement_handle=st, column_number=2, column_name=&1, buffer_length=20, name_length=&2, data_type=&3, "
        "column_size=&4, decimal_digits=&5, nullable=&6", "SQL_ERROR",
        a.st, 2, a.to<SQLWCHAR>(1), 20, a.to<SQLSMALLINT>(2), a.to<SQLSMALLINT>(3), a.to<SQLULEN>(4), a.to<SQLSMALLINT>(5), a.to<SQLSMALLINT>(6)),
#define COL_ATTRIBUTE(function) \
    ROW(function, "statement_handle=st, column_number=1, field_identifier=1011, character_attribute=&1, buffer_length=20, " \
        "string_length=&2, numeric_attribute=&3", "SQL_SUCCESS", a.st, 1, SQL_DESC_NAME, a.to(1), 20, a.to<SQLSMALLINT>(2), a.to<SQLLEN>(3))
    COL_ATTRIBUTE(SQLColAttribute), COL_ATTRIBUTE(SQLColAttributeW), COL_ATTRIBUTE(SQLColAttributes), COL_ATTRIBUTE(SQLColAttributesW),
    ROW(SQLBindCol, "statement_handle=st, column_number=2, target_type = -16, value=&1, buffer_len=8, ind_ptr=&2", "0",
        a.st, 2, SQL_C_SLONG, a.to(1), 8, a.to<SQLLEN>(2)),
    ROW(SQLFetch, "statement_handle=st", "0", a.st),
    ROW(SQLGetData, "statement_handle=st, column_number=1, target_type=1, target_value=&1, buffer_length=9, strlen_or_ind = &2", "0",
        a.st, 1, SQL_C_CHAR, a.to(1), 9, a.to<SQLLEN>(2)),
    ROW(SQLFetchScroll, "statement_handle=st, fetch_orientation=1, fetch_offset=-7", "0", a.st, SQL_FETCH_NEXT, -7),
    ROW(SQLExtendedFetch, "statement_handle=st, f_fetch_type=1, irow=-8, pcrow=&1, rgf_row_status=&2", "100",
        a.st, SQL_FETCH_NEXT, -8, a.to<SQLULEN>(1), a.to<SQLUSMALLINT>(2)),
    ROW(SQLMoreResults, "statement_handle=st, more_results=0", "100", a.st),
    ROW(SQLCloseCursor, "statement_handle=st", "0", a.st),
    ROW(SQLFreeStmt, "statement_handle=st, option=2", "0", a.st, SQL_UNBIND),
    ROW(SQLSetCursorName, "statement_handle=st, cursor_name='nam'[3]", "0", a.st, ansi("name"), 3),
    ROW(SQLSetCursorNameW, "statement_handle=st, cursor_name=(nul)[4]", "-1", a.st, nullptr, 4),
    ROW(SQLGetCursorName, "statement_handle=st, cursor_name=&1, buffer_length=20, name_length=&2", "0", a.st, a.to<SQLCHAR>(1), 20, a.to<SQLSMALLINT>(2)),
    ROW(SQLGetCursorNameW, "statement_handle=st, cursor_name=&1, buffer_length=20, name_length=&2", "0", a.st, a.to<SQLWCHAR>(1), 20, a.to<SQLSMALLINT>(2)),
    // Catalog
#define CATALOG_4(function, quote, third, fourth) \
    ROW(function, "statement_handle=st, catalog_name='c'[1], schema_name='s'[SQL_NTS], " third "='t'[1], " fourth "=(nul)[0]", "0", \
        a.st, quote("c"), 1, quote("s"), SQL_NTS, quote("t"), 1, nullptr, 0)
#define CATALOG_3(function, quote, third) \
    ROW(function, "statement_handle=st, catalog_name='c'[1], schema_name='s'[SQL_NTS], " third "='t'[1]", "0", \
        a.st, quote("c"), 1, quote("s"), SQL_NTS, quote("t"), 1)
#define U(text) wide(u##text)
    CATALOG_4(SQLTables, ansi, "table_name", "table_type"), CATALOG_4(SQLTablesW, U, "table_name", "table_type"),
    CATALOG_4(SQLColumns, ansi, "table_name", "column_name"), CATALOG_4(SQLColumnsW, U, "table_name", "column_name"),
    CATALOG_4(SQLColumnPrivileges, ansi, "table_name", "column_name"), CATALOG_4(SQLColumnPrivilegesW, U, "table_name", "column_name"),
    CATALOG_4(SQLProcedureColumns, ansi, "proc_name", "column_name"), CATALOG_4(SQLProcedureColumnsW, U, "proc_name", "column_name"),
    CATALOG_3(SQLProcedures, ansi, "proc_name"), CATALOG_3(SQLProceduresW, U, "proc_name"),
    CATALOG_3(SQLTablePrivileges, ansi, "table_name"), CATALOG_3(SQLTablePrivilegesW, U, "table_name"),
    CATALOG_3(SQLPrimaryKeys, ansi, "table_name"), CATALOG_3(SQLPrimaryKeysW, U, "table_name"),
#define STATISTICS(function, quote) \
    ROW(function, "statement_handle=st, catalog_name='c'[1], schema_name='s'[SQL_NTS], table_name='t'[1], unique=1, reserved=2", "0", \
        a.st, quote("c"), 1, quote("s"), SQL_NTS, quote("t"), 1, 1, 2)
    STATISTICS(SQLStatistics, ansi), STATISTICS(SQLStatisticsW, U),
#define SPECIAL_COLUMNS(function, quote) \
    ROW(function, "statement_handle=st, identifier_type=2, catalog_name='c'[1], schema_name='s'[SQL_NTS], table_name='t'[1], scope=1, nullable=0", "0", \
        a.st, 2, quote("c"), 1, quote("s"), SQL_NTS, quote("t"), 1, 1, 0)
    SPECIAL_COLUMNS(SQLSpecialColumns, ansi), SPECIAL_COLUMNS(SQLSpecialColumnsW, U),
#define FOREIGN_KEYS(function, quote) \
    ROW(function, "statement_handle=st, pk_catalog_name='c'[1], pk_schema_name='s'[SQL_NTS], pk_table_name='t'[1], fk_catalog_name='d'[1], fk_schema_name=(nul)[0], fk_table_name='u'[1]", "0", \
        a.st, quote("c"), 1, quote("s"), SQL_NTS, quote("t"), 1, quote("d"), 1, nullptr, 0, quote("u"), 1)
    FOREIGN_KEYS(SQLForeignKeys, ansi), FOREIGN_KEYS(SQLForeignKeysW, U),
    ROW(SQLGetTypeInfo, "statement_handle=st, data_type=4", "0", a.st, SQL_INTEGER),
    ROW(SQLGetTypeInfoW, "statement_handle=st, data_type=4", "0", a.st, SQL_INTEGER),
    // Descriptors
#define GET_DESC_FIELD(function) \
    ROW(function, "descriptor_handle=ds, rsc=3, field_identifier=1001, value=&1, buffer_length=6, string_length=&2", "SQL_SUCCESS", \
        a.ds, 3, SQL_DESC_COUNT, a.to(1), 6, a.to<SQLINTEGER>(2))
    GET_DESC_FIELD(SQLGetDescField), GET_DESC_FIELD(SQLGetDescFieldW),
    ROW(SQLSetDescField, "descriptor_handle=ds, rec=0, field_identifier=20, value=0x7, buffer_length=-6", "SQL_SUCCESS",
        a.ds, 0, SQL_DESC_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(7), -6),
    ROW(SQLSetDescFieldW, "descriptor_handle=ds, rec=0, field_identifier=20, value=0x1, buffer_length=-6", "SQL_SUCCESS",
        a.ds, 0, SQL_DESC_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(1), -6),
    ROW(SQLSetDescRec, "descriptor_handle=ds, rec=1, type=4, subtype=5, length=6, precision=7, scale=8, data=&1, string_lengt=&2, indicator=&3", "SQL_SUCCESS",
        a.ds, 1, SQL_INTEGER, 5, 6, 7, 8, a.to(1), a.to<SQLLEN>(2), a.to<SQLLEN>(3)),
#define GET_DESC_REC(function, text) \
    ROW(function, "descriptor_handle=ds, rsc=1, name=&1, buffer_length=6, string_length=&2, type=&3, sub_type=&4, length=&5, precision=&6, " \
        "scale=&7, nullable=&8", "SQL_SUCCESS", a.ds, 1, a.to<text>(1), 6, a.to<SQLSMALLINT>(2), a.to<SQLSMALLINT>(3), a.to<SQLSMALLINT>(4), \
        a.to<SQLLEN>(5), a.to<SQLSMALLINT>(6), a.to<SQLSMALLINT>(7), a.to<SQLSMALLINT>(8))
    GET_DESC_REC(SQLGetDescRec, SQLCHAR), GET_DESC_REC(SQLGetDescRecW, SQLWCHAR),
    // Attributes
#define SET_STMT_ATTR(function) \
    ROW(function, "statement_handle=st, attribute=1, value=0x7, string_length=-6", "SQL_SUCCESS", a.st, SQL_ATTR_MAX_ROWS, reinterpret_cast<SQLPOINTER>(7), -6)
    SET_STMT_ATTR(SQLSetStmtAttr), SET_STMT_ATTR(SQLSetStmtAttrW),
#define GET_STMT_ATTR(function) \
    ROW(function, "statement_handle=st, attribute=1, value=&1, buffer_length=6, string_length=&2", "SQL_SUCCESS", a.st, SQL_ATTR_MAX_ROWS, a.to(1), 6, a.to<SQLINTEGER>(2))
    GET_STMT_ATTR(SQLGetStmtAttr), GET_STMT_ATTR(SQLGetStmtAttrW),
    ROW(SQLSetStmtOption, "statement_handle=st, option=1, value=7", "SQL_SUCCESS", a.st, SQL_MAX_ROWS, 7),
    ROW(SQLGetStmtOption, "statement_handle=st, option=1, value=&1", "SQL_SUCCESS", a.st, SQL_MAX_ROWS, a.to(1)),
#define SET_CONNECT_ATTR(function) \
    ROW(function, "connection_handle=db, attribute=103, value=0x7, string_length=-6", "SQL_SUCCESS", a.db, SQL_ATTR_LOGIN_TIMEOUT, reinterpret_cast<SQLPOINTER>(7), -6)
    SET_CONNECT_ATTR(SQLSetConnectAttr), SET_CONNECT_ATTR(SQLSetConnectAttrW),
#define GET_CONNECT_ATTR(function) \
    ROW(function, "connection_handle=db, attribute=103, value=&1, buffer_length=6, string_length=&2", "SQL_SUCCESS", \
        a.db, SQL_ATTR_LOGIN_TIMEOUT, a.to(1), 6, a.to<SQLINTEGER>(2))
    GET_CONNECT_ATTR(SQLGetConnectAttr), GET_CONNECT_ATTR(SQLGetConnectAttrW),
    ROW(SQLSetConnectOption, "connection_handle=db, option=103, value=7", "SQL_SUCCESS", a.db, SQL_LOGIN_TIMEOUT, 7),
    ROW(SQLGetConnectOption, "connection_handle=db, option=103, value=&1", "SQL_SUCCESS", a.db, SQL_LOGIN_TIMEOUT, a.to(1)),
    // The connection
#define GET_INFO(function) \
    ROW(function, "connection_handle=db, info_type=17, info_value=&1, buffer_length=60, string_length=&2", "0", a.db, SQL_DBMS_NAME, a.to(1), 60, a.to<SQLSMALLINT>(2))
    GET_INFO(SQLGetInfo), GET_INFO(SQLGetInfoW),
    ROW(SQLGetFunctions, "connection_handle=db, function_id=13, supported=&1", "0", a.db, SQL_API_SQLFETCH, a.to<SQLUSMALLINT>(1)),
    ROW(SQLNativeSql, "connection_handle=db, in_statement_text='q'[SQL_NTS], out_statement_text=&1, buffer_length=20, text_length2=&2", "0",
        a.db, ansi("q"), SQL_NTS, a.to<SQLCHAR>(1), 20, a.to<SQLINTEGER>(2)),
    ROW(SQLNativeSqlW, "connection_handle=db, in_statement_text='q'[1], out_statement_text=&1, buffer_length=20, text_length2=&2", "0",
        a.db, wide(u"q"), 1, a.to<SQLWCHAR>(1), 20, a.to<SQLINTEGER>(2)),
    ROW(SQLEndTran, "handle_type=2, handle=db, completion_type=1", "SQL_SUCCESS", SQL_HANDLE_DBC, a.db, SQL_ROLLBACK),
    // Diagnostics and handles
#define GET_DIAG_REC(function, text) \
    ROW(function, "handle_type=3, handle=st, rec_number=5, sqlstate=&1, native=&2, message_text=&3, buffer_length=20, text_length_ptr=&4", "SQL_NO_DATA", \
        SQL_HANDLE_STMT, a.st, 5, a.to<text>(1), a.to<SQLINTEGER>(2), a.to<text>(3), 20, a.to<SQLSMALLINT>(4))
    GET_DIAG_REC(SQLGetDiagRec, SQLCHAR), GET_DIAG_REC(SQLGetDiagRecW, SQLWCHAR),
#define GET_DIAG_FIELD(function) \
    ROW(function, "handle_type=3, handle=st, rec_number=5, diag_identifier=2, diag_info_ptr=&1, buffer_length=20, string_length_ptr=&2", "SQL_SUCCESS", \
        SQL_HANDLE_STMT, a.st, 5, SQL_DIAG_NUMBER, a.to(1), 20, a.to<SQLSMALLINT>(2))
    GET_DIAG_FIELD(SQLGetDiagField), GET_DIAG_FIELD(SQLGetDiagFieldW),
    ROW(SQLAllocHandle, "input_handle=db, handle type=4", "0", SQL_HANDLE_DESC, a.db, a.to<SQLHANDLE>(0)),
    ROW_AS("SQLAllocHandle", SQLAllocStmt, "input_handle=db, handle type=3", "0", a.db, a.to<SQLHANDLE>(0)),
    ROW(SQLFreeHandle, "input_handle=st, handle type=3", "0", SQL_HANDLE_STMT, a.st),
    // Connecting, with a handle that logs from before
    ROW(SQLDisconnect, "connection_handle=db", "SQL_SUCCESS", a.db),
    ROW(SQLConnect, "input_handle=db, server_name = 'none'[4], user_name = 'u'[1], authentication = 'p'[SQL_NTS]", "SQL_ERROR",
        a.db, ansi("none"), 4, ansi("u"), 1, ansi("p"), SQL_NTS),
    ROW_AS("SQLConnect", SQLConnectW, "input_handle=db, server_name = 'none'[4], user_name = 'u'[1], authentication = 'p'[SQL_NTS]", "SQL_ERROR",
        a.db, wide(u"none"), 4, wide(u"u"), 1, wide(u"p"), SQL_NTS),
    ROW(SQLDriverConnect, "connection_handle=db, window_handle=&1, in_connection_string='PWD=p'[SQL_NTS], out_connection_string=&2, buffer_length=20, "
        "string_length2_ptr=&3, driver_completion=0", "SQL_ERROR",
        a.db, a.to(1), ansi("PWD=p"), SQL_NTS, a.to<SQLCHAR>(2), 20, a.to<SQLSMALLINT>(3), SQL_DRIVER_NOPROMPT),
    ROW_AS("SQLDriverConnect", SQLDriverConnectW, "connection_handle=db, window_handle=&1, in_connection_string='PWD'[3], out_connection_string=&2, "
        "buffer_length=20, string_length2_ptr=&3, driver_completion=0", "SQL_ERROR",
        a.db, a.to(1), wide(u"PWD=p"), 3, a.to<SQLWCHAR>(2), 20, a.to<SQLSMALLINT>(3), SQL_DRIVER_NOPROMPT),
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
        const std::vector<std::string> records = records_of(arguments.names(content(file)));
        ASSERT_FALSE(records.empty());
        const std::string name = row.logged_name;
        // SQLConnect's arguments come as a detail.
        EXPECT_TRUE(records.front().ends_with((name == "SQLConnect" ? ") DETAIL " : ") ENTRY ") +
                                              name + ": " + row.arguments))
            << records.front();
        const std::string source = records.front().substr(0, records.front().find(' '));
        EXPECT_TRUE(source == name + ".c" || source == std::string(row.function) + ".c") << source;
        const std::string exit = std::string(") EXIT ") + name + ": return value=" + row.code;
        EXPECT_TRUE(std::string(row.code) == "-" || records.back().ends_with(exit))
            << records.back();
    }
    EXPECT_EQ(missing, std::set<std::string>());
    SQLAllocConnect(wire->env, &wire->conn);
}

// ---- Switching it on ----------------------------------------------------------------------------

static std::string kinds_in(const std::string &log)
{
    std::set<std::string> kinds;
    static const std::regex kind("\n\t\t([A-Z]+):\t");
    for (std::sregex_iterator at(log.begin(), log.end(), kind), end; at != end; ++at)
        kinds.insert(at->str(1));
    std::string list;
    for (const std::string &name : kinds)
        list += (list.empty() ? "" : " ") + name;
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
        {"Logging=TRUE\n" + to_file, "", all, false},
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
                    c.more == "-" ? SQLConnect(wire->conn, ansi(name.c_str()), SQL_NTS, nullptr, 0,
                                               nullptr, 0)
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

// ---- Frames -------------------------------------------------------------------------------------

// The bytes of all dumps whose record begins with a title, one string for each.
static std::vector<bytes> dumps_of(const std::string &log, const std::string &title)
{
    const std::string kind = "\t\tPKTDUMP:\t ", margin(10, ' ');
    std::vector<bytes> dumps;
    bool wanted = false;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(kind)) {
            wanted = line.starts_with(kind + title);
            if (wanted)
                dumps.emplace_back();
        } else if (wanted && line.starts_with(margin)) {
            dumps.back() += from_hex(std::string_view(line).substr(10, 48));
        }
    }
    return dumps;
}

static bytes joined(const std::vector<bytes> &pieces)
{
    bytes all;
    for (const bytes &piece : pieces)
        all += piece;
    return all;
}

TEST_F(log_folder, frames_are_dumped_in_both_directions)
{
    const wire_ptr wire = wire_logged_on({}, "LOGGING=16;LOGFILE=" + file);
    const bytes text = pattern(1000);
    run_query(wire, "select v from t", rows_frame({{"v", type_of(NODE_VARCHAR)}}, {{text}}));
    EXPECT_EQ(fetch_all(wire->stmt), std::vector{text});

    const std::string log = content(file);
    EXPECT_EQ(kinds_in(log), "PKTDUMP");
    std::vector<bytes> sent;
    for (const node_request &request : node_requests(wire->node.get()))
        sent.push_back(be8(static_cast<unsigned>(request.version)) + bytes(3, '\0') +
                       be8(static_cast<unsigned>(request.opcode)) + wire_long_string(request.body));
    EXPECT_EQ(dumps_of(log, "Sent "), sent);
    const std::vector<bytes> received = dumps_of(log, "Packet recieved ");
    ASSERT_EQ(received.size(), sent.size());
    EXPECT_TRUE(received.back().ends_with(be32(1) + wire_bytes(text)));
    EXPECT_EQ(joined(dumps_of(log, "Read ")), joined(received));
}

// ---- A log that cannot be written ---------------------------------------------------------------

// What an application sees of two queries, one of them refused.
static std::string seen_with(const std::string &settings)
{
    const wire_ptr wire = wire_logged_on({}, settings);
    run_query(wire, "select v from t", rows_frame({{"v", type_of(NODE_INT)}}, {{be32(7)}}));
    std::string seen = joined(fetch_all(wire->stmt));
    run_query(wire, "selec", error_frame(0x2000, "no"), SQL_ERROR);
    return seen + joined(stmt_records(wire->stmt));
}

TEST_F(log_folder, a_log_that_cannot_be_written_changes_nothing)
{
    const std::string seen = seen_with("");
    EXPECT_EQ(seen, "7" + link_failure + "error code 8192 'no'");
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
