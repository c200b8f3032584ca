"""examples/dask_scan.py: four workers read 200,000 rows while one of them is killed, each row once."""
import datetime
import os
import pathlib
import signal
import sys

import pandas
import pyodbc
from dask.distributed import Client, LocalCluster, as_completed
from steps import check, step

sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "examples"))
import dask_scan  # noqa: E402

# Pages are small, so that there are many round trips in the midst of which a worker is killed.
SOURCE = os.environ["VHCASS_CONNECTION"] + ";PageSize=20"
KEYSPACE = os.environ["VHCASS_KEYSPACE"]
TABLE = f"{KEYSPACE}.readings"
ROWS, PARTITION = 200000, 50


def load():
    database = pyodbc.connect(SOURCE, autocommit=True)
    database.execute(f"CREATE KEYSPACE IF NOT EXISTS {KEYSPACE} WITH replication = "
                     "{'class': 'SimpleStrategy', 'replication_factor': 1}")
    database.execute(f"DROP TABLE IF EXISTS {TABLE}")
    database.execute(f"CREATE TABLE {TABLE} (site int, day date, n int, PRIMARY KEY ((site, day), n))")
    insert = f"INSERT INTO {TABLE} (site, day, n) VALUES (?, ?, ?); "
    batch = f"BEGIN UNLOGGED BATCH {insert * PARTITION} APPLY BATCH"
    for site in range(ROWS // PARTITION):
        day = datetime.date(2024, 1, 1) + datetime.timedelta(site % 7)
        numbers = range(site * PARTITION, (site + 1) * PARTITION)
        database.execute(batch, [value for n in numbers for value in (site, day, n)])


def killed():
    load()
    with LocalCluster(n_workers=4, threads_per_worker=1, dashboard_address=None) as cluster, Client(cluster) as client:
        frame = dask_scan.scan(SOURCE, TABLE, columns=["n"], splits=200)
        parts = client.compute(frame.to_delayed())
        for _ in zip(range(20), as_completed(parts)):
            pass
        victim = next(iter(client.run(os.getpid).values()))
        os.kill(victim, signal.SIGKILL)
        left = sum(part.status != "finished" for part in parts)
        check(left > 20, True)
        check(sorted(pandas.concat(client.gather(parts)).n), list(range(ROWS)))
        check(victim in client.run(os.getpid).values(), False)
    return f"with {left} of {len(parts)} ranges left"


if __name__ == "__main__":  # the workers run this file too
    step("killed", killed)
