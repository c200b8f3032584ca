// Parameter encoding, inside: one parameter of the set in work, what its C type is made of, and the
// writers of the CQL values: one for each family of SQL types, and one for each of CQL types.
//
// All give 0, or 1 with the failure posted, naming the parameter. Application memory is only read
// by memcpy, within its length and its C type.
#ifndef CORE_PARAMETER_CASS_PARAM_INTERNAL_H
#define CORE_PARAMETER_CASS_PARAM_INTERNAL_H

#include <string_view>

#include "core/diag/cass_err.h"
#include "core/log/cass_log.h"
#include "core/parameter/cass_param.h"
#include "core/wire/cql_type.h"
#include "support/numeric.h"

// Characters of a text that a conversion reads; longer ones are cut.
constexpr int PARAM_TEXT_LIMIT = 127;

enum param_kind : std::uint8_t {
    KIND_NONE,  // no C type that can be sent
    KIND_SIGNED,
    KIND_UNSIGNED,
    KIND_BIT,
    KIND_REAL,
    KIND_NUMERIC,
    KIND_GUID,
    KIND_DATE,
    KIND_TIME,
    KIND_TIMESTAMP,
    KIND_TEXT,  // bytes
    KIND_WIDE,  // SQLWCHAR units
    KIND_BINARY,
    KIND_DEFAULT,  // SQL_C_DEFAULT: whatever the target's native form is
};

// What a C type is: its family and its bytes in memory, 0 for the types that have a length.
struct param_c_type {
    param_kind kind;
    std::uint8_t size;
};

// One parameter of the set in work.
struct cass_param {
    cass_stmt *stmt;
    const cass_field *field;  // record of the APD
    std::int32_t index;       // from 0
    param_c_type c_type;
    std::int32_t precision;  // these three with the IPD's values where the APD has 0
    std::int32_t scale;
    SQLLEN octet_length;
    bool by_column;             // the column's type decides
    bool at_exec;               // its value is in the field's put_data
    bool has_length;            // a length or indicator element, or a chunk, tells the length
    SQLLEN length;              // what it tells
    const unsigned char *data;  // element, chunk or joined chunks
    void *owned;                // block that the getter made; freed when the value is written
    char scratch[NUMERIC_TEXT_ROOM];
};

// ---- Data and failures (cass_param.cpp) --------------------------------------------------------

// Number of the parameter in texts and diagnostics.
inline std::int32_t param_number(const cass_param *param)
{
    return param->index + 1;
}

// Posts the state on the statement with the parameter's number, behind `reason` in the log unless
// the caller has logged; 1.
int param_fail(const cass_param *param, cass_state_row row, const char *reason = nullptr);
// 07006 for a C type that `getter` cannot convert.
int param_fail_source(const cass_param *param, const char *getter);

// Readies the data of a fixed-size target: of data at execution the first chunk counts. False when
// that makes the value a null.
bool param_load_first(cass_param *param);
// Readies the data of a text or binary target, chunks joined. *length is -1 for a null, else 0.
int param_load_joined(cass_param *param, std::int32_t *length);
// Copies a fixed-size source of `size` bytes. HY090 when the chunk is shorter.
int param_copy_fixed(const cass_param *param, void *value, std::size_t size);

// ---- Texts and bytes (cass_param_text.cpp) -----------------------------------------------------

// Bytes of a text source that goes out whole, and of a binary source; -1 for a null. 07006 for
// binary without a length.
int param_text_length(const cass_param *param, int unit_size, std::int32_t *length);
int param_binary_length(const cass_param *param, std::int64_t *length);
// The text source narrowed to low bytes, terminated, in scratch; cut at PARAM_TEXT_LIMIT. *null
// tells that its length element makes it a null.
int param_narrow_text(cass_param *param, bool *null);
// Finds out where a text or binary source lies and how long it is, chunks joined; a 0 counted at
// the end of a text goes. *null tells that there is none.
int param_settle_length(cass_param *param, bool *null);
// Copies a settled text, wide text as UTF-8, into memory of the parameter's own, without blanks at
// its ends; KIND_TEXT then. 22018 for half a surrogate pair.
int param_own_text(cass_param *param);
// A binary source as the memory image of a value: copied when its length is `size`; otherwise 22003
// with `complaint` ("Incorrect length for ... %d") in the log.
int param_copy_image(const cass_param *param, void *value, std::size_t size, const char *complaint,
                     bool *null);

