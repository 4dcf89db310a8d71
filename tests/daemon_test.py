#!/usr/bin/env python3
"""The daemon and its bad days: peers that do what they should not, kills, roles, more than one of it.

YFW_TEST_KILLS: how often it is killed under load, 15 unless that says otherwise.
"""

import argparse
import contextlib
import os
import pathlib
import pwd
import random
import re
import signal
import socket
import stat
import subprocess
import sys
import tempfile
import threading
import time
import traceback
import unittest

from netconf_client import BASE, HELLO, Client, bgp_of, chunked, edit_of, get_of, neighbor_of, rpc_of

PROGRAMS = argparse.Namespace()
SECONDS = 20
MEMORY_MIB = 64  # the daemon's --memory


def two_leaves(number, value):
    return edit_of(neighbor_of(number, f"<peer-as>{value}</peer-as><description>n{value}</description>"))


class Daemon:
    def __init__(self, directory, *options, user="root", db="db", name="socket", ready=True):
        self.db, self.path = pathlib.Path(directory, db), pathlib.Path(directory, name)
        self.log = tempfile.TemporaryFile()
        self.process = subprocess.Popen([PROGRAMS.daemon, "--db", self.db, "--netconf", self.path, "--user", user, *options],
                                        stderr=self.log)
        end = time.monotonic() + SECONDS
        while ready and b"ready: " not in self.text():
            assert self.process.poll() is None and time.monotonic() < end, self.text()
            time.sleep(0.01)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        self.log.close()

    def text(self):
        return os.pread(self.log.fileno(), 1 << 24, 0)

    def client(self, **options):
        return Client(self.path, **options)

    def status(self, name):
        return re.search(rf"(?m)^{name}:\s*(.*)$", pathlib.Path(f"/proc/{self.process.pid}/status").read_text())[1]

    def mebibytes(self):
        return int(self.status("VmRSS").split()[0]) / 1024


def values(text):
    """(peer-as, description) by address."""
    return {address: tuple(re.search(f"<{name}>([^<]*)", entry)[1] for name in ("peer-as", "description"))
            for address, entry in re.findall("(?s)<neighbor><neighbor-address>([^<]*)(.*?)</neighbor>", text)}


def as_user(name, function):
    """The function's text, of a process of that user."""
    readable, writable = os.pipe()
    child = os.fork()
    if child == 0:
        try:
            user = pwd.getpwnam(name)
            os.setgroups([])
            os.setgid(user.pw_gid)
            os.setuid(user.pw_uid)
            os.write(writable, function().encode())
        except BaseException:  # it must not become a second test
            os.write(writable, traceback.format_exc().encode())
        os._exit(0)
    os.close(writable)
    with open(readable) as stream:
        text = stream.read()
    os.waitpid(child, 0)
    return text


def levels(count):
    return rpc_of("<get-config><source><running/></source>" + "<filter>" * count + "</filter>" * count + "</get-config>")


def deep_edit(count):
    return rpc_of("<edit-config><target><running/></target><config>" + "<a>" * count + "</a>" * count +
                  "</config></edit-config>")


