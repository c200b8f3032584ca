"""arrow-odbc: blocks of rows as Arrow tables, in both directions."""
import arrow_odbc
import pyarrow
import pyodbc
from steps import BATCH, COLUMNS, NESTED, STORED, VALUES, WHOLE, check, check_plain, failing, long_text, step

# Text is narrow there, UTF-8. A longer one than its buffer ends the reading with an error: StringLen makes the
# described size, and max_text_size the buffer, large enough.
SOURCE = "DSN=clients;StringLen=8000000"
connection = pyodbc.connect("DSN=clients", autocommit=True)
TYPES = {"i": pyarrow.int32(), "l": pyarrow.int64(), "d": pyarrow.float64(), "n": pyarrow.decimal128(38, 15),
         "ts": pyarrow.timestamp("ms"), "da": pyarrow.date32(), "ti": pyarrow.time32("s"), "u": pyarrow.string(),
         "b": pyarrow.binary(), "o": pyarrow.bool_(), "s": pyarrow.string()}


def read(text, **options):
    batches = arrow_odbc.read_arrow_batches_from_odbc(text, SOURCE, **({"max_text_size": 20000} | options))
    return [row for batch in batches for row in batch.to_pylist()]


def insert(table, name):
    arrow_odbc.insert_into_table(reader=table.to_reader(), table=f"vhcass_clients.{name}", chunk_size=100,
                                 connection_string=SOURCE)


@step("values")
def values():
    columns = {"id": pyarrow.array(range(len(VALUES)), pyarrow.int32())}
    for i, name in enumerate(COLUMNS):
        column = [row[i] if name != "u" or row[i] is None else str(row[i]) for row in VALUES]
        columns[name] = pyarrow.array(column, TYPES[name])
    insert(pyarrow.table(columns), "kinds")
    got = sorted(read(f"SELECT id, {', '.join(COLUMNS)} FROM vhcass_clients.kinds"), key=lambda row: row["id"])
    for given, row in zip(VALUES, got):
        check([row[name] for name in COLUMNS],
              [str(v) if n == "u" and v is not None else v for n, v in zip(COLUMNS, given)])


@step("table")
def table():
    rows = read("SELECT id, i, ti, ts, s FROM vhcass_clients.whole")
    check(sorted(tuple(row.values()) for row in rows), WHOLE)


@step("batch")
def batch():
    keys, texts = zip(*BATCH)
    rows = pyarrow.table({"id": pyarrow.array(keys, pyarrow.int32()), "s": texts})
    failing(lambda: insert(rows, "loaded"), arrow_odbc.Error)
    check(sorted(tuple(row) for row in connection.execute("SELECT id, s FROM vhcass_clients.loaded")), STORED)


@step("long")
def long():
    for length in (5000, 5000000):
        insert(pyarrow.table({"id": pyarrow.array([length], pyarrow.int32()), "s": [long_text(length)]}), "long_texts")
        rows = read(f"SELECT s FROM vhcass_clients.long_texts WHERE id = {length}", max_text_size=8000000, batch_size=1)
        check([row["s"] == long_text(length) for row in rows], [True])
    return "with StringLen, max_text_size and a batch of one row"


@step("nested")
def nested():
    given = NESTED
    for key in (1, 2):
        columns = {name: [value] for name, value in zip("lmta", given)}
        insert(pyarrow.table({"id": pyarrow.array([key], pyarrow.int32())} | columns), "nested")
        (row,) = read(f"SELECT l, m, t, a FROM vhcass_clients.nested WHERE id = {key}")
        given = list(row.values())
        check(given, NESTED)


@step("errors")
def errors():
    for text, state in (("SELEC 1", "42000"), ("SELECT * FROM vhcass_clients.missing", "42S02"),
                        ("CREATE TABLE vhcass_clients.kinds (id int PRIMARY KEY)", "42S01")):
        check(state in str(failing(lambda: read(text), arrow_odbc.Error)), True)


@step("plain")
def plain():
    check_plain(lambda text: [row.values() for row in read(text)], arrow_odbc.Error)
