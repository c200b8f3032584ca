// SQLGetDescRec in both forms.
#ifndef ODBC_SQLGETDESCRECWIDE_H
#define ODBC_SQLGETDESCRECWIDE_H

#include "odbc/SQLDescribeColWide.h"

// Where SQLGetDescRec stores; any of the pointers may be null.
struct desc_rec_outputs {
    void *name;
    SQLSMALLINT room;
    SQLSMALLINT *string_length;
    SQLSMALLINT *type;
    SQLSMALLINT *sub_type;
    SQLLEN *length;
    SQLSMALLINT *precision;
    SQLSMALLINT *scale;
    SQLSMALLINT *nullable;
};

SQLRETURN get_desc_rec_entry(SQLHDESC handle, const entry_point &entry, text_form form,
                             SQLSMALLINT rec, const desc_rec_outputs &out);

#endif
