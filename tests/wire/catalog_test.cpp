// Catalog functions: the exact queries that their arguments come to, in both forms, what is made of
// the replies, and failures in all places, after which the connection serves on.
#include <optional>

#include "tests/wire/wire_support.h"

// ---- Arguments ---------------------------------------------------------------------------------

// A text with a length of its own, or a null pointer.
struct argument {
    const char *text = nullptr;
    SQLSMALLINT length = SQL_NTS;
};
constexpr argument none = {nullptr, 0};

// The function in one form; the fourth argument is the table type or the column name.
static SQLRETURN call(const std::string &name, SQLHSTMT stmt, std::vector<argument> a,
                      bool wide = false)
{
    a.resize(4, none);
    std::u16string kept[4];
    SQLCHAR *t[4];
    SQLWCHAR *w[4];
    for (std::size_t i = 0; i < 4; i++) {
        const std::string_view text = a[i].text != nullptr ? a[i].text : "";
        kept[i].assign(text.begin(), text.end());
        t[i] = reinterpret_cast<SQLCHAR *>(const_cast<char *>(a[i].text));
        w[i] = a[i].text != nullptr ? odbc_wide(kept[i]) : nullptr;
    }
#define THREE(x) x[0], a[0].length, x[1], a[1].length, x[2], a[2].length
#define FOUR(x)  THREE(x), x[3], a[3].length
#define CALL(text, function, ...)                                                                  \
    if (name == text)                                                                              \
    return wide ? function##W(stmt, __VA_ARGS__(w)) : function(stmt, __VA_ARGS__(t))
#define ROWID(x)   SQL_BEST_ROWID, THREE(x), SQL_SCOPE_SESSION, SQL_NULLABLE
#define ROWVER(x)  SQL_ROWVER, THREE(x), SQL_SCOPE_SESSION, SQL_NULLABLE
#define INDEXES(x) THREE(x), SQL_INDEX_ALL, SQL_QUICK
#define SIX(x)     THREE(x), THREE(x)
#define TYPE(x)    SQL_INTEGER
    CALL("tables", SQLTables, FOUR);
    CALL("columns", SQLColumns, FOUR);
    CALL("keys", SQLPrimaryKeys, THREE);
    CALL("rowid", SQLSpecialColumns, ROWID);
    CALL("rowver", SQLSpecialColumns, ROWVER);
    CALL("indexes", SQLStatistics, INDEXES);
    CALL("foreign", SQLForeignKeys, SIX);
    CALL("procedures", SQLProcedures, THREE);
    CALL("procedure columns", SQLProcedureColumns, FOUR);
    CALL("table privileges", SQLTablePrivileges, THREE);
    CALL("column privileges", SQLColumnPrivileges, FOUR);
    CALL("types", SQLGetTypeInfo, TYPE);
    return SQL_ERROR;
}

static std::string nulls(int count)
{
    return count == 0 ? "" : "|NULL" + nulls(count - 1);
}

static const std::string tables_query =
    "select keyspace_name, table_name from system_schema.tables";
static const std::string views_query = "select keyspace_name, view_name from system_schema.views";
static const std::string indexes_query =
    "select keyspace_name, table_name, index_name, kind, options from system_schema.indexes";
static const std::string columns_query =
    "SELECT column_name, kind, type, table_name, position, keyspace_name FROM "
    "system_schema.columns WHERE ";

