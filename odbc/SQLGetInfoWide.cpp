// What the driver says of itself: one table in the order of the info types, and the answer to
// SQLGetInfo in both forms. The values are deliberate, also where they claim more or less than the
// driver can do.
#include "odbc/SQLGetInfoWide.h"

#include <algorithm>
#include <span>

#include "core/catalog/cass_release.h"
#include "core/net/cass_conn_shared.h"

static constexpr char log_source[] = "SQLGetInfoWide.c";

// 16 and 32 are integers of that width; the others are texts, the last ones of the connection.
enum info_kind {
    INFO_16,
    INFO_32,
    INFO_TEXT,
    INFO_DSN,
    INFO_KEYSPACE,
    INFO_CQL_VERSION,
    INFO_UNSET,
    INFO_USER,
    INFO_SERVER,
    INFO_RELEASE,
};

struct info_row {
    SQLUSMALLINT type;
    info_kind kind;
    SQLUINTEGER number = 0;
    const char *text = nullptr;  // ISO 8859-1
};

static constexpr char reserved_words[] =
    "BREAK,BROWSE,BULK,CHECKPOINT,CLUSTERED,COMMITTED,COMPUTE,CONFIRM,CONTROLROW,"
    "DATABASE,DBCC,DISK,DISTRIBUTED,DUMMY,DUMP,ERRLVL,ERROREXIT,EXIT,FILE,"
    "FILLFACTOR,FLOPPY,HOLDLOCK,IDENTITY_INSERT,IDENTITYCOL,IF,KILL,LINENO,LOAD,"
    "MIRROREXIT,NONCLUSTERED,OFF,OFFSETS,ONCE,OVER,PERCENT,PERM,PERMANENT,PLAN,"
    "PRINT,PROC,PROCESSEXIT,RAISERROR,READ,READTEXT,RECONFIGURE,REPEATABLE,RETURN,"
    "ROWCOUNT,RULE,SAVE,SERIALIZABLE,SETUSER,SHUTDOWN,STATISTICS,TAPE,TEMP,"
    "TEXTSIZE,TOP,TRAN,TRIGGER,TRUNCATE,TSEQUEL,UNCOMMITTED,UPDATETEXT,USE,"
    "WAITFOR,WHILE,WRITETEXT";

// The letters of ISO 8859-1.
static constexpr char special_characters[] =
    "#$"
    "\xC0\xC1\xC2\xC3\xC4\xC5\xC6\xC7\xC8\xC9\xCA\xCB\xCC\xCD\xCE\xCF\xD0\xD1\xD2\xD3"
    "\xD4\xD5\xD6\xD8\xD9\xDA\xDB\xDC\xDD\xDE\xDF\xE0\xE1\xE2\xE3\xE4\xE5\xE6\xE7\xE8"
    "\xE9\xEA\xEB\xEC\xED\xEE\xEF\xF0\xF1\xF2\xF3\xF4\xF5\xF6\xF8\xF9\xFA\xFB\xFC\xFD"
    "\xFE\xFF";