// ---- Numbers (cass_param_number.cpp) -----------------------------------------------------------

// One of the number families as it lies in memory, widened; KIND_NUMERIC leaves `numeric`.
struct param_value {
    std::int64_t integer;  // KIND_SIGNED, KIND_BIT; the same bits for KIND_UNSIGNED
    double real;
    SQL_NUMERIC_STRUCT numeric;
};
int param_read_value(const cass_param *param, param_value *value);

// ---- Writers: the value of a target type into the request --------------------------------------

int param_put_integer(cass_param *param, cass_packet *packet, std::int32_t target);
int param_put_bigint(cass_param *param, cass_packet *packet, std::int32_t target);
int param_put_double(cass_param *param, cass_packet *packet, std::int32_t target);
int param_put_float(cass_param *param, cass_packet *packet, std::int32_t target);
int param_put_decimal(cass_param *param, cass_packet *packet, std::int32_t target);
int param_put_text(cass_param *param, cass_packet *packet, std::int32_t target);
int param_put_binary(cass_param *param, cass_packet *packet, std::int32_t target);
int param_put_guid(cass_param *param, cass_packet *packet, std::int32_t target);
int param_put_date(cass_param *param, cass_packet *packet, std::int32_t target);
int param_put_time(cass_param *param, cass_packet *packet, std::int32_t target);
int param_put_timestamp(cass_param *param, cass_packet *packet, std::int32_t target);

// ---- Writers by the column's type ----------------------------------------------------------------
// Text that does not read is 22018, a value beyond the type 22003, a struct that is no date or time
// 22007, and 07006 where there is no conversion. What is lost of a text is 22001, of a number it is
// cut.

// Whether there is a writer for the type.
bool param_has_writer(const cass_type_option *type);
// The value of any C type as `type`, which has a writer. A binary source is the value's bytes on
// the wire; of a type of a fixed size 22003 when it has another.
int param_put_typed(cass_param *param, cass_packet *packet, const cass_type_option *type);

// What param_put_typed calls once the source is settled: no null, no SQL_C_DEFAULT, no binary; text
// is KIND_TEXT in memory of the parameter's own, without blanks at its ends.
using typed_writer = int (*)(cass_param *param, cass_packet *packet, const cass_type_option *type);
int typed_put_integer(cass_param *param, cass_packet *packet, const cass_type_option *type);
int typed_put_boolean(cass_param *param, cass_packet *packet, const cass_type_option *type);
int typed_put_varint(cass_param *param, cass_packet *packet, const cass_type_option *type);
int typed_put_decimal(cass_param *param, cass_packet *packet, const cass_type_option *type);
int typed_put_real(cass_param *param, cass_packet *packet, const cass_type_option *type);
int typed_put_date(cass_param *param, cass_packet *packet, const cass_type_option *type);
int typed_put_time(cass_param *param, cass_packet *packet, const cass_type_option *type);
int typed_put_timestamp(cass_param *param, cass_packet *packet, const cass_type_option *type);
int typed_put_duration(cass_param *param, cass_packet *packet, const cass_type_option *type);
// A literal of a nested type. 07006 where a type in it is not known.
int typed_put_literal(cass_param *param, cass_packet *packet, const cass_type_option *type);

// The text of a settled source.
inline std::string_view param_text(const cass_param *param)
{
    return {reinterpret_cast<const char *>(param->data), static_cast<std::size_t>(param->length)};
}

// The same, to be changed: it lies in memory of the parameter's own.
inline char *param_own_characters(const cass_param *param)
{
    return const_cast<char *>(param_text(param).data());
}

inline bool param_is_text(const cass_param *param)
{
    return param->c_type.kind == KIND_TEXT;
}

// A value of up to 8 bytes: length, then the low `size` bytes of `value`, big-endian.
inline void param_put_fixed(cass_packet *packet, std::uint64_t value, int size)
{
    unsigned char out[12];
    store_be32(out, static_cast<std::uint32_t>(size));
    store_be64(out + 4, value << (64 - 8 * size));
    pkt_put_bytes(packet, out, 4 + size);
}

inline int param_put_null(cass_packet *packet)
{
    pkt_put_int(packet, -1);
    return 0;
}

#endif
