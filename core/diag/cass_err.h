// Diagnostic records of a handle and the SQLSTATE table that they are posted from.
//
// A list is sorted by SQLSTATE, highest first; records of one state stay in the order of posting.
// One process-wide leaf lock guards splicing, clearing and reading of all lists: the transport
// posts on a connection from statement threads, and SQLGetDiagRec runs without a handle lock.
#ifndef CORE_DIAG_CASS_ERR_H
#define CORE_DIAG_CASS_ERR_H

#include "core/record/cass_handles.h"

// Rows of the SQLSTATE table, in its order.
enum cass_state_row {
    STATE_HY000,
    STATE_HY009,
    STATE_HYC00,
    STATE_08001,
    STATE_HY001,
    STATE_08S01,
    STATE_42S01,
    STATE_42S02,
    STATE_42S22,
    STATE_42000,
    STATE_22001,
    STATE_23000,
    STATE_S0000,
    STATE_40001,
    STATE_01000,
    STATE_HY092,
    STATE_07009,
    STATE_HY091,
    STATE_24000,
    STATE_07006,
    STATE_01004,
    STATE_07002,
    STATE_HY096,
    STATE_01S02,
    STATE_HY024,
    STATE_HY011,
    STATE_22003,
    STATE_22018,
    STATE_01S07,
    STATE_HY104,
    STATE_HY010,
    STATE_HY020,
    STATE_HY090,
    STATE_HY019,
    STATE_HYT00,
    STATE_S1015,
    STATE_HY003,
    STATE_01S06,
    STATE_HY106,
    STATE_HY111,
    STATE_07005,
    STATE_HY109,
    STATE_HY107,
    STATE_HYT01,
    STATE_HY017,
    STATE_HY007,
    STATE_HY016,
    STATE_HY105,
    STATE_HY021,
    STATE_S1092,
    STATE_S1000,
    STATE_S1001,
    STATE_S1011,
    STATE_S1009,
    STATE_S1107,
    STATE_S1108,
    STATE_25000,
    STATE_IM008,
    STATE_22012,
    STATE_HY004,
    STATE_21S01,
    STATE_07008,
    STATE_22007,
    STATE_22025,
    STATE_21000,
    STATE_44000,
    STATE_08004,
    STATE_22019,
    STATE_42S11,
    STATE_42S21,
    STATE_42S12,
    STATE_28000,
    STATE_21S02,
    STATE_01003,
    STATE_34000,
    STATE_01001,
    STATE_HY008,
    STATE_22002,
    STATE_22005,
    STATE_3F000,
    STATE_22000,
    STATE_08003,
    STATE_07S01,
    STATE_22008,
    STATE_ROWS
};

struct cass_diag_record {
    std::int32_t native;
    cass_string *state;
    cass_string *text;
    std::int32_t row_number;
    std::int32_t column_number;
    std::int32_t spare;
    cass_diag_record *next;
};

// The row and the column or parameter that a record is about.
struct cass_diag_place {
    std::int32_t row;     // SQL_DIAG_ROW_NUMBER
    std::int32_t column;  // SQL_DIAG_COLUMN_NUMBER
};

// No row is told, and the record is about no column.
constexpr cass_diag_place DIAG_NO_PLACE = {.row = 0, .column = SQL_NO_COLUMN_NUMBER};

// Adds a record. The message is "[Varnholt][Apache Cassandra]", the row's text, and behind ": " the
// formatted part (cass_log_format, so %S and %q are available), cut at 1024 bytes. A null format
// gives the row's text alone. A record that cannot be allocated is dropped. native: 0 but for
// system error codes and a few literals.
// A server's text is a part like any other: applications see what the formatter makes of it,
// "\xNNNN" for a unit beyond ASCII and the dots of a cut text.
void cass_post_error(cass_handle *handle, cass_state_row row, std::int32_t native,
                     const char *format, ...);
// The same with a place.
void cass_post_error_at(cass_handle *handle, cass_state_row row, std::int32_t native,
                        cass_diag_place place, const char *format, ...);
// The same with a column and no row.
template <typename... Parts>
inline void cass_post_error_column(cass_handle *handle, cass_state_row row, std::int32_t native,
                                   std::int32_t column, const char *format, Parts... parts)
{
    cass_post_error_at(handle, row, native, {DIAG_NO_PLACE.row, column}, format, parts...);
}

// HY001 behind an ERROR record "who: failed to allocate memory" of `source`; a statement is marked
// `no_memory`. Gives `code`, what the caller returns then.
int cass_post_no_memory(cass_handle *handle, const char *source, const char *who,
                        int code = SQL_ERROR, int line = __builtin_LINE());

// The state of a reply that makes no sense, and of a request that no frame can hold: both leave the
// connection as it is.
cass_state_row cass_malformed_state(const cass_stmt *stmt);

// Releases all records, whatever the list holds.
void cass_diag_release(cass_handle *handle);

// Empties the list. Costs one test when it is empty, as nearly always.
inline void cass_diag_clear(cass_handle *handle)
{
    shared_put(&handle->diag_cursor, 0);
    if (__atomic_load_n(&handle->diag_records, __ATOMIC_RELAXED) != nullptr) [[unlikely]]
        cass_diag_release(handle);
}

// The lock over all lists, for a reader that keeps a record in hand (cass_diag_get).
extern cass_lock cass_diag_lock;

// Record of 1-based number, or null. The pointer is good until the list changes: hold the lock.
cass_diag_record *cass_diag_get(cass_handle *handle, std::int32_t number);
// Where in a record's text the part begins that was posted with it, behind the driver's name and the
// words of the state; of one that has no such part, where those words begin.
std::int32_t cass_diag_detail(const cass_diag_record *record);
std::int32_t cass_diag_count(cass_handle *handle);
// Moves the records that name no row into a list of their own, in place of what is in it; the list
// becomes those of the handle again, in place of its own; the list is freed.
void cass_diag_take_without_row(cass_handle *handle, cass_diag_record **list);
void cass_diag_give_back(cass_handle *handle, cass_diag_record **list);
void cass_diag_free_list(cass_diag_record **list);
// Gives the records that name no row this one.
void cass_diag_name_row(cass_handle *handle, std::int32_t row);
// Inserts a deep copy of all records of another handle by the ordering rule.
void cass_diag_copy_all(cass_handle *handle, cass_handle *from);
// Inserts a deep copy by the ordering rule.
void cass_diag_copy(cass_handle *handle, const cass_diag_record *record);

#endif
