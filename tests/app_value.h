// Values as an application holds them, for the tests of parameters on every level: a C type and the
// bytes of its memory, which end where they must not be left.
//
//     const app_value price(2.5);  // SQL_C_DOUBLE
//     const app_value bytes(SQL_C_BINARY, "\1\2");
#ifndef TESTS_APP_VALUE_H
#define TESTS_APP_VALUE_H

#include <sql.h>
#include <sqlext.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

template <typename Value>
std::string image(const Value &value)
{
    return {reinterpret_cast<const char *>(&value), sizeof value};
}

struct app_value {
    SQLSMALLINT c_type;
    std::string memory;

    app_value(SQLSMALLINT type, std::string bytes) : c_type(type), memory(std::move(bytes)) {}
    app_value(signed char value) : app_value(SQL_C_STINYINT, image(value)) {}
    app_value(unsigned char value) : app_value(SQL_C_UTINYINT, image(value)) {}
    app_value(short value) : app_value(SQL_C_SSHORT, image(value)) {}
    app_value(unsigned short value) : app_value(SQL_C_USHORT, image(value)) {}
    app_value(int value) : app_value(SQL_C_SLONG, image(value)) {}
    app_value(unsigned value) : app_value(SQL_C_ULONG, image(value)) {}
    app_value(long value) : app_value(SQL_C_SBIGINT, image(value)) {}
    app_value(unsigned long value) : app_value(SQL_C_UBIGINT, image(value)) {}
    app_value(bool value) : app_value(SQL_C_BIT, image(value)) {}
    app_value(float value) : app_value(SQL_C_FLOAT, image(value)) {}
    app_value(double value) : app_value(SQL_C_DOUBLE, image(value)) {}
    app_value(const SQL_NUMERIC_STRUCT &value) : app_value(SQL_C_NUMERIC, image(value)) {}
    app_value(const SQLGUID &value) : app_value(SQL_C_GUID, image(value)) {}
    app_value(const SQL_DATE_STRUCT &value) : app_value(SQL_C_TYPE_DATE, image(value)) {}
    app_value(const SQL_TIME_STRUCT &value) : app_value(SQL_C_TYPE_TIME, image(value)) {}
    app_value(const SQL_TIMESTAMP_STRUCT &value) : app_value(SQL_C_TYPE_TIMESTAMP, image(value)) {}
    app_value(const char *text) : app_value(SQL_C_CHAR, text) {}
    app_value(const std::string &text) : app_value(SQL_C_CHAR, text) {}
    app_value(const std::u16string &text)
        : app_value(SQL_C_WCHAR, {reinterpret_cast<const char *>(text.data()), text.size() * 2})
    {
    }
    app_value(const char16_t *text) : app_value(std::u16string(text)) {}
};

// Whether the length of such a value is told beside it.
inline bool has_length(const app_value &value)
{
    return value.c_type == SQL_C_CHAR || value.c_type == SQL_C_WCHAR ||
           value.c_type == SQL_C_BINARY;
}

// A numeric from a magnitude of up to 64 bits.
inline SQL_NUMERIC_STRUCT numeric(std::uint64_t magnitude, int scale, int sign = 1,
                                  int precision = 38)
{
    SQL_NUMERIC_STRUCT value = {static_cast<SQLCHAR>(precision),
                                static_cast<SQLSCHAR>(scale),
                                static_cast<SQLCHAR>(sign),
                                {}};
    for (std::size_t i = 0; i < sizeof magnitude; i++)
        value.val[i] = static_cast<SQLCHAR>(magnitude >> 8 * i);
    return value;
}

// Application memory of exactly these bytes, on an odd address. The sanitizers see a read on either
// side.
struct exact_block {
    std::unique_ptr<char[]> block;
    char *at;

    explicit exact_block(const std::string &bytes)
        : block(new char[bytes.size() + 1]), at(block.get() + 1)
    {
        std::memcpy(at, bytes.data(), bytes.size());
    }
};

inline SQLLEN *lengths_at(char *memory)
{
    return static_cast<SQLLEN *>(static_cast<void *>(memory));
}

inline SQLRETURN bind(SQLHSTMT stmt, SQLUSMALLINT number, SQLSMALLINT c_type, SQLSMALLINT sql_type,
                      void *data, SQLLEN *indicator = nullptr, SQLLEN buffer_length = 0,
                      SQLULEN size = 38, SQLSMALLINT digits = 0)
{
    return SQLBindParameter(stmt, number, SQL_PARAM_INPUT, c_type, sql_type, size, digits, data,
                            buffer_length, indicator);
}

#endif
