// Parameters of the text targets, and how long a text or binary source is. Narrow text goes out
// byte for byte, wide text unit by unit as UTF-8.
#include <cstdlib>

#include "core/parameter/cass_param_internal.h"
#include "support/ascii.h"
#include "support/numtext.h"
#include "support/structtext.h"

static constexpr char log_source[] = "cass_param.c";

// ---- Lengths -----------------------------------------------------------------------------------

// Units before the terminator, at most `limit`. Wide text need not be aligned.
static std::int64_t measure(const unsigned char *text, int unit_size, std::int64_t limit)
{
    if (unit_size == 1)
        return static_cast<std::int64_t>(
            strnlen(reinterpret_cast<const char *>(text), static_cast<std::size_t>(limit)));
    std::int64_t units = 0;
    while (units < limit && cass_wide_unit(text, units) != 0)
        units++;
    return units;
}

// Units (of `unit_size` bytes) of a text source, at most `cap` when a terminator is searched for;
// -1 for a null. HY090 for a length that is none.
static int param_text_units(const cass_param *param, int unit_size, std::int64_t cap,
                            std::int64_t *units)
{
    if (!param->has_length) {
        // Without a length the buffer's size bounds the search; a size of 0 is empty text.
        const std::int64_t limit = param->octet_length > 0 ? param->octet_length / unit_size : 0;
        *units = measure(param->data, unit_size, limit < cap ? limit : cap);
        return 0;
    }
    if (param->length == SQL_NTS) {
        *units = measure(param->data, unit_size, cap);
        CASS_LOG(&param->stmt->head, LOG_DETAIL, "getting length %d from SQL_NTS",
                 static_cast<int>(*units));
        return 0;
    }
    if (param->length == SQL_NULL_DATA) {
        *units = -1;
        return 0;
    }
    if (param->length < 0 || param->length > INT32_MAX)
        return param_fail(param, STATE_HY090, "invalid length");
    *units = param->length / unit_size;
    return 0;
}

int param_text_length(const cass_param *param, int unit_size, std::int32_t *length)
{
    const std::int64_t limit = INT32_MAX / unit_size;
    std::int64_t units = 0;
    if (param_text_units(param, unit_size, limit + 1, &units) != 0)
        return 1;
    if (units > limit)
        return param_fail(param, STATE_HY090, "invalid length");
    *length = static_cast<std::int32_t>(units < 0 ? -1 : units * unit_size);
    return 0;
}

int param_narrow_text(cass_param *param, bool *null)
{
    const bool wide = param->c_type.kind == KIND_WIDE;
    std::int64_t units = 0;
    if (param_text_units(param, wide ? sizeof(SQLWCHAR) : 1, PARAM_TEXT_LIMIT, &units) != 0)
        return 1;
    *null = units < 0;
    if (units > PARAM_TEXT_LIMIT)
        units = PARAM_TEXT_LIMIT;
    std::int64_t i = 0;
    for (; i < units; i++)
        param->scratch[i] =
            static_cast<char>(wide ? cass_wide_unit(param->data, i) : param->data[i]);
    param->scratch[i] = '\0';
    return 0;
}

int param_binary_length(const cass_param *param, std::int64_t *length)
{
    if (!param->has_length)
        return param_fail(param, STATE_07006, "no length of binary data");
    std::int32_t bytes = 0;
    const int code = param_text_length(param, 1, &bytes);
    *length = bytes;
    return code;
}

int param_copy_image(const cass_param *param, void *value, std::size_t size, const char *complaint,
                     bool *null)
{
    std::int64_t length = 0;
    if (param_binary_length(param, &length) != 0)
        return 1;
    *null = length < 0;
    if (*null)
        return 0;
    if (static_cast<std::size_t>(length) != size) {
        CASS_LOG(&param->stmt->head, LOG_ERROR, complaint, static_cast<int>(length));
        return param_fail(param, STATE_22003);
    }
    std::memcpy(value, param->data, size);
    return 0;
}

