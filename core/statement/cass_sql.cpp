// The single pass over an application's text before it goes to the server. It is a scanner, not a
// parser: it trims, drops byte-order marks, counts parameter markers and blanks out the simple ODBC
// escape sequences. All else reaches the server as written; a text that makes no sense is refused
// there. Keyword offsets and the verb are only noted for the log.
#include "core/statement/cass_sql.h"

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/statement/cass_sql_filter.h"
#include "core/statement/cass_sql_probe.h"
#include "support/ascii.h"

static constexpr char log_source[] = "cass_sql.c";

struct keyword {
    const char *word;
    std::int32_t cass_stmt::*offset;
};

static constexpr keyword keywords[] = {
    {"where", &cass_stmt::where_offset},   {"from", &cass_stmt::from_offset},
    {"into", &cass_stmt::into_offset},     {"set", &cass_stmt::set_offset},
    {"group", &cass_stmt::group_offset},   {"order", &cass_stmt::order_offset},
    {"values", &cass_stmt::values_offset},
};
static constexpr int KEYWORDS = sizeof keywords / sizeof *keywords;
static constexpr int KEYWORD_WHERE = 0;

struct verb_row {
    const char *prefix;
    std::int32_t code;
    bool has_name;  // the next word goes to exec_name
};

// The first hit wins. A brace never gets into the verb; its row only keeps the code's meaning.
static constexpr verb_row verbs[] = {
    {"sel", VERB_SELECT, false}, {"show", VERB_SHOW, false}, {"d", VERB_D, false},
    {"up", VERB_UP, false},      {"i", VERB_I, false},       {"{", VERB_BRACE, false},
    {"x", VERB_EXEC, false},     {"exec", VERB_EXEC, true},
};

struct keyword_tracker {
    int matched;          // letters of the word seen so far
    std::int32_t offset;  // -1 until found
};

// Working state of one scan.
struct sql_scan {
    const SQLWCHAR *in;
    std::int32_t at;   // input index
    std::int32_t end;  // trimmed length of the input
    SQLWCHAR *out;
    std::int32_t written;
    bool in_double_quote;
    bool in_single_quote;
    bool in_bracket;
    std::int32_t paren_depth;  // these two may go below 0
    std::int32_t brace_depth;
    std::int32_t brace_start;  // output index of the outermost open brace
    std::int32_t escape_at;    // output index behind the blanks that are known to follow it
    bool verb_open;
    int verb_len;
    char verb[SQL_VERB_ROOM];
    std::int32_t param_count;
    std::int32_t params_before_where;
    keyword_tracker trackers[KEYWORDS];
};

// ---- Small steps -------------------------------------------------------------------------------

static bool quoted(const sql_scan *scan)
{
    return scan->in_double_quote || scan->in_single_quote || scan->in_bracket;
}

static bool next_is(const sql_scan *scan, SQLWCHAR unit)
{
    return scan->at + 1 < scan->end && scan->in[scan->at + 1] == unit;
}

static void copy_unit(sql_scan *scan)
{
    scan->out[scan->written++] = scan->in[scan->at++];
}

static void reset_trackers(sql_scan *scan)
{
    for (keyword_tracker &tracker : scan->trackers)
        tracker.matched = 0;
}

// Whether a keyword may begin at the scan's place. Index 0 never counts as a word start, and index
// 1 always does, whatever stands in front; the offsets in the log are meant so.
static bool at_word_start(const sql_scan *scan)
{
    if (scan->at <= 1)
        return scan->at == 1;
    const SQLWCHAR before = scan->in[scan->at - 1];
    return ascii_is_space(before) || before == ')';
}

static bool at_word_end(const sql_scan *scan)
{
    if (scan->at + 1 == scan->end)
        return true;
    const SQLWCHAR behind = scan->in[scan->at + 1];
    return ascii_is_space(behind) || behind == '(' || behind == ';';
}

