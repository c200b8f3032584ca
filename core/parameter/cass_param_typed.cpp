// Values by the type that the server has told of their marker. The source is settled first, so that
// a writer finds one form of each; binary goes by all of them, as the bytes of the wire.
#include <arpa/inet.h>

#include <charconv>
#include <cmath>

#include "core/parameter/cass_param_internal.h"

static int put_text(cass_param *param, cass_packet *packet, const cass_type_option *type);
static int put_blob(cass_param *param, cass_packet *packet, const cass_type_option *type);
static int put_uuid(cass_param *param, cass_packet *packet, const cass_type_option *type);
static int put_inet(cass_param *param, cass_packet *packet, const cass_type_option *type);

// A type of the server: bytes of every value (0: they differ), what SQL_C_DEFAULT means beside it,
// and the writer.
struct typed_row {
    std::int32_t option_id;
    std::int32_t size;
    param_c_type native;
    typed_writer writer;
};

static constexpr typed_row typed_rows[] = {
    {CQL_ASCII, 0, {KIND_TEXT, 0}, put_text},
    {CQL_BIGINT, 8, {KIND_SIGNED, 8}, typed_put_integer},
    {CQL_BLOB, 0, {KIND_BINARY, 0}, put_blob},
    {CQL_BOOLEAN, 1, {KIND_BIT, 1}, typed_put_boolean},
    {CQL_COUNTER, 8, {KIND_SIGNED, 8}, typed_put_integer},
    {CQL_DECIMAL, 0, {KIND_NUMERIC, sizeof(SQL_NUMERIC_STRUCT)}, typed_put_decimal},
    {CQL_DOUBLE, 8, {KIND_REAL, sizeof(SQLDOUBLE)}, typed_put_real},
    {CQL_FLOAT, 4, {KIND_REAL, sizeof(SQLREAL)}, typed_put_real},
    {CQL_INT, 4, {KIND_SIGNED, 4}, typed_put_integer},
    {CQL_TIMESTAMP, 8, {KIND_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT)}, typed_put_timestamp},
    {CQL_UUID, 16, {KIND_GUID, sizeof(SQLGUID)}, put_uuid},
    {CQL_VARCHAR, 0, {KIND_TEXT, 0}, put_text},
    {CQL_VARINT, 0, {KIND_NUMERIC, sizeof(SQL_NUMERIC_STRUCT)}, typed_put_varint},
    {CQL_TIMEUUID, 16, {KIND_GUID, sizeof(SQLGUID)}, put_uuid},
    {CQL_INET, 0, {KIND_BINARY, 0}, put_inet},
    {CQL_DATE, 4, {KIND_DATE, sizeof(SQL_DATE_STRUCT)}, typed_put_date},
    {CQL_TIME, 8, {KIND_TIME, sizeof(SQL_TIME_STRUCT)}, typed_put_time},
    {CQL_SMALLINT, 2, {KIND_SIGNED, 2}, typed_put_integer},
    {CQL_TINYINT, 1, {KIND_SIGNED, 1}, typed_put_integer},
    {CQL_LIST, 0, {KIND_TEXT, 0}, typed_put_literal},
    {CQL_MAP, 0, {KIND_TEXT, 0}, typed_put_literal},
    {CQL_SET, 0, {KIND_TEXT, 0}, typed_put_literal},
    {CQL_UDT, 0, {KIND_TEXT, 0}, typed_put_literal},
    {CQL_TUPLE, 0, {KIND_TEXT, 0}, typed_put_literal},
    {CQL_DURATION, 0, {KIND_TEXT, 0}, typed_put_duration},
    {CQL_VECTOR, 0, {KIND_TEXT, 0}, typed_put_literal},
};

static const typed_row *find_row(const cass_type_option *type)
{
    for (const typed_row &row : typed_rows) {
        if (row.option_id == type->option_id)
            return &row;
    }
    return nullptr;
}

bool param_has_writer(const cass_type_option *type)
{
    return find_row(type) != nullptr;
}

