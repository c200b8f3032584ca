// Dates and times of day in UTC, and texts of ISO 8601 that tell of them. Years count as ISO does,
// with a year 0 and negative ones before it.
#ifndef SUPPORT_INSTANT_H
#define SUPPORT_INSTANT_H

#include <cstdint>
#include <string_view>

constexpr std::int64_t INSTANT_NANOSECONDS = 1'000'000'000;
constexpr std::int64_t INSTANT_DAY_SECONDS = 86'400;

// A date, a time of day, or both.
struct instant {
    bool has_date, has_time;
    std::int64_t day;     // since 1 January 1970
    std::int64_t second;  // of the day; beyond it where a zone was taken away
    std::int64_t nanosecond;
};

// Sets a part. False for what is no date or time. Years of up to nine digits.
bool instant_set_date(instant *value, std::int64_t year, std::int64_t month, std::int64_t day);
bool instant_set_time(instant *value, std::int64_t hour, std::int64_t minute, std::int64_t second,
                      std::int64_t nanosecond);
// Reads a date, a time, or both with a T or blanks between them and a zone behind, in an escape of
// ODBC or without; a text without a zone is of UTC. False for anything else.
bool instant_from_text(std::string_view text, instant *value);
// Brings the second into its day.
void instant_normalise(instant *value);

#endif
