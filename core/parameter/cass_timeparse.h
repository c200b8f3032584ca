// Dates and times that applications hand over as text, taken apart in whatever shape they come.
// Only the shape is judged: a month of 13 is returned as 13.
#ifndef CORE_PARAMETER_CASS_TIMEPARSE_H
#define CORE_PARAMETER_CASS_TIMEPARSE_H

#include "core/record/cass_handles.h"

enum : std::int32_t {
    TIME_TEXT_TIMESTAMP = 1,  // year to fraction
    TIME_TEXT_DATE = 2,       // year, month, day
    TIME_TEXT_TIME = 3,       // hour, minute, second, fraction
    TIME_TEXT_ZONED = 4,      // as a timestamp, with tz_hour and tz_minute
};

// What was found; all else is 0.
struct cass_time_parts {
    std::int32_t category;
    std::int32_t year, month, day;
    std::int32_t hour, minute, second;
    std::int32_t fraction;  // nanoseconds
    std::int32_t tz_hour, tz_minute;
};

// Takes a terminated text apart: ODBC escapes, numbers divided by - / or :, YYYYMMDD, or, when it
// opens with a letter, "Feb 5 2001 10:15:30.25PM +02:00", time and zone optional. 0, or 1 with
// 22003 posted on the statement, `parameter_number` as its column.
int cass_parse_timestamp(cass_stmt *stmt, const char *text, cass_time_parts *parts,
                         std::int32_t parameter_number);

#endif
