#!/usr/bin/env python3
"""Slow and dead networks: a server in a network namespace of its own, whose link goes down in mid-request, that is
silent or sends a byte a second. Each call ends within 1.2 times its time-out. Needs root and iproute2.

    VHCASS_DRIVER=path tests/cluster/network.py
"""
import contextlib
import ctypes
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
HOST, SERVER = "10.213.77.1", "10.213.77.2"
GOOD, SILENT, TRICKLING, MUTE = PORTS = 7001, 7002, 7003, 7004
OPTIONS, SUPPORTED, STARTUP, READY, QUERY, RESULT = 5, 6, 1, 2, 7, 8
VOID = struct.pack(">i", 1)

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
        if opcode == OPTIONS:
            peer.sendall(frame(stream, SUPPORTED, bytes(2)))
        elif opcode == STARTUP and port != MUTE:
            peer.sendall(frame(stream, READY, b""))
        elif opcode == QUERY and b"trickle" in body:
            trickle(peer, frame(stream, RESULT, VOID + bytes(100)))
        elif opcode == QUERY and b"silent" not in body:
            time.sleep(0.5 if b"slow" in body else 0)
            peer.sendall(frame(stream, RESULT, VOID))


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


def text_of(port, keys):
    return f"DRIVER={DRIVER};SERVER={SERVER};PORT={port};{keys}"


def log_on(port, keys, seconds=0):
    """The state of SQLDriverConnect, called once, where pyodbc would call it again."""
    odbc, env, conn = ctypes.CDLL("libodbc.so.2"), ctypes.c_void_p(), ctypes.c_void_p()
    odbc.SQLAllocHandle(1, None, ctypes.byref(env))
    odbc.SQLSetEnvAttr(env, 200, ctypes.c_void_p(3), 0)
    odbc.SQLAllocHandle(2, env, ctypes.byref(conn))
    if seconds:
        odbc.SQLSetConnectAttr(conn, 103, ctypes.c_void_p(seconds), 0)
    state = ctypes.create_string_buffer(6)
    if odbc.SQLDriverConnect(conn, None, text_of(port, keys).encode(), -3, None, 0, None, 0) & 0xFFFE:
        odbc.SQLGetDiagRec(2, conn, 1, state, None, None, 0, None)
    else:
        odbc.SQLDisconnect(conn)
    odbc.SQLFreeHandle(2, conn)
    odbc.SQLFreeHandle(1, env)
    return state.value.decode()


def await_server():
    for _ in range(100):
        if log_on(GOOD, "Standard=Yes;LogonTimeout=500") == "":
            return
        time.sleep(0.1)


def request(connection, words):
    try:
        connection.execute(words)
        return ""
    except pyodbc.Error as error:
        return error.args[0]


failures = []


def timed(name, state, limit, call, *arguments):
    """The call ends with the state, no sooner than its limit and within 1.2 times of it; of 0, within a second."""
    begun = time.monotonic()
    got = call(*arguments)
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
        name = f"connecting, {what}{', TLS' if more else ''}"
        timed(f"{name}, LogonTimeout", "HYT00", 1.5, log_on, port, f"Standard=Yes;LogonTimeout=1500;{more}")
        timed(f"{name}, SQL_ATTR_LOGIN_TIMEOUT", "HYT00", 2, log_on, port, f"Standard=Yes;{more}", 2)
    for words in ("silent", "trickle"):
        for conduct in ("", "Standard=Yes;"):
            connection = pyodbc.connect(text_of(GOOD, f"{conduct}ReadTimeout=2500"), autocommit=True)
            timed(f"a {words} reply, {conduct}ReadTimeout", "HYT00", 2.5, request, connection, words)
        for name, state, more in (("QUERY", "HYT00", {}), ("CONNECTION", "HYT01", {"attrs_before": {113: 2}})):
            connection = pyodbc.connect(text_of(GOOD, "Standard=Yes"), autocommit=True, **more)
            if not more:
                connection.timeout = 2
            timed(f"a {words} reply, SQL_ATTR_{name}_TIMEOUT", state, 2, request, connection, words)


def dead_link():
    long_text = "INSERT '" + "x" * 1_000_000 + "'"
    for name, words in (("the reply", "slow"), ("a long request", long_text)):
        connection = pyodbc.connect(text_of(GOOD, "Standard=Yes;ReadTimeout=1500"), autocommit=True)
        down = threading.Timer(0.2 if words == "slow" else 0, link, ["down"])
        down.start()
        if words != "slow":
            down.join()
        timed(f"the link goes down before {name}", "HYT00", 1.5, request, connection, words)
        if words == "slow":
            timed("the next request", "HYT00", 1.5, request, connection, "next")
            timed("connecting", "HYT00", 1.5, log_on, GOOD, "Standard=Yes;LogonTimeout=1500")
        link("up")
        await_server()
        timed("the link is up again: the same connection", "", 0, request, connection, "next")


def main():
    if sys.argv[1:] == ["--serve"]:
        for port in PORTS[1:]:
            threading.Thread(target=listen, args=(port,), daemon=True).start()
        listen(PORTS[0])
    ip(f"netns add {SPACE}")
    try:
        ip(f"link add {NEAR_END} type veth peer name {FAR_END} netns {SPACE}")
        ip(f"addr add {HOST}/30 dev {NEAR_END}")
        ip(f"link set {NEAR_END} up")
        ip(f"-n {SPACE} addr add {SERVER}/30 dev {FAR_END}")
        link("up")
        server = subprocess.Popen(["ip", "netns", "exec", SPACE, sys.executable, __file__, "--serve"])
        try:
            await_server()
            silence()
            dead_link()
        finally:
            server.kill()
            server.wait()
    finally:
        ip(f"netns del {SPACE}")
    return len(failures) != 0


if __name__ == "__main__":
    sys.exit(main())
