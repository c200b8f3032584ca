"""Reads a Cassandra table of any size into a Dask DataFrame, by ranges of the ring. As a module

    frame = dask_scan.scan("DSN=cassandra", "shop.orders", columns=["id", "total"])

and as a command, which counts the rows: python dask_scan.py shop.orders [--splits N] [--workers N].
Needs ring.py beside it, pyodbc, pandas and dask[dataframe,distributed]; docs/scale.md says what to set.
"""
import argparse
import os
import time

import dask
import dask.dataframe
import pandas
import ring
from dask.distributed import Client, LocalCluster, progress

# Columns of types that are not here hold Python objects, as pyodbc gives them: Decimal, date, time, bytes. Collections
# are text.
DTYPES = {
    "tinyint": "Int8", "smallint": "Int16", "int": "Int32", "bigint": "Int64", "counter": "Int64",
    "float": "Float32", "double": "Float64", "boolean": "boolean", "timestamp": "datetime64[ms]",
    "text": "string", "ascii": "string", "inet": "string", "uuid": "string", "timeuuid": "string",
}


def to_frame(rows, dtypes):
    columns = zip(*rows) if rows else [()] * len(dtypes)
    return pandas.DataFrame({name: pandas.Series(list(column), dtype=dtype)
                             for (name, dtype), column in zip(dtypes.items(), columns)})


def read(part, connection, statement, dtypes):
    blocks = ring.read(part, connection, statement, lambda rows: to_frame(rows, dtypes))
    return pandas.concat(blocks, ignore_index=True) if blocks else to_frame([], dtypes)


def scan(connection, table, columns=None, splits=None):
    """A Dask DataFrame of "keyspace.table", a partition for each range: ring.plan says which these are."""
    plan = ring.plan(connection, table, columns, splits)
    dtypes = {column: DTYPES.get(kind, "object") for column, kind in plan.types.items()}
    with dask.config.set({"dataframe.convert-string": False}):  # or blobs and decimals would become text
        return dask.dataframe.from_map(read, plan.ranges, connection=connection, statement=plan.statement,
                                       dtypes=dtypes, meta=to_frame([], dtypes), label="scan")


def main():
    parser = argparse.ArgumentParser(description="Counts the rows of a table.")
    parser.add_argument("table", help="keyspace.table")
    parser.add_argument("--splits", type=int, help="ranges to read it in, by default of 64 MiB each")
    parser.add_argument("--workers", type=int, default=os.cpu_count(), help="processes that read at a time")
    given = parser.parse_args()
    began = time.monotonic()
    cluster = LocalCluster(n_workers=given.workers, threads_per_worker=1, dashboard_address=None)
    with cluster, Client(cluster) as client:
        frame = scan(os.environ.get("VHCASS_CONNECTION", "DSN=cassandra"), given.table, splits=given.splits)
        counts = client.compute([dask.delayed(len)(part) for part in frame.to_delayed()], retries=2)
        progress(counts, notebook=False)
        rows = sum(client.gather(counts))
    print(f"\n{rows} rows of {frame.npartitions} ranges in {time.monotonic() - began:.1f} s")


if __name__ == "__main__":
    # The workers import this file as a module, of which there is one in each.
    import dask_scan
    dask_scan.main()
