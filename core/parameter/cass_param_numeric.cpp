// Parameters of the NUMERIC and DECIMAL targets, sent as CQL decimals: a scale and an unscaled
// value in two's complement.
#include <cstring>

#include "core/parameter/cass_param_internal.h"
#include "support/ascii.h"
#include "support/numtext.h"

static constexpr char log_source[] = "cass_param.c";

static constexpr int MAX_DIGITS = 38;  // precision and scale

static constexpr char OUT_OF_RANGE[] = "numeric out of range";

// ---- Sources -----------------------------------------------------------------------------------

// The precision or scale that the parameter was bound with is more than a decimal has. Asked once
// the source is known to be a number; the conversions rely on it for their room.
static bool has_too_many_digits(const cass_param *param)
{
    return param->precision > MAX_DIGITS || param->scale > MAX_DIGITS;
}

// A sign, digits and at most one point.
static bool is_decimal_text(const char *text)
{
    if (*text == '-' || *text == '+')
        text++;
    int digits = 0;
    int points = 0;
    for (; *text != '\0'; text++) {
        if (ascii_is_digit(static_cast<unsigned char>(*text)))
            digits++;
        else if (*text == '.')
            points++;
        else
            return false;
    }
    return digits > 0 && points <= 1;
}

// Takes blanks away at either end. The text's start.
static char *trim_blanks(char *text)
{
    while (*text == ' ')
        text++;
    std::size_t length = std::strlen(text);
    while (length > 0 && text[length - 1] == ' ')
        length--;
    text[length] = '\0';
    return text;
}

// Cuts the zeros behind the point, and then, for a scale of at least 1, fills or cuts to that many
// decimals. The buffer has room for `scale` more characters and a point.
static void fit_decimals(char *text, std::int32_t scale)
{
    std::size_t length = std::strlen(text);
    char *point = std::strchr(text, '.');
    if (point != nullptr) {
        while (text[length - 1] == '0')
            length--;
        if (text[length - 1] == '.') {
            length--;
            point = nullptr;
        }
    }
    if (scale >= 1) {
        if (point == nullptr) {
            point = text + length;
            *point = '.';
            length++;
        }
        const std::size_t wanted = static_cast<std::size_t>(point + 1 - text + scale);
        while (length < wanted)
            text[length++] = '0';
        length = wanted;
    }
    text[length] = '\0';
}

static int numeric_from_text(cass_param *param, SQL_NUMERIC_STRUCT *value, bool *null)
{
    if (param_narrow_text(param, null) != 0)
        return 1;
    if (*null)
        return 0;
    CASS_LOG(&param->stmt->head, LOG_DETAIL, "decoding string '%s' (%d,%d)", param->scratch,
             param->precision, param->scale);
    char *text = trim_blanks(param->scratch);
    if (!is_decimal_text(text))
        return param_fail(param, STATE_22018, "invalid numeric text");
    if (has_too_many_digits(param))
        return param_fail(param, STATE_22003, OUT_OF_RANGE);
    fit_decimals(text, param->scale);
    // Each decimal of the text raises the scale, so that it starts at 0.
    return cass_numeric_from_text(text, value, param->precision, 0) != 0
               ? param_fail(param, STATE_22003, OUT_OF_RANGE)
               : 0;
}

// Integers above the signed range take the road of a text.
static int numeric_from_unsigned(cass_param *param, std::uint64_t integer,
                                 SQL_NUMERIC_STRUCT *value)
{
    if (integer <= INT64_MAX)
        return cass_numeric_from_int64(static_cast<std::int64_t>(integer), value, param->precision,
                                       param->scale);
    std::int32_t scale = param->scale;
    for (; scale < 0 && integer != 0; scale++)
        integer /= 10;
    int length = text_from_uint64(param->scratch, integer);
    for (; scale > 0; scale--)
        param->scratch[length++] = '0';
    param->scratch[length] = '\0';
    return cass_numeric_from_text(param->scratch, value, param->precision, param->scale);
}

