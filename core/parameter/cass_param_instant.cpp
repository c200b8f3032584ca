// Dates, times and timestamps by the column's type: from the structs of ODBC and from texts of ISO
// 8601, which ODBC's escapes may enclose.
#include "core/parameter/cass_param_internal.h"
#include "support/instant.h"

// ---- Sources -----------------------------------------------------------------------------------

static int read_struct(const cass_param *param, instant *value)
{
    union {
        SQL_DATE_STRUCT date;
        SQL_TIME_STRUCT time;
        SQL_TIMESTAMP_STRUCT timestamp;
    } source;
    if (param_copy_fixed(param, &source, param->c_type.size) != 0)
        return 1;
    bool good;
    switch (param->c_type.kind) {
    case KIND_DATE:
        good = instant_set_date(value, source.date.year, source.date.month, source.date.day);
        break;
    case KIND_TIME:
        good = instant_set_time(value, source.time.hour, source.time.minute, source.time.second, 0);
        break;
    default: {
        const SQL_TIMESTAMP_STRUCT &stamp = source.timestamp;
        good = instant_set_date(value, stamp.year, stamp.month, stamp.day) &&
               instant_set_time(value, stamp.hour, stamp.minute, stamp.second, stamp.fraction);
        break;
    }
    }
    return good ? 0 : param_fail(param, STATE_22007, "no date or time");
}

// The instant, which must have a date or a time for the type that needs it: nothing is invented.
static int read_instant(const cass_param *param, bool need_date, bool need_time, instant *value)
{
    *value = {};
    switch (param->c_type.kind) {
    case KIND_DATE:
    case KIND_TIME:
    case KIND_TIMESTAMP:
        if ((need_date && param->c_type.kind == KIND_TIME) ||
            (need_time && param->c_type.kind == KIND_DATE))
            return param_fail_source(param, "read_instant");
        return read_struct(param, value);
    case KIND_TEXT:
        if (!instant_from_text(param_text(param), value) || (need_date && !value->has_date) ||
            (need_time && !value->has_time))
            return param_fail(param, STATE_22018, "no date or time");
        return 0;
    default:
        return param_fail_source(param, "read_instant");
    }
}

// ---- Writers -----------------------------------------------------------------------------------

int typed_put_date(cass_param *param, cass_packet *packet, const cass_type_option *)
{
    instant value;
    if (read_instant(param, true, false, &value) != 0)
        return 1;
    instant_normalise(&value);
    if (param_is_text(param) && (value.second != 0 || value.nanosecond != 0))
        return param_fail(param, STATE_22001, "a time of day in a date");
    const std::int64_t day = value.day + CQL_DATE_EPOCH;
    if (day < 0 || day > UINT32_MAX)
        return param_fail(param, STATE_22003, "date out of range");
    param_put_fixed(packet, static_cast<std::uint64_t>(day), 4);
    return 0;
}

// Nanoseconds since midnight.
int typed_put_time(cass_param *param, cass_packet *packet, const cass_type_option *)
{
    instant value;
    if (read_instant(param, false, true, &value) != 0)
        return 1;
    instant_normalise(&value);
    const std::int64_t nanoseconds = value.second * INSTANT_NANOSECONDS + value.nanosecond;
    param_put_fixed(packet, static_cast<std::uint64_t>(nanoseconds), 8);
    return 0;
}

// Milliseconds since 1970; what is below them is cut.
int typed_put_timestamp(cass_param *param, cass_packet *packet, const cass_type_option *)
{
    instant value;
    if (read_instant(param, true, false, &value) != 0)
        return 1;
    std::int64_t seconds = value.day * INSTANT_DAY_SECONDS + value.second;
    std::int64_t rest = value.nanosecond / 1'000'000;
    if (seconds < 0 && rest > 0) {
        // Before the first millisecond of all there is no whole second.
        seconds += 1;
        rest -= 1000;
    }
    std::int64_t milliseconds;
    if (__builtin_mul_overflow(seconds, std::int64_t{1000}, &milliseconds) ||
        __builtin_add_overflow(milliseconds, rest, &milliseconds))
        return param_fail(param, STATE_22003, "timestamp out of range");
    param_put_fixed(packet, static_cast<std::uint64_t>(milliseconds), 8);
    return 0;
}
