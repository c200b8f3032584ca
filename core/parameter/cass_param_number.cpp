// Parameters of the integer and floating targets: from any C type to a native number, and that
// number big-endian into the request.
#include <bit>
#include <cmath>

#include "core/parameter/cass_param_internal.h"
#include "support/ascii.h"
#include "support/bigendian.h"

static constexpr char log_source[] = "cass_param.c";

// ---- Sources -----------------------------------------------------------------------------------

static std::int64_t sign_extend(std::uint64_t bits, int size)
{
    const int shift = 64 - 8 * size;
    return static_cast<std::int64_t>(bits << shift) >> shift;
}

int param_read_value(const cass_param *param, param_value *value)
{
    const param_c_type c_type = param->c_type;
    if (c_type.kind == KIND_NUMERIC)
        return param_copy_fixed(param, &value->numeric, sizeof value->numeric);
    std::uint64_t bits = 0;
    if (param_copy_fixed(param, low_bytes(&bits, c_type.size), c_type.size) != 0)
        return 1;
    switch (c_type.kind) {
    case KIND_SIGNED:
        value->integer = sign_extend(bits, c_type.size);
        break;
    case KIND_BIT:
        value->integer = bits != 0;
        break;
    case KIND_REAL:
        value->real = c_type.size == sizeof(float)
                          ? std::bit_cast<float>(static_cast<std::uint32_t>(bits))
                          : std::bit_cast<double>(bits);
        break;
    default:
        value->integer = static_cast<std::int64_t>(bits);
        break;
    }
    return 0;
}

// ---- Integers ----------------------------------------------------------------------------------

// The two widths of the integer family.
struct integer_width {
    const char *getter;
    std::int64_t low, high;
    double limit;       // high + 1
    std::uint8_t size;  // bytes of the native form and of a binary image
    const char *text_overflow;
};

static constexpr integer_width width_32 = {
    "get_integer_from_param",
    INT32_MIN,
    INT32_MAX,
    0x1p31,
    4,
    "Value out of range for a signed int",
};
static constexpr integer_width width_64 = {
    "get_bigint_from_param",
    INT64_MIN,
    INT64_MAX,
    0x1p63,
    8,
    "Value out of range for a signed bigint",
};

static int out_of_range(const cass_param *param, const char *text)
{
    CASS_LOG(&param->stmt->head, LOG_ERROR, "%s", text);
    return param_fail(param, STATE_22003);
}

static int integer_from_text(const cass_param *param, const char *text, const integer_width *width,
                             std::int64_t *value)
{
    switch (ascii_to_int64(text, value)) {
    case ASCII_NO_DIGITS:
        CASS_LOG(&param->stmt->head, LOG_ERROR, "Value not converted to signed int");
        return param_fail(param, STATE_22018);
    case ASCII_OVERFLOW:
        return out_of_range(param, width->text_overflow);
    case ASCII_NUMBER:
        break;
    }
    if (*value < width->low || *value > width->high)
        return out_of_range(param, width->text_overflow);
    return 0;
}

static int integer_from_number(const cass_param *param, const integer_width *width,
                               std::int64_t *value)
{
    param_value source;
    if (param_read_value(param, &source) != 0)
        return 1;
    switch (param->c_type.kind) {
    case KIND_REAL: {
        const double whole = std::trunc(source.real);
        if (!(whole >= -width->limit && whole < width->limit))  // NaN too
            return out_of_range(param, width_32.text_overflow);
        *value = static_cast<std::int64_t>(whole);
        return 0;
    }
    case KIND_NUMERIC: {
        char text[NUMERIC_TEXT_ROOM];
        cass_numeric_format(&source.numeric, text);
        return integer_from_text(param, text, width, value);
    }
    case KIND_UNSIGNED:
        // An unsigned bigint goes into a bigint as it stands.
        if (width->size == 4 && static_cast<std::uint64_t>(source.integer) > INT32_MAX)
            return out_of_range(param, width_32.text_overflow);
        break;
    default:
        if (source.integer < width->low || source.integer > width->high)
            return out_of_range(param, width_32.text_overflow);
        break;
    }
    *value = source.integer;
    return 0;
}

