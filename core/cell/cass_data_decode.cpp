// From the wire to a column's storage: one decoder for each storage form of the CQL types (native
// protocol v4, section 6). A cell is a signed 32-bit length and that many bytes; a negative length
// is SQL NULL. Decoders take exactly the announced length, never leave the frame, and allocate only
// when a text or binary cell is longer than any before it in its column.
#include "core/cell/cass_data_take.h"
#include "core/cell/cass_data_wire.h"
#include "core/cell/cass_literal.h"
#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/wire/cql_type.h"
#include "support/civil.h"
#include "support/jdn_l.h"
#include "support/numtext.h"
#include "support/structtext.h"

static constexpr char log_source[] = "cass_data.c";

constexpr std::int32_t NUMERIC_PRECISION = 38;

// ---- Text and binary ---------------------------------------------------------------------------

static SQLRETURN decode_text(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    return decode_bytes(stmt, packet, field, SQL_CHAR);
}

static SQLRETURN decode_binary(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    return decode_bytes(stmt, packet, field, SQL_BINARY);
}

// Addresses are stored as text.
static SQLRETURN decode_inet(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    cass_data_storage *cell = &field->data_storage;
    std::int32_t length = 0;
    const unsigned char *bytes = take_variable(packet, 0, &length);
    if (bytes == nullptr)
        return take_null_variable(stmt, packet, cell, SQL_CHAR);

    begin_cell(cell, SQL_CHAR);
    if (length != 0 && length != 4 && length != 16) {
        CASS_LOG(&stmt->head, LOG_ERROR, "fetch_data_row: unexpected inet type length %d",
                 static_cast<int>(length));
        cass_post_error(&stmt->head, cass_malformed_state(stmt), 0,
                        "unexpected inet type length %d", static_cast<int>(length));
        return SQL_ERROR;
    }
    char text[40];
    const int characters = cass_format_inet(text, bytes, length);
    if (cass_storage_reserve(cell, characters) != 0)
        return cell_no_memory(stmt);
    if (characters > 0)
        std::memcpy(cell->value.bytes, text, static_cast<std::size_t>(characters));
    return SQL_SUCCESS;
}

// ---- Whole and floating numbers ----------------------------------------------------------------

static inline SQLRETURN decode_integer(cass_stmt *stmt, cass_packet *packet, cass_field *field,
                                       std::int32_t width)
{
    cass_data_storage *cell = &field->data_storage;
    const unsigned char *bytes = take_fixed(packet, width);
    if (bytes == nullptr) [[unlikely]]
        return take_null(stmt, packet, cell, SQL_INTEGER);
    begin_cell(cell, SQL_INTEGER);
    if (width == 1)
        cell->value.integer = static_cast<std::int8_t>(bytes[0]);
    else if (width == 2)
        cell->value.integer = static_cast<std::int16_t>(load_be16(bytes));
    else
        cell->value.integer = static_cast<std::int32_t>(load_be32(bytes));
    return SQL_SUCCESS;
}

static SQLRETURN decode_one_byte(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    return decode_integer(stmt, packet, field, 1);
}

// The server keeps any byte, which is true unless it is 0.
static SQLRETURN decode_truth(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    const SQLRETURN code = decode_one_byte(stmt, packet, field);
    std::int32_t *truth = &field->data_storage.value.integer;
    *truth = *truth != 0;
    return code;
}

static SQLRETURN decode_smallint(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    return decode_integer(stmt, packet, field, 2);
}

static SQLRETURN decode_int(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    return decode_integer(stmt, packet, field, 4);
}

static SQLRETURN decode_bigint(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    cass_data_storage *cell = &field->data_storage;
    const unsigned char *bytes = take_fixed(packet, 8);
    if (bytes == nullptr) [[unlikely]]
        return take_null(stmt, packet, cell, SQL_BIGINT);
    begin_cell(cell, SQL_BIGINT);
    cell->value.bigint = static_cast<std::int64_t>(load_be64(bytes));
    return SQL_SUCCESS;
}

static SQLRETURN decode_double(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    cass_data_storage *cell = &field->data_storage;
    const unsigned char *bytes = take_fixed(packet, 8);
    if (bytes == nullptr) [[unlikely]]
        return take_null(stmt, packet, cell, SQL_DOUBLE);
    begin_cell(cell, SQL_DOUBLE);
    const std::uint64_t bits = load_be64(bytes);
    std::memcpy(&cell->value.dbl, &bits, sizeof bits);
    return SQL_SUCCESS;
}

