// Replies of a server, described, fetched to the end and read as any C type. What is read is the
// same in one piece or in many, into a bound column, on one page or on two, and by a cursor.
#include "core/parameter/cass_param.h"
#include "fuzz/fuzz.h"
#include "fuzz/marker.h"

constexpr int MOST_CELLS = 200;
constexpr std::size_t MOST_BYTES = 300;  // of a cell, that are looked at
constexpr std::size_t LARGE_ROOM = 4096;

static constexpr SQLSMALLINT c_types[] = {
    SQL_C_CHAR,      SQL_C_WCHAR,     SQL_C_BINARY,         SQL_C_DEFAULT, SQL_C_NUMERIC,
    SQL_C_STINYINT,  SQL_C_UTINYINT,  SQL_C_SSHORT,         SQL_C_USHORT,  SQL_C_SLONG,
    SQL_C_ULONG,     SQL_C_SBIGINT,   SQL_C_UBIGINT,        SQL_C_FLOAT,   SQL_C_DOUBLE,
    SQL_C_TYPE_DATE, SQL_C_TYPE_TIME, SQL_C_TYPE_TIMESTAMP, SQL_C_BIT,     SQL_C_GUID};

struct reply_input {
    bool standard, prepared, warns, fails;
    std::size_t choice;  // of C types, the size of pieces, the bound column and the page's end
    std::vector<std::string> bodies;
};

enum reading { WHOLE, PIECES, BOUND, SCROLLED };

using shown_row = std::vector<std::string>;  // how the fetch went, and the cells

struct shown_result {
    std::string head;  // how the execution went, and the columns
    std::vector<shown_row> rows;
    std::vector<std::size_t> ends;  // of a page's rows in its body; in front where they begin
};

static SQLSMALLINT c_type_of(const reply_input &in, int column)
{
    return c_types[(in.choice + static_cast<std::size_t>(column)) % std::size(c_types)];
}

// The bytes that are looked at; how the read ended counts where these are all.
static std::string cell_shown(const char *bytes, std::size_t count, const std::string &end)
{
    return to_hex({bytes, std::min(count, MOST_BYTES)}) + (count < MOST_BYTES ? " " + end : "...");
}

// Malformed text decodes by its first bytes, where halves of pairs look like others.
static bool has_pairs(const cass_data_storage &cell)
{
    return std::any_of(cell.buffer, cell.buffer + cell.alloc_length,
                       [](char byte) { return static_cast<unsigned char>(byte) >= 0xF0; });
}

static std::string read_cell(const session &s, const reply_input &in, int column, reading how)
{
    const SQLSMALLINT c_type = c_type_of(in, column);
    const cass_data_storage &cell = s.stmt->ird->fields[column - 1].data_storage;
    const std::int32_t stored = cell.data_type;
    const bool text = c_type == SQL_C_CHAR || c_type == SQL_C_WCHAR, binary = stored == SQL_BINARY;
    // By default only text and binary are read in pieces, and of bytes as ANSI text the length told
    // is not that of the digits.
    const bool by_bytes = stored == SQL_CHAR || binary || stored == CELL_WIRE;
    const bool in_pieces = text ? in.standard || (by_bytes && !(binary && c_type == SQL_C_CHAR))
                                : by_bytes && c_type == SQL_C_BINARY;
    const std::size_t unit = c_type == SQL_C_WCHAR ? 2 : 1, group = text && binary ? 2 : 1;
    const std::size_t terminator = c_type == SQL_C_CHAR || (c_type == SQL_C_WCHAR && in.standard);
    const auto fixed = static_cast<std::size_t>(cass_c_type_size(c_type).fixed);
    std::size_t room = fixed != 0 ? fixed : LARGE_ROOM;
    if (how == PIECES && in_pieces && (c_type != SQL_C_WCHAR || !has_pairs(cell)))
        room = unit * (group + 1) + in.choice % 61;
    const std::string cut = "1 01004@" + std::to_string(column);
    std::string bytes, end = cut;
    while (end == cut && bytes.size() < MOST_BYTES) {
        char *buffer = fuzz_memory(room);
        SQLLEN told = 0;
        end = outcome(SQLGetData(s.stmt, static_cast<SQLUSMALLINT>(column), c_type, buffer,
                                 static_cast<SQLLEN>(room), &told),
                      s.stmt);
        if (end == cut && in_pieces)
            told = static_cast<SQLLEN>((room / unit - terminator) / group * group * unit);
        bytes.append(buffer, std::min(static_cast<std::size_t>(std::max<SQLLEN>(told, 0)), room));
    }
    return cell_shown(bytes.data(), bytes.size(), end);
}

static void fetch_rows(const session &s, const reply_input &in, reading how, shown_result *shown)
{
    const auto columns = [&] {
        return std::min<int>(cass_stmt_column_count(s.stmt->ird), MOST_CELLS);
    };
    int bound = how == BOUND ? static_cast<int>(in.choice) % (columns() + 1) : 0;
    char *buffer = fuzz_memory(LARGE_ROOM, 1);
    SQLLEN told = 0;
    if (SQLBindCol(s.stmt, static_cast<SQLUSMALLINT>(bound), c_type_of(in, bound),
                   bound == 0 ? nullptr : buffer, LARGE_ROOM, &told) != SQL_SUCCESS)
        bound = 0;
    for (int cells = 0; cells < MOST_CELLS; cells += 1 + columns()) {
        told = 0;  // a cell that fails leaves it
        shown_row &row = shown->rows.emplace_back(1, outcome(SQLFetch(s.stmt), s.stmt));
        const bool good = row[0].empty();
        if (row[0].starts_with("100"))
            return;
        if (good && how == WHOLE)
            shown->ends.push_back(static_cast<std::size_t>(s.stmt->page.current_packet->read_pos));
        for (int column = 1; column <= columns(); column++)
            row.push_back(column == bound
                              ? cell_shown(buffer,
                                           static_cast<std::size_t>(std::max<SQLLEN>(told, 0)),
                                           row[0])
                              : read_cell(s, in, column, how));
        // Behind a fetch that failed any values may be left.
        if (!good && how != BOUND)
            row.resize(1);
    }
}

