"""pandas, which reads over pyodbc."""
import warnings

import pandas
import pyodbc
from steps import COLUMNS, INSERT, NESTED, VALUES, WHOLE, check, check_plain, failing, step
from steps import uuid

warnings.simplefilter("ignore", UserWarning)  # it has been tested with SQLAlchemy and SQLite only, says pandas
connection = pyodbc.connect("DSN=clients", autocommit=True)


def read(text):
    # As objects: a column of numbers with a NULL in it would be one of doubles.
    return pandas.read_sql(text, connection, dtype=object)


def comparable(row):
    # A decimal is read as a double.
    return [uuid.UUID(str(v)) if c == "u" and v else float(v) if c == "n" and v else v for c, v in zip(COLUMNS, row)]


@step("values")
def values():
    for key, row in enumerate(VALUES):
        connection.execute(INSERT, key, *row)
    frame = read(f"SELECT id, {', '.join(COLUMNS)} FROM vhcass_clients.kinds").set_index("id")
    for key, row in enumerate(VALUES):
        got = [None if pandas.isna(value) else value for value in frame.loc[key]]
        check(comparable(got), comparable(row))


@step("table")
def table():
    frame = read("SELECT id, i, ti, ts, s FROM vhcass_clients.whole")
    check(frame["s"].tolist(), [row[4] for row in WHOLE])
    check(frame["ti"].tolist(), [row[2] for row in WHOLE])
    check([moment.to_pydatetime() for moment in frame["ts"]], [row[3] for row in WHOLE])
    check(frame["i"].isna().tolist(), [False, True])


@step("nested")
def nested():
    connection.execute("INSERT INTO vhcass_clients.nested (id, l, m, t, a) VALUES (1, ?, ?, ?, ?)", *NESTED)
    check(list(read("SELECT l, m, t, a FROM vhcass_clients.nested").loc[0]), NESTED)


@step("errors")
def errors():
    for text in ("SELEC 1", "SELECT * FROM vhcass_clients.missing"):
        failing(lambda: read(text), pandas.errors.DatabaseError, pyodbc.ProgrammingError)


@step("plain")
def plain():
    check_plain(lambda text: read(text).values.tolist(), pandas.errors.DatabaseError, pyodbc.Error)
