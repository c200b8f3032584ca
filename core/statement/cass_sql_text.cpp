// One pass, in which each stretch of the text is copied by its own function. Literals, quoted names
// and comments are copied as they stand; an escape is a brace, one of the words, and behind it a
// blank or a quote: a literal of a user type whose field has such a name goes on with a colon.
#include "core/statement/cass_sql_text.h"

#include "support/ascii.h"

struct text_scan {
    sql_units in;
    std::int32_t at, end;
    SQLWCHAR *out;
    std::int32_t written;
    std::int32_t significant;  // of what is written, without blanks and semicolons at its end
    unsigned char *braces;     // of each open brace whether it is one of an escape
    std::int32_t depth;
    bool in_line_comment;  // one ends the text without its line end
    cass_sql_facts *facts;
    int verb_length;
    bool verb_open;
};

// ---- Looking and copying -----------------------------------------------------------------------

static SQLWCHAR unit_at(sql_units in, std::int32_t index)
{
    return static_cast<std::size_t>(index) < in.size() ? in[static_cast<std::size_t>(index)] : 0;
}

static bool stands_at(sql_units in, std::int32_t index, const char *word)
{
    for (; *word != 0; word++, index++) {
        if (unit_at(in, index) != static_cast<unsigned char>(*word))
            return false;
    }
    return true;
}

static std::int32_t behind_blanks(sql_units in, std::int32_t index)
{
    while (ascii_is_space(unit_at(in, index)))
        index++;
    return index;
}

// The index behind the next `closing` from `from` on, or the end of the text.
static std::int32_t behind(sql_units in, std::int32_t from, const char *closing)
{
    const auto end = static_cast<std::int32_t>(in.size());
    for (std::int32_t index = from; index < end; index++) {
        if (stands_at(in, index, closing))
            return index + static_cast<std::int32_t>(std::strlen(closing));
    }
    return end;
}

// The index behind the line that it is in.
static std::int32_t behind_line(sql_units in, std::int32_t index)
{
    const auto end = static_cast<std::int32_t>(in.size());
    while (index < end && unit_at(in, index) != '\r' && unit_at(in, index) != '\n')
        index++;
    return index < end ? index + 1 : end;
}

struct enclosed_row {
    const char *opening;
    const char *closing;  // null: the end of the line
    sql_token_kind kind;
};

static constexpr enclosed_row enclosed[] = {
    {"'", "'", SQL_TOKEN_QUOTED},       {"\"", "\"", SQL_TOKEN_QUOTED},
    {"$$", "$$", SQL_TOKEN_QUOTED},     {"/*", "*/", SQL_TOKEN_COMMENT},
    {"--", nullptr, SQL_TOKEN_COMMENT}, {"//", nullptr, SQL_TOKEN_COMMENT},
};

static bool in_word(SQLWCHAR unit)
{
    return unit > 0x7F || unit == '_' || ascii_is_digit(unit) ||
           (ascii_to_lower(static_cast<unsigned char>(unit)) >= 'a' &&
            ascii_to_lower(static_cast<unsigned char>(unit)) <= 'z');
}

// The row of what begins at the index; null where nothing of the kind does.
static const enclosed_row *enclosed_at(sql_units in, std::int32_t index)
{
    for (const enclosed_row &row : enclosed) {
        if (stands_at(in, index, row.opening))
            return &row;
    }
    return nullptr;
}

static std::int32_t behind_enclosed(sql_units in, std::int32_t index, const enclosed_row *row)
{
    const std::int32_t inside = index + static_cast<std::int32_t>(std::strlen(row->opening));
    return row->closing != nullptr ? behind(in, inside, row->closing) : behind_line(in, inside);
}

sql_token cass_sql_token_at(sql_units in, std::int32_t at)
{
    const enclosed_row *row = enclosed_at(in, at);
    if (row != nullptr)
        return {row->kind, behind_enclosed(in, at, row)};
    std::int32_t end = at;
    while (in_word(unit_at(in, end)))
        end++;
    return end > at ? sql_token{SQL_TOKEN_WORD, end} : sql_token{SQL_TOKEN_SIGN, at + 1};
}