static std::string description(const session &s)
{
    SQLSMALLINT count = 0, type = 0, digits = 0, nullable = 0, length = 0;
    SQLULEN size = 0;
    std::string all = outcome(SQLNumResultCols(s.stmt, &count), s.stmt);
    for (SQLUSMALLINT i = 1; i <= std::min<int>(count, 20); i++) {
        auto *name = reinterpret_cast<SQLCHAR *>(fuzz_memory(20));
        all += outcome(SQLDescribeParam(s.stmt, i, &type, &size, &digits, &nullable), s.stmt);
        all += outcome(
            SQLDescribeCol(s.stmt, i, name, 20, &length, &type, &size, &digits, &nullable), s.stmt);
    }
    return all;
}

static shown_result show(const reply_input &in, reading how)
{
    session s;
    follow(s, in.standard);
    for (const std::string &body : in.bodies)
        say(s, reply(in.fails && &body == &in.bodies.back() ? OPCODE_ERROR : OPCODE_RESULT, body,
                     in.warns ? FRAME_WARNING : 0));
    shutdown(s.peer, SHUT_WR);
    s.stmt->attrs.cursor_type = how == SCROLLED ? SQL_CURSOR_STATIC : SQL_CURSOR_FORWARD_ONLY;
    shown_result shown;
    const std::string text = "select a from b";
    shown.head =
        outcome(in.prepared ? prepare(s.stmt, text) : exec(s.stmt, text), s.stmt) + description(s);
    if (in.prepared)
        shown.head += outcome(SQLExecute(s.stmt), s.stmt) + description(s);
    if (s.stmt->page.current_packet != nullptr)
        shown.ends.push_back(static_cast<std::size_t>(s.stmt->page.current_packet->read_pos));
    fetch_rows(s, in, how, &shown);
    return shown;
}

// The rows of the only page on two of them, the first of which says so.
static bool cut_page(reply_input *in, const std::vector<std::size_t> &ends)
{
    constexpr std::uint32_t more_pages = 2, no_columns = 4;
    const std::string body = in->bodies[0];
    if (in->bodies.size() > 1 || in->warns || in->fails || ends.size() < 2)
        return false;
    const std::size_t rows = in->choice % ends.size(), start = ends[0], end = ends[rows];
    const std::uint32_t flags = load_be32(body.data() + 4),
                        count = load_be32(body.data() + start - 4);
    if ((flags & (more_pages | no_columns)) != 0)
        return false;
    in->bodies = {body.substr(0, 4) + be32(flags | more_pages) + body.substr(8, 4) + long_str("p") +
                      body.substr(12, start - 16) + be32(rows) + body.substr(start, end - start),
                  body.substr(0, start - 4) + be32(count - rows) + body.substr(end)};
    return true;
}

// By default all that are announced are described, whether the body has them or not, which takes
// its time.
static bool announces_many_columns(const std::string &body)
{
    const std::uint32_t count = body.size() < 12 ? 0 : load_be32(body.data() + 8);
    return count > 1000 && count <= 0xFFFF;
}

static void expect_same(const std::vector<shown_row> &rows, const std::vector<shown_row> &others)
{
    ASSERT_EQ(rows.size(), others.size());
    for (std::size_t i = 0; i < rows.size(); i++)
        ASSERT_EQ(rows[i], others[i]) << i;
}

void fuzz_one(fuzz_input data)
{
    const std::uint64_t options = fuzz_number(&data);
    reply_input in = {.standard = (options & 1) != 0,
                      .prepared = (options & 2) != 0,
                      .warns = (options & 4) != 0,
                      .fails = (options & 8) != 0,
                      .choice = fuzz_number(&data, 2),
                      .bodies = {}};
    do
        in.bodies.push_back(fuzz_bytes(&data, fuzz_number(&data, 2)));
    while (data.left > 0);
    if (!in.standard && announces_many_columns(in.bodies[0]))
        return;

    const shown_result whole = show(in, WHOLE), pieces = show(in, PIECES);
    EXPECT_EQ(whole.head, pieces.head);
    expect_same(whole.rows, pieces.rows);
    const std::vector<shown_row> bound = show(in, BOUND).rows;
    const std::size_t column = in.choice % bound[0].size();
    for (std::size_t i = 0; column > 0 && i < whole.rows.size() && whole.rows[i][0].empty(); i++)
        EXPECT_EQ(whole.rows[i].at(column), bound.at(i).at(column)) << i;
    // A cursor asks again for a page that did not come, and its columns do not change.
    const std::vector<shown_row> scrolled =
        in.standard ? show(in, SCROLLED).rows : std::vector<shown_row>();
    for (std::size_t i = 0;
         i < scrolled.size() && whole.rows[i][0].empty() && scrolled[i][0].empty(); i++)
        EXPECT_EQ(whole.rows[i], scrolled[i]) << i;
    if (cut_page(&in, whole.ends))
        expect_same(whole.rows, show(in, WHOLE).rows);
}