static SQLRETURN decode_float(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    cass_data_storage *cell = &field->data_storage;
    const unsigned char *bytes = take_fixed(packet, 4);
    if (bytes == nullptr) [[unlikely]]
        return take_null(stmt, packet, cell, SQL_FLOAT);
    begin_cell(cell, SQL_FLOAT);
    const std::uint32_t bits = load_be32(bytes);
    std::memcpy(&cell->value.real, &bits, sizeof bits);
    return SQL_SUCCESS;
}

// ---- decimal and varint ------------------------------------------------------------------------

// A big-endian two's complement number of any length into sign and 128-bit magnitude. One that
// needs more is marked by NUMERIC_TOO_LARGE.
static void numeric_from_unscaled(SQL_NUMERIC_STRUCT *numeric, const unsigned char *bytes,
                                  std::int32_t count)
{
    const bool negative = count > 0 && (bytes[0] & 0x80) != 0;
    const unsigned char filler = negative ? 0xFF : 0;
    // A zero byte in front costs a digit of precision; nothing else ever adjusts it.
    numeric->precision = count > 0 && bytes[0] == 0 ? NUMERIC_PRECISION - 1 : NUMERIC_PRECISION;
    numeric->sign = negative ? 0 : 1;

    while (count > SQL_MAX_NUMERIC_LEN && *bytes == filler) {
        bytes++;
        count--;
    }
    std::uint64_t low = negative ? ~static_cast<std::uint64_t>(0) : 0;
    std::uint64_t high = low;
    const bool too_long = count > SQL_MAX_NUMERIC_LEN;
    for (std::int32_t i = 0; i < count && !too_long; i++) {
        high = high << 8 | low >> 56;
        low = low << 8 | bytes[i];
    }
    // Minus 2^128 keeps no bit here.
    if (too_long || (negative && (high | low) == 0)) [[unlikely]]
        numeric->precision = NUMERIC_TOO_LARGE;
    if (negative) {
        low = 0 - low;
        high = ~high + (low == 0 ? 1 : 0);
    }
    store_le64(numeric->val, low);
    store_le64(numeric->val + 8, high);
}

// The value of the row before stays behind a NULL, and can be read when the rows have ended. In
// place of none, or of one that cannot be read, it is zero.
[[gnu::noinline]] static SQLRETURN take_null_numeric(cass_stmt *stmt, cass_packet *packet,
                                                     cass_data_storage *cell)
{
    const SQLRETURN code = take_null(stmt, packet, cell, SQL_NUMERIC);
    SQL_NUMERIC_STRUCT *numeric = &cell->value.numeric;
    if (code == SQL_SUCCESS && (numeric->precision == 0 || numeric->precision == NUMERIC_TOO_LARGE))
        *numeric = {.precision = NUMERIC_PRECISION, .scale = 0, .sign = 1, .val = {}};
    return code;
}

static SQLRETURN decode_decimal(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    cass_data_storage *cell = &field->data_storage;
    std::int32_t length = 0;
    const unsigned char *bytes = take_variable(packet, 4, &length);
    if (bytes == nullptr) [[unlikely]]
        return take_null_numeric(stmt, packet, cell);
    begin_cell(cell, SQL_NUMERIC);
    numeric_from_unscaled(&cell->value.numeric, bytes + 4, length - 4);
    cell->value.numeric.scale = static_cast<SQLSCHAR>(bytes[3]);  // the low byte alone
    return SQL_SUCCESS;
}

static SQLRETURN decode_varint(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    cass_data_storage *cell = &field->data_storage;
    std::int32_t length = 0;
    const unsigned char *bytes = take_variable(packet, 1, &length);
    if (bytes == nullptr) [[unlikely]]
        return take_null_numeric(stmt, packet, cell);
    begin_cell(cell, SQL_NUMERIC);
    numeric_from_unscaled(&cell->value.numeric, bytes, length);
    cell->value.numeric.scale = 0;
    return SQL_SUCCESS;
}

// ---- Dates, times, uuids -----------------------------------------------------------------------

// Days since 1 January 1970 as a Gregorian date, cut to the fields of the struct.
static inline SQL_DATE_STRUCT date_from_days(std::int64_t days)
{
    std::int64_t year, month, day;
    cass_jdn_to_date(days + EPOCH_JDN, &year, &month, &day, 0);
    return {
        .year = static_cast<SQLSMALLINT>(year),
        .month = static_cast<SQLUSMALLINT>(month),
        .day = static_cast<SQLUSMALLINT>(day),
    };
}

