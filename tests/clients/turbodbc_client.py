"""turbodbc. It knows integers of eight bytes, doubles, text, dates and timestamps; PlainTypes=yes describes the
other types as text."""
import turbodbc
from steps import LOAD, usual_steps
from steps import datetime, decimal, uuid

# Columns are bound by their described size, and a longer text is cut without a word.
connection = turbodbc.connect(
    connection_string="DSN=clients;PlainTypes=yes;StringLen=6000000",
    turbodbc_options=turbodbc.make_options(autocommit=True, prefer_unicode=True, read_buffer_size=turbodbc.Rows(1)))
cursor = connection.cursor()


def as_text(value):
    if isinstance(value, bytes):
        return value.hex()
    return str(value) if isinstance(value, (decimal.Decimal, datetime.time, uuid.UUID)) else value


def query(text, *parameters):
    cursor.execute(text, [as_text(value) for value in parameters])
    return cursor.fetchall() if text.startswith("SELECT") else []


usual_steps(query, turbodbc.Error, shown=as_text, insert=lambda rows: cursor.executemany(LOAD, rows))
