// Numbers by the column's type. What an application gives, in whatever form, is a sign, decimal
// digits and a scale, at any size; each type takes of it what it holds. Only integers into integers
// go without digits.
#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <span>

#include "core/parameter/cass_param_internal.h"
#include "support/ascii.h"
#include "support/bigint.h"
#include "support/numtext.h"

// sign digits * 10^-scale. No zeros in front: 0 has no digits.
struct exact_number {
    bool negative;
    const char *digits;
    std::int64_t count;
    std::int64_t scale;
};

// Further than any type reaches, and far from the bounds of 64 bits.
static constexpr std::int64_t SCALE_LIMIT = std::int64_t{1} << 40;

static int out_of_range(const cass_param *param)
{
    return param_fail(param, STATE_22003, "number out of range");
}

static int no_number(const cass_param *param)
{
    return param_fail(param, STATE_22018, "no number");
}

static bool is_integer(const cass_param *param)
{
    const param_kind kind = param->c_type.kind;
    return kind == KIND_SIGNED || kind == KIND_UNSIGNED || kind == KIND_BIT;
}

// ---- Digits ------------------------------------------------------------------------------------

// "[sign]digits" to the end of the text, held within SCALE_LIMIT.
static bool read_exponent(std::string_view text, std::int64_t *exponent)
{
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+'))
        text.remove_prefix(1);
    *exponent = 0;
    for (const char digit : text) {
        if (!ascii_is_digit(static_cast<unsigned char>(digit)))
            return false;
        *exponent = std::min(*exponent * 10 + (digit - '0'), SCALE_LIMIT);
    }
    if (negative)
        *exponent = -*exponent;
    return !text.empty();
}

// "[sign]digits[.digits][e[sign]digits]", digits on one side of the point at least. The digits are
// moved together at the start of the text, which is changed.
static bool read_digits(char *text, std::size_t length, exact_number *number)
{
    const char *at = text, *end = text + length;
    *number = {.negative = length > 0 && *at == '-', .digits = text, .count = 0, .scale = 0};
    if (number->negative || (length > 0 && *at == '+'))
        at++;
    bool any = false, point = false;
    for (; at != end; at++) {
        if (*at == '.' && !point) {
            point = true;
            continue;
        }
        if (!ascii_is_digit(static_cast<unsigned char>(*at)))
            break;
        any = true;
        number->scale += point ? 1 : 0;
        if (*at != '0' || number->count > 0)
            text[number->count++] = *at;
    }
    if (!any || at == end)
        return any;
    std::int64_t exponent;
    if ((*at | 0x20) != 'e' ||
        !read_exponent({at + 1, static_cast<std::size_t>(end - at - 1)}, &exponent))
        return false;
    number->scale -= exponent;
    return true;
}

// By its shortest text, which a float has of its own.
static int digits_of_real(cass_param *param, double real, exact_number *number)
{
    if (!std::isfinite(real))
        return out_of_range(param);
    char *end = param->scratch + sizeof param->scratch;
    const std::to_chars_result text =
        param->c_type.size == sizeof(SQLREAL)
            ? std::to_chars(param->scratch, end, static_cast<float>(real))
            : std::to_chars(param->scratch, end, real);
    return read_digits(param->scratch, static_cast<std::size_t>(text.ptr - param->scratch), number)
               ? 0
               : no_number(param);
}

static int digits_of_number(cass_param *param, exact_number *number)
{
    param_value value;
    if (param_read_value(param, &value) != 0)
        return 1;
    if (param->c_type.kind == KIND_REAL)
        return digits_of_real(param, value.real, number);
    std::int64_t scale = 0;
    int length = 0;
    if (param->c_type.kind == KIND_NUMERIC) {
        // Without its scale the text has all digits and no point.
        scale = value.numeric.scale;
        value.numeric.scale = 0;
        length = cass_numeric_format(&value.numeric, param->scratch);
    } else if (param->c_type.kind == KIND_UNSIGNED) {
        length = text_from_uint64(param->scratch, static_cast<std::uint64_t>(value.integer));
    } else {
        length = text_from_int64(param->scratch, value.integer);
    }
    read_digits(param->scratch, static_cast<std::size_t>(length), number);
    number->scale = scale;
    return 0;
}

// The digits lie in memory of the parameter's own.
static int read_number(cass_param *param, exact_number *number)
{
    switch (param->c_type.kind) {
    case KIND_SIGNED:
    case KIND_UNSIGNED:
    case KIND_BIT:
    case KIND_REAL:
    case KIND_NUMERIC:
        return digits_of_number(param, number);
    case KIND_TEXT:
        return read_digits(param_own_characters(param), param_text(param).size(), number)
                   ? 0
                   : no_number(param);
    default:
        return param_fail_source(param, "read_number");
    }
}

// ---- Integers ----------------------------------------------------------------------------------