TEST(catalog, queries_are_what_the_arguments_ask_for)
{
    const std::string of_t = " WHERE table_name='t'", and_ks1 = " AND keyspace_name='ks1'";
    const std::string in_ks2 = " WHERE keyspace_name='ks2' ALLOW FILTERING";
    const std::string filtering = " ALLOW FILTERING", of_no_index = "|NULL|NULL|NULL|0" + nulls(6);
    const row_list both = {tables_query, views_query}, none_asked = {};
    struct {
        const char *function;
        const char *current;  // keyspace in use
        std::vector<argument> arguments;
        row_list queries;
        row_list rows = {};
    } const cases[] = {
        // clang-format off
        // The special listings, and what is just beside them.
        {"tables", "ks1", {{}, {"x", 0}, {""}, {"%x", 1}}, none_asked,
         {"NULL|NULL|NULL|TABLE|NULL", "NULL|NULL|NULL|VIEW|NULL"}},
        {"tables", "ks1", {{"%"}, {""}, {}, none}, none_asked, {"CASSANDRA|NULL|NULL|NULL|NULL"}},
        {"tables", "ks1", {{"%"}, none, {""}, {"TABLE"}},
         {tables_query + " WHERE keyspace_name='%'" + filtering}},
        {"tables", "ks1", {{""}, {"%"}, {""}, none},
         {"select keyspace_name from system_schema.keyspaces"}},
        // The general listing.
        {"tables", nullptr, {}, both},
        {"tables", "ks1", {none, {"ks2"}, none, {"VIEW"}},
         {views_query + " WHERE keyspace_name = 'ks1'" + filtering}},
        {"tables", "ks1", {none, none, {"t"}, {"table"}},
         {tables_query + of_t + " AND keyspace_name = 'ks1'" + filtering}},
        {"tables", "ks1", {{"ks2"}, none, {"t%"}, {"'VIEW',x"}},
         {views_query + " WHERE view_name='t%' AND keyspace_name='ks2'" + filtering}},
        {"tables", nullptr, {{"ks2 and more", 3}, none, {"%"}, {"TABLE, VIEW"}},
         {tables_query + in_ks2}},
        // The schema is the keyspace everywhere else.
        {"columns", "ks1", {{"c"}, {"%"}, {"o'x"}, none},
         {tables_query + " WHERE table_name='o'x'" + and_ks1 + filtering}},
        {"rowid", "ks1", {none, {""}, {"t"}}, {tables_query + of_t + and_ks1 + filtering}},
        {"rowver", "ks1", {none, {"ks2"}, {"t"}}, none_asked},
        // The keys measure the schema by the catalog's length, within its own.
        {"keys", "ks1", {none, {"ks2"}, {"t"}}, {tables_query + of_t + and_ks1 + filtering}},
        {"keys", nullptr, {{nullptr, 2}, {"ks2"}, none},
         {tables_query + " WHERE keyspace_name='ks'" + filtering}},
        {"indexes", nullptr, {none, none, {"t"}}, {indexes_query + of_t + filtering},
         {"CASSANDRA|NULL|t" + of_no_index}},
        // clang-format on
    };
    for (const auto &c : cases)
        for (const bool wide : {false, true}) {
            SCOPED_TRACE(std::to_string(&c - cases) + " " + c.function + (wide ? "W" : ""));
            const wire_ptr wire = wire_logged_on();
            if (c.current != nullptr)
                run_query(wire, "use ks1", set_keyspace_frame(c.current));
            for (const std::string &query : c.queries)
                expect_query(wire->node, query, {text_rows({})});
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, call(c.function, wire->stmt, c.arguments, wide));
            EXPECT_EQ(fetch_all(wire->stmt), c.rows);
        }
}

// ---- Rows and failures --------------------------------------------------------------------------

static bytes options_of(const std::vector<std::pair<bytes, bytes>> &entries)
{
    bytes all = be32(entries.size());
    for (const auto &[key, value] : entries)
        all += wire_bytes(key) + wire_bytes(value);
    return all;
}

