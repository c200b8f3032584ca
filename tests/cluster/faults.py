#!/usr/bin/env python3
"""Faults of a cluster of three nodes, seen by pyodbc through unixODBC with Standard=Yes: nodes are killed, started
again and stopped in their tracks between statements, inside fetches and inside arrays. Each case ends with right rows
or with the diagnostic that the documents promise; no row is wrong, doubled or lost without a word.

    VHCASS_DRIVER=path tests/cluster/faults.py
"""
import itertools
import os
import re
import signal
import subprocess
import sys
import threading
import time

import pyodbc

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
DRIVER = os.path.abspath(os.environ["VHCASS_DRIVER"])
PORT, STORAGE_PORT = 19042, 17000
TOKENS = {1: -6148914691236517206, 2: 0, 3: 6148914691236517205}
UNAVAILABLE, WRITE_TIMEOUT, READ_TIMEOUT = 0x1000, 0x1100, 0x1200
# How many replicas each needs.
LEVELS = {"ANY": 0, "ONE": 1, "LOCAL_ONE": 1, "TWO": 2, "THREE": 3, "QUORUM": "quorum", "LOCAL_QUORUM": "quorum",
          "EACH_QUORUM": "quorum", "SERIAL": "quorum", "LOCAL_SERIAL": "quorum", "ALL": "all"}
ROWS = 6000
# Appending is not repeatable: what is done twice is seen.
APPEND = "UPDATE rf3.lists SET l = l + ? WHERE k = ?"
LOG = open(ROOT + "/build/cluster.log", "a")  # of starts


def check(got, wanted, what=""):
    assert got == wanted, f"{what}: {str(got)[:300]} in place of {str(wanted)[:300]}"


# ---- Nodes -----------------------------------------------------------------------------------------------------------

def start(node, *more):
    subprocess.run([ROOT + "/tools/cassandra/start", "--name", f"cluster-{node}", "--address", f"127.0.0.{node}",
                    "--port", str(PORT), "--seed", f"127.0.0.1:{STORAGE_PORT}", "--heap", "384m",
                    "--set", f"initial_token='{TOKENS[node]}'", "--set", "phi_convict_threshold=5",
                    "--set", "read_request_timeout=2s", "--set", "write_request_timeout=2s",
                    "--set", "hinted_handoff_enabled=true", *more],
                   check=True, stdout=subprocess.DEVNULL, stderr=LOG)


def send(node, sign):
    with open(f"{ROOT}/build/cassandra/nodes/cluster-{node}/pid") as pid:
        os.kill(int(pid.read()), sign)


def kill(node):
    """And waits for its end."""
    try:
        while True:
            send(node, signal.SIGKILL)
            time.sleep(0.01)
    except ProcessLookupError:
        pass


def resume():
    """Those that are killed or stopped."""
    for node in TOKENS:
        try:
            send(node, signal.SIGCONT)
        except ProcessLookupError:
            start(node, "--resume")
    await_reads(None)


def await_reads(outcome, nodes=tuple(TOKENS)):
    """Until a read from all replicas ends so over each of the nodes: well, or with this native error."""
    def read(node):
        try:
            connect(node, Consistency="ALL").execute("SELECT v FROM rf3.t WHERE k = 0").fetchall()
        except pyodbc.Error as error:
            return native(error)

    for _ in range(120):
        got = {read(node) for node in nodes}
        if got == {outcome}:
            return
        time.sleep(0.5)
    raise AssertionError(f"reads end with {got} in place of {outcome}")


# ---- Connections -----------------------------------------------------------------------------------------------------

def connect(*nodes, **keys):
    servers = ",".join(f"127.0.0.{node}:{PORT}" for node in nodes)
    more = ";".join(f"{key}={value}" for key, value in keys.items())
    return pyodbc.connect(f"DRIVER={DRIVER};SERVER={servers};Standard=Yes;{more}", autocommit=True)


def native(error):
    """pyodbc has it in its message: '[HY000] [...] words (4096) (SQLExecDirectW)'."""
    return int(re.search(r"\((-?\d+)\) \(SQL", error.args[1])[1])


