// Durations: months, days and nanoseconds of one sign, from "1y2mo3d4h5m6s7ms8us9ns" or the form of
// ISO 8601, "P1Y2M3DT4H5M6S".
#include <span>

#include "core/parameter/cass_param_internal.h"
#include "core/parameter/cass_param_vint.h"
#include "support/ascii.h"

enum duration_part { PART_MONTHS, PART_DAYS, PART_NANOSECONDS, PARTS };

struct duration_unit {
    std::string_view name;  // lower case
    duration_part part;
    std::int64_t factor;
    int rank;  // each unit comes once, and behind the larger ones
};

// The longer of two names with the same start stands first.
static constexpr duration_unit plain_units[] = {
    {"y", PART_MONTHS, 12, 0},
    {"mo", PART_MONTHS, 1, 1},
    {"w", PART_DAYS, 7, 2},
    {"d", PART_DAYS, 1, 3},
    {"h", PART_NANOSECONDS, 3'600'000'000'000, 4},
    {"ms", PART_NANOSECONDS, 1'000'000, 7},
    {"m", PART_NANOSECONDS, 60'000'000'000, 5},
    {"s", PART_NANOSECONDS, 1'000'000'000, 6},
    {"us", PART_NANOSECONDS, 1'000, 8},
    {"\xC2\xB5s", PART_NANOSECONDS, 1'000, 8},
    {"ns", PART_NANOSECONDS, 1, 9},
};
static constexpr duration_unit iso_date_units[] = {
    {"y", PART_MONTHS, 12, 0},
    {"m", PART_MONTHS, 1, 1},
    {"w", PART_DAYS, 7, 2},
    {"d", PART_DAYS, 1, 3},
};
static constexpr duration_unit iso_time_units[] = {
    {"h", PART_NANOSECONDS, 3'600'000'000'000, 4},
    {"m", PART_NANOSECONDS, 60'000'000'000, 5},
    {"s", PART_NANOSECONDS, 1'000'000'000, 6},
};

enum duration_end { DURATION_GOOD, DURATION_MALFORMED, DURATION_OVERFLOW };

struct duration_reader {
    std::string_view rest;
    std::int64_t parts[PARTS];
    int rank;
};

static bool starts_with(std::string_view text, std::string_view name)
{
    if (text.size() < name.size())
        return false;
    for (std::size_t i = 0; i < name.size(); i++) {
        if (ascii_to_lower(static_cast<unsigned char>(text[i])) !=
            static_cast<unsigned char>(name[i]))
            return false;
    }
    return true;
}

static bool take_letter(std::string_view *text, std::string_view letter)
{
    if (!starts_with(*text, letter))
        return false;
    text->remove_prefix(1);
    return true;
}

// "digits unit", added to its part.
static duration_end take_quantity(duration_reader *reader, std::span<const duration_unit> units)
{
    std::int64_t number = 0;
    bool any = false, overflow = false;
    for (; !reader->rest.empty() && ascii_is_digit(static_cast<unsigned char>(reader->rest[0]));
         reader->rest.remove_prefix(1)) {
        any = true;
        overflow = overflow || __builtin_mul_overflow(number, std::int64_t{10}, &number) ||
                   __builtin_add_overflow(number, reader->rest[0] - '0', &number);
    }
    for (const duration_unit &unit : units) {
        if (!any || !starts_with(reader->rest, unit.name))
            continue;
        if (unit.rank <= reader->rank)
            return DURATION_MALFORMED;
        reader->rank = unit.rank;
        reader->rest.remove_prefix(unit.name.size());
        std::int64_t *part = &reader->parts[unit.part];
        const bool fits = !overflow && !__builtin_mul_overflow(number, unit.factor, &number) &&
                          !__builtin_add_overflow(*part, number, part);
        return fits ? DURATION_GOOD : DURATION_OVERFLOW;
    }
    return DURATION_MALFORMED;
}

static duration_end read_duration(duration_reader *reader)
{
    std::span<const duration_unit> units = plain_units;
    const bool iso = take_letter(&reader->rest, "p");
    if (iso)
        units = iso_date_units;
    do {
        if (iso && take_letter(&reader->rest, "t"))
            units = iso_time_units;
        const duration_end end = take_quantity(reader, units);
        if (end != DURATION_GOOD)
            return end;
    } while (!reader->rest.empty());
    const bool fits =
        reader->parts[PART_MONTHS] <= INT32_MAX && reader->parts[PART_DAYS] <= INT32_MAX;
    return fits ? DURATION_GOOD : DURATION_OVERFLOW;
}

int typed_put_duration(cass_param *param, cass_packet *packet, const cass_type_option *)
{
    if (!param_is_text(param))
        return param_fail_source(param, "typed_put_duration");
    duration_reader reader = {.rest = param_text(param), .parts = {}, .rank = -1};
    const bool negative = take_letter(&reader.rest, "-");
    switch (read_duration(&reader)) {
    case DURATION_MALFORMED:
        return param_fail(param, STATE_22018, "no duration");
    case DURATION_OVERFLOW:
        return param_fail(param, STATE_22003, "duration out of range");
    default:
        break;
    }
    unsigned char out[PARTS * VINT_ROOM];
    int length = 0;
    for (const std::int64_t part : reader.parts)
        length += vint_from_int64(out + length, negative ? -part : part);
    pkt_put_long_bytes(packet, out, length);
    return 0;
}
