// What the catalog reads: patterns, the text of a table as the server keeps it, and its classes'
// names for types.
#include "core/catalog/cass_catalog_match.h"
#include "core/catalog/cass_clist.h"
#include "core/describe/cass_type_name.h"
#include "core/wire/cql_class.h"
#include "fuzz/fuzz.h"
#include "tests/unit/handles.h"

// The rule of a pattern, a sign at a time.
static bool matches(std::string_view pattern, std::string_view name)
{
    if (pattern.empty())
        return name.empty();
    if (pattern[0] == '%')
        return matches(pattern.substr(1), name) ||
               (!name.empty() && matches(pattern, name.substr(1)));
    const bool escaped = pattern[0] == '\\' && pattern.size() > 1 &&
                         std::string_view("%_\\").find(pattern[1]) != std::string_view::npos;
    if (name.empty() || (!escaped && pattern[0] != '_' && pattern[0] != name[0]) ||
        (escaped && pattern[1] != name[0]))
        return false;
    return matches(pattern.substr(escaped ? 2 : 1), name.substr(1));
}

static void match(fuzz_input *in)
{
    // The rule above takes long for many of them, and knows signs of one byte only.
    std::string pattern = fuzz_piece(in).substr(0, 8), name = fuzz_rest(in).substr(0, 12);
    for (std::string *text : {&pattern, &name})
        for (char &c : *text)
            c = static_cast<char>(c & 0x7F);
    EXPECT_EQ(catalog_matches(catalog_match_of(pattern, READ_AS_PATTERN), name),
              matches(pattern, name))
        << pattern << " and " << name;
}

static void read_table(fuzz_input *in, const cass_conduct *conduct)
{
    session s(false);
    s.conn->conduct = conduct;
    const std::string text = fuzz_rest(in);
    cass_table_entry entry = {};
    entry.create_sql = fuzz_memory_of(text.substr(0, text.find('\0')) + '\0');
    ASSERT_EQ(cass_parse_create_sql(s.conn, &entry), 0);
    std::size_t columns = 0;
    for (cass_column_entry *column = entry.columns; column != nullptr; column = column->next) {
        columns++;
        EXPECT_NE(column->name, nullptr);
        cass_catalog_column_size(s.conn, column);
        cass_catalog_buffer_length(s.conn, column);
    }
    EXPECT_LE(columns, text.size());
    auto *owner = static_cast<cass_table_entry *>(std::calloc(1, sizeof(cass_table_entry)));
    owner->columns = entry.columns;
    cass_free_tables(owner);
}

static void read_class(fuzz_input *in)
{
    session s(false);
    const held_string name(cass_string_from_bytes(in->at, static_cast<std::int64_t>(in->left)));
    constexpr int most = 1000;
    int room = most;
    cass_type_option *type = nullptr;
    ASSERT_TRUE(type_option_from_class(name.get(), 60, &room, &type));
    EXPECT_TRUE(room <= most);
    if (type == nullptr)
        return;
    const held_string shown(cass_full_type_name(type));
    EXPECT_NE(shown, nullptr);
    free_type_option(type);
}

void fuzz_one(fuzz_input in)
{
    const std::uint64_t kind = fuzz_number(&in);
    if (kind == 'm')
        match(&in);
    else if (kind == 't' || kind == 's')
        read_table(&in, kind == 't' ? &default_conduct : &standard_conduct);
    else if (kind == 'c')
        read_class(&in);
}
