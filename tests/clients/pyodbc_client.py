"""pyodbc, Debian's and PyPI's."""
import pyodbc
from steps import BATCH, COLUMNS, ERRORS, INSERT, LOAD, STORED, VALUES, check, check_rows, failing, usual_steps

connection = pyodbc.connect("DSN=clients", autocommit=True)
cursor = connection.cursor()


def query(text, *parameters):
    cursor.execute(text, *parameters)
    return cursor.fetchall() if cursor.description else []


def executemany(fast, text, rows):
    cursor.fast_executemany = fast
    cursor.executemany(text, rows)


def values():
    for fast in (False, True):
        query("TRUNCATE vhcass_clients.kinds")
        executemany(fast, INSERT, [[key, *values] for key, values in enumerate(VALUES)])
        for key, row in enumerate(VALUES):
            check_rows(query(f"SELECT {', '.join(COLUMNS)} FROM vhcass_clients.kinds WHERE id = ?", key), [row])


def batch():
    for fast in (False, True):
        query("TRUNCATE vhcass_clients.loaded")
        failing(lambda: executemany(fast, LOAD, BATCH), pyodbc.DataError)
        # Row by row pyodbc stops at the bad one; an array runs on behind it.
        check_rows(query("SELECT id, s FROM vhcass_clients.loaded"), STORED if fast else STORED[:2])
    return "row by row it stops at the bad row, with fast_executemany the others are stored"


def errors():
    def told(kind, state, call):
        check(failing(call, kind).args[0], state)

    for text, state in [*ERRORS, ("SELECT missing FROM vhcass_clients.kinds", "42S22")]:
        told(pyodbc.ProgrammingError, state, lambda: query(text))
    told(pyodbc.DataError, "22003", lambda: query("INSERT INTO vhcass_clients.kinds (id) VALUES (?)", 2**40))
    told(pyodbc.Error, "3F000", lambda: pyodbc.connect("DSN=clients;KEYSPACE=vhcass_missing"))
    told(pyodbc.OperationalError, "08001", lambda: pyodbc.connect("DSN=clients;SERVER=127.0.0.1;PORT=1"))


def lists():
    place = {"schema": "vhcass_clients"}
    check([row.table_name for row in cursor.tables(table="w%", tableType="TABLE", **place).fetchall()], ["whole"])
    check([(row.column_name, row.type_name) for row in cursor.columns(table="whole", **place).fetchall()],
          [("id", "int"), ("i", "int"), ("s", "text"), ("ti", "time"), ("ts", "timestamp")])
    check([row.column_name for row in cursor.primaryKeys("whole", **place).fetchall()], ["id"])


usual_steps(query, pyodbc.Error, values=values, batch=batch, errors=errors, lists=lists)
