// Cell conversion, inside: the request that every member of the family takes, the members by their
// target, and the outcomes that they share. When a member runs, the dispatch in cass_data.cpp has
// already tested for SQL NULL and for a numeric too large to hold.
#ifndef CORE_CELL_CASS_DATA_INTERNAL_H
#define CORE_CELL_CASS_DATA_INTERNAL_H

#include <string_view>

#include "core/cell/cass_data.h"
#include "core/diag/cass_err.h"
#include "core/diag/cass_text_out.h"
#include "core/log/cass_log.h"
#include "core/wire/cql_type.h"
#include "support/numtext.h"
#include "support/structtext.h"

struct cell_request;

// A target of the family, by the words of its log records.
struct cell_member {
    SQLRETURN (*convert)(const cell_request &request);
    const char *word;           // "getting %s from %d"
    const char *finished_word;  // "finished getting %s return=%r"
    const char *invalid_word;   // "invalid get_%s on type %d"
};

// One cell on its way to one C type. Target and length pointers are application memory: they may be
// null or unaligned.
struct cell_request {
    cass_stmt *stmt;
    cass_field *field;
    const cell_member *member;
    void *target;          // null: only the length is wanted
    SQLLEN buffer_length;  // bytes at target; only text and binary targets look at it
    void *indicator;       // SQLLEN
    void *octets;          // SQLLEN
    std::int32_t column;   // for the diagnostics
    bool logged;           // the log is on: asked once for a row or a call
    bool bound;            // of a bound column: nothing reads on where it was cut
};

// A request whose record of the statement's IRD is known: cass_get_data behind its own log records.
// Resolves the target type and finds the member; settles whether the column is delivered.
SQLRETURN cell_get(cell_request *request, std::int32_t target_type);
// The log records of a call of cass_get_data, for whoever calls cell_get with the log on.
[[gnu::cold]] void cell_log_request(const cell_request &request, std::int32_t target_type,
                                    const cass_field *fields, const cass_field *afields);

// ---- The members: an ODBC code, with the diagnostics posted ------------------------------------

SQLRETURN get_char(const cell_request &request);
SQLRETURN get_wchar(const cell_request &request);
SQLRETURN get_binary(const cell_request &request);
SQLRETURN get_numeric(const cell_request &request);
SQLRETURN get_sbigint(const cell_request &request);
SQLRETURN get_ubigint(const cell_request &request);
SQLRETURN get_slong(const cell_request &request);
SQLRETURN get_ulong(const cell_request &request);
SQLRETURN get_sshort(const cell_request &request);
SQLRETURN get_ushort(const cell_request &request);
SQLRETURN get_stiny(const cell_request &request);
SQLRETURN get_utiny(const cell_request &request);
SQLRETURN get_bit(const cell_request &request);
SQLRETURN get_double(const cell_request &request);
SQLRETURN get_float(const cell_request &request);
SQLRETURN get_date(const cell_request &request);
SQLRETURN get_timep(const cell_request &request);
SQLRETURN get_timestamp(const cell_request &request);
SQLRETURN get_guid(const cell_request &request);

// ---- Lengths and values out --------------------------------------------------------------------

// The column is one of times alone, which are stored as timestamps without a date.
inline bool cell_is_time(const cell_request &request)
{
    const std::int32_t type = request.field->consise_type;
    if (type == SQL_TYPE_TIMESTAMP) [[likely]]
        return false;
    return type == SQL_TYPE_TIME || type == SQL_TIME ||
           (type == SQL_WVARCHAR && request.field->cql_type == CQL_TIME);
}
// Characters of a timestamp or time as ANSI text has it.
int cell_format_timestamp(char *out, const cell_request &request);
// "HH:MM:SS", with nine digits of the second where it has a fraction. Characters.
int cell_format_time(char *out, const SQL_TIMESTAMP_STRUCT &time);

// The length goes through both pointers.
inline void cell_store_length(const cell_request &request, SQLLEN length)
{
    cass_store(request.indicator, length);
    cass_store(request.octets, length);
}

// A value of fixed size and its length.
inline void cell_store_value(const cell_request &request, const void *value, std::size_t size)
{
    cell_store_length(request, static_cast<SQLLEN>(size));
    if (request.target != nullptr)
        std::memcpy(request.target, value, size);
}

// A text cell without the blanks round it, as it was sent: ASCII and UTF-8.
std::string_view cell_trimmed_text(const cell_request &request);

// ---- Shared outcomes, out of line: none of them is on the hot road -----------------------------

