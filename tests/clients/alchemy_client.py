"""SQLAlchemy's plain engine over pyodbc: texts by text(), a pool that pings with SELECT 1."""
import os

import sqlalchemy
from sqlalchemy import exc, text
from sqlalchemy.connectors.pyodbc import PyODBCConnector
from sqlalchemy.dialects import registry
from sqlalchemy.engine import URL, default
from steps import BATCH, COLUMNS, NESTED, STORED, VALUES, WHOLE, check, check_plain, failing, long_text, step


class CassandraDialect(PyODBCConnector, default.DefaultDialect):
    """What SQLAlchemy needs to know beyond its defaults: nothing."""

    name = "cassandra"
    supports_statement_cache = True


registry.register("cassandra.pyodbc", __name__, "CassandraDialect")
address = URL.create("cassandra+pyodbc", host=os.environ["CLIENTS_HOST"], port=int(os.environ["CLIENTS_PORT"]),
                     database="vhcass_clients", query={"driver": "Varnholt ODBC-Cassandra Driver", "Standard": "Yes"})
if os.environ["CLIENTS_STEPS"] == "plain":  # without Standard=Yes the `host,port` that this becomes is no server
    address = "cassandra+pyodbc://@clients"
engine = sqlalchemy.create_engine(address, pool_pre_ping=True, pool_size=5, isolation_level="AUTOCOMMIT")


def run(statement, *parameters):
    with engine.connect() as connection:
        result = connection.execute(text(statement), *parameters)
        return result.fetchall() if result.returns_rows else []


@step("values")
def values():
    places = ", ".join(f":{name}" for name in COLUMNS)
    for key, row in enumerate(VALUES):
        run(f"INSERT INTO kinds (id, {', '.join(COLUMNS)}) VALUES (:id, {places})", dict(zip(COLUMNS, row), id=key))
        got = run(f"SELECT {', '.join(COLUMNS)} FROM kinds WHERE id = :id", {"id": key})
        check([str(v) if c == "u" and v else v for c, v in zip(COLUMNS, got[0])],
              [str(v) if c == "u" and v else v for c, v in zip(COLUMNS, row)])


@step("table")
def table():
    check([tuple(row) for row in run("SELECT id, i, ti, ts, s FROM whole")], WHOLE)


@step("batch")
def batch():
    rows = [{"id": key, "s": words} for key, words in BATCH]
    failing(lambda: run("INSERT INTO loaded (id, s) VALUES (:id, :s)", rows), exc.DBAPIError)
    run("INSERT INTO loaded (id, s) VALUES (:id, :s)", [row for row in rows if row["id"] is not None])
    check(sorted(tuple(row) for row in run("SELECT id, s FROM loaded")), STORED)
    return "it stops at the bad row"


@step("long")
def long():
    for key, length in enumerate((5000, 5000000)):
        run("INSERT INTO long_texts (id, s) VALUES (:id, :s)", {"id": key, "s": long_text(length)})
        check(run("SELECT s FROM long_texts WHERE id = :id", {"id": key})[0][0], long_text(length))


@step("nested")
def nested():
    run("INSERT INTO nested (id, l, m, t, a) VALUES (1, :l, :m, :t, :a)", dict(zip("lmta", NESTED)))
    check(list(run("SELECT l, m, t, a FROM nested")[0]), NESTED)


@step("errors")
def errors():
    check(failing(lambda: run("SELEC 1"), exc.ProgrammingError).orig.args[0], "42000")
    check(failing(lambda: run("SELECT * FROM missing"), exc.ProgrammingError).orig.args[0], "42S02")


@step("pool")
def pool():
    # Five connections in use at once, each pinged when it is taken again.
    for _ in range(3):
        taken = [engine.connect() for _ in range(5)]
        check([connection.execute(text("SELECT 1")).scalar() for connection in taken], [1] * 5)
        for connection in taken:
            connection.close()
    check(engine.pool.checkedin(), 5)


@step("plain")
def plain():
    check_plain(run, exc.DBAPIError)