TEST(catalog, replies_become_rows_and_the_connection_serves_on_after_failures)
{
    const std::string of_t = columns_query + "keyspace_name='ks' and table_name='t'";
    const std::string of_u = columns_query + "keyspace_name='ks' and table_name='u'";
    const std::string in_t = indexes_query + " WHERE table_name='t' ALLOW FILTERING";
    const std::string long_name(70, 'n'), index = "CASSANDRA|ks|t|1|NULL|i|3|";
    const std::string no_index = "CASSANDRA|NULL|t|NULL|NULL|NULL|0" + nulls(6);
    const node_frame refusal = error_frame(0x2200, "no such thing");
    const std::string refused = link_failure + "error code 8704 'no such thing'";
    const node_frame two = text_rows({{"ks", "t"}, {"ks", "u"}});
    const node_frame first_page = text_rows({{"b", "t2"}, {"b", long_name}}, {.paging_state = "p"});
    const node_frame column = text_rows({{"id", "partition_key", "int"}});
    const auto index_with = [](const node_cell &options) {
        node_columns columns(4, {"c", type_of(NODE_VARCHAR)});
        columns.push_back({"options", type_map(type_of(NODE_VARCHAR), type_of(NODE_VARCHAR))});
        return rows_frame(columns, {{"ks", "t", "i", "kind", options}});
    };
    struct step {
        std::string query;
        node_frame reply;
        const char *state = nullptr;  // of a next page
    };
    struct {
        const char *function;  // those of indexes are asked for t
        std::vector<step> steps;
        SQLRETURN code;
        record_list records;
        row_list rows;
    } const cases[] = {
        // clang-format off
        // Sorted over pages, and names cut.
        {"tables", {{tables_query, first_page},
                    {tables_query, text_rows({{"a", "t3"}, {"b", "T1"}, {std::nullopt, ""}}), "p"},
                    {views_query, text_rows({{"a", "v"}})}}, SQL_SUCCESS, {},
         {"CASSANDRA|NULL||TABLE|NULL", "CASSANDRA|a|t3|TABLE|NULL", "CASSANDRA|b|T1|TABLE|NULL",
          "CASSANDRA|b|" + long_name.substr(0, 64) + "|TABLE|NULL", "CASSANDRA|b|t2|TABLE|NULL",
          "CASSANDRA|a|v|VIEWS|NULL"}},
        {"tables", {{tables_query, two}, {views_query, refusal}}, SQL_ERROR, {refused}, {}},
        {"tables", {{tables_query, with_warnings(two, {"slow"})}}, SQL_ERROR, {"01000 slow"}, {}},
        {"keys", {{tables_query, two}, {of_t, column}, {of_u, refusal}}, SQL_ERROR, {refused}, {}},
        {"columns", {{tables_query, text_rows({{"ks", "t"}})},
                     {of_t, text_rows({{"d", "partition_key", "double"}, {"m", "regular", "map<text, int>"},
                                       {"w", "regular", "timestamp"}})}},
         SQL_SUCCESS, {}, {"CASSANDRA|ks|t|d|8|double|24|8|NULL|2|0|NULL|NULL|8|NULL|8|0|NO",
                           "CASSANDRA|ks|t|m|-3|map<text, int>|1024|1024|NULL|NULL|1|NULL|NULL|-3|NULL|1024|1|YES",
                           "CASSANDRA|ks|t|w|93|timestamp|23|16|NULL|NULL|1|NULL|NULL|9|93|16|2|YES"}},
        // A table dropped in the meantime has none.
        {"keys", {{tables_query, two}, {of_t, text_rows({})}, {of_u, column}}, SQL_SUCCESS, {},
         {"CASSANDRA|ks|u|id|1|NULL"}},
        // Options of an index, within their bytes.
        {"indexes", {{in_t, index_with(options_of({{"target", "a"}, {"x", ""}}))}}, SQL_SUCCESS, {},
         {no_index, index + "1|a" + nulls(4), index + "2|" + nulls(4)}},
        {"indexes", {{in_t, index_with(be32(3) + be32(0xFFFFFFFF) + be32(1))}}, SQL_SUCCESS, {},
         {no_index}},
        {"indexes", {{in_t, index_with(be32(1) + be32(0x7FFFFFFF) + "x")}}, SQL_SUCCESS, {},
         {no_index}},
        {"indexes", {{in_t, index_with(bytes(1025, '\0'))}}, SQL_ERROR,
         {general_error + "short read on options"}, {}},
        // clang-format on
    };
    const wire_ptr wire = wire_logged_on();
    const SQLHSTMT other = wire_new_stmt(wire);
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        for (const step &s : c.steps)
            if (s.state == nullptr)
                expect_query(wire->node, s.query, {s.reply});
            else
                expect_next_query(wire->node, s.query, s.state, {s.reply});
        const argument table = std::string(c.function) == "indexes" ? argument{"t"} : none;
        EXPECT_STMT(c.code, wire->stmt, call(c.function, wire->stmt, {none, none, table}));
        EXPECT_EQ(stmt_records(wire->stmt), c.records);
        EXPECT_EQ(fetch_all(wire->stmt), c.rows);
        expect_query(wire->node, "q", {void_frame()});
        EXPECT_STMT(SQL_SUCCESS, other, exec(other, "q"));
    }
    EXPECT_STMT(SQL_ERROR, wire->stmt, call("indexes", wire->stmt, {none, none, {"%"}}));
    EXPECT_EQ(stmt_records(wire->stmt),
              record_list{"HY010 Function sequence error: table name not supplied"});
    SQLFreeHandle(SQL_HANDLE_STMT, other);
}