def fails(call, state):
    """The error that a call must end with."""
    try:
        call()
    except pyodbc.Error as error:
        check(error.args[0], state, error)
        return error
    raise AssertionError(f"no error in place of {state}")


def make_tables():
    connection = connect(1)
    for factor in (1, 2, 3):
        connection.execute(f"CREATE KEYSPACE rf{factor} WITH replication = "
                           f"{{'class': 'SimpleStrategy', 'replication_factor': {factor}}}")
        connection.execute(f"CREATE TABLE rf{factor}.t (k int PRIMARY KEY, v text)")
    connection.execute("CREATE TABLE rf3.pages (p int, c int, v text, PRIMARY KEY (p, c))")
    connection.execute("CREATE TABLE rf3.lists (k int PRIMARY KEY, l list<int>)")
    await_reads(None)
    writer = connect(1, Consistency="ALL").cursor()
    writer.fast_executemany = True
    writer.executemany("INSERT INTO rf3.pages (p, c, v) VALUES (1, ?, ?)", [(c, f"v{c}") for c in range(ROWS)])
    for factor in (1, 2, 3):
        writer.executemany(f"INSERT INTO rf{factor}.t (k, v) VALUES (?, ?)", [(k, f"v{k}") for k in range(20)])


def appended(keys):
    """How often each key was appended to, read from a quorum as soon as the others know who is down."""
    for attempt in range(10):
        try:
            rows = connect(1, 3, Consistency="QUORUM").execute("SELECT k, l FROM rf3.lists").fetchall()
            break
        except pyodbc.Error as error:
            if attempt == 9 or error.args[0] != "HYT00":
                raise
    times = {key: 0 for key in keys}
    times.update((k, len(l.strip("[]").split(","))) for k, l in rows if k in times)
    return times


# ---- The faults ------------------------------------------------------------------------------------------------------

def killed_between_statements():
    connection = connect(2, 3, 1)
    connection.execute("SELECT v FROM rf3.t WHERE k = 1").fetchall()
    kill(2)
    connection.execute(APPEND, "[1]", 1)
    check(appended([1]), {1: 1})
    check(connection.execute("SELECT v FROM rf3.t WHERE k = 1").fetchval(), "v1")
    check(connect(2, 3).execute("SELECT v FROM rf3.t WHERE k = 1").fetchval(), "v1")
    error = fails(lambda: connect(2, 2), "08001")
    check(error.args[1].count(f"127.0.0.2:{PORT}: OS Error"), 2, error)
    resume()
    connection.execute(APPEND, "[2]", 2)
    check(appended([1, 2]), {1: 1, 2: 1})


def killed_inside_a_fetch():
    waits = 0
    for prepared in (False, True):
        cursor = connect(2, 3, 1, PageSize=100).cursor()
        cursor.execute("SELECT c, v FROM rf3.pages WHERE p = " + ("?" if prepared else "1"), *[1] * prepared)
        rows, row = cursor.fetchmany(1050), True
        kill(2)
        while row:
            try:
                row = cursor.fetchone()
                rows += [row] if row else []
            except pyodbc.Error as error:  # the other coordinator asked the dead node: the page is asked for again
                check(error.args[0], "HYT00", error)
                waits += 1
        check([tuple(row) for row in rows], [(c, f"v{c}") for c in range(ROWS)])
        resume()
    return f"{waits} time-outs"


def killed_inside_an_array():
    connection = connect(2, 3, 1)
    cursor = connection.cursor()
    cursor.fast_executemany = True
    keys = range(1000, 6000)
    timer = threading.Timer(0.5, kill, [2])
    timer.start()
    try:
        cursor.executemany(APPEND, [(f"[{key}]", key) for key in keys])
        told = 0
    except pyodbc.Error as error:
        check(error.args[0], "08S01", error)
        told = 1
    timer.join()
    times = appended(keys)
    assert max(times.values()) == 1 and list(times.values()).count(0) <= told, (told, sorted(times.values()))
    connection.execute(APPEND, "[3]", 3)
    check(appended([3]), {3: 1})
    resume()


