// Catalog functions through the Driver Manager against the node's own system_schema: tables of
// every type, composite keys, quoted and reserved names, views and indexes.
#include <algorithm>

#include "tests/live/live_support.h"

struct live_catalog : live_test {
    bool has_vectors = false;

    void make_tables(const std::string &name)
    {
        has_vectors = make_every_type(stmt, name);
        run(stmt, "USE " + name);
        for (const char *sql :
             {"CREATE TABLE keyed (k1 int, \"K2\" decimal, c int, \"select\" text, st int static, "
              "x map<text, frozen<list<int>>>, PRIMARY KEY ((k1, \"K2\"), c))",
              "CREATE TABLE \"Counts\" (id int PRIMARY KEY, \"a, (\xC3\xBC\" counter)",
              "CREATE INDEX keyed_select ON keyed (\"select\")",
              "CREATE TABLE \"Quotes\" (\"Pk\" int, \"C\" int, \"q\"\"'%_\" text, m "
              "map<text, int>, \"F\" frozen<list<int>>, u pair, "
              "l 'org.apache.cassandra.db.marshal.LexicalUUIDType', PRIMARY KEY (\"Pk\", \"C\"))",
              "CREATE INDEX quotes_m ON \"Quotes\" (values(m))",
              "CREATE INDEX quotes_f ON \"Quotes\" (full(\"F\"))"})
            run(stmt, sql);
        // A node may refuse views.
        exec(stmt, "CREATE MATERIALIZED VIEW \"View\" AS SELECT * FROM \"Quotes\" WHERE \"Pk\" IS "
                   "NOT NULL AND \"C\" IS NOT NULL PRIMARY KEY (\"C\", \"Pk\")");
    }

    // The rows of a catalog function that was called, of which these columns are chosen.
    row_list told(SQLRETURN code, const std::vector<int> &columns)
    {
        EXPECT_STMT(SQL_SUCCESS, stmt, code);
        row_list rows;
        while (SQLFetch(stmt) == SQL_SUCCESS) {
            rows.emplace_back();
            for (const int column : columns)
                rows.back() += (column == columns[0] ? "" : "|") + cell_text(stmt, column);
        }
        SQLFreeStmt(stmt, SQL_CLOSE);
        return rows;
    }

    // The columns of SELECT * as they are described: type, size, digits.
    row_list described(const std::string &table)
    {
        const SQLHSTMT select = new_stmt(conn);
        EXPECT_STMT(SQL_SUCCESS, select, exec(select, "SELECT * FROM \"" + table + "\" LIMIT 1"));
        row_list rows;
        for (SQLUSMALLINT i = 1; i <= column_count(select); i++) {
            SQLSMALLINT type = 0, digits = 0;
            SQLULEN size = 0;
            SQLDescribeCol(select, i, nullptr, 0, nullptr, &type, &size, &digits, nullptr);
            rows.push_back(std::to_string(type) + "|" + std::to_string(size) + "|" +
                           std::to_string(digits));
        }
        SQLFreeHandle(SQL_HANDLE_STMT, select);
        return rows;
    }

    row_list sorted(const std::string &sql)
    {
        row_list rows = query(conn, sql);
        std::sort(rows.begin(), rows.end());
        return rows;
    }
};

// Arguments of the functions, each with its length.
#define NONE       nullptr, 0
#define ANSI(text) odbc_text(text), SQL_NTS

TEST_F(live_catalog, by_default_tells_tables_columns_and_keys)
{
    make_tables("live_columns");
    EXPECT_EQ(
        told(SQLTables(stmt, ANSI("live_columns"), NONE, NONE, ANSI("TABLE")), {1, 2, 3, 4}),
        (row_list{"CASSANDRA|live_columns|Counts|TABLE", "CASSANDRA|live_columns|Quotes|TABLE",
                  "CASSANDRA|live_columns|every|TABLE", "CASSANDRA|live_columns|keyed|TABLE"}));
    std::string found;
    for (const std::string &row :
         told(SQLColumns(stmt, NONE, ANSI("live_columns"), ANSI("every"), NONE), {5, 6, 7}))
        found += row + "; ";
    // Type, its name, size.
    EXPECT_EQ(
        found,
        "4|int|8; 12|ascii|256; -5|bigint|20; -3|blob|1024; -7|boolean|1; "
        "91|date|10; 2|decimal|38; 8|double|24; -3|duration|1024; 7|float|14; 12|inet|256; "
        "4|int|8; -3|list<int>|1024; -3|map<text, int>|1024; -3|set<text>|1024; 5|smallint|6; "
        "12|text|256; 93|time|29; 93|timestamp|23; -11|timeuuid|36; -6|tinyint|4; "
        "-3|frozen<tuple<int, text>>|1024; -3|frozen<pair>|1024; -11|uuid|36; 2|varint|38; " +
            std::string(has_vectors ? "-3|vector<float, 3>|1024; " : ""));
    // Column names are found in any case.
    EXPECT_EQ(
        told(SQLColumns(stmt, NONE, ANSI("live_columns"), ANSI("keyed"), ANSI("SELECT")), {4}),
        row_list{"select"});
    EXPECT_EQ(told(SQLColumns(stmt, NONE, ANSI("live_columns"), ANSI("keyed"), NONE), {4, 16, 17}),
              (row_list{"k1|4|0", "K2|19|1", "c|4|2", "select|256|3", "st|4|4", "x|1024|5"}));
    EXPECT_EQ(
        told(SQLPrimaryKeys(stmt, NONE, ANSI("live_columns"), ANSI("keyed")), {1, 2, 3, 4, 5, 6}),
        (row_list{"CASSANDRA|live_columns|keyed|k1|1|NULL",
                  "CASSANDRA|live_columns|keyed|K2|1|NULL"}));
    EXPECT_EQ(told(SQLSpecialColumns(stmt, SQL_BEST_ROWID, NONE, ANSI("live_columns"),
                                     ANSI("keyed"), SQL_SCOPE_SESSION, SQL_NULLABLE),
                   {1, 2, 3, 4, 5, 6, 7, 8}),
              (row_list{"2|K2|2|decimal|38|19|15|NULL", "4|k1|4|int|8|4|NULL|NULL"}));
    EXPECT_EQ(told(SQLStatistics(stmt, NONE, NONE, ANSI("keyed"), SQL_INDEX_UNIQUE, SQL_QUICK),
                   {3, 4, 6, 7, 8, 9}),
              (row_list{"keyed|NULL|NULL|0|NULL|NULL", "keyed|1|keyed_select|3|1|\"select\""}));
}

