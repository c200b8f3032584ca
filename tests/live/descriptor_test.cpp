// Descriptors through the Driver Manager: rows bound by descriptor fields, one explicit descriptor
// for several statements, freed while in use; what the implicit ones tell of columns and
// parameters.
#include <cstring>

#include "tests/live/live_support.h"

static const char many_types[] = "SELECT key, cluster_name, listen_port, host_id FROM system.local";

static SQLHDESC descriptor_of(SQLHSTMT stmt, SQLINTEGER attribute)
{
    SQLHDESC desc = nullptr;
    SQLINTEGER length = 0;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLGetStmtAttr(stmt, attribute, &desc, SQL_IS_POINTER, &length));
    EXPECT_NE(desc, nullptr);
    return desc;
}

static SQLHDESC new_descriptor(SQLHDBC conn)
{
    SQLHDESC desc = nullptr;
    EXPECT_CONN(SQL_SUCCESS, conn, SQLAllocHandle(SQL_HANDLE_DESC, conn, &desc));
    return desc;
}

static SQLRETURN set_field(SQLHDESC desc, SQLSMALLINT record, SQLSMALLINT field, SQLPOINTER value)
{
    return SQLSetDescField(desc, record, field, value, 0);
}

TEST(live_descriptors, rows_bound_by_descriptor_fields)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on();
    const SQLHSTMT stmt = live->stmt;
    const SQLHDESC ard = descriptor_of(stmt, SQL_ATTR_APP_ROW_DESC);
    char key[16] = "", name[32] = "";
    SQLINTEGER port = 0;
    SQLLEN key_length = 0, name_length = 0, port_length = 0;

    // One record in one call, two field by field; data pointers come last, as other fields unbind.
    EXPECT_DESC(
        SQL_SUCCESS, ard,
        SQLSetDescRec(ard, 1, SQL_C_CHAR, 0, sizeof key, 0, 0, key, &key_length, &key_length));
    EXPECT_DESC(SQL_SUCCESS, ard, set_field(ard, 2, SQL_DESC_TYPE, odbc_number(SQL_C_CHAR)));
    EXPECT_DESC(SQL_SUCCESS, ard,
                set_field(ard, 2, SQL_DESC_OCTET_LENGTH, odbc_number(sizeof name)));
    EXPECT_DESC(SQL_SUCCESS, ard, set_field(ard, 2, SQL_DESC_INDICATOR_PTR, &name_length));
    EXPECT_DESC(SQL_SUCCESS, ard, set_field(ard, 2, SQL_DESC_OCTET_LENGTH_PTR, &name_length));
    EXPECT_DESC(SQL_SUCCESS, ard, set_field(ard, 2, SQL_DESC_DATA_PTR, name));
    EXPECT_DESC(SQL_SUCCESS, ard,
                set_field(ard, 3, SQL_DESC_CONCISE_TYPE, odbc_number(SQL_C_SLONG)));
    EXPECT_DESC(SQL_SUCCESS, ard, set_field(ard, 3, SQL_DESC_DATA_PTR, &port));
    EXPECT_DESC(SQL_SUCCESS, ard, set_field(ard, 3, SQL_DESC_OCTET_LENGTH_PTR, &port_length));

    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, many_types));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_STREQ(key, "local");
    EXPECT_EQ(key_length, 5);
    EXPECT_EQ(name_length, static_cast<SQLLEN>(std::strlen(name)));
    EXPECT_EQ(query(live->conn, "SELECT listen_port FROM system.local"),
              row_list{std::to_string(port)});
    EXPECT_EQ(port_length, 4);

    SQLSMALLINT count = 0;
    EXPECT_DESC(SQL_SUCCESS, ard, SQLGetDescField(ard, 0, SQL_DESC_COUNT, &count, 0, nullptr));
    EXPECT_EQ(count, 3);
    void *pointer = nullptr;
    EXPECT_DESC(SQL_SUCCESS, ard, SQLGetDescField(ard, 3, SQL_DESC_DATA_PTR, &pointer, 0, nullptr));
    EXPECT_EQ(pointer, &port);
    // Any other field unbinds the record.
    SQLFreeStmt(stmt, SQL_CLOSE);
    EXPECT_DESC(SQL_SUCCESS, ard, set_field(ard, 3, SQL_DESC_SCALE, odbc_number(0)));
    port = -3;
    ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, many_types));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
    EXPECT_EQ(port, -3);
}