GET = rpc_of("<get-config><source><running/></source></get-config>")
# What is sent, and what is to come; "" is nothing but the end of the connection. Behind "open: " what is to come on a
# connection that stays.
BAD_PEERS = {
    "no hello": (b"", ""),
    "half a hello": (HELLO[:40], ""),
    "no hello but a request": (GET + b"]]>]]>", ""),
    "a hello without a base": (HELLO.replace(b"base:1.1", b"base:9"), ""),
    "a hello of another namespace": (HELLO.replace(BASE.encode(), b"urn:x"), ""),
    "a hello with a session-id": (HELLO.replace(b"</hello>", b"<session-id>1</session-id></hello>"), ""),
    "a chunk of 0": (HELLO + b"\n#0\n\n##\n", ""),
    "a negative chunk": (HELLO + b"\n#-5\nhello", ""),
    "a chunk of 2^64-1": (HELLO + b"\n#18446744073709551615\nhello", ""),
    "a chunk of 4 GiB": (HELLO + b"\n#4294967295\n" + b"x" * 2_000_000, "too-big"),
    "an end without a beginning": (HELLO + b"\n##\n", ""),
    "the old framing": (HELLO + GET + b"]]>]]>", ""),
    "100,000 chunks": (HELLO + b"".join(b"\n#1\n%c" % c for c in GET.replace(b"<source>", b" " * 100_000 + b"<source>")) +
                       b"\n##\n", "open: <data>"),
    "a document type": (HELLO + chunked(b'<!DOCTYPE rpc [<!ENTITY a "a">]>' + GET), "malformed-message"),
    "1,000 levels": (HELLO + chunked(levels(1000)), "malformed-message"),
    "1,000 levels of configuration": (HELLO + chunked(deep_edit(1000)), "open: rpc-error"),
    "20,000 elements": (HELLO + chunked(rpc_of("<get>" + "<a/>" * 20_000 + "</get>")), "malformed-message"),
    "another namespace": (HELLO + chunked(GET.replace(BASE.encode(), b"urn:x")), "malformed-message"),
    "an operation of another": (HELLO + chunked(rpc_of('<get xmlns="urn:x"/>')), "open: operation-not-supported"),
    "an unknown operation": (HELLO + chunked(rpc_of("<reboot/>")), "open: operation-not-supported"),
    "no operation": (HELLO + chunked(rpc_of("")), "open: malformed-message"),
    "two operations": (HELLO + chunked(rpc_of("<get/><get/>")), "open: malformed-message"),
    "a filter of all with all": (HELLO + chunked(rpc_of(get_of(3000 * (
        "<neighbor><config><description>x</description></config></neighbor>")))), "open: too-big"),
    "no message-id": (HELLO + chunked(f'<rpc xmlns="{BASE}"><get/></rpc>'.encode()), "open: missing-attribute"),
    "more than a message may have": (HELLO + chunked(rpc_of("<get/>" + " " * (1 << 20))), "too-big"),
    "no XML": (HELLO + chunked(b"what?"), "malformed-message"),
    "zero bytes": (HELLO + chunked(GET.replace(b"running", b"run\0ning")), "malformed-message"),
    "bytes that are no UTF-8": (HELLO + chunked(GET.replace(b"running", b"\xff\xfe")), "malformed-message"),
    "garbage": (random.Random(1).randbytes(300_000), ""),
    "garbage behind hello": (HELLO + random.Random(2).randbytes(300_000), ""),
}


class BadPeers(unittest.TestCase):
    """After each, the requests of others are answered in time and the daemon's memory is what it was."""

    def setUp(self):
        self.directory = self.enterContext(tempfile.TemporaryDirectory())
        self.daemon = self.enterContext(Daemon(self.directory, "--message", "1", "--memory", str(MEMORY_MIB), "--hello", "1"))
        self.other = self.enterContext(self.daemon.client())
        self.assertIn("<ok/>", self.other.rpc(two_leaves(1, 65001)))
        self.assertIn("<ok/>", self.other.rpc(two_leaves(3, 65001)))
        for first in range(4, 2000, 500):
            inner = "".join(neighbor_of(n, "<peer-as>65001</peer-as>") for n in range(first, first + 500))
            self.assertIn("<ok/>", self.other.rpc(edit_of(inner)))
        self.value = 65001
        self.before = self.daemon.mebibytes()

    def enterContext(self, manager):  # unittest has it from Python 3.11 on
        self.addCleanup(manager.__exit__, None, None, None)
        return manager.__enter__()

    def look(self):
        self.value += 1
        begin = time.monotonic()
        self.assertIn("<ok/>", self.other.rpc(two_leaves(1, self.value)))
        self.assertIn(f"n{self.value}<", self.other.rpc(get_of(neighbor_of(1))))
        self.assertLess(time.monotonic() - begin, 3)
        self.assertIsNone(self.daemon.process.poll())
        # What requests may hold, answers twice as much, and what the allocator keeps.
        # A sanitizer keeps what is freed for a while.
        self.assertLess(self.daemon.mebibytes(), self.before + 3 * MEMORY_MIB + (512 if PROGRAMS.sanitized else 64))

    def test_messages(self):
        for name, (sent, wanted) in BAD_PEERS.items():
            with self.subTest(name), self.daemon.client(hello=b"") as bad:
                with contextlib.suppress(BrokenPipeError, ConnectionResetError):
                    bad.socket.sendall(sent)
                if wanted.startswith("open: "):
                    bad.until(b"]]>]]>")
                    self.assertIn(wanted.removeprefix("open: "), bad.answer())
                    self.assertIn("<data", bad.rpc(get_of(neighbor_of(1))))
                else:
                    begin = time.monotonic()
                    answer = bad.rest().partition("]]>]]>")[2]
                    self.assertLess(time.monotonic() - begin, 5)
                    self.assertIn(wanted, answer)
                    self.assertTrue(wanted or not answer, answer)
                self.look()

    def test_half_a_message_and_gone(self):
        for end in (10, 200, 100_000):
            with self.daemon.client() as bad:
                bad.socket.sendall(chunked(rpc_of("<get/>" + " " * 200_000))[:end])
            self.look()

    def test_who_never_reads(self):
        bad = [self.enterContext(self.daemon.client(timeout=1)) for _ in range(20)]
        for client in bad:  # an answer each has about 400 KB
            with contextlib.suppress(socket.timeout):
                for _ in range(100):
                    client.send("<get-config><source><running/></source></get-config>")
        self.look()

    def test_many_at_once(self):
        clients = [self.enterContext(self.daemon.client()) for _ in range(350)]
        self.look()
        for client in clients:
            client.send(get_of(neighbor_of(1)))
        for client in clients:
            self.assertIn(f"n{self.value}<", client.answer())
        self.look()

    def test_gone_in_a_commit(self):
        moments = random.Random(3)
        for value in range(70000, 70040):
            with self.daemon.client() as bad:
                edit = two_leaves(3, value).replace("running", "candidate")
                self.assertIn("<ok/>", bad.rpc("<discard-changes/>"))
                self.assertIn("<ok/>", bad.rpc(edit))
                bad.send("<commit/>")
                time.sleep(moments.uniform(0, 0.004))  # what nobody waits for may be done, or not
            (peer_as, description), = values(self.other.rpc(get_of(neighbor_of(3)))).values()
            self.assertEqual(description, "n" + peer_as)
            self.assertLessEqual(int(peer_as), value)
        self.look()


