// Dates, times and guids as text, without printf where the parts are what they should be.
#include "support/structtext.h"

#include <cstdio>

#include "support/ascii.h"
#include "support/numtext.h"

static inline void put_two_digits(char *out, unsigned value)
{
    out[0] = static_cast<char>('0' + value / 10);
    out[1] = static_cast<char>('0' + value % 10);
}

int text_from_date(char *out, int year, unsigned month, unsigned day)
{
    if (year < 0 || year > 9999 || month > 99 || day > 99) [[unlikely]]
        return std::snprintf(out, STRUCT_TEXT_ROOM, "%04d-%02u-%02u", year, month, day);
    put_two_digits(out, static_cast<unsigned>(year) / 100);
    put_two_digits(out + 2, static_cast<unsigned>(year) % 100);
    out[4] = '-';
    put_two_digits(out + 5, month);
    out[7] = '-';
    put_two_digits(out + 8, day);
    return 10;
}

int text_from_time(char *out, unsigned hour, unsigned minute, unsigned second)
{
    if (hour > 99 || minute > 99 || second > 99) [[unlikely]]
        return std::snprintf(out, STRUCT_TEXT_ROOM / 2, "%02u:%02u:%02u", hour, minute, second);
    put_two_digits(out, hour);
    out[2] = ':';
    put_two_digits(out + 3, minute);
    out[5] = ':';
    put_two_digits(out + 6, second);
    return 8;
}

int text_from_timestamp(char *out, const SQL_TIMESTAMP_STRUCT &timestamp, std::uint32_t fraction,
                        int digits)
{
    int length = text_from_date(out, timestamp.year, timestamp.month, timestamp.day);
    out[length++] = ' ';
    length += text_from_time(out + length, timestamp.hour, timestamp.minute, timestamp.second);
    if (digits == 0)
        return length;
    out[length++] = '.';
    if (fraction >= powers_of_ten[digits]) [[unlikely]]
        return length + text_from_uint64(out + length, fraction);
    text_padded(out + length, fraction, digits);
    return length + digits;
}

int text_from_guid(char *out, const SQLGUID &guid)
{
    // Where the digits of each byte stand.
    static constexpr unsigned char places[16] = {0,  2,  4,  6,  9,  11, 14, 16,
                                                 19, 21, 24, 26, 28, 30, 32, 34};
    unsigned char bytes[16];
    guid_to_bytes(guid, bytes);
#pragma GCC unroll 16  // for -O2: the text of a uuid is the longest of all cells
    for (int i = 0; i < 16; i++)
        text_hex(out + places[i], bytes[i], HEX_UPPER);
    out[8] = out[13] = out[18] = out[23] = '-';
    return 36;
}

bool guid_from_text(std::string_view text, SQLGUID *guid)
{
    static constexpr std::string_view form = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    if (text.size() != form.size())
        return false;
    unsigned char bytes[16] = {};
    int digits = 0;
    for (std::size_t i = 0; i < form.size(); i++) {
        if (form[i] == '-' && text[i] == '-')
            continue;
        const unsigned value = ascii_digit_value(text[i]);
        if (form[i] == '-' || value > 15)
            return false;
        bytes[digits / 2] = static_cast<unsigned char>(bytes[digits / 2] << 4 | value);
        digits++;
    }
    guid_from_bytes(guid, bytes);
    return true;
}