// SQL NULL: SQL_NULL_DATA through the indicator and 0 through the octet length; SQL_SUCCESS.
// Without an indicator 22002 and SQL_SUCCESS_WITH_INFO.
SQLRETURN cell_is_null(const cell_request &request);
// A piece that was cut and has taken `used` bytes of the cell: 01004 and SQL_SUCCESS_WITH_INFO, or
// HY090 and SQL_ERROR for a text buffer that had room for none.
[[gnu::cold]] SQLRETURN cell_cut(const cell_request &request, SQLLEN used);
// 01004, SQL_SUCCESS_WITH_INFO.
[[gnu::cold]] SQLRETURN cell_truncated(const cell_request &request);
// 01S07, SQL_SUCCESS_WITH_INFO; the column is closed.
[[gnu::cold]] SQLRETURN cell_fraction_lost(const cell_request &request);
// 22003, SQL_ERROR, announced in the log by `words` (null: the driver's own), which may take the
// value.
[[gnu::cold]] SQLRETURN cell_out_of_range(const cell_request &request, const char *words,
                                          int value);
// 22008, SQL_ERROR.
[[gnu::cold]] SQLRETURN cell_no_such_date(const cell_request &request);
// 22018, SQL_ERROR.
[[gnu::cold]] SQLRETURN cell_not_numeric(const cell_request &request);
[[gnu::cold]] SQLRETURN cell_not_read(const cell_request &request, const char *words);
// 07006, SQL_ERROR; a storage type that no decoder makes has its own words in the log.
[[gnu::cold]] SQLRETURN cell_not_convertible(const cell_request &request);

// ---- Pieces ------------------------------------------------------------------------------------

// What is left of a cell, and how much of the target it takes.
struct cell_piece {
    const unsigned char *bytes;
    SQLLEN count;  // of the bytes
    SQLLEN units;  // of the target, for all of them
};

// How one target takes a piece. What the defaults say is plain ANSI text; a rule that says
// otherwise says why.
struct cell_rule {
    // Writes that many units of the target; bytes of the piece that they used up.
    SQLLEN (*write)(unsigned char *target, const cell_piece &piece, SQLLEN units);
    SQLLEN unit = 1;         // bytes of a unit of the target
    SQLLEN group = 1;        // units that are only written together
    SQLLEN margin = 1;       // bytes that must be free behind a value for it to be whole
    SQLLEN kept = 1;         // units of the buffer that a cut piece leaves to the terminator
    bool terminated = true;  // by a unit of 0, where there is room for one
    bool piecewise = true;   // read on from here; otherwise what does not fit is lost
    bool probe_warns = false;
    bool last_byte_cleared = false;  // of a buffer with a cut piece
    // Choices of the connection's conduct, by the function that reads them; null: not asked.
    bool (*cut_fills_buffer)(const cass_conn *conn) = nullptr;
    bool (*exact_fit_is_cut)(const cass_conn *conn) = nullptr;
    bool (*length_is_undoubled)(const cass_conn *conn) = nullptr;
};

inline bool cell_choice(const cell_request &request, bool (*choice)(const cass_conn *conn))
{
    return choice != nullptr && choice(stmt_conn(request.stmt));
}

// The bytes that an application is told are left.
inline SQLLEN cell_length_told(const cell_request &request, const cell_piece &piece,
                               const cell_rule &rule)
{
    if (!cell_choice(request, rule.length_is_undoubled))
        return rule.unit * piece.units;
    const SQLLEN told = piece.units / 2 - request.field->data_storage.offset;
    return told > 0 ? told : 0;  // below 0 would read as SQL_NULL_DATA
}

// Tells the length and moves as much of the piece as the buffer takes. Without a buffer only the
// length is told; with a buffer length of exactly 0, which asks how much there is, a piece that
// could be read on gives SQL_SUCCESS_WITH_INFO without a record, so that its column stays open.
// Inlined, so that a rule costs nothing.
[[gnu::always_inline]] inline SQLRETURN cell_deliver(const cell_request &request,
                                                     const cell_piece &piece, const cell_rule &rule)
{
    cell_store_length(request, cell_length_told(request, piece, rule));
    if (rule.probe_warns && request.buffer_length == 0)
        return cell_truncated(request);
    if (request.target == nullptr || request.buffer_length < 1) [[unlikely]]
        return rule.piecewise && request.buffer_length == 0 && piece.units > 0
                   ? SQL_SUCCESS_WITH_INFO
                   : SQL_SUCCESS;

    auto *target = static_cast<unsigned char *>(request.target);
    const SQLLEN room = request.buffer_length / rule.unit;
    const SQLLEN needed = rule.unit * piece.units + rule.margin;
    const bool cut_by_choice =
        needed == request.buffer_length && cell_choice(request, rule.exact_fit_is_cut);
    const bool whole = needed <= request.buffer_length && !cut_by_choice;
    SQLLEN taken = piece.units;
    if (!whole) {
        const SQLLEN kept = cell_choice(request, rule.cut_fills_buffer) ? 0 : rule.kept;
        const SQLLEN most = room > kept ? (room - kept) / rule.group * rule.group : 0;
        taken = taken < most ? taken : most;
    }
    const SQLLEN used = rule.write(target, piece, taken);
    if (rule.piecewise)
        request.field->data_storage.offset += static_cast<std::int32_t>(used);
    if (rule.terminated && taken < room)
        std::memset(target + rule.unit * taken, 0, static_cast<std::size_t>(rule.unit));
    if (whole) [[likely]]
        return SQL_SUCCESS;
    if (rule.last_byte_cleared)
        target[request.buffer_length - 1] = 0;
    return cell_cut(request, used);
}

