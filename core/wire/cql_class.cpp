// Class texts: a name, and in brackets its parameters, which are types again. The text is read
// once, from left to right.
#include "core/wire/cql_class.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "support/ascii.h"

// What the parameters of a class are.
enum class_form {
    FORM_PLAIN,    // none
    FORM_SAME,     // a type, which is what is meant
    FORM_ELEMENT,  // a type
    FORM_PAIR,     // two types
    FORM_MEMBERS,  // types
    FORM_FIELDS,   // keyspace, name, then "name:type" for each field; names are hexadecimal digits
    FORM_VECTOR,   // a type and the number of elements
};

struct class_row {
    std::string_view name;
    std::int32_t option_id;
    class_form form;
};

static constexpr class_row class_rows[] = {
    {"AsciiType", CQL_ASCII, FORM_PLAIN},
    {"BooleanType", CQL_BOOLEAN, FORM_PLAIN},
    {"ByteType", CQL_TINYINT, FORM_PLAIN},
    {"BytesType", CQL_BLOB, FORM_PLAIN},
    {"CounterColumnType", CQL_COUNTER, FORM_PLAIN},
    {"DateType", CQL_TIMESTAMP, FORM_PLAIN},
    {"DecimalType", CQL_DECIMAL, FORM_PLAIN},
    {"DoubleType", CQL_DOUBLE, FORM_PLAIN},
    {"DurationType", CQL_DURATION, FORM_PLAIN},
    {"FloatType", CQL_FLOAT, FORM_PLAIN},
    {"FrozenType", 0, FORM_SAME},
    {"InetAddressType", CQL_INET, FORM_PLAIN},
    {"Int32Type", CQL_INT, FORM_PLAIN},
    {"IntegerType", CQL_VARINT, FORM_PLAIN},
    {"LexicalUUIDType", CQL_UUID, FORM_PLAIN},
    {"ListType", CQL_LIST, FORM_ELEMENT},
    {"LongType", CQL_BIGINT, FORM_PLAIN},
    {"MapType", CQL_MAP, FORM_PAIR},
    {"ReversedType", 0, FORM_SAME},
    {"SetType", CQL_SET, FORM_ELEMENT},
    {"ShortType", CQL_SMALLINT, FORM_PLAIN},
    {"SimpleDateType", CQL_DATE, FORM_PLAIN},
    {"TimeType", CQL_TIME, FORM_PLAIN},
    {"TimeUUIDType", CQL_TIMEUUID, FORM_PLAIN},
    {"TimestampType", CQL_TIMESTAMP, FORM_PLAIN},
    {"TupleType", CQL_TUPLE, FORM_MEMBERS},
    {"UTF8Type", CQL_VARCHAR, FORM_PLAIN},
    {"UUIDType", CQL_UUID, FORM_PLAIN},
    {"UserType", CQL_UDT, FORM_FIELDS},
    {"VectorType", CQL_VECTOR, FORM_VECTOR},
};

enum class_state {
    CLASS_GOOD,
    CLASS_UNKNOWN,
    CLASS_NO_MEMORY,
};

// A class text that is being read.
struct class_reader {
    std::string_view rest;
    int *room;
    class_state state;
};

static cass_type_option *read_type(class_reader *reader, int levels);

static void fail(class_reader *reader, class_state state)
{
    if (reader->state == CLASS_GOOD)
        reader->state = state;
}

static void pass_blanks(class_reader *reader)
{
    while (!reader->rest.empty() && reader->rest.front() == ' ')
        reader->rest.remove_prefix(1);
}

// The mark if it comes next, behind blanks.
static bool take_mark(class_reader *reader, char mark)
{
    pass_blanks(reader);
    if (reader->state != CLASS_GOOD || reader->rest.empty() || reader->rest.front() != mark)
        return false;
    reader->rest.remove_prefix(1);
    return true;
}

static void expect_mark(class_reader *reader, char mark)
{
    if (!take_mark(reader, mark))
        fail(reader, CLASS_UNKNOWN);
}

// What comes before the next mark or blank.
static std::string_view take_word(class_reader *reader)
{
    pass_blanks(reader);
    const std::size_t length = std::min(reader->rest.find_first_of(" (),:"), reader->rest.size());
    const std::string_view word = reader->rest.substr(0, length);
    reader->rest.remove_prefix(length);
    return word;
}

