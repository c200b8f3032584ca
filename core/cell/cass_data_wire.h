// Cells that are kept as the wire's bytes, CELL_WIRE: values that no record of ODBC holds. They are
// read as text, which is made once, when it is first asked for.
#ifndef CORE_CELL_CASS_DATA_WIRE_H
#define CORE_CELL_CASS_DATA_WIRE_H

#include <string_view>

#include "core/cell/cass_data_internal.h"

// A decoder. A cell of no bytes is SQL NULL.
SQLRETURN decode_wire(cass_stmt *stmt, cass_packet *packet, cass_field *field);

// What the text of a cell that is a number says, all of it; 07006 for other cells.
SQLRETURN cell_wire_number(const cell_request &request, std::string_view *text);
// A cell of any kind that is kept so and is a timestamp, or a date when `with_date`; 07006 for
// other cells, 22008 where the year does not go into the struct and is asked for.
SQLRETURN cell_wire_timestamp(const cell_request &request, bool with_date,
                              SQL_TIMESTAMP_STRUCT *timestamp);

// What is left of the cell's text, and of its bytes where it is a nested value or a duration. A
// read of one from where a read of the other has ended begins at the head. SQL_ERROR with HY001, or
// with 22003 or 22008 for a value that has no text or no bytes to give.
SQLRETURN cell_wire_text(const cell_request &request, cell_piece *rest);
SQLRETURN cell_wire_bytes(const cell_request &request, cell_piece *rest);

#endif