// What is left of a text or binary cell, for a target that takes `units_per_byte` for each byte.
inline cell_piece cell_rest(const cell_request &request, SQLLEN units_per_byte)
{
    const cass_data_storage &cell = request.field->data_storage;
    const SQLLEN left = cell.alloc_length - cell.offset;
    return {cell.value.bytes + cell.offset, left, units_per_byte * left};
}

// A formatted cell, of characters that are a unit each.
inline cell_piece cell_formatted(const char *text, int length)
{
    return {reinterpret_cast<const unsigned char *>(text), length, length};
}

// A rule's `write` for targets that take the bytes as they are.
inline SQLLEN cell_copy_bytes(unsigned char *target, const cell_piece &piece, SQLLEN units)
{
    if (units > 0)  // an empty cell has no bytes to point to
        std::memcpy(target, piece.bytes, static_cast<std::size_t>(units));
    return units;
}

// ---- Text of a cell ----------------------------------------------------------------------------

// Room for any formatted cell.
constexpr int CELL_TEXT_ROOM = 256;

// Text of a fixed-width cell other than a timestamp, without a terminator: characters, or -1 for a
// storage type that has none. Decimals are padded with zeros to their scale.
int cell_format(const cell_request &request, char *out);

// Whether a formatted cell cannot be handed over whole and at once.
inline bool cell_is_split(const cell_request &request, const cell_piece &piece,
                          const cell_rule &rule)
{
    return request.field->data_storage.offset != 0 || request.target == nullptr ||
           rule.unit * piece.units + rule.unit > request.buffer_length;
}
// Delivers one that can, as cell_deliver would.
[[gnu::always_inline]] inline SQLRETURN
cell_deliver_whole(const cell_request &request, const cell_piece &piece, const cell_rule &rule)
{
    auto *target = static_cast<unsigned char *>(request.target);
    cell_store_length(request, rule.unit * piece.units);
    rule.write(target, piece, piece.units);
    std::memset(target + rule.unit * piece.units, 0, static_cast<std::size_t>(rule.unit));
    return SQL_SUCCESS;
}
// Of such a cell, whether what its buffer does not take is lost; otherwise what is left of it,
// where a piece may end in it.
bool cell_loses_rest(const cell_request &request);
cell_piece cell_formatted_rest(const cell_request &request, const char *text, int length);
// Whether a bound column's buffer, in units of `unit` bytes, cannot hold what must not be cut: all
// but the fraction of a number or a second.
bool cell_is_cut_too_short(const cell_request &request, const char *text, int length, SQLLEN unit);

// What a scan of a text cell for a number found.
struct cell_number {
    char text[128];  // the number's characters, leading white space included; terminated
    int digits;      // digits counted
    bool fraction;   // some of them behind the point
};

// ---- Exact numbers -----------------------------------------------------------------------------

// Whether numbers of texts, decimals and numerics are converted by the functions below. These post
// what goes wrong: 22018 for a text that is no number, 22003 for what the target cannot hold.
bool cell_is_converted_exactly(const cell_request &request);
// The whole part of a number from -least to most, and whether there is more of it.
SQLRETURN cell_exact_integer(const cell_request &request, std::uint64_t most, std::uint64_t least,
                             std::int64_t *value, bool *fraction);
SQLRETURN cell_exact_double(const cell_request &request, double *value);
// Stores the numeric, in the precision and scale that the application has set or the column has;
// 01S07 where digits are lost behind them.
SQLRETURN cell_exact_numeric(const cell_request &request);

// Scans the request's text cell. False when it is no plain decimal number.
bool cell_scan_number(const cell_request &request, cell_number *number);

#endif