static constexpr info_row info_table[] = {
    {SQL_MAX_DRIVER_CONNECTIONS, INFO_16, 0},
    {SQL_MAX_CONCURRENT_ACTIVITIES, INFO_16, 0},
    {SQL_DATA_SOURCE_NAME, INFO_DSN},
    {SQL_DRIVER_NAME, INFO_TEXT, 0, "libvhcass.so"},
    {SQL_DRIVER_VER, INFO_TEXT, 0, VHCASS_DRIVER_VER},
    {SQL_FETCH_DIRECTION, INFO_32, 1},
    {SQL_ODBC_API_CONFORMANCE, INFO_16, 2},
    {SQL_ODBC_VER, INFO_TEXT, 0, "03.52.0000"},
    {SQL_ROW_UPDATES, INFO_TEXT, 0, "N"},
    {SQL_ODBC_SAG_CLI_CONFORMANCE, INFO_16, 0},
    {SQL_SERVER_NAME, INFO_TEXT, 0, "Apache Cassandra"},
    {SQL_SEARCH_PATTERN_ESCAPE, INFO_TEXT, 0, ""},
    {SQL_ODBC_SQL_CONFORMANCE, INFO_16, 1},
    {SQL_DATABASE_NAME, INFO_KEYSPACE},
    {SQL_DBMS_NAME, INFO_TEXT, 0, "Apache Cassandra"},
    {SQL_DBMS_VER, INFO_CQL_VERSION},
    {SQL_ACCESSIBLE_TABLES, INFO_TEXT, 0, "Y"},
    {SQL_ACCESSIBLE_PROCEDURES, INFO_TEXT, 0, "Y"},
    {SQL_PROCEDURES, INFO_TEXT, 0, "Y"},
    {SQL_CONCAT_NULL_BEHAVIOR, INFO_16, 0},
    {SQL_CURSOR_COMMIT_BEHAVIOR, INFO_16, 2},
    {SQL_CURSOR_ROLLBACK_BEHAVIOR, INFO_16, 2},
    {SQL_DATA_SOURCE_READ_ONLY, INFO_TEXT, 0, "N"},
    {SQL_DEFAULT_TXN_ISOLATION, INFO_32, 2},
    {SQL_EXPRESSIONS_IN_ORDERBY, INFO_TEXT, 0, "Y"},
    {SQL_IDENTIFIER_CASE, INFO_16, 3},
    {SQL_IDENTIFIER_QUOTE_CHAR, INFO_TEXT, 0, "\""},
    {SQL_MAX_COLUMN_NAME_LEN, INFO_16, 64},
    {SQL_MAX_CURSOR_NAME_LEN, INFO_16, 64},
    {SQL_MAX_SCHEMA_NAME_LEN, INFO_16, 64},
    {SQL_MAX_PROCEDURE_NAME_LEN, INFO_16, 64},
    {SQL_MAX_CATALOG_NAME_LEN, INFO_16, 64},
    {SQL_MAX_TABLE_NAME_LEN, INFO_16, 64},
    {SQL_MULT_RESULT_SETS, INFO_TEXT, 0, "Y"},
    {SQL_MULTIPLE_ACTIVE_TXN, INFO_TEXT, 0, "Y"},
    {SQL_OUTER_JOINS, INFO_TEXT, 0, "F"},
    {SQL_SCHEMA_TERM, INFO_TEXT, 0, "keyspace"},
    {SQL_PROCEDURE_TERM, INFO_TEXT, 0, "stored procedure"},
    {SQL_CATALOG_NAME_SEPARATOR, INFO_TEXT, 0, "."},
    {SQL_CATALOG_TERM, INFO_TEXT, 0, "database"},
    {SQL_SCROLL_CONCURRENCY, INFO_32, 15},
    {SQL_SCROLL_OPTIONS, INFO_32, 1},
    {SQL_TABLE_TERM, INFO_TEXT, 0, "table"},
    {SQL_TXN_CAPABLE, INFO_16, 0},
    {SQL_USER_NAME, INFO_UNSET},
    {SQL_CONVERT_FUNCTIONS, INFO_32, 3},
    {SQL_NUMERIC_FUNCTIONS, INFO_32, 0xFFFFFF},
    {SQL_STRING_FUNCTIONS, INFO_32, 0x4FFFFF},
    {SQL_SYSTEM_FUNCTIONS, INFO_32, 7},
    {SQL_TIMEDATE_FUNCTIONS, INFO_32, 0x1FFFFF},
    {SQL_CONVERT_BIGINT, INFO_32, 0xA07D7F},
    {SQL_CONVERT_BINARY, INFO_32, 0xA46D1F},
    {SQL_CONVERT_BIT, INFO_32, 0xA07D7F},
    {SQL_CONVERT_CHAR, INFO_32, 0x1E67F7F},
    {SQL_CONVERT_DATE, INFO_32, 0},
    {SQL_CONVERT_DECIMAL, INFO_32, 0xA07D7F},
    {SQL_CONVERT_DOUBLE, INFO_32, 0},
    {SQL_CONVERT_FLOAT, INFO_32, 0xA0717F},
    {SQL_CONVERT_INTEGER, INFO_32, 0xA07D7F},
    {SQL_CONVERT_LONGVARCHAR, INFO_32, 0xE00301},
    {SQL_CONVERT_NUMERIC, INFO_32, 0xA07D7F},
    {SQL_CONVERT_REAL, INFO_32, 0xA0717F},
    {SQL_CONVERT_SMALLINT, INFO_32, 0xA07D7F},
    {SQL_CONVERT_TIME, INFO_32, 0},
    {SQL_CONVERT_TIMESTAMP, INFO_32, 0xA20D01},
    {SQL_CONVERT_TINYINT, INFO_32, 0xA07D7F},
    {SQL_CONVERT_VARBINARY, INFO_32, 0xE46D1F},
    {SQL_CONVERT_VARCHAR, INFO_32, 0x1E67F7F},
    {SQL_CONVERT_LONGVARBINARY, INFO_32, 0x40C00},
    {SQL_TXN_ISOLATION_OPTION, INFO_32, 15},
    {SQL_INTEGRITY, INFO_TEXT, 0, "Y"},
    {SQL_CORRELATION_NAME, INFO_16, 2},
    {SQL_NON_NULLABLE_COLUMNS, INFO_16, 1},
    {SQL_DRIVER_ODBC_VER, INFO_TEXT, 0, "03.52"},
    {SQL_LOCK_TYPES, INFO_32, 1},
    {SQL_POS_OPERATIONS, INFO_32, 0},
    {SQL_POSITIONED_STATEMENTS, INFO_32, 0},
    {SQL_GETDATA_EXTENSIONS, INFO_32, 11},
    {SQL_BOOKMARK_PERSISTENCE, INFO_32, 82},
    {SQL_STATIC_SENSITIVITY, INFO_32, 0},
    {SQL_FILE_USAGE, INFO_16, 0},
    {SQL_NULL_COLLATION, INFO_16, 1},
    {SQL_ALTER_TABLE, INFO_32, 0x9869},
    {SQL_COLUMN_ALIAS, INFO_TEXT, 0, "Y"},
    {SQL_GROUP_BY, INFO_16, 2},
    {SQL_KEYWORDS, INFO_TEXT, 0, reserved_words},
    {SQL_ORDER_BY_COLUMNS_IN_SELECT, INFO_TEXT, 0, "N"},
    {SQL_SCHEMA_USAGE, INFO_32, 13},
    {SQL_CATALOG_USAGE, INFO_32, 0},
    {SQL_QUOTED_IDENTIFIER_CASE, INFO_16, 4},
    {SQL_SPECIAL_CHARACTERS, INFO_TEXT, 0, special_characters},
    {SQL_SUBQUERIES, INFO_32, 31},
    {SQL_UNION, INFO_32, 3},
    {SQL_MAX_COLUMNS_IN_GROUP_BY, INFO_16, 0},
    {SQL_MAX_COLUMNS_IN_INDEX, INFO_16, 16},
    {SQL_MAX_COLUMNS_IN_ORDER_BY, INFO_16, 0},
    {SQL_MAX_COLUMNS_IN_SELECT, INFO_16, 0x1000},
    {SQL_MAX_COLUMNS_IN_TABLE, INFO_16, 1024},
    {SQL_MAX_INDEX_SIZE, INFO_32, 900},
    {SQL_MAX_ROW_SIZE_INCLUDES_LONG, INFO_TEXT, 0, "N"},
    {SQL_MAX_ROW_SIZE, INFO_32, 0x1F7C},
    {SQL_MAX_STATEMENT_LEN, INFO_32, 0x80000},
    {SQL_MAX_TABLES_IN_SELECT, INFO_16, 32},
    {SQL_MAX_USER_NAME_LEN, INFO_16, 64},
    {SQL_MAX_CHAR_LITERAL_LEN, INFO_32, 0x80000},
    {SQL_TIMEDATE_ADD_INTERVALS, INFO_32, 511},
    {SQL_TIMEDATE_DIFF_INTERVALS, INFO_32, 511},
    {SQL_NEED_LONG_DATA_LEN, INFO_TEXT, 0, "Y"},
    {SQL_MAX_BINARY_LITERAL_LEN, INFO_32, 0x80000},
    {SQL_LIKE_ESCAPE_CLAUSE, INFO_TEXT, 0, "Y"},
    {SQL_CATALOG_LOCATION, INFO_16, 1},
    {SQL_OJ_CAPABILITIES, INFO_32, 127},
    {SQL_ACTIVE_ENVIRONMENTS, INFO_16, 0},
    {SQL_ALTER_DOMAIN, INFO_32, 0},
    {SQL_SQL_CONFORMANCE, INFO_32, 1},
    {SQL_DATETIME_LITERALS, INFO_32, 0},
    {SQL_BATCH_ROW_COUNT, INFO_32, 2},
    {SQL_BATCH_SUPPORT, INFO_32, 15},
    {SQL_CONVERT_WCHAR, INFO_32, 0x1E67F7F},
    {SQL_CONVERT_INTERVAL_DAY_TIME, INFO_32, 0},
    {SQL_CONVERT_INTERVAL_YEAR_MONTH, INFO_32, 0},
    {SQL_CONVERT_WLONGVARCHAR, INFO_32, 0xE00301},
    {SQL_CONVERT_WVARCHAR, INFO_32, 0x1E67F7F},
    {SQL_CREATE_ASSERTION, INFO_32, 0},
    {SQL_CREATE_CHARACTER_SET, INFO_32, 0},
    {SQL_CREATE_COLLATION, INFO_32, 0},
    {SQL_CREATE_DOMAIN, INFO_32, 0},
    {SQL_CREATE_SCHEMA, INFO_32, 3},
    {SQL_CREATE_TABLE, INFO_32, 1},
    {SQL_CREATE_TRANSLATION, INFO_32, 0},
    {SQL_CREATE_VIEW, INFO_32, 3},
    {SQL_DROP_ASSERTION, INFO_32, 0},
    {SQL_DROP_CHARACTER_SET, INFO_32, 0},
    {SQL_DROP_COLLATION, INFO_32, 0},
    {SQL_DROP_DOMAIN, INFO_32, 0},
    {SQL_DROP_SCHEMA, INFO_32, 0},
    {SQL_DROP_TABLE, INFO_32, 1},
    {SQL_DROP_TRANSLATION, INFO_32, 0},
    {SQL_DROP_VIEW, INFO_32, 1},
    {SQL_DYNAMIC_CURSOR_ATTRIBUTES1, INFO_32, 0},
    {SQL_DYNAMIC_CURSOR_ATTRIBUTES2, INFO_32, 0},
    {SQL_FORWARD_ONLY_CURSOR_ATTRIBUTES1, INFO_32, 1},
    {SQL_FORWARD_ONLY_CURSOR_ATTRIBUTES2, INFO_32, 0},
    {SQL_INDEX_KEYWORDS, INFO_32, 3},
    {SQL_INFO_SCHEMA_VIEWS, INFO_32, 0},
    {SQL_KEYSET_CURSOR_ATTRIBUTES1, INFO_32, 0},
    {SQL_KEYSET_CURSOR_ATTRIBUTES2, INFO_32, 0},
    {SQL_ODBC_INTERFACE_CONFORMANCE, INFO_32, 3},
    {SQL_PARAM_ARRAY_ROW_COUNTS, INFO_32, 1},
    {SQL_PARAM_ARRAY_SELECTS, INFO_32, 1},
    {SQL_SQL92_DATETIME_FUNCTIONS, INFO_32, 0},
    {SQL_SQL92_FOREIGN_KEY_DELETE_RULE, INFO_32, 0},
    {SQL_SQL92_FOREIGN_KEY_UPDATE_RULE, INFO_32, 0},
    {SQL_SQL92_GRANT, INFO_32, 16},
    {SQL_SQL92_NUMERIC_VALUE_FUNCTIONS, INFO_32, 0},
    {SQL_SQL92_PREDICATES, INFO_32, 7},
    {SQL_SQL92_RELATIONAL_JOIN_OPERATORS, INFO_32, 858},
    {SQL_SQL92_REVOKE, INFO_32, 16},
    {SQL_SQL92_ROW_VALUE_CONSTRUCTOR, INFO_32, 15},
    {SQL_SQL92_STRING_FUNCTIONS, INFO_32, 6},
    {SQL_SQL92_VALUE_EXPRESSIONS, INFO_32, 15},
    {SQL_STANDARD_CLI_CONFORMANCE, INFO_32, 2},
    {SQL_STATIC_CURSOR_ATTRIBUTES1, INFO_32, 0},
    {SQL_STATIC_CURSOR_ATTRIBUTES2, INFO_32, 0},
    {SQL_AGGREGATE_FUNCTIONS, INFO_32, 64},
    {SQL_DDL_INDEX, INFO_32, 3},
    {SQL_INSERT_STATEMENT, INFO_32, 1},
    {SQL_CONVERT_GUID, INFO_32, 0x1000001},
    {1024, INFO_16, 0},
    {1029, INFO_32, 0},
    {SQL_XOPEN_CLI_YEAR, INFO_TEXT, 0, "1995"},
    {SQL_CURSOR_SENSITIVITY, INFO_32, 2},
    {SQL_DESCRIBE_PARAMETER, INFO_TEXT, 0, "Y"},
    {SQL_CATALOG_NAME, INFO_TEXT, 0, "N"},
    {SQL_COLLATION_SEQ, INFO_TEXT, 0, "ISO 8859-1"},
    {SQL_MAX_IDENTIFIER_LEN, INFO_16, 128},
    {SQL_ASYNC_MODE, INFO_32, 2},
    {SQL_MAX_ASYNC_CONCURRENT_STATEMENTS, INFO_32, 1},
    {SQL_ASYNC_DBC_FUNCTIONS, INFO_32, 0},
    {65003, INFO_32, 127},
};

