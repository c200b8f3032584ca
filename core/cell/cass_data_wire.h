// Cells that are kept as the wire's bytes, CELL_WIRE: values that no record of ODBC holds. They are
// read as text, which is made once, when it is first asked for.
#ifndef CORE_CELL_CASS_DATA_WIRE_H
#define CORE_CELL_CASS_DATA_WIRE_H

#include "core/cell/cass_data_internal.h"

// A decoder. A cell of no bytes is SQL NULL.
SQLRETURN decode_wire(cass_stmt *stmt, cass_packet *packet, cass_field *field);

// What is left of the cell's text, and of its bytes where it is a nested value or a duration. A
// read of one from where a read of the other has ended begins at the head. SQL_ERROR with HY001, or
// with 22003 or 22008 for a value that has no text or no bytes to give.
SQLRETURN cell_wire_text(const cell_request &request, cell_piece *rest);
SQLRETURN cell_wire_bytes(const cell_request &request, cell_piece *rest);

#endif