static void feed_tracker(sql_scan *scan, keyword_tracker *tracker, const char *word, char letter)
{
    if (tracker->offset >= 0)
        return;
    // A letter that breaks the word off is not tried again as a first letter.
    if (letter != word[tracker->matched] || (tracker->matched == 0 && !at_word_start(scan))) {
        tracker->matched = 0;
        return;
    }
    tracker->matched++;
    if (word[tracker->matched] != 0)
        return;
    // The index of the unit before the word, not of its first letter: so the log always had it.
    if (at_word_end(scan))
        tracker->offset = scan->written - tracker->matched;
    tracker->matched = 0;
}

static void feed_trackers(sql_scan *scan, SQLWCHAR unit)
{
    const auto letter = static_cast<char>(ascii_to_lower(static_cast<unsigned char>(unit)));
    for (int i = 0; i < KEYWORDS; i++)
        feed_tracker(scan, &scan->trackers[i], keywords[i].word, letter);
}

static void collect_verb(sql_scan *scan, SQLWCHAR unit)
{
    if (scan->verb_len == SQL_VERB_ROOM - 1 || unit > 0x80 || ascii_is_space(unit))
        scan->verb_open = false;
    else
        scan->verb[scan->verb_len++] = static_cast<char>(unit);
}

// ---- Escape sequences --------------------------------------------------------------------------

static void blank(SQLWCHAR *units, std::int32_t count)
{
    for (std::int32_t i = 0; i < count; i++)
        units[i] = ' ';
}

// Blanks out the braces and the marker of a simple escape that ends with the `}` just written. It
// runs at every `}`, in literals too, and always from the last outermost `{`, so that a nested
// escape loses the outer opening and the inner closing brace. Function names are not mapped.
static void process_escape(cass_stmt *stmt, sql_scan *scan)
{
    SQLWCHAR *s = scan->out + scan->brace_start;
    const std::int32_t length = scan->written - scan->brace_start;
    const cass_string stretch = {.text = s, .length = length, .borrowed = 1, .form = TEXT_BYTES};
    CASS_LOG(&stmt->head, LOG_DETAIL, "process escape string '%S'\n", &stretch);

    // What was passed over once is not again, nor blanked again: the whole text costs one pass,
    // however many braces it has.
    std::int32_t k = scan->escape_at - scan->brace_start;
    while (k < length && s[k] == ' ')
        k++;
    scan->escape_at = scan->brace_start + k;
    if (k >= length)
        return;
    const SQLWCHAR first = s[k];
    const SQLWCHAR second = k + 1 < length ? s[k + 1] : 0;

    std::int32_t opening;
    if ((first == 'f' && second == 'n') || (first == 'd' && second == 't'))
        opening = k + 2;
    else if (first == 'd' || first == 't')
        // The count fits one blank behind the brace or none, and the "s" of {ts '...'} is left
        // standing, so that the server refuses it. Both are deliberate.
        opening = k < length - k ? 2 * k : length;
    else
        return;
    blank(s, 1);
    blank(s + k, opening - k);
    blank(s + length - 1, 1);
}

// ---- The scan ----------------------------------------------------------------------------------

// A quote of either kind. `other` is the state of the other quote.
static void scan_quote(sql_scan *scan, SQLWCHAR quote, bool *inside, bool other)
{
    reset_trackers(scan);
    if (!other && !scan->in_bracket) {
        if (*inside && next_is(scan, quote))
            copy_unit(scan);  // a doubled quote belongs to the literal
        else
            *inside = !*inside;
    }
    copy_unit(scan);
}

// A hyphen, or a comment up to its line end, which stays in the text but takes no part in the scan.
static void scan_hyphen(sql_scan *scan)
{
    if (quoted(scan) || !next_is(scan, '-')) {
        copy_unit(scan);
        return;
    }
    while (scan->at < scan->end && scan->in[scan->at] != '\r' && scan->in[scan->at] != '\n')
        copy_unit(scan);
}

static void scan_marker(sql_scan *scan)
{
    if (!quoted(scan))
        scan->param_count++;
    if (scan->trackers[KEYWORD_WHERE].offset < 0)
        scan->params_before_where++;
    reset_trackers(scan);
    copy_unit(scan);
}

