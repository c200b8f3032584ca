// One pass, in which each stretch of the text is copied by its own function. Literals, quoted names
// and comments are copied as they stand; an escape is a brace, one of the words, and behind it a
// blank or a quote: a literal of a user type whose field has such a name goes on with a colon.
#include "core/statement/cass_sql_text.h"

#include "support/ascii.h"

struct text_scan {
    const SQLWCHAR *in;
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

static SQLWCHAR unit_at(const text_scan *scan, std::int32_t index)
{
    return index < scan->end ? scan->in[index] : 0;
}

static bool stands_at(const text_scan *scan, std::int32_t index, const char *word)
{
    for (; *word != 0; word++, index++) {
        if (unit_at(scan, index) != static_cast<unsigned char>(*word))
            return false;
    }
    return true;
}

static std::int32_t behind_blanks(const text_scan *scan, std::int32_t index)
{
    while (index < scan->end && ascii_is_space(scan->in[index]))
        index++;
    return index;
}

static void put(text_scan *scan, SQLWCHAR unit)
{
    scan->out[scan->written++] = unit;
}

// Copies up to the index, and all of it counts.
static void copy_to(text_scan *scan, std::int32_t end)
{
    while (scan->at < end)
        put(scan, scan->in[scan->at++]);
    scan->significant = scan->written;
}

// The index behind the next `closing` from `from` on, or the end of the text.
static std::int32_t behind(const text_scan *scan, std::int32_t from, const char *closing)
{
    for (std::int32_t index = from; index < scan->end; index++) {
        if (stands_at(scan, index, closing))
            return index + static_cast<std::int32_t>(std::strlen(closing));
    }
    return scan->end;
}

// ---- Escapes -----------------------------------------------------------------------------------

enum escape_kind : std::uint8_t {
    ESCAPE_TEXT,       // a literal in quotes
    ESCAPE_TIMESTAMP,  // the same, of UTC
    ESCAPE_BARE,       // a literal without quotes
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
        while (*letter != 0 && unit_at(scan, *end) < 0x80 &&
               ascii_to_lower(static_cast<unsigned char>(unit_at(scan, *end))) == *letter) {
            letter++;
            ++*end;
        }
        const SQLWCHAR next = unit_at(scan, *end);
        if (*letter == 0 && (ascii_is_space(next) || next == '\'') &&
            unit_at(scan, behind_blanks(scan, *end)) != ':')
            return &row;
    }
    return nullptr;
}

// A time without a zone in front of the index, as all are but those that say "Z" or an offset.
static bool has_no_zone(const text_scan *scan, std::int32_t quote)
{
    constexpr std::int32_t date_units = 10;
    for (std::int32_t index = quote - 1; index > scan->at + date_units; index--) {
        const SQLWCHAR unit = scan->in[index];
        if (unit == 'Z' || unit == 'z' || unit == '+' || unit == '-')
            return false;
    }
    return true;
}

// The literal of an escape whose quote is at `start`. False when it is not one quoted text and the
// closing brace.
static bool put_literal(text_scan *scan, std::int32_t start, escape_kind kind)
{
    if (unit_at(scan, start) != '\'')
        return false;
    const std::int32_t end = behind(scan, start + 1, "'");
    const std::int32_t brace = behind_blanks(scan, end);
    if (unit_at(scan, brace) != '}')
        return false;
    scan->at = kind == ESCAPE_BARE ? start + 1 : start;
    const bool utc = kind == ESCAPE_TIMESTAMP && has_no_zone(scan, end - 1);
    copy_to(scan, end - 1);
    for (const char *zone = utc ? "+0000" : ""; *zone != 0; zone++)
        put(scan, static_cast<unsigned char>(*zone));
    if (kind != ESCAPE_BARE)
        put(scan, '\'');
    scan->significant = scan->written;
    scan->at = brace + 1;
    return true;
}

static void scan_opening_brace(text_scan *scan)
{
    std::int32_t end;
    const escape_row *row = escape_at(scan, behind_blanks(scan, scan->at + 1), &end);
    if (row != nullptr && row->kind != ESCAPE_WORDS &&
        put_literal(scan, behind_blanks(scan, end), row->kind))
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

static void scan_line_comment(text_scan *scan)
{
    std::int32_t end = scan->at;
    while (end < scan->end && scan->in[end] != '\r' && scan->in[end] != '\n')
        end++;
    scan->in_line_comment = end == scan->end;
    copy_to(scan, end < scan->end ? end + 1 : end);
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
        const SQLWCHAR unit = scan->in[scan->at];
        if (unit == '\'')
            copy_to(scan, behind(scan, scan->at + 1, "'"));
        else if (unit == '"')
            copy_to(scan, behind(scan, scan->at + 1, "\""));
        else if (stands_at(scan, scan->at, "$$"))
            copy_to(scan, behind(scan, scan->at + 2, "$$"));
        else if (stands_at(scan, scan->at, "/*"))
            copy_to(scan, behind(scan, scan->at + 2, "*/"));
        else if (stands_at(scan, scan->at, "--") || stands_at(scan, scan->at, "//"))
            scan_line_comment(scan);
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
        scan->at = behind_blanks(scan, scan->at);
        if (unit_at(scan, scan->at) == 0xFEFF)
            scan->at++;
        else if (stands_at(scan, scan->at, "\xEF\xBB\xBF"))
            scan->at += 3;
        if (scan->at == before)
            return;
    }
}

cass_string *cass_translate_sql(const cass_string *text, cass_sql_facts *facts)
{
    *facts = {};
    text_scan scan = {};
    scan.end = cass_string_length(text);
    scan.in = scan.end > 0 ? text->text : nullptr;
    scan.facts = facts;
    scan.verb_open = true;
    pass_head(&scan);

    std::int32_t braces = 0;
    for (std::int32_t index = scan.at; index < scan.end; index++)
        braces += scan.in[index] == '{';
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
