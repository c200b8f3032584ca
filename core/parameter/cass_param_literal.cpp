// Values of lists, sets, maps, tuples, user types and vectors from CQL literals, as a result gives
// them: "[1, 2]", "{'a': 1}", "{name: 'x', n: 3}". The type tells what must come next; the text
// lies in the parameter's own memory and is read once, but for the fields of user types, which are
// found before they are written, as they come in any order.
#include <cstdlib>

#include "core/parameter/cass_param_internal.h"
#include "core/parameter/cass_param_vint.h"
#include "support/ascii.h"

static constexpr std::uint64_t DAY_NANOSECONDS = 86'400'000'000'000;

// A literal that is being written.
struct literal_reader {
    const cass_param *param;
    cass_packet *packet;
    char *at;  // the text is changed where quotes are taken away
    char *end;
};

static int put_value(literal_reader *reader, const cass_type_option *type);

static int malformed(const literal_reader *reader)
{
    return param_fail(reader->param, STATE_22018, "malformed literal");
}

// ---- Marks and words ---------------------------------------------------------------------------

static void pass_blanks(literal_reader *reader)
{
    while (reader->at != reader->end && ascii_is_space(static_cast<unsigned char>(*reader->at)))
        reader->at++;
}

// The mark if it comes next, behind blanks.
static bool take_mark(literal_reader *reader, char mark)
{
    pass_blanks(reader);
    if (reader->at == reader->end || *reader->at != mark)
        return false;
    reader->at++;
    return true;
}

static bool ends_word(char unit)
{
    return ascii_is_space(static_cast<unsigned char>(unit)) || std::strchr(",:()[]{}'\"", unit);
}

// What stands in front of the next mark or blank.
static std::string_view peek_word(literal_reader *reader)
{
    pass_blanks(reader);
    const char *end = reader->at;
    while (end != reader->end && !ends_word(*end))
        end++;
    return {reader->at, static_cast<std::size_t>(end - reader->at)};
}

static bool take_null(literal_reader *reader)
{
    const std::string_view word = peek_word(reader);
    constexpr std::string_view null = "null";
    if (word.size() != null.size())
        return false;
    for (std::size_t i = 0; i < null.size(); i++) {
        if (ascii_to_lower(static_cast<unsigned char>(word[i])) != null[i])
            return false;
    }
    reader->at += word.size();
    return true;
}

// Behind a quote that was taken: what it encloses, its doubled quotes made one, in place. False
// without an end.
static bool take_quoted(literal_reader *reader, char quote, std::string_view *text)
{
    char *out = reader->at;
    const char *start = out;
    while (reader->at != reader->end) {
        const char unit = *reader->at++;
        if (unit == quote && (reader->at == reader->end || *reader->at != quote)) {
            *text = {start, static_cast<std::size_t>(out - start)};
            return true;
        }
        if (unit == quote)
            reader->at++;
        *out++ = unit;
    }
    return false;
}

// ---- Values in the frame -----------------------------------------------------------------------

// Begins a value whose length is not known yet.
static std::int32_t open_value(literal_reader *reader)
{
    const std::int32_t start = pkt_position(reader->packet);
    pkt_put_int(reader->packet, 0);
    return start;
}

static int close_value(literal_reader *reader, std::int32_t start)
{
    pkt_set_int(reader->packet, start, pkt_position(reader->packet) - start - 4);
    return 0;
}

// A text goes the way of a parameter that is one, unless it is a value itself: what it ends with is
// no terminator that was counted.
[[gnu::noinline]] static int put_text(const literal_reader *reader, std::string_view text,
                                      const cass_type_option *type)
{
    if (type->option_id == CQL_VARCHAR || type->option_id == CQL_ASCII) {
        pkt_put_long_bytes(reader->packet, text.data(), static_cast<std::int32_t>(text.size()));
        return 0;
    }
    cass_param scalar;
    scalar.stmt = reader->param->stmt;
    scalar.field = reader->param->field;
    scalar.index = reader->param->index;
    scalar.c_type = {KIND_TEXT, 0};
    scalar.by_column = true;
    scalar.at_exec = false;
    scalar.has_length = true;
    scalar.length = static_cast<SQLLEN>(text.size());
    scalar.data = reinterpret_cast<const unsigned char *>(text.data());
    scalar.owned = nullptr;
    const int code = param_put_typed(&scalar, reader->packet, type);
    std::free(scalar.owned);
    return code;
}

