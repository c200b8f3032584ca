// Parameters of the date, time and timestamp targets. All three go by a timestamp struct, from
// which each takes its part. Dates are Gregorian throughout, as the server's are.
#include <ctime>

#include "core/parameter/cass_param_internal.h"
#include "core/parameter/cass_timeparse.h"
#include "core/wire/cql_type.h"
#include "support/jdn_l.h"

static constexpr char log_source[] = "cass_param.c";

// ---- Sources -----------------------------------------------------------------------------------

// A time alone is of today, by the local clock.
static void set_today(SQL_TIMESTAMP_STRUCT *value)
{
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    localtime_r(&now, &local);
    value->year = static_cast<SQLSMALLINT>(local.tm_year + 1900);
    value->month = static_cast<SQLUSMALLINT>(local.tm_mon + 1);
    value->day = static_cast<SQLUSMALLINT>(local.tm_mday);
}

static int from_date(const cass_param *param, SQL_TIMESTAMP_STRUCT *value)
{
    SQL_DATE_STRUCT date;
    if (param_copy_fixed(param, &date, sizeof date) != 0)
        return 1;
    value->year = date.year;
    value->month = date.month;
    value->day = date.day;
    return 0;
}

static int from_time(const cass_param *param, SQL_TIMESTAMP_STRUCT *value)
{
    SQL_TIME_STRUCT time;
    if (param_copy_fixed(param, &time, sizeof time) != 0)
        return 1;
    set_today(value);
    value->hour = time.hour;
    value->minute = time.minute;
    value->second = time.second;
    return 0;
}

// A zone in the text is read and left aside.
static int from_text(cass_param *param, SQL_TIMESTAMP_STRUCT *value, bool *null)
{
    if (param_narrow_text(param, null) != 0)
        return 1;
    if (*null)
        return 0;
    cass_time_parts parts = {};
    if (cass_parse_timestamp(param->stmt, param->scratch, &parts, param_number(param)) != 0)
        return 1;
    if (parts.category < TIME_TEXT_TIMESTAMP || parts.category > TIME_TEXT_ZONED)
        return param_fail(param, STATE_22018, "invalid date or time");
    value->year = static_cast<SQLSMALLINT>(parts.year);
    value->month = static_cast<SQLUSMALLINT>(parts.month);
    value->day = static_cast<SQLUSMALLINT>(parts.day);
    value->hour = static_cast<SQLUSMALLINT>(parts.hour);
    value->minute = static_cast<SQLUSMALLINT>(parts.minute);
    value->second = static_cast<SQLUSMALLINT>(parts.second);
    value->fraction = static_cast<SQLUINTEGER>(parts.fraction);
    if (parts.category == TIME_TEXT_TIME)
        set_today(value);
    CASS_LOG(&param->stmt->head, LOG_DETAIL, "extracted timestamp format %d:%d:%d %d.%d.%d.%d",
             value->year, value->month, value->day, value->hour, value->minute, value->second,
             static_cast<int>(value->fraction));
    return 0;
}

static int get_timestamp_from_param(cass_param *param, SQL_TIMESTAMP_STRUCT *value,
                                    std::int32_t *length)
{
    *value = {};
    *length = -1;
    if (!param_load_first(param))
        return 0;
    bool null = false;
    int code = 0;
    switch (param->c_type.kind) {
    case KIND_DATE:
        code = from_date(param, value);
        break;
    case KIND_TIME:
        code = from_time(param, value);
        break;
    case KIND_TIMESTAMP:
    case KIND_DEFAULT:
        code = param_copy_fixed(param, value, sizeof *value);
        break;
    case KIND_BINARY:
        code = param_copy_image(param, value, sizeof *value,
                                "Incorrect length for DATETIME image %d", &null);
        break;
    case KIND_TEXT:
    case KIND_WIDE:
        code = from_text(param, value, &null);
        break;
    default:
        return param_fail_source(param, "get_timestamp_from_param");
    }
    if (code == 0 && !null)
        *length = sizeof *value;
    return code;
}

// ---- Values ------------------------------------------------------------------------------------

// Days since 1 January 1970.
static std::int64_t day_number(const SQL_TIMESTAMP_STRUCT *value)
{
    return cass_date_to_jdn(value->year, value->month, value->day, 0) - EPOCH_JDN;
}

static std::int64_t second_of_day(const SQL_TIMESTAMP_STRUCT *value)
{
    return (std::int64_t{value->hour} * 60 + value->minute) * 60 + value->second;
}

int param_put_date(cass_param *param, cass_packet *packet, std::int32_t)
{
    SQL_TIMESTAMP_STRUCT value;
    std::int32_t length;
    if (get_timestamp_from_param(param, &value, &length) != 0)
        return 1;
    if (length < 0)
        return param_put_null(packet);
    param_put_fixed(packet, static_cast<std::uint32_t>(day_number(&value) + CQL_DATE_EPOCH), 4);
    return 0;
}

// Nanoseconds since midnight; the date is ignored.
int param_put_time(cass_param *param, cass_packet *packet, std::int32_t)
{
    SQL_TIMESTAMP_STRUCT value;
    std::int32_t length;
    if (get_timestamp_from_param(param, &value, &length) != 0)
        return 1;
    if (length < 0)
        return param_put_null(packet);
    const std::int64_t nanoseconds = second_of_day(&value) * 1'000'000'000 + value.fraction;
    param_put_fixed(packet, static_cast<std::uint64_t>(nanoseconds), 8);
    return 0;
}

// Milliseconds since 1970; what is below them is cut.
int param_put_timestamp(cass_param *param, cass_packet *packet, std::int32_t)
{
    SQL_TIMESTAMP_STRUCT value;
    std::int32_t length;
    if (get_timestamp_from_param(param, &value, &length) != 0)
        return 1;
    if (length < 0)
        return param_put_null(packet);
    const std::int64_t seconds = day_number(&value) * 86'400 + second_of_day(&value);
    const std::int64_t milliseconds = seconds * 1000 + value.fraction / 1'000'000;
    param_put_fixed(packet, static_cast<std::uint64_t>(milliseconds), 8);
    return 0;
}
