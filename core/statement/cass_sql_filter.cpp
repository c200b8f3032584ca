#include "core/statement/cass_sql_filter.h"

#include <algorithm>

#include "core/statement/cass_sql_text.h"
#include "support/ascii.h"

static constexpr char words_to_add[] = " ALLOW FILTERING";

static bool is_word(sql_units units, const char *word)
{
    for (const SQLWCHAR unit : units) {
        if (*word == 0 || unit > 0x7F ||
            ascii_to_lower(static_cast<unsigned char>(unit)) != static_cast<unsigned char>(*word++))
            return false;
    }
    return *word == 0;
}

// Where the words belong: behind the last token that is no comment and no semicolon. -1 for a text
// that is no SELECT, has no WHERE or has the words.
static std::int32_t place_of_words(sql_units in)
{
    bool has_where = false, allow = false, allowed = false;
    std::int32_t place = -1;
    sql_token token;
    for (std::int32_t at = 0; at < static_cast<std::int32_t>(in.size()); at = token.end) {
        token = cass_sql_token_at(in, at);
        const SQLWCHAR unit = in[static_cast<std::size_t>(at)];
        if (token.kind == SQL_TOKEN_COMMENT || unit == ';' || ascii_is_space(unit))
            continue;
        const sql_units word =
            in.subspan(static_cast<std::size_t>(at), static_cast<std::size_t>(token.end - at));
        if (place < 0 && !is_word(word, "select"))
            return -1;
        place = token.end;
        has_where = has_where || is_word(word, "where");
        allowed = allow && is_word(word, "filtering");
        allow = is_word(word, "allow");
    }
    return has_where && !allowed ? place : -1;
}

bool cass_allow_filtering(const cass_conn *conn, held_string *text)
{
    if (shared_get(&conn->settings.allow_filtering) == 0)
        return true;
    const cass_string *before = text->get();
    const std::int32_t place = place_of_words(cass_sql_units(before));
    if (place < 0)
        return true;
    constexpr std::int32_t added = sizeof words_to_add - 1;
    held_string after(cass_string_alloc(std::int64_t{before->length} + added));
    if (after == nullptr)
        return false;
    after->form = before->form;
    SQLWCHAR *out = std::copy_n(before->text, place, after->text);
    out = std::copy_n(words_to_add, added, out);
    std::copy_n(before->text + place, before->length - place, out);
    text->reset(after.release());
    return true;
}