TEST(live_descriptors, explicit_descriptor_serves_several_statements)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on();
    const SQLHSTMT first = live->stmt;
    const SQLHSTMT second = new_stmt(live.get());
    const SQLHDESC own = descriptor_of(second, SQL_ATTR_APP_ROW_DESC);
    const SQLHDESC desc = new_descriptor(live->conn);
    SQLSMALLINT alloc = 0;
    EXPECT_DESC(SQL_SUCCESS, desc,
                SQLGetDescField(desc, 0, SQL_DESC_ALLOC_TYPE, &alloc, 0, nullptr));
    EXPECT_EQ(alloc, SQL_DESC_ALLOC_USER);
    for (const SQLHSTMT stmt : {first, second}) {
        EXPECT_STMT(SQL_SUCCESS, stmt, SQLSetStmtAttr(stmt, SQL_ATTR_APP_ROW_DESC, desc, 0));
        EXPECT_EQ(descriptor_of(stmt, SQL_ATTR_APP_ROW_DESC), desc);
    }
    // Bound through one statement, seen by both.
    char text[16] = "";
    SQLLEN length = 0;
    EXPECT_STMT(SQL_SUCCESS, first, SQLBindCol(first, 1, SQL_C_CHAR, text, sizeof text, &length));
    for (const SQLHSTMT stmt : {first, second}) {
        std::memset(text, 0, sizeof text);
        ASSERT_STMT(SQL_SUCCESS, stmt, exec(stmt, many_types));
        EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
        EXPECT_STREQ(text, "local");
        SQLFreeStmt(stmt, SQL_CLOSE);
    }

    // Freed in the middle of both results: each statement is back at its own descriptor.
    ASSERT_STMT(SQL_SUCCESS, first, exec(first, "SELECT table_name FROM system_schema.tables"));
    ASSERT_STMT(SQL_SUCCESS, second, exec(second, "SELECT table_name FROM system_schema.tables"));
    EXPECT_STMT(SQL_SUCCESS, first, SQLFetch(first));
    EXPECT_DESC(SQL_SUCCESS, desc, SQLFreeHandle(SQL_HANDLE_DESC, desc));
    std::strcpy(text, "untouched");
    for (const SQLHSTMT stmt : {first, second}) {
        EXPECT_STMT(SQL_SUCCESS, stmt, SQLFetch(stmt));
        EXPECT_STREQ(text, "untouched");
    }
    EXPECT_EQ(descriptor_of(second, SQL_ATTR_APP_ROW_DESC), own);
    SQLFreeHandle(SQL_HANDLE_STMT, second);
}

TEST(live_descriptors, explicit_descriptors_are_taken_and_refused)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on();
    const live_ptr other = live_logged_on();
    const SQLHSTMT stmt = live->stmt;
    const SQLHDESC foreign = new_descriptor(other->conn);
    const SQLHDESC desc = new_descriptor(live->conn);
    const SQLHDESC own = descriptor_of(stmt, SQL_ATTR_APP_ROW_DESC);
    const SQLHDESC ird = descriptor_of(stmt, SQL_ATTR_IMP_ROW_DESC);

    EXPECT_STMT(SQL_ERROR, stmt, SQLSetStmtAttr(stmt, SQL_ATTR_APP_ROW_DESC, foreign, 0));
    EXPECT_STMT(SQL_ERROR, stmt, SQLSetStmtAttr(stmt, SQL_ATTR_APP_ROW_DESC, ird, 0));
    expect_records(SQL_HANDLE_STMT, stmt, {"HY017"});
    EXPECT_STMT(SQL_ERROR, stmt, SQLSetStmtAttr(stmt, SQL_ATTR_IMP_ROW_DESC, desc, 0));
    EXPECT_EQ(descriptor_of(stmt, SQL_ATTR_APP_ROW_DESC), own);

    EXPECT_STMT(SQL_SUCCESS, stmt, SQLSetStmtAttr(stmt, SQL_ATTR_APP_ROW_DESC, desc, 0));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLSetStmtAttr(stmt, SQL_ATTR_APP_ROW_DESC, SQL_NULL_HDESC, 0));
    // The Driver Manager answers the old one, but a binding goes into the statement's own.
    char text[16] = "";
    SQLLEN length = 0;
    SQLSMALLINT count = -1;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLBindCol(stmt, 1, SQL_C_CHAR, text, sizeof text, &length));
    EXPECT_DESC(SQL_SUCCESS, desc, SQLGetDescField(desc, 0, SQL_DESC_COUNT, &count, 0, nullptr));
    EXPECT_EQ(count, 0);
    EXPECT_DESC(SQL_SUCCESS, own, SQLGetDescField(own, 0, SQL_DESC_COUNT, &count, 0, nullptr));
    EXPECT_EQ(count, 1);

    // Left in force when the statement, then the connection, goes.
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLSetStmtAttr(stmt, SQL_ATTR_APP_ROW_DESC, desc, 0));
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLFreeHandle(SQL_HANDLE_STMT, stmt));
    live->stmt = new_stmt(live.get());
    EXPECT_DESC(SQL_SUCCESS, desc,
                SQLSetDescRec(desc, 1, SQL_C_CHAR, 0, sizeof text, 0, 0, text, &length, &length));
    EXPECT_STMT(SQL_SUCCESS, live->stmt,
                SQLSetStmtAttr(live->stmt, SQL_ATTR_APP_ROW_DESC, desc, 0));
    ASSERT_STMT(SQL_SUCCESS, live->stmt, exec(live->stmt, many_types));
    EXPECT_STMT(SQL_SUCCESS, live->stmt, SQLFetch(live->stmt));
    EXPECT_STREQ(text, "local");
}

