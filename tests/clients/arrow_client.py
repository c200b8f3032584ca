"""arrow-odbc: blocks of rows as Arrow tables, in both directions."""
import re

import arrow_odbc
import pyarrow
from steps import usual_steps
from steps import uuid

# Text is narrow there, UTF-8. A longer one than its buffer ends the reading with an error: StringLen makes the
# described size, and max_text_size the buffer, large enough.
SOURCE = "DSN=clients;StringLen=8000000"
KEY = {"id": pyarrow.int32()}
KINDS = KEY | {"i": pyarrow.int32(), "l": pyarrow.int64(), "d": pyarrow.float64(), "n": pyarrow.decimal128(38, 15),
               "ts": pyarrow.timestamp("ms"), "da": pyarrow.date32(), "ti": pyarrow.time32("s"), "b": pyarrow.binary(),
               "o": pyarrow.bool_()}  # the others are text


def insert(rows, table="loaded", names=("id", "s")):
    columns, types = {}, KINDS if table == "kinds" else KEY
    for name, *values in zip(names, *rows):
        values = [str(value) if isinstance(value, uuid.UUID) else value for value in values]
        columns[name] = pyarrow.array(values, types.get(name, pyarrow.string()))
    arrow_odbc.insert_into_table(reader=pyarrow.table(columns).to_reader(), table=f"vhcass_clients.{table}",
                                 chunk_size=100, connection_string=SOURCE)


def query(text, *parameters):
    if parameters:
        table, names = re.match(r"INSERT INTO vhcass_clients\.(\w+) \((.*?)\)", text).groups()
        return insert([parameters], table, names.split(", "))
    more = {"max_text_size": 8000000, "batch_size": 1} if "long_texts" in text else {"max_text_size": 20000}
    batches = arrow_odbc.read_arrow_batches_from_odbc(text, SOURCE, **more)
    return [list(row.values()) for batch in batches for row in batch.to_pylist()]


usual_steps(query, arrow_odbc.Error, insert=insert)
