// Cell conversion: from the wire to the column's data_storage, and from there to any C type.
#ifndef CORE_CELL_CASS_DATA_H
#define CORE_CELL_CASS_DATA_H

#include "core/wire/cass_pkt.h"

// Precision of a stored numeric that 128 bits cannot hold.
constexpr SQLCHAR NUMERIC_TOO_LARGE = 255;

// The decoder of a CQL option id, or null for a type without one. A decoder reads one cell, length
// first, over what the storage held, and takes exactly its announced length.
// SQL_SUCCESS, or SQL_ERROR with 08S01 (HY001 when memory ran out) posted on the statement and the
// packet's position inside the row. A cell that leaves the frame or has a wrong length for its type
// gives up the page and its paging state, so that the next fetch ends.
cass_cell_decoder cass_cell_decoder_for(const cass_conn *conn, std::int32_t option_id);
// Whether nested values, durations and vectors are read as literals of CQL, and a CUSTOM type by
// what its class stands for; otherwise all of them are bytes.
bool cass_cells_are_literals(const cass_conn *conn);
// Takes the length of a cell and leaves its bytes. As a decoder.
SQLRETURN cass_take_cell_length(cass_stmt *stmt, cass_packet *packet);

// The storage's text or binary buffer with room for `length` bytes and alloc_length set;
// value.bytes is null for a length of 0. 0, or -1 when memory ran out.
int cass_storage_reserve(cass_data_storage *storage, std::int32_t length);

// Converts the cell of a column (from 1; 0 is the bookmark record) to a C type. `buffer_length` in
// bytes. Outputs may be null; application memory is only touched by memcpy. `fields` and
// `afields` are the records of the statement's IRD and ARD. Diagnostics carry the column number.
// SQL_NO_DATA for a column that has been delivered.
SQLRETURN cass_get_data(cass_stmt *stmt, SQLUSMALLINT column_number, std::int32_t target_type,
                        void *target_value, SQLLEN buffer_length, void *strlen_or_ind,
                        void *oct_ptr, cass_field *fields, cass_field *afields);

#endif
