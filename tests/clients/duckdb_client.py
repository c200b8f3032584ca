"""DuckDB with its extension odbc_scanner."""
import pathlib

import duckdb
import duckdb_extension_odbc_scanner
from steps import BATCH, COLUMNS, INSERT, NESTED, SELECT, STORED, VALUES, WHOLE, check, check_plain, failing, long_text, step

duck = duckdb.connect(config={"allow_unsigned_extensions": "true"})
folder = pathlib.Path(duckdb_extension_odbc_scanner.__file__).parent
duck.execute(f"LOAD '{next(folder.rglob('odbc_scanner.duckdb_extension'))}'")
duck.execute("SET VARIABLE source = odbc_connect('DSN=clients')")


def query(text, *parameters):
    given = ", params = row(" + ", ".join("?" for _ in parameters) + ")" if parameters else ""
    return duck.execute(f"SELECT * FROM odbc_query(getvariable('source'), ?{given})", [text, *parameters]).fetchall()


@step("values")
def values():
    for key, row in enumerate(VALUES):
        query(INSERT, key, *row)
        check(list(query(SELECT, key)[0]), row)


@step("table")
def table():
    check(sorted(query("SELECT id, i, ti, ts, s FROM vhcass_clients.whole")), WHOLE)


@step("batch")
def batch():
    refused = 0
    for row in BATCH:
        try:
            query("INSERT INTO vhcass_clients.loaded (id, s) VALUES (?, ?)", *row)
        except duckdb.Error:
            refused += 1
    check(refused, 1)
    check(sorted(query("SELECT id, s FROM vhcass_clients.loaded")), STORED)


@step("long")
def long():
    for length in (5000, 5000000):
        query("INSERT INTO vhcass_clients.long_texts (id, s) VALUES (?, ?)", length, long_text(length))
        check(query("SELECT s FROM vhcass_clients.long_texts WHERE id = ?", length)[0][0] == long_text(length), True)


@step("nested")
def nested():
    given = NESTED
    for key in (1, 2):
        query("INSERT INTO vhcass_clients.nested (id, l, m, t, a) VALUES (?, ?, ?, ?, ?)", key, *given)
        given = list(query("SELECT l, m, t, a FROM vhcass_clients.nested WHERE id = ?", key)[0])
        check(given, NESTED)


@step("errors")
def errors():
    for text, words in (("SELEC 1", "42000(8192)"), ("SELECT * FROM vhcass_clients.missing", "42S02(8704)"),
                        ("CREATE TABLE vhcass_clients.kinds (id int PRIMARY KEY)", "already exists")):
        check(words in str(failing(lambda: query(text), duckdb.Error)), True)


@step("plain")
def plain():
    check_plain(query, duckdb.Error)
