// A value of a CQL type with Standard=Yes: its text goes back into a column of the type and comes
// out again, and numbers agree with it.
#include <cmath>

#include "fuzz/fuzz.h"
#include "fuzz/marker.h"
#include "tests/unit/parameter_rig.h"

static bool is_number(std::int32_t type)
{
    const auto numbers = {CQL_BIGINT, CQL_BOOLEAN, CQL_COUNTER, CQL_DECIMAL,  CQL_DOUBLE,
                          CQL_FLOAT,  CQL_INT,     CQL_VARINT,  CQL_SMALLINT, CQL_TINYINT};
    return std::ranges::find(numbers, type) != numbers.end();
}

// The first and only cell from its head; how the read ended.
static std::string read_as(const session &s, SQLSMALLINT c_type, std::string *value)
{
    cass_data_storage &cell = s.stmt->ird->fields[0].data_storage;
    cell.finished = cell.offset = 0;
    char *buffer = fuzz_memory(FUZZ_ROOM);
    SQLLEN told = 0;
    const std::string end =
        outcome(SQLGetData(s.stmt, 1, c_type, buffer, FUZZ_ROOM, &told), s.stmt);
    value->assign(buffer, static_cast<std::size_t>(std::clamp<SQLLEN>(told, 0, FUZZ_ROOM)));
    return told == SQL_NULL_DATA ? "null" : end;
}

template <typename Number>
static std::string read_number(const session &s, SQLSMALLINT c_type, Number *number)
{
    std::string value;
    const std::string end = read_as(s, c_type, &value);
    std::memcpy(number, value.data(), std::min(value.size(), sizeof *number));
    return end;
}

// A cell of these bytes as the statement's row. False when it has no text.
static bool fetch(const session &s, const std::string &option, const std::string &bytes,
                  std::string *text)
{
    take(s, be32(KIND_ROWS) + be32(1) + be32(1) + column_of(option) + be32(1) + long_str(bytes));
    return SQLFetch(s.stmt) == SQL_SUCCESS && read_as(s, SQL_C_CHAR, text).empty();
}

static void check_numbers(const session &s, std::int32_t type, const std::string &text)
{
    const long double exact = std::strtold(text.c_str(), nullptr);
    double real = 0;
    std::string end = read_number(s, SQL_C_DOUBLE, &real);
    if (end.empty() && !std::isnan(real)) {
        EXPECT_EQ(type == CQL_FLOAT ? double(std::strtof(text.c_str(), nullptr))
                                    : std::strtod(text.c_str(), nullptr),
                  real)
            << text;
    } else if (end.starts_with("22003"))
        EXPECT_GT(std::fabs(exact), std::numeric_limits<double>::max()) << text;
    // Text of a float may name a neighbour of the whole number.
    const bool floating = type == CQL_FLOAT || type == CQL_DOUBLE;
    const std::string whole = text.find('E') == text.npos ? text.substr(0, text.find('.')) : text;
    const long double wanted =
        floating ? std::trunc(real) : std::trunc(std::strtold(whole.c_str(), nullptr));
    std::int64_t integer = 0;
    end = read_number(s, SQL_C_SBIGINT, &integer);
    EXPECT_EQ(end.starts_with("22003"), !(wanted >= -0x1p63L && wanted < 0x1p63L))
        << text << " " << end;
    if (end.empty() || end.starts_with("1 01S07"))
        EXPECT_EQ(static_cast<long double>(integer), wanted) << text;
    SQL_NUMERIC_STRUCT numeric = {};
    end = read_number(s, SQL_C_NUMERIC, &numeric);
    if (end.empty() || end.starts_with("1 01S07")) {
        long double sum = 0;
        for (int i = SQL_MAX_NUMERIC_LEN - 1; i >= 0; i--)
            sum = sum * 256 + numeric.val[i];
        const long double unit = std::pow(10.0L, -numeric.scale);
        sum *= numeric.sign == 0 ? -unit : unit;
        EXPECT_LE(std::fabs(sum - exact), std::fabs(exact) * 1e-6L + (end.empty() ? 0 : unit))
            << text;
    }
}

// The value in hexadecimal, or the state of its refusal.
static std::string encode_text(session &s, const std::string &text)
{
    auto length = static_cast<SQLLEN>(text.size());
    bind(s.stmt, 1, SQL_C_CHAR, SQL_VARCHAR, fuzz_memory_of(text), &length);
    return encode(s);
}

void fuzz_one(fuzz_input in)
{
    session s(false), back(false);
    follow(s, true);
    follow(back, true);
    const std::string option = fuzz_piece(&in);
    const held_option tree = type_of(s, option);
    std::string text, again;
    if (tree == nullptr || !fetch(s, option, fuzz_rest(&in), &text))
        return;
    if (is_number(tree->option_id))
        check_numbers(s, tree->option_id, text);

    const std::int32_t type = cql_type_meant(tree.get())->option_id;
    if (type == CQL_CUSTOM)
        return;
    prepare_marker(back, option);
    const std::string value = encode_text(back, text);
    // An address of no bytes is an empty text, and a time beyond the day none that reads.
    if (value == "22018@1" && (type == CQL_TIME || text.empty()))
        return;
    if (value.find('@') != value.npos) {
        // Members that are none of their type are digits, which it does not take; neither is null a
        // member of a collection, nor anything of an unknown type, and a duration has its limits.
        EXPECT_TRUE(text.find("0x") != text.npos || text.find("null") != text.npos ||
                    value == "07006@1" || value == "22003@1")
            << text << " of " << cql_type_name(type) << ": " << value;
        EXPECT_GE(type, CQL_LIST);
        return;
    }
    EXPECT_TRUE(fetch(s, option, from_hex(value).substr(4), &again)) << text << value;
    if (type < CQL_LIST) {
        // One 0 counted at the end of a text goes.
        if (text.ends_with('\0'))
            text.pop_back();
        EXPECT_EQ(again, text) << value;
        return;
    }
    // Fields that are missing in a value come back as null, which neither an unknown type takes nor
    // a type that has the name of another field.
    const std::string twice = encode_text(back, again);
    EXPECT_TRUE(twice == value || (again != text && twice.find('@') != twice.npos))
        << text << again << twice;
}
