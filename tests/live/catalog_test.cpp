// Catalog functions through the Driver Manager against the node's own system_schema: tables of
// every type, composite keys, quoted and reserved names, views, indexes, and what names that are
// none come to.
#include "tests/live/live_support.h"

struct live_catalog : live_test {
    std::string keyspace;
    bool has_vectors_and_sai = false;

    void make_tables(const std::string &name)
    {
        keyspace = name;
        use_keyspace(name);
        has_vectors_and_sai = server_major(conn) >= 5;
        for (const char *sql : {
                 "CREATE TYPE addr (street text, zip int)",
                 "CREATE TABLE every (id uuid PRIMARY KEY, a ascii, b bigint, bl blob, bo boolean, "
                 "d date, de decimal, do double, du duration, f float, i inet, n int, s smallint, "
                 "t text, ti time, ts timestamp, tu timeuuid, ty tinyint, u uuid, v varchar, vi "
                 "varint, l list<int>, m map<text, frozen<list<int>>>, se set<text>, tp "
                 "frozen<tuple<int, text>>, ut frozen<addr>)",
                 "CREATE TABLE keyed (k1 int, \"K2\" decimal, c int, \"select\" text, st int "
                 "static, tx text, PRIMARY KEY ((k1, \"K2\"), c))",
                 "CREATE TABLE \"Counts\" (id int PRIMARY KEY, \"a, (b\" counter)",
                 "CREATE INDEX keyed_select ON keyed (\"select\")",
             }) {
            run(stmt, sql);
        }
        if (has_vectors_and_sai) {
            run(stmt, "ALTER TABLE every ADD ve vector<float, 3>");
            run(stmt, "CREATE INDEX keyed_sai ON keyed (tx) USING 'sai' WITH OPTIONS = "
                      "{'case_sensitive': 'false'}");
        }
    }

    SQLRETURN tables(const std::string &catalog, const char *table, const char *type)
    {
        return SQLTables(stmt, odbc_text(catalog), SQL_NTS, nullptr, 0, ansi(table), SQL_NTS,
                         ansi(type), SQL_NTS);
    }
    static SQLCHAR *ansi(const char *text)
    {
        return reinterpret_cast<SQLCHAR *>(const_cast<char *>(text));
    }
    SQLRETURN columns(const char *table, const char *column = nullptr)
    {
        return SQLColumns(stmt, nullptr, 0, odbc_text(keyspace), SQL_NTS, ansi(table), SQL_NTS,
                          ansi(column), SQL_NTS);
    }
    // The chosen columns of all rows.
    row_list pick(const std::vector<int> &wanted)
    {
        row_list rows;
        while (SQLFetch(stmt) == SQL_SUCCESS) {
            rows.emplace_back();
            for (const int column : wanted)
                rows.back() += (column == wanted[0] ? "" : "|") + cell_text(stmt, column);
        }
        SQLFreeStmt(stmt, SQL_CLOSE);
        return rows;
    }
};

TEST_F(live_catalog, tables_in_both_forms)
{
    make_tables("live_tables");
    for (const bool wide : {false, true}) {
        log_on(wide);
        EXPECT_STMT(SQL_SUCCESS, stmt, tables(keyspace, nullptr, nullptr));
        EXPECT_EQ(pick({2, 3, 4}), (row_list{"live_tables|Counts|TABLE", "live_tables|every|TABLE",
                                             "live_tables|keyed|TABLE"}));
        EXPECT_STMT(SQL_SUCCESS, stmt,
                    SQLTablesW(stmt, odbc_wide(u"live_tables"), SQL_NTS, nullptr, 0,
                               odbc_wide(u"keyed"), SQL_NTS, odbc_wide(u"TABLE"), SQL_NTS));
        EXPECT_EQ(pick({1, 2, 3, 4, 5}), row_list{"CASSANDRA|live_tables|keyed|TABLE|NULL"});
    }
    // Quotes go into the query as they stand, so the server refuses some.
    EXPECT_STMT(SQL_ERROR, stmt, tables(keyspace, "o'x", "TABLE"));
    expect_records(SQL_HANDLE_STMT, stmt, {"08S01 error code 8192"});
    // A node may refuse to make views.
    if (SQL_SUCCEEDED(exec(stmt, "CREATE MATERIALIZED VIEW live_tables.v AS SELECT * FROM "
                                 "live_tables.keyed WHERE k1 IS NOT NULL AND \"K2\" IS NOT NULL "
                                 "AND c IS NOT NULL PRIMARY KEY (c, k1, \"K2\")"))) {
        EXPECT_STMT(SQL_SUCCESS, stmt, tables(keyspace, nullptr, "VIEW"));
        EXPECT_EQ(pick({3, 4}), row_list{"v|VIEWS"});
    }
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLTables(stmt, ansi(""), 0, ansi("%"), 1, ansi(""), 0, nullptr, 0));
    const row_list keyspaces = pick({2});
    EXPECT_NE(std::find(keyspaces.begin(), keyspaces.end(), "system_schema"), keyspaces.end());
}

