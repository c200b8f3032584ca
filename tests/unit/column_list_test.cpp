// The columns of a table read back from its text.
#include "core/catalog/cass_clist.h"
#include "tests/unit/handles.h"

using column_list = stmt_fixture;

// The columns of a text, "name type*2 " for a key of sequence 2, in list order.
static std::string parsed(const cass_conn *conn, const std::string &sql)
{
    auto *entry = static_cast<cass_table_entry *>(std::calloc(1, sizeof(cass_table_entry)));
    const held_tables held(entry);
    entry->create_sql = strdup(sql.c_str());
    cass_parse_create_sql(conn, entry);
    std::string all;
    int ordinal = 0;
    for (const cass_column_entry *column = entry->columns; column != nullptr;
         column = column->next) {
        EXPECT_EQ(ordinal++, column->ordinal);
        all += std::string(column->name) + " " + column->type_name +
               (column->is_key ? "*" + std::to_string(column->key_seq) : "") + ", ";
    }
    return all;
}

TEST_F(column_list, what_a_table_text_comes_to)
{
    // clang-format off
    const std::pair<const char *, const char *> cases[] = {
        {"create table ks.t (\n )", ""}, {"x (a int, \"b", "a int, "}, {"", ""},
        {"create table ks.t (\n\"a\" int,\n\"id\" uuid PRIMARY KEY,\n\"b\" text )",
         "id uuid*0, a int, b text, "},
        {"x ( \"k1\" int PRIMARY KEY, \"k2\" int PRIMARY KEY, \"c\" int )",
         "k2 int*0, k1 int*0, c int, "},
        {"x (\"m\" map<text, frozen<list<int>>> , \"t\" \"My Type\")",
         "m map<text, frozen<list<int>>>, t My Type, "},
        // In quotes everything is a name, and two quotes stay two.
        {"x (\"PRIMARY\" int, \"a, b)\" int, \"q\"\"q\" int, \"\" int)",
         "PRIMARY int, a, b) int, q\"\"q int,  int, "},
        // Clauses of the table mark columns where they stand.
        {"x (a int, b int static, c int, PRIMARY KEY (c, a), d int)",
         "a int*1, b int, c int*0, d int, "},
        {"x (a int, PRIMARY KEY (nobody", "a int, "},
        // What is left open ends with the text.
        {"x (a map<text, b int, c int)", "a map<text, b int, c int), "},
        {"x (a int) b int", "a int, "},
        {"x (,, a > b, c<>d e>f, ( g int)", "a >, c<>d e>f, g int, "},
    };
    // clang-format on
    for (const auto &[sql, columns] : cases)
        EXPECT_EQ(columns, parsed(conn, sql)) << sql;
}