static void put(text_scan *scan, SQLWCHAR unit)
{
    scan->out[scan->written++] = unit;
}

// Copies up to the index, and all of it counts.
static void copy_to(text_scan *scan, std::int32_t end)
{
    while (scan->at < end)
        put(scan, unit_at(scan->in, scan->at++));
    scan->significant = scan->written;
}

// ---- Escapes -----------------------------------------------------------------------------------

enum escape_kind : std::uint8_t {
    ESCAPE_TEXT,       // a literal in quotes
    ESCAPE_TIMESTAMP,  // the same, of UTC
    ESCAPE_BARE,       // a literal without quotes, of a guid
    ESCAPE_WORDS,      // anything, with escapes inside
};

struct escape_row {
    const char *word;
    escape_kind kind;
};

static constexpr escape_row escapes[] = {
    {"d", ESCAPE_TEXT},   {"t", ESCAPE_TEXT},   {"ts", ESCAPE_TIMESTAMP}, {"guid", ESCAPE_BARE},
    {"fn", ESCAPE_WORDS}, {"oj", ESCAPE_WORDS}, {"call", ESCAPE_WORDS},   {"escape", ESCAPE_WORDS},
};

// The escape whose word begins at the index, and *end behind it; null for another one.
static const escape_row *escape_at(const text_scan *scan, std::int32_t index, std::int32_t *end)
{
    for (const escape_row &row : escapes) {
        *end = index;
        const char *letter = row.word;
        while (*letter != 0 && unit_at(scan->in, *end) < 0x80 &&
               ascii_to_lower(static_cast<unsigned char>(unit_at(scan->in, *end))) == *letter) {
            letter++;
            ++*end;
        }
        const SQLWCHAR next = unit_at(scan->in, *end);
        if (*letter == 0 && (ascii_is_space(next) || next == '\'') &&
            unit_at(scan->in, behind_blanks(scan->in, *end)) != ':')
            return &row;
    }
    return nullptr;
}

// A time without a zone in front of the index, as all are but those that say "Z" or an offset.
static bool has_no_zone(const text_scan *scan, std::int32_t quote)
{
    constexpr std::int32_t date_units = 10;
    for (std::int32_t index = quote - 1; index > scan->at + date_units; index--) {
        const SQLWCHAR unit = unit_at(scan->in, index);
        if (unit == 'Z' || unit == 'z' || unit == '+' || unit == '-')
            return false;
    }
    return true;
}

// Nothing but hexadecimal digits and hyphens up to the index: what is no guid keeps its quotes,
// lest it be read as words of the statement.
static bool is_guid_text(const text_scan *scan, std::int32_t from, std::int32_t end)
{
    for (; from < end; from++) {
        const SQLWCHAR unit = unit_at(scan->in, from);
        if (unit > 0x7F || (unit != '-' && ascii_digit_value(static_cast<char>(unit)) > 15))
            return false;
    }
    return true;
}

// The literal of an escape whose quote is at `start`. False when it is not one quoted text and the
// closing brace.
static bool put_literal(text_scan *scan, std::int32_t start, escape_kind kind)
{
    if (unit_at(scan->in, start) != '\'')
        return false;
    const std::int32_t end = behind(scan->in, start + 1, "'");
    const std::int32_t brace = behind_blanks(scan->in, end);
    if (unit_at(scan->in, brace) != '}')
        return false;
    const bool bare = kind == ESCAPE_BARE && is_guid_text(scan, start + 1, end - 1);
    scan->at = bare ? start + 1 : start;
    const bool utc = kind == ESCAPE_TIMESTAMP && has_no_zone(scan, end - 1);
    copy_to(scan, end - 1);
    for (const char *zone = utc ? "+0000" : ""; *zone != 0; zone++)
        put(scan, static_cast<unsigned char>(*zone));
    if (!bare)
        put(scan, '\'');
    scan->significant = scan->written;
    scan->at = brace + 1;
    return true;
}