TEST(catalog, unread_rows_occupy_the_connection)
{
    const wire_ptr wire = wire_logged_on();
    const SQLHSTMT other = wire_new_stmt(wire);
    const auto is_busy = [&] {
        if (exec(other, "q") == SQL_SUCCESS)
            return false;
        EXPECT_EQ(stmt_records(other),
                  record_list{general_error + "connection is busy with results of another hstmt"});
        return true;
    };
    node_answer_rest(wire->node, [](const node_request &request) {
        return std::vector{request.opcode == NODE_PREPARE ? error_frame(0x2200, "no")
                                                          : text_rows({{"ks", "t"}})};
    });
    // A text that failed to be prepared: the catalog's result has nothing to do with it.
    EXPECT_STMT(SQL_ERROR, wire->stmt, prepare(wire->stmt, "gone"));
    // Whether each occupies at all, and its columns.
    // clang-format off
    const std::tuple<const char *, bool, int> functions[] = {
        {"tables", true, 5}, {"columns", true, 18}, {"keys", true, 6},
        {"rowid", true, 8}, {"rowver", true, 8}, {"indexes", true, 13},
        {"foreign", false, 14}, {"procedures", true, 8}, {"procedure columns", true, 19},
        {"table privileges", true, 7}, {"column privileges", true, 8}, {"types", false, 19},
    };
    // clang-format on
    for (const auto &[function, occupies, columns] : functions) {
        SCOPED_TRACE(function);
        for (const bool wide : {false, true}) {
            EXPECT_STMT(SQL_SUCCESS, wire->stmt, call(function, wire->stmt, {{}, {}, {"t"}}, wide));
            EXPECT_EQ(column_count(wire->stmt), columns);
            EXPECT_EQ(is_busy(), occupies);
            // The ANSI form's rows are read to their end, the wide form's are closed.
            if (!wide)
                fetch_all(wire->stmt);
            else
                SQLFreeStmt(wire->stmt, SQL_CLOSE);
            EXPECT_FALSE(is_busy());
        }
        EXPECT_EQ(call(function, nullptr, {}), SQL_INVALID_HANDLE);
    }
    // The statement itself is closed by its next call.
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, call("tables", wire->stmt, {}));
    EXPECT_STMT(SQL_SUCCESS, wire->stmt, exec(wire->stmt, "q"));
    EXPECT_FALSE(is_busy());
    SQLFreeHandle(SQL_HANDLE_STMT, other);
}

// ---- By the rules of ODBC ------------------------------------------------------------------------

