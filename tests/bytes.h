// Bytes as they stand on the wire, put together by hand; everything is a string of them.
#ifndef TESTS_BYTES_H
#define TESTS_BYTES_H

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>

// The low `width` bytes of a number, highest first, with its sign in front of eight.
inline std::string be(std::int64_t value, int width)
{
    std::string out;
    for (int i = width - 1; i >= 0; i--)
        out += static_cast<char>(value >> (i < 8 ? 8 * i : 63));
    return out;
}

// clang-format off
inline std::string be8(std::uint64_t value) { return be(static_cast<std::int64_t>(value), 1); }
inline std::string be16(std::uint64_t value) { return be(static_cast<std::int64_t>(value), 2); }
inline std::string be32(std::uint64_t value) { return be(static_cast<std::int64_t>(value), 4); }
inline std::string be64(std::uint64_t value) { return be(static_cast<std::int64_t>(value), 8); }
inline std::string be(double value) { return be(std::bit_cast<std::int64_t>(value), 8); }
inline std::string be(float value) { return be(std::bit_cast<std::int32_t>(value), 4); }

inline std::string wire_string(std::string_view text) { return be16(text.size()) + std::string(text); }
inline std::string wire_long_string(std::string_view text) { return be32(text.size()) + std::string(text); }
inline std::string wire_short_bytes(std::string_view value) { return wire_string(value); }
// clang-format on

// A number's bytes, given lowest first, in this machine's order.
inline std::string machine_order(std::string_view lowest_first)
{
    return std::endian::native == std::endian::little
               ? std::string(lowest_first)
               : std::string(lowest_first.rbegin(), lowest_first.rend());
}

// "01 ff" to bytes and back; blanks are passed over.
inline std::string from_hex(std::string_view text)
{
    std::string out, digits;
    for (const char c : text) {
        if (c != ' ')
            digits += c;
        if (digits.size() == 2) {
            out += static_cast<char>(std::stoi(digits, nullptr, 16));
            digits.clear();
        }
    }
    return out;
}

inline std::string to_hex(std::string_view value)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string out;
    for (const char c : value)
        out += {digits[c >> 4 & 15], digits[c & 15]};
    return out;
}

// The text with `value` at every place of `mark`, which does not stand in the value.
inline std::string replaced(std::string text, std::string_view mark, std::string_view value)
{
    for (auto at = text.find(mark); at != std::string::npos; at = text.find(mark, at))
        text.replace(at, mark.size(), value);
    return text;
}

// `length` bytes in which no stretch repeats another nearby: "0123456789abc..." shifted in each
// round, so that a lost, doubled or swapped piece shows.
inline std::string pattern(int length)
{
    static constexpr std::string_view digits = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJ";
    std::string out(static_cast<std::size_t>(length), '\0');
    for (std::size_t i = 0; i < out.size(); i++)
        out[i] = digits[(i + i / digits.size()) % digits.size()];
    return out;
}

#endif
