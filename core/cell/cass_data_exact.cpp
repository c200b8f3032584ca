// Numbers converted exactly: what a text, a decimal of any size or another number says, as a row of
// digits and a power of ten, and from there into the integers, doubles and numerics of C.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

#include "core/cell/cass_data_internal.h"
#include "core/cell/cass_data_wire.h"
#include "support/ascii.h"
#include "support/numeric.h"

constexpr int KEPT_DIGITS = 60;  // more than any target holds
constexpr std::int64_t MOST_EXPONENT = 1'000'000'000;
constexpr int MOST_PRECISION = 38;

// A number: its digits, the first of them not 0, times 10^exponent. Zero has none.
struct cell_decimal {
    bool negative;
    int count;
    char digits[KEPT_DIGITS];
    bool more;  // digits that are not 0 stand behind those kept
    std::int64_t exponent;
    std::string_view text;  // without a '+' and the blanks around it
};

static bool numbers_are_converted_loosely(const cass_conn *conn)
{
    return conn->conduct->numbers_are_converted_loosely;
}

bool cell_is_converted_exactly(const cell_request &request)
{
    return !numbers_are_converted_loosely(stmt_conn(request.stmt));
}

// ---- Reading digits ----------------------------------------------------------------------------

static bool take(std::string_view *rest, std::string_view any_of)
{
    if (rest->empty() || any_of.find(rest->front()) == std::string_view::npos)
        return false;
    rest->remove_prefix(1);
    return true;
}

static void keep_digit(cell_decimal *number, char digit)
{
    if (number->count == 0 && digit == '0')
        return;
    if (number->count < KEPT_DIGITS) {
        number->digits[number->count++] = digit;
    } else {
        number->more |= digit != '0';
        number->exponent++;
    }
}

// Digits at the start; their number.
static std::size_t keep_digits(cell_decimal *number, std::string_view *rest, bool fraction)
{
    std::size_t count = 0;
    for (; count < rest->size() && ascii_is_digit(static_cast<unsigned char>((*rest)[count]));
         count++) {
        keep_digit(number, (*rest)[count]);
        if (fraction)
            number->exponent--;
    }
    rest->remove_prefix(count);
    return count;
}

static bool take_exponent(cell_decimal *number, std::string_view *rest)
{
    const bool negative = take(rest, "-");
    if (!negative)
        take(rest, "+");
    std::int64_t exponent = 0;
    std::size_t count = 0;
    for (; count < rest->size() && ascii_is_digit(static_cast<unsigned char>((*rest)[count]));
         count++)
        exponent = std::min(exponent * 10 + ((*rest)[count] - '0'), MOST_EXPONENT);
    rest->remove_prefix(count);
    number->exponent += negative ? -exponent : exponent;
    return count > 0;
}

static std::string_view without_blanks(std::string_view text)
{
    const auto is_blank = [](char c) { return ascii_is_space(static_cast<unsigned char>(c)); };
    while (!text.empty() && is_blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && is_blank(text.back()))
        text.remove_suffix(1);
    return text;
}

// "[sign]digits[.digits][E[sign]digits]" between blanks; one side of the point may be empty. False
// for anything else.
static bool read_decimal(std::string_view text, cell_decimal *number)
{
    *number = {};
    std::string_view rest = without_blanks(text);
    const bool plus = take(&rest, "+");
    number->text = rest;
    number->negative = !plus && take(&rest, "-");
    std::size_t digits = keep_digits(number, &rest, false);
    if (take(&rest, "."))
        digits += keep_digits(number, &rest, true);
    if (digits == 0 || (take(&rest, "eE") && !take_exponent(number, &rest)))
        return false;
    return rest.empty();
}

// The digits without the lowest `count`, for which the exponent grows.
static void drop_digits(cell_decimal *number, std::int64_t count)
{
    for (; count > 0 && number->count > 0; count--) {
        number->more |= number->digits[--number->count] != '0';
        number->exponent++;
    }
    number->exponent += std::max<std::int64_t>(count, 0);
}

// ---- Cells as numbers --------------------------------------------------------------------------

// The text of a cell that is a number; `room` has CELL_TEXT_ROOM bytes for it. SQL_ERROR with the
// failure posted.
static SQLRETURN text_of_number(const cell_request &request, char *room, std::string_view *text)
{
    const cass_data_storage &cell = request.field->data_storage;
    int length = 0;
    switch (cell.data_type) {
    case SQL_CHAR:
        *text = {reinterpret_cast<const char *>(cell.value.bytes),
                 static_cast<std::size_t>(cell.alloc_length)};
        return SQL_SUCCESS;
    case CELL_WIRE:
        return cell_wire_number(request, text);
    case SQL_NUMERIC:
        length = cass_numeric_format(&cell.value.numeric, room);
        break;
    case SQL_FLOAT:
        length = text_shortest(room, cell.value.real);
        break;
    case SQL_DOUBLE:
        length = text_shortest(room, cell.value.dbl);
        break;
    case SQL_INTEGER:
    case SQL_BIGINT:
        length = cell_format(request, room);
        break;
    default:
        return cell_not_convertible(request);
    }
    *text = {room, static_cast<std::size_t>(length)};
    return SQL_SUCCESS;
}

