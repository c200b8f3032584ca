// Result columns described: what SQLDescribeCol, SQLColAttribute and their wide forms share.
#ifndef ODBC_SQLDESCRIBECOLWIDE_H
#define ODBC_SQLDESCRIBECOLWIDE_H

#include "odbc/entry_frame.h"
#include "odbc/text_form.h"

// Writes a text result of a description; null is empty. `length` receives the full length whether
// the text was cut or not: applications size their next read by it. True when cut.
bool describe_text_out(const cass_string *text, text_form form, void *buffer, std::int64_t room,
                       std::int64_t *length);

// A text of a record: an owned one, a constant, or the local type name, which may be either. The
// string lives as long as the record and *made; null for none.
enum described_text { TEXT_OWNED, TEXT_CONSTANT, TEXT_LOCAL_NAME };
const cass_string *describe_text(const cass_field *field, described_text kind, std::size_t offset,
                                 cass_constant_text *made);

// Whether the statement has anything to describe; otherwise HY000 is posted.
bool describe_has_result(cass_stmt *stmt, const entry_point &entry);
// The record of a column from 1 to the column count, or the fixed record of the bookmark column
// when bookmarks are in use; null for any other number, with nothing posted.
const cass_field *describe_column(const cass_stmt *stmt, SQLUSMALLINT column_number);

// Where SQLDescribeCol stores; any of the pointers may be null.
struct describe_outputs {
    void *name;
    SQLSMALLINT room;
    SQLSMALLINT *name_length;
    SQLSMALLINT *data_type;
    SQLULEN *column_size;
    SQLSMALLINT *decimal_digits;
    SQLSMALLINT *nullable;
};

SQLRETURN describe_col_entry(SQLHSTMT handle, const entry_point &entry, text_form form,
                             SQLUSMALLINT column_number, const describe_outputs &out);

#endif