// Reserved in CQL and not in ODBC.
static constexpr char words_of_cql[] =
    "ALLOW,APPLY,BATCH,COLUMNFAMILY,ENTRIES,IF,INFINITY,KEYSPACE,LIMIT,MATERIALIZED,MODIFY,NAN,"
    "NORECURSIVE,RENAME,REPLACE,TOKEN,TRUNCATE,UNLOGGED,USE";

// Of both cursors: they only read, and SQL_ATTR_MAX_ROWS holds for every result.
constexpr SQLUINTEGER READ_AND_LIMITED =
    SQL_CA2_READ_ONLY_CONCURRENCY | SQL_CA2_MAX_ROWS_SELECT | SQL_CA2_MAX_ROWS_CATALOG;

// In place of the rows above where the answers are to be true: CQL has one table in a SELECT, no
// transactions, no procedures, and no functions that ODBC has names for. 0 is "no limit", too.
static constexpr info_row true_table[] = {
    {SQL_SERVER_NAME, INFO_SERVER},
    {SQL_USER_NAME, INFO_USER},
    {SQL_DBMS_VER, INFO_RELEASE},
    {SQL_SEARCH_PATTERN_ESCAPE, INFO_TEXT, 0, "\\"},
    {SQL_ODBC_API_CONFORMANCE, INFO_16, SQL_OAC_LEVEL1},
    {SQL_ODBC_INTERFACE_CONFORMANCE, INFO_32, SQL_OIC_CORE},
    {SQL_ACCESSIBLE_PROCEDURES, INFO_TEXT, 0, "N"},
    {SQL_PROCEDURES, INFO_TEXT, 0, "N"},
    {SQL_PROCEDURE_TERM, INFO_TEXT, 0, ""},
    {SQL_DEFAULT_TXN_ISOLATION, INFO_32, 0},
    {SQL_TXN_ISOLATION_OPTION, INFO_32, 0},
    {SQL_MULTIPLE_ACTIVE_TXN, INFO_TEXT, 0, "N"},
    {SQL_MULT_RESULT_SETS, INFO_TEXT, 0, "N"},
    {SQL_BATCH_ROW_COUNT, INFO_32, 0},
    {SQL_BATCH_SUPPORT, INFO_32, 0},
    {SQL_PARAM_ARRAY_ROW_COUNTS, INFO_32, SQL_PARC_NO_BATCH},
    {SQL_PARAM_ARRAY_SELECTS, INFO_32, SQL_PAS_NO_SELECT},
    {SQL_EXPRESSIONS_IN_ORDERBY, INFO_TEXT, 0, "N"},
    {SQL_IDENTIFIER_CASE, INFO_16, SQL_IC_LOWER},
    {SQL_QUOTED_IDENTIFIER_CASE, INFO_16, SQL_IC_SENSITIVE},
    {SQL_SPECIAL_CHARACTERS, INFO_TEXT, 0, ""},
    {SQL_KEYWORDS, INFO_TEXT, 0, words_of_cql},
    {SQL_CATALOG_NAME_SEPARATOR, INFO_TEXT, 0, ""},
    {SQL_CATALOG_TERM, INFO_TEXT, 0, ""},
    {SQL_CATALOG_LOCATION, INFO_16, 0},
    {SQL_SCHEMA_USAGE, INFO_32,
     SQL_SU_DML_STATEMENTS | SQL_SU_TABLE_DEFINITION | SQL_SU_INDEX_DEFINITION |
         SQL_SU_PRIVILEGE_DEFINITION},
    {SQL_OUTER_JOINS, INFO_TEXT, 0, "N"},
    {SQL_OJ_CAPABILITIES, INFO_32, 0},
    {SQL_SQL92_RELATIONAL_JOIN_OPERATORS, INFO_32, 0},
    {SQL_CORRELATION_NAME, INFO_16, SQL_CN_NONE},
    {SQL_SUBQUERIES, INFO_32, 0},
    {SQL_UNION, INFO_32, 0},
    {SQL_SQL92_PREDICATES, INFO_32, SQL_SP_IN | SQL_SP_COMPARISON},
    {SQL_SQL92_ROW_VALUE_CONSTRUCTOR, INFO_32, 0},
    {SQL_SQL92_STRING_FUNCTIONS, INFO_32, 0},
    {SQL_SQL92_VALUE_EXPRESSIONS, INFO_32, SQL_SVE_CAST},
    {SQL_SQL92_GRANT, INFO_32, 0},
    {SQL_SQL92_REVOKE, INFO_32, 0},
    {SQL_AGGREGATE_FUNCTIONS, INFO_32,
     SQL_AF_AVG | SQL_AF_COUNT | SQL_AF_MAX | SQL_AF_MIN | SQL_AF_SUM},
    {SQL_NUMERIC_FUNCTIONS, INFO_32, 0},
    {SQL_STRING_FUNCTIONS, INFO_32, 0},
    {SQL_SYSTEM_FUNCTIONS, INFO_32, 0},
    {SQL_TIMEDATE_FUNCTIONS, INFO_32, 0},
    {SQL_TIMEDATE_ADD_INTERVALS, INFO_32, 0},
    {SQL_TIMEDATE_DIFF_INTERVALS, INFO_32, 0},
    {SQL_CONVERT_FUNCTIONS, INFO_32, 0},
    {SQL_CONVERT_BIGINT, INFO_32, 0},
    {SQL_CONVERT_BINARY, INFO_32, 0},
    {SQL_CONVERT_BIT, INFO_32, 0},
    // Not a function of CQL, but where Qt looks whether text may be wide.
    {SQL_CONVERT_CHAR, INFO_32, SQL_CVT_WCHAR},
    {SQL_CONVERT_DECIMAL, INFO_32, 0},
    {SQL_CONVERT_FLOAT, INFO_32, 0},
    {SQL_CONVERT_GUID, INFO_32, 0},
    {SQL_CONVERT_INTEGER, INFO_32, 0},
    {SQL_CONVERT_LONGVARBINARY, INFO_32, 0},
    {SQL_CONVERT_LONGVARCHAR, INFO_32, SQL_CVT_WLONGVARCHAR},
    {SQL_CONVERT_NUMERIC, INFO_32, 0},
    {SQL_CONVERT_REAL, INFO_32, 0},
    {SQL_CONVERT_SMALLINT, INFO_32, 0},
    {SQL_CONVERT_TIMESTAMP, INFO_32, 0},
    {SQL_CONVERT_TINYINT, INFO_32, 0},
    {SQL_CONVERT_VARBINARY, INFO_32, 0},
    {SQL_CONVERT_VARCHAR, INFO_32, SQL_CVT_WVARCHAR},
    {SQL_CONVERT_WCHAR, INFO_32, 0},
    {SQL_CONVERT_WLONGVARCHAR, INFO_32, 0},
    {SQL_CONVERT_WVARCHAR, INFO_32, 0},
    {SQL_INTEGRITY, INFO_TEXT, 0, "N"},
    {SQL_NON_NULLABLE_COLUMNS, INFO_16, SQL_NNC_NULL},
    {SQL_ALTER_TABLE, INFO_32, SQL_AT_ADD_COLUMN_SINGLE | SQL_AT_DROP_COLUMN},
    {SQL_CREATE_SCHEMA, INFO_32, 0},
    {SQL_CREATE_VIEW, INFO_32, 0},
    {SQL_DROP_VIEW, INFO_32, 0},
    {SQL_INDEX_KEYWORDS, INFO_32, 0},
    {SQL_LIKE_ESCAPE_CLAUSE, INFO_TEXT, 0, "N"},
    {SQL_NEED_LONG_DATA_LEN, INFO_TEXT, 0, "N"},
    {SQL_FETCH_DIRECTION, INFO_32,
     SQL_FD_FETCH_NEXT | SQL_FD_FETCH_FIRST | SQL_FD_FETCH_LAST | SQL_FD_FETCH_PRIOR |
         SQL_FD_FETCH_ABSOLUTE | SQL_FD_FETCH_RELATIVE | SQL_FD_FETCH_BOOKMARK},
    {SQL_SCROLL_OPTIONS, INFO_32, SQL_SO_FORWARD_ONLY | SQL_SO_STATIC},
    {SQL_SCROLL_CONCURRENCY, INFO_32, SQL_SCCO_READ_ONLY},
    {SQL_FORWARD_ONLY_CURSOR_ATTRIBUTES2, INFO_32, READ_AND_LIMITED},
    // One that is asked for as dynamic is static and goes where that goes: Erlang looks here.
    {SQL_DYNAMIC_CURSOR_ATTRIBUTES1, INFO_32,
     SQL_CA1_NEXT | SQL_CA1_ABSOLUTE | SQL_CA1_RELATIVE | SQL_CA1_BOOKMARK},
    {SQL_STATIC_CURSOR_ATTRIBUTES1, INFO_32,
     SQL_CA1_NEXT | SQL_CA1_ABSOLUTE | SQL_CA1_RELATIVE | SQL_CA1_BOOKMARK},
    {SQL_STATIC_CURSOR_ATTRIBUTES2, INFO_32, READ_AND_LIMITED},
    {SQL_BOOKMARK_PERSISTENCE, INFO_32, SQL_BP_TRANSACTION | SQL_BP_SCROLL},
    {SQL_LOCK_TYPES, INFO_32, 0},
    {SQL_CURSOR_SENSITIVITY, INFO_32, SQL_UNSPECIFIED},
    {SQL_ASYNC_MODE, INFO_32, SQL_AM_NONE},
    {SQL_MAX_ASYNC_CONCURRENT_STATEMENTS, INFO_32, 0},
    {SQL_COLLATION_SEQ, INFO_TEXT, 0, "UTF-8"},
    {SQL_MAX_TABLES_IN_SELECT, INFO_16, 1},
    {SQL_MAX_COLUMN_NAME_LEN, INFO_16, 0},
    {SQL_MAX_CURSOR_NAME_LEN, INFO_16, 0},
    {SQL_MAX_SCHEMA_NAME_LEN, INFO_16, 0},
    {SQL_MAX_PROCEDURE_NAME_LEN, INFO_16, 0},
    {SQL_MAX_CATALOG_NAME_LEN, INFO_16, 0},
    {SQL_MAX_TABLE_NAME_LEN, INFO_16, 0},
    {SQL_MAX_USER_NAME_LEN, INFO_16, 0},
    {SQL_MAX_IDENTIFIER_LEN, INFO_16, 0},
    {SQL_MAX_COLUMNS_IN_INDEX, INFO_16, 0},
    {SQL_MAX_COLUMNS_IN_SELECT, INFO_16, 0},
    {SQL_MAX_COLUMNS_IN_TABLE, INFO_16, 0},
    {SQL_MAX_INDEX_SIZE, INFO_32, 0},
    {SQL_MAX_ROW_SIZE, INFO_32, 0},
    {SQL_MAX_STATEMENT_LEN, INFO_32, 0},
    {SQL_MAX_CHAR_LITERAL_LEN, INFO_32, 0},
    {SQL_MAX_BINARY_LITERAL_LEN, INFO_32, 0},
};