static int integer_from_image(const cass_param *param, const integer_width *width,
                              std::int64_t *value, bool *null)
{
    std::uint64_t bits = 0;
    if (param_copy_image(param, low_bytes(&bits, width->size), width->size,
                         "Incorrect length for integer image %d", null) != 0)
        return 1;
    *value = sign_extend(bits, width->size);
    return 0;
}

static int read_integer(cass_param *param, const integer_width *width, std::int64_t *value,
                        std::int32_t *length)
{
    *value = 0;
    *length = -1;
    if (!param_load_first(param))
        return 0;
    if (param->c_type.kind == KIND_DEFAULT)
        param->c_type = {KIND_SIGNED, width->size};
    bool null = false;
    int code = 0;
    switch (param->c_type.kind) {
    case KIND_SIGNED:
    case KIND_UNSIGNED:
    case KIND_BIT:
    case KIND_REAL:
    case KIND_NUMERIC:
        code = integer_from_number(param, width, value);
        break;
    case KIND_TEXT:
    case KIND_WIDE:
        code = param_narrow_text(param, &null);
        if (code == 0 && !null)
            code = integer_from_text(param, param->scratch, width, value);
        break;
    case KIND_BINARY:
        code = integer_from_image(param, width, value, &null);
        break;
    case KIND_NONE:
        return param_fail_source(param, width->getter);
    default:
        CASS_LOG(&param->stmt->head, LOG_ERROR, "unable to convert a %d to a integer",
                 param->field->consise_type);
        return param_fail(param, STATE_22018);
    }
    if (code == 0 && !null)
        *length = width->size;
    return code;
}

static int get_integer_from_param(cass_param *param, std::int32_t *value, std::int32_t *length)
{
    std::int64_t wide;
    const int code = read_integer(param, &width_32, &wide, length);
    *value = static_cast<std::int32_t>(wide);
    return code;
}

static int get_bigint_from_param(cass_param *param, std::int64_t *value, std::int32_t *length)
{
    return read_integer(param, &width_64, value, length);
}

int param_put_integer(cass_param *param, cass_packet *packet, std::int32_t target)
{
    std::int32_t value;
    std::int32_t length;
    if (get_integer_from_param(param, &value, &length) != 0)
        return 1;
    if (length < 0)
        return param_put_null(packet);
    int size = 4;
    switch (target) {
    case SQL_C_UTINYINT:
    case SQL_C_STINYINT:
    case SQL_TINYINT:
        if (value < INT8_MIN || value > INT8_MAX) {
            CASS_LOG(&param->stmt->head, LOG_ERROR, "Value out of range for a signed tinyint (%d)",
                     value);
            return param_fail(param, STATE_22003);
        }
        size = 1;
        break;
    case SQL_C_USHORT:
    case SQL_C_SSHORT:
    case SQL_SMALLINT:
        if (value < INT16_MIN || value > INT16_MAX)
            return out_of_range(param, "Value out of range for a smallint");
        size = 2;
        break;
    case SQL_BIT:
        value = value != 0;
        size = 1;
        break;
    default:
        break;
    }
    param_put_fixed(packet, static_cast<std::uint32_t>(value), size);
    return 0;
}

int param_put_bigint(cass_param *param, cass_packet *packet, std::int32_t)
{
    std::int64_t value;
    std::int32_t length;
    if (get_bigint_from_param(param, &value, &length) != 0)
        return 1;
    if (length < 0)
        return param_put_null(packet);
    param_put_fixed(packet, static_cast<std::uint64_t>(value), 8);
    return 0;
}

// ---- Floating point ----------------------------------------------------------------------------

struct real_width {
    const char *getter;
    std::uint8_t size;
    const char *complaint;
};