// Cuts the fraction. 22001 when a text loses digits that are not 0.
static int cut_fraction(const cass_param *param, exact_number *number)
{
    if (number->scale <= 0)
        return 0;
    const std::int64_t cut = std::min(number->scale, number->count);
    number->count -= cut;
    number->scale = 0;
    const char *fraction = number->digits + number->count;
    const bool lost =
        std::any_of(fraction, fraction + cut, [](char digit) { return digit != '0'; });
    return lost && param_is_text(param) ? param_fail(param, STATE_22001, "a fraction") : 0;
}

// A whole number with a sign of its own.
struct signed_magnitude {
    bool negative;
    std::uint64_t magnitude;
};

// 22003 when the magnitude needs more than 64 bits.
static int magnitude_of(const cass_param *param, exact_number *number, signed_magnitude *whole)
{
    if (cut_fraction(param, number) != 0)
        return 1;
    *whole = {.negative = number->negative, .magnitude = 0};
    if (number->count == 0)
        return 0;
    const std::int64_t places = number->count - number->scale;
    if (places > 20)
        return out_of_range(param);
    for (std::int64_t place = 0; place < places; place++) {
        const char digit = place < number->count ? number->digits[place] : '0';
        if (__builtin_mul_overflow(whole->magnitude, std::uint64_t{10}, &whole->magnitude) ||
            __builtin_add_overflow(whole->magnitude, static_cast<std::uint64_t>(digit - '0'),
                                   &whole->magnitude))
            return out_of_range(param);
    }
    return 0;
}

static int read_whole(cass_param *param, signed_magnitude *whole)
{
    if (!is_integer(param)) {
        exact_number number;
        return read_number(param, &number) != 0 || magnitude_of(param, &number, whole) != 0;
    }
    param_value value;
    if (param_read_value(param, &value) != 0)
        return 1;
    const auto bits = static_cast<std::uint64_t>(value.integer);
    whole->negative = param->c_type.kind == KIND_SIGNED && value.integer < 0;
    whole->magnitude = whole->negative ? 0 - bits : bits;
    return 0;
}

static int integer_size(const cass_type_option *type)
{
    switch (type->option_id) {
    case CQL_TINYINT:
        return 1;
    case CQL_SMALLINT:
        return 2;
    case CQL_INT:
        return 4;
    default:
        return 8;
    }
}

int typed_put_integer(cass_param *param, cass_packet *packet, const cass_type_option *type)
{
    const int size = integer_size(type);
    signed_magnitude whole;
    if (read_whole(param, &whole) != 0)
        return 1;
    const std::uint64_t bound = std::uint64_t{1} << (8 * size - 1);
    if (whole.magnitude > bound || (whole.magnitude == bound && !whole.negative))
        return out_of_range(param);
    param_put_fixed(packet, whole.negative ? 0 - whole.magnitude : whole.magnitude, size);
    return 0;
}

// ---- Booleans ----------------------------------------------------------------------------------

static constexpr std::string_view words_of_true[] = {"true", "yes", "t"};
static constexpr std::string_view words_of_false[] = {"false", "no", "f"};

static bool is_word(std::string_view text, std::span<const std::string_view> words)
{
    const auto equal = [text](std::string_view word) {
        return std::equal(text.begin(), text.end(), word.begin(), word.end(), [](char a, char b) {
            return ascii_to_lower(static_cast<unsigned char>(a)) == static_cast<unsigned char>(b);
        });
    };
    return std::any_of(words.begin(), words.end(), equal);
}

int typed_put_boolean(cass_param *param, cass_packet *packet, const cass_type_option *)
{
    signed_magnitude whole = {};
    if (param_is_text(param) && is_word(param_text(param), words_of_true))
        whole.magnitude = 1;
    else if ((!param_is_text(param) || !is_word(param_text(param), words_of_false)) &&
             read_whole(param, &whole) != 0)
        return 1;
    if (whole.magnitude > 1 || (whole.negative && whole.magnitude != 0))
        return out_of_range(param);
    param_put_fixed(packet, whole.magnitude, 1);
    return 0;
}

// ---- Varints and decimals ------------------------------------------------------------------------

// Two's complement of the digits, in the fewest bytes.
static unsigned char *unscaled_bytes(const cass_param *param, const exact_number *number,
                                     std::int32_t *length)
{
    if (number->count > static_cast<std::int64_t>(BIGINT_MOST_DIGITS)) {
        out_of_range(param);
        return nullptr;
    }
    std::size_t size = 0;
    unsigned char *bytes = bigint_from_digits(
        number->digits, static_cast<std::size_t>(number->count), number->negative, &size);
    if (bytes == nullptr)
        param_fail(param, STATE_HY001, "no memory for a number");
    *length = static_cast<std::int32_t>(size);
    return bytes;
}

