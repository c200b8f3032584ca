"""Two Cassandra tables, read as Arrow, joined and added up by DuckDB. Needs duckdb, arrow-odbc and pyarrow."""
import os

import arrow_odbc
import duckdb
import pyarrow

source = os.environ.get("VHCASS_CONNECTION", "DSN=cassandra")
keyspace = os.environ.get("VHCASS_KEYSPACE", "examples")


def read(text):  # batch by batch as DuckDB asks for them, never the whole table
    return arrow_odbc.read_arrow_batches_from_odbc(text, source).into_pyarrow_record_batch_reader()


def write(table, **columns):
    arrow_odbc.insert_into_table(pyarrow.table(columns).to_reader(), 1000, f"{keyspace}.{table}", source)


for statement in (f"CREATE KEYSPACE IF NOT EXISTS {keyspace} WITH replication = "
                  "{'class': 'SimpleStrategy', 'replication_factor': 1}",
                  f"CREATE TABLE IF NOT EXISTS {keyspace}.customers (id int PRIMARY KEY, country text)",
                  f"CREATE TABLE IF NOT EXISTS {keyspace}.orders (id int PRIMARY KEY, customer int, total double)"):
    arrow_odbc.connect(source).execute(statement)
write("customers", id=[1, 2, 3], country=["PL", "IS", "PL"])
write("orders", id=[*range(1, 7)], customer=[1, 1, 2, 3, 3, 3], total=[10.5, 2.5, 99.0, 4.0, 5.0, 6.0])

customers = read(f"SELECT id, country FROM {keyspace}.customers")
orders = read(f"SELECT customer, total FROM {keyspace}.orders")
print(duckdb.sql("""SELECT country, count(*) AS orders, sum(total) AS total
                    FROM orders JOIN customers ON orders.customer = customers.id
                    GROUP BY country ORDER BY total DESC"""))