TEST_F(live_catalog, columns_of_every_type)
{
    make_tables("live_columns");
    EXPECT_STMT(SQL_SUCCESS, stmt, columns("every"));
    // Name, type, its name, size, bytes, digits, radix, nullability, verbose type, subtype, place.
    // clang-format off
    row_list wanted = {
        "id|-11|uuid|36|16|NULL|NULL|0|-11|NULL|0|NO",
        "a|12|ascii|256|256|NULL|NULL|1|12|NULL|1|YES",
        "b|-5|bigint|20|8|NULL|NULL|1|-5|NULL|2|YES",
        "bl|-3|blob|1024|1024|NULL|NULL|1|-3|NULL|3|YES",
        "bo|-7|boolean|1|1|NULL|NULL|1|-7|NULL|4|YES", "d|91|date|10|6|NULL|NULL|1|9|91|5|YES",
        "de|2|decimal|38|19|15|10|1|2|NULL|6|YES", "do|8|double|24|8|NULL|2|1|8|NULL|7|YES",
        "du|-3|duration|1024|1024|NULL|NULL|1|-3|NULL|8|YES",
        "f|7|float|14|4|NULL|2|1|7|NULL|9|YES", "i|12|inet|256|256|NULL|NULL|1|12|NULL|10|YES",
        "l|-3|list<int>|1024|1024|NULL|NULL|1|-3|NULL|11|YES",
        "m|-3|map<text, frozen<list<int>>>|1024|1024|NULL|NULL|1|-3|NULL|12|YES",
        "n|4|int|8|4|NULL|NULL|1|4|NULL|13|YES", "s|5|smallint|6|2|NULL|NULL|1|5|NULL|14|YES",
        "se|-3|set<text>|1024|1024|NULL|NULL|1|-3|NULL|15|YES",
        "t|12|text|256|256|NULL|NULL|1|12|NULL|16|YES", "ti|93|time|29|16|NULL|NULL|1|9|93|17|YES",
        "tp|-3|frozen<tuple<int, text>>|1024|1024|NULL|NULL|1|-3|NULL|18|YES",
        "ts|93|timestamp|23|16|NULL|NULL|1|9|93|19|YES",
        "tu|-11|timeuuid|36|16|NULL|NULL|1|-11|NULL|20|YES",
        "ty|-6|tinyint|4|1|NULL|NULL|1|-6|NULL|21|YES",
        "u|-11|uuid|36|16|NULL|NULL|1|-11|NULL|22|YES",
        "ut|-3|frozen<addr>|1024|1024|NULL|NULL|1|-3|NULL|23|YES",
        "v|12|text|256|256|NULL|NULL|1|12|NULL|24|YES",
        "vi|2|varint|38|19|0|10|1|2|NULL|25|YES"};
    // clang-format on
    if (has_vectors_and_sai) {
        wanted.back() = "ve|-3|vector<float, 3>|1024|1024|NULL|NULL|1|-3|NULL|25|YES";
        wanted.emplace_back("vi|2|varint|38|19|0|10|1|2|NULL|26|YES");
    }
    EXPECT_EQ(pick({4, 5, 6, 7, 8, 9, 10, 11, 14, 15, 17, 18}), wanted);
    EXPECT_STMT(SQL_SUCCESS, stmt, columns("keyed"));
    EXPECT_EQ(pick({4, 16}), (row_list{"k1|4", "K2|19", "c|4", "select|256", "st|4", "tx|256"}));
    // Column names are found in any case, tables in their own; the schema selects the keyspace.
    EXPECT_STMT(SQL_SUCCESS, stmt, columns("keyed", "SELECT"));
    EXPECT_EQ(pick({1, 2, 3, 4}), row_list{"CASSANDRA|live_columns|keyed|select"});
    EXPECT_STMT(SQL_SUCCESS, stmt, columns("counts"));
    EXPECT_EQ(pick({4}), row_list{});
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLColumnsW(stmt, nullptr, 0, nullptr, 0, odbc_wide(u"Counts"), SQL_NTS,
                            odbc_wide(u"%"), SQL_NTS));
    EXPECT_EQ(pick({4, 5}), (row_list{"id|4", "a, (b|-5"}));
}