class Life(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = directory.name
        os.chmod(self.directory, 0o755)

    def check(self, db="db"):
        checked = subprocess.run([PROGRAMS.command, "--db", pathlib.Path(self.directory, db), "check"],
                                 capture_output=True, text=True, check=False)
        self.assertEqual(checked.returncode, 0, checked.stdout + checked.stderr)

    def test_an_end_answers_what_is_at_work(self):
        with Daemon(self.directory) as daemon, daemon.client() as client, daemon.client() as idle:
            client.send(edit_of("".join(neighbor_of(n, "<peer-as>65001</peer-as>") for n in range(6000))))
            time.sleep(0.1)  # it is at work
            daemon.process.send_signal(signal.SIGTERM)
            self.assertIn("<ok/>", client.answer())
            self.assertEqual(client.rest() + idle.rest(), "")
            self.assertEqual(daemon.process.wait(SECONDS), 0)
            self.assertFalse(daemon.path.exists())
        with Daemon(self.directory) as daemon, daemon.client() as client:
            self.assertEqual(client.rpc(get_of()).count("<neighbor>"), 6000)

    def test_one_of_a_store_and_of_a_socket(self):
        with Daemon(self.directory) as first:
            for options, wanted in (({"name": "other"}, b"another yfwd's"), ({"db": "other"}, b"socket")):
                with Daemon(self.directory, ready=False, **options) as second:
                    self.assertEqual(second.process.wait(SECONDS), 3)
                    self.assertRegex(second.text(), b"(?m)error: .*" + wanted)
            with first.client() as client:
                self.assertIn("<data", client.rpc(get_of()))

    def test_kills_under_load(self):
        sent, acknowledged = [65000] * 4, [0] * 4

        def load(daemon, number):
            with contextlib.suppress(OSError, EOFError), daemon.client() as client:
                while True:
                    sent[number] += 1
                    value = sent[number]
                    if "<ok/>" not in client.rpc(two_leaves(number, value)):
                        acknowledged[number] = -1  # nothing is to be refused
                        return
                    acknowledged[number] = value

        moments = random.Random(time.time_ns())
        for turn in range(int(os.environ.get("YFW_TEST_KILLS", "15"))):
            with Daemon(self.directory) as daemon:
                threads = [threading.Thread(target=load, args=(daemon, number)) for number in range(4)]
                for thread in threads:
                    thread.start()
                time.sleep(moments.uniform(0.005, 0.15))
                daemon.process.kill()
                for thread in threads:
                    thread.join()
            if turn % 5 == 0:
                self.check()
            with Daemon(self.directory) as daemon, daemon.client() as client:
                found = values(client.rpc(get_of()))
            for number in range(4):
                peer_as, description = found.get(f"10.0.0.{number}", ("0", "n0"))
                self.assertEqual(description, "n" + peer_as)
                self.assertTrue(0 <= acknowledged[number] <= int(peer_as) <= sent[number],
                                (acknowledged, found, sent))
        self.assertGreater(min(acknowledged), 0)
        self.check()

    def test_commits_to_be_confirmed_outlive_kills(self):
        for persist, is_there in (("<persist>p</persist>", True), ("", False)):
            with Daemon(self.directory) as daemon, daemon.client() as client:
                self.assertIn("<ok/>", client.rpc(two_leaves(1, 65001).replace("running", "candidate")))
                self.assertIn("<ok/>", client.rpc("<commit><confirmed/><confirm-timeout>3</confirm-timeout>"
                                                  f"{persist}</commit>"))
                begin = time.monotonic()
                self.assertEqual(len(values(client.rpc(get_of()))), 1)
            with Daemon(self.directory) as daemon, daemon.client() as client:
                self.assertEqual(len(values(client.rpc(get_of()))), is_there)
                while values(client.rpc(get_of())):
                    self.assertLess(time.monotonic() - begin, 6)
                    time.sleep(0.05)
                self.assertTrue(not is_there or time.monotonic() - begin >= 2.9)
            self.check()

    def test_counters(self):
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            port = free.getsockname()[1]

        def ask(text):
            with socket.create_connection(("127.0.0.1", port), SECONDS) as http:
                http.sendall(text)
                return b"".join(iter(lambda: http.recv(65536), b""))

        with Daemon(self.directory, "--metrics", str(port)) as daemon, daemon.client() as client:
            for body in (two_leaves(1, 65001), "<unknown/>", two_leaves(1, 65002)):
                client.rpc(body)
            found = ask(b"GET /metrics HTTP/1.1\r\nHost: x\r\n\r\n")
            self.assertTrue(found.startswith(b"HTTP/1.1 200 "), found)
            for line in (b'yfwd_requests_total{by="NETCONF",operation="edit-config",result="ok"} 2', b"yfwd_last_commit 2",
                         b'{by="NETCONF",operation="other",result="operation-not-supported"} 1', b"yfwd_sessions 1"):
                self.assertIn(line + b"\n", found)
            for wrong in (b"GET / HTTP/1.0\n\n", b"x" * 10000, b"\r\n\r\n"):
                self.assertTrue(ask(wrong).startswith(b"HTTP/1.1 404 "), wrong[:20])

    def test_the_command_hands_over(self):
        def yfw(text, *words):
            done = subprocess.run([PROGRAMS.command, "--db", daemon.db, *words], input=text, capture_output=True, text=True,
                                  check=False)
            return done.returncode, done.stdout, done.stderr

        def document(leaves):
            return bgp_of(neighbor_of(1, leaves))

        unmapped = "<peer-as>65001</peer-as><peer-type>EXTERNAL</peer-type>"
        rows = [  # document, words, exit code, what stands on standard output and on standard error
            (document("<description>a</description><auth-password>rhubarb</auth-password>"), ["edit", "-", "-m", "why"], 0,
             '"description": "a"', ""),
            (document(unmapped), ["edit", "-"], 0, '"remote-as"', "not mapped: .*/peer-type"),
            (document(unmapped), ["edit", "--strict", "-"], 1, "", "not mapped: .*/peer-type\\nerror: "),
            (document("\n<hold-time>1</hold-time>"), ["edit", "-"], 1, "", "error: <stdin>:2:"),
            (document("<description>b</description>"), ["edit", "--diff", "-"], 0, r"\+ .*b", ""),
            ("", ["rollback", "1"], 0, r"\+ .*a", ""),
            ("", ["rollback", "77"], 1, "", "there is no commit 77"),
            ("", ["log", "-n", "1"], 0, "rollback to 1", ""),
            ('{"x": 1}', ["load", "-"], 1, "", "no such node"),
            ("", ["import", "-"], 3, "", "belongs to a running yfwd"),
            ("", ["status"], 0, "last commit: 4", ""),
        ]
        with Daemon(self.directory) as daemon, daemon.client() as client:
            for text, words, code, out, error in rows:
                with self.subTest(words=words, text=text):
                    found = yfw(text, *words)
                    self.assertEqual(found[0], code, found)
                    self.assertRegex(found[1], out or "^$")
                    self.assertRegex(found[2], error or "^$")
            self.assertIn("<description>a<", client.rpc(get_of()))
            self.assertIn("<ok/>", client.rpc("<lock><target><running/></target></lock>"))
            self.assertRegex(yfw(document("<description>c</description>"), "edit", "-")[2], "locked by session")
            self.assertEqual(yfw("", "get")[0], 0)
            self.assertNotIn(b"rhubarb", daemon.text())
            self.assertIn("<ok/>", client.rpc("<commit><confirmed/><persist>p</persist></commit>"))
        self.assertEqual(yfw("", "status")[0], 4)
        self.assertRegex(yfw(document("<description>c</description>"), "edit", "-")[2], "waits to be confirmed")

    @unittest.skipIf(os.geteuid() != 0, "only root can become others")
    def test_roles(self):
        password = edit_of(neighbor_of(1, "<auth-password>rhubarb</auth-password>"))

        def nobody(daemon, *bodies):
            def ask():
                with daemon.client() as client:
                    return "\n".join(client.rpc(body) for body in bodies)
            return as_user("nobody", ask)

        with Daemon(self.directory) as daemon, daemon.client() as root:
            self.assertEqual(stat.S_IMODE(daemon.path.stat().st_mode), 0o600)
            self.assertIn("PermissionError", nobody(daemon, get_of()))
            self.assertIn("<ok/>", root.rpc(password))
            self.assertEqual(stat.S_IMODE((daemon.db / "key").stat().st_mode) & 0o077, 0)
            for file in daemon.db.iterdir():
                self.assertEqual(stat.S_IMODE(file.stat().st_mode) & 0o022, 0, file)
        with Daemon(self.directory, "--writers", "@no-such-group", "--readers", "daemon") as daemon:
            self.assertIn("EOFError: b''", nobody(daemon, get_of()))
            self.assertIn(b"nobody has no role", daemon.text())
        with Daemon(self.directory, "--readers", "nobody") as daemon, daemon.client() as root:
            self.assertIn("rhubarb", root.rpc(get_of()))
            found = nobody(daemon, get_of(), "<get/>", get_of(target="candidate"))
            self.assertEqual((found.count("<auth-password>*"), found.count("rhubarb")), (3, 0), found)
            refused = nobody(daemon, two_leaves(1, 65001), f"<kill-session><session-id>{root.id}</session-id></kill-session>",
                             "<lock><target><running/></target></lock>", "<commit/>", "<discard-changes/>",
                             "<copy-config><target><candidate/></target><source><running/></source></copy-config>")
            self.assertEqual((refused.count("access-denied"), refused.count("<ok/>")), (6, 0), refused)
            self.assertIn("rhubarb", root.rpc(get_of()))
        with Daemon(self.directory, "--writers", "@nogroup") as daemon:
            self.assertIn("<ok/>", nobody(daemon, two_leaves(1, 65001)))
            self.assertNotIn(b"rhubarb", daemon.text())

    @unittest.skipIf(os.geteuid() != 0, "only root can become others")
    def test_it_becomes_its_user(self):
        user = pwd.getpwnam("nobody")
        own = pathlib.Path(self.directory, "own")
        own.mkdir()
        os.chown(own, user.pw_uid, user.pw_gid)
        with Daemon(own, user="nobody") as daemon:
            self.assertEqual(daemon.status("Uid").split(), [str(user.pw_uid)] * 4)
            self.assertEqual(daemon.status("Gid").split(), [str(user.pw_gid)] * 4)
            self.assertNotIn("0", daemon.status("Groups").split())
            self.assertEqual(int(daemon.status("CapEff"), 16), 0)
            self.assertEqual({file.stat().st_uid for file in [daemon.path, *daemon.db.iterdir()]}, {user.pw_uid})
        with Daemon(own, user="no-such-user", ready=False) as daemon:
            self.assertEqual(daemon.process.wait(SECONDS), 3)
            self.assertIn(b"no user no-such-user", daemon.text())


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--daemon", required=True)
    parser.add_argument("--command", required=True)
    parser.add_argument("--sanitized", action="store_true")
    _, rest = parser.parse_known_args(namespace=PROGRAMS)
    unittest.main(argv=[sys.argv[0], *rest])
