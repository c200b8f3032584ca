#!/usr/bin/env python3
"""Slow and dead networks: a server in a network namespace of its own, whose link goes down in mid-request, that is
silent or sends a byte a second. Each call ends within 1.2 times its time-out. Needs root and iproute2.

    VHCASS_DRIVER=path tests/cluster/network.py
"""
import contextlib
import os
import socket
import struct
import subprocess
import sys
import threading
import time

import pyodbc

DRIVER = os.path.abspath(os.environ["VHCASS_DRIVER"])
SPACE, NEAR_END, FAR_END = "vhcass-faults", "vhcass-f0", "vhcass-f1"
HOST, SERVER, HARDWARE = "10.213.77.1", "10.213.77.2", "02:00:0a:d5:4d:02"
GOOD, SILENT, TRICKLING, MUTE = PORTS = 7001, 7002, 7003, 7004
OPTIONS, SUPPORTED, STARTUP, READY, QUERY, RESULT = 5, 6, 1, 2, 7, 8
VOID = struct.pack(">i", 1)
REPLIES = {OPTIONS: (SUPPORTED, bytes(2)), STARTUP: (READY, b""), QUERY: (RESULT, VOID)}

# ---- The server ------------------------------------------------------------------------------------------------------


def trickle(peer, data):
    for byte in data:
        peer.sendall(bytes([byte]))
        time.sleep(1)


def frame(stream, opcode, body):
    return struct.pack(">BBhBi", 0x84, 0, stream, opcode, len(body)) + body


def answer(peer, port):
    if port == SILENT:
        time.sleep(60)
    if port == TRICKLING:  # as TLS and as a frame the beginning of something long
        trickle(peer, b"\x16\x03\x03\x40\0\x02\0\x3f" + bytes(60) if peer.recv(1, socket.MSG_PEEK) == b"\x16"
                else frame(0, SUPPORTED, bytes(100)))
    requests = peer.makefile("rb")
    while head := requests.read(9):
        _, _, stream, opcode, size = struct.unpack(">BBhBi", head)
        body = requests.read(size)
        if b"trickle" in body:
            trickle(peer, frame(stream, RESULT, VOID + bytes(100)))
        elif b"silent" not in body and (opcode, port) != (STARTUP, MUTE):
            time.sleep(0.5 if b"slow" in body else 0)
            peer.sendall(frame(stream, *REPLIES[opcode]))


def serve(peer, port):
    with contextlib.suppress(OSError):  # the driver has gone
        answer(peer, port)


def listen(port):
    listener = socket.create_server((SERVER, port))
    while True:
        threading.Thread(target=serve, args=(listener.accept()[0], port), daemon=True).start()


# ---- The calls -------------------------------------------------------------------------------------------------------

def ip(words):
    subprocess.run(["ip", *words.split()], check=True)


def link(state):
    ip(f"-n {SPACE} link set {FAR_END} {state}")


def connect(port, keys, **more):
    return pyodbc.connect(f"DRIVER={DRIVER};SERVER={SERVER};PORT={port};{keys}", autocommit=True, **more)


def await_server():
    for _ in range(100):
        with contextlib.suppress(pyodbc.Error):
            return connect(GOOD, "Standard=Yes;LogonTimeout=500")
        time.sleep(0.1)


failures = []


def timed(name, state, limit, call, *arguments, **more):
    """The call ends with the state, no sooner than its limit and within 1.2 times of it; of 0, within a second."""
    begun, got = time.monotonic(), ""
    try:
        call(*arguments, **more)
    except pyodbc.Error as error:
        got = error.args[0]
    took = time.monotonic() - begun
    good = got == state and limit - 0.002 <= took <= (limit * 1.2 or 1)
    of = f" of {limit} s" if limit else ""
    print(f"{name}: {got or 'done'} after {took:.3f} s{of}{'' if good else ' FAILED'}", flush=True)
    if not good:
        failures.append(name)


def silence():
    tls = "Encrypt=yes;TrustServerCertificate=yes;"
    for what, port, more in (("a silent server", SILENT, ""), ("a silent server", SILENT, tls),
                             ("a byte a second", TRICKLING, ""), ("a byte a second", TRICKLING, tls),
                             ("no answer to STARTUP", MUTE, "")):
        # pyodbc connects twice, by the wide call and by the narrow one.
        name = f"connecting, {what}{', TLS' if more else ''}"
        timed(f"{name}, LogonTimeout", "HYT00", 2 * 1.5, connect, port, f"Standard=Yes;LogonTimeout=1500;{more}")
        timed(f"{name}, SQL_ATTR_LOGIN_TIMEOUT", "HYT00", 2 * 2, connect, port, f"Standard=Yes;{more}", timeout=2)
    for words in ("silent", "trickle"):
        for conduct in ("", "Standard=Yes;"):
            connection = connect(GOOD, f"{conduct}ReadTimeout=2500")
            timed(f"a {words} reply, {conduct}ReadTimeout", "HYT00", 2.5, connection.execute, words)
        for name, state, more in (("QUERY", "HYT00", {}), ("CONNECTION", "HYT01", {"attrs_before": {113: 2}})):
            connection = connect(GOOD, "Standard=Yes", **more)
            if not more:
                connection.timeout = 2
            timed(f"a {words} reply, SQL_ATTR_{name}_TIMEOUT", state, 2, connection.execute, words)


def dead_link():
    connection = connect(GOOD, "Standard=Yes;ReadTimeout=1500")
    threading.Timer(0.2, link, ["down"]).start()
    for name, words in (("the link goes down before the reply", "slow"), ("the next request", "next"),
                        ("a long request", "INSERT '" + "x" * 1_000_000 + "'")):
        timed(name, "HYT00", 1.5, connection.execute, words)
    timed("connecting", "HYT00", 2 * 1.5, connect, GOOD, "Standard=Yes;LogonTimeout=1500")
    link("up")
    await_server()
    timed("the link is up again: the same connection", "", 0, connection.execute, "next")


def main():
    if sys.argv[1:] == ["--serve"]:
        for port in PORTS[1:]:
            threading.Thread(target=listen, args=(port,), daemon=True).start()
        listen(PORTS[0])
    ip(f"netns add {SPACE}")
    try:
        # The server's hardware address is known for good: the dead link is silent, and no route that is missing.
        for words in (f"link add {NEAR_END} type veth peer name {FAR_END} address {HARDWARE} netns {SPACE}",
                      f"addr add {HOST}/30 dev {NEAR_END}", f"link set {NEAR_END} up",
                      f"neigh add {SERVER} lladdr {HARDWARE} dev {NEAR_END}",
                      f"-n {SPACE} addr add {SERVER}/30 dev {FAR_END}"):
            ip(words)
        link("up")
        with subprocess.Popen(["ip", "netns", "exec", SPACE, sys.executable, __file__, "--serve"]) as server:
            try:
                await_server()
                silence()
                dead_link()
            finally:
                server.kill()
    finally:
        ip(f"netns del {SPACE}")
    return len(failures) != 0


if __name__ == "__main__":
    sys.exit(main())