TEST_F(live_catalog, keys_and_indexes)
{
    make_tables("live_keys");
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLPrimaryKeys(stmt, nullptr, SQL_NTS, odbc_text(keyspace), SQL_NTS, ansi("keyed"),
                               SQL_NTS));
    EXPECT_EQ(pick({1, 2, 3, 4, 5, 6}), (row_list{"CASSANDRA|live_keys|keyed|k1|1|NULL",
                                                  "CASSANDRA|live_keys|keyed|K2|1|NULL"}));
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLSpecialColumns(stmt, SQL_BEST_ROWID, nullptr, 0, odbc_text(keyspace), SQL_NTS,
                                  ansi("keyed"), SQL_NTS, SQL_SCOPE_SESSION, SQL_NULLABLE));
    EXPECT_EQ(pick({1, 2, 3, 4, 5, 6, 7, 8}),
              (row_list{"2|K2|2|decimal|38|19|15|NULL", "4|k1|4|int|8|4|NULL|NULL"}));
    EXPECT_STMT(SQL_SUCCESS, stmt,
                SQLStatisticsW(stmt, nullptr, 0, nullptr, 0, odbc_wide(u"keyed"), SQL_NTS,
                               SQL_INDEX_UNIQUE, SQL_QUICK));
    row_list wanted = {"CASSANDRA|live_keys|keyed|NULL|NULL|0|NULL|NULL",
                       "CASSANDRA|live_keys|keyed|1|keyed_sai|3|1|false",
                       "CASSANDRA|live_keys|keyed|1|keyed_sai|3|2|sai",
                       "CASSANDRA|live_keys|keyed|1|keyed_sai|3|3|tx",
                       "CASSANDRA|live_keys|keyed|1|keyed_select|3|1|\"select\""};
    if (!has_vectors_and_sai)
        wanted.erase(wanted.begin() + 1, wanted.begin() + 4);
    EXPECT_EQ(pick({1, 2, 3, 4, 6, 7, 8, 9}), wanted);
}

// ---- By the rules of ODBC ------------------------------------------------------------------------