// Dates and times without quotes are numbers, as the server counts: days with 1 January 1970 in the
// middle, nanoseconds of the day, milliseconds since 1970.
static int put_count(const literal_reader *reader, std::string_view text, std::int32_t option_id)
{
    cass_packet *packet = reader->packet;
    const std::int32_t start = pkt_position(packet);
    cass_type_option number = {};
    number.option_id = CQL_BIGINT;
    if (put_text(reader, text, &number) != 0)
        return 1;
    if (packet->failed)
        return 0;
    const std::uint64_t count = load_be64(packet->body + start + 4);
    const bool date = option_id == CQL_DATE;
    if ((date && count > UINT32_MAX) || (option_id == CQL_TIME && count >= DAY_NANOSECONDS))
        return param_fail(reader->param, STATE_22003, "date or time out of range");
    if (date) {
        pkt_set_int(packet, start, 4);
        pkt_replace_int(packet, start + 4, packet->body, 0);
    }
    return 0;
}

// A value that is no nested one: in quotes, or a word where the type is no text.
static int put_scalar(literal_reader *reader, const cass_type_option *type)
{
    std::string_view text;
    if (take_mark(reader, '\''))
        return take_quoted(reader, '\'', &text) ? put_text(reader, text, type) : malformed(reader);
    text = peek_word(reader);
    reader->at += text.size();
    switch (type->option_id) {
    case CQL_ASCII:
    case CQL_VARCHAR:
        return malformed(reader);
    case CQL_DATE:
    case CQL_TIME:
    case CQL_TIMESTAMP:
        return put_count(reader, text, type->option_id);
    default:
        return text.empty() ? malformed(reader) : put_text(reader, text, type);
    }
}

// ---- Collections -------------------------------------------------------------------------------

// Nulls are no elements: the server would fail on one.
static int put_member(literal_reader *reader, const cass_type_option *type)
{
    return take_null(reader) ? malformed(reader) : put_value(reader, type);
}

static int put_element(literal_reader *reader, const cass_type_option *type)
{
    return put_member(reader, type->element);
}

static int put_entry(literal_reader *reader, const cass_type_option *type)
{
    if (put_member(reader, type->element) != 0)
        return 1;
    return take_mark(reader, ':') ? put_member(reader, type->value) : malformed(reader);
}

// Elements between two marks, each with `put`; their number in *count.
static int put_elements(literal_reader *reader, const cass_type_option *type, const char *marks,
                        int (*put)(literal_reader *, const cass_type_option *), std::int32_t *count)
{
    *count = 0;
    if (!take_mark(reader, marks[0]))
        return malformed(reader);
    if (take_mark(reader, marks[1]))
        return 0;
    do {
        if (put(reader, type) != 0)
            return 1;
        ++*count;
    } while (take_mark(reader, ','));
    return take_mark(reader, marks[1]) ? 0 : malformed(reader);
}

static int put_collection(literal_reader *reader, const cass_type_option *type)
{
    const std::int32_t start = open_value(reader);
    const std::int32_t count_at = open_value(reader);
    const bool map = type->option_id == CQL_MAP;
    std::int32_t count;
    if (put_elements(reader, type, type->option_id == CQL_LIST ? "[]" : "{}",
                     map ? put_entry : put_element, &count) != 0)
        return 1;
    pkt_set_int(reader->packet, count_at, count);
    return close_value(reader, start);
}

// An element without its length where all have the same, and with a shorter one elsewhere.
static int put_vector_element(literal_reader *reader, const cass_type_option *type)
{
    const std::int32_t start = pkt_position(reader->packet);
    if (put_member(reader, type->element) != 0)
        return 1;
    unsigned char length[VINT_ROOM];
    const std::int32_t size = pkt_position(reader->packet) - start - 4;
    const bool fixed = cql_element_size(type->element) != 0;
    pkt_replace_int(reader->packet, start, length,
                    fixed ? 0 : vint_from_uint64(length, static_cast<std::uint64_t>(size)));
    return 0;
}

static int put_vector(literal_reader *reader, const cass_type_option *type)
{
    const std::int32_t start = open_value(reader);
    std::int32_t count;
    if (put_elements(reader, type, "[]", put_vector_element, &count) != 0)
        return 1;
    return count == type->vector_size ? close_value(reader, start) : malformed(reader);
}

// ---- Tuples and user types ---------------------------------------------------------------------

// What is missing at the end is null.
static int put_tuple(literal_reader *reader, const cass_type_option *type)
{
    const std::int32_t start = open_value(reader);
    if (!take_mark(reader, '('))
        return malformed(reader);
    std::int32_t count = 0;
    do {
        if (count == type->tuple_count)
            return malformed(reader);
        if (put_value(reader, type->tuple_types[count++]) != 0)
            return 1;
    } while (take_mark(reader, ','));
    if (!take_mark(reader, ')'))
        return malformed(reader);
    for (; count < type->tuple_count; count++)
        param_put_null(reader->packet);
    return close_value(reader, start);
}