static void scan_opening_brace(text_scan *scan)
{
    std::int32_t end;
    const escape_row *row = escape_at(scan, behind_blanks(scan->in, scan->at + 1), &end);
    if (row != nullptr && row->kind != ESCAPE_WORDS &&
        put_literal(scan, behind_blanks(scan->in, end), row->kind))
        return;
    const bool words = row != nullptr && row->kind == ESCAPE_WORDS;
    scan->braces[scan->depth++] = words;
    if (words)
        scan->at = end;
    else
        copy_to(scan, scan->at + 1);
}

static void scan_closing_brace(text_scan *scan)
{
    if (scan->depth > 0 && scan->braces[--scan->depth] != 0)
        scan->at++;
    else
        copy_to(scan, scan->at + 1);
}

// ---- The scan ----------------------------------------------------------------------------------

static void scan_enclosed(text_scan *scan, const enclosed_row *row)
{
    copy_to(scan, behind_enclosed(scan->in, scan->at, row));
    const SQLWCHAR last = unit_at(scan->in, scan->at - 1);
    scan->in_line_comment = row->closing == nullptr && last != '\r' && last != '\n';
}

static void collect_verb(text_scan *scan, SQLWCHAR unit)
{
    if (ascii_is_space(unit) && scan->verb_length == 0)
        return;
    if (scan->verb_length == SQL_VERB_ROOM - 1 || unit > 0x7F || ascii_is_space(unit))
        scan->verb_open = false;
    else
        scan->facts->verb[scan->verb_length++] = static_cast<char>(unit);
}

static void scan_plain(text_scan *scan, SQLWCHAR unit)
{
    if (scan->verb_open)
        collect_verb(scan, unit);
    if (unit == '?')
        scan->facts->markers++;
    put(scan, unit);
    scan->at++;
    // Those at the end of the text are dropped, and the zero that some clients count as a part of
    // it.
    if (!ascii_is_space(unit) && unit != ';' && unit != 0)
        scan->significant = scan->written;
}

static void scan_text(text_scan *scan)
{
    while (scan->at < scan->end) {
        const enclosed_row *row = enclosed_at(scan->in, scan->at);
        const SQLWCHAR unit = unit_at(scan->in, scan->at);
        if (row != nullptr)
            scan_enclosed(scan, row);
        else if (unit == '{')
            scan_opening_brace(scan);
        else if (unit == '}')
            scan_closing_brace(scan);
        else
            scan_plain(scan, unit);
    }
}

// Passes over blanks and byte-order marks at the head, in UTF-16 and in UTF-8.
static void pass_head(text_scan *scan)
{
    for (;;) {
        const std::int32_t before = scan->at;
        scan->at = behind_blanks(scan->in, scan->at);
        if (unit_at(scan->in, scan->at) == 0xFEFF)
            scan->at++;
        else if (stands_at(scan->in, scan->at, "\xEF\xBB\xBF"))
            scan->at += 3;
        if (scan->at == before)
            return;
    }
}

cass_string *cass_translate_sql(const cass_string *text, cass_sql_facts *facts)
{
    *facts = {};
    text_scan scan = {};
    scan.in = cass_sql_units(text);
    scan.end = static_cast<std::int32_t>(scan.in.size());
    scan.facts = facts;
    scan.verb_open = true;
    pass_head(&scan);

    std::int32_t braces = 0;
    for (std::int32_t index = scan.at; index < scan.end; index++)
        braces += unit_at(scan.in, index) == '{';
    // A timestamp gets a zone of five units for what it loses, of four at least; a comment at the
    // end its line end.
    held_string output(cass_string_alloc(std::int64_t{scan.end} - scan.at + braces + 1));
    const held_bytes kinds(static_cast<unsigned char *>(std::malloc(std::size_t(braces) + 1)));
    if (output == nullptr || kinds == nullptr)
        return nullptr;
    output->form = text == nullptr ? TEXT_BYTES : text->form;
    scan.out = output->text;
    scan.braces = kinds.get();
    scan_text(&scan);
    output->length = scan.significant;
    if (scan.in_line_comment)
        output->text[output->length++] = '\n';
    return output.release();
}
