"""turbodbc. It knows integers of eight bytes, doubles, text, dates and timestamps; PlainTypes=yes describes the
other types as text."""
import datetime

import turbodbc
from steps import BATCH, COLUMNS, NESTED, STORED, VALUES, check, check_plain, failing, long_text, step

# Columns are bound by their described size, and a longer text is cut without a word.
connection = turbodbc.connect(
    connection_string="DSN=clients;PlainTypes=yes;StringLen=6000000",
    turbodbc_options=turbodbc.make_options(autocommit=True, prefer_unicode=True, read_buffer_size=turbodbc.Rows(1)))
cursor = connection.cursor()


def as_text(name, value):
    if value is None or name not in "n ti u b".split():
        return value
    return value.hex() if name == "b" else str(value)


@step("values")
def values():
    for key, row in enumerate(VALUES):
        given = [as_text(name, value) for name, value in zip(COLUMNS, row)]
        cursor.execute(f"INSERT INTO vhcass_clients.kinds (id, {', '.join(COLUMNS)}) VALUES (?{', ?' * len(COLUMNS)})", [key, *given])
        cursor.execute(f"SELECT {', '.join(COLUMNS)} FROM vhcass_clients.kinds WHERE id = {key}")
        check(cursor.fetchone(), given)
    return "decimals, times, uuids and blobs as text"


@step("table")
def table():
    cursor.execute("SELECT id, i, ti, ts, s FROM vhcass_clients.whole")
    check(sorted(cursor.fetchall()), [
        [1, 7, "12:34:56", datetime.datetime(1901, 2, 3, 4, 5, 6), "short"],
        [2, None, "01:02:03", datetime.datetime(2024, 5, 6, 7, 8, 9), "0123456789" * 500]])


@step("batch")
def batch():
    failing(lambda: cursor.executemany("INSERT INTO vhcass_clients.loaded (id, s) VALUES (?, ?)", BATCH), turbodbc.Error)
    cursor.execute("SELECT id, s FROM vhcass_clients.loaded")
    check(sorted(tuple(row) for row in cursor.fetchall()), STORED)


@step("long")
def long():
    for length in (5000, 5000000):
        cursor.execute("INSERT INTO vhcass_clients.long_texts (id, s) VALUES (?, ?)", [length, long_text(length)])
        cursor.execute(f"SELECT s FROM vhcass_clients.long_texts WHERE id = {length}")
        check(cursor.fetchone()[0] == long_text(length), True)
    return "with StringLen"


@step("nested")
def nested():
    given = NESTED
    for key in (1, 2):
        cursor.execute("INSERT INTO vhcass_clients.nested (id, l, m, t, a) VALUES (?, ?, ?, ?, ?)", [key, *given])
        cursor.execute(f"SELECT l, m, t, a FROM vhcass_clients.nested WHERE id = {key}")
        given = cursor.fetchone()
        check(given, NESTED)


@step("errors")
def errors():
    for text, state in (("SELEC 1", "42000"), ("SELECT * FROM vhcass_clients.missing", "42S02"),
                        ("CREATE TABLE vhcass_clients.kinds (id int PRIMARY KEY)", "42S01")):
        check(f"state: {state}" in str(failing(lambda: cursor.execute(text), turbodbc.DatabaseError)), True)


@step("plain")
def plain():
    check_plain(lambda text: cursor.execute(text).fetchall(), turbodbc.Error)