int param_settle_length(cass_param *param, bool *null)
{
    const param_kind kind = param->c_type.kind;
    const int unit_size = kind == KIND_WIDE ? sizeof(SQLWCHAR) : 1;
    std::int32_t length = 0;
    // ODBC 3.8, SQLBindParameter: text without an indicator ends with its terminator.
    if (kind != KIND_BINARY && !param->has_length && param->field->octet_length <= 0) {
        param->has_length = true;
        param->length = SQL_NTS;
    }
    if (param_load_joined(param, &length) != 0)
        return 1;
    if (length == 0 && kind == KIND_BINARY && !param->has_length)
        return param_fail(param, STATE_07006, "no length of binary data");
    if (length == 0 && param_text_length(param, unit_size, &length) != 0)
        return 1;
    *null = length < 0;
    // Clients that count the terminator mean the text in front of it.
    const int units = length / unit_size;
    if (units > 0 && kind == KIND_TEXT && param->data[units - 1] == 0)
        length -= unit_size;
    if (units > 0 && kind == KIND_WIDE && cass_wide_unit(param->data, units - 1) == 0)
        length -= unit_size;
    param->at_exec = false;
    param->has_length = true;
    param->length = length;
    if (param->data == nullptr)
        param->data = reinterpret_cast<unsigned char *>(param->scratch);
    return 0;
}

// ---- Fixed-size sources as text ----------------------------------------------------------------

static int number_text(cass_param *param, std::int32_t *length)
{
    param_value value;
    if (param_read_value(param, &value) != 0)
        return 1;
    switch (param->c_type.kind) {
    case KIND_UNSIGNED:
        *length = text_from_uint64(param->scratch, static_cast<std::uint64_t>(value.integer));
        break;
    case KIND_REAL:
        *length = text_from_double(param->scratch, value.real, 6);  // "%G"
        break;
    case KIND_NUMERIC:
        *length = cass_numeric_format(&value.numeric, param->scratch);
        break;
    default:
        *length = text_from_int64(param->scratch, value.integer);
        break;
    }
    return 0;
}

// Dates, times and guids, as the structs lie in memory.
static int struct_text(cass_param *param, std::int32_t *length)
{
    union {
        SQLGUID guid;
        SQL_DATE_STRUCT date;
        SQL_TIME_STRUCT time;
        SQL_TIMESTAMP_STRUCT timestamp;
    } value;
    if (param_copy_fixed(param, &value, param->c_type.size) != 0)
        return 1;
    char *out = param->scratch;
    switch (param->c_type.kind) {
    case KIND_GUID:
        *length = text_from_guid(out, value.guid);
        break;
    case KIND_DATE:
        *length = text_from_date(out, value.date.year, value.date.month, value.date.day);
        break;
    case KIND_TIME:
        *length = text_from_time(out, value.time.hour, value.time.minute, value.time.second);
        break;
    default:
        *length = text_from_timestamp(out, value.timestamp, value.timestamp.fraction,
                                      value.timestamp.fraction == 0 ? 0 : 9);
        break;
    }
    return 0;
}

// ---- Text --------------------------------------------------------------------------------------

// Bytes at *text: of a narrow text, or of SQLWCHAR units when *wide. They lie in application
// memory, in scratch or in `owned`. A *length of -1 is a null, as in every getter.
static int get_char_from_param(cass_param *param, const unsigned char **text, std::int32_t *length,
                               bool *wide)
{
    *wide = false;
    *text = reinterpret_cast<const unsigned char *>(param->scratch);
    if (param_load_joined(param, length) != 0)
        return 1;
    // No chunk, or only empty ones, is empty text whatever the C type.
    if (*length < 0 || (param->at_exec && param->length == 0))
        return 0;
    switch (param->c_type.kind) {
    case KIND_SIGNED:
    case KIND_UNSIGNED:
    case KIND_BIT:
    case KIND_REAL:
    case KIND_NUMERIC:
        return number_text(param, length);
    case KIND_GUID:
    case KIND_DATE:
    case KIND_TIME:
    case KIND_TIMESTAMP:
        return struct_text(param, length);
    case KIND_WIDE:
        *wide = true;
        *text = param->data;
        return param_text_length(param, sizeof(SQLWCHAR), length);
    case KIND_TEXT:
    case KIND_DEFAULT:
        *text = param->data;
        return param_text_length(param, 1, length);
    case KIND_BINARY: {
        std::int64_t bytes = 0;
        const int code = param_binary_length(param, &bytes);
        *text = param->data;
        *length = static_cast<std::int32_t>(bytes);
        return code;
    }
    default:
        return param_fail_source(param, "get_char_from_param");
    }
}

