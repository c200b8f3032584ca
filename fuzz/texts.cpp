// Dates, times, numbers and guids as text: what is written reads back as it was, and what is read
// from any text does too.
#include <cmath>

#include "core/parameter/cass_timeparse.h"
#include "fuzz/fuzz.h"
#include "support/ascii.h"
#include "support/instant.h"
#include "support/numeric.h"
#include "support/numtext.h"
#include "support/structtext.h"
#include "tests/unit/handles.h"

static void read_instant(fuzz_input *in)
{
    const std::string text = fuzz_rest(in);
    instant read = {}, again = {};
    if (!instant_from_text(text, &read))
        return;
    EXPECT_TRUE(read.nanosecond >= 0 && read.nanosecond < INSTANT_NANOSECONDS);
    instant_normalise(&read);
    EXPECT_TRUE(read.second >= 0 && read.second < INSTANT_DAY_SECONDS);
    // The same without blanks round it is the same instant.
    ASSERT_TRUE(instant_from_text(ascii_trimmed(text), &again));
    instant_normalise(&again);
    EXPECT_TRUE(read.day == again.day && read.second == again.second &&
                read.nanosecond == again.nanosecond);
}

// What was taken apart, put together in the plain shape, is taken apart alike.
static void read_time_parts(fuzz_input *in)
{
    session s(false);
    cass_time_parts read = {}, again = {};
    const std::string text = fuzz_rest(in);
    const char *memory = fuzz_memory_of(text.substr(0, text.find('\0')) + '\0');
    if (cass_parse_timestamp(s.stmt, memory, &read, 1) != 0) {
        EXPECT_EQ(states_of(s.stmt), "22003@1");
        return;
    }
    const auto within = [](std::int32_t value, std::int32_t least, std::int32_t most) {
        return value >= least && value <= most;
    };
    if (read.category != TIME_TEXT_TIMESTAMP || !within(read.year, 1000, 9999) ||
        !within(read.month, 1, 12) || !within(read.day, 1, 31) || !within(read.hour, 0, 23) ||
        !within(read.minute, 0, 59) || !within(read.second, 0, 59))
        return;
    const SQL_TIMESTAMP_STRUCT parts = {
        static_cast<SQLSMALLINT>(read.year),    static_cast<SQLUSMALLINT>(read.month),
        static_cast<SQLUSMALLINT>(read.day),    static_cast<SQLUSMALLINT>(read.hour),
        static_cast<SQLUSMALLINT>(read.minute), static_cast<SQLUSMALLINT>(read.second),
        static_cast<SQLUINTEGER>(read.fraction)};
    char plain[STRUCT_TEXT_ROOM] = {};
    plain[text_from_timestamp(plain, parts, parts.fraction, 9)] = '\0';
    ASSERT_EQ(cass_parse_timestamp(s.stmt, plain, &again, 1), 0) << plain;
    EXPECT_EQ(std::memcmp(&read, &again, sizeof read), 0) << text << " " << plain;
}

template <typename Real>
static void write_real(fuzz_input *in, Real (*read)(const char *))
{
    const std::uint64_t bits = fuzz_number(in, sizeof(Real));
    Real value;
    std::memcpy(&value, &bits, sizeof value);
    char text[33] = {};
    text[text_shortest(text, value)] = '\0';
    if (std::isfinite(value)) {
        EXPECT_EQ(read(text), value) << text;
    }
}

static void write_numeric(fuzz_input *in)
{
    SQL_NUMERIC_STRUCT value = {}, again = {};
    value.precision = 38;
    value.scale = static_cast<SQLSCHAR>(fuzz_number(in) % 40);
    value.sign = fuzz_number(in) % 2 != 0;
    const std::string digits = fuzz_bytes(in, sizeof value.val);
    std::memcpy(value.val, digits.data(), digits.size());
    char text[NUMERIC_TEXT_ROOM], second[NUMERIC_TEXT_ROOM];
    const std::string written(text, static_cast<std::size_t>(cass_numeric_format(&value, text)));
    ASSERT_EQ(cass_numeric_from_text(text, &again, 38, 0), 0) << written;
    EXPECT_EQ(std::string(second, static_cast<std::size_t>(cass_numeric_format(&again, second))),
              written);
}

static void write_guid(fuzz_input *in)
{
    const std::string text = fuzz_rest(in);
    SQLGUID read, again;
    char written[STRUCT_TEXT_ROOM];
    if (!guid_from_text(text, &read))
        return;
    const auto length = static_cast<std::size_t>(text_from_guid(written, read));
    ASSERT_TRUE(guid_from_text({written, length}, &again));
    EXPECT_EQ(std::memcmp(&read, &again, sizeof read), 0) << text;
}

void fuzz_one(fuzz_input in)
{
    const std::uint64_t kind = fuzz_number(&in);
    if (kind == 'i')
        read_instant(&in);
    else if (kind == 't')
        read_time_parts(&in);
    else if (kind == 'd')
        write_real<double>(&in, ascii_to_double);
    else if (kind == 'f')
        write_real<float>(&in, ascii_to_float);
    else if (kind == 'n')
        write_numeric(&in);
    else if (kind == 'g')
        write_guid(&in);
}