// A text of bytes; null with the state telling why.
static cass_string *take_text(class_reader *reader, bool hexadecimal)
{
    const std::string_view word = take_word(reader);
    held_string text(cass_string_from_bytes(word.data(), static_cast<std::int64_t>(word.size())));
    if (text == nullptr) {
        fail(reader, CLASS_NO_MEMORY);
        return nullptr;
    }
    if (!hexadecimal)
        return text.release();
    text->length /= 2;
    for (std::int32_t i = 0; i < text->length; i++) {
        const std::size_t at = static_cast<std::size_t>(i) * 2;
        const unsigned high = ascii_digit_value(word[at]), low = ascii_digit_value(word[at + 1]);
        if (high > 15 || low > 15)
            fail(reader, CLASS_UNKNOWN);
        text->text[i] = static_cast<SQLWCHAR>(high << 4 | low);
    }
    if (word.size() % 2 != 0)
        fail(reader, CLASS_UNKNOWN);
    return text.release();
}

static std::int32_t take_count(class_reader *reader)
{
    std::int64_t count = 0;
    for (const char digit : take_word(reader)) {
        if (!ascii_is_digit(static_cast<unsigned char>(digit)) || count > INT32_MAX)
            fail(reader, CLASS_UNKNOWN);
        else
            count = count * 10 + (digit - '0');
    }
    if (count < 1 || count > INT32_MAX)
        fail(reader, CLASS_UNKNOWN);
    return static_cast<std::int32_t>(count);
}

static void read_members(class_reader *reader, cass_type_option *option, int levels)
{
    do {
        cass_type_option **member = type_option_add_member(option);
        if (member == nullptr)
            return fail(reader, CLASS_NO_MEMORY);
        *member = read_type(reader, levels);
    } while (take_mark(reader, ','));
}

static void read_fields(class_reader *reader, cass_type_option *option, int levels)
{
    option->udt_keyspace = take_text(reader, false);
    expect_mark(reader, ',');
    option->udt_name = take_text(reader, true);
    while (take_mark(reader, ',')) {
        cass_type_field *field = type_option_add_field(option);
        if (field == nullptr)
            return fail(reader, CLASS_NO_MEMORY);
        field->name = take_text(reader, true);
        expect_mark(reader, ':');
        field->type = read_type(reader, levels);
    }
}

static void read_parameters(class_reader *reader, cass_type_option *option, class_form form,
                            int levels)
{
    expect_mark(reader, '(');
    switch (form) {
    case FORM_MEMBERS:
        read_members(reader, option, levels);
        break;
    case FORM_FIELDS:
        read_fields(reader, option, levels);
        break;
    default:
        option->element = read_type(reader, levels);
        break;
    }
    if (form == FORM_PAIR || form == FORM_VECTOR)
        expect_mark(reader, ',');
    if (form == FORM_PAIR)
        option->value = read_type(reader, levels);
    if (form == FORM_VECTOR)
        option->vector_size = take_count(reader);
    expect_mark(reader, ')');
}

static const class_row *find_class(std::string_view name)
{
    const std::size_t point = name.rfind('.');
    if (point != std::string_view::npos)
        name.remove_prefix(point + 1);
    for (const class_row &row : class_rows) {
        if (row.name == name)
            return &row;
    }
    return nullptr;
}

// A type and its parameters. Null with the state telling why.
static cass_type_option *read_type(class_reader *reader, int levels)
{
    const class_row *row = find_class(take_word(reader));
    if (row == nullptr || levels < 1 || (row->form != FORM_SAME && --*reader->room < 0))
        fail(reader, CLASS_UNKNOWN);
    if (reader->state != CLASS_GOOD)
        return nullptr;
    if (row->form == FORM_SAME) {
        expect_mark(reader, '(');
        held_option same(read_type(reader, levels - 1));
        expect_mark(reader, ')');
        return reader->state == CLASS_GOOD ? same.release() : nullptr;
    }
    held_option option(static_cast<cass_type_option *>(std::calloc(1, sizeof(cass_type_option))));
    if (option == nullptr) {
        fail(reader, CLASS_NO_MEMORY);
        return nullptr;
    }
    option->option_id = row->option_id;
    if (row->form != FORM_PLAIN)
        read_parameters(reader, option.get(), row->form, levels - 1);
    return reader->state == CLASS_GOOD ? option.release() : nullptr;
}

bool type_option_from_class(const cass_string *name, int levels, int *room, cass_type_option **type)
{
    *type = nullptr;
    const held_text text(cass_string_to_ascii(name));
    if (text == nullptr)
        return name == nullptr;
    int left = *room;
    class_reader reader = {.rest = text.get(), .room = &left, .state = CLASS_GOOD};
    held_option option(read_type(&reader, levels));
    pass_blanks(&reader);
    if (!reader.rest.empty())
        fail(&reader, CLASS_UNKNOWN);
    if (reader.state == CLASS_GOOD) {
        *room = left;
        *type = option.release();
    }
    return reader.state != CLASS_NO_MEMORY;
}
