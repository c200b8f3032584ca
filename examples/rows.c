/* Writes two rows by parameters and reads the table: cc rows.c -o rows -lodbc */
#include <sql.h>
#include <sqlext.h>
#include <stdio.h>
#include <stdlib.h>

/* Ends the program with the driver's words when a call failed. */
static void must(SQLRETURN code, SQLSMALLINT kind, SQLHANDLE handle)
{
    SQLCHAR state[6] = "", text[1024] = "";
    if (SQL_SUCCEEDED(code))
        return;
    SQLGetDiagRec(kind, handle, 1, state, NULL, text, sizeof text, NULL);
    fprintf(stderr, "%s: %s\n", state, text);
    exit(1);
}

int main(void)
{
    static const char *const notes[] = {"first", "żółć 😀"};
    const char *source = getenv("VHCASS_CONNECTION"), *keyspace = getenv("VHCASS_KEYSPACE");
    char text[512], note[256];
    int id;
    SQLLEN length = SQL_NTS;
    SQLRETURN code;
    SQLHENV env;
    SQLHDBC db;
    SQLHSTMT st;
    source = source ? source : "DSN=cassandra";
    keyspace = keyspace ? keyspace : "examples";

    SQLAllocHandle(SQL_HANDLE_ENV, NULL, &env);
    SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, (void *)SQL_OV_ODBC3, 0);
    SQLAllocHandle(SQL_HANDLE_DBC, env, &db);
    must(SQLDriverConnect(db, NULL, (SQLCHAR *)source, SQL_NTS, NULL, 0, NULL, SQL_DRIVER_NOPROMPT),
         SQL_HANDLE_DBC, db);
    SQLAllocHandle(SQL_HANDLE_STMT, db, &st);

    snprintf(text, sizeof text,
             "CREATE KEYSPACE IF NOT EXISTS %s WITH replication = "
             "{'class': 'SimpleStrategy', 'replication_factor': 1}",
             keyspace);
    must(SQLExecDirect(st, (SQLCHAR *)text, SQL_NTS), SQL_HANDLE_STMT, st);
    snprintf(text, sizeof text,
             "CREATE TABLE IF NOT EXISTS %s.rows (id int PRIMARY KEY, note text)", keyspace);
    must(SQLExecDirect(st, (SQLCHAR *)text, SQL_NTS), SQL_HANDLE_STMT, st);

    snprintf(text, sizeof text, "INSERT INTO %s.rows (id, note) VALUES (?, ?)", keyspace);
    must(SQLPrepare(st, (SQLCHAR *)text, SQL_NTS), SQL_HANDLE_STMT, st);
    SQLBindParameter(st, 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 0, 0, &id, 0, NULL);
    SQLBindParameter(st, 2, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR, sizeof note, 0, note,
                     sizeof note, &length);
    for (id = 1; id <= 2; id++) {
        snprintf(note, sizeof note, "%s", notes[id - 1]);
        must(SQLExecute(st), SQL_HANDLE_STMT, st);
    }

    snprintf(text, sizeof text, "SELECT id, note FROM %s.rows", keyspace);
    must(SQLExecDirect(st, (SQLCHAR *)text, SQL_NTS), SQL_HANDLE_STMT, st);
    SQLBindCol(st, 1, SQL_C_SLONG, &id, 0, NULL);
    SQLBindCol(st, 2, SQL_C_CHAR, note, sizeof note, &length);
    while ((code = SQLFetch(st)) != SQL_NO_DATA) {
        must(code, SQL_HANDLE_STMT, st);
        printf("%d %s\n", id, length == SQL_NULL_DATA ? "NULL" : note);
    }
    SQLFreeHandle(SQL_HANDLE_STMT, st);
    SQLDisconnect(db);
    SQLFreeHandle(SQL_HANDLE_DBC, db);
    SQLFreeHandle(SQL_HANDLE_ENV, env);
    return 0;
}
