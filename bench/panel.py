"""Measures the panel's server, in Wine: how long it takes from a click to an edge, and from an edge to who
listens; whether 10,000 edges in a second all arrive; and what 50 open pages cost a host's calls.

    bench/panel.py            prints medians of one run

Needs the products and the target bench_probe in build/windows-x64.
"""

import contextlib
import json
import os
import re
import socket
import statistics
import subprocess
import tempfile
import threading
import time
import urllib.parse
import http.client
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
TOOL = ROOT / "build/windows-x64/rig/solvane-rig.exe"
PROBE = ROOT / "build/windows-x64/tests/system/bench_probe.exe"
NAME = f"measured-{os.getpid()}"
CLICKS = 51
EDGES = 10_000
PAGES = 50
ROUNDS = 3


class Listener:
    """A page's stream of events, read in a thread of its own."""

    def __init__(self, server, path):
        connection = http.client.HTTPConnection(server, timeout=120)
        connection.request("GET", path + "events")
        self.socket = connection.sock
        self.stream = connection.getresponse()
        self.condition = threading.Condition()
        self.entries = []  # (when it came, the entry)
        self.started = None
        threading.Thread(target=self.listen, daemon=True).start()

    def listen(self):
        kind = ""
        with contextlib.suppress(OSError, ValueError, AttributeError):
            for line in self.stream:
                now = time.perf_counter()
                if line.startswith(b"event: "):
                    kind = line[7:].strip()
                elif line.startswith(b"data: ") and kind in (b"state", b"journal"):
                    with self.condition:
                        if kind == b"state":
                            self.started = self.started or now
                        else:
                            self.entries += [(now, entry) for entry in json.loads(line[6:])]
                        self.condition.notify_all()

    def close(self):
        self.socket.shutdown(socket.SHUT_RDWR)

    def wait(self, is_so):
        with self.condition:
            assert self.condition.wait_for(is_so, 120), "what is waited for did not come"


def post(connection, path, words):
    connection.request("POST", path + "command", words)
    answer = json.loads(connection.getresponse().read())
    assert answer["exit"] == 0, answer
    return answer


def starts(server, path):
    """ms from asking for the page until its first state."""
    times = []
    for _ in range(11):
        begin = time.perf_counter()
        connection = http.client.HTTPConnection(server, timeout=60)
        connection.request("GET", path)
        connection.getresponse().read()
        listener = Listener(server, path)
        listener.wait(lambda: listener.started)
        times.append(1000 * (listener.started - begin))
        listener.close()
    return statistics.median(times)


def clicks(server, path):
    """ms from a click until its edge has happened, at most; and from then until it is heard, at most."""
    listener = Listener(server, path)
    listener.wait(lambda: listener.started)
    connection = http.client.HTTPConnection(server, timeout=60)
    to_edge, to_page = [], []
    for i in range(CLICKS):
        heard = len(listener.entries)
        sent = time.perf_counter()
        post(connection, path, f"force ready {i % 2}")
        to_edge.append(1000 * (time.perf_counter() - sent))
        listener.wait(lambda: any(entry["kind"] == "edge" for _, entry in listener.entries[heard:]))
        came = [when for when, entry in listener.entries[heard:] if entry["kind"] == "edge"]
        to_page += [1000 * (when - sent) for when in came]
        time.sleep(0.013 + 0.001 * (i % 12))  # not in step with the server's looks
    post(connection, path, "force ready free")
    return statistics.median(to_edge), statistics.median(to_page)


def edges(server, path):
    """How many of 10,000 edges in one second arrive, in their order."""
    events = "".join(f"[[event]]\nat_ms = {500 + i // 10}\naction = 'force ready {(i + 1) % 2}'\n"
                     for i in range(EDGES))
    listener = Listener(server, path)
    listener.wait(lambda: listener.started)
    connection = http.client.HTTPConnection(server, timeout=60)
    begin = post(connection, path, "journal --since 999999999 --json")["json"]["next"]
    post(connection, path, "scenario edges.toml\n[camera]\nready = false\n" + events)
    listener.wait(lambda: sum(entry["text"].startswith("force") and entry["n"] >= begin
                              for _, entry in listener.entries) >= EDGES)
    time.sleep(0.2)
    numbers = [entry["n"] for _, entry in listener.entries]
    assert numbers == list(range(numbers[0], numbers[0] + len(numbers))), "a gap"
    came = [entry for _, entry in listener.entries if entry["n"] > begin + 1
            and entry["kind"] == "edge" and entry["text"].startswith("ready")]
    return len(came), (came[-1]["ns"] - came[0]["ns"]) / 1e9


def cost(bench):
    run = subprocess.run([ROOT / "scripts/wine", PROBE, bench, "cost"], check=True, text=True,
                         stdout=subprocess.PIPE)
    return float(re.search(r"([\d.]+) us on a bench", run.stdout)[1])


def pages(server, path):
    """A vendor call in us without a page, with one and with 50: medians of rounds in turn."""
    costs = {0: [], 1: [], PAGES: []}
    for _ in range(ROUNDS):
        for count, list_ in costs.items():
            listeners = [Listener(server, path) for _ in range(count)]
            list_.append(cost(NAME))
            for listener in listeners:
                listener.close()
    return {count: statistics.median(list_) for count, list_ in costs.items()}


def main():
    with tempfile.TemporaryFile() as err:
        panel = subprocess.Popen([ROOT / "scripts/wine", TOOL, "panel", "--no-browser", "--name", NAME],
                                 stdout=subprocess.PIPE, stderr=err, text=True)
        address = urllib.parse.urlsplit(panel.stdout.readline().strip())
        server, path = address.netloc, address.path
        try:
            print(f"page start: {starts(server, path):.0f} ms until the state is there")
            to_edge, to_page = clicks(server, path)
            print(f"click to edge: {to_edge:.1f} ms at most; to the listener: {to_page:.1f} ms")
            costs = pages(server, path)
            print(f"a vendor call: {costs[0]:.0f} us without a page, {costs[1]:.0f} us with one "
                  f"({costs[1] / costs[0]:.2f}), {costs[PAGES]:.0f} us with {PAGES} "
                  f"({costs[PAGES] / costs[0]:.2f})")
            count, seconds = edges(server, path)
            print(f"edges: {count} of {EDGES} arrived, made in {seconds:.2f} s")
            assert count == EDGES
        finally:
            post(http.client.HTTPConnection(server, timeout=60), path, "stop")
            panel.communicate(timeout=60)


if __name__ == "__main__":
    main()
