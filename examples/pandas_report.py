"""A table as a pandas frame, its monthly means, and a chart as a PNG: python pandas_report.py [report.png].
Needs pyodbc, pandas and matplotlib."""
import datetime
import math
import os
import sys

import matplotlib
import pandas
import pyodbc

matplotlib.use("Agg")  # a file, no window
keyspace = os.environ.get("VHCASS_KEYSPACE", "examples")
chart = sys.argv[1] if len(sys.argv) > 1 else "report.png"
connection = pyodbc.connect(os.environ.get("VHCASS_CONNECTION", "DSN=cassandra"), autocommit=True)
connection.execute(f"CREATE KEYSPACE IF NOT EXISTS {keyspace} WITH replication = "
                   "{'class': 'SimpleStrategy', 'replication_factor': 1}")
connection.execute(f"CREATE TABLE IF NOT EXISTS {keyspace}.weather"
                   " (station text, day date, degrees double, PRIMARY KEY (station, day))")
days = [datetime.date(2024, 1, 1) + datetime.timedelta(i) for i in range(366)]
cursor = connection.cursor()
cursor.fast_executemany = True
cursor.executemany(f"INSERT INTO {keyspace}.weather (station, day, degrees) VALUES (?, ?, ?)",
                   [(station, day, mean - swing * math.cos(2 * math.pi * i / 366))
                    for station, mean, swing in (("Kraków", 9.5, 11.0), ("Reykjavík", 5.5, 6.0))
                    for i, day in enumerate(days)])

rows = cursor.execute(f"SELECT station, day, degrees FROM {keyspace}.weather").fetchall()
frame = pandas.DataFrame.from_records(rows, columns=["station", "day", "degrees"])
frame["day"] = pandas.to_datetime(frame["day"])
degrees = frame.pivot(index="day", columns="station", values="degrees")
print(degrees.resample("MS").mean().round(1))
degrees.plot(title="Degrees of a day", xlabel="", ylabel="°C").figure.savefig(chart)
print("chart:", chart)
