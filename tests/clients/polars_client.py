"""Polars' read_database, by a connection string through arrow-odbc and by a connection of pyodbc."""
import os

import polars
import pyodbc
from steps import check, usual_steps

# Polars takes a connection string with a DRIVER only.
STRING = os.environ["CLIENTS_CONNECTION"]
connection = pyodbc.connect("DSN=clients", autocommit=True)


def query(text, *parameters):
    if parameters or text.startswith("CREATE"):  # Polars only reads
        return connection.execute(text, *parameters)
    rows = polars.read_database(text, STRING).rows()
    if "kinds" not in text:  # as doubles and text pyodbc's decimals and uuids differ
        check(polars.read_database(text, connection).rows(), rows)
    return rows


usual_steps(query, Exception)
