"""pyodbc, Debian's and PyPI's."""
import os
import socket
import threading
import time

import pyodbc
from steps import BATCH, COLUMNS, INSERT, NESTED, SELECT, STORED, VALUES, WHOLE, check, check_plain, failing, long_text, step
from steps import uuid

connection = pyodbc.connect("DSN=clients", autocommit=True)
cursor = connection.cursor()


def check_kinds():
    for key, values in enumerate(VALUES):
        got = list(cursor.execute(SELECT, key).fetchone())
        got = [uuid.UUID(v) if c == "u" and v else v for c, v in zip(COLUMNS, got)]
        check(got, values)
        check([type(v) for v in got], [type(v) for v in values])


@step("values")
def values():
    for fast in (False, True):
        cursor.fast_executemany = fast
        cursor.executemany(INSERT, [[key, *values] for key, values in enumerate(VALUES)])
        cursor.fast_executemany = False
        check_kinds()
        cursor.execute("TRUNCATE vhcass_clients.kinds")


@step("table")
def table():
    check(sorted(tuple(row) for row in cursor.execute("SELECT id, i, ti, ts, s FROM vhcass_clients.whole")), WHOLE)


@step("batch")
def batch():
    for fast in (False, True):
        cursor.execute("TRUNCATE vhcass_clients.loaded")
        cursor.fast_executemany = fast
        failing(lambda: cursor.executemany("INSERT INTO vhcass_clients.loaded (id, s) VALUES (?, ?)", BATCH), pyodbc.DataError)
        cursor.fast_executemany = False
        # Row by row pyodbc stops at the bad one; an array runs on behind it.
        stored = sorted(tuple(row) for row in cursor.execute("SELECT id, s FROM vhcass_clients.loaded"))
        check(stored, STORED if fast else STORED[:2])
    return "row by row it stops at the bad row, with fast_executemany the others are stored"


@step("long")
def long():
    for length in (5000, 5000000):
        cursor.execute("INSERT INTO vhcass_clients.long_texts (id, s) VALUES (?, ?)", length, long_text(length))
        cursor.execute("SELECT s FROM vhcass_clients.long_texts WHERE id = ?", length)
        check(cursor.fetchone()[0], long_text(length))


@step("nested")
def nested():
    given = NESTED
    for key in (1, 2):
        cursor.execute("INSERT INTO vhcass_clients.nested (id, l, m, t, a) VALUES (?, ?, ?, ?, ?)", key, *given)
        given = list(cursor.execute("SELECT l, m, t, a FROM vhcass_clients.nested WHERE id = ?", key).fetchone())
        check(given, NESTED)


class Relay:
    """Between the driver and the server: it can go silent or end the connection."""

    def __init__(self, address):
        self.silent = threading.Event()
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.ends = []
        threading.Thread(target=self.run, args=[address], daemon=True).start()

    def run(self, address):
        while True:
            client, server = self.listener.accept()[0], socket.create_connection(address)
            self.ends += [client, server]
            for source, target in ((client, server), (server, client)):
                threading.Thread(target=self.copy, args=[source, target], daemon=True).start()

    def copy(self, source, target):
        try:
            while data := source.recv(65536):
                if not self.silent.is_set():
                    target.sendall(data)
        except OSError:
            pass

    def end(self):
        while self.ends:
            self.ends.pop().shutdown(socket.SHUT_RDWR)


@step("errors")
def errors():
    def state(call, *kinds):
        return failing(call, *kinds).args[0]

    execute = cursor.execute
    for text, wanted in (("SELEC 1", "42000"), ("SELECT * FROM vhcass_clients.missing", "42S02"),
                         ("SELECT missing FROM vhcass_clients.kinds", "42S22"),
                         ("CREATE TABLE vhcass_clients.kinds (id int PRIMARY KEY)", "42S01")):
        check(state(lambda: execute(text), pyodbc.ProgrammingError), wanted)
    check(state(lambda: execute("INSERT INTO vhcass_clients.kinds (id) VALUES (?)", 2**40), pyodbc.DataError), "22003")
    check(state(lambda: pyodbc.connect("DSN=clients;KEYSPACE=vhcass_missing"), pyodbc.Error), "3F000")
    check(state(lambda: pyodbc.connect("DSN=clients;SERVER=127.0.0.1;PORT=1"), pyodbc.OperationalError), "08001")

    relay = Relay((os.environ["CLIENTS_HOST"], int(os.environ["CLIENTS_PORT"])))
    lost = pyodbc.connect(f"DSN=clients;SERVER=127.0.0.1;PORT={relay.port}", autocommit=True)
    lost.timeout = 1
    relay.silent.set()
    start = time.monotonic()
    check(state(lambda: lost.execute("SELECT * FROM vhcass_clients.whole"), pyodbc.OperationalError), "HYT00")
    if time.monotonic() - start > 5:
        raise AssertionError("a time-out of 1 s took longer than 5 s")
    relay.silent.clear()
    lost.execute("SELECT * FROM vhcass_clients.whole").fetchall()
    relay.end()  # another connection takes its place, unless the setting says no
    lost.execute("SELECT * FROM vhcass_clients.whole").fetchall()
    stays = pyodbc.connect(f"DSN=clients;SERVER=127.0.0.1;PORT={relay.port};Reconnect=No", autocommit=True)
    relay.end()
    check(state(lambda: stays.execute("SELECT * FROM vhcass_clients.whole"), pyodbc.OperationalError), "08S01")


@step("lists")
def lists():
    place = {"schema": "vhcass_clients"}
    check([row.table_name for row in cursor.tables(table="w%", tableType="TABLE", **place).fetchall()], ["whole"])
    check([(row.column_name, row.type_name) for row in cursor.columns(table="whole", **place).fetchall()],
          [("id", "int"), ("i", "int"), ("s", "text"), ("ti", "time"), ("ts", "timestamp")])
    check([row.column_name for row in cursor.primaryKeys("whole", **place).fetchall()], ["id"])


@step("plain")
def plain():
    check_plain(lambda text: cursor.execute(text).fetchall(), pyodbc.Error)
