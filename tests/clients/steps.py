"""What the Python clients share: the values of the tables, and the line that a step ends in."""
import datetime
import decimal
import os
import pathlib
import sys
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
SELECT = f"SELECT {', '.join(COLUMNS)} FROM vhcass_clients.kinds WHERE id = ?"
NESTED = [row[1] for row in rows_of("nested.tsv")]
WHOLE = [
    (1, 7, datetime.time(12, 34, 56), datetime.datetime(1901, 2, 3, 4, 5, 6), "short"),
    (2, None, datetime.time(1, 2, 3), datetime.datetime(2024, 5, 6, 7, 8, 9), "0123456789" * 500),
]
# The third has no key: the server refuses it.
BATCH = [(1, "one"), (2, "two"), (None, "bad"), (4, "four"), (5, "żółć 😀")]
STORED = [row for row in BATCH if row[0] is not None]
PLAIN = [(1, "one"), (2, "two")]


def long_text(length):
    return ("ż23456😀890" * (length // 10 + 1))[:length]


def check(got, wanted):
    if got != wanted:
        raise AssertionError(f"{str(got)[:200]} instead of {str(wanted)[:200]}")


def step(name):
    """Runs the function below it at once, if its step is asked for. What it returns is a remark."""
    def run(function):
        if name not in os.environ["CLIENTS_STEPS"].split():
            return
        try:
            remark = function()
            print("ok", name + (f": {remark}" if remark else ""), flush=True)
        except BaseException as problem:
            print(f"FAILED {name}: {type(problem).__name__} {problem}".replace("\n", " "), flush=True)
    return run


def failing(call, *kinds):
    """The exception of one of `kinds` that call() must raise."""
    try:
        call()
    except kinds as problem:
        return problem
    raise AssertionError("no exception")


def check_plain(read, *kinds):
    """What holds without Standard=Yes too: numbers and ASCII text come, and a refused statement raises one of `kinds`."""
    check(sorted(tuple(row) for row in read("SELECT id, s FROM vhcass_clients.plain")), PLAIN)
    failing(lambda: read("SELEC 1"), *kinds)