// Writes the zeros that an exponent stands for.
static int write_out_zeros(cass_param *param, exact_number *number)
{
    const std::int64_t zeros = number->count == 0 ? 0 : -number->scale;
    const std::int64_t count = number->count + zeros;
    if (zeros == 0)
        return 0;
    if (count > static_cast<std::int64_t>(BIGINT_MOST_DIGITS))
        return out_of_range(param);
    auto *digits = static_cast<char *>(std::malloc(static_cast<std::size_t>(count)));
    if (digits == nullptr)
        return param_fail(param, STATE_HY001, "no memory for a number");
    std::memcpy(digits, number->digits, static_cast<std::size_t>(number->count));
    std::memset(digits + number->count, '0', static_cast<std::size_t>(zeros));
    std::free(param->owned);  // where the digits were
    param->owned = digits;
    *number = {.negative = number->negative, .digits = digits, .count = count, .scale = 0};
    return 0;
}

int typed_put_varint(cass_param *param, cass_packet *packet, const cass_type_option *)
{
    exact_number number;
    std::int32_t length;
    if (read_number(param, &number) != 0 || cut_fraction(param, &number) != 0 ||
        write_out_zeros(param, &number) != 0)
        return 1;
    const held_bytes bytes(unscaled_bytes(param, &number, &length));
    if (bytes == nullptr)
        return 1;
    pkt_put_long_bytes(packet, bytes.get(), length);
    return 0;
}

int typed_put_decimal(cass_param *param, cass_packet *packet, const cass_type_option *)
{
    exact_number number;
    std::int32_t length;
    if (read_number(param, &number) != 0)
        return 1;
    if (number.scale < INT32_MIN || number.scale > INT32_MAX)
        return out_of_range(param);
    const held_bytes bytes(unscaled_bytes(param, &number, &length));
    if (bytes == nullptr)
        return 1;
    pkt_put_int(packet, 4 + length);
    pkt_put_int(packet, static_cast<std::int32_t>(number.scale));
    pkt_put_bytes(packet, bytes.get(), length);
    return 0;
}

// ---- Floating point ------------------------------------------------------------------------------

// Rounded once, from the text, which is changed. What is nearer to 0 than any number of the type is
// 0.
template <typename Real>
static int real_from_text(const cass_param *param, char *text, std::size_t length, Real *value)
{
    const char *start = text + (length > 1 && text[0] == '+' && text[1] != '-' ? 1 : 0);
    const char *end = text + length;
    const std::from_chars_result read = std::from_chars(start, end, *value);
    if (read.ec == std::errc::invalid_argument || read.ptr != end)
        return no_number(param);
    if (read.ec == std::errc())
        return 0;
    exact_number number;
    if (!read_digits(text, length, &number) || number.count > number.scale)
        return out_of_range(param);
    *value = number.negative ? static_cast<Real>(-0.0) : 0;
    return 0;
}

template <typename Real>
static int read_real(cass_param *param, Real *value)
{
    if (param_is_text(param))
        return real_from_text(param, param_own_characters(param), param_text(param).size(), value);
    if (param->c_type.kind == KIND_NUMERIC) {
        exact_number number;
        if (digits_of_number(param, &number) != 0)
            return 1;
        char text[NUMERIC_TEXT_ROOM] = "-";
        char *end = text + (number.negative ? 1 : 0);
        *end++ = '0';
        std::memcpy(end, number.digits, static_cast<std::size_t>(number.count));
        end += number.count;
        *end++ = 'e';
        end += text_from_int64(end, -number.scale);
        return real_from_text(param, text, static_cast<std::size_t>(end - text), value);
    }
    if (!is_integer(param) && param->c_type.kind != KIND_REAL)
        return param_fail_source(param, "read_real");
    param_value source;
    if (param_read_value(param, &source) != 0)
        return 1;
    if (param->c_type.kind == KIND_UNSIGNED)
        *value = static_cast<Real>(static_cast<std::uint64_t>(source.integer));
    else
        *value = param->c_type.kind == KIND_REAL ? static_cast<Real>(source.real)
                                                 : static_cast<Real>(source.integer);
    const bool grew = param->c_type.kind == KIND_REAL && std::isfinite(source.real);
    return grew && !std::isfinite(*value) ? out_of_range(param) : 0;
}

int typed_put_real(cass_param *param, cass_packet *packet, const cass_type_option *type)
{
    double wide = 0;
    float narrow = 0;
    if (type->option_id == CQL_FLOAT) {
        if (read_real(param, &narrow) != 0)
            return 1;
        param_put_fixed(packet, std::bit_cast<std::uint32_t>(narrow), sizeof narrow);
        return 0;
    }
    if (read_real(param, &wide) != 0)
        return 1;
    param_put_fixed(packet, std::bit_cast<std::uint64_t>(wide), sizeof wide);
    return 0;
}
