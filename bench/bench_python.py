#!/usr/bin/env python3
"""bench_python.py QV: commands of the Python client beside a loop over a bare socket."""

import os
import pathlib
import socket
import statistics
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path[:0] = [str(ROOT / "python")]

import qvclient  # noqa: E402

COUNT = 10_000
ROUNDS = 7
COMMAND = "app.numsubnodes()"


def bare(port):
    """The least that Python can do: one send and one receive for each command."""
    payload = COMMAND.encode() + b"\0"
    message = str(len(payload)).encode().ljust(20, b"\0") + payload
    with socket.create_connection(("127.0.0.1", port)) as connection:
        connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        began = time.perf_counter()
        for _ in range(COUNT):
            connection.sendall(message)
            connection.recv(4096)
        return time.perf_counter() - began


def client(port, prepare):
    with qvclient.connect(port) as app:
        step = prepare(app)
        began = time.perf_counter()
        for _ in range(COUNT):
            step()
        return time.perf_counter() - began


def text(app):
    return lambda: app.command(COMMAND)


def method(app):
    return app.numsubnodes


def value(app):
    app.command("app.closeall()")
    app.command('app.addsubnode("projectTB", "P"); app.subnodes[1].addsubnode("notesTB", "n")')
    note = app.subnodes[1].subnodes[1]
    return lambda: note.text


def microseconds(times):
    return statistics.median(times) / COUNT * 1e6


def main():
    arguments = [sys.argv[1], "serve", "--port", "0"]
    rows = {"command as text": text, "method call": method, "value read": value}
    times = {name: [] for name in ["bare", *rows]}
    server = subprocess.Popen(arguments, stdout=subprocess.PIPE)
    try:
        port = int(server.stdout.readline().split()[1])
        for _ in range(ROUNDS):  # in turn, so that all meet the same disturbances
            times["bare"].append(bare(port))
            for name, prepare in rows.items():
                times[name].append(client(port, prepare))
    finally:
        server.kill()
        server.wait()
    rival = microseconds(times["bare"])
    for name in rows:
        ours = microseconds(times[name])
        ratio = f"{ours / rival:.2f} | 1.30"
        print(f"| Python, {name} | {ours:.3g} µs | {rival:.3g} µs (bare socket) | {ratio} |")


if __name__ == "__main__":
    main()