static void scan_opening_brace(sql_scan *scan)
{
    if (!quoted(scan) && ++scan->brace_depth == 1) {
        scan->brace_start = scan->written;
        scan->escape_at = scan->written + 1;
    }
    copy_unit(scan);
}

static void scan_closing_brace(cass_stmt *stmt, sql_scan *scan)
{
    if (!quoted(scan))
        scan->brace_depth--;
    copy_unit(scan);
    process_escape(stmt, scan);
}

static void scan_bracket(sql_scan *scan, bool opening)
{
    if (opening && !quoted(scan))
        scan->in_bracket = true;
    else if (!opening && !scan->in_single_quote && !scan->in_double_quote)
        scan->in_bracket = false;
    reset_trackers(scan);
    copy_unit(scan);
}

static void scan_plain(sql_scan *scan, SQLWCHAR unit)
{
    if (scan->verb_open)
        collect_verb(scan, unit);
    if (!scan->in_single_quote && !scan->in_double_quote) {
        if (unit == '(')
            scan->paren_depth++;
        else if (unit == ')')
            scan->paren_depth--;
        if (!scan->in_bracket && scan->paren_depth == 0 && unit < 0x80)
            feed_trackers(scan, unit);
    }
    copy_unit(scan);
}

static void scan_text(cass_stmt *stmt, sql_scan *scan)
{
    while (scan->at < scan->end) {
        const SQLWCHAR unit = scan->in[scan->at];
        switch (unit) {
        case 0xFEFF:  // byte-order marks, in literals too
        case 0xFFFE:
            scan->at++;
            break;
        case '{':
            scan_opening_brace(scan);
            break;
        case '}':
            scan_closing_brace(stmt, scan);
            break;
        case '[':
        case ']':
            scan_bracket(scan, unit == '[');
            break;
        case '"':
            scan_quote(scan, unit, &scan->in_double_quote, scan->in_single_quote);
            break;
        case '\'':
            scan_quote(scan, unit, &scan->in_single_quote, scan->in_double_quote);
            break;
        case '-':
            scan_hyphen(scan);
            break;
        case '?':
            scan_marker(scan);
            break;
        default:
            scan_plain(scan, unit);
            break;
        }
    }
}

// White space at both ends, then semicolons at the end. White space in front of those stays.
static void trim(sql_scan *scan)
{
    while (scan->at < scan->end && ascii_is_space(scan->in[scan->at]))
        scan->at++;
    while (scan->end > scan->at && ascii_is_space(scan->in[scan->end - 1]))
        scan->end--;
    while (scan->end > scan->at && scan->in[scan->end - 1] == ';')
        scan->end--;
}

// ---- Results -----------------------------------------------------------------------------------

static void store_scan(cass_stmt *stmt, const sql_scan *scan)
{
    stmt->found_param_count = scan->param_count;
    for (int i = 0; i < KEYWORDS; i++)
        stmt->*keywords[i].offset = scan->trackers[i].offset;

    // An empty text has no units to point to, but it is there.
    static constexpr SQLWCHAR empty[1] = {};
    CASS_LOG(&stmt->head, LOG_DETAIL, "at end of cass_process_sql output string %T",
             scan->written > 0 ? scan->out : empty, static_cast<int>(scan->written));
    CASS_LOG(&stmt->head, LOG_DETAIL,
             "initial verb '%s', from_offset=%d, where_offset=%d, into_offset=%d, set_offset=%d, "
             "group_offset=%d, order_offset=%d, values_offset=%d, into_offset=%d",
             scan->verb, stmt->from_offset, stmt->where_offset, stmt->into_offset, stmt->set_offset,
             stmt->group_offset, stmt->order_offset, stmt->values_offset, stmt->into_offset);
    CASS_LOG(&stmt->head, LOG_DETAIL, "parameter count=%d", stmt->found_param_count);
}

static bool starts_with(const char *text, const char *prefix)
{
    for (; *prefix != 0; text++, prefix++) {
        const auto byte = static_cast<unsigned char>(*text);
        if (ascii_to_lower(byte) != static_cast<unsigned char>(*prefix))
            return false;
    }
    return true;
}