static int numeric_from_number(cass_param *param, SQL_NUMERIC_STRUCT *value)
{
    param_value source;
    if (param_read_value(param, &source) != 0)
        return 1;
    if (has_too_many_digits(param))
        return param_fail(param, STATE_22003, OUT_OF_RANGE);
    int code = 0;
    switch (param->c_type.kind) {
    case KIND_NUMERIC:
        *value = source.numeric;
        return 0;
    case KIND_REAL:
        code = cass_numeric_from_double(source.real, value, param->precision, param->scale);
        break;
    case KIND_UNSIGNED:
        code = numeric_from_unsigned(param, static_cast<std::uint64_t>(source.integer), value);
        break;
    default:
        code = cass_numeric_from_int64(source.integer, value, param->precision, param->scale);
        break;
    }
    return code != 0 ? param_fail(param, STATE_22003, OUT_OF_RANGE) : 0;
}

static int get_numeric_from_param(cass_param *param, SQL_NUMERIC_STRUCT *value,
                                  std::int32_t *length)
{
    *value = {};
    *length = -1;
    if (!param_load_first(param))
        return 0;
    if (param->c_type.kind == KIND_DEFAULT)
        param->c_type = {KIND_NUMERIC, sizeof *value};
    bool null = false;
    int code = 0;
    switch (param->c_type.kind) {
    case KIND_SIGNED:
    case KIND_UNSIGNED:
    case KIND_BIT:
    case KIND_REAL:
    case KIND_NUMERIC:
        code = numeric_from_number(param, value);
        break;
    case KIND_TEXT:
    case KIND_WIDE:
        code = numeric_from_text(param, value, &null);
        break;
    case KIND_BINARY:
        code = param_copy_image(param, value, sizeof *value,
                                "Incorrect length for numeric image %d", &null);
        if (code == 0 && !null && has_too_many_digits(param))
            code = param_fail(param, STATE_22003, OUT_OF_RANGE);
        break;
    default:
        return param_fail_source(param, "get_numeric_from_param");
    }
    if (code == 0 && !null)
        *length = sizeof *value;
    return code;
}

// ---- Values ------------------------------------------------------------------------------------

static bool negative_decimal_loses_carry(const cass_conn *conn)
{
    return conn->conduct->negative_decimal_loses_carry;
}

// The unscaled value, with a sign byte in front whether needed or not. Bytes written, at most 17.
static int unscaled_bytes(const cass_conn *conn, const SQL_NUMERIC_STRUCT *value,
                          unsigned char *out)
{
    const bool negative = value->sign == 0;
    int length = 0;
    out[length++] = negative ? 0xFF : 0x00;
    int byte = SQL_MAX_NUMERIC_LEN;
    while (byte > 0 && value->val[byte - 1] == 0)
        byte--;
    while (byte-- > 0)
        out[length++] = static_cast<unsigned char>(negative ? ~value->val[byte] : value->val[byte]);
    if (!negative)
        return length;
    for (int at = length - 1; ++out[at] == 0 && at > 0; at--)
        if (negative_decimal_loses_carry(conn))
            break;
    return length;
}

int param_put_decimal(cass_param *param, cass_packet *packet, std::int32_t)
{
    SQL_NUMERIC_STRUCT value;
    std::int32_t length;
    if (get_numeric_from_param(param, &value, &length) != 0)
        return 1;
    if (length < 0)
        return param_put_null(packet);
    if (value.precision > MAX_DIGITS || value.scale > MAX_DIGITS)
        return param_fail(param, STATE_22003, OUT_OF_RANGE);
    unsigned char out[4 + 1 + SQL_MAX_NUMERIC_LEN];
    store_be32(out, static_cast<std::uint32_t>(std::int32_t{value.scale}));
    pkt_put_long_bytes(packet, out, 4 + unscaled_bytes(stmt_conn(param->stmt), &value, out + 4));
    return 0;
}
