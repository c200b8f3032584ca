"""Blocks of rows bound by their described size, what does not fit read by SQLGetData: how nanodbc and its like drive a
driver, in the wide form. All values are text."""
import ctypes
from ctypes import byref, c_short, c_ssize_t, c_void_p

from steps import usual_steps

odbc = ctypes.CDLL("libodbc.so.2")
ENV, DBC, STMT = 1, 2, 3
C_WCHAR, NULL_DATA, SUCCESS_WITH_INFO, NO_DATA = -8, -1, 1, 100
ROWS_FETCHED_PTR, ROW_ARRAY_SIZE, DISPLAY_SIZE = 26, 27, 6
BOUND, PIECE = 8192, 100000  # characters of the longest column that is bound; bytes
environment, connection = c_void_p(), c_void_p()


class Refused(Exception):
    pass


def call(kind, function, handle, *arguments):
    code = c_short(getattr(odbc, function)(handle, *arguments)).value
    if code not in (0, SUCCESS_WITH_INFO, NO_DATA):
        state = ctypes.create_string_buffer(6)
        odbc.SQLGetDiagRec(kind, handle, 1, state, None, None, 0, None)
        raise Refused(state.value.decode())
    return code


def wide(text):
    return text.encode("utf-16-le")


def as_text(value):
    if isinstance(value, (bytes, bool)):
        return value.hex() if isinstance(value, bytes) else str(int(value))
    return value if value is None else str(value)


def read_in_pieces(statement, column):
    piece, length, cell, code = ctypes.create_string_buffer(PIECE), c_ssize_t(), bytearray(), SUCCESS_WITH_INFO
    while code == SUCCESS_WITH_INFO:
        code = call(STMT, "SQLGetData", statement, column, C_WCHAR, piece, c_ssize_t(PIECE), byref(length))
        cell += piece.raw[:PIECE - 2 if code == SUCCESS_WITH_INFO else max(length.value, 0)]
    return None if length.value == NULL_DATA else cell.decode("utf-16-le")


def rows(statement):
    """Columns that are bound are read again where a cell did not fit, which wants a row at once; longer ones are read in
    pieces. Of short ones alone two rows come at once."""
    count, fetched, size, sizes, columns = c_short(), c_ssize_t(), c_ssize_t(), [], []
    call(STMT, "SQLNumResultCols", statement, byref(count))
    for place in range(1, count.value + 1):
        call(STMT, "SQLColAttribute", statement, place, DISPLAY_SIZE, None, 0, None, byref(size))
        sizes.append(size.value)
    at_once = 2 if sizes and max(sizes) < 100 else 1
    call(STMT, "SQLSetStmtAttr", statement, ROW_ARRAY_SIZE, c_void_p(at_once), 0)
    call(STMT, "SQLSetStmtAttr", statement, ROWS_FETCHED_PTR, byref(fetched), 0)
    for place, width in enumerate([2 * size + 2 for size in sizes], 1):
        if width > 2 * BOUND:
            columns.append((0, None, [0]))  # which no cell fits into
            continue
        columns.append((width, ctypes.create_string_buffer(width * at_once), (c_ssize_t * at_once)()))
        call(STMT, "SQLBindCol", statement, place, C_WCHAR, columns[-1][1], c_ssize_t(width), columns[-1][2])
    while sizes and call(STMT, "SQLFetchScroll", statement, 1, c_ssize_t(0)) != NO_DATA:
        for row in range(fetched.value):
            cells = []
            for place, (width, buffer, lengths) in enumerate(columns, 1):
                if lengths[row] > width - 2:
                    cells.append(read_in_pieces(statement, place))
                else:
                    cell = buffer.raw[row * width:row * width + max(lengths[row], 0)]
                    cells.append(None if lengths[row] == NULL_DATA else cell.decode("utf-16-le"))
            yield cells


def query(text, *parameters):
    statement, kept = c_void_p(), []
    call(DBC, "SQLAllocStmt", connection, byref(statement))
    try:
        call(STMT, "SQLPrepareW", statement, wide(text), len(wide(text)) // 2)
        for place, value in enumerate(map(as_text, parameters), 1):
            kind, size, digits, data = c_short(), c_ssize_t(), c_short(), wide(value or "")
            call(STMT, "SQLDescribeParam", statement, place, byref(kind), byref(size), byref(digits), None)
            kept.append((data, c_ssize_t(NULL_DATA if value is None else len(data))))
            call(STMT, "SQLBindParameter", statement, place, 1, C_WCHAR, kind, size, digits, data, c_ssize_t(0),
                 byref(kept[-1][1]))
        call(STMT, "SQLExecute", statement)
        return list(rows(statement))
    finally:
        odbc.SQLFreeHandle(STMT, statement)


odbc.SQLAllocHandle(ENV, None, byref(environment))
odbc.SQLSetEnvAttr(environment, 200, c_void_p(380), 0)  # SQL_OV_ODBC3_80
odbc.SQLAllocHandle(DBC, environment, byref(connection))
call(DBC, "SQLDriverConnectW", connection, None, wide("DSN=clients"), len("DSN=clients"), None, 0, None, 0)
usual_steps(query, Refused, shown=as_text)