// The word behind the first word; the search begins at index 3, inside "exec". False when memory
// ran out.
static bool store_exec_name(cass_stmt *stmt, const cass_string *output)
{
    const std::int32_t length = cass_string_length(output);
    std::int32_t start = 3;
    while (start < length && output->text[start] != ' ')
        start++;
    while (start < length && output->text[start] == ' ')
        start++;
    std::int32_t end = start;
    while (end < length && output->text[end] != ' ')
        end++;
    if (end == start)
        return true;
    stmt->exec_name = cass_string_sub(output, start, end - start);
    CASS_LOG(&stmt->head, LOG_DETAIL, "exec_name='%S'", stmt->exec_name);
    return stmt->exec_name != nullptr;
}

// False when memory ran out.
static bool store_verb(cass_stmt *stmt, const sql_scan *scan, const cass_string *output)
{
    stmt->verb_code = VERB_UNKNOWN;
    for (const verb_row &row : verbs) {
        if (!starts_with(scan->verb, row.prefix))
            continue;
        stmt->verb_code = row.code;
        if (row.code == VERB_SELECT)
            stmt->select_has_params = scan->params_before_where != 0;
        return !row.has_name || store_exec_name(stmt, output);
    }
    return true;
}

static cass_string *no_memory(cass_stmt *stmt)
{
    CASS_LOG(&stmt->head, LOG_ERROR, "cass_process_sql: failed to allocate memory");
    cass_post_error(&stmt->head, STATE_HY001, 0, "failed processing SQL");
    return nullptr;
}

static bool a_select_needs_a_table(const cass_conn *conn)
{
    return conn->conduct->a_select_needs_a_table;
}

cass_string *cass_text_for_server(const cass_conn *conn, const cass_string *text,
                                  cass_sql_facts *facts)
{
    held_string translated(cass_translate_sql(text, facts));
    if (translated == nullptr || a_select_needs_a_table(conn))
        return translated.release();
    cass_string *probe;
    if (!cass_translate_probe(translated.get(), &probe))
        return nullptr;
    return probe != nullptr ? probe : translated.release();
}

static bool escapes_are_blanked(const cass_conn *conn)
{
    return conn->conduct->escapes_are_blanked;
}

// The output of the scan, or of the translation that stands in its place. Null when memory ran out.
static cass_string *process(cass_stmt *stmt, sql_scan *scan, const cass_string *text)
{
    if (!escapes_are_blanked(stmt_conn(stmt))) {
        cass_sql_facts facts;
        cass_string *output = cass_text_for_server(stmt_conn(stmt), text, &facts);
        scan->param_count = facts.markers;
        std::memcpy(scan->verb, facts.verb, sizeof scan->verb);
        return output;
    }
    scan->end = cass_string_length(text);
    scan->in = scan->end > 0 ? text->text : nullptr;
    trim(scan);
    // The output never grows.
    cass_string *output = cass_string_alloc(scan->end - scan->at);
    if (output == nullptr)
        return nullptr;
    output->form = text == nullptr ? TEXT_BYTES : text->form;
    scan->out = output->text;
    scan_text(stmt, scan);
    output->length = scan->written;
    return output;
}

cass_string *cass_process_sql(cass_stmt *stmt, const cass_string *text)
{
    CASS_LOG(&stmt->head, LOG_DETAIL, "at start of cass_process_sql input string '%S'", text);
    free_string(&stmt->exec_name);
    stmt->select_has_params = 0;

    sql_scan scan = {};
    scan.verb_open = true;
    scan.escape_at = 1;
    for (keyword_tracker &tracker : scan.trackers)
        tracker.offset = -1;
    held_string output(process(stmt, &scan, text));
    // The driver's own queries say themselves what they allow.
    if (output == nullptr ||
        (stmt->served == nullptr && !cass_allow_filtering(stmt_conn(stmt), &output)))
        return no_memory(stmt);
    scan.out = output->text;
    scan.written = output->length;
    store_scan(stmt, &scan);
    return store_verb(stmt, &scan, output.get()) ? output.release() : no_memory(stmt);
}
