#!/usr/bin/env python3
"""Times the command as a user runs it, with few and many neighbours: commands.py YFW DIRECTORY.

Prints JSON: by request and size the seconds that it takes; with no neighbour at all that is its start.
"""

import json
import pathlib
import shutil
import statistics
import subprocess
import sys
import time

YFW = sys.argv[1]
DIRECTORY = pathlib.Path(sys.argv[2])
SIZES = {0: 40, 150: 40, 15000: 5}  # with the times that each is run
STATE = "/network-instances/network-instance/protocols/protocol/bgp/neighbors/neighbor/state"


def addresses(count):
    return [f"10.{i >> 16}.{i >> 8 & 255}.{i & 255}" for i in range(1, count + 1)]


def instance(name, bgp):
    protocol = {"identifier": "BGP", "name": "core", "bgp": bgp}
    return {"network-instances": {"network-instance": [{"name": name, "protocols": {"protocol": [protocol]}}]}}


def configuration(count):
    return instance("DEFAULT", {
        "global": {"config": {"as": 65000}},
        "neighbors": {"neighbor": [{
            "neighbor-address": address,
            "config": {"peer-as": 64512 + i % 400, "enabled": True, "description": "peer at " + address},
            "timers": {"config": {"hold-time": "90", "keepalive-interval": "30"}},
            "transport": {"config": {"passive-mode": False, "local-address": "192.0.2.1"}},
            "ebgp-multihop": {"config": {"enabled": True, "multihop-ttl": 5}},
            "afi-safis": {"afi-safi": [{"afi-safi-name": name, "config": {"enabled": True}}
                                       for name in ("IPV4_UNICAST", "IPV6_UNICAST")]},
        } for i, address in enumerate(addresses(count))]}})


def state(count):
    return {"ocni-bgp": instance("default", {"neighbors": {"neighbor": [{
        "neighbor-address": address,
        "state": {"neighbor-address": address, "peer-as": 64512 + i % 400, "session-state": "established",
                  "established-transitions": "3", "queues": {"input": 0, "output": 2},
                  "messages": {"sent": {"UPDATE": "120"}, "received": {"UPDATE": "3400"}}},
        "timers": {"state": {"hold-time": "90", "negotiated-hold-time": "60"}},
        "neighbors-afi-safis": {"neighbors-afi-safi": [
            {"afi-safi-name": name, "state": {"afi-safi-name": name, "active": True, "prefixes": {"received": 5}}}
            for name in ("IPV4_UNICAST", "IPV6_UNICAST")]},
    } for i, address in enumerate(addresses(count))]}})}


def run(db, *arguments):
    begin = time.monotonic()
    subprocess.run([YFW, "--db", db, *arguments], stdout=subprocess.DEVNULL, check=True)
    return time.monotonic() - begin


def main():
    dbs = {}
    files = {}
    for count in SIZES:
        files[count] = DIRECTORY / f"configuration-{count}.json"
        files[count].write_text(json.dumps(configuration(count)))
        operational = DIRECTORY / f"state-{count}.json"
        operational.write_text(json.dumps(state(count)))
        dbs[count] = DIRECTORY / f"db-{count}"
        run(dbs[count], "edit", files[count])
        run(dbs[count], "load", operational)

    def commit(count):
        fresh = DIRECTORY / "fresh"
        shutil.rmtree(fresh, ignore_errors=True)
        return run(fresh, "edit", "--compact", files[count])

    none = DIRECTORY / "none"
    requests = {
        "edit --dry-run": lambda count: run(none, "edit", "--dry-run", "--compact", files[count]),
        "edit": commit,
        "get": lambda count: run(dbs[count], "get", "--compact"),
        "get --state": lambda count: run(dbs[count], "get", "--state", "--compact"),
        "get --state .../neighbor/state": lambda count: run(dbs[count], "get", "--state", "--compact", STATE),
    }
    samples = {}
    for count, times in SIZES.items():
        for _ in range(times):
            for name, request in requests.items():
                samples.setdefault(name, {}).setdefault(count, []).append(request(count))
    print(json.dumps({name: {count: statistics.median(of_size) for count, of_size in sizes.items()}
                      for name, sizes in samples.items()}))


main()
