// An application's memory on its way into a request, of any C type, SQL type and column: nothing
// beside it is read, and a value that comes in pieces at execution is the one that lies there
// whole.
#include "core/parameter/cass_param_internal.h"
#include "core/statement/cass_stmt.h"
#include "fuzz/fuzz.h"
#include "fuzz/marker.h"
#include "tests/unit/parameter_rig.h"

static constexpr SQLSMALLINT c_types[] = {
    SQL_C_CHAR,     SQL_C_WCHAR,    SQL_C_BINARY,    SQL_C_DEFAULT,   SQL_C_NUMERIC,
    SQL_C_STINYINT, SQL_C_UTINYINT, SQL_C_SSHORT,    SQL_C_USHORT,    SQL_C_SLONG,
    SQL_C_ULONG,    SQL_C_SBIGINT,  SQL_C_UBIGINT,   SQL_C_FLOAT,     SQL_C_DOUBLE,
    SQL_C_BIT,      SQL_C_GUID,     SQL_C_TYPE_DATE, SQL_C_TYPE_TIME, SQL_C_TYPE_TIMESTAMP,
    SQL_C_TINYINT,  SQL_C_SHORT,    SQL_C_LONG};

static constexpr SQLSMALLINT sql_types[] = {
    SQL_VARCHAR,   SQL_WVARCHAR,  SQL_VARBINARY,      SQL_BIGINT,  SQL_INTEGER,
    SQL_BIT,       SQL_DOUBLE,    SQL_REAL,           SQL_DECIMAL, SQL_GUID,
    SQL_TYPE_DATE, SQL_TYPE_TIME, SQL_TYPE_TIMESTAMP, SQL_TINYINT};

struct parameter_input {
    SQLSMALLINT c_type, sql_type, digits;
    SQLULEN size;
};

static SQLRETURN bind_at(const session &s, const parameter_input &in, void *data, SQLLEN room,
                         SQLLEN *length)
{
    return bind(s.stmt, 1, in.c_type, in.sql_type, data, length, room, in.size, in.digits);
}

// The value's bytes are as many as it says.
static std::string encode_checked(session &s)
{
    const std::string value = encode(s);
    if (value.find('@') != value.npos || value.empty())
        return value;
    const auto length = static_cast<std::int32_t>(load_be32(from_hex(value).data()));
    EXPECT_EQ(value.size(), 2 * (4 + static_cast<std::size_t>(std::max(length, 0))));
    return value;
}

static std::string encode_pieces(session &s, const parameter_input &in, const std::string &value,
                                 std::size_t most)
{
    SQLLEN length = SQL_LEN_DATA_AT_EXEC(0);
    bind_at(s, in, &s, 0, &length);
    EXPECT_EQ(cass_check_params(s.stmt, 0, OP_EXECUTE), SQL_NEED_DATA);
    std::size_t at = 0;
    do {
        const std::string piece = value.substr(at, most);
        EXPECT_EQ(SQLPutData(s.stmt, fuzz_memory_of(piece, 1), static_cast<SQLLEN>(piece.size())),
                  SQL_SUCCESS);
        at += most;
    } while (at < value.size());
    return encode_checked(s);
}

void fuzz_one(fuzz_input data)
{
    session s(false);
    const std::uint64_t options = fuzz_number(&data), most = fuzz_number(&data) + 1;
    follow(s, (options & 1) != 0);
    const SQLSMALLINT sql_type = fuzz_choice(&data, sql_types);
    // All pieces of a value count where it decides, otherwise the first.
    const bool joined =
        sql_type == SQL_VARCHAR || sql_type == SQL_WVARCHAR || sql_type == SQL_VARBINARY;
    const parameter_input in = {fuzz_choice(&data, c_types), sql_type,
                                static_cast<SQLSMALLINT>(fuzz_number(&data, 2)),
                                fuzz_number(&data, 2)};
    const std::string option = fuzz_piece(&data);
    const held_option type = type_of(s, option);
    if (type != nullptr)
        prepare_marker(s, option);
    const bool by_column =
        (options & 1) != 0 && type != nullptr && param_has_writer(cql_type_meant(type.get()));
    s.stmt->found_param_count = 1;
    std::string value = fuzz_rest(&data);
    if (bind_at(s, in, &s, 0, nullptr) != SQL_SUCCESS)
        return;
    const cass_c_size size = cass_c_type_size(s.stmt->apd->fields[0].consise_type);
    if (size.fixed != 0)
        value.resize(static_cast<std::size_t>(size.fixed));
    const auto count = static_cast<SQLLEN>(value.size());
    SQLLEN length = count;
    bind_at(s, in, fuzz_memory_of(value), count, &length);
    const std::string whole = encode_checked(s);
    if (size.fixed != 0 || by_column || joined)
        EXPECT_EQ(encode_pieces(s, in, value, size.fixed != 0 ? value.size() : most), whole);
    // Without a length the size of the buffer ends a text, or its first zero.
    const std::string terminated = value + std::string(3, '\0');
    bind_at(s, in, fuzz_memory_of(count > 0 ? value : terminated), count, nullptr);
    encode_checked(s);
    length = SQL_NTS;
    bind_at(s, in, fuzz_memory_of(terminated), count, &length);
    encode_checked(s);
    length = -static_cast<SQLLEN>(options >> 1);
    bind_at(s, in, fuzz_memory_of(value), count, &length);
    if (!cass_param_at_exec(s.stmt, 0) && length != SQL_NTS)
        encode_checked(s);
}
