"""The daemon under test, an sshd in front of it, and a client without a library: for the tests that speak NETCONF."""

import os
import pathlib
import pwd
import re
import shutil
import socket
import subprocess
import time

BASE = "urn:ietf:params:xml:ns:netconf:base:1.0"


def wait_until(condition, what, seconds=30):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise TimeoutError(what)
        time.sleep(0.01)


class Program:
    """A process that ends with its block, by its process id."""

    def __init__(self, command, log, **more):
        self.log = pathlib.Path(log)
        with self.log.open("wb") as file:
            self.process = subprocess.Popen([str(word) for word in command], stdin=subprocess.DEVNULL, stdout=file,
                                            stderr=file, **more)

    def wait_for(self, text):
        def is_there():
            if self.process.poll() is not None:
                raise RuntimeError(f"{self.process.args[0]} ended: {self.log.read_text()}")
            return text in self.log.read_text()
        wait_until(is_there, f"{self.process.args[0]} does not say {text}")
        return self

    def stop(self):
        self.process.terminate()
        return self.process.wait(60)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()


def start_daemon(build, directory, *options):
    """With its store "db", its socket and its log in the directory."""
    command = [build / "yfwd", "--db", directory / "db", "--netconf", directory / "socket", *options]
    if os.geteuid() == 0:
        command += ["--user", "root"]
    return Program(command, directory / "yfwd.log").wait_for("ready: ")


def start_sshd(build, directory):
    """On a free port of loopback, for the user that runs the test; (sshd, port, file of the user's key)."""
    for name in ("host", "user"):
        subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", directory / name], check=True)
    shutil.copy(directory / "user.pub", directory / "authorized")
    if os.geteuid() == 0:
        os.makedirs("/run/sshd", mode=0o755, exist_ok=True)  # or it does not start
    with socket.create_server(("127.0.0.1", 0)) as free:
        port = free.getsockname()[1]
    (directory / "sshd.conf").write_text(
        f"ListenAddress 127.0.0.1:{port}\nHostKey {directory}/host\nAuthorizedKeysFile {directory}/authorized\n"
        f"PidFile none\nUsePAM no\nStrictModes no\nPermitRootLogin prohibit-password\nPasswordAuthentication no\n"
        f"Subsystem netconf {build}/yfw-netconf {directory}/socket\n")
    sshd = Program([shutil.which("sshd", path="/usr/sbin:" + os.environ["PATH"]), "-D", "-e", "-f",
                    directory / "sshd.conf"], directory / "sshd.log").wait_for("listening on")
    return sshd, port, directory / "user"


def user():
    return pwd.getpwuid(os.geteuid()).pw_name


class Client:
    """Over the UNIX socket, in either framing."""

    def __init__(self, path, version="1.1"):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(60)
        self.socket.connect(str(path))
        self.received = b""
        self.chunked = False
        self.hello = self.receive()
        self.send(f'<hello xmlns="{BASE}"><capabilities><capability>urn:ietf:params:netconf:base:{version}'
                  "</capability></capabilities></hello>")
        self.chunked = version == "1.1"

    def send(self, text):
        data = text.encode()
        self.socket.sendall(b"\n#%d\n%s\n##\n" % (len(data), data) if self.chunked else data + b"]]>]]>")

    def receive(self):
        end = rb"\n##\n" if self.chunked else rb"\]\]>\]\]>"
        text = b""
        while True:
            found = re.match(rb"\n#(\d+)\n", self.received) if self.chunked else None
            size = found.end() + int(found[1]) if found else 0
            if found and len(self.received) >= size:
                text += self.received[found.end():size]
                self.received = self.received[size:]
                continue
            found = None if found else (re.match if self.chunked else re.search)(end, self.received)
            if found:
                text += self.received[:found.start()]
                self.received = self.received[found.end():]
                return text.decode()
            piece = self.socket.recv(1 << 20)
            if not piece:
                raise EOFError(f"closed behind {(text + self.received)[-200:]}")
            self.received += piece

    def ask(self, operation, attributes='message-id="1"'):
        self.send(f'<rpc xmlns="{BASE}" {attributes}>{operation}</rpc>')
        return self.receive()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()
