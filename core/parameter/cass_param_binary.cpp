// Parameters of the binary and guid targets.
#include <cstdlib>

#include "core/parameter/cass_param_internal.h"
#include "support/ascii.h"
#include "support/structtext.h"

static constexpr char log_source[] = "cass_param.c";

// Results below this stay in the scratch buffer.
static constexpr std::int64_t HEX_SCRATCH = 128;

// ---- Binary ------------------------------------------------------------------------------------

// A unit that is no hexadecimal digit counts as 0.
static unsigned hex_value(SQLWCHAR unit)
{
    if (ascii_is_digit(unit))
        return unit - '0';
    const unsigned lower = unit | 0x20u;
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : 0;
}

static SQLWCHAR text_unit(const cass_param *param, std::int64_t index)
{
    return param->c_type.kind == KIND_WIDE ? cass_wide_unit(param->data, index)
                                           : param->data[index];
}

// Whether nothing but whole bytes in digits stands from unit `at` on.
static bool is_hexadecimal(const cass_param *param, std::int64_t at, std::int64_t units)
{
    const bool even = (units - at) % 2 == 0;
    while (at < units && (text_unit(param, at) == '0' || hex_value(text_unit(param, at)) != 0))
        at++;
    return even && at == units;
}

// Hexadecimal text, two digits a byte; a digit left over at the end is dropped where the binding
// decides.
static int binary_from_text(cass_param *param, const unsigned char **bytes, std::int32_t *length)
{
    const int unit_size = param->c_type.kind == KIND_WIDE ? sizeof(SQLWCHAR) : 1;
    if (param_text_length(param, unit_size, length) != 0)
        return 1;
    if (*length < 0)
        return 0;
    const std::int64_t units = *length / unit_size;
    std::int64_t at = 0;
    if (units >= 2 && text_unit(param, 0) == '0' && (text_unit(param, 1) | 0x20) == 'x')
        at = 2;
    if (param->by_column && !is_hexadecimal(param, at, units))
        return param_fail(param, STATE_22018, "no hexadecimal digits");
    auto *out = reinterpret_cast<unsigned char *>(param->scratch);
    unsigned char *block = nullptr;
    if (units / 2 >= HEX_SCRATCH) {
        block = static_cast<unsigned char *>(std::malloc(static_cast<std::size_t>(units / 2)));
        out = block;
        if (block == nullptr) {
            CASS_LOG(&param->stmt->head, LOG_ERROR,
                     "get_binary_from_param: failed to allocate memory for param %d",
                     param_number(param));
            cass_post_error_column(&param->stmt->head, STATE_HY001, 0, param_number(param),
                                   "Failed to allocate memory");
            return 1;
        }
    }
    *bytes = out;
    for (; at + 1 < units; at += 2)
        *out++ = static_cast<unsigned char>(hex_value(text_unit(param, at)) << 4 |
                                            hex_value(text_unit(param, at + 1)));
    *length = static_cast<std::int32_t>(out - *bytes);
    if (block != nullptr) {
        std::free(param->owned);  // the joined chunks that were read
        param->owned = block;
    }
    return 0;
}

static bool byte_goes_out_as_eight(const cass_conn *conn)
{
    return conn->conduct->byte_goes_out_as_eight;
}

static int get_binary_from_param(cass_param *param, const unsigned char **bytes,
                                 std::int32_t *length)
{
    *bytes = reinterpret_cast<const unsigned char *>(param->scratch);
    if (param_load_joined(param, length) != 0)
        return 1;
    if (*length < 0 || (param->at_exec && param->length == 0))
        return 0;
    switch (param->c_type.kind) {
    case KIND_SIGNED:
    case KIND_UNSIGNED:
    case KIND_BIT:
    case KIND_REAL:
        // As they lie in memory. The one byte of eight comes first.
        std::memset(param->scratch, 0, 8);
        *length = param->c_type.size;
        if (*length == 1 && byte_goes_out_as_eight(stmt_conn(param->stmt)))
            *length = 8;
        return param_copy_fixed(param, param->scratch, param->c_type.size);
    case KIND_GUID:
    case KIND_TIMESTAMP:
        *length = param->c_type.size;
        return param_copy_fixed(param, param->scratch, param->c_type.size);
    case KIND_TEXT:
    case KIND_WIDE:
        return binary_from_text(param, bytes, length);
    case KIND_BINARY:
    case KIND_DEFAULT: {
        std::int64_t size = 0;
        const int code = param_binary_length(param, &size);
        *bytes = param->data;
        *length = static_cast<std::int32_t>(size);
        return code;
    }
    default:
        return param_fail_source(param, "get_binary_from_param");
    }
}

int param_put_binary(cass_param *param, cass_packet *packet, std::int32_t)
{
    const unsigned char *bytes;
    std::int32_t length;
    if (get_binary_from_param(param, &bytes, &length) != 0)
        return 1;
    if (length < 0)
        return param_put_null(packet);
    pkt_put_long_bytes(packet, bytes, length);
    return 0;
}

// ---- Guid --------------------------------------------------------------------------------------

// "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX", a brace in front passed over, what follows ignored. False
// when a digit or a hyphen is missing.
static bool parse_guid(const char *text, unsigned char *bytes)
{
    if (*text == '{')
        text++;
    for (int i = 0; i < 16; i++) {
        if ((i == 4 || i == 6 || i == 8 || i == 10) && *text++ != '-')
            return false;
        unsigned value = 0;
        for (int digit = 0; digit < 2; digit++, text++) {
            const auto unit = static_cast<unsigned char>(*text);
            const bool is_hex = hex_value(unit) != 0 || unit == '0';
            if (!is_hex)
                return false;
            value = value << 4 | hex_value(unit);
        }
        bytes[i] = static_cast<unsigned char>(value);
    }
    return true;
}

static int get_guid_from_param(cass_param *param, SQLGUID *value, std::int32_t *length)
{
    *length = -1;
    if (!param_load_first(param))
        return 0;
    bool null = false;
    switch (param->c_type.kind) {
    case KIND_GUID:
        if (param_copy_fixed(param, value, sizeof *value) != 0)
            return 1;
        break;
    case KIND_BINARY:
        if (param_copy_image(param, value, sizeof *value, "Incorrect length for SQLGUID image %d",
                             &null) != 0)
            return 1;
        break;
    case KIND_TEXT:
    case KIND_WIDE: {
        unsigned char bytes[16];
        if (param_narrow_text(param, &null) != 0)
            return 1;
        if (null)
            break;
        if (!parse_guid(param->scratch, bytes))
            return param_fail(param, STATE_22018, "invalid guid text");
        guid_from_bytes(value, bytes);
        break;
    }
    default:
        return param_fail_source(param, "get_guid_from_param");
    }
    if (!null)
        *length = sizeof *value;
    return 0;
}

int param_put_guid(cass_param *param, cass_packet *packet, std::int32_t)
{
    SQLGUID value;
    std::int32_t length;
    if (get_guid_from_param(param, &value, &length) != 0)
        return 1;
    if (length < 0)
        return param_put_null(packet);
    unsigned char out[16];
    guid_to_bytes(value, out);
    pkt_put_long_bytes(packet, out, sizeof out);
    return 0;
}