// ---- Texts, bytes, uuids, addresses --------------------------------------------------------------

// The shortest text that reads back equal, without an exponent where people write none.
static int put_real_as_text(cass_param *param, cass_packet *packet)
{
    param_value value;
    if (param_read_value(param, &value) != 0)
        return 1;
    const double size = std::fabs(value.real);
    const std::chars_format form = size == 0 || (size >= 1e-5 && size < 1e16)
                                       ? std::chars_format::fixed
                                       : std::chars_format::scientific;
    char *end = param->scratch + sizeof param->scratch;
    const std::to_chars_result text =
        param->c_type.size == sizeof(SQLREAL)
            ? std::to_chars(param->scratch, end, static_cast<float>(value.real), form)
            : std::to_chars(param->scratch, end, value.real, form);
    pkt_put_long_bytes(packet, param->scratch,
                       static_cast<std::int32_t>(text.ptr - param->scratch));
    return 0;
}

static int put_text(cass_param *param, cass_packet *packet, const cass_type_option *)
{
    return param->c_type.kind == KIND_REAL ? put_real_as_text(param, packet)
                                           : param_put_text(param, packet, SQL_VARCHAR);
}

static int put_blob(cass_param *param, cass_packet *packet, const cass_type_option *)
{
    return param_put_binary(param, packet, SQL_VARBINARY);
}

// With braces round it or without.
static bool is_uuid_length(std::string_view text)
{
    const bool braces = text.starts_with('{') && text.ends_with('}');
    return text.size() == (braces ? 38 : 36);
}

static int put_uuid(cass_param *param, cass_packet *packet, const cass_type_option *)
{
    if (param_is_text(param) && !is_uuid_length(param_text(param)))
        return param_fail(param, STATE_22018, "invalid guid text");
    return param_put_guid(param, packet, SQL_GUID);
}

static int put_inet(cass_param *param, cass_packet *packet, const cass_type_option *)
{
    if (!param_is_text(param))
        return param_fail_source(param, "put_inet");
    const std::string_view text = param_text(param);
    char terminated[INET6_ADDRSTRLEN] = "";
    if (text.size() < sizeof terminated)
        std::memcpy(terminated, text.data(), text.size());
    unsigned char address[16];
    if (inet_pton(AF_INET, terminated, address) == 1)
        pkt_put_long_bytes(packet, address, 4);
    else if (inet_pton(AF_INET6, terminated, address) == 1)
        pkt_put_long_bytes(packet, address, 16);
    else
        return param_fail(param, STATE_22018, "invalid address");
    return 0;
}

// ---- Sources -----------------------------------------------------------------------------------

// Text and bytes are taken as they lie in memory where they go out as they are.
static bool takes_text_unread(const typed_row *row)
{
    return row->writer == put_text || row->writer == put_blob;
}

static int settle_source(cass_param *param, const typed_row *row, bool *null)
{
    *null = false;
    if (param->c_type.kind == KIND_DEFAULT)
        param->c_type = row->native;
    switch (param->c_type.kind) {
    case KIND_NONE:
        return param_fail_source(param, "param_put_typed");
    case KIND_TEXT:
    case KIND_WIDE:
        if (param_settle_length(param, null) != 0)
            return 1;
        return *null || takes_text_unread(row) ? 0 : param_own_text(param);
    case KIND_BINARY:
        return param_settle_length(param, null);
    default:
        *null = !param_load_first(param);
        return 0;
    }
}

int param_put_typed(cass_param *param, cass_packet *packet, const cass_type_option *type)
{
    const typed_row *row = find_row(type);
    bool null;
    if (settle_source(param, row, &null) != 0)
        return 1;
    if (null)
        return param_put_null(packet);
    if (param->c_type.kind != KIND_BINARY)
        return row->writer(param, packet, type);
    if (row->size != 0 && param->length != row->size)
        return param_fail(param, STATE_22003, "not the bytes of a value");
    pkt_put_long_bytes(packet, param->data, static_cast<std::int32_t>(param->length));
    return 0;
}