struct live_odbc_catalog : live_catalog {
    void make_more()
    {
        make_tables("live_odbc");
        const std::string hundred(100, 'c'), umlauts = hundred + "\xC3\xBC";
        run(stmt, "ALTER TABLE every WITH comment = 'It''s \"every\" type'");
        run(stmt, "CREATE TABLE " + std::string(48, 't') + " (" + hundred + " int PRIMARY KEY, \"" +
                      umlauts + "\" text)");
        run(stmt,
            "CREATE TABLE \"Quotes\" (\"Pk\" int, \"C\" int, \"q\"\"'%_\" text, m map<text, int>, "
            "\"F\" frozen<list<int>>, u addr, l 'org.apache.cassandra.db.marshal.LexicalUUIDType', "
            "PRIMARY KEY (\"Pk\", \"C\"))");
        run(stmt, "CREATE INDEX quotes_m ON \"Quotes\" (values(m))");
        run(stmt, "CREATE INDEX quotes_f ON \"Quotes\" (full(\"F\"))");
        // What a node may refuse.
        exec(stmt, "CREATE CUSTOM INDEX keyed_sasi ON keyed (\"select\") USING "
                   "'org.apache.cassandra.index.sasi.SASIIndex'");
        exec(stmt, "CREATE MATERIALIZED VIEW \"View\" AS SELECT * FROM \"Quotes\" WHERE \"Pk\" IS "
                   "NOT NULL "
                   "AND \"C\" IS NOT NULL PRIMARY KEY (\"C\", \"Pk\")");
    }

    row_list told(const std::string &sql) { return query(conn, sql); }

    SQLLEN number(SQLHSTMT described, SQLUSMALLINT column, SQLUSMALLINT attribute)
    {
        SQLLEN value = 0;
        SQLColAttribute(described, column, attribute, nullptr, 0, nullptr, &value);
        return value;
    }

    // The columns of SELECT * as they are described: name, type, size, bytes, digits, radix,
    // verbose type, subcode, octets of text, position; 0 for what SQLColumns tells nothing of.
    row_list described(const std::string &table)
    {
        const SQLHSTMT select = new_stmt(live.get());
        EXPECT_STMT(SQL_SUCCESS, select, exec(select, "SELECT * FROM \"" + table + "\" LIMIT 1"));
        row_list rows;
        for (SQLUSMALLINT i = 1; i <= column_count(select); i++) {
            SQLWCHAR name[300] = {};
            SQLSMALLINT type = 0, digits = 0;
            SQLULEN size = 0;
            SQLDescribeColW(select, i, name, 300, nullptr, &type, &size, &digits, nullptr);
            const SQLLEN octets = number(select, i, SQL_DESC_OCTET_LENGTH);
            const bool datetime = number(select, i, SQL_DESC_TYPE) == SQL_DATETIME;
            const bool sized = type == SQL_VARCHAR || type == SQL_WVARCHAR || type == SQL_VARBINARY;
            std::string row;
            for (const SQLWCHAR *unit = name; *unit != 0; unit++)  // none needs three bytes
                row += *unit < 0x80 ? std::string(1, static_cast<char>(*unit))
                                    : std::string{static_cast<char>(0xC0 | *unit >> 6),
                                                  static_cast<char>(0x80 | (*unit & 0x3F))};
            for (const SQLLEN value :
                 {SQLLEN{type}, SQLLEN(size), octets, SQLLEN{digits},
                  number(select, i, SQL_DESC_NUM_PREC_RADIX), number(select, i, SQL_DESC_TYPE),
                  datetime ? SQLLEN{type - SQL_TYPE_DATE + SQL_CODE_DATE} : 0, sized ? octets : 0,
                  SQLLEN{i}})
                row += "|" + std::to_string(value);
            rows.push_back(row);
        }
        SQLFreeHandle(SQL_HANDLE_STMT, select);
        return rows;
    }

    static row_list nulls_as_zero(row_list rows)
    {
        for (std::string &row : rows)
            row = replaced(row, "NULL", "0");
        return rows;
    }
};