// The number of a cell, whose text lies in the cell or in `room`.
static SQLRETURN number_of_cell(const cell_request &request, char *room, cell_decimal *number)
{
    std::string_view text;
    if (text_of_number(request, room, &text) != SQL_SUCCESS)
        return SQL_ERROR;
    if (read_decimal(text, number))
        return SQL_SUCCESS;
    const std::int32_t type = request.field->data_storage.data_type;
    return type == SQL_FLOAT || type == SQL_DOUBLE  // an infinity, or NaN
               ? cell_out_of_range(request, nullptr, 0)
               : cell_not_numeric(request);
}

SQLRETURN cell_exact_integer(const cell_request &request, std::uint64_t most, std::uint64_t least,
                             std::int64_t *value, bool *fraction)
{
    char room[CELL_TEXT_ROOM];
    cell_decimal number;
    if (number_of_cell(request, room, &number) != SQL_SUCCESS)
        return SQL_ERROR;
    if (number.exponent < 0)
        drop_digits(&number, -number.exponent);
    *fraction = number.more;

    constexpr std::int64_t most_digits = 20;
    std::uint64_t magnitude = 0;
    bool fits = number.count == 0 || number.count + number.exponent <= most_digits;
    for (std::int64_t i = 0; fits && number.count > 0 && i < number.count + number.exponent; i++) {
        const auto digit = static_cast<unsigned>(i < number.count ? number.digits[i] - '0' : 0);
        fits = !__builtin_mul_overflow(magnitude, 10, &magnitude) &&
               !__builtin_add_overflow(magnitude, digit, &magnitude);
    }
    if (!fits || magnitude > (number.negative ? least : most))
        return cell_out_of_range(request, nullptr, 0);
    *value = static_cast<std::int64_t>(number.negative ? 0 - magnitude : magnitude);
    return SQL_SUCCESS;
}

SQLRETURN cell_exact_double(const cell_request &request, double *value)
{
    char room[CELL_TEXT_ROOM];
    cell_decimal number;
    if (number_of_cell(request, room, &number) != SQL_SUCCESS)
        return SQL_ERROR;
    const char *end = number.text.data() + number.text.size();
    const std::from_chars_result read = std::from_chars(number.text.data(), end, *value);
    if (read.ec != std::errc::result_out_of_range)
        return SQL_SUCCESS;
    if (number.count + number.exponent > 0)
        return cell_out_of_range(request, nullptr, 0);
    *value = 0;  // too small to be told from it
    return SQL_SUCCESS;
}

// ---- Numerics ----------------------------------------------------------------------------------

struct numeric_shape {
    int precision;
    std::int64_t scale;
};

// Whether the column's own precision is one of decimal digits.
static bool is_described_in_digits(std::int32_t data_type)
{
    return data_type != SQL_FLOAT && data_type != SQL_DOUBLE && data_type != SQL_CHAR;
}

// Precision and scale of the result: those that the application has set in the column's ARD record,
// or else the column's own; a floating number or a text is taken with the digits that it has.
static numeric_shape shape_of_numeric(const cell_request &request, const cell_decimal &number)
{
    const cass_field *field = request.field;
    const cass_desc *ard = request.stmt->ard;
    if (request.column >= 1 && request.column <= ard->field_count) {
        const cass_field &record = ard->fields[request.column - 1];
        const bool set = record.consise_type == SQL_C_NUMERIC &&
                         (record.precision != field->precision || record.scale != field->scale);
        if (set && record.precision >= 1 && record.precision <= MOST_PRECISION)
            return {record.precision, record.scale};
    }
    if (is_described_in_digits(field->data_storage.data_type) && field->precision >= 1 &&
        field->precision <= MOST_PRECISION)
        return {field->precision, field->scale};
    const std::int64_t decimals = std::max<std::int64_t>(-number.exponent, 0);
    const std::int64_t surplus = number.count + number.exponent + decimals - MOST_PRECISION;
    return {MOST_PRECISION,
            std::max<std::int64_t>(decimals - std::max<std::int64_t>(surplus, 0), 0)};
}

SQLRETURN cell_exact_numeric(const cell_request &request)
{
    char room[CELL_TEXT_ROOM];
    cell_decimal number;
    if (number_of_cell(request, room, &number) != SQL_SUCCESS)
        return SQL_ERROR;
    const numeric_shape shape = shape_of_numeric(request, number);
    const std::int64_t shift = number.exponent + shape.scale;
    if (shift < 0)
        drop_digits(&number, -shift);
    const std::int64_t zeros = number.count == 0 ? 0 : std::max<std::int64_t>(shift, 0);
    if (number.count + zeros > shape.precision || shape.scale > INT8_MAX || shape.scale < INT8_MIN)
        return cell_out_of_range(request, nullptr, 0);

    char text[MOST_PRECISION + 2];
    char *end = text;
    if (number.negative && number.count > 0)
        *end++ = '-';
    end = std::copy_n(number.digits, number.count, end);
    end = std::fill_n(end, zeros, '0');
    *end = '\0';
    SQL_NUMERIC_STRUCT numeric;
    if (cass_numeric_from_text(text, &numeric, shape.precision, static_cast<int>(shape.scale)) != 0)
        return cell_out_of_range(request, nullptr, 0);
    cell_store_value(request, &numeric, sizeof numeric);
    return number.more ? cell_fraction_lost(request) : SQL_SUCCESS;
}