// What the server has, whatever a query's conditions are.
static node_frame schema_answer(std::string_view sql, bool has_virtual)
{
    const auto column = [](const bytes &table, const bytes &name, const bytes &type,
                           const bytes &kind, int position) {
        return node_row{"ks1", table, name, type, kind, be32(static_cast<unsigned>(position))};
    };
    const bytes text = type_of(NODE_VARCHAR);
    // The last column is of another type.
    const auto rows = [&](const bytes &last, const std::vector<node_row> &list) {
        node_columns columns(list[0].size(), {"c", text});
        columns.back().type = last;
        return rows_frame(columns, list);
    };
    const bytes compound = be32(1) + wire_bytes("compound"), long_name(200, 'n');
    const std::pair<std::string, node_frame> tables[] = {
        {"system_virtual_schema.tables", text_rows({{"system_views", "s_t", "told"}})},
        {"system_virtual_schema.keyspaces", text_rows({{"system_views"}})},
        {"system_schema.keyspaces", text_rows({{"ks1"}, {"ks2"}, {"Ks"}})},
        {"system_schema.views", text_rows({{"ks1", "t", "seen"}})},
        {"system_schema.tables", rows(be16(NODE_SET) + text, {{"system", "t", "", compound},
                                                              {"ks2", "t", "", compound},
                                                              {"ks1", "t_x", long_name, compound},
                                                              {"ks1", "old", "", std::nullopt}})},
        {"system_schema.columns",
         rows(type_of(NODE_INT),
              {column("t_x", "b", "text", "regular", -1), column("t_x", "Z", "int", "regular", -1),
               column("t_x", "s", "set<text>", "static", -1),
               column("t_x", "c", "timestamp", "clustering", 0),
               column("t_x", "k2", "decimal", "partition_key", 1),
               column("t_x", "k1", "int", "partition_key", 0),
               column("old", "column1", "text", "clustering", 0),
               column("old", "value", "blob", "regular", -1),
               column("old", "k", "uuid", "partition_key", 0),
               column("nobody", "x", "int", "regular", -1)})},
        {"system_schema.indexes",
         rows(type_map(text, text),
              {{"ks1", "t_x", "i2",
                options_of({{"class_name", "x"}, {"target", "values(\"a, \"\"(b\")"}})},
               {"ks1", "t_x", "i1", options_of({{"target", "\"B\",c"}})},
               {"ks1", "t_x", "i3", be32(0x7FFFFFFF) + be32(0xFFFFFFFF)},
               {"ks1", "old", "i0", std::nullopt}})},
    };
    for (const auto &[name, reply] : tables)
        if (sql.find(" FROM " + name) != std::string_view::npos &&
            (has_virtual || name.find("virtual") == std::string::npos))
            return reply;
    return error_frame(0x2200, "keyspace system_virtual_schema does not exist");
}