TEST(live_descriptors, prepared_columns_and_parameters_are_described)
{
    NEED_NODE("VHCASS_SERVER");
    const live_ptr live = live_logged_on();
    const SQLHSTMT stmt = live->stmt;
    make_keyspace(stmt, "live_prepared");
    run(stmt, "CREATE TABLE live_prepared.t (k int PRIMARY KEY, v varint, d timestamp)");
    ASSERT_STMT(
        SQL_SUCCESS, stmt,
        prepare(stmt, "SELECT d, v FROM live_prepared.t WHERE k = ? AND v = ? ALLOW FILTERING"));
    SQLSMALLINT count = 0;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLNumParams(stmt, &count));
    EXPECT_EQ(count, 2);

    const struct {
        SQLHDESC desc;
        SQLSMALLINT record;
        std::string name;
        SQLSMALLINT type, sub_type;
        SQLLEN length;
        SQLSMALLINT precision, scale;
    } cases[] = {
        {descriptor_of(stmt, SQL_ATTR_IMP_ROW_DESC), 1, "d", SQL_DATETIME, SQL_CODE_TIMESTAMP, 16,
         3, 3},
        {descriptor_of(stmt, SQL_ATTR_IMP_ROW_DESC), 2, "v", SQL_NUMERIC, 0, 256, 38, 0},
        {descriptor_of(stmt, SQL_ATTR_IMP_PARAM_DESC), 1, "k", SQL_INTEGER, 0, 4, 7, 0},
        {descriptor_of(stmt, SQL_ATTR_IMP_PARAM_DESC), 2, "v", SQL_NUMERIC, 0, 256, 38, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        SQLCHAR name[32] = "";
        SQLSMALLINT name_length = 0, type = 0, sub_type = -1, precision = -1, scale = -1,
                    nullable = -1;
        SQLLEN length = -1;
        EXPECT_DESC(SQL_SUCCESS, c.desc,
                    SQLGetDescRec(c.desc, c.record, name, sizeof name, &name_length, &type,
                                  &sub_type, &length, &precision, &scale, &nullable));
        EXPECT_EQ(reinterpret_cast<char *>(name), c.name);
        EXPECT_EQ(type, c.type);
        EXPECT_EQ(sub_type, c.sub_type);
        EXPECT_EQ(length, c.length);
        EXPECT_EQ(precision, c.precision);
        EXPECT_EQ(scale, c.scale);
        EXPECT_EQ(nullable, SQL_NULLABLE_UNKNOWN);
        // The descriptor knows the keyspace; for the table it gives the column.
        SQLCHAR text[64] = "";
        SQLGetDescField(c.desc, c.record, SQL_DESC_SCHEMA_NAME, text, sizeof text, nullptr);
        EXPECT_STREQ(reinterpret_cast<char *>(text), "live_prepared");
        SQLGetDescField(c.desc, c.record, SQL_DESC_TABLE_NAME, text, sizeof text, nullptr);
        EXPECT_EQ(reinterpret_cast<char *>(text), c.name);
        SQLGetDescField(c.desc, c.record, SQL_DESC_BASE_TABLE_NAME, text, sizeof text, nullptr);
        EXPECT_STREQ(reinterpret_cast<char *>(text), "t");
    }
    SQLSMALLINT type = 0, digits = -1, nullable = -1;
    SQLULEN size = 0;
    EXPECT_STMT(SQL_SUCCESS, stmt, SQLDescribeParam(stmt, 2, &type, &size, &digits, &nullable));
    EXPECT_EQ(type, SQL_NUMERIC);
    EXPECT_EQ(size, 38u);

    const SQLHDESC ird = descriptor_of(stmt, SQL_ATTR_IMP_ROW_DESC);
    EXPECT_DESC(SQL_ERROR, ird, set_field(ird, 1, SQL_DESC_PRECISION, odbc_number(5)));
    expect_records(SQL_HANDLE_DESC, ird, {"HY016"});
    EXPECT_DESC(SQL_ERROR, ird,
                SQLGetDescRec(ird, 3, nullptr, 0, nullptr, &type, nullptr, nullptr, nullptr,
                              nullptr, nullptr));
    expect_records(SQL_HANDLE_DESC, ird, {"07009"});
}
