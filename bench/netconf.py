#!/usr/bin/env python3
"""Measures the daemon over NETCONF: netconf.py BUILD-DIRECTORY COUNT. Prints JSON, milliseconds.

The edits of one leaf and the store's own commits take turns: what the disk does at the time, it does to both.
"""

import json
import os
import pathlib
import pwd
import re
import statistics
import subprocess
import sys
import tempfile
import threading
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests"))

from netconf_client import Client, address_of, edit_of, get_of, neighbor_of  # noqa: E402

BUILD = pathlib.Path(sys.argv[1])
COUNT = int(sys.argv[2])
ROUNDS, EDITS, CLIENTS, EDITS_OF_EACH = 7, 100, 50, 40


def neighbor(number):
    """The leaves that engine_bench has in JSON."""
    return (f"<neighbor><neighbor-address>{address_of(number)}</neighbor-address><config><peer-as>{64512 + number % 400}"
            f"</peer-as><enabled>true</enabled><description>peer at {address_of(number)}</description></config>"
            "<timers><config><hold-time>90</hold-time><keepalive-interval>30</keepalive-interval>"
            "<minimum-advertisement-interval>5.250</minimum-advertisement-interval></config></timers>"
            "<transport><config><passive-mode>false</passive-mode><local-address>192.0.2.1</local-address></config>"
            "</transport><ebgp-multihop><config><enabled>true</enabled><multihop-ttl>5</multihop-ttl></config>"
            "</ebgp-multihop><logging-options><config><log-neighbor-state-changes>true</log-neighbor-state-changes></config>"
            "</logging-options><apply-policy><config><default-import-policy>REJECT_ROUTE</default-import-policy></config>"
            "</apply-policy></neighbor>")


class Daemon:
    def __init__(self, directory):
        self.path = pathlib.Path(directory, "socket")
        self.process = subprocess.Popen(
            [BUILD / "yfwd", "--db", pathlib.Path(directory, "db"), "--netconf", self.path, "--user",
             pwd.getpwuid(os.geteuid()).pw_name], stderr=subprocess.DEVNULL)
        while not self.path.exists():
            time.sleep(0.01)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()


def timed(client, body):
    begin = time.perf_counter()
    answer = client.rpc(body)
    if "<rpc-error" in answer:
        sys.exit(answer[:2000])
    return (time.perf_counter() - begin) * 1000


def leaf(number, value):
    return edit_of(neighbor_of(number, f"<description>{value}</description>"))


def own_commit(size):
    run = subprocess.run([BUILD / "engine_bench", f"--benchmark_filter=commit_record/{size}/", "--benchmark_format=json",
                          "--benchmark_min_time=0.2"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True)
    return 1000 / json.loads(run.stdout)["benchmarks"][0]["items_per_second"]


def measure(size, results):
    with tempfile.TemporaryDirectory() as directory, Daemon(directory) as daemon, Client(daemon.path) as client:
        results[f"all in one edit {size}"] = timed(client, edit_of("".join(map(neighbor, range(size)))))
        own, ours, reads = [], [], []
        for turn in range(ROUNDS):
            own.append(own_commit(size))
            ours.append(statistics.mean(timed(client, leaf(5, f"{turn} {i}")) for i in range(EDITS)))
            reads += [timed(client, get_of(neighbor_of(i % size))) for i in range(EDITS)]
        results[f"own commit {size}"] = statistics.median(own)
        results[f"one leaf {size}"] = statistics.median(ours)
        results[f"one leaf to own commit {size}"] = statistics.median(a / b for a, b in zip(ours, own))
        results[f"one read {size}"] = statistics.median(reads)
        if size == COUNT:
            at_once(daemon, results)


def at_once(daemon, results):
    def edit(number):
        with Client(daemon.path) as client:
            for i in range(EDITS_OF_EACH):
                timed(client, leaf(number, f"of {number}, {i}"))

    threads = [threading.Thread(target=edit, args=(number,)) for number in range(CLIENTS)]
    begin = time.perf_counter()
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    results["edits a second of 50 clients"] = CLIENTS * EDITS_OF_EACH / (time.perf_counter() - begin)
    with Client(daemon.path) as client:
        found = re.findall(f"<description>of ([0-9]+), {EDITS_OF_EACH - 1}<", client.rpc(get_of()))
    results["clients whose edits are lost"] = CLIENTS - len(set(found))


def main():
    results = {}
    for size in (10, COUNT):
        measure(size, results)
    print(json.dumps(results, indent=1))


main()
