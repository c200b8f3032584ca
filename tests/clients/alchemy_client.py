"""SQLAlchemy's plain engine over pyodbc: texts by text(), a pool that pings with SELECT 1."""
import os

import sqlalchemy
from sqlalchemy import exc, text
from sqlalchemy.connectors.pyodbc import PyODBCConnector
from sqlalchemy.dialects import registry
from sqlalchemy.engine import URL, default
from steps import STORED, check, usual_steps


class CassandraDialect(PyODBCConnector, default.DefaultDialect):
    """What SQLAlchemy needs to know beyond its defaults: nothing."""

    name, supports_statement_cache = "cassandra", True


registry.register("cassandra.pyodbc", __name__, "CassandraDialect")
address = URL.create("cassandra+pyodbc", host=os.environ["CLIENTS_HOST"], port=int(os.environ["CLIENTS_PORT"]),
                     database="vhcass_clients", query={"driver": "Varnholt ODBC-Cassandra Driver", "Standard": "Yes"})
if os.environ["CLIENTS_STEPS"] == "plain":  # without Standard=Yes the `host,port` that this becomes is no server
    address = "cassandra+pyodbc://@clients"
engine = sqlalchemy.create_engine(address, pool_pre_ping=True, pool_size=5, isolation_level="AUTOCOMMIT")


def run(statement, parameters=None):
    with engine.connect() as connection:
        result = connection.execute(text(statement), parameters)
        return result.fetchall() if result.returns_rows else []


def query(statement, *values):
    names = [f"p{i}" for i in range(len(values))]
    for name in names:
        statement = statement.replace("?", f":{name}", 1)
    return run(statement, dict(zip(names, values)))


def insert(rows):
    run("INSERT INTO loaded (id, s) VALUES (:id, :s)", [{"id": key, "s": words} for key, words in rows])


def pool():
    # Five connections in use at once, each pinged when it is taken again.
    for _ in range(3):
        taken = [engine.connect() for _ in range(5)]
        check([connection.execute(text("SELECT 1")).scalar() for connection in taken], [1] * 5)
        for connection in taken:
            connection.close()
    check(engine.pool.checkedin(), 5)


usual_steps(query, exc.DBAPIError, insert=insert, stored=STORED[:2], pool=pool)  # it stops at the bad row
