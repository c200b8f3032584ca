// SQLColAttribute and its ODBC 2 name SQLColAttributes, in both forms.
#ifndef ODBC_SQLCOLATTRIBUTEWIDE_H
#define ODBC_SQLCOLATTRIBUTEWIDE_H

#include "odbc/SQLDescribeColWide.h"

// Arguments as the application gave them; any of the pointers may be null.
struct col_attribute_call {
    SQLUSMALLINT column_number;
    SQLUSMALLINT field_identifier;
    void *character_attribute;
    SQLSMALLINT buffer_length;
    SQLSMALLINT *string_length;
    SQLLEN *numeric_attribute;
};

// odbc2_types: the type of a column is answered in the numbers of the connection's ODBC level.
SQLRETURN col_attribute_entry(SQLHSTMT handle, const entry_point &entry, text_form form,
                              bool odbc2_types, const col_attribute_call &call);

#endif