static bool information_is_approximate(const cass_conn *conn)
{
    return conn->conduct->information_is_approximate;
}

static const info_row *find_in(std::span<const info_row> table, SQLUSMALLINT info_type)
{
    const auto row = std::ranges::find(table, info_type, &info_row::type);
    return row == table.end() ? nullptr : &*row;
}

static const info_row *find_row(const cass_conn *conn, SQLUSMALLINT info_type)
{
    const info_row *row =
        information_is_approximate(conn) ? nullptr : find_in(true_table, info_type);
    return row != nullptr ? row : find_in(info_table, info_type);
}

static SQLRETURN answer_number(const info_row *row, const info_target &target)
{
    if (row->kind == INFO_16) {
        cass_store(target.value, static_cast<SQLUSMALLINT>(row->number));
        cass_store(target.length, static_cast<SQLSMALLINT>(sizeof(SQLUSMALLINT)));
    } else {
        cass_store(target.value, row->number);
        cass_store(target.length, static_cast<SQLSMALLINT>(sizeof(SQLUINTEGER)));
    }
    return SQL_SUCCESS;
}

static SQLRETURN answer_text(cass_conn *conn, const entry_point &entry, const cass_string *text,
                             const info_target &target)
{
    // The ANSI length counts units, not the bytes of the encoded text.
    cass_store(target.length, cass_small_length(text_form_length(text, target.form)));
    // Of a text that is not set nothing is written but the length 0, or it is empty.
    if (target.value == nullptr || (text == nullptr && information_is_approximate(conn)))
        return SQL_SUCCESS;
    // Without room for the terminator even an empty text counts as cut.
    if (!text_form_out(text, target.form, target.value, target.size) &&
        text_form_room(target.size, target.form) >= 1)
        return SQL_SUCCESS;
    CASS_LOG(&conn->head, LOG_ERROR, "%s: text truncated", entry.name);
    cass_post_error(&conn->head, STATE_01004, 0, nullptr);
    return SQL_SUCCESS_WITH_INFO;
}

