// SQLGetFunctions: which functions the driver claims.
#include <algorithm>
#include <cstring>

#include "odbc/entry_frame.h"

static constexpr char log_source[] = "SQLGetFunctions.c";
static constexpr entry_point entry = {.name = "SQLGetFunctions", .source = log_source};

// The Driver Manager calls nothing that is not claimed here.
static constexpr SQLUSMALLINT claimed_functions[] = {
    SQL_API_SQLALLOCHANDLE,      SQL_API_SQLBINDCOL,          SQL_API_SQLBROWSECONNECT,
    SQL_API_SQLBINDPARAMETER,    SQL_API_SQLBULKOPERATIONS,   SQL_API_SQLCANCEL,
    SQL_API_SQLCLOSECURSOR,      SQL_API_SQLCOLATTRIBUTE,     SQL_API_SQLCOLUMNPRIVILEGES,
    SQL_API_SQLCOLUMNS,          SQL_API_SQLCONNECT,          SQL_API_SQLCOPYDESC,
    SQL_API_SQLBROWSECONNECT,    SQL_API_SQLDRIVERCONNECT,    SQL_API_SQLDESCRIBECOL,
    SQL_API_SQLDESCRIBEPARAM,    SQL_API_SQLDISCONNECT,       SQL_API_SQLENDTRAN,
    SQL_API_SQLEXECDIRECT,       SQL_API_SQLEXECUTE,          SQL_API_SQLFETCH,
    SQL_API_SQLFETCHSCROLL,      SQL_API_SQLFOREIGNKEYS,      SQL_API_SQLFREEHANDLE,
    SQL_API_SQLFREESTMT,         SQL_API_SQLGETCONNECTATTR,   SQL_API_SQLGETCURSORNAME,
    SQL_API_SQLGETDATA,          SQL_API_SQLGETDESCFIELD,     SQL_API_SQLGETDESCREC,
    SQL_API_SQLGETDIAGFIELD,     SQL_API_SQLGETDIAGREC,       SQL_API_SQLGETENVATTR,
    SQL_API_SQLGETFUNCTIONS,     SQL_API_SQLGETINFO,          SQL_API_SQLGETSTMTATTR,
    SQL_API_SQLGETTYPEINFO,      SQL_API_SQLMORERESULTS,      SQL_API_SQLNATIVESQL,
    SQL_API_SQLNUMPARAMS,        SQL_API_SQLNUMRESULTCOLS,    SQL_API_SQLPROCEDURES,
    SQL_API_SQLPROCEDURECOLUMNS, SQL_API_SQLPARAMDATA,        SQL_API_SQLPUTDATA,
    SQL_API_SQLPREPARE,          SQL_API_SQLPRIMARYKEYS,      SQL_API_SQLROWCOUNT,
    SQL_API_SQLSETDESCFIELD,     SQL_API_SQLSETDESCREC,       SQL_API_SQLSETCONNECTATTR,
    SQL_API_SQLSETCURSORNAME,    SQL_API_SQLSETENVATTR,       SQL_API_SQLSETSTMTATTR,
    SQL_API_SQLSETPOS,           SQL_API_SQLSPECIALCOLUMNS,   SQL_API_SQLSTATISTICS,
    SQL_API_SQLTABLEPRIVILEGES,  SQL_API_SQLTABLES,           SQL_API_SQLALLOCENV,
    SQL_API_SQLALLOCCONNECT,     SQL_API_SQLALLOCSTMT,        SQL_API_SQLFREEENV,
    SQL_API_SQLFREECONNECT,      SQL_API_SQLBINDPARAM,        SQL_API_SQLERROR,
    SQL_API_SQLEXTENDEDFETCH,    SQL_API_SQLGETCONNECTOPTION, SQL_API_SQLGETSTMTOPTION,
    SQL_API_SQLSETCONNECTOPTION, SQL_API_SQLPARAMOPTIONS,     SQL_API_SQLSETPARAM,
    SQL_API_SQLSETSCROLLOPTIONS, SQL_API_SQLSETSTMTOPTION,    SQL_API_SQLTRANSACT,
};

// Of these, what is not exported: the Driver Manager maps most of it onto other calls.
static constexpr SQLUSMALLINT not_exported[] = {
    SQL_API_SQLBROWSECONNECT, SQL_API_SQLBULKOPERATIONS, SQL_API_SQLCOPYDESC,
    SQL_API_SQLSETPOS,        SQL_API_SQLBINDPARAM,      SQL_API_SQLERROR,
    SQL_API_SQLPARAMOPTIONS,  SQL_API_SQLSETPARAM,       SQL_API_SQLSETSCROLLOPTIONS,
    SQL_API_SQLTRANSACT,
};

static constexpr int ODBC2_CODES = 100;  // size of the word array of SQL_API_ALL_FUNCTIONS

static bool functions_not_exported_are_claimed(const cass_conn *conn)
{
    return conn->conduct->functions_not_exported_are_claimed;
}

static bool is_claimed(const cass_conn *conn, SQLUSMALLINT code)
{
    return std::ranges::count(claimed_functions, code) > 0 &&
           (functions_not_exported_are_claimed(conn) ||
            std::ranges::count(not_exported, code) == 0);
}

// One bit for each code.
static void answer_odbc3(const cass_conn *conn, SQLUSMALLINT *supported)
{
    SQLUSMALLINT words[SQL_API_ODBC3_ALL_FUNCTIONS_SIZE] = {};
    for (const SQLUSMALLINT code : claimed_functions) {
        if (is_claimed(conn, code))
            words[code >> 4] = static_cast<SQLUSMALLINT>(words[code >> 4] | 1 << (code & 15));
    }
    std::memcpy(supported, words, sizeof words);
}

// One word for each code below 100.
static void answer_odbc2(const cass_conn *conn, SQLUSMALLINT *supported)
{
    SQLUSMALLINT words[ODBC2_CODES] = {};
    for (const SQLUSMALLINT code : claimed_functions) {
        if (code < ODBC2_CODES && is_claimed(conn, code))
            words[code] = SQL_TRUE;
    }
    std::memcpy(supported, words, sizeof words);
}

static SQLRETURN get_functions(const cass_conn *conn, SQLUSMALLINT function_id,
                               SQLUSMALLINT *supported)
{
    if (supported == nullptr)
        return SQL_SUCCESS;
    if (function_id == SQL_API_ODBC3_ALL_FUNCTIONS) {
        answer_odbc3(conn, supported);
    } else if (function_id == SQL_API_ALL_FUNCTIONS) {
        answer_odbc2(conn, supported);
    } else {
        const SQLUSMALLINT answer = is_claimed(conn, function_id) ? SQL_TRUE : SQL_FALSE;
        std::memcpy(supported, &answer, sizeof answer);
    }
    return SQL_SUCCESS;
}

VHCASS_EXPORT SQLRETURN SQL_API SQLGetFunctions(SQLHDBC connection_handle, SQLUSMALLINT function_id,
                                                SQLUSMALLINT *supported)
{
    return enter_conn(
        connection_handle, entry,
        [&](cass_conn *conn) {
            CASS_LOG(&conn->head, LOG_ENTRY,
                     "SQLGetFunctions: connection_handle=%p, function_id=%d, supported=%p",
                     static_cast<void *>(conn), static_cast<int>(function_id),
                     static_cast<void *>(supported));
        },
        [&](cass_conn *conn) { return get_functions(conn, function_id, supported); });
}