// Milliseconds since 1970. Divisions truncate, so the parts of a time before 1970 come out negative
// and are not carried into the day before, on purpose.
static SQLRETURN decode_timestamp(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    cass_data_storage *cell = &field->data_storage;
    const unsigned char *bytes = take_fixed(packet, 8);
    if (bytes == nullptr) [[unlikely]]
        return take_null(stmt, packet, cell, SQL_TIMESTAMP);
    begin_cell(cell, SQL_TIMESTAMP);

    const auto milliseconds = static_cast<std::int64_t>(load_be64(bytes));
    const std::int64_t seconds = milliseconds / 1000;
    const std::int64_t minutes = seconds / 60;
    const std::int64_t hours = minutes / 60;
    const SQL_DATE_STRUCT date = date_from_days(hours / 24);
    cell->value.timestamp = {
        .year = date.year,
        .month = date.month,
        .day = date.day,
        .hour = static_cast<SQLUSMALLINT>(hours % 24),
        .minute = static_cast<SQLUSMALLINT>(minutes % 60),
        .second = static_cast<SQLUSMALLINT>(seconds % 60),
        .fraction = static_cast<SQLUINTEGER>(milliseconds % 1000 * 1000000),
    };
    return SQL_SUCCESS;
}

// The same with the parts of the day counted up from midnight.
static SQLRETURN decode_timestamp_up(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    cass_data_storage *cell = &field->data_storage;
    const unsigned char *bytes = take_fixed(packet, 8);
    if (bytes == nullptr) [[unlikely]]
        return take_null(stmt, packet, cell, SQL_TIMESTAMP);
    begin_cell(cell, SQL_TIMESTAMP);

    std::uint32_t rest;
    const SQL_DATE_STRUCT date = date_from_days(cql_timestamp_days(bytes, &rest));
    cell->value.timestamp = {
        .year = date.year,
        .month = date.month,
        .day = date.day,
        .hour = static_cast<SQLUSMALLINT>(rest / 3'600'000),
        .minute = static_cast<SQLUSMALLINT>(rest / 60'000 % 60),
        .second = static_cast<SQLUSMALLINT>(rest / 1000 % 60),
        .fraction = rest % 1000 * 1'000'000,
    };
    return SQL_SUCCESS;
}

static SQLRETURN decode_date(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    cass_data_storage *cell = &field->data_storage;
    const unsigned char *bytes = take_fixed(packet, 4);
    if (bytes == nullptr) [[unlikely]]
        return take_null(stmt, packet, cell, SQL_DATE);
    begin_cell(cell, SQL_DATE);
    cell->value.date = date_from_days(cql_date_days(bytes));
    return SQL_SUCCESS;
}

// Nanoseconds since midnight: a timestamp with an empty date, which is what ODBC sees of the type.
static SQLRETURN decode_time(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    cass_data_storage *cell = &field->data_storage;
    const unsigned char *bytes = take_fixed(packet, 8);
    if (bytes == nullptr) [[unlikely]]
        return take_null(stmt, packet, cell, SQL_TIMESTAMP);
    begin_cell(cell, SQL_TIMESTAMP);

    const auto nanoseconds = static_cast<std::int64_t>(load_be64(bytes));
    const std::int64_t seconds = nanoseconds / 1000000000;
    const std::int64_t minutes = seconds / 60;
    cell->value.timestamp = {
        .year = 0,
        .month = 0,
        .day = 0,
        .hour = static_cast<SQLUSMALLINT>(minutes / 60 % 24),
        .minute = static_cast<SQLUSMALLINT>(minutes % 60),
        .second = static_cast<SQLUSMALLINT>(seconds % 60),
        .fraction = static_cast<SQLUINTEGER>(nanoseconds % 1000000000),
    };
    return SQL_SUCCESS;
}

static SQLRETURN decode_uuid(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    cass_data_storage *cell = &field->data_storage;
    const unsigned char *bytes = take_fixed(packet, 16);
    if (bytes == nullptr) [[unlikely]]
        return take_null(stmt, packet, cell, SQL_GUID);
    begin_cell(cell, SQL_GUID);
    guid_from_bytes(&cell->value.guid, bytes);
    return SQL_SUCCESS;
}

// ---- Values that may be larger than a struct ---------------------------------------------------

// The bytes of the cell ahead if it is one of `width` bytes; null for every other.
static inline const unsigned char *peek_fixed(const cass_packet *packet, std::int32_t width)
{
    const unsigned char *cell = packet->body + packet->read_pos;
    const bool whole = pkt_remaining(packet) >= CELL_PREFIX + width &&
                       load_be32(cell) == static_cast<std::uint32_t>(width);
    return whole ? cell + CELL_PREFIX : nullptr;
}

static inline bool is_common_day(std::int64_t days)
{
    return days >= FIRST_COMMON_DAY && days <= LAST_COMMON_DAY;
}

// What a row before has left may be read behind the last one: never an address.
static inline void forget_wire(cass_data_storage *cell)
{
    if (cell->data_type == CELL_WIRE)
        cell->value = {};
}

static SQLRETURN decode_any_date(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    const unsigned char *bytes = peek_fixed(packet, 4);
    if (bytes != nullptr && !is_common_day(cql_date_days(bytes))) [[unlikely]]
        return decode_wire(stmt, packet, field);
    forget_wire(&field->data_storage);
    return decode_date(stmt, packet, field);
}

static SQLRETURN decode_any_timestamp(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    const unsigned char *bytes = peek_fixed(packet, 8);
    std::uint32_t rest;
    if (bytes != nullptr && !is_common_day(cql_timestamp_days(bytes, &rest))) [[unlikely]]
        return decode_wire(stmt, packet, field);
    forget_wire(&field->data_storage);
    return decode_timestamp_up(stmt, packet, field);
}

// Zero times a power of ten, which is one digit as text.
static inline bool is_longer_zero(const SQL_NUMERIC_STRUCT &numeric)
{
    static constexpr SQLCHAR nothing[SQL_MAX_NUMERIC_LEN] = {};
    return numeric.scale < 0 && std::memcmp(numeric.val, nothing, sizeof nothing) == 0;
}

static SQLRETURN decode_any_decimal(cass_stmt *stmt, cass_packet *packet, cass_field *field)
{
    cass_data_storage *cell = &field->data_storage;
    const std::int32_t start = packet->read_pos;
    forget_wire(cell);
    const SQLRETURN code = field->cql_type == CQL_VARINT ? decode_varint(stmt, packet, field)
                                                         : decode_decimal(stmt, packet, field);
    if (code != SQL_SUCCESS || cell->isnull != 0)
        return code;
    const SQL_NUMERIC_STRUCT &numeric = cell->value.numeric;
    const bool scale_fits =
        field->cql_type == CQL_VARINT ||
        static_cast<std::int32_t>(load_be32(packet->body + start + CELL_PREFIX)) == numeric.scale;
    if (scale_fits && numeric.precision != NUMERIC_TOO_LARGE) [[likely]] {
        if (is_longer_zero(numeric)) [[unlikely]]
            cell->value.numeric.scale = 0;
        return SQL_SUCCESS;
    }
    packet->read_pos = start;
    return decode_wire(stmt, packet, field);
}

// ---- The table ---------------------------------------------------------------------------------

static bool early_times_are_negative(const cass_conn *conn)
{
    return conn->conduct->early_times_are_negative;
}

static bool large_values_are_lost(const cass_conn *conn)
{
    return conn->conduct->large_values_are_lost;
}

static bool nested_values_are_bytes(const cass_conn *conn)
{
    return conn->conduct->nested_values_are_bytes;
}

static bool a_boolean_is_its_byte(const cass_conn *conn)
{
    return conn->conduct->a_boolean_is_its_byte;
}

bool cass_cells_are_literals(const cass_conn *conn)
{
    return !nested_values_are_bytes(conn);
}

cass_cell_decoder cass_cell_decoder_for(const cass_conn *conn, std::int32_t option_id)
{
    switch (option_id) {
    case CQL_ASCII:
    case CQL_VARCHAR:
        return decode_text;
    case CQL_BIGINT:
    case CQL_COUNTER:
        return decode_bigint;
    case CQL_BOOLEAN:
        return a_boolean_is_its_byte(conn) ? decode_one_byte : decode_truth;
    case CQL_TINYINT:
        return decode_one_byte;
    case CQL_DECIMAL:
        return large_values_are_lost(conn) ? decode_decimal : decode_any_decimal;
    case CQL_DOUBLE:
        return decode_double;
    case CQL_FLOAT:
        return decode_float;
    case CQL_INT:
        return decode_int;
    case CQL_TIMESTAMP:
        if (early_times_are_negative(conn))
            return decode_timestamp;
        return large_values_are_lost(conn) ? decode_timestamp_up : decode_any_timestamp;
    case CQL_UUID:
    case CQL_TIMEUUID:
        return decode_uuid;
    case CQL_VARINT:
        return large_values_are_lost(conn) ? decode_varint : decode_any_decimal;
    case CQL_INET:
        return decode_inet;
    case CQL_DATE:
        return large_values_are_lost(conn) ? decode_date : decode_any_date;
    case CQL_TIME:
        return decode_time;
    case CQL_SMALLINT:
        return decode_smallint;
    case CQL_CUSTOM:
    case CQL_BLOB:
        return decode_binary;
    case CQL_LIST:  // in their serialised form
    case CQL_MAP:
    case CQL_SET:
    case CQL_UDT:
    case CQL_TUPLE:
    case CQL_DURATION:
    case CQL_VECTOR:
        return cass_cells_are_literals(conn) ? decode_wire : decode_binary;
    default:
        return nullptr;
    }
}
