"""What the Python clients share: the values of the tables, the line that a step ends in, and the steps that most of
them do alike."""
import datetime
import decimal
import os
import pathlib
import uuid

FOLDER = pathlib.Path(__file__).parent
CONVERSIONS = {
    "i": int, "l": int, "d": float, "n": decimal.Decimal, "ts": datetime.datetime.fromisoformat,
    "da": datetime.date.fromisoformat, "ti": datetime.time.fromisoformat, "u": uuid.UUID,
    "b": bytes.fromhex, "o": lambda text: text == "1", "s": str,
}


def rows_of(name):
    lines = (FOLDER / name).read_text("utf-8").splitlines()
    return [line.split("\t") for line in lines[1:]]


COLUMNS = [row[0] for row in rows_of("values.tsv")]
# Two rows of values and one of NULLs, in the order of COLUMNS.
VALUES = [[CONVERSIONS[row[0]](row[i]) for row in rows_of("values.tsv")] for i in (1, 2)] + [[None] * len(COLUMNS)]
INSERT = f"INSERT INTO vhcass_clients.kinds (id, {', '.join(COLUMNS)}) VALUES (?{', ?' * len(COLUMNS)})"
LOAD = "INSERT INTO vhcass_clients.loaded (id, s) VALUES (?, ?)"
NESTED = [row[1] for row in rows_of("nested.tsv")]
WHOLE = [
    (1, 7, datetime.time(12, 34, 56), datetime.datetime(1901, 2, 3, 4, 5, 6), "short"),
    (2, None, datetime.time(1, 2, 3), datetime.datetime(2024, 5, 6, 7, 8, 9), "0123456789" * 500),
]
# The third has no key: the server refuses it.
BATCH = [(1, "one"), (2, "two"), (None, "bad"), (4, "four"), (5, "żółć 😀")]
STORED = [row for row in BATCH if row[0] is not None]
ERRORS = [("SELEC 1", "42000"), ("SELECT * FROM vhcass_clients.missing", "42S02"),
          ("CREATE TABLE vhcass_clients.kinds (id int PRIMARY KEY)", "42S01")]


def check(got, wanted):
    if got != wanted:
        raise AssertionError(f"{str(got)[:200]} instead of {str(wanted)[:200]}")


def step(name, function):
    """Runs it, if its step is asked for. What it returns is a remark."""
    if name in os.environ["CLIENTS_STEPS"].split():
        try:
            remark = function()
            print("ok", name + (f": {remark}" if remark else ""), flush=True)
        except BaseException as problem:
            print(f"FAILED {name}: {type(problem).__name__} {problem}".replace("\n", " "), flush=True)


def failing(call, *kinds):
    """The exception of one of `kinds` that call() must raise."""
    try:
        call()
    except kinds as problem:
        return problem
    raise AssertionError("no exception")


def shown_by_most(value):
    return str(value) if isinstance(value, uuid.UUID) else value


def check_rows(rows, wanted, shown=shown_by_most):
    """The rows, in any order, are the wanted ones as the client shows them; a boolean is none of the numbers 0 and 1."""
    check([[(value, isinstance(value, bool)) for value in row] for row in sorted(map(list, rows), key=lambda row: row[0])],
          [[(value, isinstance(value, bool)) for value in map(shown, row)] for row in wanted])


def usual_steps(query, *failures, shown=shown_by_most, insert=None, stored=STORED, **own):
    """The steps of a client in which query(text, parameter...) gives the rows and raises one of `failures`, and shown(value)
    is what a value is read as. insert(rows) fills `loaded` by one call, after which `stored` is there. `own` are steps that
    the client does in its own way."""
    def values():
        for key, row in enumerate(VALUES):
            query(INSERT, key, *row)
        check_rows(query(f"SELECT id, {', '.join(COLUMNS)} FROM vhcass_clients.kinds"),
                   [[key, *row] for key, row in enumerate(VALUES)], shown)

    # Columns are quoted, as for LibreOffice a plain t or ts is the beginning of a time.
    def table():
        check_rows(query('SELECT id, i, "ti", "ts", s FROM vhcass_clients.whole'), WHOLE, shown)

    def batch():
        if insert:
            failing(lambda: insert(BATCH), *failures)
        else:
            for row in STORED:
                query(LOAD, *row)
            failing(lambda: query(LOAD, None, "bad"), *failures)
        check_rows(query("SELECT id, s FROM vhcass_clients.loaded"), stored, shown)

    def long():
        for length in (5000, 5000000):
            text = "ż23456😀890" * (length // 10)
            query("INSERT INTO vhcass_clients.long_texts (id, s) VALUES (?, ?)", length, text)
            check(query(f"SELECT s FROM vhcass_clients.long_texts WHERE id = {length}")[0][0], text)

    def nested():
        given = NESTED
        for key in (1, 2):
            query("INSERT INTO vhcass_clients.nested (id, l, m, t, a) VALUES (?, ?, ?, ?, ?)", key, *given)
            given = list(query(f'SELECT "l", "m", "t", "a" FROM vhcass_clients.nested WHERE id = {key}')[0])
            check(given, NESTED)

    def errors():
        for text, state in ERRORS:
            check(state in str(failing(lambda: query(text), *failures)), True)

    def plain():  # without Standard=Yes
        check_rows(query("SELECT id, s FROM vhcass_clients.plain"), [(1, "one"), (2, "two")], shown)
        failing(lambda: query("SELEC 1"), *failures)

    usual = dict(values=values, table=table, batch=batch, long=long, nested=nested, errors=errors, plain=plain)
    for name, function in (usual | own).items():
        step(name, function)