static bool is_name(const cass_string *name, std::string_view text, bool folded)
{
    if (name == nullptr || static_cast<std::size_t>(name->length) != text.size())
        return false;
    for (std::size_t i = 0; i < text.size(); i++) {
        const auto unit = static_cast<unsigned char>(text[i]);
        if (name->text[i] != (folded ? ascii_to_lower(unit) : unit))
            return false;
    }
    return true;
}

// The field whose name comes next, and the colon; -1 for none.
static std::int32_t take_field(literal_reader *reader, const cass_type_option *type)
{
    std::string_view name;
    const bool quoted = take_mark(reader, '"');
    if (quoted && !take_quoted(reader, '"', &name))
        return -1;
    if (!quoted) {
        name = peek_word(reader);
        reader->at += name.size();
    }
    if (!take_mark(reader, ':'))
        return -1;
    for (std::int32_t i = 0; i < type->field_count; i++) {
        if (is_name(type->fields[i].name, name, !quoted))
            return i;
    }
    return -1;
}

// Moves to the comma or bracket behind a value, whatever it is.
static void pass_value(literal_reader *reader)
{
    std::int32_t depth = 0;
    char quote = '\0';
    for (; reader->at != reader->end; reader->at++) {
        const char unit = *reader->at;
        if (quote != '\0') {
            quote = unit == quote ? '\0' : quote;  // a doubled one opens again
            continue;
        }
        const bool closes = unit != '\0' && std::strchr(")]}", unit) != nullptr;
        if (depth == 0 && (closes || unit == ','))
            return;
        if (unit == '\'' || unit == '"')
            quote = unit;
        else if (unit != '\0' && std::strchr("([{", unit) != nullptr)
            depth++;
        else if (closes)
            depth--;
    }
}

// Where the value of a field stands; null: nowhere.
struct field_place {
    char *start;
    char *end;
};

static int find_fields(literal_reader *reader, const cass_type_option *type, field_place *places)
{
    if (!take_mark(reader, '{'))
        return malformed(reader);
    if (take_mark(reader, '}'))
        return 0;
    do {
        const std::int32_t field = take_field(reader, type);
        if (field < 0 || places[field].start != nullptr)
            return malformed(reader);
        places[field].start = reader->at;
        pass_value(reader);
        places[field].end = reader->at;
    } while (take_mark(reader, ','));
    return take_mark(reader, '}') ? 0 : malformed(reader);
}

static int put_field(const literal_reader *reader, const cass_type_option *type,
                     const field_place &place)
{
    if (place.start == nullptr)
        return param_put_null(reader->packet);
    literal_reader value = *reader;
    value.at = place.start;
    value.end = place.end;
    if (put_value(&value, type) != 0)
        return 1;
    pass_blanks(&value);
    return value.at == value.end ? 0 : malformed(reader);
}

static int put_udt(literal_reader *reader, const cass_type_option *type)
{
    const std::int32_t start = open_value(reader);
    const held<field_place, &std::free> places(static_cast<field_place *>(
        std::calloc(static_cast<std::size_t>(type->field_count) + 1, sizeof(field_place))));
    if (places == nullptr)
        return param_fail(reader->param, STATE_HY001, "no memory for a user type");
    if (find_fields(reader, type, places.get()) != 0)
        return 1;
    for (std::int32_t i = 0; i < type->field_count; i++) {
        if (put_field(reader, type->fields[i].type, places.get()[i]) != 0)
            return 1;
    }
    return close_value(reader, start);
}

// ---- Any value -----------------------------------------------------------------------------------

static int put_present(literal_reader *reader, const cass_type_option *type)
{
    switch (type->option_id) {
    case CQL_LIST:
    case CQL_SET:
    case CQL_MAP:
        return put_collection(reader, type);
    case CQL_VECTOR:
        return put_vector(reader, type);
    case CQL_TUPLE:
        return put_tuple(reader, type);
    case CQL_UDT:
        return put_udt(reader, type);
    default:
        return put_scalar(reader, type);
    }
}

// No deeper than the type, whose levels are limited.
static int put_value(literal_reader *reader, const cass_type_option *type)
{
    type = cql_type_meant(type);
    if (type == nullptr || !param_has_writer(type))
        return param_fail(reader->param, STATE_07006, "unknown type in a literal");
    if (take_null(reader))
        return param_put_null(reader->packet);
    return put_present(reader, type);
}

int typed_put_literal(cass_param *param, cass_packet *packet, const cass_type_option *type)
{
    if (!param_is_text(param))
        return param_fail_source(param, "typed_put_literal");
    char *text = param_own_characters(param);
    literal_reader reader = {
        .param = param, .packet = packet, .at = text, .end = text + param->length};
    if (put_present(&reader, type) != 0)
        return 1;
    pass_blanks(&reader);
    return reader.at == reader.end ? 0 : malformed(&reader);
}
