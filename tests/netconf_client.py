"""A client of NETCONF over a UNIX socket that can also do what it should not."""

import re
import socket

BASE = "urn:ietf:params:xml:ns:netconf:base:1.0"
MODEL = "http://openconfig.net/yang/network-instance"
HELLO = (f'<hello xmlns="{BASE}"><capabilities><capability>urn:ietf:params:netconf:base:1.1</capability></capabilities>'
         "</hello>]]>]]>").encode()


def chunked(message):
    return b"\n#%d\n%s\n##\n" % (len(message), message)


def rpc_of(body, number=1):
    return f'<rpc message-id="{number}" xmlns="{BASE}">{body}</rpc>'.encode()


def bgp_of(inner):
    return (f'<network-instances xmlns="{MODEL}"><network-instance><name>DEFAULT</name><protocols><protocol>'
            "<identifier>BGP</identifier><name>core</name><bgp><global><config><as>65000</as></config></global>"
            f"<neighbors>{inner}</neighbors></bgp></protocol></protocols></network-instance></network-instances>")


def address_of(number):
    return f"10.{number >> 16}.{number >> 8 & 255}.{number & 255}"


def neighbor_of(number, leaves=""):
    return (f"<neighbor><neighbor-address>{address_of(number)}</neighbor-address>"
            + (f"<config>{leaves}</config>" if leaves else "") + "</neighbor>")


def edit_of(inner, target="running"):
    return f"<edit-config><target><{target}/></target><config>{bgp_of(inner)}</config></edit-config>"


def get_of(inner="", target="running"):
    return (f'<get-config><source><{target}/></source><filter type="subtree"><network-instances xmlns="{MODEL}">'
            '<network-instance><name>DEFAULT</name><protocols><protocol><identifier>BGP</identifier><name>core</name>'
            f"<bgp><neighbors>{inner}</neighbors></bgp></protocol></protocols></network-instance></network-instances>"
            "</filter></get-config>")


class Client:
    """Its hello is sent unless it is to send its own."""

    def __init__(self, path, hello=HELLO, timeout=20):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(timeout)
        self.socket.connect(str(path))
        self.buffer = bytearray()
        self.number = 0
        self.hello = ""
        if hello:
            self.socket.sendall(hello)
            self.hello = self.until(b"]]>]]>").decode()
            self.id = int(re.search("<session-id>([0-9]+)<", self.hello)[1])

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def more(self):
        data = self.socket.recv(1 << 20)
        if not data:
            raise EOFError(bytes(self.buffer[-300:]))
        self.buffer += data

    def until(self, end):
        start = 0
        while (found := self.buffer.find(end, start)) < 0:
            start = max(0, len(self.buffer) - len(end))
            self.more()
        message = bytes(self.buffer[:found])
        del self.buffer[:found + len(end)]
        return message

    def need(self, count):
        while len(self.buffer) < count:
            self.more()

    def answer(self):
        text = b""
        while True:
            self.need(4)
            self.until(b"\n#") if self.buffer.startswith(b"\n#") else self.fail()
            size = self.until(b"\n")
            if size == b"#":
                return text.decode()
            self.need(int(size))
            text += self.buffer[:int(size)]
            del self.buffer[:int(size)]

    def fail(self):
        raise AssertionError(bytes(self.buffer[:100]))

    def send(self, body):
        self.number += 1
        self.socket.sendall(chunked(rpc_of(body, self.number)))

    def rpc(self, body):
        self.send(body)
        return self.answer()

    def rest(self):
        """All that comes until the other side closes."""
        try:
            while True:
                self.more()
        except (EOFError, ConnectionResetError):
            return self.buffer.decode(errors="replace")
