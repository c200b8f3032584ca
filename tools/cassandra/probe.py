#!/usr/bin/env python3
"""Helper of the start script: asks a node over the native protocol whether it is ready, and finds free ports.

  probe.py ready HOST PORT [--user U --password P] [--cafile F [--cert F --key F]]
                 [--wait SECONDS --pid PID] [--verbose]
      exit status 0: a query was answered; 1: not within the time; 2: the process is gone
  probe.py ports COUNT ADDRESS... [--taken PORT,PORT...]
      prints COUNT ports that are free on all of the addresses
  probe.py free PORT ADDRESS...
      exit status 0 if the port is free on all of the addresses

Python's standard library only.
"""
import argparse
import os
import random
import signal
import socket
import ssl
import struct
import sys
import time

ERROR, STARTUP, READY, AUTHENTICATE, OPTIONS, SUPPORTED, QUERY, RESULT = 0, 1, 2, 3, 5, 6, 7, 8
AUTH_RESPONSE, AUTH_SUCCESS = 0x0F, 0x10


class NotReady(Exception):
    pass


def text(value):
    raw = value.encode()
    return struct.pack(">H", len(raw)) + raw


class Connection:
    def __init__(self, args):
        self.sock = socket.create_connection((args.host, args.port), timeout=5)
        if args.cafile:
            context = ssl.create_default_context(cafile=args.cafile)
            if args.cert:
                context.load_cert_chain(args.cert, args.key)
            self.sock = context.wrap_socket(self.sock, server_hostname=args.host)

    def receive(self, size):
        data = b""
        while len(data) < size:
            part = self.sock.recv(size - len(data))
            if not part:
                raise NotReady("connection closed")
            data += part
        return data

    def ask(self, opcode, body, *expected):
        self.sock.sendall(struct.pack(">BBhBI", 4, 0, 0, opcode, len(body)) + body)
        version, _, _, reply, size = struct.unpack(">BBhBI", self.receive(9))
        if version != 0x84 or size > 1 << 20:
            raise NotReady("not the native protocol")
        data = self.receive(size)
        if reply == ERROR:
            code, length = struct.unpack(">iH", data[:6])
            raise NotReady("error 0x%04x: %s" % (code, data[6:6 + length].decode(errors="replace")))
        if reply not in expected:
            raise NotReady("unexpected reply %d" % reply)
        return reply, data


def supported(data):
    def take_text(pos):
        size, = struct.unpack_from(">H", data, pos)
        return data[pos + 2:pos + 2 + size].decode(), pos + 2 + size

    count, = struct.unpack_from(">H", data)
    pos, options = 2, []
    for _ in range(count):
        key, pos = take_text(pos)
        values, = struct.unpack_from(">H", data, pos)
        pos += 2
        found = []
        for _ in range(values):
            value, pos = take_text(pos)
            found.append(value)
        options.append("%s=%s" % (key, ",".join(found)))
    return "; ".join(sorted(options))


def query(args):
    """One full conversation; returns the server's version."""
    say = (lambda line: print(line, file=sys.stderr)) if args.verbose else (lambda line: None)
    connection = Connection(args)
    try:
        if args.cafile:
            say("tls: %s %s" % (connection.sock.version(), connection.sock.cipher()[0]))
        _, data = connection.ask(OPTIONS, b"", SUPPORTED)
        say("supported: " + supported(data))
        body = struct.pack(">H", 1) + text("CQL_VERSION") + text("3.0.0")
        reply, data = connection.ask(STARTUP, body, READY, AUTHENTICATE)
        if reply == AUTHENTICATE:
            say("authenticate: " + data[2:].decode())
            if args.user is None:
                raise NotReady("the node asks for a log-in")
            token = b"\0" + args.user.encode() + b"\0" + args.password.encode()
            connection.ask(AUTH_RESPONSE, struct.pack(">i", len(token)) + token, AUTH_SUCCESS)
        elif args.user is not None:
            raise NotReady("the node asks for no log-in")
        statement = b"SELECT release_version FROM system.local"
        body = struct.pack(">I", len(statement)) + statement + struct.pack(">HB", 1, 0)
        _, data = connection.ask(QUERY, body, RESULT)
        # One row of one short text: it ends with the number of rows, the cell's length, the cell.
        for size in range(1, min(64, len(data) - 8)):
            if data[-size - 8:-size] == struct.pack(">ii", 1, size):
                return data[-size:].decode()
        raise NotReady("the query gave no row")
    finally:
        connection.sock.close()


def alive(pid):
    try:
        with open("/proc/%d/stat" % pid) as stat:
            return stat.read().rpartition(")")[2].split()[0] not in "ZX"
    except OSError:
        return False


def ready(args):
    end = time.monotonic() + args.wait
    while True:
        try:
            version = query(args)
            print(version)
            return 0
        except (NotReady, OSError, struct.error, ValueError) as problem:
            last = problem
        if args.pid and not alive(args.pid):
            print("the process is gone (%s)" % last, file=sys.stderr)
            return 2
        if time.monotonic() >= end:
            print("not ready: %s" % last, file=sys.stderr)
            return 1
        time.sleep(0.2)


def is_free(port, addresses):
    for address in addresses:
        with socket.socket(socket.AF_INET6 if ":" in address else socket.AF_INET) as sock:
            sock.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            try:
                sock.bind((address, port))
                sock.listen(1)
            except OSError:
                return False
    return True


def ports(args):
    # Below the range that the kernel takes for outgoing connections.
    taken = {int(port) for port in args.taken.split(",") if port}
    candidates = [port for port in range(20000, 32000) if port not in taken]
    random.shuffle(candidates)
    found = []
    for port in candidates:
        if len(found) == args.count:
            break
        if is_free(port, args.addresses):
            found.append(port)
    print(*found)
    return 0 if len(found) == args.count else 1


def main():
    parser = argparse.ArgumentParser()
    commands = parser.add_subparsers(dest="command", required=True)
    one = commands.add_parser("ready")
    one.add_argument("host")
    one.add_argument("port", type=int)
    one.add_argument("--user")
    one.add_argument("--password", default="")
    one.add_argument("--cafile")
    one.add_argument("--cert")
    one.add_argument("--key")
    one.add_argument("--wait", type=float, default=0)
    one.add_argument("--pid", type=int)
    one.add_argument("--verbose", action="store_true")
    two = commands.add_parser("ports")
    two.add_argument("count", type=int)
    two.add_argument("addresses", nargs="+")
    two.add_argument("--taken", default="")
    three = commands.add_parser("free")
    three.add_argument("port", type=int)
    three.add_argument("addresses", nargs="+")
    args = parser.parse_args()
    if args.command == "ready":
        return ready(args)
    if args.command == "ports":
        return ports(args)
    return 0 if is_free(args.port, args.addresses) else 1


if __name__ == "__main__":
    # An interruption ends it without a traceback.
    signal.signal(signal.SIGINT, signal.SIG_DFL)
    sys.exit(main())
