#include "support/bigint.h"

#include <openssl/bn.h>

#include <cstdlib>
#include <cstring>

using held_number = held<BIGNUM, &BN_free>;

static void free_openssl(char *text)
{
    OPENSSL_free(text);
}

static void negate(unsigned char *bytes, std::size_t count)
{
    unsigned carry = 1;
    for (std::size_t index = count; index-- > 0;) {
        carry += static_cast<unsigned char>(~bytes[index]);
        bytes[index] = static_cast<unsigned char>(carry);
        carry >>= 8;
    }
}

char *bigint_to_digits(const unsigned char *bytes, std::size_t count)
{
    const bool negative = count > 0 && (bytes[0] & 0x80) != 0;
    const held_bytes magnitude(static_cast<unsigned char *>(std::malloc(count + 1)));
    if (magnitude == nullptr)
        return nullptr;
    if (count > 0)
        std::memcpy(magnitude.get(), bytes, count);
    if (negative)
        negate(magnitude.get(), count);
    const held_number number(BN_bin2bn(magnitude.get(), static_cast<int>(count), nullptr));
    if (number == nullptr)
        return nullptr;
    BN_set_negative(number.get(), negative);
    const held<char, &free_openssl> digits(BN_bn2dec(number.get()));
    return digits != nullptr ? strdup(digits.get()) : nullptr;
}

unsigned char *bigint_from_digits(const char *digits, std::size_t count, bool negative,
                                  std::size_t *length)
{
    const held_text terminated(static_cast<char *>(std::malloc(count + 1)));
    if (terminated == nullptr)
        return nullptr;
    if (count > 0)
        std::memcpy(terminated.get(), digits, count);
    terminated.get()[count] = '\0';
    BIGNUM *read = nullptr;
    if (count > 0 && BN_dec2bn(&read, terminated.get()) == 0)
        return nullptr;
    const held_number number(count > 0 ? read : BN_new());
    if (number == nullptr)
        return nullptr;
    const auto size = static_cast<std::size_t>(BN_num_bytes(number.get())) + 1;
    auto *bytes = static_cast<unsigned char *>(std::malloc(size));
    if (bytes == nullptr)
        return nullptr;
    BN_bn2binpad(number.get(), bytes, static_cast<int>(size));
    if (negative)
        negate(bytes, size);
    // A first byte that only repeats the sign of the second is not needed.
    std::size_t surplus = 0;
    while (surplus + 1 < size && (bytes[surplus] == 0 || bytes[surplus] == 0xFF) &&
           (bytes[surplus] & 0x80) == (bytes[surplus + 1] & 0x80))
        surplus++;
    *length = size - surplus;
    std::memmove(bytes, bytes + surplus, *length);
    return bytes;
}