static constexpr real_width real_double = {"get_double_from_param", sizeof(double),
                                           "Incorrect length for double image %d"};
static constexpr real_width real_float = {"get_float_from_param", sizeof(float),
                                          "Incorrect length for float image %d"};

// A float is rounded once, from the source, and not by way of a double. It is handed on as one,
// which holds it exactly.
static bool is_float(const real_width *width)
{
    return width->size == sizeof(float);
}

template <typename Integer>
static double real_from_integer(Integer value, const real_width *width)
{
    return is_float(width) ? static_cast<double>(static_cast<float>(value))
                           : static_cast<double>(value);
}

static double real_from_text(const char *text, const real_width *width)
{
    return is_float(width) ? static_cast<double>(ascii_to_float(text)) : ascii_to_double(text);
}

static int real_from_number(const cass_param *param, const real_width *width, double *value)
{
    param_value source;
    if (param_read_value(param, &source) != 0)
        return 1;
    switch (param->c_type.kind) {
    case KIND_REAL:
        *value = source.real;
        break;
    case KIND_NUMERIC:
        cass_numeric_to_double(&source.numeric, value);
        break;
    case KIND_UNSIGNED:
        *value = real_from_integer(static_cast<std::uint64_t>(source.integer), width);
        break;
    default:
        *value = real_from_integer(source.integer, width);
        break;
    }
    return 0;
}

static int real_from_image(const cass_param *param, const real_width *width, double *value,
                           bool *null)
{
    double wide = 0;
    float narrow = 0;
    void *image = is_float(width) ? static_cast<void *>(&narrow) : &wide;
    if (param_copy_image(param, image, width->size, width->complaint, null) != 0)
        return 1;
    *value = is_float(width) ? static_cast<double>(narrow) : wide;
    return 0;
}

static int read_real(cass_param *param, const real_width *width, double *value,
                     std::int32_t *length)
{
    *value = 0;
    *length = -1;
    if (!param_load_first(param))
        return 0;
    if (param->c_type.kind == KIND_DEFAULT)
        param->c_type = {KIND_REAL, width->size};
    bool null = false;
    int code = 0;
    switch (param->c_type.kind) {
    case KIND_SIGNED:
    case KIND_UNSIGNED:
    case KIND_BIT:
    case KIND_REAL:
    case KIND_NUMERIC:
        code = real_from_number(param, width, value);
        break;
    case KIND_TEXT:
    case KIND_WIDE:
        // Text that is no number is sent as 0 and not reported, unlike that of an integer.
        code = param_narrow_text(param, &null);
        if (code == 0 && !null)
            *value = real_from_text(param->scratch, width);
        break;
    case KIND_BINARY:
        code = real_from_image(param, width, value, &null);
        break;
    default:
        return param_fail_source(param, width->getter);
    }
    if (code == 0 && !null)
        *length = width->size;
    return code;
}

static int get_double_from_param(cass_param *param, double *value, std::int32_t *length)
{
    return read_real(param, &real_double, value, length);
}

static int get_float_from_param(cass_param *param, float *value, std::int32_t *length)
{
    double wide;
    const int code = read_real(param, &real_float, &wide, length);
    *value = static_cast<float>(wide);
    return code;
}

int param_put_double(cass_param *param, cass_packet *packet, std::int32_t)
{
    double value;
    std::int32_t length;
    if (get_double_from_param(param, &value, &length) != 0)
        return 1;
    if (length < 0)
        return param_put_null(packet);
    param_put_fixed(packet, std::bit_cast<std::uint64_t>(value), sizeof value);
    return 0;
}

int param_put_float(cass_param *param, cass_packet *packet, std::int32_t)
{
    float value;
    std::int32_t length;
    if (get_float_from_param(param, &value, &length) != 0)
        return 1;
    if (length < 0)
        return param_put_null(packet);
    param_put_fixed(packet, std::bit_cast<std::uint32_t>(value), sizeof value);
    return 0;
}