def killed_under_a_pool():
    """Ten threads write through killing and coming back; each knows of each write whether it is done or in doubt."""
    done, doubt, broken, end = [], [], [], time.monotonic() + 20

    def write(first):
        connection = connect(1, 2, 3, LoadBalance="Yes")
        for key in itertools.count(first):
            if time.monotonic() > end:
                return
            try:
                connection.execute(APPEND, f"[{key}]", key)
                done.append(key)
            except pyodbc.Error as error:
                (doubt if error.args[0] == "08S01" else broken).append(key)

    threads = [threading.Thread(target=write, args=(100000 * i,)) for i in range(1, 11)]
    for thread in threads:
        thread.start()
    time.sleep(2)
    kill(2)
    resume()
    for thread in threads:
        thread.join()
    times = appended(done + doubt)
    check({times[key] for key in done}, {1})
    assert {times[key] for key in doubt} <= {0, 1} and len(doubt) <= 10, f"{len(doubt)} in doubt"
    check(broken, [])
    return f"{len(done)} writes, {len(doubt)} in doubt"


def consistency_with_a_replica_down():
    kill(2)
    await_reads(UNAVAILABLE, (1, 3))
    tokens = connect(1).execute("SELECT k, token(k) FROM rf3.t").fetchall()
    ring = sorted(TOKENS, key=TOKENS.get)
    tried = 0
    for factor in (1, 2, 3):
        quorum = factor // 2 + 1
        keys = {}  # one for each number of replicas alive
        for key, token in tokens:
            first = next((i for i, node in enumerate(ring) if token <= TOKENS[node]), 0)
            keys[sum(ring[(first + i) % 3] != 2 for i in range(factor))] = key
        for level, needed in LEVELS.items():
            connection, needed = connect(1, 3, Consistency=level), {"quorum": quorum, "all": factor}.get(needed, needed)
            for alive, key in keys.items():
                for sql, values, never in ((f"SELECT v FROM rf{factor}.t WHERE k = ?", (key,), level == "ANY"),
                                           (f"INSERT INTO rf{factor}.t (k, v) VALUES (?, ?)", (key, f"v{key}"),
                                            "SERIAL" in level)):
                    tried += 1
                    if never:
                        fails(lambda: connection.execute(sql, *values), "42000")
                    elif alive < needed:
                        error = fails(lambda: connection.execute(sql, *values), "HY000")
                        check(native(error), UNAVAILABLE, f"RF {factor}, {level}, {alive} alive")
                    else:
                        cursor = connection.execute(sql, *values)
                        check(cursor.fetchval() if cursor.description else f"v{key}", f"v{key}")
    resume()
    return f"{tried} requests"


def server_time_outs():
    """A replica that is stopped and not yet known to be down: the coordinator waits its two seconds in vain."""
    connection = connect(1, Consistency="ALL")
    for sql, code in (("INSERT INTO rf3.t (k, v) VALUES (1, 'v1')", WRITE_TIMEOUT),
                      ("SELECT v FROM rf3.t WHERE k = 1", READ_TIMEOUT)):
        send(2, signal.SIGSTOP)
        check(native(fails(lambda: connection.execute(sql), "HYT00")), code, sql)
        resume()
        connection.execute(sql)


CASES = (killed_between_statements, killed_inside_a_fetch, killed_inside_an_array, killed_under_a_pool,
         consistency_with_a_replica_down, server_time_outs)


def main():
    for node in TOKENS:
        start(node)
    make_tables()
    failed = 0
    for case in CASES:
        begun = time.monotonic()
        try:
            connect(1).execute("TRUNCATE rf3.lists")
            told = case() or "ok"
        except (AssertionError, OSError, pyodbc.Error, subprocess.CalledProcessError) as problem:
            told, failed = f"FAILED: {problem}", 1
        print(f"{case.__name__}: {told} ({time.monotonic() - begun:.0f} s)", flush=True)
        if told.startswith("FAILED"):
            resume()
    return failed


if __name__ == "__main__":
    sys.exit(main())
