"""An SQLAlchemy engine with a pool, and CQL by text(). Needs sqlalchemy 2 and pyodbc.

SQLAlchemy's own SELECT and INSERT constructs qualify each column with its table, which CQL does not know.
"""
import os
import urllib.parse

import sqlalchemy
from sqlalchemy import text
from sqlalchemy.connectors.pyodbc import PyODBCConnector
from sqlalchemy.dialects import registry
from sqlalchemy.engine.default import DefaultDialect


class CassandraDialect(PyODBCConnector, DefaultDialect):
    name = "cassandra"
    supports_statement_cache = True


registry.register("cassandra.pyodbc", __name__, "CassandraDialect")
source = urllib.parse.quote_plus(os.environ.get("VHCASS_CONNECTION", "DSN=cassandra"))
keyspace = os.environ.get("VHCASS_KEYSPACE", "examples")
# There are no transactions; a connection that broke in the pool is found by SELECT 1 and made anew.
engine = sqlalchemy.create_engine(f"cassandra+pyodbc://?odbc_connect={source}", isolation_level="AUTOCOMMIT",
                                  pool_pre_ping=True, pool_size=4)

with engine.connect() as connection:
    connection.execute(text(f"CREATE KEYSPACE IF NOT EXISTS {keyspace} WITH replication = "
                            "{'class': 'SimpleStrategy', 'replication_factor': 1}"))
    connection.execute(text(f"CREATE TABLE IF NOT EXISTS {keyspace}.accounts"
                            " (owner text PRIMARY KEY, balance decimal)"))
    connection.execute(text(f"INSERT INTO {keyspace}.accounts (owner, balance) VALUES (:owner, :balance)"),
                       [{"owner": "Zoë", "balance": "12.50"}, {"owner": "Łukasz", "balance": "-2.56"}])
    row = connection.execute(text(f"SELECT owner, balance FROM {keyspace}.accounts WHERE owner = :owner"),
                             {"owner": "Łukasz"}).one()
    print(row.owner, row.balance)