static SQLRETURN no_text(cass_conn *conn, const entry_point &entry)
{
    CASS_LOG(&conn->head, LOG_ERROR, "%s: failed to create string", entry.name);
    cass_post_error(&conn->head, STATE_HY001, 0, nullptr);
    return SQL_ERROR;
}

// A statement's thread may replace the keyspace meanwhile.
static SQLRETURN answer_keyspace(cass_conn *conn, const entry_point &entry,
                                 const info_target &target)
{
    cass_string *copy;
    const bool whole = cass_copy_conn_text(conn, &conn->current_keyspace, &copy);
    const held_string keyspace(copy);
    return whole ? answer_text(conn, entry, copy, target) : no_text(conn, entry);
}

// Text of a row that does not lie on the connection, as a string of its own.
static SQLRETURN answer_own_text(cass_conn *conn, const entry_point &entry, const char *bytes,
                                 const info_target &target)
{
    const held_string text(cass_string_from_cstr(bytes));
    return text != nullptr ? answer_text(conn, entry, text.get(), target) : no_text(conn, entry);
}

static SQLRETURN answer_release(cass_conn *conn, const entry_point &entry,
                                const info_target &target)
{
    char release[RELEASE_ROOM];
    return cass_server_release(conn, release) == 0 ? answer_own_text(conn, entry, release, target)
                                                   : SQL_ERROR;
}

