// The fields of a descriptor by identifier: one table for reading and for writing, and a
// descriptor's role.
#ifndef ODBC_SQLGETDESCFIELDWIDE_H
#define ODBC_SQLGETDESCFIELDWIDE_H

#include "odbc/SQLDescribeColWide.h"

// Where a field lives and how wide it is towards the application.
enum desc_field_kind {
    DESC_HEADER_16,  // a 32-bit member of cass_desc, as SQLSMALLINT
    DESC_HEADER_32,  // as SQLINTEGER
    DESC_HEADER_64,  // an SQLULEN or a pointer of cass_desc
    DESC_ALLOC,      // SQL_DESC_ALLOC_TYPE
    DESC_RECORD_16,  // a 32-bit member of cass_field, as SQLSMALLINT
    DESC_RECORD_32,  // as SQLINTEGER
    DESC_RECORD_64,  // an SQLLEN or a pointer of cass_field
    DESC_RECORD_TEXT,
    DESC_RECORD_CONSTANT,    // a text that is one of the driver's constants
    DESC_RECORD_LOCAL_NAME,  // the same, or the class name of a custom type
    DESC_RECORD_UNNAMED,
};

// What SQLSetDescField does with a field, beside the general rules of a record.
enum desc_set_rule {
    SET_STORE,
    SET_STORE_FAIL,      // stored, and the code is a choice of the connection; no diagnostic
    SET_REFUSE,          // HY091
    SET_COUNT,           // resizes; HY016 on an IRD, 07009 for a negative count
    SET_APP_HEADER,      // ARD and APD only, else HY016
    SET_IGNORE,          // SQL_SUCCESS
    SET_IGNORE_NOT_IPD,  // HY091 on an IPD, else as SET_IGNORE
    SET_STORE_NOT_IPD,   // ignored on an IPD
    SET_CONCISE_TYPE,    // stored, then the other type fields follow
    SET_TYPE,            // likewise
    SET_INTERVAL_CODE,   // likewise
    SET_DATA_PTR,        // as SET_STORE_NOT_IPD, then the record is checked
    SET_PARAMETER_TYPE,  // IPD only, else ignored; HY105 for a bad type
    SET_NAME,            // IPD only, else ignored
    SET_UNNAMED,         // IPD only, else ignored; HY092 for anything but SQL_UNNAMED
};

struct desc_identifier {
    SQLSMALLINT id;
    desc_field_kind kind;
    std::size_t offset;  // in cass_desc for a header field, else in cass_field
    desc_set_rule rule;
};

// Null for an unknown identifier.
const desc_identifier *find_desc_identifier(SQLSMALLINT id);

inline bool is_desc_header(const desc_identifier *row)
{
    return row->kind <= DESC_ALLOC;
}

enum desc_role { ROLE_NONE, ROLE_IRD, ROLE_IPD, ROLE_ARD, ROLE_APD };

// Worked out from the statement that the descriptor is linked to; without one it has no role.
desc_role desc_role_of(const cass_desc *desc);
// The record to read, from 0 for the bookmark record to the count; null with the call's result in
// *code: SQL_ERROR with 07009 posted, or SQL_NO_DATA.
const cass_field *desc_readable_record(cass_desc *desc, const entry_point &entry, SQLSMALLINT rec,
                                       SQLRETURN *code);

// The code of a call whose text was cut, behind its 01004.
SQLRETURN desc_cut_code(const cass_desc *desc);

SQLRETURN get_desc_field_entry(SQLHDESC handle, const entry_point &entry, text_form form,
                               SQLSMALLINT rec, SQLSMALLINT field_identifier, void *value,
                               SQLINTEGER buffer_length, SQLINTEGER *string_length);

#endif
