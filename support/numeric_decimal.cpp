// Digit strings: sum, difference, order, and the powers of two that numerics are made of.
#include <algorithm>
#include <cstring>

#include "support/numeric.h"
#include "support/numtext.h"

// ---- Powers of two -----------------------------------------------------------------------------

// Each entry is twice the one before, digit by digit.
static constexpr auto make_pow2_text()
{
    std::array<std::array<char, DECIMAL_DIGITS + 1>, POWERS_OF_TWO> table{};
    int digits[DECIMAL_DIGITS] = {1};  // the lowest first
    int count = 1;
    for (auto &text : table) {
        for (int i = 0; i < count; i++)
            text[static_cast<std::size_t>(i)] = static_cast<char>('0' + digits[count - 1 - i]);
        int carry = 0;
        for (int i = 0; i < count; i++) {
            const int twice = 2 * digits[i] + carry;
            digits[i] = twice % 10;
            carry = twice / 10;
        }
        if (carry != 0)
            digits[count++] = carry;
    }
    return table;
}

static constexpr auto make_pow2_double()
{
    std::array<double, POWERS_OF_TWO> table{};
    double power = 1;
    for (double &entry : table) {
        entry = power;
        power *= 2;
    }
    return table;
}

constinit const std::array<std::array<char, DECIMAL_DIGITS + 1>, POWERS_OF_TWO> cass_pow2_text =
    make_pow2_text();
constinit const std::array<double, POWERS_OF_TWO> cass_pow2_double = make_pow2_double();
constexpr char cass_decimal_largest[] = "340282366920938463463374607431768211455";

// ---- Arithmetic --------------------------------------------------------------------------------

// Below this many digits a number is a plain integer.
static constexpr std::size_t SMALL_DIGITS = 7;

static std::uint64_t small_number(const char *digits)
{
    std::uint64_t value = 0;
    for (; *digits != '\0'; digits++)
        value = value * 10 + static_cast<std::uint64_t>(*digits - '0');
    return value;
}

void cass_decimal_add(char *a, const char *b)
{
    const std::size_t a_length = std::strlen(a), b_length = std::strlen(b);
    if (a_length < SMALL_DIGITS && b_length < SMALL_DIGITS) {
        a[text_from_uint64(a, small_number(a) + small_number(b))] = '\0';
        return;
    }
    const std::size_t length = std::max(a_length, b_length);
    char sum[DECIMAL_ROOM];
    int carry = 0;
    for (std::size_t i = 1; i <= length; i++) {  // from the right
        const int digit = (i <= a_length ? a[a_length - i] - '0' : 0) +
                          (i <= b_length ? b[b_length - i] - '0' : 0) + carry;
        carry = digit > 9 ? 1 : 0;
        sum[length - i] = static_cast<char>('0' + digit - 10 * carry);
    }
    if (carry != 0)
        *a++ = '1';
    std::memcpy(a, sum, length);
    a[length] = '\0';
}

void cass_decimal_subtract(char *a, const char *b)
{
    const std::size_t a_length = std::strlen(a), b_length = std::strlen(b);
    int borrow = 0;
    for (std::size_t i = 1; i <= a_length; i++) {
        const int digit =
            a[a_length - i] - '0' - (i <= b_length ? b[b_length - i] - '0' : 0) - borrow;
        borrow = digit < 0 ? 1 : 0;
        a[a_length - i] = static_cast<char>('0' + digit + 10 * borrow);
    }
    const std::size_t zeros = std::strspn(a, "0");
    std::memmove(a, a + zeros, a_length - zeros + 1);
}

// Digit at a place of a fraction, which is filled with zeros behind its end.
static char fraction_digit(const char *fraction, std::size_t length, std::size_t place)
{
    return place < length ? fraction[place] : '0';
}

int cass_decimal_compare(const char *a, const char *b)
{
    const std::size_t a_whole = std::strcspn(a, "."), b_whole = std::strcspn(b, ".");
    if (a_whole != b_whole)
        return a_whole < b_whole ? -1 : 1;
    const int order = std::memcmp(a, b, a_whole);
    if (order != 0)
        return order < 0 ? -1 : 1;

    const char *a_fraction = a + a_whole + (a[a_whole] == '.' ? 1 : 0);
    const char *b_fraction = b + b_whole + (b[b_whole] == '.' ? 1 : 0);
    const std::size_t a_length = std::strlen(a_fraction), b_length = std::strlen(b_fraction);
    for (std::size_t i = 0; i < std::max(a_length, b_length); i++) {
        const char a_digit = fraction_digit(a_fraction, a_length, i);
        const char b_digit = fraction_digit(b_fraction, b_length, i);
        if (a_digit != b_digit)
            return a_digit < b_digit ? -1 : 1;
    }
    return 0;
}