TEST_F(live_catalog, a_walk_finds_what_the_schema_tells)
{
    make_tables("live_odbc");
    const std::string here = " WHERE keyspace_name = 'live_odbc'";
    for (const bool wide : {false, true}) {
        log_on(wide, "Standard=Yes;Keyspace=live_odbc");
        row_list names, wanted;
        for (const auto &[kind, from] :
             {std::pair("TABLE", "table_name, comment FROM system_schema.tables"),
              std::pair("VIEW", "view_name, comment FROM system_schema.views")})
            for (const std::string &row : query(conn, std::string("SELECT ") + from + here)) {
                names.push_back(row.substr(0, row.find('|')));
                wanted.push_back("NULL|live_odbc|" + names.back() + "|" + kind +
                                 row.substr(row.find('|')));
            }
        EXPECT_GE(names.size(), 4u);
        EXPECT_EQ(
            told(SQLTables(stmt, NONE, ANSI("live\\_odb_"), ANSI("%"), NONE), {1, 2, 3, 4, 5}),
            wanted);
        for (const std::string &name : names) {
            SCOPED_TRACE(name);
            const std::string of = here + " AND table_name = '" + name + "'";
            const auto columns = [&](const std::vector<int> &chosen) {
                return told(SQLColumns(stmt, NONE, ANSI("live_odbc"), ANSI(name), NONE), chosen);
            };
            row_list rows = columns({5, 7, 9});
            for (std::string &row : rows)
                row = replaced(row, "NULL", "0");
            EXPECT_EQ(rows, described(name));
            // By name, as the server's rows are: SELECT * has another order.
            rows = columns({4, 6});
            std::sort(rows.begin(), rows.end());
            EXPECT_EQ(rows, sorted("SELECT column_name, type FROM system_schema.columns" + of));

            row_list keys, numbered;
            for (const char *kind : {"partition_key", "clustering"})
                for (const std::string &row :
                     sorted("SELECT position, column_name FROM system_schema.columns" + of +
                            " AND kind = '" + kind + "' ALLOW FILTERING")) {
                    keys.push_back(row.substr(2));
                    numbered.push_back(keys.back() + "|" + std::to_string(keys.size()));
                }
            EXPECT_EQ(told(SQLSpecialColumns(stmt, SQL_BEST_ROWID, NONE, NONE, ANSI(name),
                                             SQL_SCOPE_SESSION, SQL_NULLABLE),
                           {2}),
                      keys);
            EXPECT_EQ(told(SQLPrimaryKeys(stmt, NONE, ANSI("live_odbc"), ANSI(name)), {4, 5}),
                      numbered);
            row_list indexes = query(conn, "SELECT index_name FROM system_schema.indexes" + of);
            indexes.insert(indexes.begin(), "NULL");  // the table's row
            EXPECT_EQ(told(SQLStatistics(stmt, NONE, ANSI("live_odbc"), ANSI(name), SQL_INDEX_ALL,
                                         SQL_QUICK),
                           {6}),
                      indexes);
        }
        EXPECT_EQ(told(SQLStatistics(stmt, NONE, ANSI("live_odbc"), ANSI("Quotes"), SQL_INDEX_ALL,
                                     SQL_QUICK),
                       {6, 9}),
                  (row_list{"NULL|NULL", "quotes_f|F", "quotes_m|m"}));
        EXPECT_EQ(
            told(SQLColumns(stmt, NONE, ANSI("live_odbc"), ANSI("Quotes"), ANSI("q\"'\\%\\_")),
                 {4, 6}),
            row_list{"q\"'%_|text"});
    }
}