TEST(catalog, by_the_rules_of_odbc_names_are_compared_here)
{
    const std::string tables =
        "SELECT keyspace_name, table_name, comment, flags FROM system_schema.tables";
    const std::string views = "SELECT keyspace_name, view_name, comment FROM system_schema.views";
    const std::string virtuals =
        "SELECT keyspace_name, table_name, comment FROM system_virtual_schema.tables";
    const std::string columns = "SELECT keyspace_name, table_name, column_name, type, kind, "
                                "position FROM system_schema.columns";
    const std::string indexes =
        "SELECT keyspace_name, table_name, index_name, options FROM system_schema.indexes";
    const std::string in_ks1 = " WHERE keyspace_name='ks1'", t_x = " AND table_name='t_x'";
    const std::string long_name(200, 'n'), null_row = "NULL|NULL|NULL";
    const std::string of_t_x = "NULL|ks1|t_x|", index = of_t_x + "1|NULL|";
    const row_list any = {"-"}, everything = {tables, views, virtuals};
    const row_list keys = {of_t_x + "k1|1|NULL", of_t_x + "k2|2|NULL", of_t_x + "c|3|NULL"};
    struct {
        const char *function;
        std::vector<argument> arguments;
        row_list rows;
        row_list queries;  // any: of no interest
        bool identifiers = false;
        const char *current = nullptr;
        bool has_virtual = true;
    } const cases[] = {
        // clang-format off
        {"tables", {}, {"NULL|system|t|SYSTEM TABLE|", "NULL|system_views|s_t|SYSTEM TABLE|told",
                        "NULL|ks1|old|TABLE|", "NULL|ks1|t_x|TABLE|" + long_name, "NULL|ks2|t|TABLE|",
                        "NULL|ks1|t|VIEW|seen"}, everything},
        {"tables", {{}, {}, {}, {" view , 'SYSTEM TABLE',X"}},
         {"NULL|system|t|SYSTEM TABLE|", "NULL|ks1|t|VIEW|seen"}, everything, false, "ks1", false},
        {"tables", {{}, {"ks_"}, {"t%x"}, {"TABLE"}}, {"NULL|ks1|t_x|TABLE|" + long_name}, {tables}},
        {"tables", {{}, {"ks1"}, {"t\\_x"}, {"TABLE"}}, {"NULL|ks1|t_x|TABLE|" + long_name},
         {tables + in_ks1 + t_x}},
        {"tables", {{}, {" \"ks1\" "}, {"T_X  "}, {"TABLE"}}, {"NULL|ks1|t_x|TABLE|" + long_name},
         {tables + in_ks1 + t_x}, true},
        // A catalog, no name, and what cannot be one.
        {"tables", {{"c"}, {"ks1"}, {}, {}}, {}, {}},
        {"tables", {{"%"}, {""}, {"old"}, {}}, {"NULL|ks1|old|TABLE|"}, any},
        {"tables", {{}, {}, {""}, {}}, {}, {}},
        {"keys", {{}, {"%"}, {"t_x"}}, {}, {}},
        // The enumerations, with null pointers as the Driver Manager hands them on.
        {"tables", {none, none, none, {"%"}},
         {null_row + "|SYSTEM TABLE|NULL", null_row + "|TABLE|NULL", null_row + "|VIEW|NULL"}, {}},
        {"tables", {{"%"}, none, {""}, none}, {}, {}, true},
        {"tables", {none, {"%"}, none, none},
         {"NULL|Ks|" + null_row, "NULL|ks1|" + null_row, "NULL|ks2|" + null_row, "NULL|system_views|" + null_row}, any},
        // In the order of SELECT *, with what each type is described as.
        {"columns", {{}, {"ks1"}, {"t\\_x"}, {}},
         {of_t_x + "k1|4|int|10|4|0|10|0|NULL|NULL|4|NULL|NULL|1|NO",
          of_t_x + "k2|2|decimal|38|40|15|10|0|NULL|NULL|2|NULL|NULL|2|NO",
          of_t_x + "c|93|timestamp|23|16|3|NULL|0|NULL|NULL|9|3|NULL|3|NO",
          of_t_x + "s|-9|set<text>|4000|8000|NULL|NULL|1|NULL|NULL|-9|NULL|8000|4|YES",
          of_t_x + "Z|4|int|10|4|0|10|1|NULL|NULL|4|NULL|NULL|5|YES",
          of_t_x + "b|-9|text|4000|8000|NULL|NULL|1|NULL|NULL|-9|NULL|8000|6|YES"},
         {tables + in_ks1 + t_x, columns + in_ks1 + t_x}},
        {"columns", {{}, {}, {"old"}, {"_"}},
         {"NULL|ks1|old|k|-11|uuid|36|16|NULL|NULL|0|NULL|NULL|-11|NULL|NULL|1|NO"}, any},
        {"keys", {{}, none, {"t_x"}}, keys, any},
        {"rowid", {{}, none, {"t_x"}}, {"2|k1|4|int|10|4|0|1", "2|k2|2|decimal|38|40|15|1", "2|c|93|timestamp|23|16|3|1"}, any},
        {"rowver", {{}, none, {"t_x"}}, {}, {}},
        {"indexes", {{}, {"ks1"}, {"t_x"}},
         {of_t_x + "NULL|NULL|NULL|0" + nulls(6), index + "i1|3|1|B" + nulls(4), index + "i1|3|2|c" + nulls(4),
          index + "i2|3|1|a, \"(b" + nulls(4), index + "i3|3|1|" + nulls(4)},
         {tables + in_ks1 + t_x, indexes + in_ks1 + t_x}},
        // What must be given.
        {"keys", {}, {"HY009 Invalid use of null pointer"}, {}},
        {"columns", {none, none, {"t"}, {"c"}}, {"HY009 Invalid use of null pointer"}, {}, true},
        // clang-format on
    };
    for (const auto &c : cases)
        for (const bool wide : {false, true}) {
            SCOPED_TRACE(std::to_string(&c - cases) + " " + c.function + (wide ? "W" : ""));
            const wire_ptr wire = wire_of(true);
            if (c.current != nullptr)
                run_query(wire, "use ks", set_keyspace_frame(c.current));
            row_list queries;
            node_answer_rest(wire->node, [&](const node_request &request) {
                queries.push_back(
                    request.body.substr(4, request.body.size() - 4 - page_tail().size()));
                return std::vector{schema_answer(queries.back(), c.has_virtual)};
            });
            if (c.identifiers)
                SQLSetStmtAttr(wire->stmt, SQL_ATTR_METADATA_ID, odbc_number(SQL_TRUE), 0);
            const bool good = SQL_SUCCEEDED(call(c.function, wire->stmt, c.arguments, wide));
            EXPECT_EQ(good ? fetch_all(wire->stmt) : stmt_records(wire->stmt), c.rows);
            EXPECT_EQ(node_finish(wire->node), "");
            if (c.queries != any) {
                EXPECT_EQ(queries, c.queries);
            }
        }
}