TEST_F(live_odbc_catalog, a_walk_finds_what_the_schema_tells)
{
    make_more();
    const std::string here = " WHERE keyspace_name = 'live_odbc'";
    for (const bool wide : {false, true}) {
        log_on(wide, "Standard=Yes;Keyspace=live_odbc");
        row_list names;
        row_list wanted;
        for (const auto &[kind, from] :
             {std::pair("TABLE", "table_name, comment FROM system_schema.tables"),
              std::pair("VIEW", "view_name, comment FROM system_schema.views")})
            for (const std::string &row : told(std::string("SELECT ") + from + here)) {
                const std::size_t bar = row.find('|');
                names.push_back(row.substr(0, bar));
                wanted.push_back("NULL|live_odbc|" + row.substr(0, bar) + "|" + kind +
                                 row.substr(bar));
            }
        EXPECT_GE(names.size(), 5u);
        EXPECT_STMT(SQL_SUCCESS, stmt,
                    SQLTables(stmt, nullptr, 0, ansi("live\\_odb_"), SQL_NTS, ansi("%"), SQL_NTS,
                              nullptr, 0));
        EXPECT_EQ(pick({1, 2, 3, 4, 5}), wanted);
        for (const std::string &name : names) {
            SCOPED_TRACE(name);
            const std::string of = here + " AND table_name = '" + name + "'";
            EXPECT_STMT(SQL_SUCCESS, stmt,
                        SQLColumns(stmt, nullptr, 0, odbc_text(keyspace), SQL_NTS, odbc_text(name),
                                   SQL_NTS, nullptr, 0));
            EXPECT_EQ(nulls_as_zero(pick({4, 5, 7, 8, 9, 10, 14, 15, 16, 17})), described(name));
            // By name, as the server's rows are: SELECT * has another order.
            EXPECT_STMT(SQL_SUCCESS, stmt,
                        SQLColumns(stmt, nullptr, 0, odbc_text(keyspace), SQL_NTS, odbc_text(name),
                                   SQL_NTS, nullptr, 0));
            row_list types = pick({4, 6});
            std::sort(types.begin(), types.end());
            row_list schema = told("SELECT column_name, type FROM system_schema.columns" + of);
            std::sort(schema.begin(), schema.end());
            EXPECT_EQ(types, schema);

            row_list keys;
            for (const char *kind : {"partition_key", "clustering"})
                for (int position = 0; position < 3; position++)
                    for (const std::string &row :
                         told("SELECT column_name FROM system_schema.columns" + of +
                              " AND kind = '" + kind +
                              "' AND position = " + std::to_string(position) + " ALLOW FILTERING"))
                        keys.push_back(row);
            EXPECT_STMT(SQL_SUCCESS, stmt,
                        SQLSpecialColumns(stmt, SQL_BEST_ROWID, nullptr, 0, nullptr, 0,
                                          odbc_text(name), SQL_NTS, SQL_SCOPE_SESSION,
                                          SQL_NULLABLE));
            EXPECT_EQ(pick({2}), keys);
            for (std::size_t i = 0; i < keys.size(); i++)
                keys[i] = "NULL|live_odbc|" + name + "|" + keys[i] + "|" + std::to_string(i + 1) +
                          "|NULL";
            EXPECT_STMT(SQL_SUCCESS, stmt,
                        SQLPrimaryKeys(stmt, nullptr, 0, odbc_text(keyspace), SQL_NTS,
                                       odbc_text(name), SQL_NTS));
            EXPECT_EQ(pick({1, 2, 3, 4, 5, 6}), keys);

            row_list indexes = told("SELECT index_name FROM system_schema.indexes" + of);
            indexes.insert(indexes.begin(), "NULL");  // the table's row
            EXPECT_STMT(SQL_SUCCESS, stmt,
                        SQLStatistics(stmt, nullptr, 0, odbc_text(keyspace), SQL_NTS,
                                      odbc_text(name), SQL_NTS, SQL_INDEX_ALL, SQL_QUICK));
            EXPECT_EQ(pick({6}), indexes);
        }
        EXPECT_STMT(SQL_SUCCESS, stmt,
                    SQLStatistics(stmt, nullptr, 0, odbc_text(keyspace), SQL_NTS, ansi("Quotes"),
                                  SQL_NTS, SQL_INDEX_ALL, SQL_QUICK));
        EXPECT_EQ(pick({6, 9}), (row_list{"NULL|NULL", "quotes_f|F", "quotes_m|m"}));
        EXPECT_STMT(SQL_SUCCESS, stmt, columns("Quotes", "q\"'\\%\\_"));
        EXPECT_EQ(pick({4, 6}), row_list{"q\"'%_|text"});
    }
}
