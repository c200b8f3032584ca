// Cells as dates, times and timestamps.
#include "core/cell/cass_data_internal.h"
#include "core/cell/cass_data_wire.h"
#include "support/ascii.h"
#include "support/civil.h"
#include "support/instant.h"

// ---- Texts that are read as what they say ------------------------------------------------------

static bool any_text_is_a_time(const cass_conn *conn)
{
    return conn->conduct->any_text_is_a_time;
}

static bool is_text_to_read(const cell_request &request)
{
    return request.field->data_storage.data_type == SQL_CHAR &&
           !any_text_is_a_time(stmt_conn(request.stmt));
}

// What the text of a cell says: 22018 where that is no date or time or lacks what is needed, 22008
// where the year does not go into the struct.
[[gnu::cold]] static SQLRETURN read_text(const cell_request &request, bool need_date,
                                         bool need_time, SQL_TIMESTAMP_STRUCT *timestamp)
{
    instant value = {};
    if (!instant_from_text(cell_trimmed_text(request), &value) || (need_date && !value.has_date) ||
        (need_time && !value.has_time))
        return cell_not_read(request, "text that is no date or time");
    instant_normalise(&value);
    const civil_date date = civil_from_days(value.day);
    if (need_date && (date.year < INT16_MIN || date.year > INT16_MAX))
        return cell_no_such_date(request);
    timestamp->year = static_cast<SQLSMALLINT>(date.year);
    timestamp->month = static_cast<SQLUSMALLINT>(date.month);
    timestamp->day = static_cast<SQLUSMALLINT>(date.day);
    timestamp->hour = static_cast<SQLUSMALLINT>(value.second / 3600);
    timestamp->minute = static_cast<SQLUSMALLINT>(value.second / 60 % 60);
    timestamp->second = static_cast<SQLUSMALLINT>(value.second % 60);
    timestamp->fraction = static_cast<SQLUINTEGER>(value.nanosecond);
    return SQL_SUCCESS;
}

// The timestamp of a cell that is stored as none.
static SQLRETURN other_timestamp(const cell_request &request, bool need_date,
                                 SQL_TIMESTAMP_STRUCT *timestamp)
{
    return is_text_to_read(request) ? read_text(request, need_date, !need_date, timestamp)
                                    : cell_wire_timestamp(request, need_date, timestamp);
}

// ---- Dates and timestamps ----------------------------------------------------------------------

[[gnu::noinline]] static SQLRETURN timestamp_of_other(const cell_request &request)
{
    const cass_data_storage &cell = request.field->data_storage;
    SQL_TIMESTAMP_STRUCT timestamp = {};
    if (cell.data_type == SQL_DATE) {
        timestamp.year = cell.value.date.year;
        timestamp.month = cell.value.date.month;
        timestamp.day = cell.value.date.day;
    } else if (other_timestamp(request, true, &timestamp) != SQL_SUCCESS) {
        return SQL_ERROR;
    }
    cell_store_value(request, &timestamp, sizeof timestamp);
    return SQL_SUCCESS;
}

SQLRETURN get_timestamp(const cell_request &request)
{
    const cass_data_storage &cell = request.field->data_storage;
    if (cell.data_type != SQL_TIMESTAMP)
        return timestamp_of_other(request);
    cell_store_value(request, &cell.value.timestamp, sizeof cell.value.timestamp);
    return SQL_SUCCESS;
}

SQLRETURN get_date(const cell_request &request)
{
    const cass_data_storage &cell = request.field->data_storage;
    if (cell.data_type == SQL_DATE) {
        cell_store_value(request, &cell.value.date, sizeof cell.value.date);
        return SQL_SUCCESS;
    }
    SQL_TIMESTAMP_STRUCT timestamp;
    if (cell.data_type == SQL_TIMESTAMP)
        timestamp = cell.value.timestamp;
    else if (other_timestamp(request, true, &timestamp) != SQL_SUCCESS)
        return SQL_ERROR;

    const SQL_DATE_STRUCT date = {
        .year = timestamp.year, .month = timestamp.month, .day = timestamp.day};
    cell_store_value(request, &date, sizeof date);
    const bool timeless = timestamp.hour == 0 && timestamp.minute == 0 && timestamp.second == 0 &&
                          timestamp.fraction == 0;
    return timeless ? SQL_SUCCESS : cell_fraction_lost(request);
}

// ---- Times -------------------------------------------------------------------------------------

// Number at *at, which moves behind it: blanks, a sign, digits; 0 without digits. Cut to the field.
static SQLUSMALLINT read_number(const char *text, int *at)
{
    while (ascii_is_space(static_cast<unsigned char>(text[*at])))
        ++*at;
    const bool negative = text[*at] == '-';
    if (negative || text[*at] == '+')
        ++*at;
    std::uint32_t value = 0;
    for (; ascii_is_digit(static_cast<unsigned char>(text[*at])); ++*at)
        value = value * 10 + static_cast<std::uint32_t>(text[*at] - '0');
    return static_cast<SQLUSMALLINT>(negative ? 0 - value : value);
}

// "hour:minute:second" at the start of a text. Nothing is refused: what is missing is 0.
static SQL_TIME_STRUCT time_from_text(const cass_data_storage &cell)
{
    char text[65];
    const std::int32_t length = cell.alloc_length < 64 ? cell.alloc_length : 64;
    std::memcpy(text, cell.value.bytes, static_cast<std::size_t>(length));
    text[length] = 0;

    SQL_TIME_STRUCT time = {};
    int at = 0;
    time.hour = read_number(text, &at);
    if (text[at] != ':')
        return time;
    time.minute = read_number(text, &++at);
    if (text[at] != ':')
        return time;
    time.second = read_number(text, &++at);
    return time;
}

SQLRETURN get_timep(const cell_request &request)
{
    const cass_data_storage &cell = request.field->data_storage;
    if (cell.data_type == SQL_TIMESTAMP || cell.data_type == CELL_WIRE ||
        is_text_to_read(request)) {
        SQL_TIMESTAMP_STRUCT timestamp = cell.value.timestamp;
        if (cell.data_type != SQL_TIMESTAMP &&
            other_timestamp(request, false, &timestamp) != SQL_SUCCESS)
            return SQL_ERROR;
        const SQL_TIME_STRUCT time = {
            .hour = timestamp.hour, .minute = timestamp.minute, .second = timestamp.second};
        cell_store_value(request, &time, sizeof time);
        return timestamp.fraction == 0 ? SQL_SUCCESS : cell_fraction_lost(request);
    }
    if (cell.data_type != SQL_CHAR)
        return cell_not_convertible(request);
    if (cell.alloc_length < 1)
        return cell_is_null(request);  // an empty text is no time
    const SQL_TIME_STRUCT time = time_from_text(cell);
    cell_store_value(request, &time, sizeof time);
    return SQL_SUCCESS;
}
