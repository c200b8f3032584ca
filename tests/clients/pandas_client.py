"""pandas, which reads over pyodbc."""
import warnings

import pandas
import pyodbc
from steps import shown_by_most, usual_steps
from steps import decimal

warnings.simplefilter("ignore", UserWarning)  # it has been tested with SQLAlchemy and SQLite only, says pandas
connection = pyodbc.connect("DSN=clients", autocommit=True)


def query(text, *parameters):
    if parameters:
        return connection.execute(text, *parameters)
    # As objects: a column of numbers with a NULL in it would be one of doubles.
    frame = pandas.read_sql(text, connection, dtype=object)
    return [[None if pandas.isna(value) else value for value in row] for row in frame.itertuples(index=False)]


def shown(value):
    return float(value) if isinstance(value, decimal.Decimal) else shown_by_most(value)


usual_steps(query, pandas.errors.DatabaseError, pyodbc.Error, shown=shown)
