"""DuckDB with its extension odbc_scanner."""
import pathlib

import duckdb
import duckdb_extension_odbc_scanner
from steps import usual_steps

duck = duckdb.connect(config={"allow_unsigned_extensions": "true"})
folder = pathlib.Path(duckdb_extension_odbc_scanner.__file__).parent
duck.execute(f"LOAD '{next(folder.rglob('odbc_scanner.duckdb_extension'))}'")
duck.execute("SET VARIABLE source = odbc_connect('DSN=clients')")


def query(text, *parameters):
    given = ", params = row(" + ", ".join("?" for _ in parameters) + ")" if parameters else ""
    return duck.execute(f"SELECT * FROM odbc_query(getvariable('source'), ?{given})", [text, *parameters]).fetchall()


usual_steps(query, duckdb.Error, shown=lambda value: value)