TEST(catalog, by_the_rules_of_odbc_failures_are_told_and_warnings_passed_on)
{
    const node_frame table = text_rows({{"ks", "t", "x"}});
    // What the reply to one of the queries makes of the call.
    const struct {
        std::string query;
        node_frame reply;
        std::string outcome;
    } cases[] = {
        {"schema.tables", with_warnings(table, {"slow"}), "SQL_SUCCESS_WITH_INFO: 01000 slow"},
        {"schema.tables", text_rows({{"ks", "t", ""}}, {.paging_state = "p"}), "SQL_ERROR: 42000"},
        {"schema.views", error_frame(0x2200, "no"), "SQL_ERROR: 42000"},
        {"virtual_schema.tables", error_frame(0x2100, "not yours"), "SQL_SUCCESS"},
        {"virtual_schema.tables", error_frame(0x0000, "broken"), "SQL_ERROR: HY000"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.query);
        const wire_ptr wire = wire_of(true);
        node_answer_rest(wire->node, [&](const node_request &request) {
            const auto has = [&](const std::string &text) {
                return request.body.find(text) != bytes::npos;
            };
            const node_frame usual = has("system_schema.tables") ? table : text_rows({});
            return std::vector{has(page_tail("p").substr(7)) ? error_frame(0x2200, "no page")
                               : has("system_" + c.query)    ? c.reply
                                                             : usual};
        });
        const SQLRETURN code = call("tables", wire->stmt, {});
        EXPECT_TRUE(code_and_record(code, wire->stmt).starts_with(c.outcome)) << c.outcome;
        EXPECT_EQ(fetch_all(wire->stmt),
                  SQL_SUCCEEDED(code) ? row_list{"NULL|ks|t|TABLE|x"} : row_list());
    }
}