static bool pairs_go_out_as_halves(const cass_conn *conn)
{
    return conn->conduct->pairs_go_out_as_halves;
}

static constexpr char HALF_A_PAIR[] = "half a surrogate pair";

// The UTF-8 of the character at unit *at of `units`, which moves behind it: bytes at `out`, or 0
// for half a surrogate pair where halves do not go out.
static int next_character(const unsigned char *text, std::int64_t units, std::int64_t *at,
                          bool halves, unsigned char *out)
{
    const SQLWCHAR unit = cass_wide_unit(text, (*at)++);
    if (halves || (!cass_is_high_surrogate(unit) && !cass_is_low_surrogate(unit)))
        return cass_utf8_put(unit, out);
    const SQLWCHAR next = *at < units ? cass_wide_unit(text, *at) : 0;
    if (cass_is_low_surrogate(unit) || !cass_is_low_surrogate(next))
        return 0;
    ++*at;
    return cass_utf8_put_pair(unit, next, out);
}

// Straight into the frame, a block at a time.
static int put_wide(const cass_param *param, cass_packet *packet, const unsigned char *text,
                    std::int64_t units)
{
    const bool halves = pairs_go_out_as_halves(stmt_conn(param->stmt));
    unsigned char block[1024];
    std::int64_t size = 0;
    for (std::int64_t at = 0; at < units;) {
        const int bytes = next_character(text, units, &at, halves, block);
        if (bytes == 0)
            return param_fail(param, STATE_22018, HALF_A_PAIR);
        size += bytes;
    }
    if (size > INT32_MAX)
        return param_fail(param, STATE_HY090, "invalid length");
    pkt_put_int(packet, static_cast<std::int32_t>(size));
    std::int32_t filled = 0;
    for (std::int64_t at = 0; at < units;) {
        filled += next_character(text, units, &at, halves, block + filled);
        if (filled > static_cast<std::int32_t>(sizeof block) - 4) {
            pkt_put_bytes(packet, block, filled);
            filled = 0;
        }
    }
    pkt_put_bytes(packet, block, filled);
    return 0;
}

int param_own_text(cass_param *param)
{
    const bool wide = param->c_type.kind == KIND_WIDE;
    const std::int64_t units =
        wide ? param->length / std::int64_t{sizeof(SQLWCHAR)} : param->length;
    const std::int64_t room = wide ? units * 3 : units;
    auto *out = reinterpret_cast<unsigned char *>(param->scratch);
    if (room > static_cast<std::int64_t>(sizeof param->scratch)) {
        out = static_cast<unsigned char *>(std::malloc(static_cast<std::size_t>(room)));
        if (out == nullptr)
            return param_fail(param, STATE_HY001, "no memory for the text");
    }
    const unsigned char *text = param->data;
    void *joined = param->owned;
    if (out != reinterpret_cast<unsigned char *>(param->scratch))
        param->owned = out;
    std::int64_t size = 0;
    bool whole = true;
    if (wide) {
        for (std::int64_t at = 0; whole && at < units;) {
            const int bytes = next_character(text, units, &at, false, out + size);
            size += bytes;
            whole = bytes > 0;
        }
    } else {
        std::memmove(out, text, static_cast<std::size_t>(units));
        size = units;
    }
    if (param->owned != joined)
        std::free(joined);
    if (!whole)
        return param_fail(param, STATE_22018, HALF_A_PAIR);
    for (; size > 0 && ascii_is_space(*out); size--)
        out++;
    while (size > 0 && ascii_is_space(out[size - 1]))
        size--;
    param->data = out;
    param->length = size;
    param->c_type = {KIND_TEXT, 0};
    return 0;
}

int param_put_text(cass_param *param, cass_packet *packet, std::int32_t)
{
    const unsigned char *text;
    std::int32_t length;
    bool wide;
    if (get_char_from_param(param, &text, &length, &wide) != 0)
        return 1;
    if (length < 0)
        return param_put_null(packet);
    if (wide)
        return put_wide(param, packet, text, length / static_cast<int>(sizeof(SQLWCHAR)));
    pkt_put_long_bytes(packet, text, length);
    return 0;
}
