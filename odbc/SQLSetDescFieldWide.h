// SQLSetDescField in both forms.
#ifndef ODBC_SQLSETDESCFIELDWIDE_H
#define ODBC_SQLSETDESCFIELDWIDE_H

#include "odbc/SQLGetDescFieldWide.h"

// The handle that a failure to grow is posted on: the statement, or the descriptor without one.
cass_handle *desc_failure_handle(cass_desc *desc);

// The count of a name is in bytes in both forms, or SQL_NTS.
SQLRETURN set_desc_field_entry(SQLHDESC handle, const entry_point &entry, text_form form,
                               SQLSMALLINT rec, SQLSMALLINT field_identifier, void *value,
                               SQLINTEGER buffer_length);

#endif