static bool unknown_information_is_optional(const cass_conn *conn)
{
    return conn->conduct->unknown_information_is_optional;
}

static SQLRETURN get_info(cass_conn *conn, const entry_point &entry, SQLUSMALLINT info_type,
                          const info_target &target)
{
    const info_row *row = find_row(conn, info_type);
    if (row == nullptr) {
        CASS_LOG(&conn->head, LOG_ERROR, "%s: unexpected info_type %d", entry.name,
                 static_cast<int>(info_type));
        cass_post_error(&conn->head,
                        unknown_information_is_optional(conn) ? STATE_HYC00 : STATE_HY096, 0,
                        nullptr);
        return SQL_ERROR;
    }

    switch (row->kind) {
    case INFO_16:
    case INFO_32:
        return answer_number(row, target);
    case INFO_TEXT:
        return answer_own_text(conn, entry, row->text, target);
    case INFO_CQL_VERSION:
        return answer_own_text(conn, entry, conn->cql_version, target);
    case INFO_DSN:
        return answer_text(conn, entry, conn->settings.dsn, target);
    case INFO_KEYSPACE:
        return answer_keyspace(conn, entry, target);
    case INFO_USER:
        return answer_text(conn, entry, conn->settings.user, target);
    case INFO_SERVER:
        return answer_text(conn, entry, conn->settings.server, target);
    case INFO_RELEASE:
        return answer_release(conn, entry, target);
    case INFO_UNSET:
        break;
    }
    return answer_text(conn, entry, nullptr, target);
}

SQLRETURN get_info_entry(SQLHDBC handle, const entry_point &entry, SQLUSMALLINT info_type,
                         const info_target &target)
{
    return enter_conn(
        handle, entry,
        [&](cass_conn *conn) {
            ENTRY_LOG(&conn->head, entry, LOG_ENTRY,
                      "%s: connection_handle=%p, info_type=%d, info_value=%p, buffer_length=%d, "
                      "string_length=%p",
                      entry.name, static_cast<void *>(conn), static_cast<int>(info_type),
                      target.value, static_cast<int>(target.size),
                      static_cast<void *>(target.length));
        },
        [&](cass_conn *conn) { return get_info(conn, entry, info_type, target); });
}
