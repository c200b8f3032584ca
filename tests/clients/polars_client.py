"""Polars' read_database, by a connection string through arrow-odbc and by a connection of pyodbc."""
import os

import polars
import pyodbc
from steps import COLUMNS, INSERT, NESTED, VALUES, WHOLE, check, check_plain, failing, step
from steps import uuid

# Polars takes a connection string with a DRIVER only.
STRING = os.environ["CLIENTS_CONNECTION"]
connection = pyodbc.connect("DSN=clients", autocommit=True)


@step("values")
def values():
    for key, row in enumerate(VALUES):
        connection.execute(INSERT, key, *row)
    frame = polars.read_database(f"SELECT id, {', '.join(COLUMNS)} FROM vhcass_clients.kinds", STRING).sort("id")
    for got, row in zip(frame.rows(), VALUES):
        check(list(got[1:]), [str(v) if isinstance(v, uuid.UUID) else v for v in row])


@step("table")
def table():
    for source in (STRING, connection):
        frame = polars.read_database("SELECT id, i, ti, ts, s FROM vhcass_clients.whole", source).sort("id")
        check(frame.rows(), WHOLE)


@step("nested")
def nested():
    connection.execute("INSERT INTO vhcass_clients.nested (id, l, m, t, a) VALUES (1, ?, ?, ?, ?)", *NESTED)
    check(polars.read_database("SELECT l, m, t, a FROM vhcass_clients.nested", STRING).rows(), [tuple(NESTED)])


@step("errors")
def errors():
    failing(lambda: polars.read_database("SELEC 1", STRING), Exception)
    failing(lambda: polars.read_database("SELECT * FROM vhcass_clients.missing", STRING), Exception)


@step("plain")
def plain():
    for source in (STRING, connection):
        check_plain(lambda text: polars.read_database(text, source).rows(), Exception)
