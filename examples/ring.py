"""A Cassandra table in ranges of its ring, which many processes read side by side: what dask_scan.py is made of, and
of use for Spark and Ray too (docs/scale.md). Needs pyodbc."""
import bisect
import collections
import itertools
import math
import re
import threading
import time
import typing

import pyodbc

LOWEST, HIGHEST = -(2**63), 2**63 - 1  # the tokens of Murmur3Partitioner; no row has the lowest
RANGE_BYTES = 64 * 2**20  # what a range is to hold
FEWEST_RANGES = 32
BLOCK = 20000  # rows that are Python objects at a time
ATTEMPTS = 4


class Kept(threading.local):
    def __init__(self):
        self.connections = {}  # of this thread of this process, by connection string and node


kept = Kept()


def connected(connection, node):
    """A kept connection to the node, or to one of the connection string where that does not answer or is None."""
    if (connection, node) not in kept.connections:
        try:  # the first SERVER of a connection string counts
            made = pyodbc.connect(f"SERVER={node};{connection}" if node else connection, autocommit=True, timeout=10)
        except pyodbc.Error:
            if node is None:
                raise
            made = pyodbc.connect(connection, autocommit=True, timeout=10)
        kept.connections[connection, node] = made
    return kept.connections[connection, node]


def forget(connection, node):
    broken = kept.connections.pop((connection, node), None)
    if broken:
        broken.close()


def owners(database):
    """The nodes of the data centre that the connection goes to, by their tokens: each has the rows up to it."""
    local = database.execute("SELECT partitioner, data_center, rpc_address, tokens FROM system.local").fetchone()
    if not local.partitioner.endswith(".Murmur3Partitioner"):
        raise ValueError(f"the tokens of {local.partitioner} are no 64-bit numbers")
    peers = database.execute("SELECT data_center, rpc_address, tokens FROM system.peers").fetchall()
    return {
        int(token): node.rpc_address
        for node in [local, *peers]
        if node.data_center == local.data_center and node.tokens
        for token in re.findall(r"-?\d+", node.tokens)
    }


def estimated_bytes(database, keyspace, table):
    """The size of the table by what one node estimates of its own part: 0 for one that was just made."""
    estimates = database.execute(
        "SELECT range_start, range_end, mean_partition_size, partitions_count FROM system.size_estimates"
        " WHERE keyspace_name = ? AND table_name = ?", keyspace, table).fetchall()
    share = sum((int(row.range_end) - int(row.range_start)) % 2**64 or 2**64 for row in estimates) / 2**64
    return sum(row.mean_partition_size * row.partitions_count for row in estimates) / share if share else 0


def cut(nodes, pieces):
    """The ring in about that many ranges (start, end, node): the rows have start < token <= end.

    The rows behind the last token belong to the node of the first. With fewer ranges than tokens, a range is read
    from the node that has its end.
    """
    tokens = sorted(nodes)
    borders = {LOWEST, HIGHEST} | (set(tokens) if pieces > len(tokens) else set())
    ranges = []
    for start, end in itertools.pairwise(sorted(borders)):
        parts = max(1, round(pieces * (end - start) / 2**64))
        points = [start + (end - start) * i // parts for i in range(parts + 1)]
        for low, high in itertools.pairwise(points):
            ranges.append((low, high, nodes[tokens[bisect.bisect_left(tokens, high) % len(tokens)]]))
    return ranges


def spread(ranges):
    """One range of each node in turn: read in this order, they keep all nodes at work, not one after the other."""
    turns = collections.Counter()

    def turn(part):
        turns[part[2]] += 1
        return turns[part[2]]

    return sorted(ranges, key=turn)


class Plan(typing.NamedTuple):
    statement: str  # its two parameters are the start and the end of a range
    types: dict  # CQL's types by the names of the columns
    ranges: list


def quoted(name):
    return '"' + name.replace('"', '""') + '"'


def plan(connection, table, columns=None, splits=None):
    """How to read "keyspace.table": in about `splits` ranges, by default of 64 MiB each.

    Names are as the schema has them, without quotes.
    """
    keyspace, name = table.split(".")
    database = connected(connection, None)
    schema = database.execute("SELECT column_name, kind, position, type FROM system_schema.columns"
                              " WHERE keyspace_name = ? AND table_name = ?", keyspace, name).fetchall()
    if not schema:
        raise ValueError(f"there is no table {table}")
    types = {row.column_name: row.type for row in schema}
    keys = sorted((row.position, row.column_name) for row in schema if row.kind == "partition_key")
    token = f"token({', '.join(quoted(key) for _, key in keys)})"
    types = {column: types[column] for column in columns or types}
    statement = (f"SELECT {', '.join(map(quoted, types))} FROM {quoted(keyspace)}.{quoted(name)}"
                 f" WHERE {token} > ? AND {token} <= ?")
    pieces = splits or max(FEWEST_RANGES, math.ceil(estimated_bytes(database, keyspace, name) / RANGE_BYTES))
    return Plan(statement, types, spread(cut(owners(database), pieces)))


def read(part, connection, statement, convert=list):
    """What `convert` makes of each block of a range's rows. A range that fails is read anew, from any node, unless
    the statement is at fault."""
    start, end, node = part
    for attempt in range(ATTEMPTS):
        try:
            cursor = connected(connection, node).execute(statement, start, end)
            return [convert(rows) for rows in iter(lambda: cursor.fetchmany(BLOCK), [])]
        except pyodbc.Error as problem:
            forget(connection, node)
            if attempt == ATTEMPTS - 1 or isinstance(problem, pyodbc.ProgrammingError):
                raise
            node = None
            time.sleep(2**attempt)
